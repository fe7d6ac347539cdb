#include "MediaConversion/MediaPipeline/MemoryPool.h"
#include "tests/MediaFile/ReaderFixture.h"

#include <exception>
#include <map>

using namespace MediaConversion;
using namespace MediaFileTests;

namespace {

using StreamFaults = ReaderFixture;

// How often the frame, or which text, is what comes of a call that fails at once, and of one that
// sets the fail bit, the bad bit or the end-of-file bit afterwards.
using Outcomes = std::vector<std::map<std::string, int>>;

const std::string frame = "the frame";
const std::string isBad = "Media file is bad";
const std::string noOffset = "Pixel data offset (18446744073709551615) exceeds data size (48)";

// A file is opened by both methods. Each header ends with a check, where alone the last bit shows.
const std::map<std::string, Outcomes> expected = {
    // clang-format off
    {"opening, open",           {{{frame, 2}},     {{frame, 2}},      {{frame, 2}},      {{frame, 2}}}},
    {"opening, clear",          {{{corrupt, 2}},   {{corrupt, 2}},    {{corrupt, 2}},    {{frame, 2}}}},
    {"opening, seek",           {{{corrupt, 2}},   {{corrupt, 2}},    {{corrupt, 2}},    {{corrupt, 2}}}},
    {"opening, read",           {{{corrupt, 2}, {endOfFile, 26}},
                                                   {{endOfFile, 28}}, {{endOfFile, 28}}, {{endOfFile, 24}, {isBad, 4}}}},
    {"reading, tell",           {{{frame, 2}},     {{frame, 2}},      {{frame, 2}},      {{frame, 2}}}},
    {"reading, seek",           {{{frame, 2}},     {{frame, 2}},      {{frame, 2}},      {{frame, 1}, {endOfFile, 1}}}},
    {"reading, read",           {{{endOfFile, 1}}, {{endOfFile, 1}},  {{endOfFile, 1}},  {{isBad, 1}}}},
    {"reading directly, tell",  {{{noOffset, 1}},  {{endOfFile, 1}},  {{endOfFile, 1}},  {{endOfFile, 1}}}},
    {"reading directly, close", {{{endOfFile, 1}}, {{endOfFile, 1}},  {{endOfFile, 1}},  {{endOfFile, 1}}}},
    {"reading directly, open",  {{{endOfFile, 1}}, {{endOfFile, 1}},  {{endOfFile, 1}},  {{endOfFile, 1}}}},
    {"reading directly, read",  {{{endOfFile, 1}}, {{frame, 1}},      {{frame, 1}},      {{frame, 1}}}},
    {"reading directly, clear", {{{endOfFile, 1}}, {{endOfFile, 1}},  {{endOfFile, 1}},  {{isBad, 1}}}},
    // clang-format on
};

TEST_F(StreamFaults, bringTheFrameOrTheTextOfTheStepWhicheverCallFails)
{
    const auto faults = {std::ios::failbit, std::ios::failbit, std::ios::badbit, std::ios::eofbit};
    std::map<std::string, Outcomes> outcomes;
    for (const std::string method : {"reading", "reading directly"})
        for (std::size_t fault = 0; fault < 4; ++fault)
            for (std::size_t call = 1, calls = 1; call <= calls; ++call) {
                file = {};
                reader.setReadMethod(false, method != "reading");
                open();
                const auto opening = file.streamCalls.size();
                reader.readFrame();
                calls = file.streamCalls.size();
                file = {
                    .faultyCall = call, .faultBits = faults.begin()[fault], .isUndone = fault == 0};
                auto outcome = frame;
                try {
                    expectSmallPicture();
                } catch (const std::exception& exception) {
                    outcome = exception.what();
                }
                expectClosed();
                for (int acquisition = 0; acquisition < 4; ++acquisition)
                    Velmora::PooledBuffer(installed.pool(), 1);
                EXPECT_EQ(installed.pool()->count(), 1u) << "Only what is lent is kept";
                auto& row = outcomes[(call > opening ? method : "opening") + ", " +
                                     file.streamCalls[call - 1]];
                row.resize(4);
                ++row[fault][outcome];
            }
    EXPECT_EQ(outcomes, expected);
}

}
