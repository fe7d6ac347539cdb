#include "tools/Commands.h"

#include <dlfcn.h>

#include <iostream>
#include <memory>

namespace Zeq {

namespace {

int run(const std::string& plugIn)
{
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
