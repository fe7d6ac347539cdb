#pragma once

#include <bit>

namespace MediaConversion {

// 1 / max as a sum of two numbers. The product of a sample, 0 to max, with the upper one is exact,
// and the sum of both products is the number nearest to sample / max: a division that costs none.
template <class Number, unsigned max>
struct ExactFraction
{
    static constexpr unsigned scale = std::bit_ceil(max) * 4096;
    static constexpr unsigned wholeSteps = scale / max;
    static constexpr Number upper = static_cast<Number>(wholeSteps) / scale;
    static constexpr Number lower = (1 - upper * max) / max;

    static constexpr bool holds()
    {
        for (unsigned sample = 0; sample <= max; ++sample) {
            const auto number = static_cast<Number>(sample);
            if (number * upper + number * lower !=
                static_cast<Number>(sample / static_cast<double>(max)))
                return false;
        }
        return true;
    }
    static_assert(holds());
};

}
