#include "host/headless/HeadlessHost.h"
#include "tests/reader/ReaderTest.h"

#include <cstdio>
#include <optional>
#include <string>

using namespace testing;
using DD::Image::Reader;

using Registration = ReaderTest;

TEST_F(Registration, hasOneNameAndALabel)
{
    EXPECT_THAT(description().names(), ElementsAre("zeq"));
    EXPECT_STREQ(description().label(), "qmx");
}

TEST_F(Registration, recognisesFilesByThreeLetters)
{
    const struct
    {
        const char* beginning;
        bool accepted;
    } cases[] = {
        {"zeq ", true},  {"zeqZ", true},  {"zeq\0", true}, {"zeqz", true},  {"ZEQ ", false},
        {"ZEQZ", false}, {"Zeq ", false}, {"zEq ", false}, {"zeQ ", false}, {" zeq", false},
    };
    for (const auto& [beginning, accepted] : cases)
        EXPECT_EQ(description().accepts(-1, reinterpret_cast<const unsigned char*>(beginning), 4),
                  accepted)
            << beginning;
}

TEST_F(Registration, aHostFindsTheReaderByTheFile)
{
    const auto file = write(tellingPicture(2, 3));
    const FileBeginning beginning(file);
    EXPECT_EQ(Reader::Description::find(beginning.descriptor(), beginning.block(), 4),
              &description());
    EXPECT_EQ(m_host.read(file).pixels.size(), 2u * 3u * 4u);
}

TEST_F(Registration, thePanelShowsBothVersionsInOneReadOnlyKnob)
{
    const auto panel = formatPanel(description());
    ASSERT_THAT(panel, SizeIs(1));
    const auto& knob = panel.front();
    EXPECT_EQ(knob.type, 26);
    EXPECT_EQ(knob.store, 19);
    EXPECT_EQ(knob.pointer, nullptr);
    EXPECT_EQ(knob.name, std::nullopt);
    EXPECT_EQ(knob.label, std::nullopt);
    EXPECT_EQ(knob.extra,
              "Reader Plugin version = 2.3.1\n"
              "MediaConversion Library version = " LIBRARY_VERSION " Beta");
}

TEST(PlugIn, exportsNothing)
{
    const std::string command = "'" NM "' -D --defined-only '" PLUG_IN "'";
    std::FILE* const output = ::popen(command.c_str(), "r");
    ASSERT_NE(output, nullptr);
    std::string symbols;
    for (int character = std::fgetc(output); character != EOF; character = std::fgetc(output))
        symbols += static_cast<char>(character);
    EXPECT_EQ(::pclose(output), 0) << command;
    EXPECT_EQ(symbols, "");
}
