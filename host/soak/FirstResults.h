#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <mutex>
#include <stdexcept>
#include <string>
#include <string_view>

// What each file showed first: its pixels, or its message. It has to do so every time.
class FirstResults
{
public:
    void expectSame(const std::string& path, std::string_view result)
    {
        const auto hash = std::hash<std::string_view>()(result);
        const std::lock_guard lock(m_resultsMutex);
        ++m_count;
        if (m_hashes.emplace(path, hash).first->second != hash)
            throw std::runtime_error(path + " shows something else than before");
    }

    long count() const
    {
        const std::lock_guard lock(m_resultsMutex);
        return m_count;
    }

private:
    mutable std::mutex m_resultsMutex;
    std::map<std::string, std::size_t> m_hashes;
    long m_count = 0;
};
