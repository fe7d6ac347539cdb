#include "tests/reader/ReaderTest.h"

#include <cstdlib>
#include <optional>
#include <string>

using namespace Headless;

using namespace testing;

using Registration = ReaderTest;

TEST_F(Registration, hasOneNameAndALabel)
{
    EXPECT_THAT(description().names(), ElementsAre("zeq"));
    EXPECT_STREQ(description().label(), "qmx");
}

TEST_F(Registration, recognisesFilesByThreeLetters)
{
    for (const std::string beginning :
         {"zeq ", "zeqZ", "zeq", "zeqz", "ZEQ ", "ZEQZ", "Zeq ", "zEq ", "zeQ ", " zeq"})
        EXPECT_EQ(
            description().accepts(-1, reinterpret_cast<const unsigned char*>(beginning.c_str()), 4),
            beginning.starts_with("zeq"))
            << beginning;
}

TEST_F(Registration, aHostFindsTheReaderByTheFile)
{
    const auto file = write(uniformPicture(rgbaU8, 2, 3, 'x'));
    const FileBeginning beginning(file);
    EXPECT_EQ(DD::Image::Reader::Description::find(beginning.descriptor(), beginning.block(), 4),
              &description());
    EXPECT_EQ(m_host->read(file).pixels.size(), 2u * 3u * 4u);
}

TEST_F(Registration, thePanelShowsBothVersionsInOneReadOnlyKnob)
{
    EXPECT_THAT(
        formatPanel(description()),
        ElementsAre(FieldsAre(26, 19, nullptr, std::nullopt, std::nullopt,
                              "Reader Plugin version = 2.3.1\n"
                              "MediaConversion Library version = " LIBRARY_VERSION " Beta")));
}

TEST(PlugIn, exportsNothing)
{
    EXPECT_EQ(std::system("symbols=$('" NM "' -D --defined-only '" PLUG_IN
                          "') && echo \"$symbols\" && test -z \"$symbols\""),
              0);
}
