#include <array>
#include <iterator>
#include <string_view>
#include <vector>

#include "db/sqlite/translate/text_util.h"
#include "db/sqlite/translate/token.h"

namespace kvlnmov::db::sqlite::tsql {

namespace {

// The reserved words of the dialect: they can name a table or column only when bracketed.
constexpr std::string_view kReservedWords[] = {
    "ADD",
    "ALL",
    "ALTER",
    "AND",
    "ANY",
    "AS",
    "ASC",
    "AUTHORIZATION",
    "BACKUP",
    "BEGIN",
    "BETWEEN",
    "BREAK",
    "BROWSE",
    "BULK",
    "BY",
    "CASCADE",
    "CASE",
    "CHECK",
    "CHECKPOINT",
    "CLOSE",
    "CLUSTERED",
    "COALESCE",
    "COLLATE",
    "COLUMN",
    "COMMIT",
    "COMPUTE",
    "CONSTRAINT",
    "CONTAINS",
    "CONTAINSTABLE",
    "CONTINUE",
    "CONVERT",
    "CREATE",
    "CROSS",
    "CURRENT",
    "CURRENT_DATE",
    "CURRENT_TIME",
    "CURRENT_TIMESTAMP",
    "CURRENT_USER",
    "CURSOR",
    "DATABASE",
    "DBCC",
    "DEALLOCATE",
    "DECLARE",
    "DEFAULT",
    "DELETE",
    "DENY",
    "DESC",
    "DISK",
    "DISTINCT",
    "DISTRIBUTED",
    "DOUBLE",
    "DROP",
    "DUMP",
    "ELSE",
    "END",
    "ERRLVL",
    "ESCAPE",
    "EXCEPT",
    "EXEC",
    "EXECUTE",
    "EXISTS",
    "EXIT",
    "EXTERNAL",
    "FETCH",
    "FILE",
    "FILLFACTOR",
    "FOR",
    "FOREIGN",
    "FREETEXT",
    "FREETEXTTABLE",
    "FROM",
    "FULL",
    "FUNCTION",
    "GOTO",
    "GRANT",
    "GROUP",
    "HAVING",
    "HOLDLOCK",
    "IDENTITY",
    "IDENTITY_INSERT",
    "IDENTITYCOL",
    "IF",
    "IN",
    "INDEX",
    "INNER",
    "INSERT",
    "INTERSECT",
    "INTO",
    "IS",
    "JOIN",
    "KEY",
    "KILL",
    "LEFT",
    "LIKE",
    "LINENO",
    "LOAD",
    "MERGE",
    "NATIONAL",
    "NOCHECK",
    "NONCLUSTERED",
    "NOT",
    "NULL",
    "NULLIF",
    "OF",
    "OFF",
    "OFFSETS",
    "ON",
    "OPEN",
    "OPENDATASOURCE",
    "OPENQUERY",
    "OPENROWSET",
    "OPENXML",
    "OPTION",
    "OR",
    "ORDER",
    "OUTER",
    "OVER",
    "PERCENT",
    "PIVOT",
    "PLAN",
    "PRECISION",
    "PRIMARY",
    "PRINT",
    "PROC",
    "PROCEDURE",
    "PUBLIC",
    "RAISERROR",
    "READ",
    "READTEXT",
    "RECONFIGURE",
    "REFERENCES",
    "REPLICATION",
    "RESTORE",
    "RESTRICT",
    "RETURN",
    "REVERT",
    "REVOKE",
    "RIGHT",
    "ROLLBACK",
    "ROWCOUNT",
    "ROWGUIDCOL",
    "RULE",
    "SAVE",
    "SCHEMA",
    "SECURITYAUDIT",
    "SELECT",
    "SESSION_USER",
    "SET",
    "SETUSER",
    "SHUTDOWN",
    "SOME",
    "STATISTICS",
    "SYSTEM_USER",
    "TABLE",
    "TABLESAMPLE",
    "TEXTSIZE",
    "THEN",
    "TO",
    "TOP",
    "TRAN",
    "TRANSACTION",
    "TRIGGER",
    "TRUNCATE",
    "TRY_CONVERT",
    "TSEQUAL",
    "UNION",
    "UNIQUE",
    "UNPIVOT",
    "UPDATE",
    "UPDATETEXT",
    "USE",
    "USER",
    "VALUES",
    "VARYING",
    "VIEW",
    "WAITFOR",
    "WHEN",
    "WHERE",
    "WHILE",
    "WITH",
    "WITHIN",
    "WRITETEXT",
};

bool isIdentifierStart(unsigned char c) { return (kCharClasses[c] & kIdentifierStart) != 0; }
bool isDigit(char c) { return hasClass(c, kDigit); }

/// The longest reserved word ("CURRENT_TIMESTAMP").
constexpr std::size_t kLongestReservedWord = 17;

/// The reserved words by length and first letter: a name is compared with the few words that
/// share both.
class ReservedWords {
  public:
    ReservedWords() {
        for (std::string_view word : kReservedWords) buckets_[bucketOf(word)].push_back(word);
    }

