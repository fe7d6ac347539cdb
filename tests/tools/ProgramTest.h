#pragma once

#include "tests/MediaFile/TemporaryFolder.h"
#include "tests/support/MediaFileBytes.h"

#include <OpenImageIO/imageio.h>

#include <gmock/gmock.h>

#include <sys/wait.h>

#include <cstdlib>
#include <utility>

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
                             folder.file("") + "' && { " + line + "; } >'" + m_outputs.file("1") +
                             "' 2>'" + m_outputs.file("2") + "'";
        const int status = std::system(command.c_str());
        output = m_outputs.content("1");
        errors = m_outputs.content("2");
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
    void runWell(const std::string& line) { ASSERT_EQ(run(line), 0) << line << '\n' << errors; }

    // Of a media file with the short header.
    std::string frameData(const std::string& file) const { return folder.content(file).substr(28); }

    void writePicture(const std::string& file, OIIO::ImageSpec description,
                      const std::vector<float>& samples)
    {
        const auto picture = OIIO::ImageOutput::create(folder.file(file));
        description["oiio:UnassociatedAlpha"] = 1;
        ASSERT_TRUE(picture && picture->open(folder.file(file), description) &&
                    picture->write_image(OIIO::TypeDesc::FLOAT, samples.data()) &&
                    picture->close());
    }
    std::pair<OIIO::ImageSpec, std::vector<float>> readPicture(const std::string& file) const
    {
        OIIO::ImageSpec asStored;
        asStored["oiio:UnassociatedAlpha"] = 1;
        const auto picture = OIIO::ImageInput::open(folder.file(file), &asStored);
        if (!picture)
            throw std::runtime_error(OIIO::geterror());
        std::vector<float> samples(picture->spec().image_pixels() * picture->spec().nchannels);
        picture->read_image(0, 0, 0, -1, OIIO::TypeDesc::FLOAT, samples.data());
        return {picture->spec(), samples};
    }

    MediaConversion::MediaFileTests::TemporaryFolder folder;
    std::string output;
    std::string errors;

private:
    MediaConversion::MediaFileTests::TemporaryFolder m_outputs;
};
