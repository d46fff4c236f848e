#include "db/sqlite/translate/binder.h"

namespace kvlnmov::db::sqlite::tsql {

namespace {

bool isAggregateName(const std::string& name) {
    return name == "COUNT" || name == "SUM" || name == "MIN" || name == "MAX" || name == "AVG";
}

// Built-in functions of the server that this provider does not translate.
bool isKnownUnsupported(const std::string& name) {
    static const char* const kNames[] = {
        "ROUND",     "REPLACE",     "CHARINDEX",   "PATINDEX",      "STUFF",     "REVERSE",
        "REPLICATE", "SPACE",       "STR",         "CHAR",          "ASCII",     "CONCAT",
        "FORMAT",    "IIF",         "CHOOSE",      "DATEADD",       "DATEDIFF",  "DATEPART",
        "DATENAME",  "EOMONTH",     "CEILING",     "FLOOR",         "POWER",     "SQRT",
        "SIGN",      "NEWID",       "ISNUMERIC",   "ISDATE",        "COUNT_BIG", "STDEV",
        "VAR",       "GETUTCDATE",  "SYSDATETIME", "IDENT_CURRENT", "OBJECT_ID", "DB_NAME",
        "USER_NAME", "SUSER_SNAME", "HOST_NAME",   "TRY_CAST",      "TRY_PARSE", "PARSE",
    };
    for (const char* known : kNames) {
        if (name == known) return true;
    }
    return false;
}

// Whether `expr` reads a column of `sources`, and whether it reads any column at all
// (subqueries excluded).
void columnsRead(const Expr& expr, const std::vector<BoundSource*>& sources, bool& local,
                 bool& any) {
    if (expr.kind == ExprKind::Column) {
        any = true;
        for (const BoundSource* source : sources) local = local || source == expr.source;
    }
    for (const auto& arg : expr.args) columnsRead(*arg, sources, local, any);
}

}  // namespace

void Binder::bindAggregate(Expr& node, const Scope* scope, Clause clause) {
    switch (clause) {
        case Clause::Select:
        case Clause::Having:
        case Clause::OrderBy:
            break;
        case Clause::Where:
            throw errors_.syntax(
                "An aggregate may not appear in the WHERE clause unless it is in a subquery "
                "contained in a HAVING clause or a select list, and the column being aggregated "
                "is an outer reference.");
        case Clause::On:
            throw errors_.syntax(
                "An aggregate cannot appear in an ON clause unless it is in a subquery contained "
                "in a HAVING clause or select list, and the column being aggregated is an outer "
                "reference.");
        case Clause::GroupBy:
            throw errors_.syntax(
                "Cannot use an aggregate or a subquery in an expression used for the group by "
                "list of a GROUP BY clause.");
        case Clause::Set:
            throw errors_.syntax(
                "An aggregate may not appear in the set list of an UPDATE "
                "statement.");
        default:
            throw errors_.syntax("Aggregates are not allowed in this context.");
    }
    if (aggregateDepth_ > 0 || select_ == nullptr) {
        throw errors_.syntax(
            "Cannot perform an aggregate function on an expression containing an aggregate or a "
            "subquery.");
    }
    node.aggregate = true;
    select_->hasAggregate = true;
    const std::string& name = node.op;
    if (node.star) {
        if (name != "COUNT" || node.distinct) throw errors_.syntax("Incorrect syntax near '*'.");
        node.type = {TypeKind::Int};
        return;
    }
    if (node.args.size() != 1) {
        throw errors_.syntax("The " + name + " function requires 1 argument(s).");
    }
    ++aggregateDepth_;
    bindExpr(node.args[0], scope, clause);
    --aggregateDepth_;
    requireValue(*node.args[0]);
    bool local = false;
    bool any = false;
    columnsRead(*node.args[0], scope != nullptr ? scope->sources : std::vector<BoundSource*>{},
                local, any);
    if (any && !local) {
        // The server (and SQLite) make it an aggregate of the enclosing query, which this
        // provider does not bind as such.
        throw errors_.unsupported("An aggregate of outer references only");
    }
    Type type = node.args[0]->type;
    if (name == "COUNT") {
        node.type = {TypeKind::Int};
        return;
    }
    if (name == "SUM" || name == "AVG") {
        if (isText(type.kind) || type.kind == TypeKind::DateTime || type.kind == TypeKind::Bit) {
            throw errors_.syntax(
                "Operand data type " +
                (type.kind == TypeKind::VarChar ? std::string("varchar") : typeName(type)) +
                " is invalid for " + (name == "SUM" ? "sum" : "avg") + " operator.");
        }
        if (type.kind == TypeKind::Money || type.kind == TypeKind::Float) {
            node.type = type;
        } else {
            node.type = {TypeKind::Int};
        }
        return;
    }
    node.type = type.kind == TypeKind::Null ? Type{TypeKind::Int} : type;
}

void Binder::bindFunction(ExprPtr& expr, const Scope* scope, Clause clause) {
    Expr& node = *expr;
    const std::string& name = node.op;
    if (isAggregateName(name)) {
        bindAggregate(node, scope, clause);
        return;
    }
    bool known = name == "ISNULL" || name == "COALESCE" || name == "NULLIF" || name == "ABS" ||
                 name == "UPPER" || name == "LOWER" || name == "LTRIM" || name == "RTRIM" ||
                 name == "LEN" || name == "LEFT" || name == "RIGHT" || name == "SUBSTRING" ||
                 name == "YEAR" || name == "MONTH" || name == "DAY" || name == "SCOPE_IDENTITY";
    if (!known) {
        if (isKnownUnsupported(name)) throw errors_.unsupported("The function " + name);
        throw errors_.unknownFunction(node.name);
    }
    if (node.star || node.distinct) throw errors_.syntax("Incorrect syntax near '*'.");
    auto requireArguments = [&](std::size_t count) {
        if (node.args.size() != count) {
            throw errors_.syntax("The " + name + " function requires " + std::to_string(count) +
                                 " argument(s).");
        }
    };
    if (name == "SCOPE_IDENTITY") {
        requireArguments(0);
        node.kind = ExprKind::Identity;
        node.type = {TypeKind::Float};
        return;
    }
    for (auto& arg : node.args) {
        bindExpr(arg, scope, clause);
        requireValue(*arg);
    }
    auto toText = [&](ExprPtr& arg) {
        if (arg->kind == ExprKind::Literal && arg->literalKind != LiteralKind::String) {
            arg->coercion = {CoercionKind::Text, {TypeKind::Text}, false};
            arg->type = {TypeKind::VarChar, 30};
        } else if (!isText(arg->type.kind) && arg->type.kind != TypeKind::Null) {
            wrapConversion(arg, {TypeKind::VarChar, 30});
        }
    };
    if (name == "ISNULL") {
        requireArguments(2);
        // The replacement takes the type of the checked value: ISNULL(date, '') is a date.
        Type type =
            node.args[0]->type.kind == TypeKind::Null ? node.args[1]->type : node.args[0]->type;
        toCommon(node.args[0], type);
        toCommon(node.args[1], type);
        node.type = type.kind == TypeKind::Null ? Type{TypeKind::Int} : type;
    } else if (name == "COALESCE" || name == "NULLIF") {
        if (name == "NULLIF") requireArguments(2);
        if (node.args.size() < 2) {
            throw errors_.syntax("The COALESCE function requires at least 2 arguments.");
        }
        std::vector<Expr*> operands;
        for (auto& arg : node.args) operands.push_back(arg.get());
        Type type = commonType(operands);
        for (auto& arg : node.args) toCommon(arg, type);
        if (name == "NULLIF") type = node.args[0]->type;
        node.type = type.kind == TypeKind::Null ? Type{TypeKind::Int} : type;
    } else if (name == "ABS") {
        requireArguments(1);
        if (isText(node.args[0]->type.kind)) toCommon(node.args[0], {TypeKind::Float});
        Type type = node.args[0]->type;
        if (isText(type.kind)) type = {TypeKind::Float};
        node.type = type.kind == TypeKind::Null ? Type{TypeKind::Int} : type;
    } else if (name == "UPPER" || name == "LOWER" || name == "LTRIM" || name == "RTRIM") {
        requireArguments(1);
        toText(node.args[0]);
        node.type = node.args[0]->type;
        if (!isText(node.type.kind)) node.type = {TypeKind::VarChar, 30};
    } else if (name == "LEN") {
        requireArguments(1);
        toText(node.args[0]);
        node.type = {TypeKind::Int};
    } else if (name == "LEFT" || name == "RIGHT" || name == "SUBSTRING") {
        requireArguments(name == "SUBSTRING" ? 3 : 2);
        toText(node.args[0]);
        for (std::size_t i = 1; i < node.args.size(); ++i) {
            toCommon(node.args[i], {TypeKind::Int});
            if (!isIntegral(node.args[i]->type.kind) && node.args[i]->type.kind != TypeKind::Null) {
                throw errors_.syntax("Argument data type " + typeName(node.args[i]->type) +
                                     " is invalid for argument " + std::to_string(i + 1) + " of " +
                                     name + " function.");
            }
        }
        node.type = node.args[0]->type;
        if (!isText(node.type.kind)) node.type = {TypeKind::VarChar, 30};
    } else {
        // YEAR, MONTH, DAY
        requireArguments(1);
        toCommon(node.args[0], {TypeKind::DateTime});
        TypeKind argument = node.args[0]->type.kind;
        if (argument != TypeKind::DateTime && !isText(argument) && argument != TypeKind::Null) {
            throw errors_.syntax("Argument data type " + typeName(node.args[0]->type) +
                                 " is invalid for argument 1 of " + name + " function.");
        }
        node.type = {TypeKind::Int};
    }
}

}  // namespace kvlnmov::db::sqlite::tsql
