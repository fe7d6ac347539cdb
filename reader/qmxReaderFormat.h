#pragma once

#include <DDImage/Reader.h>

// Shows the versions of the plug-in and of the conversion library in the panel of the host's read
// operator.
class qmxReaderFormat final : public DD::Image::ReaderFormat
{
public:
    void knobs(DD::Image::Knob_Closure& closure) override;
    ~qmxReaderFormat() override;
};
