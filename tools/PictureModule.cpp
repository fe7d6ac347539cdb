#include "tools/PictureModule.h"

#include "imaging/PictureFiles.h"

#include <OpenImageIO/imageio.h>

#include <opencv2/core/utility.hpp>

namespace Zeq {

namespace {

class PictureModule final : public IPictureModule
{
public:
    PictureModule()
    {
        for (const auto* const attribute : {"threads", "exr_threads"})
            OIIO::attribute(attribute, cv::getNumThreads());
    }

    std::unique_ptr<Imaging::IPictureFile> open(const std::string& fileName) const override
    {
        return Imaging::openPicture(fileName);
    }

    void write(const std::string& fileName, const Imaging::Picture& picture,
               const std::string& heldName) const override
    {
        Imaging::writePicture(fileName, picture, heldName);
    }

    std::unique_ptr<Imaging::IContactSheet> createContactSheet() const override
    {
        return std::make_unique<Imaging::ContactSheet>();
    }

    std::string openImageIoVersion() const override { return OIIO_VERSION_STRING; }
};

}

}

extern "C" __attribute__((visibility("default"))) const Zeq::IPictureModule* zeqPictureModule()
{
    static const Zeq::PictureModule& module = *new Zeq::PictureModule;
    return &module;
}
