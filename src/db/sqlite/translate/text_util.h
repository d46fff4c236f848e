#pragma once

// Small text helpers shared by the translator's parts.

#include <string>
#include <string_view>

namespace kvlnmov::db::sqlite::tsql {

/// `text` with ASCII letters in upper case.
std::string upperAscii(std::string_view text);
/// True when `a` and `b` are equal without regard to ASCII case.
bool equalsIgnoreCase(std::string_view a, std::string_view b);
/// `name` as a double-quoted SQLite identifier.
std::string quoteIdentifier(std::string_view name);
/// Number of characters (UTF-8 code points) of `text`.
std::size_t characterCount(std::string_view text);
/// `text` without leading and trailing blanks (spaces, tabs, line breaks).
std::string_view trimBlanks(std::string_view text);

}  // namespace kvlnmov::db::sqlite::tsql
