#include "host/headless/FormatPanel.h"

#include <memory>

namespace {

class KnobCollector final : public DD::Image::Knob_Closure
{
public:
    void operator()(int type, int store, void* pointer, const char* name, const char* label,
                    const char* extra) override
    {
        m_knobs.push_back({type, store, pointer, copy(name), copy(label), copy(extra)});
    }

    const std::vector<Knob>& knobs() const { return m_knobs; }

private:
    static std::optional<std::string> copy(const char* text)
    {
        return text ? std::optional<std::string>(text) : std::nullopt;
    }

    std::vector<Knob> m_knobs;
};

}

std::vector<Knob> formatPanel(const DD::Image::Reader::Description& description)
{
    const std::unique_ptr<DD::Image::ReaderFormat> format(description.newFormat(nullptr));
    KnobCollector collector;
    format->knobs(collector);
    return collector.knobs();
}
