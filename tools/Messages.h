#pragma once

#include <exception>
#include <string>

namespace Zeq {

// A text for people, of one line, with the names in it: control characters, bytes that are no
// UTF-8 and backslashes are written as printf's %b reads them, "\n", "\x1b", "\\". A name cannot
// give orders to a terminal that way, and can still be told from any other.
std::string shown(const std::string& text);

// What went wrong, for people: for those exceptions whose own texts are for developers, in words.
std::string messageOf(const std::exception& error);

}
