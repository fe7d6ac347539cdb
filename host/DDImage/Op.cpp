#include "DDImage/Op.h"

#include <cstdarg>
#include <cstdio>

namespace DD::Image {

Op::~Op() = default;

// NOLINTNEXTLINE(cert-dcl50-cpp): it is the SDK that has this form
void Op::critical(const char* format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    std::va_list sameArguments;
    va_copy(sameArguments, arguments);
    const int length = std::vsnprintf(nullptr, 0, format, arguments);
    va_end(arguments);

    std::string message(length > 0 ? static_cast<std::size_t>(length) : 0, '\0');
    std::vsnprintf(message.data(), message.size() + 1, format, sameArguments);
    va_end(sameArguments);
    onCritical(message);
}

void Op::onCritical(const std::string& message)
{
    std::fprintf(stderr, "%s\n", message.c_str());
}

Read::~Read() = default;

}
