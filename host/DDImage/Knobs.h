#pragma once

namespace DD::Image {

// The host's end of a panel: each call creates one knob in it.
class Knob_Closure
{
public:
    virtual ~Knob_Closure() = default;

    virtual void operator()(int type, int store, void* pointer, const char* name, const char* label,
                            const char* extra) = 0;
};

}
