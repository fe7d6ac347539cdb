#include "host/headless/HeadlessHost.h"
#include "host/headless/Options.h"
#include "host/headless/OutputNames.h"
#include "imaging/ContactSheet.h"
#include "imaging/PictureFiles.h"
#include "imaging/StandardStreams.h"

#include <exception>
#include <filesystem>
#include <iostream>
#include <stdexcept>
#include <string>

namespace {

// Names each file that fails and goes on with the next.
class Run
{
public:
    explicit Run(const Options& options)
        : m_options(options), m_host(options.plugIn), m_names(options.folder, options.files)
    {
        std::filesystem::create_directories(options.folder);
    }

    int exitStatus()
    {
        std::cout << m_host.panelText() << std::endl;
        for (const auto& file : m_options.files)
            attempt(file, [&] { readAndWrite(file); });
        if (!m_sheet.empty()) {
            const auto path = m_names.contactSheet();
            attempt(path.string(), [&] {
                m_sheet.write(path);
                std::cout << "Contact sheet: " << path.string() << std::endl;
            });
        }
        return m_failed ? 1 : 0;
    }

private:
    template <class Operation>
    void attempt(const std::string& name, Operation&& operation)
    {
        try {
            operation();
        } catch (const std::exception& exception) {
            std::cerr << name << ": " << exception.what() << std::endl;
            m_failed = true;
        }
    }

    void readAndWrite(const std::string& file)
    {
        const auto picture = m_host.read(file);
        const auto output = m_names.next(file).string();
        writePng(picture, output + ".png");
        if (m_options.exr)
            writeExr(picture, output + ".exr");
        std::cout << file << ": " << picture.width << " x " << picture.height << ", "
                  << picture.depth << " bit, " << output << ".png"
                  << (m_options.exr ? " and .exr" : "") << std::endl;
        m_sheet.add(picture, std::filesystem::path(file).filename().string());
    }

    const Options& m_options;
    HeadlessHost m_host;
    OutputNames m_names;
    ContactSheet m_sheet;
    bool m_failed = false;
};

}

int main(int argumentCount, char** arguments)
try {
    Programs::openStandardStreams();
    const auto options = parseOptions({arguments + 1, arguments + argumentCount});
    int status = 0;
    if (options.help)
        std::cout << usage;
    else
        status = Run(options).exitStatus();
    if (!std::cout.flush())
        throw std::runtime_error("The output could not be written");
    return status;
} catch (const UsageError& error) {
    std::cerr << "headlessHost: " << error.what() << "\n\n" << usage;
    return 2;
} catch (const std::exception& exception) {
    std::cerr << "headlessHost: " << exception.what() << std::endl;
    return 1;
}
