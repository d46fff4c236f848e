#pragma once

// The errors the translator raises, worded and numbered as the server reports them to an
// ADO client.

#include <string>
#include <string_view>

#include "db/sqlite/translate/token.h"
#include "kvlnmov/frame/error.h"

namespace kvlnmov::db::sqlite::tsql {

/// Builds the translator's errors with the provider's name as their source.
class SqlErrors {
  public:
    explicit SqlErrors(std::string source) : source_(std::move(source)) {}

    const std::string& source() const { return source_; }

    /// "Incorrect syntax near 'x'." / "... near the keyword 'FROM'." / unclosed quotation
    /// mark / missing end comment mark, for the token the parser could not accept.
    /// `previous` names the last real token when `token` is the end of the text.
    Error syntaxAt(const Token& token, const Token* previous) const;
    Error syntax(std::string description) const;
    Error invalidObject(std::string_view name) const;
    Error invalidColumn(std::string_view name) const;
    Error ambiguousColumn(std::string_view name) const;
    Error multipartNotBound(std::string_view qualifier, std::string_view name) const;
    Error unknownFunction(std::string_view name) const;
    Error undeclaredVariable(std::string_view name) const;
    Error dateConversion() const;
    Error dateOutOfRange() const;
    Error conversion(std::string description) const;
    Error truncation() const;
    Error overflow(std::string_view typeName, bool fromNumeric) const;
    Error textOverflow(std::string_view value, std::string_view typeName) const;
    /// A statement nested deeper than the translator (or SQLite) follows.
    Error nestedTooDeeply() const;
    /// A statement whose SQLite text would grow past what the provider writes.
    Error expressionLimit() const;
    /// A construct the server accepts but this provider cannot run faithfully.
    Error unsupported(std::string_view what) const;

  private:
    std::string source_;
};

}  // namespace kvlnmov::db::sqlite::tsql
