#include "MediaConversion/Errors.h"
#include "tools/Files.h"
#include "tools/Jobs.h"
#include "tools/PictureModule.h"

#include <opencv2/core/utility.hpp>

#include <dlfcn.h>

#include <cstddef>
#include <filesystem>
#include <string>

namespace Zeq {

namespace {

// Beside the program in the build tree, and in the folder for its libraries once it is installed.
std::string moduleFile()
{
    const std::filesystem::path folder = programFolder();
    const auto beside = folder / "zeqPictures.so";
    return std::filesystem::exists(beside) ? beside : folder / LIBRARY_FOLDER / "zeqPictures.so";
}

const PictureModule& load()
{
    // More than those libraries were seen to start, of which some go by the processors.
    if (!canStartThreads(8 + 2 * static_cast<std::size_t>(cv::getNumberOfCPUs())))
        MediaConversion::fail("Pictures cannot be read or written: too few threads can be started");
    void* const handle = ::dlopen(moduleFile().c_str(), RTLD_NOW | RTLD_LOCAL);
    void* const entry = handle ? ::dlsym(handle, pictureModuleEntry) : nullptr;
    if (!entry)
        MediaConversion::fail("Pictures cannot be read or written: ", ::dlerror());
    return *reinterpret_cast<PictureModuleEntry>(entry)();
}

}

const PictureModule& pictureModule()
{
    static const PictureModule& module = load();
    return module;
}

}
