#include "host/headless/Options.h"

#include "tests/support/ExpectError.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace testing;

TEST(Options, haveDefaults)
{
    const auto options = parseOptions({"one.zeq", "two.zeq"});
    EXPECT_THAT(options.files, ElementsAre("one.zeq", "two.zeq"));
    EXPECT_EQ(options.folder, "pictures");
    EXPECT_EQ(options.plugIn.filename(), "zeqReader.so");
    EXPECT_FALSE(options.exr);
    EXPECT_FALSE(options.help);
}

TEST(Options, mayStandAnywhereBeforeTheDashes)
{
    const auto options = parseOptions(
        {"one.zeq", "--exr", "-o", "out", "-", "--plugin", "-reader.so", "--", "--exr", "--"});
    EXPECT_THAT(options.files, ElementsAre("one.zeq", "-", "--exr", "--"));
    EXPECT_EQ(options.folder, "out");
    EXPECT_EQ(options.plugIn, "-reader.so");
    EXPECT_TRUE(options.exr);
    EXPECT_EQ(parseOptions({"--output", "there", "a"}).folder, "there");
    EXPECT_TRUE(parseOptions({"--help"}).help);
    EXPECT_TRUE(parseOptions({"-h", "a"}).help);
}

TEST(Options, thatAreWrongAreNamed)
{
    const struct
    {
        std::vector<std::string> arguments;
        const char* message;
    } cases[] = {
        {{}, "No files given"},
        {{"--exr"}, "No files given"},
        {{"--"}, "No files given"},
        {{"a", "-o"}, "Option -o needs a value"},
        {{"a", "--plugin"}, "Option --plugin needs a value"},
        {{"-x", "a"}, "Unknown option -x"},
        {{"a", "--exrs"}, "Unknown option --exrs"},
    };
    for (const auto& [arguments, message] : cases)
        expectError<UsageError>(message, [given = arguments] { parseOptions(given); });
}
