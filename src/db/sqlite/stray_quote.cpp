#include "db/sqlite/stray_quote.h"

#include "db/sqlite/translate/sql_errors.h"
#include "db/sqlite/translate/token.h"

namespace kvlnmov::db::sqlite {

Error strayQuoteError(std::string_view text, std::size_t quoteOffset, const std::string& source) {
    const tsql::SqlErrors errors(source);
    const std::vector<tsql::Token> tokens = tsql::tokenize(std::string(text));
    const tsql::Token* previous = nullptr;
    for (const tsql::Token& token : tokens) {
        // A literal the quote leaves open to the end of the text is reported as unclosed.
        if (token.offset > quoteOffset || token.kind == tsql::TokenKind::End ||
            token.kind == tsql::TokenKind::UnclosedString ||
            token.kind == tsql::TokenKind::UnclosedComment)
            return errors.syntaxAt(token, previous);
        previous = &token;
    }
    return errors.syntax("Incorrect syntax near ''.");
}

}  // namespace kvlnmov::db::sqlite
