#include "tests/support/ReferencePackings.h"

#include <algorithm>
#include <bitset>
#include <stdexcept>

namespace MediaConversion::Reference {
namespace {

// The bytes of the largest group.
using Number = std::bitset<72>;

unsigned maximumOf(const SampleBits& bits)
{
    return (1u << (bits.count + bits.lowCount)) - 1;
}

unsigned lowBitsOf(const Number& number, int count)
{
    return static_cast<unsigned>((number & Number((1u << count) - 1)).to_ulong());
}

// Negative values are cut towards 0, then masked.
unsigned codeOf(double value, const SampleBits& bits)
{
    const auto maximum = maximumOf(bits);
    return static_cast<unsigned>(static_cast<int>(value * maximum + 0.5)) & maximum;
}

const Packing packings[] = {
    // clang-format off
    {"-DPX-FILLED",     4, 1, 1, true,  false, {{22, 10}, {12, 10}, {2, 10}}},
    {"-DPX-PACKED",     9, 1, 2, true,  false, {{0, 12}, {12, 12}, {24, 12}, {36, 12}, {48, 12}, {60, 12}}},
    {"-SMPTE-2110",     9, 1, 2, false, false, {{60, 12}, {48, 12}, {36, 12}, {24, 12}, {12, 12}, {0, 12}}},
    {"YUYV-422",        4, 1, 2, true,  true,  {{8, 8}, {24, 8}, {0, 8}, {16, 8}}},
    {"ZEQ-422",         5, 1, 2, true,  true,  {{0, 8, 38, 2}, {16, 8, 34, 2}, {8, 8, 36, 2}, {24, 8, 32, 2}}},
    {"ZEQ-4224-HYBRID", 8, 1, 2, true,  true,  {{32, 10}, {22, 10}, {42, 12}, {10, 12}, {54, 10}, {0, 10}}},
    {"ZEQ-420",         6, 2, 2, true,  true,  {{0, 8}, {8, 8}, {16, 8}, {24, 8}, {32, 8}, {40, 8}}},
    // clang-format on
};

}

Packing::Samples Packing::read(const std::uint8_t* group) const
{
    Number number;
    for (int byte = 0; byte < bytes; ++byte)
        number |= Number(group[byte]) << 8 * (isLowestByteFirst ? byte : bytes - 1 - byte);
    Samples samples{};
    for (std::size_t k = 0; k < bits.size(); ++k) {
        const auto& [place, count, lowPlace, lowCount] = bits[k];
        samples[k] =
            lowBitsOf(number >> place, count) << lowCount | lowBitsOf(number >> lowPlace, lowCount);
    }
    return samples;
}

void Packing::write(const Samples& samples, std::uint8_t* group) const
{
    Number number;
    for (std::size_t k = 0; k < bits.size(); ++k) {
        const auto& [place, count, lowPlace, lowCount] = bits[k];
        number |= Number(samples[k] >> lowCount) << place |
                  Number(samples[k] & ((1u << lowCount) - 1)) << lowPlace;
    }
    for (int byte = 0; byte < bytes; ++byte)
        group[byte] = static_cast<std::uint8_t>(
            lowBitsOf(number >> 8 * (isLowestByteFirst ? byte : bytes - 1 - byte), 8));
}

void Packing::decode(const std::uint8_t* group, bool isToBytes, std::vector<Rgba>& colours) const
{
    const auto samples = read(group);
    const auto scaled = [&](std::size_t k, int lostBits = 0) {
        return (samples[k] >> lostBits) / static_cast<double>(maximumOf(bits[k]) >> lostBits);
    };
    if (!isYCbCr) {
        for (std::size_t k = 0; k < bits.size(); ++k)
            colours[k / 3][k % 3] = scaled(k, isToBytes ? bits[k].count - 8 : 0);
        for (auto& colour : colours)
            colour[3] = 1;
        return;
    }
    const double cb = scaled(0) - 0.5;
    const double cr = scaled(1) - 0.5;
    for (std::size_t k = 0; k < colours.size(); ++k) {
        const double luma = scaled(2 + k);
        const auto alpha = 2 + colours.size() + k;
        colours[k] = {luma + 1.402 * cr, luma - 0.34414 * cb - 0.71414 * cr, luma + 1.772 * cb,
                      alpha < bits.size() ? scaled(alpha) : 1};
    }
}

// The chroma of the group is the mean of its pixels'; with alpha, the first pixel's alone.
void Packing::encode(const std::vector<Rgba>& colours, std::uint8_t* group) const
{
    Samples samples{};
    if (!isYCbCr) {
        for (std::size_t k = 0; k < bits.size(); ++k)
            samples[k] = codeOf(std::min(colours[k / 3][k % 3], 1.0), bits[k]);
        return write(samples, group);
    }
    const bool hasAlpha = bits.size() > 2 + colours.size();
    const auto chromaCount = hasAlpha ? 1 : colours.size();
    double cb = 0;
    double cr = 0;
    for (std::size_t k = 0; k < colours.size(); ++k) {
        const auto& [r, g, b, alpha] = colours[k];
        samples[2 + k] = codeOf(0.299 * r + 0.587 * g + 0.114 * b, bits[2 + k]);
        if (hasAlpha)
            samples[2 + colours.size() + k] = codeOf(alpha, bits[0]);
        if (k < chromaCount) {
            cb += 0.5 * b - 0.168736 * r - 0.331264 * g + 0.5;
            cr += 0.5 * r - 0.418688 * g - 0.081312 * b + 0.5;
        }
    }
    samples[0] = codeOf(cb / double(chromaCount), bits[0]);
    samples[1] = codeOf(cr / double(chromaCount), bits[1]);
    write(samples, group);
}

const Packing& packingOf(const std::string& name)
{
    for (const auto& packing : packings)
        if (name.ends_with(packing.nameEnd))
            return packing;
    throw std::out_of_range("no reference arithmetic for " + name);
}

}
