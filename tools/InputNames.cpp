#include "tools/InputNames.h"

#include "tools/StandardFiles.h"

#include <sys/stat.h>

#include <system_error>

namespace Zeq {

namespace fs = std::filesystem;

const fs::path& PlainPaths::ofFolder(const fs::path& folder)
{
    const auto [entry, isNew] = m_folders.try_emplace(folder);
    if (isNew) {
        std::error_code error;
        const auto absolute = fs::absolute(folder.empty() ? "." : folder, error);
        const auto plain = error ? fs::path() : fs::weakly_canonical(absolute, error);
        entry->second = error ? folder : plain;
    }
    return entry->second;
}

fs::path PlainPaths::ofFile(const fs::path& file)
{
    return ofFolder(file.parent_path()) / file.filename();
}

InputNames::InputNames(const std::vector<InputFile>& inputs)
{
    for (const auto& input : inputs)
        if (input.name != standardFile)
            m_byPath.emplace(m_paths.ofFile(input.name), input.name);
}

std::optional<InputNames::FileNumber> InputNames::fileNumber(const std::string& name)
{
    struct stat status;
    return ::stat(name.c_str(), &status) == 0
               ? std::optional(FileNumber(status.st_dev, status.st_ino))
               : std::nullopt;
}

const std::map<InputNames::FileNumber, std::string>& InputNames::byNumber()
{
    if (!m_byNumber) {
        m_byNumber.emplace();
        for (const auto& [path, name] : m_byPath)
            if (const auto number = fileNumber(name))
                m_byNumber->emplace(*number, name);
    }
    return *m_byNumber;
}

std::optional<std::string> InputNames::sameAs(const std::string& output)
{
    if (const auto input = m_byPath.find(m_paths.ofFile(output)); input != m_byPath.end())
        return input->second;
    if (const auto number = fileNumber(output))
        if (const auto input = byNumber().find(*number); input != byNumber().end())
            return input->second;
    return std::nullopt;
}

}
