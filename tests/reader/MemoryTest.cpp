#include "tests/reader/MemoryTest.h"

#include <fcntl.h>
#include <malloc.h>
#include <unistd.h>

#include <algorithm>
#include <memory>
#include <new>
#include <set>
#include <utility>

using namespace Headless;

using namespace testing;
using MediaConversion::mediaFormatCodes;

// The size of a block if it is large, and 0 otherwise.
static std::size_t largeSize(void* memory)
{
    const auto size = ::malloc_usable_size(memory);
    return size >= Allocations::leastLargeSize ? size : 0;
}

void* operator new(std::size_t size, std::align_val_t alignment)
{
    const bool fails = Allocations::untilFailure > 0 && --Allocations::untilFailure == 0;
    void* memory = nullptr;
    if (fails || ::posix_memalign(&memory, static_cast<std::size_t>(alignment), size) != 0)
        throw std::bad_alloc();
    ++Allocations::living;
    if (const auto bytes = largeSize(memory))
        Allocations::mostLargeBytes =
            std::max(Allocations::mostLargeBytes, Allocations::largeBytes += bytes);
    return memory;
}

void* operator new(std::size_t size)
{
    return operator new (size, std::align_val_t{__STDCPP_DEFAULT_NEW_ALIGNMENT__});
}

void operator delete(void* memory) noexcept
{
    Allocations::living -= memory != nullptr;
    Allocations::largeBytes -= largeSize(memory);
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept
{
    operator delete(memory);
}

void operator delete(void* memory, std::align_val_t) noexcept
{
    operator delete(memory);
}

// Runs the operation without its n-th allocation; false if it has fewer.
template <class Operation>
static bool failingAt(int n, Operation&& operation)
{
    Allocations::untilFailure = n;
    try {
        operation();
    } catch (const std::bad_alloc&) {
    }
    return std::exchange(Allocations::untilFailure, 0) == 0;
}

using AllocationFailures = MemoryTest;
using ClipMemory = MemoryTest;

// Each of a construction and an open, in all formats. Those of the construction may reach the host;
// a reader that has come of it is without a conversion for ever.
TEST_F(AllocationFailures, areReportedOnceAndTheNextOpenWorks)
{
    // Within a read, a stream turns a failure into its state.
    const auto isReported =
        AnyOf("std::bad_alloc", "Media file has unexpectedly reached End-Of-File");
    const auto* const isWithoutConversion = "No frameSink connected";
    const auto& plugIn = description();
    for (const auto& [code, format] : mediaFormatCodes()) {
        SCOPED_TRACE(toString(format));
        const auto file = write(uniformPicture(code, 4, 4, 'Z'));
        const auto sample = firstSample(opened(file).reader());
        const auto hasAndLacks = [&](int n) {
            ReadOperator readOperator(file);
            const int descriptor = ::open(file.c_str(), O_RDONLY);
            std::unique_ptr<DD::Image::Reader> reader;
            bool isConstructed = false;
            const bool hasFailed = failingAt(n, [&] {
                reader.reset(plugIn.newReader(&readOperator, descriptor, nullptr, 0));
                isConstructed = Allocations::untilFailure > 0;
                reader->open();
            });
            const auto messages = readOperator.takeMessages();
            if (!reader || !hasFailed)
                EXPECT_THAT(messages, IsEmpty());
            else if (isConstructed)
                EXPECT_THAT(messages, ElementsAre(isReported));
            else
                EXPECT_THAT(messages, ElementsAre(isReported, isWithoutConversion));
            if (reader) {
                EXPECT_NE(::fcntl(descriptor, F_GETFD), -1) << "The reader has taken it over";
                reader->open();
                EXPECT_THAT(readOperator.takeMessages(),
                            isConstructed ? Messages{} : Messages{isWithoutConversion});
                EXPECT_TRUE(!isConstructed || firstSample(*reader) == sample);
            }
            reader.reset();
            // The first is the reader's own block: without it nobody has taken the descriptor.
            EXPECT_EQ(::close(descriptor), n == 1 ? 0 : -1);
            return hasFailed;
        };
        const auto blocks = settledBlocks();
        int n = 1;
        for (; hasAndLacks(n) && !HasFailure(); ++n)
            EXPECT_EQ(settledBlocks(), blocks);
        EXPECT_TRUE(n > 20 && !HasFailure()) << "allocation " << n;
    }
}

// Each is lacking in a child of its own that has made no reader yet, and then makes another.
TEST_F(AllocationFailures, ofTheFirstReaderLeaveNothingHalfMade)
{
    expectAtFirst([&] {
        const auto file = write(uniformPicture(rgbaU8, 4, 4, 'Z'));
        int status = 1;
        int n = 1;
        for (; status == 1; ++n)
            status = exitStatusOf([&] {
                const bool hasFailed = failingAt(n, [&] { opened(file); });
                return opened(file).takeMessages().empty() ? hasFailed : 2;
            });
        return status == 0 && n > 40;
    });
}

#ifdef COSTS_ARE_BOUNDED
// In a process that has shown nothing yet, a picture takes the bytes of the file, of the frame for
// the host and of one that some formats need between the two; and again, with the picture before in
// hand, another frame. What the pool keeps idle counts as well. From then on nothing more is taken.
// SECURITY.md promises the largest of these: 37 times the file for DXT5, whose pixels have a byte.
TEST_F(ClipMemory, isBoundedByTheSizeOfTheFile)
{
    const auto takesWhatItNeeds = [&](std::uint32_t code) {
        constexpr double pixels = 1024 * 1024;
        constexpr double frame = 16 * pixels;
        const auto file = write(uniformPicture(code, 1024, 1024, 'z'));
        const auto first = static_cast<double>(std::filesystem::file_size(file)) + frame;
        auto reader = construct(file);
        Allocations::mostLargeBytes = 0;
        for (const double expected : {first, first + frame, first + frame}) {
            reader.open();
            EXPECT_NEAR(static_cast<double>(Allocations::mostLargeBytes), expected, 0.1 * pixels)
                << std::hex << code;
        }
        Allocations::mostLargeBytes = 0;
        for (int again = 0; again < 10; ++again)
            reader.open();
        EXPECT_EQ(Allocations::mostLargeBytes, 0u) << std::hex << code;
        EXPECT_THAT(reader.takeMessages(), IsEmpty());
        return !HasFailure();
    };
    expectAtFirst([&] {
        return std::ranges::all_of(mediaFormatCodes(), [&](const auto& format) {
            return exitStatusOf([&] { return takesWhatItNeeds(format.first) ? 0 : 1; }) == 0;
        });
    });
}
#endif
