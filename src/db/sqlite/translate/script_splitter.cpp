// Splits a script into statements with the translator's own token scanner, so that a `;` or a
// GO inside a quoted text, a quoted name or a comment is never taken for a separator.

#include <algorithm>
#include <vector>

#include "db/sqlite/translate/token.h"
#include "kvlnmov/db/script.h"

namespace kvlnmov::db {

namespace {

using sqlite::tsql::RawToken;
using sqlite::tsql::TokenKind;
using sqlite::tsql::TokenScanner;

bool isBlank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\v' || c == '\f'; }

/// Where a token ends in the text: past its closing quote for a quoted one.
std::size_t tokenEnd(std::string_view text, const RawToken& token) {
    if (token.body.empty() && token.close == 0) return token.offset;
    const auto start = static_cast<std::size_t>(token.body.data() - text.data());
    const bool closed = token.close != 0 && token.kind != TokenKind::UnclosedString;
    return start + token.body.size() + (closed ? 1 : 0);
}

/// True for the word GO alone on its line (blanks around it allowed).
bool isGoLine(std::string_view text, const RawToken& token) {
    if (token.kind != TokenKind::Identifier || token.quoted || token.body.size() != 2) return false;
    if ((token.body[0] != 'G' && token.body[0] != 'g') ||
        (token.body[1] != 'O' && token.body[1] != 'o'))
        return false;
    for (std::size_t i = token.offset; i > 0 && text[i - 1] != '\n'; --i) {
        if (!isBlank(text[i - 1])) return false;
    }
    for (std::size_t i = token.offset + 2; i < text.size() && text[i] != '\n'; ++i) {
        if (!isBlank(text[i])) return false;
    }
    return true;
}

/// Counts lines as the scan moves forward through the text.
class LineCounter {
  public:
    explicit LineCounter(std::string_view text) : text_(text) {}
    int lineOf(std::size_t offset) {
        offset = std::min(offset, text_.size());
        if (offset < position_) {  // never happens for tokens in order; kept correct anyway
            position_ = 0;
            line_ = 1;
        }
        line_ +=
            static_cast<int>(std::count(text_.begin() + static_cast<std::ptrdiff_t>(position_),
                                        text_.begin() + static_cast<std::ptrdiff_t>(offset), '\n'));
        position_ = offset;
        return line_;
    }

  private:
    std::string_view text_;
    std::size_t position_ = 0;
    int line_ = 1;
};

}  // namespace

Script splitScript(std::string_view text) {
    Script script;
    LineCounter lines(text);
    TokenScanner scanner(text);
    RawToken token;
    // The statement being read: its first token, the end of its last one, open parentheses.
    bool inStatement = false;
    std::size_t start = 0;
    std::size_t end = 0;
    int startLine = 0;
    std::vector<int> openParentheses;  // the line of each parenthesis still open

    auto current = [&] {
        return ScriptStatement{std::string(text.substr(start, end - start)), startLine};
    };
    auto separate = [&](std::size_t after) {
        if (inStatement) script.statements.push_back(current());
        inStatement = false;
        openParentheses.clear();
        script.restOffset = after;
    };

    while (scanner.next(token)) {
        if (token.kind == TokenKind::End) break;
        if (token.kind == TokenKind::UnclosedComment || token.kind == TokenKind::UnclosedString) {
            script.end = token.kind == TokenKind::UnclosedComment ? ScriptEnd::UnclosedComment
                                                                  : ScriptEnd::UnclosedQuote;
            script.openLine = lines.lineOf(token.offset);
            if (!inStatement) {
                start = token.offset;
                startLine = script.openLine;
            }
            end = text.size();
            script.rest = current();
            return script;
        }
        if (token.kind == TokenKind::Symbol && token.body == ";") {
            separate(token.offset + 1);
            continue;
        }
        if (isGoLine(text, token)) {
            separate(token.offset + 2);
            continue;
        }
        if (!inStatement) {
            inStatement = true;
            start = token.offset;
            startLine = lines.lineOf(token.offset);
        }
        end = tokenEnd(text, token);
        if (token.kind == TokenKind::Symbol && token.body == "(") {
            openParentheses.push_back(lines.lineOf(token.offset));
        } else if (token.kind == TokenKind::Symbol && token.body == ")" &&
                   !openParentheses.empty()) {
            openParentheses.pop_back();
        }
    }
    if (!inStatement) return script;
    script.rest = current();
    if (!openParentheses.empty()) {
        script.end = ScriptEnd::UnclosedParenthesis;
        script.openLine = openParentheses.back();
    } else {
        script.end = ScriptEnd::Unseparated;
    }
    return script;
}

}  // namespace kvlnmov::db
