#include "MediaConversion/MediaPipeline/HostMemoryResource.h"
#include "MediaConversion/Version.h"
#include "python/Exceptions.h"
#include "python/MediaFiles.h"

#include <pybind11/numpy.h>
#include <pybind11/stl.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>

namespace ZeqPython {

namespace {

using Velmora::ChannelType;
using Channels = std::optional<std::string>;

constexpr std::uint64_t keptByDefault = std::uint64_t{2} << 30;

const char* typeName(ChannelType type)
{
    switch (type) {
        case ChannelType::U8:
            return "uint8";
        case ChannelType::F32:
            return "float32";
        default:
            return "uint16";
    }
}

// The array keeps the frame.
py::array arrayOver(FrameSamples read)
{
    const auto& samples = read.samples;
    const py::capsule owner(read.frame.get(),
                            [](void* frame) { delete static_cast<Velmora::IImageFrame*>(frame); });
    static_cast<void>(read.frame.release());
    return py::array(
        py::dtype(typeName(samples.type)),
        {samples.rows, samples.columns, static_cast<std::ptrdiff_t>(samples.channels.size())},
        {samples.rowStride, samples.columnStride, samples.channelStride}, samples.data, owner);
}

// The array in samples as the processor knows them, where they may be read one by one.
py::array readable(const py::array& array)
{
    const bool isNative = array.dtype().attr("isnative").cast<bool>();
    const bool isAligned = array.attr("flags").attr("aligned").cast<bool>();
    if (isNative && isAligned)
        return array;
    return array.attr("astype")(array.dtype().attr("newbyteorder")("="));
}

ChannelType typeOf(const py::array& array)
{
    for (const auto type : {ChannelType::U8, ChannelType::U16, ChannelType::F32})
        if (array.dtype().equal(py::dtype(typeName(type))))
            return type;
    raiseArgumentError("array is of type " + py::str(array.dtype()).cast<std::string>() +
                       "; uint8, uint16 or float32 is needed");
}

// The samples stay the array's.
Samples samplesOf(const py::array& array, const Channels& channels)
{
    const auto type = typeOf(array);
    if (array.ndim() != 3 || (array.shape(2) != 3 && array.shape(2) != 4))
        raiseArgumentError("array is of shape " + py::str(array.attr("shape")).cast<std::string>() +
                           "; rows x columns x 3 or 4 channels are needed");
    const auto count = static_cast<std::size_t>(array.shape(2));
    const auto order = channels.value_or(count == 4 ? "BGRA" : "BGR");
    checkChannels(order);
    const bool hasColours = std::ranges::all_of(
        std::string("RGB"), [&](char colour) { return order.find(colour) != std::string::npos; });
    if (order.size() != count || !hasColours)
        raiseArgumentError("channels are '" + order + "', and array has " + std::to_string(count));
    return {.data = static_cast<const std::byte*>(array.data()),
            .rows = array.shape(0),
            .columns = array.shape(1),
            .rowStride = array.strides(0),
            .columnStride = array.strides(1),
            .channelStride = array.strides(2),
            .type = type,
            .channels = order};
}

py::array readArray(const py::object& file, const py::object& dtype, const Channels& channels)
{
    const FileName name(file);
    const bool isNative = py::isinstance<py::str>(dtype) && dtype.equal(py::str("native"));
    if (!isNative && !py::dtype::from_args(dtype).equal(py::dtype("float32")))
        raiseArgumentError("dtype is " + py::repr(dtype).cast<std::string>() +
                           "; 'float32' or 'native' is needed");
    const auto reading = isNative ? Reading::Native : Reading::Floats;
    return arrayOver(unlocked(name, [&] { return readSamples(name.bytes(), reading, channels); }));
}

MediaConversion::MediaFileOptions optionsOf(const py::dict& header)
{
    MediaConversion::MediaFileOptions options;
    const auto take = [&]<class Value>(const char* name, Value& field) {
        if (!header.contains(name))
            return;
        try {
            field = header[name].cast<Value>();
        } catch (const py::cast_error&) {
            raiseArgumentError(std::string(name) + " is " +
                               py::repr(header[name]).cast<std::string>() +
                               ", which has no place in a header");
        }
    };
    take("headerByte0", options.headerByte0);
    take("headerByte1", options.headerByte1);
    take("headerRevision", options.headerRevision);
    take("headerByte3", options.headerByte3);
    take("frameField1", options.frameField1);
    take("width", options.width);
    take("height", options.height);
    std::string magic(toString(options.magic));
    take("magic", magic);
    using MediaConversion::MediaFileMagic;
    if (magic == toString(MediaFileMagic::ZeqZ))
        options.magic = MediaFileMagic::ZeqZ;
    else if (magic != toString(MediaFileMagic::Zeq))
        raiseArgumentError("magic is '" + magic + "', which begins no media file");
    return options;
}

void writeArray(const py::object& file, const py::array& array, const std::string& format,
                const Channels& channels, const std::optional<py::dict>& header)
{
    const FileName name(file);
    const auto kept = readable(array);
    const auto samples = samplesOf(kept, channels);
    const auto options = header ? optionsOf(*header) : MediaConversion::MediaFileOptions{};
    unlocked(name, [&] { writeSamples(name.bytes(), samples, formatNamed(format), options); });
}

void convertFile(const py::object& source, const py::object& destination, const std::string& format)
{
    const FileName sourceName(source);
    const FileName destinationName(destination);
    auto converted = unlocked(
        sourceName, [&] { return readConverted(sourceName.bytes(), formatNamed(format)); });
    unlocked(destinationName, [&] {
        const auto file = std::move(converted);
        writeConverted(destinationName.bytes(), file);
    });
}

// What a format says of the pictures that it holds.
void describe(py::dict& facts, const Velmora::FrameFormat& format)
{
    facts["bits"] = bitsOf(format.channelType);
    facts["hasAlpha"] = hasAlpha(format.colourspace);
    facts["dtype"] = typeName(formatToRead(format, Reading::Native, false).channelType);
}

py::dict factsOf(const py::object& file)
{
    const FileName name(file);
    auto read = unlocked(name, [&] { return readFacts(name.bytes()); });
    py::dict facts;
    facts["format"] = read.format ? py::object(py::str(shortName(*read.format))) : py::none();
    facts["formatCode"] = "0x" + MediaConversion::hexadecimal(read.media.mediaFormatCode);
    for (const auto* const key : {"bits", "hasAlpha", "dtype"})
        facts[key] = py::none();
    if (read.format)
        describe(facts, *read.format);
    facts["width"] = read.media.width;
    facts["height"] = read.media.height;
    facts["frameWidth"] = read.frame.frameWidth;
    facts["frameHeight"] = read.frame.frameHeight;
    facts["magic"] = std::string(toString(read.media.magic));
    facts["headerByte0"] = read.media.headerByte0;
    facts["headerByte1"] = read.media.headerByte1;
    facts["headerRevision"] = read.media.headerRevision;
    facts["headerByte3"] = read.media.headerByte3;
    facts["frameField1"] = read.frame.frameField1;
    return facts;
}

py::object formats()
{
    py::dict all;
    for (const auto& [code, format] : MediaConversion::mediaFormatCodes()) {
        py::dict facts;
        describe(facts, format);
        facts["rowsPerGroup"] = format.pixelPacking.rowsPerGroup;
        facts["columnsPerGroup"] = format.pixelPacking.columnsPerGroup;
        all[py::str(shortName(format))] = facts;
    }
    return py::module_::import("types").attr("MappingProxyType")(all);
}

void keepMemory(std::uint64_t byteCount)
{
    const py::gil_scoped_release released;
    Velmora::installFramePool(byteCount);
}

constexpr auto readText = R"(Reads a media file's frame as an array of rows x columns x channels.

dtype     "float32": values from 0 to 1, as the compositing host shows them, in four channels;
          a file without alpha is opaque.
          "native": uint8, 0 to 255, of 8-bit RGB and YCoCg-DXT5; uint16, 0 to 65535, of 10- and
          12-bit RGB; float32 of YCbCr. Alpha is there if the file has it. zeq.formats and
          zeq.info tell which type it is.
channels  one or several of R, G, B and A, in any order. Otherwise "BGRA", or "BGR" of a native
          array without alpha: the order in which frames lie in memory.

The array is the frame's memory, is its only owner and may be written to. Nothing is copied,
whichever channels are asked for. Those that lie at equal steps are a view, with negative strides
where they run backwards ("BGRA", "RGB", "ABGR" less its end, one channel alone). For others, "RGBA"
above all, the pixels are put in order where they are, which is one more pass over the memory.

The frame's size may differ from the picture's, which info gives as width and height.)";

constexpr auto writeText = R"(Writes an array of rows x columns x 3 or 4 channels as a media file.

array     uint8, 0 to 255; uint16, 0 to 65535; or float32, 0 to 1, where what lies outside is cut
          off and what is no number becomes 0. Any strides and either byte order.
format    one of zeq.formats. A format without alpha drops it; one with it takes three channels as
          opaque.
channels  what the array's channels are: R, G, B and perhaps A, in any order. Otherwise "BGRA" or
          "BGR", as read gives them.
header    a dictionary as info gives it: magic, headerByte0, headerByte1, headerRevision,
          headerByte3, frameField1, width and height are written, all else is ignored.

An array is copied first where it does not lie as a frame of blue, green, red and perhaps alpha does.
The file stands under its name when it is complete; what was there before stays when that fails.)";

