#include "tests/oiio/ImageIoTest.h"

#include <atomic>
#include <cstdlib>
#include <new>

using OIIO::TypeDesc;

static std::atomic<long> allocations = 0;

void* operator new(std::size_t size)
{
    ++allocations;
    if (void* const memory = std::malloc(size))
        return memory;
    throw std::bad_alloc();
}

void operator delete(void* memory) noexcept
{
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept
{
    std::free(memory);
}

namespace {

// Nor with each call: some rows are converted together, and their samples are kept.
TEST_F(ImageIoTest, takesNoMemoryForARow)
{
    const auto input = open(write(noise(0x1200, 64, 32)));
    const auto output = OIIO::ImageOutput::create("zeq");
    ASSERT_TRUE(output->open(folder.file("copy.zeq"), input->spec()));
    std::vector<float> row(64 * 3);
    for (int y = 0; y < 31; ++y) {
        const long before = allocations;
        EXPECT_TRUE(input->read_scanline(y, 0, TypeDesc::FLOAT, row.data()));
        EXPECT_TRUE(allocations == before || y % 16 == 0) << y;
        const long between = allocations;
        EXPECT_TRUE(output->write_scanline(y, 0, TypeDesc::FLOAT, row.data()));
        EXPECT_TRUE(allocations == between || y % 16 == 15) << y;
    }
    EXPECT_FALSE(output->close());
}

}
