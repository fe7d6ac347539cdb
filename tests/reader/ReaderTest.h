#pragma once

#include "host/headless/HeadlessHost.h"
#include "host/headless/HostedReader.h"
#include "tests/support/MediaFileBytes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

// A host that has loaded the plug-in, and a folder for files, both gone after the test.
class ReaderTest : public testing::Test
{
protected:
    using Messages = std::vector<std::string>;

    static constexpr std::uint32_t rgbaU8 = 0x204;
    static constexpr std::uint32_t bgrU8 = 0x202;

    ReaderTest()
    {
        auto name = (std::filesystem::temp_directory_path() / "ReaderTestXXXXXX").string();
        if (!::mkdtemp(name.data()))
            throw std::runtime_error("Cannot make a folder for the test's files");
        m_folder = name;
    }

    ~ReaderTest() override { std::filesystem::remove_all(m_folder); }

    std::string path(const std::string& name) const { return (m_folder / name).string(); }

    std::string write(const std::string& name, std::string_view bytes) const
    {
        writeFile(path(name), bytes);
        return path(name);
    }

    std::string write(const MediaFileBytes& file) const
    {
        return write("picture.zeq", file.bytes());
    }

    // Full RGBA pixels, each byte telling its channel, row and column, so that no two are alike and
    // none is 0. At most 8 columns and 7 rows.
    static MediaFileBytes tellingPicture(int width, int height)
    {
        std::string data;
        for (int row = 0; row < height; ++row)
            for (int column = 0; column < width; ++column)
                for (int channel = 0; channel < 4; ++channel)
                    data += static_cast<char>(tellingByte(channel, row, column));
        return MediaFileBytes::picture(rgbaU8, static_cast<std::uint16_t>(width),
                                       static_cast<std::uint16_t>(height), data);
    }

    static int tellingByte(int channel, int row, int column)
    {
        return 1 + 0x40 * channel + 8 * row + column;
    }

    static float tellingSample(int channel, int row, int column)
    {
        return static_cast<float>(tellingByte(channel, row, column)) / 255;
    }

    // Of a child that does the operation with what this process has, but without its other threads.
    template <class Operation>
    static int exitStatusOf(const Operation& operation)
    {
        const auto child = ::fork();
        if (child == 0)
            ::_exit(operation());
        int status = 0;
        ::waitpid(child, &status, 0);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

    // By the reader's name and not by the file's first bytes, which may be wrong or missing.
    static HostedReader construct(const std::string& fileName)
    {
        return HostedReader(description(), fileName);
    }

    static const DD::Image::Reader::Description& description()
    {
        const auto* const description = DD::Image::Reader::Description::find("zeq");
        if (!description)
            throw std::runtime_error("The plug-in has not registered its reader");
        return *description;
    }

    const HeadlessHost m_host{PLUG_IN};

private:
    std::filesystem::path m_folder;
};
