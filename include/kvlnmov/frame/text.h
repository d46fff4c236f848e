#pragma once

// Small text helpers: names compared without regard to case (SQL and late-bound names are
// case-insensitive), blanks trimmed, and UTF-8 texts measured and cut by characters.

#include <cstddef>
#include <string>
#include <string_view>

namespace kvlnmov::text {

/// True when `a` and `b` are equal without regard to ASCII case.
bool equalsIgnoringCase(std::string_view a, std::string_view b);
/// True when `a` sorts before `b` without regard to ASCII case.
bool lessIgnoringCase(std::string_view a, std::string_view b);
std::string upperAscii(std::string_view text);
std::string lowerAscii(std::string_view text);
/// `text` without leading and trailing white space.
std::string_view trim(std::string_view text);
/// Number of characters (UTF-8 code points) of `text`.
std::size_t characterCount(std::string_view text);
/// The first `length` characters (not bytes) of a UTF-8 text.
std::string_view firstCharacters(std::string_view text, std::size_t length);

}  // namespace kvlnmov::text
