#pragma once

#include <gtest/gtest.h>

#include <exception>
#include <string_view>
#include <typeinfo>

// Expects the operation to throw exactly this kind of exception with exactly this text, which is
// compared whole. A derived kind does not count: callers tell failures apart by their kind.
template <class Exception, class Operation>
void expectError(std::string_view text, Operation&& operation)
{
    try {
        operation();
    } catch (const Exception& exception) {
        EXPECT_EQ(typeid(exception), typeid(Exception)) << typeid(exception).name();
        EXPECT_EQ(exception.what(), text);
        return;
    } catch (const std::exception& exception) {
        ADD_FAILURE() << "Expected \"" << text << "\", got another kind of exception: \""
                      << exception.what() << '"';
        return;
    }
    ADD_FAILURE() << "Expected \"" << text << "\", but nothing was thrown";
}
