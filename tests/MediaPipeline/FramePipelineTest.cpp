#include "MediaConversion/MediaPipeline/FramePipeline.h"

#include "MediaConversion/MediaPipeline/Formats.h"
#include "tests/MediaPipeline/FakeFrames.h"
#include "tests/support/ExpectError.h"

namespace MediaConversion {
namespace {

using testing::InSequence;
using testing::StrictMock;

class MockFilter : public IFrameFilter, public IFrameControl
{
public:
    MOCK_METHOD(void, connectFrameSink, (IFrameSink*), (override));
    MOCK_METHOD(void, disconnectFrameSink, (IFrameSink*), (override));
    MOCK_METHOD(void, onNewFrame, (std::unique_ptr<Velmora::IFrame>), (override));
    MOCK_METHOD(void, start, (), (override));
    MOCK_METHOD(void, stop, (), (override));
};

// Filters accept no call but the ones expected, in the order of expectation.
class FramePipelineTest : public testing::Test
{
protected:
    void add(std::unique_ptr<MockFilter>& filter) { m_pipeline.addFilter(std::move(filter)); }

    std::unique_ptr<MockFilter> m_newFirst = std::make_unique<StrictMock<MockFilter>>();
    std::unique_ptr<MockFilter> m_newSecond = std::make_unique<StrictMock<MockFilter>>();
    MockFilter& m_first = *m_newFirst;
    MockFilter& m_second = *m_newSecond;
    StrictMock<MockSink> m_sink;
    InSequence m_inSequence;
    FramePipeline m_pipeline;
};

TEST_F(FramePipelineTest, chainsItsFilters)
{
    EXPECT_CALL(m_first, connectFrameSink(nullptr));
    add(m_newFirst);
    EXPECT_CALL(m_first, connectFrameSink(&m_sink));
    m_pipeline.connectFrameSink(&m_sink);
    EXPECT_CALL(m_first, connectFrameSink(&m_second));
    EXPECT_CALL(m_second, connectFrameSink(&m_sink));
    add(m_newSecond);
}

TEST_F(FramePipelineTest, speaksToTheEndsOfTheChain)
{
    m_pipeline.connectFrameSink(&m_sink);
    EXPECT_CALL(m_first, connectFrameSink(&m_sink));
    add(m_newFirst);
    EXPECT_CALL(m_first, connectFrameSink(&m_second));
    EXPECT_CALL(m_second, connectFrameSink(&m_sink));
    add(m_newSecond);

    EXPECT_CALL(m_first, start());
    m_pipeline.start();
    EXPECT_CALL(m_first, onNewFrame);
    m_pipeline.onNewFrame(std::make_unique<OtherFrame>(Velmora::Formats::BGR_U8()));
    EXPECT_CALL(m_first, stop());
    m_pipeline.stop();
    EXPECT_CALL(m_second, disconnectFrameSink(&m_sink));
    m_pipeline.disconnectFrameSink(&m_sink);
    expectError<std::runtime_error>("No frameSink connected", [&] { m_pipeline.start(); });
}

TEST_F(FramePipelineTest, isUsableWithASinkAndAFilter)
{
    for (const auto operation : {&FramePipeline::start, &FramePipeline::stop}) {
        expectError<std::runtime_error>("No frameSink connected",
                                        [&] { (m_pipeline.*operation)(); });
        m_pipeline.connectFrameSink(&m_sink);
        expectError<std::runtime_error>("Pipeline is empty", [&] { (m_pipeline.*operation)(); });
        m_pipeline.disconnectFrameSink(&m_sink);
    }
    EXPECT_CALL(m_first, connectFrameSink(nullptr));
    add(m_newFirst);
    expectError<std::runtime_error>("No frameSink connected", [&] { m_pipeline.start(); });
}

TEST_F(FramePipelineTest, refusesWhatItDoesNotKnow)
{
    expectError<std::invalid_argument>("filter is nullptr", [&] { m_pipeline.addFilter(nullptr); });
    MockSink other;
    expectError<std::runtime_error>("frameSink was not connected",
                                    [&] { m_pipeline.disconnectFrameSink(&m_sink); });
    m_pipeline.connectFrameSink(&m_sink);
    expectError<std::runtime_error>("frameSink was not connected",
                                    [&] { m_pipeline.disconnectFrameSink(&other); });
    expectError<std::runtime_error>("Pipeline is empty", [&] { m_pipeline.start(); });
}

}
}
