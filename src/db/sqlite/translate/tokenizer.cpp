#include <array>
#include <cctype>
#include <iterator>
#include <string_view>
#include <unordered_set>

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

bool isIdentifierStart(unsigned char c) {
    return std::isalpha(c) || c == '_' || c == '#' || c >= 0x80;
}

bool isIdentifierPart(unsigned char c) {
    return std::isalnum(c) || c == '_' || c == '#' || c == '@' || c == '$' || c >= 0x80;
}

bool isDigit(char c) { return c >= '0' && c <= '9'; }

class Tokenizer {
  public:
    explicit Tokenizer(const std::string& text) : text_(text) {}

    std::vector<Token> run() {
        tokens_.reserve(text_.size() / 4 + 4);
        while (true) {
            skipBlanksAndComments();
            if (!tokens_.empty() && tokens_.back().kind == TokenKind::UnclosedComment) break;
            if (pos_ >= text_.size()) {
                add(TokenKind::End, "", pos_);
                break;
            }
            if (!readToken()) break;
        }
        return std::move(tokens_);
    }

  private:
    void add(TokenKind kind, std::string value, std::size_t offset, bool quoted = false) {
        Token token;
        token.kind = kind;
        // Literal values are never compared by name: only names and symbols are folded.
        if (kind != TokenKind::String && kind != TokenKind::UnclosedString) {
            token.upper = upperAscii(value);
        }
        token.text = std::move(value);
        token.offset = offset;
        token.quoted = quoted;
        if (kind == TokenKind::Integer || kind == TokenKind::Decimal || kind == TokenKind::Float ||
            kind == TokenKind::String) {
            token.literalOrdinal = literalCount_++;
        }
        tokens_.push_back(std::move(token));
    }

    void skipBlanksAndComments() {
        while (pos_ < text_.size()) {
            unsigned char c = static_cast<unsigned char>(text_[pos_]);
            if (std::isspace(c)) {
                ++pos_;
            } else if (c == '-' && peek(1) == '-') {
                while (pos_ < text_.size() && text_[pos_] != '\n') ++pos_;
            } else if (c == '/' && peek(1) == '*') {
                // Block comments nest.
                std::size_t start = pos_;
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
                    add(TokenKind::UnclosedComment, "", start);
                    return;
                }
            } else {
                return;
            }
        }
    }

    char peek(std::size_t ahead) const {
        return pos_ + ahead < text_.size() ? text_[pos_ + ahead] : '\0';
    }

    // Reads one token at pos_; returns false when the token ends the text (unclosed quote).
    bool readToken() {
        std::size_t start = pos_;
        char c = text_[pos_];
        if ((c == 'N' || c == 'n') && peek(1) == '\'') {
            ++pos_;
            return readQuoted('\'', start);
        }
        if (c == '\'') return readQuoted('\'', start);
        if (c == '[') return readQuoted(']', start);
        if (c == '"') return readQuoted('"', start);
        if (isDigit(c) || (c == '.' && isDigit(peek(1)))) {
            readNumber();
            return true;
        }
        if (c == '@') {
            bool system = peek(1) == '@';
            pos_ += system ? 2 : 1;
            while (pos_ < text_.size() && isIdentifierPart(static_cast<unsigned char>(text_[pos_])))
                ++pos_;
            add(system ? TokenKind::SystemVariable : TokenKind::Variable,
                text_.substr(start, pos_ - start), start);
            return true;
        }
        if (isIdentifierStart(static_cast<unsigned char>(c))) {
            while (pos_ < text_.size() && isIdentifierPart(static_cast<unsigned char>(text_[pos_])))
                ++pos_;
            std::string word = text_.substr(start, pos_ - start);
            TokenKind kind =
                isReservedWord(upperAscii(word)) ? TokenKind::Keyword : TokenKind::Identifier;
            add(kind, std::move(word), start);
            return true;
        }
        static constexpr std::array<std::string_view, 8> kTwoCharSymbols = {
            "<>", "!=", "<=", ">=", "!<", "!>", "+=", "-="};
        for (std::string_view symbol : kTwoCharSymbols) {
            if (symbol[0] == c && peek(1) == symbol[1]) {
                pos_ += 2;
                add(TokenKind::Symbol, std::string(symbol), start);
                return true;
            }
        }
        static constexpr std::string_view kOneCharSymbols = "=<>+-*/%(),.;~&|^";
        ++pos_;
        add(kOneCharSymbols.find(c) != std::string_view::npos ? TokenKind::Symbol
                                                              : TokenKind::Invalid,
            std::string(1, c), start);
        return true;
    }

    bool readQuoted(char close, std::size_t start) {
        std::size_t open = pos_;
        ++pos_;
        std::string value;
        while (pos_ < text_.size()) {
            if (text_[pos_] == close) {
                if (peek(1) == close) {
                    value += close;
                    pos_ += 2;
                    continue;
                }
                ++pos_;
                if (close != '\'' && value.find('\0') != std::string::npos) {
                    // SQLite ends a name at a NUL byte: such a name cannot be written.
                    add(TokenKind::Invalid, std::move(value), start);
                    return true;
                }
                add(close == '\'' ? TokenKind::String : TokenKind::Identifier, std::move(value),
                    start, close != '\'');
                return true;
            }
            value += text_[pos_++];
        }
        add(TokenKind::UnclosedString, text_.substr(open + 1), start);
        return false;
    }

    void readNumber() {
        std::size_t start = pos_;
        bool decimal = false;
        bool exponent = false;
        while (pos_ < text_.size() && isDigit(text_[pos_])) ++pos_;
        if (pos_ < text_.size() && text_[pos_] == '.') {
            decimal = true;
            ++pos_;
            while (pos_ < text_.size() && isDigit(text_[pos_])) ++pos_;
        }
        if (pos_ < text_.size() && (text_[pos_] == 'e' || text_[pos_] == 'E')) {
            std::size_t save = pos_;
            ++pos_;
            if (pos_ < text_.size() && (text_[pos_] == '+' || text_[pos_] == '-')) ++pos_;
            if (pos_ < text_.size() && isDigit(text_[pos_])) {
                exponent = true;
                while (pos_ < text_.size() && isDigit(text_[pos_])) ++pos_;
            } else {
                pos_ = save;
            }
        }
        add(exponent  ? TokenKind::Float
            : decimal ? TokenKind::Decimal
                      : TokenKind::Integer,
            text_.substr(start, pos_ - start), start);
    }

    const std::string& text_;
    std::size_t pos_ = 0;
    int literalCount_ = 0;
    std::vector<Token> tokens_;
};

}  // namespace

bool isReservedWord(const std::string& word) {
    static const std::unordered_set<std::string_view> kWords(std::begin(kReservedWords),
                                                             std::end(kReservedWords));
    return kWords.count(word) != 0;
}

std::vector<Token> tokenize(const std::string& text) { return Tokenizer(text).run(); }

}  // namespace kvlnmov::db::sqlite::tsql
