#pragma once

#include "imaging/ContactSheet.h"
#include "imaging/HeatMap.h"
#include "imaging/Picture.h"

#include <memory>
#include <string>
#include <vector>

namespace Zeq {

// What the tool does through OpenImageIO, which takes a third of a second to load: the functions of
// imaging/ behind a module of its own, PictureModule.cpp, that PictureModuleLoader.cpp loads when
// the first picture is read or written.
struct PictureModule
{
    std::unique_ptr<Imaging::IPictureFile> (*open)(const std::string& fileName,
                                                   const Imaging::ReadingOptions& options);
    void (*write)(const std::string& fileName, const Imaging::Picture& picture,
                  const std::string& heldName);
    void (*writeContactSheet)(const std::string& fileName, const std::vector<Imaging::View>& views,
                              int columns);
    void (*writeHeatMap)(const std::string& fileName, const Imaging::HeatMap& map);
    const char* openImageIoVersion;
};

// Loads the module with the first call, from when on each file is read and written with as many
// threads as OpenCV is told to use. Throws a std::runtime_error when that fails, also when too few
// threads can be started: libraries that come with OpenImageIO would end the program.
const PictureModule& pictureModule();

// The one function that the module exports.
inline constexpr auto pictureModuleEntry = "zeqPictureModule";
using PictureModuleEntry = const PictureModule* (*)();

}
