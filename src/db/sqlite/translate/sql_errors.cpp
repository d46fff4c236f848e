#include "db/sqlite/translate/sql_errors.h"

namespace kvlnmov::db::sqlite::tsql {

Error SqlErrors::syntaxAt(const Token& token, const Token* previous) const {
    switch (token.kind) {
        case TokenKind::UnclosedString:
            return syntax("Unclosed quotation mark after the character string '" + token.text +
                          "'.");
        case TokenKind::UnclosedComment:
            return syntax("Missing end comment mark '*/'.");
        case TokenKind::Keyword:
            return syntax("Incorrect syntax near the keyword '" + token.text + "'.");
        case TokenKind::End:
            if (previous != nullptr && previous->kind != TokenKind::End) {
                if (previous->kind == TokenKind::Keyword) {
                    return syntax("Incorrect syntax near the keyword '" + previous->text + "'.");
                }
                return syntax("Incorrect syntax near '" + previous->text + "'.");
            }
            return syntax("Incorrect syntax near ''.");
        default:
            return syntax("Incorrect syntax near '" + token.text + "'.");
    }
}

Error SqlErrors::syntax(std::string description) const {
    return Error(errc::kSyntax, source_, std::move(description));
}

Error SqlErrors::invalidObject(std::string_view name) const {
    return Error(errc::kInvalidObject, source_, "Invalid object name '" + std::string(name) + "'.");
}

Error SqlErrors::invalidColumn(std::string_view name) const {
    return syntax("Invalid column name '" + std::string(name) + "'.");
}

Error SqlErrors::ambiguousColumn(std::string_view name) const {
    return syntax("Ambiguous column name '" + std::string(name) + "'.");
}

Error SqlErrors::multipartNotBound(std::string_view qualifier, std::string_view name) const {
    return syntax("The multi-part identifier \"" + std::string(qualifier) + "." +
                  std::string(name) + "\" could not be bound.");
}

Error SqlErrors::unknownFunction(std::string_view name) const {
    // Appended piece by piece: GCC 12 at -O3 misreads "'" + std::string(...) as an overlapping
    // copy (a false -Wrestrict).
    std::string text = "'";
    text.append(name).append("' is not a recognized built-in function name.");
    return syntax(text);
}

Error SqlErrors::undeclaredVariable(std::string_view name) const {
    return syntax("Must declare the scalar variable \"" + std::string(name) + "\".");
}

Error SqlErrors::dateConversion() const {
    return conversion("Conversion failed when converting date and/or time from character string.");
}

Error SqlErrors::dateOutOfRange() const {
    return conversion(
        "The conversion of a varchar data type to a datetime data type resulted in an "
        "out-of-range value.");
}

Error SqlErrors::conversion(std::string description) const {
    return Error(errc::kConversion, source_, std::move(description));
}

Error SqlErrors::truncation() const {
    return Error(errc::kDataOverflow, source_, "String or binary data would be truncated.");
}

Error SqlErrors::overflow(std::string_view typeName, bool fromNumeric) const {
    return Error(errc::kDataOverflow, source_,
                 std::string("Arithmetic overflow error converting ") +
                     (fromNumeric ? "numeric" : "expression") + " to data type " +
                     std::string(typeName) + ".");
}

Error SqlErrors::textOverflow(std::string_view value, std::string_view typeName) const {
    return Error(errc::kDataOverflow, source_,
                 "The conversion of the varchar value '" + std::string(value) + "' overflowed " +
                     (typeName == "int" ? "an " : "a ") + std::string(typeName) + " column.");
}

Error SqlErrors::nestedTooDeeply() const {
    return syntax(
        "Some part of your SQL statement is nested too deeply. Rewrite the query or break it up "
        "into smaller queries.");
}

Error SqlErrors::expressionLimit() const {
    return syntax(
        "Internal error: An expression services limit has been reached. Please look for "
        "potentially complex expressions in your query, and try to simplify them.");
}

Error SqlErrors::unsupported(std::string_view what) const {
    return syntax(std::string(what) + " is not supported by the SQLite provider.");
}

}  // namespace kvlnmov::db::sqlite::tsql
