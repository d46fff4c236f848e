#pragma once

// Recursive-descent parser for the T-SQL the library and ordinary callers write: one
// SELECT, INSERT, UPDATE or DELETE statement, optionally followed by a single ";".

#include <vector>

#include "db/sqlite/translate/ast.h"
#include "db/sqlite/translate/sql_errors.h"
#include "db/sqlite/translate/token.h"

namespace kvlnmov::db::sqlite::tsql {

class Parser {
  public:
    /// `tokens` must outlive the statement: its nodes point at them.
    Parser(const std::vector<Token>& tokens, const SqlErrors& errors);

    /// Parses the whole text as one statement; raises the server's syntax error at the first
    /// token that does not fit, including anything after a complete statement.
    Statement parseStatement();

  private:
    // Statements (parser.cpp)
    std::unique_ptr<SelectStmt> parseSelect();
    void parseSelectItem(SelectStmt& select);
    void parseOrderBy(SelectStmt& select);
    std::unique_ptr<InsertStmt> parseInsert();
    std::unique_ptr<ModifyStmt> parseUpdate();
    std::unique_ptr<ModifyStmt> parseDelete();
    std::vector<std::unique_ptr<TableRef>> parseFromList();
    std::unique_ptr<TableRef> parseTableSource();
    std::unique_ptr<TableRef> parsePrimarySource();
    void skipTableHints();
    std::string parseObjectName();

    // Expressions (parse_expression.cpp)
    ExprPtr parseExpression();
    ExprPtr parseAnd();
    ExprPtr parseNot();
    ExprPtr parsePredicate();
    ExprPtr parseAdditive();
    ExprPtr parseMultiplicative();
    ExprPtr parseUnary();
    ExprPtr parsePrimary();
    ExprPtr parseFunctionCall();
    ExprPtr parseColumnReference();
    ExprPtr parseCase();
    ExprPtr parseCast();
    ExprPtr parseConvert();
    Type parseTypeName();
    int parseInlineInteger();

    // Tokens
    const Token& peek(std::size_t ahead = 0) const;
    const Token& advance();
    bool acceptKeyword(const char* word);
    void expectKeyword(const char* word);
    bool acceptSymbol(const char* symbol);
    void expectSymbol(const char* symbol);
    /// A name (plain or quoted identifier); raises the syntax error otherwise.
    std::string parseName();
    [[noreturn]] void fail() const;
    ExprPtr makeExpr(ExprKind kind, const Token* token) const;
    /// `node` with its height set from its children's; raises the server's "nested too
    /// deeply" error past the limit, so that no later pass recurses without bound.
    ExprPtr measured(ExprPtr node) const;
    void measure(TableRef& ref) const;
    void measure(SelectStmt& select) const;
    /// Records a literal whose text is part of the statement's shape.
    void keepInShape(const Token& literal);

    /// One more level of the parser's own recursion, for as long as it lives.
    class Nesting {
      public:
        explicit Nesting(Parser& parser);
        ~Nesting() { --parser_.depth_; }
        Nesting(const Nesting&) = delete;
        Nesting& operator=(const Nesting&) = delete;

      private:
        Parser& parser_;
    };

    const std::vector<Token>& tokens_;
    const SqlErrors& errors_;
    std::size_t pos_ = 0;
    int depth_ = 0;
    Statement* statement_ = nullptr;
};

}  // namespace kvlnmov::db::sqlite::tsql
