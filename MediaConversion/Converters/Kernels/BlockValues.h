#pragma once

#include <opencv2/core/hal/intrin.hpp>

#include <cstdint>

namespace MediaConversion {

// One 16-bit value for each pixel of a 4 x 4 block, row by row.
class BlockValues
{
public:
    explicit BlockValues(int value) : BlockValues(all(value), all(value)) {}

    explicit BlockValues(const cv::v_uint8x16& bytes)
    {
        cv::v_uint16x8 first;
        cv::v_uint16x8 second;
        cv::v_expand(bytes, first, second);
        m_first = cv::v_reinterpret_as_s16(first);
        m_second = cv::v_reinterpret_as_s16(second);
    }

    // clang-format off
    BlockValues operator+(const BlockValues& other) const { return {m_first + other.m_first, m_second + other.m_second}; }
    BlockValues operator-(const BlockValues& other) const { return {m_first - other.m_first, m_second - other.m_second}; }
    BlockValues operator&(const BlockValues& other) const { return {m_first & other.m_first, m_second & other.m_second}; }
    BlockValues operator|(const BlockValues& other) const { return {m_first | other.m_first, m_second | other.m_second}; }
    BlockValues operator^(const BlockValues& other) const { return {m_first ^ other.m_first, m_second ^ other.m_second}; }
    // -1 where it holds, else 0
    BlockValues operator>(const BlockValues& other) const { return {m_first > other.m_first, m_second > other.m_second}; }
    // clang-format on

    // Toward minus infinity.
    template <int bits>
    BlockValues shiftedRight() const
    {
        return {cv::v_shr<bits>(m_first), cv::v_shr<bits>(m_second)};
    }

    template <int bits>
    BlockValues shiftedLeft() const
    {
        return {cv::v_shl<bits>(m_first), cv::v_shl<bits>(m_second)};
    }

    BlockValues atMost(int limit) const
    {
        return {cv::v_min(m_first, all(limit)), cv::v_min(m_second, all(limit))};
    }

    BlockValues distanceTo(int value) const
    {
        const auto distance = [value](const cv::v_int16x8& values) {
            return cv::v_reinterpret_as_s16(cv::v_absdiff(values, all(value)));
        };
        return {distance(m_first), distance(m_second)};
    }

    int smallest() const { return cv::v_reduce_min(cv::v_min(m_first, m_second)); }
    int largest() const { return cv::v_reduce_max(cv::v_max(m_first, m_second)); }

    // For values of -1 and 0.
    int count() const { return -cv::v_reduce_sum(m_first + m_second); }

    // The lowest `bits` bits of each value, pixel 0 lowest; the values have no others.
    template <int bits>
    std::uint64_t packed() const
    {
        return packedHalf<bits>(m_first) | packedHalf<bits>(m_second) << 8 * bits;
    }

private:
    BlockValues(const cv::v_int16x8& first, const cv::v_int16x8& second)
        : m_first(first), m_second(second)
    {
    }

    static cv::v_int16x8 all(int value) { return cv::v_setall_s16(static_cast<short>(value)); }

    // Neighbours move together: two values in 32 bits, then four in 64.
    template <int bits>
    static std::uint64_t packedHalf(const cv::v_int16x8& values)
    {
        constexpr std::uint64_t four = (1ull << 4 * bits) - 1;
        const auto words = cv::v_reinterpret_as_u32(values);
        const auto pairs = words | cv::v_shr<16 - bits>(words);
        const auto longwords = cv::v_reinterpret_as_u64(
            pairs & cv::v_setall_u32(static_cast<unsigned>((1ull << 2 * bits) - 1)));
        const auto quads = longwords | cv::v_shr<32 - 2 * bits>(longwords);
        std::uint64_t halves[2];
        cv::v_store(halves, quads);
        return (halves[0] & four) | (halves[1] & four) << 4 * bits;
    }

    cv::v_int16x8 m_first;
    cv::v_int16x8 m_second;
};

}
