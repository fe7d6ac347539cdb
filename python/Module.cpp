#include "MediaConversion/MediaPipeline/HostMemoryResource.h"
#include "MediaConversion/Version.h"
#include "python/Exceptions.h"
#include "python/MediaFiles.h"

#include <pybind11/stl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace ZeqPython {

namespace {

using Velmora::ChannelType;
using Channels = std::optional<std::string>;

// The types of samples that arrays may have.
struct SampleType
{
    ChannelType type;
    const char* name;       // for people
    const char* interface;  // in numpy's array interface, in the processor's byte order
    const char* buffer;     // in the buffer protocol
    py::ssize_t size;       // bytes
};

// clang-format off
constexpr std::array<SampleType, 3> sampleTypes{{
    // type              name       interface buffer size
    {ChannelType::U8,  "uint8",   "|u1",    "B",   1},
    {ChannelType::U16, "uint16",  "<u2",    "H",   2},
    {ChannelType::F32, "float32", "<f4",    "f",   4},
}};
// clang-format on

const SampleType& factsOf(ChannelType type)
{
    return *std::ranges::find(sampleTypes, type, &SampleType::type);
}

// Loaded with the first array, as it takes ten times as long as this module. Everything goes
// through its own functions: pybind11 2.10 reaches for its tables in a way that deadlocks when
// several threads make the first arrays.
py::module_ numpy()
{
    return py::module_::import("numpy");
}

py::buffer_info bufferOver(FrameSamples& read)
{
    const auto& samples = read.samples;
    const auto& type = factsOf(samples.type);
    return {const_cast<std::byte*>(samples.data),
            type.size,
            type.buffer,
            3,
            {samples.rows, samples.columns, static_cast<py::ssize_t>(samples.channels.size())},
            {samples.rowStride, samples.columnStride, samples.channelStride}};
}

std::string textOf(const py::handle& object)
{
    return py::str(object);
}

// The array, which has to be one of numpy's, with samples that the processor can read where they
// lie: else a copy.
py::object readable(const py::object& array)
{
    if (!py::isinstance(array, numpy().attr("ndarray")))
        throw py::type_error("array is of type " + textOf(py::type::of(array).attr("__name__")) +
                             "; numpy.ndarray is needed");
    const auto type = array.attr("dtype");
    if (type.attr("isnative").cast<bool>() && array.attr("flags").attr("aligned").cast<bool>())
        return array;
    return array.attr("astype")(type.attr("newbyteorder")("="));
}

ChannelType typeOf(const py::dict& interface, const py::object& array)
{
    const auto name = textOf(interface["typestr"]);
    for (const auto& type : sampleTypes)
        if (name == type.interface)
            return type.type;
    raiseArgumentError("array is of type " + textOf(array.attr("dtype")) +
                       "; uint8, uint16 or float32 is needed");
}

// The samples stay the array's.
Samples samplesOf(const py::object& array, const Channels& channels)
{
    const py::dict interface = array.attr("__array_interface__");
    const auto type = typeOf(interface, array);
    const auto shape = array.attr("shape").cast<std::vector<py::ssize_t>>();
    const auto strides = array.attr("strides").cast<std::vector<py::ssize_t>>();
    if (shape.size() != 3 || (shape[2] != 3 && shape[2] != 4))
        raiseArgumentError("array is of shape " + textOf(array.attr("shape")) +
                           "; rows x columns x 3 or 4 channels are needed");
    const auto count = static_cast<std::size_t>(shape[2]);
    const auto order = channels.value_or(count == 4 ? "BGRA" : "BGR");
    checkChannels(order);
    const bool hasColours = std::ranges::all_of(
        std::string("RGB"), [&](char colour) { return order.find(colour) != std::string::npos; });
    if (order.size() != count || !hasColours)
        raiseArgumentError("channels are '" + order + "', and array has " + std::to_string(count));
    const py::tuple data = interface["data"];
    return {.data = reinterpret_cast<const std::byte*>(data[0].cast<std::uintptr_t>()),
            .rows = shape[0],
            .columns = shape[1],
            .rowStride = strides[0],
            .columnStride = strides[1],
            .channelStride = strides[2],
            .type = type,
            .channels = order};
}

Reading readingOf(const py::object& dtype)
{
    if (py::isinstance<py::str>(dtype) && textOf(dtype) == "native")
        return Reading::Native;
    if (!numpy().attr("dtype")(dtype).equal(py::str("float32")))
        raiseArgumentError("dtype is " + textOf(py::repr(dtype)) +
                           "; 'float32' or 'native' is needed");
    return Reading::Floats;
}

// The array keeps the frame.
py::object readArray(const py::object& file, const py::object& dtype, const Channels& channels)
{
    const FileName name(file);
    const auto reading = readingOf(dtype);
    auto read = unlocked(name, [&] { return readSamples(name.bytes(), reading, channels); });
    return numpy().attr("asarray")(py::cast(std::move(read)));
}

// Takes a field over if the dictionary has it.
template <class Value>
void take(const py::dict& header, const char* name, Value& field)
{
    if (!header.contains(name))
        return;
    try {
        field = header[name].cast<Value>();
    } catch (const py::cast_error&) {
        raiseArgumentError(std::string(name) + " is " + textOf(py::repr(header[name])) +
                           ", which has no place in a header");
    }
}

MediaConversion::MediaFileOptions optionsOf(const py::dict& header)
{
    MediaConversion::MediaFileOptions options;
    take(header, "headerByte0", options.headerByte0);
    take(header, "headerByte1", options.headerByte1);
    take(header, "headerRevision", options.headerRevision);
    take(header, "headerByte3", options.headerByte3);
    take(header, "frameField1", options.frameField1);
    take(header, "width", options.width);
    take(header, "height", options.height);
    std::string magic(toString(options.magic));
    take(header, "magic", magic);
    using MediaConversion::MediaFileMagic;
    if (magic == toString(MediaFileMagic::ZeqZ))
        options.magic = MediaFileMagic::ZeqZ;
    else if (magic != toString(MediaFileMagic::Zeq))
        raiseArgumentError("magic is '" + magic + "', which begins no media file");
    return options;
}

void writeArray(const py::object& file, const py::object& array, const std::string& format,
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
    facts["dtype"] = factsOf(formatToRead(format, Reading::Native, false).channelType).name;
}

py::dict infoOf(const py::object& file)
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

// Arrays may outlive all that the module has.
using Pool = Velmora::BoundedMemoryPool<Velmora::HostMemoryResource>;
const std::shared_ptr<Pool>& pool()
{
    static const auto& pool = *new std::shared_ptr<Pool>(std::make_shared<Pool>(0));
    return pool;
}

void keepMemory(std::uint64_t byteCount)
{
    const py::gil_scoped_release released;
    pool()->setLimit(byteCount);
}

// Enough for four threads that read frames of 4K.
std::uint64_t memoryKeptAtFirst()
{
    const auto machine = static_cast<std::uint64_t>(::sysconf(_SC_PHYS_PAGES)) *
                         static_cast<std::uint64_t>(::sysconf(_SC_PAGESIZE));
    return std::min(std::uint64_t{2} << 30, machine / 4);
}

// The first line of each is the signature that help() shows.
constexpr auto readText = R"(read(file, *, dtype='float32', channels=None)
--

Reads a media file's frame as an array of rows x columns x channels.

dtype     "float32": values from 0 to 1, as the compositing host shows them, in four channels;
          a file without alpha is opaque.
          "native": uint8, 0 to 255, of 8-bit RGB and YCoCg-DXT5; uint16, 0 to 65535, of 10- and
          12-bit RGB; float32, 0 to 1, of YCbCr. Alpha is there if the file has it. zeq.formats and
          zeq.info say which type it is.
channels  one or several of R, G, B and A, in any order. Otherwise "BGRA", or "BGR" of a native
          array without alpha: the order of the compositing host's memory.

The array is the frame's memory and may be written to. No choice of channels copies it. Those at
equal steps in memory are a view, with negative strides where they run backwards, as "RGB" may.
For others the pixels are put in order where they are, in one more pass: "RGBA" needs that of YCbCr
and YCoCg-DXT5, as files of RGB are converted to either order.

The frame may have another size than the picture that hosts show, which info gives as width and
height.)";

