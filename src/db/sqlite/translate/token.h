#pragma once

// Tokens of a T-SQL statement as the tokenizer reads them.

#include <cstddef>
#include <string>
#include <vector>

namespace kvlnmov::db::sqlite::tsql {

enum class TokenKind {
    Identifier,       ///< a name, or a [bracketed] / "quoted" name (never a keyword)
    Keyword,          ///< a reserved word; `upper` holds it in upper case
    Integer,          ///< 123
    Decimal,          ///< 12.5, .5, 12.
    Float,            ///< 1.5E3
    String,           ///< 'text' or N'text'; `text` holds the value with '' unescaped
    Variable,         ///< @name
    SystemVariable,   ///< @@name
    Symbol,           ///< operators and punctuation; `upper` holds the symbol
    UnclosedString,   ///< a quote (or bracket) never closed; `text` holds the rest of the text
    UnclosedComment,  ///< a /* never closed
    Invalid,          ///< a character no token starts with
    End,              ///< end of the statement text
};

struct Token {
    TokenKind kind = TokenKind::End;
    /// The token as an error message names it: a name without brackets, a string's value,
    /// a keyword or symbol as written.
    std::string text;
    /// The token folded to upper case (ASCII): keywords, symbols, names for lookups.
    std::string upper;
    std::size_t offset = 0;
    /// Position among the statement's literal tokens (numbers and strings), -1 for others.
    int literalOrdinal = -1;
    /// True for a quoted identifier ([x] or "x").
    bool quoted = false;

    bool isKeyword(const char* word) const { return kind == TokenKind::Keyword && upper == word; }
    bool isSymbol(const char* symbol) const { return kind == TokenKind::Symbol && upper == symbol; }
    bool isLiteral() const { return literalOrdinal >= 0; }
};

/// Splits a statement into tokens, skipping blanks and comments. The last token is always
/// End, or one of UnclosedString / UnclosedComment, which the parser reports when it gets
/// there (so that an earlier syntax error is reported first, as the server does).
std::vector<Token> tokenize(const std::string& text);

/// True when `word` (upper case) is a reserved word of the dialect.
bool isReservedWord(const std::string& word);

}  // namespace kvlnmov::db::sqlite::tsql
