#pragma once

#include <DDImage/Reader.h>

#include <optional>
#include <string>
#include <vector>

// A knob as a format object asked for it; texts that it left out are empty.
struct Knob
{
    int type;
    int store;
    void* pointer;
    std::optional<std::string> name;
    std::optional<std::string> label;
    std::optional<std::string> extra;
};

// The knobs that a file format adds to the panel of the read operator.
std::vector<Knob> formatPanel(const DD::Image::Reader::Description& description);
