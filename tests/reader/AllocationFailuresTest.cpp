#include "tests/reader/MemoryTest.h"

#include <fcntl.h>
#include <unistd.h>

#include <memory>
#include <new>
#include <string>
#include <utility>

using namespace Headless;

using namespace testing;

namespace {

class AllocationFailures : public MemoryTest
{
protected:
    using Report = Matcher<Messages>;
    static inline const Report isSilent = IsEmpty();
    static inline const Report isWithoutConversion = ElementsAre("No frameSink connected");
    // Within a read, a stream turns a failure into its state.
    static inline const Report isReported =
        ElementsAre(AnyOf("std::bad_alloc", "Media file has unexpectedly reached End-Of-File"));

    // Calls `test(file, n)` for files of all formats, for n = 1, 2 and so on until it says that no
    // n-th allocation was there to fail.
    template <class Test>
    void forEachAllocation(Test&& test)
    {
        for (const auto& [code, format] : MediaConversion::mediaFormatCodes()) {
            const auto file = write(uniformPicture(code, 4, 4, 'Z'));
            const auto blocks = settledBlocks();
            int n = 1;
            for (; test(file, n) && !HasFailure(); ++n)
                EXPECT_EQ(settledBlocks(), blocks) << code << ", allocation " << n;
            EXPECT_GT(n, 10) << code;
        }
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
};

}

TEST_F(AllocationFailures, ofAnOpenAreReportedOnceAndTheNextOneWorks)
{
    forEachAllocation([](const std::string& file, int n) {
        auto other = opened(file);
        auto reader = construct(file);
        const bool hasFailed = failingAt(n, [&] { reader.open(); });
        EXPECT_THAT(reader.takeMessages(), hasFailed ? isReported : isSilent);
        reader.open();
        EXPECT_EQ(reader.picture().pixels, other.picture().pixels);
        EXPECT_THAT(reader.takeMessages(), IsEmpty());
        return hasFailed;
    });
}

TEST_F(AllocationFailures, ofAConstructionAreReportedOrReachTheHost)
{
    const auto& plugIn = description();
    forEachAllocation([&](const std::string& file, int n) {
        ReadOperator readOperator(file);
        const int descriptor = ::open(file.c_str(), O_RDONLY);
        std::unique_ptr<DD::Image::Reader> reader;
        const bool hasFailed = failingAt(
            n, [&] { reader.reset(plugIn.newReader(&readOperator, descriptor, nullptr, 0)); });
        EXPECT_THAT(readOperator.takeMessages(), reader && hasFailed ? isReported : isSilent);
        if (reader) {
            EXPECT_NE(::fcntl(descriptor, F_GETFD), -1) << "The reader has taken it over";
            reader->open();
            EXPECT_THAT(readOperator.takeMessages(), hasFailed ? isWithoutConversion : isSilent);
        }
        reader.reset();
        // The first is the reader's own block: without it nobody has taken the descriptor.
        EXPECT_EQ(::close(descriptor), n == 1 ? 0 : -1) << n;
        return hasFailed;
    });
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
