#include "tools/Threads.h"

#include <future>
#include <system_error>
#include <thread>
#include <vector>

namespace Zeq {

bool canStartThreads(std::size_t count)
{
    std::promise<void> end;
    const auto wait = [ended = end.get_future().share()] { ended.wait(); };
    std::vector<std::jthread> threads;
    threads.reserve(count);
    try {
        while (threads.size() < count)
            threads.emplace_back(wait);
    } catch (const std::system_error&) {
    }
    end.set_value();
    return threads.size() == count;
}

}