constexpr auto convertText = R"(Writes a media file's frame in another format of zeq.formats.

The destination keeps the other fields of the headers. It may be the source itself. It stands under
its name when it is complete.)";

constexpr auto infoText =
    R"(Reads what a media file's headers say, without its frame, as a dictionary.

The names are those of "zeq info --json"; besides, bits of a sample, hasAlpha and the native dtype.
format, bits, hasAlpha and dtype are None for a file of unknown format.)";

constexpr auto keepMemoryText = R"(Says how many bytes of memory the module keeps for later frames.

The memory of arrays that are gone serves the next ones, while it takes no more than so many bytes
together with that of arrays that are alive. It is 2 GiB at first. What is kept already is freed by
this call.)";

}

}

PYBIND11_MODULE(_zeq, module)
{
    using namespace ZeqPython;
    using py::arg;

    py::options options;
    options.disable_function_signatures();
    addExceptions(module);
    module.attr("__version__") = MediaConversion::Version::text();
    module.attr("formats") = formats();
    module.def("read", readArray, readText, arg("file"), py::kw_only(), arg("dtype") = "float32",
               arg("channels") = py::none());
    module.def("write", writeArray, writeText, arg("file"), arg("array"), py::kw_only(),
               arg("format"), arg("channels") = py::none(), arg("header") = py::none());
    module.def("convert", convertFile, convertText, arg("source"), arg("destination"),
               py::kw_only(), arg("format"));
    module.def("info", factsOf, infoText, arg("file"));
    module.def("keep_memory", keepMemory, keepMemoryText, arg("byte_count"));
    Velmora::installFramePool(keptByDefault);
}
