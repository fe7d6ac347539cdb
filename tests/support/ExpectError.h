#pragma once

#include <gtest/gtest.h>

#include <exception>
#include <stdexcept>
#include <string>
#include <string_view>
#include <typeinfo>

// Expects the operation to throw exactly this kind of exception with exactly this text, which is
// compared whole. A derived kind does not count: callers tell failures apart by their kind.
template <class Exception = std::runtime_error, class Operation>
void expectError(std::string_view text, Operation&& operation)
{
    std::string thrown = "nothing";
    try {
        operation();
    } catch (const std::exception& exception) {
        EXPECT_EQ(typeid(exception), typeid(Exception)) << typeid(exception).name();
        thrown = exception.what();
    }
    EXPECT_EQ(thrown, text);
}
