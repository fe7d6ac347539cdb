#include "tools/Commands.h"

#include <dlfcn.h>

#include <filesystem>
#include <iostream>
#include <memory>
#include <string>

namespace Zeq {

namespace {

// A host has this library in its process when it loads the plug-in. Where both were built together,
// without a host, it stands beside the plug-in.
void loadHostLibrary(const std::filesystem::path& plugIn)
{
    const auto library = plugIn.parent_path() / "../host/DDImage/libDDImage.so";
    ::dlopen(library.c_str(), RTLD_NOW | RTLD_LOCAL);
}

int run(const std::string& plugIn)
{
    loadHostLibrary(plugIn);
    if (::dlopen(plugIn.c_str(), RTLD_NOW | RTLD_LOCAL))
        return ExitStatus::success;
    std::cout << ::dlerror();
    return ExitStatus::failure;
}

}

Command load()
{
    const auto plugIn = std::make_shared<std::string>();
    return {.description = "Loads a plug-in and ends; where that fails, prints why.",
            .arguments = {{.names = "PLUGIN",
                           .value = "PLUGIN",
                           .target = plugIn.get(),
                           .help = "the plug-in to load",
                           .isRequired = true}},
            .run = [plugIn] { return Zeq::run(*plugIn); }};
}

}
