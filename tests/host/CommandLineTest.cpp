#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/wait.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>

using namespace testing;

namespace {

// Runs the program as a user does, in a folder of its own.
class CommandLine : public Test
{
protected:
    CommandLine()
    {
        auto name = (std::filesystem::temp_directory_path() / "CommandLineTestXXXXXX").string();
        if (!::mkdtemp(name.data()))
            throw std::runtime_error("Cannot make a folder for the test's files");
        m_folder = name;
    }

    ~CommandLine() override { std::filesystem::remove_all(m_folder); }

    // Gives the exit status; both outputs can be read afterwards.
    int run(const std::string& arguments)
    {
        const std::string command = "cd '" + m_folder.string() + "' && '" HEADLESS_HOST "' " +
                                    arguments + " >output 2>errors";
        const int status = std::system(command.c_str());
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

    std::string text(const std::string& file) const
    {
        std::ostringstream content;
        content << std::ifstream(m_folder / file).rdbuf();
        return content.str();
    }

    bool exists(const std::string& file) const { return std::filesystem::exists(m_folder / file); }

    std::filesystem::path m_folder;
};

}

TEST_F(CommandLine, writesPicturesAndAContactSheet)
{
    EXPECT_EQ(run("--exr -o out '" SAMPLES "/coffee.rgba-u8.zeq' '" SAMPLES "/coffee.zeq-422.zeq'"),
              0)
        << text("errors");
    EXPECT_THAT(text("output"),
                AllOf(StartsWith("Reader Plugin version = 2.3.1\nMediaConversion Library version"),
                      HasSubstr("/coffee.rgba-u8.zeq: 300 x 200, 8 bit, out/coffee.rgba-u8.png"),
                      HasSubstr("/coffee.zeq-422.zeq: 300 x 200, 10 bit, out/coffee.zeq-422.png"),
                      EndsWith("Contact sheet: out/contact-sheet.png\n")));
    EXPECT_EQ(text("errors"), "");
    for (const auto* file : {"out/coffee.rgba-u8.png", "out/coffee.rgba-u8.exr",
                             "out/coffee.zeq-422.png", "out/contact-sheet.png"})
        EXPECT_TRUE(exists(file)) << file;
}

TEST_F(CommandLine, namesTheFilesThatFailAndGoesOn)
{
    std::filesystem::copy(SAMPLES "/coffee.zeq-422.zeq", m_folder / "cut.zeq");
    std::filesystem::resize_file(m_folder / "cut.zeq", 1000);
    std::ofstream(m_folder / "other.zeq") << "something else";
    std::filesystem::copy(SAMPLES "/coffee.rgb-u8.zeq", m_folder / "good.zeq");

    EXPECT_EQ(run("missing.zeq cut.zeq other.zeq good.zeq"), 1);
    EXPECT_EQ(text("errors"),
              "missing.zeq: No such file or directory\n"
              "cut.zeq: Media file has unexpectedly reached End-Of-File\n"
              "other.zeq: No reader takes this file\n");
    EXPECT_THAT(text("output"), HasSubstr("good.zeq: 300 x 200, 8 bit, pictures/good.png\n"));
    EXPECT_TRUE(exists("pictures/good.png"));
    EXPECT_FALSE(exists("pictures/cut.png"));
}

TEST_F(CommandLine, tellsUsageErrorsFromFailures)
{
    EXPECT_EQ(run(""), 2);
    EXPECT_THAT(text("errors"), StartsWith("headlessHost: No files given\n\nUsage: headlessHost"));
    EXPECT_EQ(run("--what picture.zeq"), 2);
    EXPECT_EQ(run("--help"), 0);
    EXPECT_THAT(text("output"), StartsWith("Usage: headlessHost"));
    EXPECT_EQ(run("--plugin ./missing.so picture.zeq"), 1);
    EXPECT_THAT(text("errors"), HasSubstr("missing.so"));
    EXPECT_FALSE(exists("pictures"));
}

// A header of 28 bytes may claim a picture of 64 GiB.
TEST_F(CommandLine, refusesPicturesThatAreTooLargeToHold)
{
    std::filesystem::copy(SAMPLES "/coffee.rgb-u8.zeq", m_folder / "large.zeq");
    std::fstream file(m_folder / "large.zeq", std::ios::in | std::ios::out | std::ios::binary);
    file.seekp(12).write("\xFF\xFF\0\0\xFF\xFF", 6);
    file.close();
    EXPECT_EQ(run("large.zeq"), 1);
    EXPECT_EQ(text("errors"),
              "large.zeq: Picture of 65535 x 65535 pixels is too large for this host\n");
}