constexpr auto writeText = R"(write(file, array, *, format, channels=None, header=None)
--

Writes an array of rows x columns x 3 or 4 channels as a media file.

array     uint8, 0 to 255; uint16, 0 to 65535; or float32, 0 to 1, where what lies outside is cut
          off and what is no number becomes 0. Of any strides and either byte order.
format    one of zeq.formats. A format without alpha drops it; one with alpha takes three channels
          as opaque.
channels  what the array's channels are: R, G, B and perhaps A, in any order. Otherwise "BGRA" or
          "BGR", as read gives them.
header    a dictionary as info gives it, of which magic, width, height, headerByte0, headerByte1,
          headerRevision, headerByte3 and frameField1 are written.

The array is copied first where its pixels are not contiguous or in another order than those of an
RGB format, and where values are cut off. The file takes its name when it is complete; what was there
before stays when that fails.)";

constexpr auto convertText = R"(convert(source, destination, *, format)
--

Writes a media file's frame in another format, one of zeq.formats.

The destination keeps the other fields of the headers. It may be the source itself. It takes its
name when it is complete.)";

constexpr auto infoText = R"(info(file)
--

Reads what a media file's headers say, without its frame, as a dictionary.

The names are those of "zeq info --json". Besides, there are the bits of a sample, hasAlpha, and the
native dtype; these and format are None for a file of unknown format.)";

constexpr auto keepMemoryText = R"(keep_memory(byte_count)
--

Says how much memory the module keeps for later frames, in bytes.

The memory of arrays that are gone serves the next ones. It is kept while it takes no more than so
many bytes together with that of the arrays that are alive. At first that is 2 GiB, or a quarter of
the machine's memory where that is less. keep_memory(0) frees what is kept.)";

}

}

PYBIND11_MODULE(_zeq, module)
{
    using namespace ZeqPython;
    using py::arg;

    py::options options;
    options.disable_function_signatures();
    addExceptions(module);
    py::class_<FrameSamples>(module, "_Frame", py::buffer_protocol()).def_buffer(bufferOver);
    module.attr("__version__") = MediaConversion::Version::text();
    module.attr("formats") = formats();
    module.def("read", readArray, readText, arg("file"), py::kw_only(), arg("dtype") = "float32",
               arg("channels") = py::none());
    module.def("write", writeArray, writeText, arg("file"), arg("array"), py::kw_only(),
               arg("format"), arg("channels") = py::none(), arg("header") = py::none());
    module.def("convert", convertFile, convertText, arg("source"), arg("destination"),
               py::kw_only(), arg("format"));
    module.def("info", infoOf, infoText, arg("file"));
    module.def("keep_memory", keepMemory, keepMemoryText, arg("byte_count"));
    keepMemory(memoryKeptAtFirst());
    Velmora::ImageFrame::setMemoryPool(pool(), Velmora::ImageFrame::PooledMatrices::OfFrames);
}
