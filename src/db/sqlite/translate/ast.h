#pragma once

// The syntax tree of one T-SQL statement. The parser fills the written parts; the binder
// fills the bound parts (types, resolved names, literal coercions, conversions it inserts)
// which the emitter then writes out as SQLite text.

#include <memory>
#include <string>
#include <vector>

#include "db/sqlite/translate/literal_coercion.h"
#include "db/sqlite/translate/sql_type.h"
#include "db/sqlite/translate/token.h"
#include "kvlnmov/schema/schema.h"

namespace kvlnmov::db::sqlite::tsql {

struct SelectStmt;

enum class ExprKind {
    Literal,     ///< number or string, lifted to a parameter
    Null,        ///< NULL
    Column,      ///< [qualifier.]name
    Identity,    ///< @@IDENTITY
    Now,         ///< GETDATE()
    Negate,      ///< unary minus
    Arithmetic,  ///< + - * / %   (op)
    Compare,     ///< = <> != < > <= >=   (op)
    And,
    Or,
    Not,
    Between,     ///< args: value, low, high
    InList,      ///< args: value, items...
    InSubquery,  ///< args: value; subquery
    Exists,      ///< subquery
    Like,        ///< args: value, pattern [, escape]
    IsNull,      ///< args: value
    Function,    ///< built-in function `name` (upper case)
    Case,        ///< args: [operand] (when, then)... [else]
    Cast,        ///< CAST / CONVERT to `castType`; args: value [, style]
    Subquery,    ///< scalar subquery
    Convert,     ///< a conversion the binder inserted: args[0] to `type`
    OutputRef,   ///< ORDER BY reference to a select list item (`position`)
};

/// How an arithmetic node is written out, decided by the binder from the operand types.
enum class ArithmeticForm {
    Plain,            ///< a op b
    Concatenate,      ///< a || b
    MoneyTimesMoney,  ///< round(a * b / 10000)
    MoneyDivide,      ///< round(a * scale / b): money / number, number / money, money / money
    DateAddDays,      ///< datetime +/- days
};

struct BoundSource;

struct Expr {
    ExprKind kind = ExprKind::Null;
    const Token* token = nullptr;  ///< where the expression starts, for messages
    std::string op;                ///< operator symbol (upper case), function name
    std::vector<std::unique_ptr<Expr>> args;
    std::unique_ptr<SelectStmt> subquery;
    bool negated = false;   ///< NOT BETWEEN, NOT IN, NOT LIKE, IS NOT NULL
    bool distinct = false;  ///< COUNT(DISTINCT x)
    bool star = false;      ///< COUNT(*)
    /// Nodes on the longest path from this node down, subqueries included (at least 1).
    int height = 1;

    // Literal
    LiteralKind literalKind = LiteralKind::Integer;
    std::string literalText;
    int literalOrdinal = -1;
    bool literalNegative = false;

    // Column: as written
    std::string qualifier;
    std::string name;

    // Case
    bool caseHasOperand = false;
    bool caseHasElse = false;

    // Cast / Convert
    Type castType;
    bool isConvert = false;
    int convertStyle = -1;

    // OutputRef
    int position = 0;

