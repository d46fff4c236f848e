#pragma once

// Texts the library's SQL writers put between quotes. Texts go into statements unescaped, so
// a text holding a quote ends its literal early and the rest of it would be read as SQL: a
// comment that drops the statement's WHERE clause, another assignment, a subquery. The
// writers note every quoted text that holds a quote (the others cannot change a statement),
// and the connection refuses to send a statement that contains one: it fails with the syntax
// error a stray quote gives, as an ordinary apostrophe always did, and never runs.
//
// The notes belong to the thread that composes and sends the statements (objects are used on
// their caller's thread), and live for one library operation: they are forgotten when the
// outermost operation begins and ends.

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace kvlnmov::quoted {

/// Notes `value`, a text about to be written between quotes, when it holds a quote.
void note(std::string_view value);

/// A noted value `statement` contains, with the offset of its first quote in `statement`
/// (the quote that ends the literal early). Nothing when the statement holds none.
struct StrayQuote {
    std::string value;
    std::size_t offset = 0;
};
std::optional<StrayQuote> findIn(std::string_view statement);

/// Forgets every noted value.
void forget();

}  // namespace kvlnmov::quoted
