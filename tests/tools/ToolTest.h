#pragma once

#include "tests/support/MediaFileBytes.h"

#include <OpenImageIO/imageio.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

// Runs the program as people do, in a folder of its own.
class ToolTest : public testing::Test
{
protected:
    ToolTest()
    {
        auto name = (std::filesystem::temp_directory_path() / "ToolTestXXXXXX").string();
        if (!::mkdtemp(name.data()))
            throw std::runtime_error("Cannot make a folder for the test's files");
        m_folder = name;
    }

    ~ToolTest() override { std::filesystem::remove_all(m_folder); }

    // Gives the exit status, or less than 0 when a signal ended the program. "zeq" stands for it,
    // so that the shell can be used.
    int run(const std::string& line)
    {
        const std::string command = "cd '" + m_folder.string() +
                                    "' && { zeq() { '" ZEQ "' \"$@\"; }; " + line +
                                    "; } >.output 2>.errors";
        const int status = std::system(command.c_str());
        output = bytes(".output");
        errors = bytes(".errors");
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

    std::filesystem::path path(const std::string& file) const { return m_folder / file; }

    std::string bytes(const std::string& file) const
    {
        std::ostringstream content;
        content << std::ifstream(path(file), std::ios::binary).rdbuf();
        return content.str();
    }

    // What follows the short header.
    std::string frameData(const std::string& file) const
    {
        const auto content = bytes(file);
        return content.size() < 28 ? "" : content.substr(28);
    }

    void write(const std::string& file, const MediaFileBytes& content)
    {
        writeFile(path(file), content.bytes());
    }

    std::set<std::string> files(const std::string& folder = ".") const
    {
        std::set<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(path(folder)))
            if (const auto name = entry.path().filename().string();
                name != ".output" && name != ".errors")
                names.insert(name);
        return names;
    }

    void writePicture(const std::string& file, const OIIO::ImageSpec& description,
                      const std::vector<float>& samples)
    {
        const auto picture = OIIO::ImageOutput::create(path(file).string());
        auto asStored = description;
        asStored["oiio:UnassociatedAlpha"] = 1;
        ASSERT_TRUE(picture && picture->open(path(file).string(), asStored) &&
                    picture->write_image(OIIO::TypeDesc::FLOAT, samples.data()) &&
                    picture->close());
    }

    struct StoredPicture
    {
        OIIO::ImageSpec description;
        std::vector<float> samples;
    };

    StoredPicture readPicture(const std::string& file) const
    {
        OIIO::ImageSpec asStored;
        asStored["oiio:UnassociatedAlpha"] = 1;
        const auto picture = OIIO::ImageInput::open(path(file).string(), &asStored);
        if (!picture)
            throw std::runtime_error(OIIO::geterror());
        StoredPicture stored{picture->spec(), {}};
        stored.samples.resize(stored.description.image_pixels() *
                              static_cast<std::size_t>(stored.description.nchannels));
        picture->read_image(0, 0, 0, -1, OIIO::TypeDesc::FLOAT, stored.samples.data());
        return stored;
    }

    std::string output;
    std::string errors;

private:
    std::filesystem::path m_folder;
};
