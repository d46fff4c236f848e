#pragma once

// Resolves a parsed statement against the catalog: table and column names, SQL Server types
// of every expression, the coercion of each literal by what it meets, and the conversions
// SQLite needs where types meet (money held as ten-thousandths, for one).

#include <memory>
#include <vector>

#include "db/sqlite/translate/ast.h"
#include "db/sqlite/translate/sql_errors.h"
#include "db/sqlite/translate/translator.h"

namespace kvlnmov::db::sqlite::tsql {

class Binder {
  public:
    Binder(const Catalog& catalog, const SqlErrors& errors);
    ~Binder();

    /// Binds `statement` in place. Raises the server's errors for unknown or ambiguous
    /// names and for types that cannot meet.
    void bind(Statement& statement);

  private:
    /// The sources visible at one query level, and the enclosing level's.
    struct Scope {
        std::vector<BoundSource*> sources;
        const Scope* parent = nullptr;
    };

    /// The clause an expression stands in: aggregates and column names are allowed in some
    /// clauses only.
    enum class Clause { Select, Where, On, GroupBy, Having, OrderBy, Values, Set, Top };

    /// Per SELECT being bound.
    struct SelectState {
        bool hasAggregate = false;
    };

    // Statements (binder.cpp)
    void bindSelect(SelectStmt& select, const Scope* outer, bool nested);
    void expandStars(SelectStmt& select, const Scope& scope);
    void bindOrderBy(SelectStmt& select, const Scope& scope);
    void validateGrouping(SelectStmt& select, const Scope& scope);
    void bindFromList(std::vector<std::unique_ptr<TableRef>>& from, Scope& scope);
    void bindTableRef(TableRef& ref, Scope& scope);
    BoundSource* addTableSource(TableRef& ref, Scope& scope);
    void bindInsert(InsertStmt& insert);
    void bindModify(ModifyStmt& modify);
    const BoundSource* findModifyTarget(ModifyStmt& modify, Scope& scope);

    // Expressions (bind_expression.cpp)
    void bindExpr(ExprPtr& expr, const Scope* scope, Clause clause);
    void bindCondition(ExprPtr& expr, const Scope* scope, Clause clause);
    void bindColumn(Expr& expr, const Scope* scope, Clause clause);
    void bindArithmetic(ExprPtr& expr, const Scope* scope, Clause clause);
    void bindMultiplicative(Expr& expr);
    void bindCase(ExprPtr& expr, const Scope* scope, Clause clause);
    void bindCast(ExprPtr& expr, const Scope* scope, Clause clause);
    /// Binds a subquery that must give one column (scalar subquery, IN).
    void bindSingleColumn(SelectStmt& subquery, const Scope* scope);
    void requireValue(const Expr& expr) const;
    /// The type the operands meet in (comparison, BETWEEN, IN, CASE results, COALESCE).
    Type commonType(const std::vector<Expr*>& operands) const;
    /// Brings a compared or combined operand to `type`: literals are coerced, other
    /// expressions converted where SQLite holds the types differently.
    void toCommon(ExprPtr& expr, Type type);
    /// Brings a value assigned to a column of `type` to it, with the checks of a store.
    void assign(ExprPtr& expr, Type type);
    void wrapConversion(ExprPtr& expr, Type type);

    // Functions (bind_function.cpp)
    void bindFunction(ExprPtr& expr, const Scope* scope, Clause clause);
    void bindAggregate(Expr& expr, const Scope* scope, Clause clause);

    /// True when `expr` (subqueries included) reads a column of a query enclosing `scope`'s.
    bool readsOuterColumn(const Expr& expr, const Scope& scope) const;
    /// Records the literals of `expr` as part of the statement's shape (their text decided
    /// how the statement was bound).
    void keepInShape(const Expr& expr);

    const Catalog& catalog_;
    const SqlErrors& errors_;
    Statement* statement_ = nullptr;
    std::vector<std::unique_ptr<BoundSource>> sources_;
    SelectState* select_ = nullptr;
    int aggregateDepth_ = 0;
};

/// True for a literal or NULL: a value whose type is decided by what it meets.
bool isLiteralValue(const Expr& expr);

}  // namespace kvlnmov::db::sqlite::tsql
