#include "db/sqlite/translate/binder.h"

#include <cstdint>
#include <functional>
#include <set>

#include "db/sqlite/translate/text_util.h"

namespace kvlnmov::db::sqlite::tsql {

namespace {

// A text that identifies an expression's meaning, to compare select items with GROUP BY
// items.
std::string expressionKey(const Expr& expr) {
    std::string key = std::to_string(static_cast<int>(expr.kind)) + ":" + expr.op;
    switch (expr.kind) {
        case ExprKind::Literal:
            key += std::to_string(static_cast<int>(expr.literalKind)) +
                   (expr.literalNegative ? "-" : "") + expr.literalText;
            break;
        case ExprKind::Column:
            key += std::to_string(reinterpret_cast<std::uintptr_t>(expr.source)) + "." +
                   upperAscii(expr.columnName);
            break;
        case ExprKind::Subquery:
        case ExprKind::Exists:
        case ExprKind::InSubquery:
            key += std::to_string(reinterpret_cast<std::uintptr_t>(expr.subquery.get()));
            break;
        default:
            break;
    }
    if (expr.distinct) key += "distinct";
    if (expr.star) key += "*";
    if (expr.negated) key += "not";
    key += "(";
    for (const auto& arg : expr.args) key += expressionKey(*arg) + ",";
    return key + ")";
}

void visitSelect(const SelectStmt& select, const std::function<void(const Expr&)>& visit);

// Calls `visit` for `expr` and every expression below it, subqueries included.
void visitExpr(const Expr& expr, const std::function<void(const Expr&)>& visit) {
    visit(expr);
    for (const auto& arg : expr.args) visitExpr(*arg, visit);
    if (expr.subquery) visitSelect(*expr.subquery, visit);
}

void visitTableRef(const TableRef& ref, const std::function<void(const Expr&)>& visit) {
    if (ref.derived) visitSelect(*ref.derived, visit);
    if (ref.left) visitTableRef(*ref.left, visit);
    if (ref.right) visitTableRef(*ref.right, visit);
    if (ref.on) visitExpr(*ref.on, visit);
}

void visitSelect(const SelectStmt& select, const std::function<void(const Expr&)>& visit) {
    if (select.top) visitExpr(*select.top, visit);
    for (const auto& item : select.items) {
        if (item.expr) visitExpr(*item.expr, visit);
    }
    for (const auto& ref : select.from) visitTableRef(*ref, visit);
    if (select.where) visitExpr(*select.where, visit);
    for (const auto& group : select.groupBy) visitExpr(*group, visit);
    if (select.having) visitExpr(*select.having, visit);
    for (const auto& item : select.orderBy) visitExpr(*item.expr, visit);
}

bool containsSource(const std::vector<BoundSource*>& sources, const BoundSource* source) {
    for (const BoundSource* candidate : sources) {
        if (candidate == source) return true;
    }
    return false;
}

// True when `expr` reads a column of one of `sources` (subqueries excluded).
bool readsColumnOf(const Expr& expr, const std::vector<BoundSource*>& sources) {
    if (expr.kind == ExprKind::Column && containsSource(sources, expr.source)) return true;
    for (const auto& arg : expr.args) {
        if (readsColumnOf(*arg, sources)) return true;
    }
    return false;
}

}  // namespace

bool Binder::readsOuterColumn(const Expr& expr, const Scope& scope) const {
    std::vector<BoundSource*> enclosing;
    for (const Scope* level = scope.parent; level != nullptr; level = level->parent) {
        enclosing.insert(enclosing.end(), level->sources.begin(), level->sources.end());
    }
    bool found = false;
    visitExpr(expr, [&](const Expr& node) {
        found = found || (node.kind == ExprKind::Column && containsSource(enclosing, node.source));
    });
    return found;
}

Binder::Binder(const Catalog& catalog, const SqlErrors& errors)
    : catalog_(catalog), errors_(errors) {}

Binder::~Binder() = default;

void Binder::keepInShape(const Expr& expr) {
    visitExpr(expr, [&](const Expr& node) {
        if (node.kind == ExprKind::Literal) {
            statement_->addShapeLiteral(node.literalOrdinal, ShapeLiteral::Match::Text,
                                        node.literalText);
        }
    });
}

void Binder::bind(Statement& statement) {
    statement_ = &statement;
    switch (statement.kind) {
        case Statement::Kind::Select:
            bindSelect(*statement.select, nullptr, false);
            break;
        case Statement::Kind::Insert:
            bindInsert(*statement.insert);
            break;
        case Statement::Kind::Update:
        case Statement::Kind::Delete:
            bindModify(*statement.modify);
            break;
    }
}

BoundSource* Binder::addTableSource(TableRef& ref, Scope& scope) {
    auto source = std::make_unique<BoundSource>();
    source->aliased = ref.hasAlias;
    source->exposedName = ref.hasAlias ? ref.alias : ref.tableName;
    if (ref.kind == TableRef::Kind::Table) {
        const schema::Table* table = catalog_.findTable(ref.tableName);
        if (table == nullptr) throw errors_.invalidObject(ref.tableName);
        source->table = table;
        source->emitQualifier = ref.hasAlias ? ref.alias : table->name;
        for (const schema::Column& column : table->columns) {
            source->columns.push_back({column.name, fromColumnType(column.type)});
        }
    } else {
        source->emitQualifier = ref.alias;
        for (std::size_t i = 0; i < ref.derived->output.size(); ++i) {
            const OutputColumn& column = ref.derived->output[i];
            if (column.name.empty()) {
                throw errors_.syntax("No column name was specified for column " +
                                     std::to_string(i + 1) + " of '" + ref.alias + "'.");
            }
            for (const OutputColumn& other : source->columns) {
                // SQLite would rename the second one: the server refuses the pair.
                if (equalsIgnoreCase(other.name, column.name)) {
                    throw errors_.syntax("The column '" + column.name +
                                         "' was specified multiple times for '" + ref.alias + "'.");
                }
            }
            source->columns.push_back(column);
        }
    }
    for (const BoundSource* other : scope.sources) {
        if (equalsIgnoreCase(other->exposedName, source->exposedName)) {
            throw errors_.syntax("The objects \"" + other->exposedName + "\" and \"" +
                                 source->exposedName +
                                 "\" in the FROM clause have the same exposed names. Use "
                                 "correlation names to distinguish them.");
        }
    }
    ref.source = source.get();
    scope.sources.push_back(source.get());
    sources_.push_back(std::move(source));
    return ref.source;
}

void Binder::bindTableRef(TableRef& ref, Scope& scope) {
    switch (ref.kind) {
        case TableRef::Kind::Table:
            addTableSource(ref, scope);
            break;
        case TableRef::Kind::Derived: {
            // A derived table sees the enclosing query's names, not its siblings'.
            bindSelect(*ref.derived, scope.parent, true);
            addTableSource(ref, scope);
            break;
        }
        case TableRef::Kind::Join:
            bindTableRef(*ref.left, scope);
            bindTableRef(*ref.right, scope);
            if (ref.on) bindCondition(ref.on, &scope, Clause::On);
            break;
    }
}

void Binder::bindFromList(std::vector<std::unique_ptr<TableRef>>& from, Scope& scope) {
    for (auto& ref : from) bindTableRef(*ref, scope);
}

void Binder::expandStars(SelectStmt& select, const Scope& scope) {
    std::vector<SelectItem> items;
    for (SelectItem& item : select.items) {
        if (!item.star) {
            items.push_back(std::move(item));
            continue;
        }
        if (scope.sources.empty()) throw errors_.syntax("Must specify table to select from.");
        bool matched = false;
        for (BoundSource* source : scope.sources) {
            if (!item.starQualifier.empty() &&
                !equalsIgnoreCase(source->exposedName, item.starQualifier)) {
                continue;
            }
            matched = true;
            for (const OutputColumn& column : source->columns) {
                SelectItem expanded;
                expanded.token = item.token;
                expanded.expr = std::make_unique<Expr>();
                expanded.expr->kind = ExprKind::Column;
                expanded.expr->token = item.token;
                expanded.expr->name = column.name;
                expanded.expr->columnName = column.name;
                expanded.expr->source = source;
                expanded.expr->type = column.type;
                items.push_back(std::move(expanded));
            }
        }
        if (!matched) throw errors_.multipartNotBound(item.starQualifier, "*");
    }
    select.items = std::move(items);
}

void Binder::bindSelect(SelectStmt& select, const Scope* outer, bool nested) {
    Scope scope;
    scope.parent = outer;
    bindFromList(select.from, scope);

    SelectState state;
    SelectState* enclosing = select_;
    int enclosingDepth = aggregateDepth_;
    select_ = &state;
    aggregateDepth_ = 0;

    if (select.top) {
        bindExpr(select.top, outer, Clause::Top);
        if (select.top->kind == ExprKind::Literal) {
            select.top->coercion = {CoercionKind::RowCount, {TypeKind::Int}, false};
            select.top->type = {TypeKind::Int};
        } else if (!isIntegral(select.top->type.kind)) {
            throw errors_.syntax(
                "The number of rows provided for a TOP or FETCH clauses row count parameter "
                "must be an integer.");
        }
    }
    if (nested && !select.orderBy.empty() && !select.top) {
        throw errors_.syntax(
            "The ORDER BY clause is invalid in views, inline functions, derived tables, "
            "subqueries, and common table expressions, unless TOP, OFFSET or FOR XML is also "
            "specified.");
    }

    expandStars(select, scope);
    for (SelectItem& item : select.items) {
        if (item.expr->kind != ExprKind::Column || item.expr->source == nullptr) {
            bindExpr(item.expr, &scope, Clause::Select);
            requireValue(*item.expr);
        }
        if (item.hasAlias) {
            item.outputName = item.alias;
        } else if (item.expr->kind == ExprKind::Column) {
            item.outputName = item.expr->columnName;
        }
    }
    if (select.where) bindCondition(select.where, &scope, Clause::Where);
    for (auto& group : select.groupBy) {
        bindExpr(group, &scope, Clause::GroupBy);
        requireValue(*group);
        if (!readsColumnOf(*group, scope.sources)) {
            throw errors_.syntax(
                "Each GROUP BY expression must contain at least one column that is not an outer "
                "reference.");
        }
    }
    if (select.having) bindCondition(select.having, &scope, Clause::Having);
    bindOrderBy(select, scope);
    // SQLite resolves a subquery's GROUP BY and ORDER BY against the subquery alone.
    for (const auto& group : select.groupBy) {
        if (readsOuterColumn(*group, scope)) {
            throw errors_.unsupported("An outer reference in the GROUP BY clause of a subquery");
        }
    }
    for (const OrderItem& item : select.orderBy) {
        if (readsOuterColumn(*item.expr, scope)) {
            throw errors_.unsupported("An outer reference in the ORDER BY clause of a subquery");
        }
    }

    if (!select.groupBy.empty() || state.hasAggregate) validateGrouping(select, scope);

    select.output.clear();
    for (const SelectItem& item : select.items) {
        select.output.push_back({item.outputName, item.expr->type});
    }
    select_ = enclosing;
    aggregateDepth_ = enclosingDepth;
}

void Binder::bindOrderBy(SelectStmt& select, const Scope& scope) {
    for (std::size_t position = 0; position < select.orderBy.size(); ++position) {
        OrderItem& item = select.orderBy[position];
        Expr& expr = *item.expr;
        if (expr.kind == ExprKind::Literal) {
            // Only a bare whole number names a select list item; any other literal would
            // order nothing (SQLite would sort by the bound value).
            throw errors_.syntax(
                "A constant expression was encountered in the ORDER BY list, "
                "position " +
                std::to_string(position + 1) + ".");
        }
        if (expr.kind == ExprKind::OutputRef) {
            if (expr.position < 1 || expr.position > static_cast<int>(select.items.size())) {
                throw errors_.syntax("The ORDER BY position number " +
                                     (expr.token != nullptr ? expr.token->text : "0") +
                                     " is out of range of the number of items in the select "
                                     "list.");
            }
            expr.type = select.items[expr.position - 1].expr->type;
            continue;
        }
        if (expr.kind == ExprKind::Column && expr.qualifier.empty()) {
            // A name in ORDER BY is first looked for among the select list's names.
            int found = 0;
            for (std::size_t i = 0; i < select.items.size(); ++i) {
                if (equalsIgnoreCase(select.items[i].outputName, expr.name)) {
                    if (found != 0) throw errors_.ambiguousColumn(expr.name);
                    found = static_cast<int>(i) + 1;
                }
            }
            if (found != 0) {
                expr.kind = ExprKind::OutputRef;
                expr.position = found;
                expr.type = select.items[found - 1].expr->type;
                continue;
            }
        }
        bindExpr(item.expr, &scope, Clause::OrderBy);
        requireValue(*item.expr);
        if (select.distinct) {
            bool listed = false;
            for (const SelectItem& selected : select.items) {
                if (expressionKey(*selected.expr) != expressionKey(*item.expr)) continue;
                // Listed because the texts of their literals are the same.
                listed = true;
                keepInShape(*selected.expr);
                keepInShape(*item.expr);
            }
            if (!listed) {
                throw errors_.syntax(
                    "ORDER BY items must appear in the select list if SELECT DISTINCT is "
                    "specified.");
            }
        }
    }
}

void Binder::validateGrouping(SelectStmt& select, const Scope& scope) {
    std::set<std::string> groupKeys;
    for (const auto& group : select.groupBy) {
        groupKeys.insert(expressionKey(*group));
        // Items match GROUP BY items by the texts of their literals too.
        keepInShape(*group);
    }
    std::function<void(const Expr&, const char*)> check = [&](const Expr& expr,
                                                              const char* clause) {
        if (expr.aggregate || expr.kind == ExprKind::OutputRef) return;
        if (groupKeys.count(expressionKey(expr)) != 0) {
            keepInShape(expr);
            return;
        }
        if (expr.kind == ExprKind::Column) {
            if (containsSource(scope.sources, expr.source)) {
                std::string name = expr.source->exposedName + "." + expr.columnName;
                if (std::string(clause) == "ORDER BY") {
                    throw errors_.syntax("Column \"" + name +
                                         "\" is invalid in the ORDER BY clause because it is "
                                         "not contained in either an aggregate function or "
                                         "the GROUP BY clause.");
                }
                throw errors_.syntax("Column '" + name + "' is invalid in the " + clause +
                                     " because it is not contained in either an aggregate "
                                     "function or the GROUP BY clause.");
            }
            return;
        }
        for (const auto& arg : expr.args) check(*arg, clause);
    };
    for (const SelectItem& item : select.items) check(*item.expr, "select list");
    if (select.having) check(*select.having, "HAVING clause");
    for (const OrderItem& item : select.orderBy) check(*item.expr, "ORDER BY");
}

void Binder::bindInsert(InsertStmt& insert) {
    const schema::Table* table = catalog_.findTable(insert.table);
    if (table == nullptr) throw errors_.invalidObject(insert.table);
    insert.target = table;
    if (insert.columns.empty()) {
        for (const schema::Column& column : table->columns) {
            if (!column.identity) insert.targetColumns.push_back(&column);
        }
    } else {
        for (const auto& [name, token] : insert.columns) {
            const schema::Column* column = table->find(name);
            if (column == nullptr) throw errors_.invalidColumn(name);
            for (const schema::Column* seen : insert.targetColumns) {
                if (seen == column) {
                    throw errors_.syntax(
                        "The column name '" + column->name +
                        "' is specified more than once in the SET clause or column list of an "
                        "INSERT. A column cannot be assigned more than one value in the same "
                        "clause.");
                }
            }
            if (column->identity) {
                throw errors_.syntax("Cannot insert explicit value for identity column in table '" +
                                     table->name + "' when IDENTITY_INSERT is set to OFF.");
            }
            insert.targetColumns.push_back(column);
        }
    }
    const std::size_t count = insert.targetColumns.size();
    for (auto& row : insert.rows) {
        if (row.size() > count) {
            throw errors_.syntax(
                "There are fewer columns in the INSERT statement than values specified in the "
                "VALUES clause. The number of values in the VALUES clause must match the number "
                "of columns specified in the INSERT statement.");
        }
        if (row.size() < count) {
            throw errors_.syntax(
                "There are more columns in the INSERT statement than values specified in the "
                "VALUES clause. The number of values in the VALUES clause must match the number "
                "of columns specified in the INSERT statement.");
        }
    }
    for (auto& row : insert.rows) {
        for (std::size_t i = 0; i < count; ++i) {
            bindExpr(row[i], nullptr, Clause::Values);
            assign(row[i], fromColumnType(insert.targetColumns[i]->type));
        }
    }
    if (insert.select) {
        bindSelect(*insert.select, nullptr, false);
        std::size_t items = insert.select->items.size();
        if (items != count) {
            throw errors_.syntax(std::string("The select list for the INSERT statement contains ") +
                                 (items < count ? "fewer" : "more") +
                                 " items than the insert list. The number of SELECT values "
                                 "must match the number of INSERT columns.");
        }
        for (std::size_t i = 0; i < count; ++i) {
            assign(insert.select->items[i].expr, fromColumnType(insert.targetColumns[i]->type));
            insert.select->output[i].type = insert.select->items[i].expr->type;
        }
    }
}

const BoundSource* Binder::findModifyTarget(ModifyStmt& modify, Scope& scope) {
    // The target names a source by its alias or exposed name, else by its table's name.
    for (BoundSource* source : scope.sources) {
        if (equalsIgnoreCase(source->exposedName, modify.target)) {
            if (source->table == nullptr) {
                throw errors_.syntax("The target '" + modify.target +
                                     "' of the statement is not a table.");
            }
            return source;
        }
    }
    const BoundSource* found = nullptr;
    for (BoundSource* source : scope.sources) {
        if (source->table != nullptr && equalsIgnoreCase(source->table->name, modify.target)) {
            if (found != nullptr) {
                throw errors_.syntax("The table '" + modify.target + "' is ambiguous.");
            }
            found = source;
        }
    }
    if (found != nullptr) return found;
    // Not in the FROM list: the target joins the list as one more source.
    modify.implicitTarget = std::make_unique<TableRef>();
    modify.implicitTarget->kind = TableRef::Kind::Table;
    modify.implicitTarget->token = modify.targetToken;
    modify.implicitTarget->tableName = modify.target;
    return addTableSource(*modify.implicitTarget, scope);
}

void Binder::bindModify(ModifyStmt& modify) {
    Scope scope;
    if (modify.hasFrom) {
        bindFromList(modify.from, scope);
        modify.targetSource = findModifyTarget(modify, scope);
        modify.form = ModifyForm::RowidIn;
    } else {
        TableRef ref;
        ref.kind = TableRef::Kind::Table;
        ref.tableName = modify.target;
        modify.targetSource = addTableSource(ref, scope);
        modify.form = ModifyForm::Plain;
    }
    modify.table = modify.targetSource->table;

    std::vector<const schema::Column*> assigned;
    for (Assignment& assignment : modify.assignments) {
        if (!assignment.qualifier.empty() &&
            !equalsIgnoreCase(assignment.qualifier, modify.targetSource->exposedName) &&
            !equalsIgnoreCase(assignment.qualifier, modify.table->name)) {
            throw errors_.multipartNotBound(assignment.qualifier, assignment.column);
        }
        const schema::Column* column = modify.table->find(assignment.column);
        if (column == nullptr) throw errors_.invalidColumn(assignment.column);
        if (column->identity) {
            throw errors_.syntax("Cannot update identity column '" + column->name + "'.");
        }
        for (const schema::Column* seen : assigned) {
            if (seen == column) {
                throw errors_.syntax(
                    "The column name '" + column->name +
                    "' is specified more than once in the SET clause or column list of an "
                    "UPDATE. A column cannot be assigned more than one value in the same "
                    "clause.");
            }
        }
        assigned.push_back(column);
        assignment.target = column;
        bindExpr(assignment.value, &scope, Clause::Set);
        assign(assignment.value, fromColumnType(column->type));
    }
    if (modify.where) bindCondition(modify.where, &scope, Clause::Where);

    if (modify.form == ModifyForm::RowidIn) {
        // SET values that read other joined tables need the joined row, not only the
        // target's rowid.
        for (const Assignment& assignment : modify.assignments) {
            visitExpr(*assignment.value, [&](const Expr& expr) {
                if (expr.kind == ExprKind::Column && expr.source != modify.targetSource &&
                    containsSource(scope.sources, expr.source)) {
                    modify.form = ModifyForm::FromSubquery;
                }
            });
        }
    }
}

}  // namespace kvlnmov::db::sqlite::tsql
