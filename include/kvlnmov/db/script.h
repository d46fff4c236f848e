#pragma once

// Splitting a T-SQL script into its statements, as the provider's translator reads the text:
// quoted texts ('it''s', N'...'), quoted names ([a;b], "a;b") and comments (-- and nesting
// /* */) are never split.

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace kvlnmov::db {

/// One statement of a script: its text from its first token to its last (the separator and
/// the blanks and comments around the statement left out), and the line (from 1) its first
/// token is on.
struct ScriptStatement {
    std::string text;
    int line = 0;
};

/// How a script's text ends, after its last separator.
enum class ScriptEnd {
    /// Nothing but blanks and comments after the last separator (or in the whole text).
    Separated,
    /// A statement follows the last separator, with its quotes, comments and parentheses
    /// closed: the end of the text may end it.
    Unseparated,
    /// Inside a quoted text or name that the text never closes.
    UnclosedQuote,
    /// Inside a /* comment that the text never closes.
    UnclosedComment,
    /// A statement follows the last separator with a parenthesis it never closes.
    UnclosedParenthesis,
};

struct Script {
    /// Every statement ended by a separator, in order; empty statements (two separators in a
    /// row) are left out.
    std::vector<ScriptStatement> statements;
    ScriptEnd end = ScriptEnd::Separated;
    /// What follows the last separator: a statement when `end` is Unseparated, the unfinished
    /// one for the Unclosed ends; empty when Separated.
    ScriptStatement rest;
    /// Where `rest` starts in the text (past the last separator).
    std::size_t restOffset = 0;
    /// For the Unclosed ends: the line of the quote, comment or parenthesis left open.
    int openLine = 0;
};

/// Splits `text` at its separators: a `;` token, and a line holding only the word GO (in any
/// case, blanks around it allowed).
Script splitScript(std::string_view text);

}  // namespace kvlnmov::db
