#include "MediaConversion/MediaPipeline/ControllableFilter.h"

#include "MediaConversion/MediaPipeline/Formats.h"
#include "tests/MediaPipeline/FakeFrames.h"
#include "tests/support/ExpectError.h"

#include <functional>

namespace MediaConversion {
namespace {

using testing::InSequence;
using testing::StrictMock;
using testing::Throw;
using Velmora::IFrame;

const char* const mustBeIdle = "State must be Idle for this operation";
const char* const mustBeActive = "State must be Active for this operation";

// Does with a frame what the test says.
struct Processing
{
    using Process = std::function<std::unique_ptr<IFrame>(std::unique_ptr<IFrame>)>;

    explicit Processing(Process given) : process(std::move(given)) {}

    Process process;
};

class ControllableFilterTest : public testing::Test
{
protected:
    std::unique_ptr<IFrame> newFrame()
    {
        return std::make_unique<OtherFrame>(Velmora::Formats::BGR_U8(), &m_life);
    }

    void pushExpecting(const char* text)
    {
        expectError<std::runtime_error>(text, [&] { m_filter.onNewFrame(newFrame()); });
        EXPECT_TRUE(m_life.expired()) << "The frame is still there";
    }

    StrictMock<MockControllableSink> m_sink;
    std::weak_ptr<int> m_life;  // of the frame made last
    Processing::Process m_process = [](std::unique_ptr<IFrame> frame) { return frame; };
    ControllableFilter<Processing> m_filter{
        [this](std::unique_ptr<IFrame> frame) { return m_process(std::move(frame)); }};
};

TEST_F(ControllableFilterTest, isConnectedWhileIdleAndUsedWhileActive)
{
    MockSink other;
    expectError<std::runtime_error>(mustBeActive, [&] { m_filter.stop(); });
    expectError<std::runtime_error>(mustBeActive, [&] { m_filter.onNewFrame(nullptr); });
    pushExpecting(mustBeActive);
    m_filter.connectFrameSink(&m_sink);
    expectError<std::runtime_error>("frameSink was not connected",
                                    [&] { m_filter.disconnectFrameSink(&other); });
    EXPECT_CALL(m_sink, start());
    m_filter.start();

    expectError<std::runtime_error>(mustBeIdle, [&] { m_filter.start(); });
    expectError<std::runtime_error>(mustBeIdle, [&] { m_filter.connectFrameSink(&other); });
    expectError<std::runtime_error>(mustBeIdle, [&] { m_filter.disconnectFrameSink(&m_sink); });
    expectError<std::runtime_error>(mustBeIdle, [&] { m_filter.disconnectFrameSink(&other); });
    EXPECT_CALL(m_sink, onNewFrame);
    m_filter.onNewFrame(newFrame());
    EXPECT_CALL(m_sink, stop());
    m_filter.stop();

    m_filter.disconnectFrameSink(&m_sink);
    m_filter.start();  // the sink is not started again
}

TEST_F(ControllableFilterTest, refusesFramesWithoutASink)
{
    m_filter.start();
    expectError<std::runtime_error>("no frame data", [&] { m_filter.onNewFrame(nullptr); });
    pushExpecting("no frame sink connected");
    m_filter.stop();
}

TEST_F(ControllableFilterTest, changesItsStateFirstWhenStartedAndLastWhenStopped)
{
    m_filter.connectFrameSink(&m_sink);
    const auto whileActive = [&] {
        expectError<std::runtime_error>("no frame data", [&] { m_filter.onNewFrame(nullptr); });
    };
    EXPECT_CALL(m_sink, start()).WillOnce([&] {
        whileActive();
        fail("sink failed to start");
    });
    expectError<std::runtime_error>("sink failed to start", [&] { m_filter.start(); });
    whileActive();

    EXPECT_CALL(m_sink, stop())
        .WillOnce([&] {
            whileActive();
            fail("sink failed to stop");
        })
        .WillOnce(whileActive);
    expectError<std::runtime_error>("sink failed to stop", [&] { m_filter.stop(); });
    whileActive();
    m_filter.stop();
    expectError<std::runtime_error>(mustBeActive, [&] { m_filter.stop(); });
}

TEST_F(ControllableFilterTest, startsAWholeChain)
{
    ControllableFilter<Processing> first(m_process);
    first.connectFrameSink(&m_filter);
    m_filter.connectFrameSink(&m_sink);
    const InSequence inSequence;
    EXPECT_CALL(m_sink, start());
    EXPECT_CALL(m_sink, onNewFrame);
    EXPECT_CALL(m_sink, stop());
    first.start();
    first.onNewFrame(newFrame());
    first.stop();
    pushExpecting(mustBeActive);  // the second is idle again
}

TEST_F(ControllableFilterTest, endsTheChainAtASinkWithoutControl)
{
    StrictMock<MockSink> plain;
    m_filter.connectFrameSink(&plain);
    m_filter.start();
    EXPECT_CALL(plain, onNewFrame);
    m_filter.onNewFrame(newFrame());
    m_filter.stop();
}

TEST_F(ControllableFilterTest, destroysItsInputBeforeItPushesTheResult)
{
    const IFrame* processed = nullptr;
    m_process = [&](std::unique_ptr<IFrame> frame) {
        EXPECT_FALSE(m_life.expired());
        frame.reset();
        auto result = std::make_unique<OtherFrame>(Velmora::Formats::RGB_U8());
        processed = result.get();
        return result;
    };
    m_filter.connectFrameSink(&m_sink);
    EXPECT_CALL(m_sink, start());
    m_filter.start();
    EXPECT_CALL(m_sink, onNewFrame).WillOnce([&](std::unique_ptr<IFrame> frame) {
        EXPECT_TRUE(m_life.expired());
        EXPECT_EQ(frame.get(), processed);
    });
    m_filter.onNewFrame(newFrame());
}

TEST_F(ControllableFilterTest, goesOnAfterAFrameThatFailed)
{
    m_filter.connectFrameSink(&m_sink);
    EXPECT_CALL(m_sink, start());
    m_filter.start();

    const auto passOn = std::exchange(m_process, [](std::unique_ptr<IFrame>) {
        fail("not to be processed");
        return nullptr;
    });
    pushExpecting("not to be processed");  // and the sink sees nothing

    m_process = passOn;
    EXPECT_CALL(m_sink, onNewFrame).WillOnce(Throw(std::runtime_error("sink is full")));
    pushExpecting("sink is full");

    EXPECT_CALL(m_sink, onNewFrame);
    m_filter.onNewFrame(newFrame());
    EXPECT_CALL(m_sink, stop());
    m_filter.stop();
}

TEST(ControllableFilter, hasATextForEveryState)
{
    EXPECT_EQ(toString(State::Idle), "Idle");
    EXPECT_EQ(toString(State::Active), "Active");
    EXPECT_EQ(toString(State{2}), "Unknown State 2");
    EXPECT_EQ(toString(State{4294967295}), "Unknown State 4294967295");
}

}
}
