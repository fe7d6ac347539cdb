#include <DDImage/Reader.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>

using namespace DD::Image;
using namespace testing;
using Description = Reader::Description;

namespace {

Reader* noReader(Read*, int, const unsigned char*, int)
{
    return nullptr;
}

ReaderFormat* noFormat(Read*)
{
    return nullptr;
}

template <char letter>
bool beginsWith(int, const unsigned char* block, int)
{
    return *block == letter;
}

const Description* findByBlock(const char* block)
{
    return Description::find(-1, reinterpret_cast<const unsigned char*>(block), 3);
}

}

TEST(Description, isKnownForAsLongAsItLives)
{
    ASSERT_THAT(Description::all(), IsEmpty());
    std::optional<Description> first, second, third;
    first.emplace("abc\0ab\0", "first", noReader, beginsWith<'a'>, noFormat);
    second.emplace("b\0", "second", noReader, beginsWith<'b'>, noFormat);
    third.emplace("a\0", "third", noReader, beginsWith<'a'>, noFormat);
    EXPECT_THAT(Description::all(), ElementsAre(&*third, &*second, &*first));
    second.reset();
    EXPECT_THAT(Description::all(), ElementsAre(&*third, &*first));
    third.reset();
    EXPECT_THAT(Description::all(), ElementsAre(&*first));
    first.reset();
    EXPECT_THAT(Description::all(), IsEmpty());
}

TEST(Description, isFoundByNameAndByTheFirstBytes)
{
    const Description first("abc\0ab\0", "first", noReader, beginsWith<'a'>, noFormat);
    const Description second("b\0", "second", noReader, beginsWith<'b'>, noFormat);
    EXPECT_THAT(first.names(), ElementsAre("abc", "ab"));
    EXPECT_STREQ(first.label(), "first");
    EXPECT_EQ(Description::find("ab"), &first);
    EXPECT_EQ(Description::find("abc"), &first);
    EXPECT_EQ(Description::find("b"), &second);
    EXPECT_EQ(Description::find("a"), nullptr);
    EXPECT_EQ(Description::find(""), nullptr);
    EXPECT_EQ(findByBlock("axx"), &first);
    EXPECT_EQ(findByBlock("bxx"), &second);
    EXPECT_EQ(findByBlock("xab"), nullptr);
}
