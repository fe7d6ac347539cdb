#include "tools/RunReport.h"

#include "tools/Files.h"
#include "tools/PictureTypes.h"
#include "tools/Report.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <nlohmann/json.hpp>

#include <cerrno>
#include <cstdint>
#include <filesystem>
#include <iostream>
#include <iterator>
#include <system_error>
#include <utility>

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

namespace {

// The bytes are those that were written or checked, where there are any.
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

// Appending is one step on one machine; between machines it takes a lock. Where there are no locks
// it is done without.
class AppendLock
{
public:
    explicit AppendLock(int descriptor) : m_descriptor(descriptor) { set(F_WRLCK); }
    ~AppendLock() { set(F_UNLCK); }

    AppendLock(const AppendLock&) = delete;
    AppendLock& operator=(const AppendLock&) = delete;

private:
    void set(short type) const
    {
        struct flock region
        {
        };
        region.l_type = type;
        region.l_whence = SEEK_SET;
        while (::fcntl(m_descriptor, F_OFD_SETLKW, &region) != 0 && errno == EINTR) {
        }
    }

    const int m_descriptor;
};

bool endsInALine(int descriptor)
{
    struct stat status;
    char last = '\n';
    return ::fstat(descriptor, &status) != 0 || status.st_size == 0 ||
           ::pread(descriptor, &last, 1, status.st_size - 1) != 1 || last == '\n';
}

std::optional<std::uintmax_t> byteCountOf(const std::string& name)
{
    std::error_code error;
    const auto size = std::filesystem::file_size(name, error);
    return error ? std::nullopt : std::optional(size);
}

}

ReportFile::ReportFile(std::string name) : m_name(std::move(name))
{
    if (m_name.empty())
        return;
    if (const auto extension = extensionOf(m_name); extension == "zeq" || isPictureKind(extension))
        throw UsageError("--report: " + m_name + " has the name of a picture");
    m_descriptor = ::open(m_name.c_str(), O_RDWR | O_APPEND | O_CREAT | O_CLOEXEC, 0666);
    if (m_descriptor < 0)
        throw FileError(m_name + ": " + std::generic_category().message(errno));
}

ReportFile::~ReportFile()
{
    if (m_descriptor >= 0)
        ::close(m_descriptor);
}

void ReportFile::add(const InputFile& input, const std::string& output, const JobOutcome& outcome,
                     bool isSkipped)
{
    if (m_descriptor < 0)
        return;
    append(lineOf(
        {input.name, output, outcome, isSkipped},
        outcome.hasFailed ? std::nullopt : byteCountOf(output.empty() ? input.name : output)));
}

// In one call, so that no line of another process gets into this one. One that was cut stays alone.
void ReportFile::append(std::string line)
{
    const std::lock_guard guard(m_mutex);
    const AppendLock lock(m_descriptor);
    if (!endsInALine(m_descriptor))
        line.insert(0, "\n");
    const auto count = ::write(m_descriptor, line.data(), line.size());
    if (count != std::ssize(line) && m_error == 0)
        m_error = count < 0 ? errno : ENOSPC;
}

bool ReportFile::finish() const
{
    if (m_error)
        reportError(m_name + ": " + std::generic_category().message(m_error) +
                    "; lines of the report are missing");
    return m_error == 0;
}

}
