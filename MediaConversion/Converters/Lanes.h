#pragma once

#include "MediaConversion/Converters/Pixels.h"

#include <opencv2/core/hal/intrin.hpp>

#include <cstdint>
#include <cstring>
#include <type_traits>

namespace MediaConversion {

// The up to four channels of one pixel, in double precision and side by side in two vectors.
class Lanes
{
public:
    Lanes(double first, double second, double third, double fourth)
        : m_low(first, second), m_high(third, fourth)
    {
    }

    // The channels of a pixel as they are stored, with a fourth lane of no meaning where there are
    // three.
    template <int channels, class Element>
    static Lanes load(const Element* pixel)
    {
        if constexpr (channels == 4 && std::is_same_v<Element, float>) {
            const auto floats = cv::v_load(pixel);
            return {cv::v_cvt_f64(floats), cv::v_cvt_f64_high(floats)};
        } else {
            return {static_cast<double>(pixel[0]), static_cast<double>(pixel[1]),
                    static_cast<double>(pixel[2]),
                    channels == 4 ? static_cast<double>(pixel[3]) : 0};
        }
    }

    // The same value in every lane but one.
    template <int lane>
    static Lanes allBut(double value, double exception)
    {
        return {lane == 0 ? exception : value, lane == 1 ? exception : value,
                lane == 2 ? exception : value, lane == 3 ? exception : value};
    }

    Lanes operator+(const Lanes& other) const
    {
        return {m_low + other.m_low, m_high + other.m_high};
    }

    Lanes operator*(double factor) const
    {
        const auto factors = cv::v_setall_f64(factor);
        return {m_low * factors, m_high * factors};
    }

    Lanes operator/(double divisor) const
    {
        const auto divisors = cv::v_setall_f64(divisor);
        return {m_low / divisors, m_high / divisors};
    }

    // Values of 0 to 1 as whole numbers up to full scale, clamped and rounded half up. A NaN
    // becomes 0.
    cv::v_int32x4 quantised(double fullScale) const
    {
        return cv::v_combine_low(quantised(m_low, fullScale), quantised(m_high, fullScale));
    }

    // Writes the first `channels` lanes, values of 0 to 1, as channels of the type: the bytes that
    // quantise<type>() gives.
    template <ChannelType type, int channels>
    void store(std::uint8_t* pixel) const
    {
        if constexpr (type == ChannelType::F32)
            storeFloats<channels>(reinterpret_cast<float*>(pixel));
        else
            storeIntegers<type, channels>(pixel);
    }

private:
    Lanes(const cv::v_float64x2& low, const cv::v_float64x2& high) : m_low(low), m_high(high) {}

    // Clamping after the step to float gives the same floats: the step keeps the order of numbers,
    // 0 and 1.
    template <int channels>
    void storeFloats(float* pixel) const
    {
        static_assert(channels == 4);
        const auto floats = cv::v_cvt_f32(m_low, m_high);
        cv::v_store(pixel, cv::v_min(cv::v_max(floats, cv::v_setzero_f32()), cv::v_setall_f32(1)));
    }

    static cv::v_int32x4 quantised(const cv::v_float64x2& values, double fullScale)
    {
        const auto limit = cv::v_setall_f64(fullScale);
        const auto scaled = cv::v_min(cv::v_max(values * limit, cv::v_setzero_f64()), limit);
        return cv::v_trunc(scaled + cv::v_setall_f64(0.5));
    }

    template <ChannelType type, int channels>
    void storeIntegers(std::uint8_t* pixel) const
    {
        using Element = typename Channel<type>::Element;
        const auto words = quantised(Channel<type>::fullScale);
        const auto halves = cv::v_pack_u(words, words);
        std::uint64_t packed = cv::v_reinterpret_as_u64(halves).get0();
        if constexpr (sizeof(Element) == 1)
            packed = cv::v_reinterpret_as_u32(cv::v_pack(halves, halves)).get0();
        std::memcpy(pixel, &packed, sizeof(Element) * channels);
    }

    cv::v_float64x2 m_low;
    cv::v_float64x2 m_high;
};

}
