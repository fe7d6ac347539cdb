#include "imaging/Samples.h"

#include <opencv2/core.hpp>
#include <opencv2/core/hal/intrin.hpp>

#include <algorithm>
#include <array>
#include <cstdint>

namespace Imaging {

namespace {

// The nearest whole numbers, up to `largest`, to so many times the floats from 0 to 1.
cv::v_int32x4 codesOf(const cv::v_float32x4& value, const cv::v_float32x4& largest)
{
    const auto zero = cv::v_setzero_f32();
    const auto number = cv::v_select(cv::v_not_nan(value), value, zero);
    const auto scaled = cv::v_min(cv::v_max(number, zero), cv::v_setall_f32(1)) * largest;
    const auto below = cv::v_trunc(scaled);
    // The sum of what is just below a half and a half would be rounded to 1.
    const auto isNearerAbove = scaled - cv::v_cvt_f32(below) >= cv::v_setall_f32(0.5f);
    return below - cv::v_reinterpret_as_s32(isNearerAbove);
}

constexpr int samplesAtOnce = 8;

template <int bits, class Sample>
void storeCodes(const float* floats, Sample* samples)
{
    const auto largest = cv::v_setall_f32((1 << bits) - 1);
    const auto codes = cv::v_pack_u(codesOf(cv::v_load(floats), largest),
                                    codesOf(cv::v_load(floats + samplesAtOnce / 2), largest));
    if constexpr (sizeof(Sample) == 1)
        cv::v_pack_store(samples, codes);
    else if constexpr (bits == 16)
        cv::v_store(samples, codes);
    else
        cv::v_store(samples, (codes << (16 - bits)) | (codes >> (2 * bits - 16)));
}

template <int bits, class Sample>
void storeCodes(const float* floats, int count, Sample* samples)
{
    const int whole = count - count % samplesAtOnce;
    for (int index = 0; index < whole; index += samplesAtOnce)
        storeCodes<bits>(floats + index, samples + index);
    std::array<float, samplesAtOnce> lastFloats{};
    std::array<Sample, samplesAtOnce> lastSamples;
    std::copy(floats + whole, floats + count, lastFloats.begin());
    storeCodes<bits>(lastFloats.data(), lastSamples.data());
    std::copy_n(lastSamples.begin(), count - whole, samples + whole);
}

cv::Mat row(const void* samples, int count, int depth)
{
    return {1, count, CV_MAKETYPE(depth, 1), const_cast<void*>(samples)};
}

}

int storedDepth(SampleDepth depth)
{
    const auto& facts = factsOf(depth);
    if (facts.isFloat)
        return facts.bits == 16 ? CV_16F : CV_32F;
    return facts.bits == 8 ? CV_8U : CV_16U;
}

void toFloats(const std::byte* samples, int count, int depth, float* floats)
{
    const double scale = depth == CV_8U ? 1.0 / 255 : depth == CV_16U ? 1.0 / 65535 : 1;
    auto result = row(floats, count, CV_32F);
    row(samples, count, depth).convertTo(result, CV_32F, scale);
}

void toSamples(const float* floats, int count, SampleDepth depth, std::byte* samples)
{
    auto* const bytes = reinterpret_cast<std::uint8_t*>(samples);
    auto* const words = reinterpret_cast<std::uint16_t*>(samples);
    switch (depth) {
        case SampleDepth::U8:
            return storeCodes<8>(floats, count, bytes);
        case SampleDepth::U10:
            return storeCodes<10>(floats, count, words);
        case SampleDepth::U12:
            return storeCodes<12>(floats, count, words);
        case SampleDepth::U16:
            return storeCodes<16>(floats, count, words);
        case SampleDepth::F16:
        case SampleDepth::F32: {
            auto result = row(samples, count, storedDepth(depth));
            row(floats, count, CV_32F).convertTo(result, result.depth());
        }
    }
}

void toPixels(const std::vector<ChannelFloats>& channels, int count, cv::Vec4f* pixels)
{
    const auto blue = channels[0];
    const auto green = channels[1];
    const auto red = channels[2];
    const auto put = [&](const auto& alpha) {
        for (std::ptrdiff_t index = 0; index < count; ++index)
            pixels[index] =
                cv::Vec4f(blue.first[index * blue.distance], green.first[index * green.distance],
                          red.first[index * red.distance], alpha(index));
    };
    if (channels.size() < 4)
        put([](std::ptrdiff_t) { return 1.f; });
    else
        put([alpha = channels[3]](std::ptrdiff_t index) {
            return alpha.first[index * alpha.distance];
        });
}

void toChannels(const cv::Vec4f* pixels, int count, bool hasAlpha, float* floats)
{
    for (const auto* pixel = pixels; pixel != pixels + count; ++pixel) {
        *floats++ = (*pixel)[2];
        *floats++ = (*pixel)[1];
        *floats++ = (*pixel)[0];
        if (hasAlpha)
            *floats++ = (*pixel)[3];
    }
}

}