    bool contains(std::string_view word) const {
        if (word.size() < 2 || word.size() > kLongestReservedWord) return false;
        const char first = upper(word[0]);
        if (first < 'A' || first > 'Z') return false;
        for (std::string_view candidate : buckets_[bucketOf(word)]) {
            std::size_t i = 1;
            while (i < word.size() && upper(word[i]) == candidate[i]) ++i;
            if (i == word.size()) return true;
        }
        return false;
    }

  private:
    static char upper(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c; }
    static std::size_t bucketOf(std::string_view word) {
        return word.size() * 26 + static_cast<std::size_t>(upper(word[0]) - 'A');
    }

    std::array<std::vector<std::string_view>, (kLongestReservedWord + 1) * 26> buckets_;
};

}  // namespace

bool isReservedWord(std::string_view word) {
    static const ReservedWords kWords;
    return kWords.contains(word);
}

TokenScanner::TokenScanner(std::string_view text) : text_(text) {}

bool TokenScanner::nextOther(RawToken& token) {
    if (skipBlanksAndComments(token)) {
        done_ = true;  // an unclosed comment ends the text
        return true;
    }
    if (pos_ >= text_.size()) {
        token.kind = TokenKind::End;
        token.offset = pos_;
        token.body = {};
        done_ = true;
        return true;
    }
    readToken(token);
    if (token.kind == TokenKind::UnclosedString) done_ = true;
    return true;
}

bool TokenScanner::skipBlanksAndComments(RawToken& token) {
    while (pos_ < text_.size()) {
        const char c = text_[pos_];
        if (hasClass(c, kBlank)) {
            ++pos_;
        } else if (c == '-' && peek(1) == '-') {
            while (pos_ < text_.size() && text_[pos_] != '\n') ++pos_;
        } else if (c == '/' && peek(1) == '*') {
            // Block comments nest.
            const std::size_t start = pos_;
            int depth = 0;
            while (pos_ < text_.size()) {
                if (text_[pos_] == '/' && peek(1) == '*') {
                    ++depth;
                    pos_ += 2;
                } else if (text_[pos_] == '*' && peek(1) == '/') {
                    pos_ += 2;
                    if (--depth == 0) break;
                } else {
                    ++pos_;
                }
            }
            if (depth > 0) {
                token.kind = TokenKind::UnclosedComment;
                token.offset = start;
                return true;
            }
        } else {
            return false;
        }
    }
    return false;
}

void TokenScanner::readToken(RawToken& token) {
    const std::size_t start = pos_;
    token.offset = start;
    const char c = text_[pos_];
    if ((c == 'N' || c == 'n') && peek(1) == '\'') {
        ++pos_;
        readQuoted('\'', token);
        return;
    }
    if (c == '\'') return readQuoted('\'', token);
    if (c == '[') return readQuoted(']', token);
    if (c == '"') return readQuoted('"', token);
    if (isDigit(c) || (c == '.' && isDigit(peek(1)))) return readNumber(token);
    if (c == '@') {
        const bool system = peek(1) == '@';
        pos_ += system ? 2 : 1;
        while (pos_ < text_.size() && hasClass(text_[pos_], kIdentifierPart)) ++pos_;
        token.kind = system ? TokenKind::SystemVariable : TokenKind::Variable;
        token.body = text_.substr(start, pos_ - start);
        return;
    }
    if (isIdentifierStart(static_cast<unsigned char>(c))) {
        while (pos_ < text_.size() && hasClass(text_[pos_], kIdentifierPart)) ++pos_;
        // A word: tokenize() tells the reserved ones apart.
        token.body = text_.substr(start, pos_ - start);
        token.kind = TokenKind::Identifier;
        return;
    }
    // Two-character symbols: <> != <= >= !< !> += -=.
    const char second = peek(1);
    bool twoCharacters = false;
    switch (c) {
        case '<':
            twoCharacters = second == '>' || second == '=';
            break;
        case '!':
            twoCharacters = second == '=' || second == '<' || second == '>';
            break;
        case '>':
        case '+':
        case '-':
            twoCharacters = second == '=';
            break;
        default:
            break;
    }
    static constexpr std::string_view kOneCharSymbols = "=<>+-*/%(),.;~&|^";
    token.kind = twoCharacters || kOneCharSymbols.find(c) != std::string_view::npos
                     ? TokenKind::Symbol
                     : TokenKind::Invalid;
    pos_ += twoCharacters ? 2 : 1;
    token.body = text_.substr(start, pos_ - start);
}

void TokenScanner::readQuoted(char close, RawToken& token) {
    const std::size_t open = pos_;
    ++pos_;
    token.quoted = close != '\'';
    token.close = close;
    bool hasNul = false;
    while (pos_ < text_.size()) {
        const char c = text_[pos_];
        if (c == close) {
            if (peek(1) == close) {
                token.doubled = true;
                pos_ += 2;
                continue;
            }
            token.body = text_.substr(open + 1, pos_ - open - 1);
            ++pos_;
            // SQLite ends a name at a NUL byte: such a name cannot be written.
            token.kind = close == '\'' ? TokenKind::String
                         : hasNul     ? TokenKind::Invalid
                                      : TokenKind::Identifier;
            return;
        }
        hasNul = hasNul || c == '\0';
        ++pos_;
    }
    token.kind = TokenKind::UnclosedString;
    token.doubled = false;
    token.body = text_.substr(open + 1);
}

void TokenScanner::readNumber(RawToken& token) {
    const std::size_t start = pos_;
    bool decimal = false;
    bool exponent = false;
    while (pos_ < text_.size() && isDigit(text_[pos_])) ++pos_;
    if (pos_ < text_.size() && text_[pos_] == '.') {
        decimal = true;
        ++pos_;
        while (pos_ < text_.size() && isDigit(text_[pos_])) ++pos_;
    }
    if (pos_ < text_.size() && (text_[pos_] == 'e' || text_[pos_] == 'E')) {
        const std::size_t save = pos_;
        ++pos_;
        if (pos_ < text_.size() && (text_[pos_] == '+' || text_[pos_] == '-')) ++pos_;
        if (pos_ < text_.size() && isDigit(text_[pos_])) {
            exponent = true;
            while (pos_ < text_.size() && isDigit(text_[pos_])) ++pos_;
        } else {
            pos_ = save;
        }
    }
    token.kind = exponent  ? TokenKind::Float
                 : decimal ? TokenKind::Decimal
                           : TokenKind::Integer;
    token.body = text_.substr(start, pos_ - start);
}

std::string RawToken::value() const {
    if (!doubled) return std::string(body);
    std::string result;
    result.reserve(body.size());
    for (std::size_t i = 0; i < body.size(); ++i) {
        result += body[i];
        if (body[i] == close) ++i;  // one of a doubled pair
    }
    return result;
}

std::vector<Token> tokenize(const std::string& text) {
    std::vector<Token> tokens;
    tokens.reserve(text.size() / 4 + 4);
    int literalCount = 0;
    TokenScanner scanner(text);
    RawToken raw;
    while (scanner.next(raw)) {
        Token token;
        token.kind = raw.kind == TokenKind::Identifier && !raw.quoted && isReservedWord(raw.body)
                         ? TokenKind::Keyword
                         : raw.kind;
        token.offset = raw.offset;
        token.quoted = raw.quoted && raw.kind == TokenKind::Identifier;
        token.text = raw.kind == TokenKind::UnclosedString ? std::string(raw.body) : raw.value();
        // Literal values are never compared by name: only names and symbols are folded.
        if (raw.kind != TokenKind::String && raw.kind != TokenKind::UnclosedString)
            token.upper = upperAscii(token.text);
        if (raw.isLiteral()) token.literalOrdinal = literalCount++;
        tokens.push_back(std::move(token));
    }
    return tokens;
}

}  // namespace kvlnmov::db::sqlite::tsql
