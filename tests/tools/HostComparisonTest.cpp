#include "host/headless/HeadlessHost.h"
#include "tests/tools/ToolTest.h"

using namespace testing;

namespace {

class HostComparison : public ToolTest
{
};

}

// Two ways to the same pixels: through the plug-in and its host, and through the library alone.
TEST_F(HostComparison, findsTheSamePixelsInAllSamples)
{
    const HeadlessHost host(PLUG_IN);
    ASSERT_EQ(run("zeq convert -q --to exr '" SAMPLES "'/*.zeq out/"), 0) << errors;
    int compared = 0;
    for (const auto& entry : std::filesystem::directory_iterator(SAMPLES)) {
        if (entry.path().extension() != ".zeq")
            continue;
        const auto shown = host.read(entry.path());
        const auto stored = readPicture("out/" + entry.path().stem().string() + ".exr");
        const auto& description = stored.description;
        ASSERT_EQ(description.width, shown.width);
        ASSERT_EQ(description.height, shown.height);
        std::vector<float> expected;
        for (std::size_t sample = 0; sample < shown.pixels.size(); ++sample) {
            const bool isAlpha = sample % 4 == 3;
            if (!isAlpha || description.nchannels == 4)
                expected.push_back(shown.pixels[sample]);
            else
                ASSERT_EQ(shown.pixels[sample], 1);
        }
        EXPECT_TRUE(stored.samples == expected) << entry.path();
        ++compared;
    }
    EXPECT_EQ(compared, 13);
}
