#include <DDImage/Reader.h>
#include <gmock/gmock.h>

#include <optional>

using namespace testing;
using Description = DD::Image::Reader::Description;

template <char letter>
static bool beginsWith(int, const unsigned char* block, int)
{
    return *block == letter;
}

TEST(Description, isFoundForAsLongAsItLives)
{
    const auto byBlock = [](const char* block) {
        return Description::find(-1, reinterpret_cast<const unsigned char*>(block), 3);
    };
    const Description first("abc\0ab\0", "first", nullptr, beginsWith<'a'>, nullptr);
    {
        std::optional<Description> second(std::in_place, "b\0", "second", nullptr, beginsWith<'b'>,
                                          nullptr);
        const Description third("c\0", "third", nullptr, beginsWith<'a'>, nullptr);
        EXPECT_EQ(Description::find("ab"), &first);
        EXPECT_EQ(Description::find("a"), nullptr);
        EXPECT_EQ(Description::find(""), nullptr);
        EXPECT_EQ(byBlock("bxx"), &*second);
        EXPECT_EQ(byBlock("axx"), &third);
        second.reset();
        EXPECT_THAT(Description::all(), ElementsAre(&third, &first));
    }
    EXPECT_THAT(Description::all(), ElementsAre(&first));
    EXPECT_EQ(byBlock("axx"), &first);
}
