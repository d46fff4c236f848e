#pragma once

// The syntax error of a statement in which a quoted text holds a quote.

#include <cstddef>
#include <string>
#include <string_view>

#include "kvlnmov/frame/error.h"

namespace kvlnmov::db::sqlite {

/// The error the server reports for `text` when the quote at `quoteOffset` ends a string
/// literal early: "Incorrect syntax near ..." the first token after that literal (or the
/// unclosed quotation mark when nothing closes the rest), number -2147217900, source `source`.
Error strayQuoteError(std::string_view text, std::size_t quoteOffset, const std::string& source);

}  // namespace kvlnmov::db::sqlite