    // Bound
    Type type;
    Coercion coercion;                    ///< Literal
    const BoundSource* source = nullptr;  ///< Column
    std::string columnName;               ///< Column: the catalog's name
    ArithmeticForm form = ArithmeticForm::Plain;
    /// MoneyDivide: the numerator is scaled by 10^scaleDigits before dividing.
    int scaleDigits = 0;
    bool aggregate = false;  ///< Function: COUNT, SUM, MIN, MAX, AVG
};

using ExprPtr = std::unique_ptr<Expr>;

/// A column a source offers to its statement.
struct OutputColumn {
    std::string name;
    Type type;
};

/// A table or derived table in a FROM clause, as the binder resolved it.
struct BoundSource {
    std::string exposedName;  ///< the alias, or the table name as written
    bool aliased = false;
    const schema::Table* table = nullptr;  ///< nullptr for a derived table
    std::vector<OutputColumn> columns;
    std::string emitQualifier;  ///< how SQLite text qualifies its columns
};

struct SelectItem {
    ExprPtr expr;
    std::string alias;
    bool hasAlias = false;
    bool star = false;  ///< * or qualifier.*
    std::string starQualifier;
    const Token* token = nullptr;
    // Bound
    std::string outputName;
};

enum class JoinKind { Inner, Left, Right, Full, Cross };

struct TableRef {
    enum class Kind { Table, Derived, Join } kind = Kind::Table;
    const Token* token = nullptr;
    // Table
    std::string tableName;
    // Table and Derived
    std::string alias;
    bool hasAlias = false;
    std::unique_ptr<SelectStmt> derived;
    // Join
    JoinKind joinKind = JoinKind::Inner;
    std::unique_ptr<TableRef> left;
    std::unique_ptr<TableRef> right;
    ExprPtr on;
    /// As Expr::height, for the tree of joins and derived tables.
    int height = 1;
    // Bound
    BoundSource* source = nullptr;
};

struct OrderItem {
    ExprPtr expr;
    bool descending = false;
};

struct SelectStmt {
    const Token* token = nullptr;
    bool distinct = false;
    ExprPtr top;
    std::vector<SelectItem> items;
    std::vector<std::unique_ptr<TableRef>> from;  ///< comma-separated sources
    ExprPtr where;
    std::vector<ExprPtr> groupBy;
    ExprPtr having;
    std::vector<OrderItem> orderBy;
    /// As Expr::height, for everything the SELECT holds.
    int height = 1;
    // Bound
    std::vector<OutputColumn> output;
};

struct InsertStmt {
    const Token* tableToken = nullptr;
    std::string table;
    std::vector<std::pair<std::string, const Token*>> columns;
    std::vector<std::vector<ExprPtr>> rows;
    std::unique_ptr<SelectStmt> select;
    // Bound
    const schema::Table* target = nullptr;
    std::vector<const schema::Column*> targetColumns;
};

struct Assignment {
    const Token* token = nullptr;
    std::string qualifier;
    std::string column;
    ExprPtr value;
    // Bound
    const schema::Column* target = nullptr;
};

/// How an UPDATE or DELETE with a FROM clause is written for SQLite.
enum class ModifyForm {
    Plain,         ///< UPDATE t SET ... WHERE ... / DELETE FROM t WHERE ...
    RowidIn,       ///< ... WHERE rowid IN (SELECT target.rowid FROM <joins> WHERE ...)
    FromSubquery,  ///< UPDATE t SET c = src.x FROM (SELECT target.rowid, ... ) AS src ...
};

/// UPDATE and DELETE share their shape: a target, an optional FROM list, a WHERE.
struct ModifyStmt {
    bool isDelete = false;
    const Token* targetToken = nullptr;
    std::string target;
    std::vector<Assignment> assignments;
    bool hasFrom = false;
    std::vector<std::unique_ptr<TableRef>> from;
    ExprPtr where;
    // Bound
    const schema::Table* table = nullptr;
    const BoundSource* targetSource = nullptr;
    /// The target is not in the FROM list: it is joined to it as an extra source.
    std::unique_ptr<TableRef> implicitTarget;
    ModifyForm form = ModifyForm::Plain;
};

/// A literal whose value decides the statement's meaning rather than being a value bound to
/// it: a cached translation serves a statement of the same shape only when it matches.
struct ShapeLiteral {
    enum class Match {
        Text,    ///< the same text (an ORDER BY position, a type length, an alias)
        Length,  ///< the same number of characters (a text whose length types a result)
    };
    int ordinal = -1;
    Match match = Match::Text;
    std::string text;  ///< Text: the literal's text; Length: its number of characters
    bool operator==(const ShapeLiteral&) const = default;
};

struct Statement {
    enum class Kind { Select, Insert, Update, Delete } kind = Kind::Select;
    std::unique_ptr<SelectStmt> select;
    std::unique_ptr<InsertStmt> insert;
    std::unique_ptr<ModifyStmt> modify;
    /// Literals that are part of the statement's shape: kept in the text (ORDER BY positions,
    /// type lengths, styles), naming a result (aliases), matched by their text (GROUP BY
    /// items), or typing a result by their length. Recorded by the parser and the binder.
    std::vector<ShapeLiteral> shapeLiterals;
    void addShapeLiteral(int ordinal, ShapeLiteral::Match match, std::string text) {
        ShapeLiteral literal{ordinal, match, std::move(text)};
        for (const ShapeLiteral& known : shapeLiterals) {
            if (known == literal) return;
        }
        shapeLiterals.push_back(std::move(literal));
    }
};

}  // namespace kvlnmov::db::sqlite::tsql
