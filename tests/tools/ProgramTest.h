#pragma once

#include "tests/MediaFile/TemporaryFolder.h"
#include "tests/support/MediaFileBytes.h"

#include <OpenImageIO/imageio.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

// Runs a program as people do, in a folder of its own.
class ProgramTest : public testing::Test
{
protected:
    // A line for the shell, which knows the program by its name and `samples` as a folder.
    // Gives the exit status.
    int run(const std::string& line)
    {
        const auto command = PROGRAM_NAME "() { '" PROGRAM "' \"$@\"; }; IFS='\n' samples='" SAMPLES
                                          "'; cd '" +
                             path("") + "' && { " + line + "; } >'" + m_outputs.file("1") +
                             "' 2>'" + m_outputs.file("2") + "'";
        const int status = std::system(command.c_str());
        output = bytes(m_outputs.file("1"));
        errors = bytes(m_outputs.file("2"));
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
    void runWell(const std::string& line) { ASSERT_EQ(run(line), 0) << line << '\n' << errors; }

    std::string path(const std::string& file) const { return m_folder.file(file); }
    static std::string bytes(const std::string& path)
    {
        std::ifstream file(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    // The sample in a format, under each of these names.
    void copySample(const std::string& format, const std::vector<std::string>& names) const
    {
        for (const auto& name : names)
            std::filesystem::copy_file(SAMPLES "/coffee." + format + ".zeq", path(name));
    }
    // From s.1.zeq on.
    void copySequence(const std::string& format, int count) const
    {
        for (int frame = 1; frame <= count; ++frame)
            copySample(format, {"s." + std::to_string(frame) + ".zeq"});
    }
    // Of a media file with the short header.
    std::string frameData(const std::string& file) const { return bytes(path(file)).substr(28); }
    std::set<std::string> files(const std::string& folder = "") const
    {
        std::set<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(path(folder)))
            names.insert(entry.path().filename());
        return names;
    }

    void writePicture(const std::string& file, OIIO::ImageSpec description,
                      const std::vector<float>& samples)
    {
        const auto picture = OIIO::ImageOutput::create(path(file));
        description["oiio:UnassociatedAlpha"] = 1;
        ASSERT_TRUE(picture && picture->open(path(file), description) &&
                    picture->write_image(OIIO::TypeDesc::FLOAT, samples.data()) &&
                    picture->close());
    }
    std::pair<OIIO::ImageSpec, std::vector<float>> readPicture(const std::string& file) const
    {
        OIIO::ImageSpec asStored;
        asStored["oiio:UnassociatedAlpha"] = 1;
        const auto picture = OIIO::ImageInput::open(path(file), &asStored);
        if (!picture)
            throw std::runtime_error(OIIO::geterror());
        std::vector<float> samples(picture->spec().image_pixels() * picture->spec().nchannels);
        picture->read_image(0, 0, 0, -1, OIIO::TypeDesc::FLOAT, samples.data());
        return {picture->spec(), samples};
    }

    std::string output;
    std::string errors;

private:
    MediaConversion::MediaFileTests::TemporaryFolder m_folder;
    MediaConversion::MediaFileTests::TemporaryFolder m_outputs;
};
