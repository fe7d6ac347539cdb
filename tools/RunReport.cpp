#include "tools/RunReport.h"

#include <nlohmann/json.hpp>

#include <iostream>
#include <string>

namespace Zeq {

namespace {

using Json = nlohmann::ordered_json;

std::string statusOf(const RunReport::Entry& entry)
{
    return entry.isSkipped ? "skipped" : entry.outcome.hasFailed ? "failed" : "ok";
}

Json textOrNull(const std::string& text)
{
    return text.empty() ? Json() : Json(text);
}

Json jsonOf(const RunReport::Entry& entry)
{
    Json json{{"input", entry.file}};
    if (entry.output)
        json["output"] = textOrNull(*entry.output);
    json["status"] = statusOf(entry);
    json["message"] = textOrNull(entry.outcome.text);
    return json;
}

}

std::string lineOf(const RunReport::Entry& entry, std::optional<std::uintmax_t> byteCount)
{
    const Json json{{"input", entry.file},
                    {"output", textOrNull(entry.output.value_or(""))},
                    {"status", statusOf(entry)},
                    {"message", textOrNull(entry.outcome.text)},
                    {"seconds", entry.outcome.seconds},
                    {"bytes", byteCount ? Json(*byteCount) : Json()}};
    return json.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n";
}

void RunReport::print() const
{
    Json json{{"ok", 0}, {"skipped", 0}, {"failed", 0}, {"missing", missing}};
    json["files"] = Json::array();
    for (const auto& entry : entries) {
        auto& count = json[statusOf(entry)];
        count = count.get<std::size_t>() + 1;
        json["files"].push_back(jsonOf(entry));
    }
    // File names are bytes: what is not UTF-8 is replaced.
    std::cout << json.dump(2, ' ', false, Json::error_handler_t::replace) << '\n';
}

}
