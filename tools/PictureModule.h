#pragma once

#include "imaging/ContactSheet.h"
#include "imaging/Picture.h"

#include <memory>
#include <string>

// What the tool does through OpenImageIO, which takes a third of a second to load.
// PictureModule.cpp is therefore a module of its own, and PictureModuleLoader.cpp loads it when the
// first picture is read or written.
namespace Zeq {

class IPictureModule
{
public:
    virtual ~IPictureModule() = default;

    virtual std::unique_ptr<Imaging::IPictureFile> open(const std::string& fileName) const = 0;
    virtual void write(const std::string& fileName, const Imaging::Picture& picture,
                       const std::string& heldName) const = 0;
    virtual std::unique_ptr<Imaging::IContactSheet> createContactSheet() const = 0;

    virtual std::string openImageIoVersion() const = 0;
};

// Loads the module with the first call, from when on each file is read and written with as many
// threads as OpenCV is told to use. Throws a std::runtime_error when that fails, also when too few
// threads can be started: libraries that come with OpenImageIO would end the program.
const IPictureModule& pictureModule();

// The one function that the module exports.
inline constexpr auto pictureModuleEntry = "zeqPictureModule";
using PictureModuleEntry = const IPictureModule* (*)();

}
