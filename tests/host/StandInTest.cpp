#include "host/headless/HostedReader.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>

using namespace Headless;

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
        std::optional<Description> second;
        second.emplace("b\0", "second", nullptr, beginsWith<'b'>, nullptr);
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

TEST(Op, formatsWhatItReportsAsPrintfDoes)
{
    ReadOperator readOperator("picture.zeq");
    const std::string longText(100000, 'x');
    readOperator.critical("%s", "100 %s%n of it");
    readOperator.critical("%s", "");
    readOperator.critical("%d of %s", 3, longText.c_str());
    EXPECT_THAT(readOperator.takeMessages(), ElementsAre("100 %s%n of it", "", "3 of " + longText));
    EXPECT_THAT(readOperator.takeMessages(), IsEmpty());
}
