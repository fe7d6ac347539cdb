#pragma once

#include "MediaConversion/MediaFile/Headers.h"
#include "host/headless/HeadlessHost.h"
#include "host/headless/HostedReader.h"
#include "tests/MediaFile/TemporaryFolder.h"
#include "tests/support/MediaFileBytes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <latch>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

// A host that has loaded the plug-in, and a folder for files, both gone after the test.
class ReaderTest : public testing::Test
{
protected:
    using Messages = std::vector<std::string>;

    // No valid text in any encoding, and none that a message may take for a format.
    static inline const std::string pictureName = "100%s%n caf\xE9 \xE6\x97\xA5.zeq";

    static constexpr std::uint32_t rgbaU8 = 0x204;
    static constexpr int threadCount = 8;

    std::string path(const std::string& name) const { return m_folder.file(name); }

    std::string write(const std::string& name, std::string_view bytes) const
    {
        writeFile(path(name), bytes);
        return path(name);
    }

    std::string write(const MediaFileBytes& file) const { return write(pictureName, file.bytes()); }

    // A picture whose bytes are all alike.
    static MediaFileBytes uniformPicture(std::uint32_t code, std::uint16_t width,
                                         std::uint16_t height, int byte)
    {
        const auto size = MediaConversion::frameDataSize(
            MediaConversion::mediaFormatCodes().at(code), width, height);
        return MediaFileBytes::picture(code, width, height,
                                       std::string(size, static_cast<char>(byte)));
    }

    static const DD::Image::Reader::Description& description()
    {
        return *DD::Image::Reader::Description::find("zeq");
    }

    // By the reader's name and not by the file's first bytes, which may be wrong or missing.
    static Headless::HostedReader construct(const std::string& fileName)
    {
        return Headless::HostedReader(description(), fileName);
    }

    static Headless::HostedReader opened(const std::string& fileName)
    {
        auto reader = construct(fileName);
        reader.open();
        return reader;
    }

    // The red sample of the first stored pixel of a reader's picture.
    static float firstSample(DD::Image::Reader& reader)
    {
        DD::Image::Row row(0, 1);
        reader.engine(reader.height() - 1, 0, 1, DD::Image::Mask_RGBA, row);
        return *row[DD::Image::Chan_Red];
    }

    // Runs the work on several threads that start together, each with a number of its own.
    template <class Work>
    static void onThreads(const Work& work)
    {
        std::latch start(threadCount);
        std::vector<std::jthread> threads;
        for (int number = 0; number < threadCount; ++number)
            threads.emplace_back([&, number] {
                start.arrive_and_wait();
                work(number);
            });
    }

    // The entries of a folder, as of those of the process's open files and of its threads.
    static std::ptrdiff_t entryCount(const char* folder)
    {
        return std::distance(std::filesystem::directory_iterator(folder), {});
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

    // Expects that the check holds, and says nothing, in a process that has made no reader yet.
    template <class Check>
    void expectAtFirst(const Check& check) const
    {
        const auto exitAfterCheck = [&] {
            const bool holds = check();
            std::filesystem::remove_all(path(""));
            std::exit(holds ? 0 : 1);
        };
        GTEST_FLAG_SET(death_test_style, "threadsafe");
        EXPECT_EXIT(exitAfterCheck(), testing::ExitedWithCode(0), testing::Eq(""));
    }

    std::optional<Headless::HeadlessHost> m_host{PLUG_IN};

private:
    // Others than the process's owner may enter it.
    MediaConversion::MediaFileTests::TemporaryFolder m_folder{
        std::filesystem::temp_directory_path()};
};
