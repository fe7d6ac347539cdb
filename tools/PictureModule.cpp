#include "tools/PictureModule.h"

#include "imaging/ContactSheet.h"

#include <OpenImageIO/imageio.h>

#include <opencv2/core/utility.hpp>

#include <utility>

namespace Zeq {

namespace {

class OpenPictureInput final : public IPictureInput
{
public:
    explicit OpenPictureInput(const std::string& fileName) : m_input(fileName) {}

    const PictureFacts& facts() const override { return m_input.facts(); }
    PartialPicture read() override { return m_input.read(); }

private:
    PictureInput m_input;
};

class Sheet final : public IContactSheet
{
public:
    void add(const PartialPicture& picture, int depth, const std::string& name) override
    {
        m_sheet.add(picture, depth, name);
    }
    void write(const std::string& fileName) const override { m_sheet.write(fileName); }

private:
    ContactSheet m_sheet;
};

class PictureModule final : public IPictureModule
{
public:
    PictureModule()
    {
        for (const auto* const attribute : {"threads", "exr_threads"})
            OIIO::attribute(attribute, cv::getNumThreads());
    }

    std::unique_ptr<IPictureInput> open(const std::string& fileName) const override
    {
        return std::make_unique<OpenPictureInput>(fileName);
    }

    void write(const std::string& fileName, cv::Mat picture,
               const PictureLayout& layout) const override
    {
        writePicture(fileName, std::move(picture), layout);
    }

    std::unique_ptr<IContactSheet> createContactSheet() const override
    {
        return std::make_unique<Sheet>();
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
