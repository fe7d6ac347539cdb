#include "MediaConversion/MediaPipeline/ControllableFilter.h"

namespace MediaConversion {

std::string toString(State state)
{
    switch (state) {
        case State::Idle:
            return "Idle";
        case State::Active:
            return "Active";
    }
    return joined("Unknown State ", static_cast<std::uint32_t>(state));
}

}
