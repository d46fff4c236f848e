#pragma once

// Writes a bound statement as SQLite SQL. Literals, GETDATE() and @@IDENTITY become numbered
// parameters, kept beside the text while it is built (SqlText) and numbered at the end; money
// arithmetic, date arithmetic and conversions are spelled out so SQLite computes what the server
// computes on the stored forms (money in ten-thousandths, dates in canonical ISO text).

#include <string>
#include <vector>

#include "db/sqlite/translate/ast.h"
#include "db/sqlite/translate/literal_coercion.h"
#include "db/sqlite/translate/sql_errors.h"
#include "db/sqlite/translate/sql_text.h"

namespace kvlnmov::db::sqlite::tsql {

struct EmittedStatement {
    std::string sql;
    /// In the order of the parameter numbers ?1, ?2, ...
    std::vector<ParameterSource> parameters;
};

class Emitter {
  public:
    /// `sizeLimit`: the most bytes of SQLite text the statement may take; past it (some
    /// constructs repeat their operands, so nesting them grows the text quickly) the
    /// server's "expression services limit" error is raised.
    Emitter(const SqlErrors& errors, std::size_t sizeLimit)
        : errors_(errors), sizeLimit_(sizeLimit) {}

    EmittedStatement emit(const Statement& statement);

  private:
    /// A piece of SQL and the precedence of its outermost operator (higher binds tighter).
    struct Fragment {
        SqlText sql;
        int precedence;
    };

    // Statements (emitter.cpp)
    SqlText select(const SelectStmt& select);
    SqlText fromList(const std::vector<std::unique_ptr<TableRef>>& from);
    SqlText tableRef(const TableRef& ref);
    SqlText insert(const InsertStmt& insert);
    SqlText modify(const ModifyStmt& modify);

    // Expressions (emit_expression.cpp)
    Fragment expr(const Expr& node);
    Fragment build(const Expr& node);
    void checkSize(const SqlText& text) const;
    SqlText operand(const Expr& node, int precedence);
    SqlText sql(const Expr& node) { return expr(node).sql; }
    Fragment column(const Expr& node);
    Fragment function(const Expr& node);
    Fragment arithmetic(const Expr& node);
    SqlText collated(const Expr& node, int precedence, bool needsCollation);
    Fragment conversion(const Fragment& value, Type from, Type to, int style, bool explicitCast);
    SqlText parameter(ParameterSource source);

    const SqlErrors& errors_;
    std::size_t sizeLimit_;
    std::vector<ParameterSource> parameters_;
    /// UPDATE ... FROM (subquery): columns of these sources are read through the subquery.
    std::vector<const BoundSource*> exportedSources_;
    std::vector<std::pair<std::string, std::string>> exports_;  ///< (column SQL, export name)
};

}  // namespace kvlnmov::db::sqlite::tsql
