#include "MediaConversion/MediaPipeline/RawFrameData.h"

#include "MediaConversion/MediaPipeline/SelfPruningMemoryPool.h"
#include "tests/MediaPipeline/CountingResource.h"
#include "tests/support/ExpectError.h"

#include <gtest/gtest.h>

#include <limits>

namespace Velmora {
namespace {

constexpr auto highest = std::numeric_limits<std::uint64_t>::max();

std::shared_ptr<IMemoryPool> newPool()
{
    return std::make_shared<SelfPruningMemoryPool<CountingResource>>();
}

TEST(RawFrameData, knowsWhereThePixelsLie)
{
    struct Case
    {
        std::uint64_t size, offset, end, pixelByteCount;
    };
    for (const auto& [size, offset, end, pixelByteCount] : {
             Case{100, 0, 100, 100},
             Case{100, 28, 100, 72},
             Case{100, 28, 60, 32},
             Case{100, 28, 28, 0},
             Case{100, 100, 100, 0},
             Case{100, 28, 0, 72},  // no end was given
             Case{100, 100, 0, 0},
             Case{0, 0, 0, 0},
         }) {
        SCOPED_TRACE(testing::Message() << offset << " to " << end << " of " << size);
        auto buffer = std::make_unique<PooledBuffer>(newPool(), size);
        const std::byte* const start = buffer->data();
        const RawFrameData data(std::move(buffer), offset, end);
        EXPECT_EQ(data.pixels(), start + offset);
        EXPECT_EQ(data.pixelByteCount(), pixelByteCount);
    }
}

TEST(RawFrameData, measuresTheBufferByTheSizeAskedFor)
{
    const auto pool = newPool();
    pool->release(pool->acquire(1000));
    const RawFrameData data(std::make_unique<PooledBuffer>(pool, 40), 8);
    EXPECT_EQ(data.pixelByteCount(), 32u);
    expectError<std::runtime_error>("Pixel data offset (41) exceeds data size (40)", [&] {
        pool->release(pool->acquire(1000));
        RawFrameData(std::make_unique<PooledBuffer>(pool, 40), 41);
    });
}

TEST(RawFrameData, refusesPixelsOutsideTheBufferAndReturnsIt)
{
    struct Case
    {
        std::uint64_t offset, end;
        const char* text;
    };
    // clang-format off
    for (const auto& position : {
             Case{101, 0,       "Pixel data offset (101) exceeds data size (100)"},
             Case{102, 101,     "Pixel data offset (102) exceeds data size (100)"},
             Case{highest, 1,   "Pixel data offset (18446744073709551615) exceeds data size (100)"},
             Case{28, 27,       "Pixel data end (27) is before pixel data offset (28)"},
             Case{100, 1,       "Pixel data end (1) is before pixel data offset (100)"},
             Case{28, 101,      "Pixel data end (101) exceeds data size (100)"},
             Case{28, highest,  "Pixel data end (18446744073709551615) exceeds data size (100)"},
         }) {
        // clang-format on
        const auto pool = newPool();
        auto buffer = std::make_unique<PooledBuffer>(pool, 100);
        const std::byte* const block = buffer->data();
        expectError<std::runtime_error>(
            position.text, [&] { RawFrameData(std::move(buffer), position.offset, position.end); });
        EXPECT_EQ(pool->acquire(100)->data(), block) << position.text;
    }
    expectError<std::runtime_error>("Null data", [] { RawFrameData(nullptr, 5, 1); });
}

}
}
