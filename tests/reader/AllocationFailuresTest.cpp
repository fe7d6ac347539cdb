#include "tests/reader/BadFiles.h"
#include "tests/reader/MemoryTest.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <memory>
#include <new>
#include <string>
#include <utility>

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
        for (const auto& packing : BadFiles::packings) {
            const auto file = write(BadFiles::picture(packing));
            const auto blocks = settledBlocks();
            int n = 1;
            for (; test(file, n) && !HasFailure(); ++n)
                EXPECT_EQ(settledBlocks(), blocks) << packing.code << ", allocation " << n;
            EXPECT_GT(n, 10) << packing.code;
        }
    }

    // Runs the operation without its n-th allocation; false if it has fewer.
    template <class Operation>
    static bool failingAt(int n, Operation&& operation)
    {
        Allocations::untilFailure = n;
        operation();
        return std::exchange(Allocations::untilFailure, 0) == 0;
    }

    // Ends the process, with success if it can show pictures after its first reader has lacked any
    // allocation. Each is lacking in a child of its own that has made no reader yet.
    [[noreturn]] void exitAfterFirstReaders() const
    {
        const auto file = write(BadFiles::picture(BadFiles::packings[0]));
        enum
        {
            hasFailed,
            isWrong,
            hasNone
        };
        int status = hasFailed;
        int n = 1;
        for (; status == hasFailed; ++n)
            status = exitStatusOf([&] {
                const bool fails = failingAt(n, [&] { isShown(file); });
                return !isShown(file) ? isWrong : fails ? hasFailed : hasNone;
            });
        std::filesystem::remove_all(path(""));
        std::exit(status == hasNone && n > 40 ? 0 : 1);
    }

    static bool isShown(const std::string& file)
    {
        try {
            auto reader = construct(file);
            reader.open();
            return reader.takeMessages().empty();
        } catch (const std::bad_alloc&) {
            return false;
        }
    }
};

}

TEST_F(AllocationFailures, ofAnOpenAreReportedOnceAndTheNextOneWorks)
{
    forEachAllocation([](const std::string& file, int n) {
        auto other = construct(file);
        other.open();
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
        const bool hasFailed = failingAt(n, [&] {
            try {
                reader.reset(plugIn.newReader(&readOperator, descriptor, nullptr, 0));
            } catch (const std::bad_alloc&) {
            }
        });
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

TEST_F(AllocationFailures, ofTheFirstReaderLeaveNothingHalfMade)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(exitAfterFirstReaders(), ExitedWithCode(0), Eq(""));
}
