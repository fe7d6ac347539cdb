#pragma once

#include "imaging/PictureInput.h"
#include "imaging/PictureOutput.h"

#include <opencv2/core/mat.hpp>

#include <memory>
#include <string>

// What the tool does through OpenImageIO, which takes a third of a second to load. It is a module
// of its own, loaded when the first picture is read or written.
namespace Zeq {

class IPictureInput
{
public:
    virtual ~IPictureInput() = default;

    virtual const PictureFacts& facts() const = 0;
    virtual PartialPicture read() = 0;
};

class IContactSheet
{
public:
    virtual ~IContactSheet() = default;

    virtual void add(const PartialPicture& picture, int depth, const std::string& name) = 0;
    virtual void write(const std::string& fileName) const = 0;
};

class IPictureModule
{
public:
    virtual ~IPictureModule() = default;

    virtual std::unique_ptr<IPictureInput> open(const std::string& fileName) const = 0;
    virtual void write(const std::string& fileName, cv::Mat picture,
                       const PictureLayout& layout) const = 0;
    virtual std::unique_ptr<IContactSheet> createContactSheet() const = 0;

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
