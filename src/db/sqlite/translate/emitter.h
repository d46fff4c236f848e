#pragma once

// Writes a bound statement as SQLite SQL. Literals, GETDATE() and @@IDENTITY become numbered
// parameters; money arithmetic, date arithmetic and conversions are spelled out so SQLite
// computes what the server computes on the stored forms (money in ten-thousandths, dates in
// canonical ISO text).

#include <string>
#include <vector>

#include "db/sqlite/translate/ast.h"
#include "db/sqlite/translate/literal_coercion.h"

namespace kvlnmov::db::sqlite::tsql {

struct EmittedStatement {
    std::string sql;
    /// In the order of the parameter numbers ?1, ?2, ...
    std::vector<ParameterSource> parameters;
};

class Emitter {
  public:
    EmittedStatement emit(const Statement& statement);

  private:
    /// A piece of SQL and the precedence of its outermost operator (higher binds tighter).
    struct Fragment {
        std::string sql;
        int precedence;
    };

    // Statements (emitter.cpp)
    std::string select(const SelectStmt& select);
    std::string fromList(const std::vector<std::unique_ptr<TableRef>>& from);
    std::string tableRef(const TableRef& ref);
    std::string insert(const InsertStmt& insert);
    std::string modify(const ModifyStmt& modify);

    // Expressions (emit_expression.cpp)
    Fragment expr(const Expr& node);
    std::string operand(const Expr& node, int precedence);
    std::string sql(const Expr& node) { return expr(node).sql; }
    Fragment column(const Expr& node);
    Fragment function(const Expr& node);
    Fragment arithmetic(const Expr& node);
    std::string collated(const Expr& node, int precedence, bool needsCollation);
    Fragment conversion(const Fragment& value, Type from, Type to, int style, bool explicitCast);
    std::string parameter(ParameterSource source);

    std::vector<ParameterSource> parameters_;
    /// UPDATE ... FROM (subquery): columns of these sources are read through the subquery.
    std::vector<const BoundSource*> exportedSources_;
    std::vector<std::pair<std::string, std::string>> exports_;  ///< (column SQL, export name)
};

}  // namespace kvlnmov::db::sqlite::tsql
