#pragma once

// Tokens of a T-SQL statement as the tokenizer reads them.

#include <array>
#include <cstddef>
#include <string>
#include <string_view>
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

/// A token as the scanner finds it, without any copy: views into the statement text.
struct RawToken {
    /// Never Keyword: every unquoted word is an Identifier here.
    TokenKind kind = TokenKind::End;
    std::size_t offset = 0;
    /// The token as written; for a quoted token (string or name) what is inside the quotes,
    /// its doubled closing characters still doubled; for UnclosedString the rest of the text
    /// after the opening quote.
    std::string_view body;
    /// The closing character of a quoted token, and whether the body holds it doubled.
    char close = 0;
    bool doubled = false;
    /// A [bracketed] or "quoted" token (a name, or an Invalid one).
    bool quoted = false;

    bool isLiteral() const {
        return kind == TokenKind::Integer || kind == TokenKind::Decimal ||
               kind == TokenKind::Float || kind == TokenKind::String;
    }
    /// The token's value: the body with each doubled closing character made one.
    std::string value() const;
};

// Character classes, looked up once per character.
enum CharClass : unsigned char {
    kIdentifierStart = 1,  ///< a letter, '_', '#', or any byte of a multi-byte character
    kIdentifierPart = 2,   ///< what may follow in a name: also digits, '@' and '$'
    kDigit = 4,
    kBlank = 8,  ///< the blanks between tokens (those of the C locale's isspace)
};

inline constexpr std::array<unsigned char, 256> kCharClasses = [] {
    std::array<unsigned char, 256> classes{};
    for (int c = 0; c < 256; ++c) {
        const bool letter = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
        const bool digit = c >= '0' && c <= '9';
        unsigned char flags = 0;
        if (letter || c == '_' || c == '#' || c >= 0x80)
            flags |= kIdentifierStart | kIdentifierPart;
        if (digit || c == '@' || c == '$') flags |= kIdentifierPart;
        if (digit) flags |= kDigit;
        if (c == ' ' || (c >= '\t' && c <= '\r')) flags |= kBlank;
        classes[static_cast<std::size_t>(c)] = flags;
    }
    return classes;
}();

inline bool hasClass(char c, CharClass charClass) {
    return (kCharClasses[static_cast<unsigned char>(c)] & charClass) != 0;
}

/// Reads the tokens of a statement one at a time, skipping blanks and comments. The last token
/// is End, or one of UnclosedString / UnclosedComment.
class TokenScanner {
  public:
    explicit TokenScanner(std::string_view text);
    /// The next token into `token`; false once the last token was given. Blanks and the
    /// commonest tokens (a word, a one-character symbol, a number, a text) are read here;
    /// comments and every other token by `nextOther`.
    [[gnu::always_inline]] bool next(RawToken& token) {
        if (done_) return false;
        token.close = 0;
        token.doubled = false;
        token.quoted = false;
        const char* const data = text_.data();
        const std::size_t size = text_.size();
        while (pos_ < size && hasClass(data[pos_], kBlank)) ++pos_;
        if (pos_ < size) {
            const char c = data[pos_];
            const std::size_t start = pos_;
            if (hasClass(c, kIdentifierStart) && !((c == 'N' || c == 'n') && peek(1) == '\'')) {
                ++pos_;
                while (pos_ < size && hasClass(data[pos_], kIdentifierPart)) ++pos_;
                // A word: tokenize() tells the reserved ones apart.
                token.kind = TokenKind::Identifier;
                token.offset = start;
                token.body = std::string_view(data + start, pos_ - start);
                return true;
            }
            if ((c == ',' || c == '(' || c == ')' || c == '=' || c == '*') ||
                (c == '.' && !hasClass(peek(1), kDigit))) {
                ++pos_;
                token.kind = TokenKind::Symbol;
                token.offset = start;
                token.body = std::string_view(data + start, 1);
                return true;
            }
            // The literals a statement carries: numbers and texts, read without the detour
            // through nextOther.
            if (hasClass(c, kDigit)) {
                token.offset = start;
                readNumber(token);
                return true;
            }
            if (c == '\'') {
                token.offset = start;
                readQuoted('\'', token);
                if (token.kind == TokenKind::UnclosedString) done_ = true;
                return true;
            }
        }
        return nextOther(token);
    }

  private:
    bool nextOther(RawToken& token);
    char peek(std::size_t ahead) const {
        return pos_ + ahead < text_.size() ? text_[pos_ + ahead] : '\0';
    }
    /// Skips blanks and comments; true (with `token` set) at an unclosed comment.
    bool skipBlanksAndComments(RawToken& token);
    void readToken(RawToken& token);
    void readQuoted(char close, RawToken& token);
    void readNumber(RawToken& token);

    std::string_view text_;
    std::size_t pos_ = 0;
    bool done_ = false;
};

/// Splits a statement into tokens, skipping blanks and comments. The last token is always
/// End, or one of UnclosedString / UnclosedComment, which the parser reports when it gets
/// there (so that an earlier syntax error is reported first, as the server does).
std::vector<Token> tokenize(const std::string& text);

/// True when `word` (in any case) is a reserved word of the dialect.
bool isReservedWord(std::string_view word);

}  // namespace kvlnmov::db::sqlite::tsql
