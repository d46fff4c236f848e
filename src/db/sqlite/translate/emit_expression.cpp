#include "db/sqlite/translate/emitter.h"
#include "db/sqlite/translate/text_util.h"

namespace kvlnmov::db::sqlite::tsql {

namespace {

// Precedence of what an emitted fragment is, as SQLite binds it (higher binds tighter).
constexpr int kOr = 1;
constexpr int kAnd = 2;
constexpr int kNot = 3;
constexpr int kComparison = 4;
constexpr int kAdditive = 6;
constexpr int kMultiplicative = 7;
constexpr int kConcatenation = 8;
constexpr int kUnary = 9;
constexpr int kAtom = 10;

SqlText atom(const SqlText& sql, int precedence) {
    return precedence >= kAtom ? sql : "(" + sql + ")";
}

// Canonical date text of `value` moved by `modifier` ("+1.5 days"): a date alone at
// midnight, else with milliseconds.
SqlText shiftedDate(const SqlText& value, const SqlText& modifier) {
    SqlText moved = "strftime('%Y-%m-%d %H:%M:%f', " + value + ", " + modifier + ")";
    return "(CASE WHEN substr(" + moved + ", 12) = '00:00:00.000' THEN substr(" + moved +
           ", 1, 10) ELSE " + moved + " END)";
}

std::string dateFormat(int style) {
    switch (style) {
        case 103:
            return "%d/%m/%Y";
        case 104:
            return "%d.%m.%Y";
        case 105:
            return "%d-%m-%Y";
        case 101:
            return "%m/%d/%Y";
        case 112:
            return "%Y%m%d";
        case 23:
            return "%Y-%m-%d";
        case 108:
            return "%H:%M:%S";
        case 120:
            return "%Y-%m-%d %H:%M:%S";
        case 121:
            return "%Y-%m-%d %H:%M:%f";
        default:
            return {};
    }
}

}  // namespace

SqlText Emitter::operand(const Expr& node, int precedence) {
    Fragment fragment = expr(node);
    if (fragment.precedence < precedence) return "(" + fragment.sql + ")";
    return fragment.sql;
}

SqlText Emitter::collated(const Expr& node, int precedence, bool needsCollation) {
    // Text compares without regard to case, as the server's default collation does. Columns
    // carry that collation themselves; other text expressions get it here.
    if (needsCollation) return operand(node, kAtom) + " COLLATE NOCASE";
    return operand(node, precedence);
}

Emitter::Fragment Emitter::column(const Expr& node) {
    for (const BoundSource* source : exportedSources_) {
        if (source != node.source) continue;
        std::string columnSql =
            quoteIdentifier(source->emitQualifier) + "." + quoteIdentifier(node.columnName);
        std::string name;
        for (const auto& [exported, exportName] : exports_) {
            if (exported == columnSql) name = exportName;
        }
        if (name.empty()) {
            name = "c" + std::to_string(exports_.size() + 1);
            exports_.emplace_back(columnSql, name);
        }
        return {quoteIdentifier("kvl_source") + "." + quoteIdentifier(name), kAtom};
    }
    return {quoteIdentifier(node.source->emitQualifier) + "." + quoteIdentifier(node.columnName),
            kAtom};
}

void Emitter::checkSize(const SqlText& text) const {
    // A parameter is written as "?N": a few bytes each.
    if (text.plainText().size() + 8 * text.markers().size() > sizeLimit_) {
        throw errors_.expressionLimit();
    }
}

Emitter::Fragment Emitter::expr(const Expr& node) {
    Fragment fragment = build(node);
    checkSize(fragment.sql);
    return fragment;
}

Emitter::Fragment Emitter::build(const Expr& node) {
    switch (node.kind) {
        case ExprKind::Literal: {
            ParameterSource source;
            source.kind = ParameterSourceKind::Literal;
            source.literalOrdinal = node.literalOrdinal;
            source.literalKind = node.literalKind;
            source.negative = node.literalNegative;
            source.coercion = node.coercion;
            return {parameter(source), kAtom};
        }
        case ExprKind::Null:
            return {"NULL", kAtom};
        case ExprKind::Column:
            return column(node);
        case ExprKind::Identity: {
            ParameterSource source;
            source.kind = ParameterSourceKind::Identity;
            return {parameter(source), kAtom};
        }
        case ExprKind::Now: {
            ParameterSource source;
            source.kind = ParameterSourceKind::Now;
            return {parameter(source), kAtom};
        }
        case ExprKind::Negate: {
            SqlText value = operand(*node.args[0], kUnary);
            // "--" would start a comment.
            if (value.startsWith('-')) value = "(" + value + ")";
            return {"-" + value, kUnary};
        }
        case ExprKind::Arithmetic:
            return arithmetic(node);
        case ExprKind::Compare: {
            const Expr& left = *node.args[0];
            const Expr& right = *node.args[1];
            bool collate = isText(left.type.kind) && isText(right.type.kind) &&
                           left.kind != ExprKind::Column && right.kind != ExprKind::Column;
            return {collated(left, kAdditive, collate) + " " + node.op + " " +
                        operand(right, kAdditive),
                    kComparison};
        }
        case ExprKind::Between:
        case ExprKind::InList: {
            bool anyColumn = false;
            bool allText = true;
            for (const auto& arg : node.args) {
                anyColumn = anyColumn || arg->kind == ExprKind::Column;
                allText = allText && isText(arg->type.kind);
            }
            SqlText text = collated(*node.args[0], kAdditive, allText && !anyColumn);
            text += node.negated ? " NOT" : "";
            if (node.kind == ExprKind::Between) {
                text += " BETWEEN " + operand(*node.args[1], kAdditive) + " AND " +
                        operand(*node.args[2], kAdditive);
            } else {
                text += " IN (";
                for (std::size_t i = 1; i < node.args.size(); ++i) {
                    if (i > 1) text += ", ";
                    text += sql(*node.args[i]);
                }
                text += ")";
            }
            return {text, kComparison};
        }
        case ExprKind::InSubquery:
            return {operand(*node.args[0], kAdditive) + (node.negated ? " NOT IN (" : " IN (") +
                        select(*node.subquery) + ")",
                    kComparison};
        case ExprKind::Exists:
            return {"EXISTS (" + select(*node.subquery) + ")", kAtom};
        case ExprKind::Like: {
            SqlText text = operand(*node.args[0], kAdditive) +
                           (node.negated ? " NOT LIKE " : " LIKE ") +
                           operand(*node.args[1], kAdditive);
            if (node.args.size() > 2) text += " ESCAPE " + operand(*node.args[2], kAdditive);
            return {text, kComparison};
        }
        case ExprKind::IsNull:
            return {
                operand(*node.args[0], kAdditive) + (node.negated ? " IS NOT NULL" : " IS NULL"),
                kComparison};
        case ExprKind::And:
            return {operand(*node.args[0], kAnd) + " AND " + operand(*node.args[1], kAnd), kAnd};
        case ExprKind::Or:
            return {operand(*node.args[0], kOr) + " OR " + operand(*node.args[1], kOr), kOr};
        case ExprKind::Not:
            return {"NOT " + operand(*node.args[0], kComparison), kNot};
        case ExprKind::Function:
            return function(node);
        case ExprKind::Case: {
            SqlText text = "CASE";
            std::size_t first = node.caseHasOperand ? 1 : 0;
            if (node.caseHasOperand) text += " " + sql(*node.args[0]);
            std::size_t pairsEnd = node.args.size() - (node.caseHasElse ? 1 : 0);
            for (std::size_t i = first; i < pairsEnd; i += 2) {
                text += " WHEN " + sql(*node.args[i]) + " THEN " + sql(*node.args[i + 1]);
            }
            if (node.caseHasElse) text += " ELSE " + sql(*node.args.back());
            return {text + " END", kAtom};
        }
        case ExprKind::Cast:
            return conversion(expr(*node.args[0]), node.args[0]->type, node.type, node.convertStyle,
                              true);
        case ExprKind::Convert:
            return conversion(expr(*node.args[0]), node.args[0]->type, node.type, -1, false);
        case ExprKind::Subquery:
            return {"(" + select(*node.subquery) + ")", kAtom};
        case ExprKind::OutputRef:
            return {std::to_string(node.position), kAtom};
    }
    return {"NULL", kAtom};
}

Emitter::Fragment Emitter::arithmetic(const Expr& node) {
    const Expr& left = *node.args[0];
    const Expr& right = *node.args[1];
    switch (node.form) {
        case ArithmeticForm::Concatenate:
            return {operand(left, kConcatenation) + " || " + operand(right, kConcatenation + 1),
                    kConcatenation};
        case ArithmeticForm::MoneyTimesMoney: {
            // Ten-thousandths times ten-thousandths, divided once by 10000 with halves away
            // from zero, in integers. The left factor is split into whole units and a
            // remainder (same sign) so the product stays within 64 bits for large amounts:
            // a * b / 10000 = (a / 10000) * b + (a % 10000) * b / 10000.
            SqlText a = operand(left, kAtom);
            SqlText b = operand(right, kAtom);
            SqlText part = "(" + a + " % 10000) * " + b;
            return {"((" + a + " / 10000) * " + b + " + (" + part + " + CASE WHEN " + part +
                        " < 0 THEN -5000 ELSE 5000 END) / 10000)",
                    kAtom};
        }
        case ArithmeticForm::MoneyDivide: {
            // round(n / d) with halves away from zero, in integers: (2n ± d) / 2d.
            SqlText numerator = operand(left, kAtom);
            if (node.scaleDigits == 4) numerator = "(" + numerator + " * 10000)";
            if (node.scaleDigits == 8) numerator = "(" + numerator + " * 100000000)";
            SqlText divisor = operand(right, kAtom);
            return {"((2 * " + numerator + " + CASE WHEN (" + numerator + " < 0) = (" + divisor +
                        " < 0) THEN " + divisor + " ELSE -" + divisor + " END) / (2 * " + divisor +
                        "))",
                    kAtom};
        }
        case ArithmeticForm::DateAddDays: {
            SqlText days = operand(right, kAtom);
            SqlText modifier =
                "printf('%+.10f days', " + std::string(node.op == "-" ? "-" : "") + days + ")";
            return {shiftedDate(sql(left), modifier), kAtom};
        }
        case ArithmeticForm::Plain:
            break;
    }
    int precedence = node.op == "+" || node.op == "-" ? kAdditive : kMultiplicative;
    return {operand(left, precedence) + " " + node.op + " " + operand(right, precedence + 1),
            precedence};
}

Emitter::Fragment Emitter::function(const Expr& node) {
    const std::string& name = node.op;
    auto argument = [&](std::size_t i) { return sql(*node.args[i]); };
    if (name == "COUNT") {
        if (node.star) return {"COUNT(*)", kAtom};
        return {std::string("COUNT(") + (node.distinct ? "DISTINCT " : "") + argument(0) + ")",
                kAtom};
    }
    if (name == "SUM" || name == "MIN" || name == "MAX" || name == "AVG") {
        SqlText inner = (node.distinct ? "DISTINCT " : "") + argument(0);
        if (name == "AVG" && node.type.kind == TypeKind::Money) {
            // Exact: the sum divided by the count, halves away from zero.
            SqlText sum = "SUM(" + inner + ")";
            SqlText count = "COUNT(" + inner + ")";
            return {"((2 * " + sum + " + CASE WHEN " + sum + " < 0 THEN -" + count + " ELSE " +
                        count + " END) / (2 * " + count + "))",
                    kAtom};
        }
        if (name == "AVG" && isIntegral(node.type.kind)) {
            // Whole numbers average to a whole number, truncated as integer division does.
            return {"(SUM(" + inner + ") / COUNT(" + inner + "))", kAtom};
        }
        return {name + "(" + inner + ")", kAtom};
    }
    if (name == "ISNULL") return {"IFNULL(" + argument(0) + ", " + argument(1) + ")", kAtom};
    if (name == "COALESCE" || name == "NULLIF") {
        SqlText text = name + "(";
        for (std::size_t i = 0; i < node.args.size(); ++i) {
            if (i > 0) text += ", ";
            text += argument(i);
        }
        return {text + ")", kAtom};
    }
    if (name == "ABS") return {"abs(" + argument(0) + ")", kAtom};
    if (name == "UPPER") return {"upper(" + argument(0) + ")", kAtom};
    if (name == "LOWER") return {"lower(" + argument(0) + ")", kAtom};
    if (name == "LTRIM") return {"ltrim(" + argument(0) + ", ' ')", kAtom};
    if (name == "RTRIM") return {"rtrim(" + argument(0) + ", ' ')", kAtom};
    // The server's LEN does not count trailing blanks.
    if (name == "LEN") return {"length(rtrim(" + argument(0) + ", ' '))", kAtom};
    if (name == "LEFT") return {"substr(" + argument(0) + ", 1, " + argument(1) + ")", kAtom};
    if (name == "RIGHT") {
        SqlText text = argument(0);
        return {"substr(" + text + ", max(length(" + text + ") - " +
                    operand(*node.args[1], kMultiplicative) + " + 1, 1))",
                kAtom};
    }
    if (name == "SUBSTRING") {
        return {"substr(" + argument(0) + ", " + argument(1) + ", " + argument(2) + ")", kAtom};
    }
    // Dates are stored as canonical ISO text: the parts sit at fixed places.
    if (name == "YEAR") return {"CAST(substr(" + argument(0) + ", 1, 4) AS INTEGER)", kAtom};
    if (name == "MONTH") return {"CAST(substr(" + argument(0) + ", 6, 2) AS INTEGER)", kAtom};
    return {"CAST(substr(" + argument(0) + ", 9, 2) AS INTEGER)", kAtom};
}

Emitter::Fragment Emitter::conversion(const Fragment& value, Type from, Type to, int style,
                                      bool explicitCast) {
    const SqlText& text = value.sql;
    const SqlText wrapped = atom(text, value.precedence);
    TypeKind source = from.kind;
    if (source == TypeKind::Null) return value;
    switch (to.kind) {
        case TypeKind::Money:
            if (isIntegral(source)) return {"(" + wrapped + " * 10000)", kAtom};
            if (source == TypeKind::Float) {
                return {"CAST(ROUND(" + wrapped + " * 10000) AS INTEGER)", kAtom};
            }
            if (isText(source)) {
                return {"CAST(ROUND(CAST(" + text + " AS REAL) * 10000) AS INTEGER)", kAtom};
            }
            return value;
        case TypeKind::Float:
            if (source == TypeKind::Money) return {"(" + wrapped + " / 10000.0)", kAtom};
            if (isText(source) || (explicitCast && source != TypeKind::Float)) {
                return {"CAST(" + text + " AS REAL)", kAtom};
            }
            return value;
        case TypeKind::TinyInt:
        case TypeKind::SmallInt:
        case TypeKind::Int:
            if (source == TypeKind::Money) {
                // Money to a whole number rounds halves away from zero.
                return {"((" + wrapped + " + CASE WHEN " + wrapped +
                            " < 0 THEN -5000 ELSE 5000 END) / 10000)",
                        kAtom};
            }
            if (source == TypeKind::Float || isText(source)) {
                return {"CAST(" + text + " AS INTEGER)", kAtom};
            }
            return value;
        case TypeKind::Bit:
            if (source == TypeKind::Bit) return value;
            if (isText(source)) {
                return {"(CASE WHEN upper(" + text + ") = 'TRUE' THEN 1 WHEN upper(" + text +
                            ") = 'FALSE' THEN 0 ELSE CAST(" + text + " AS INTEGER) <> 0 END)",
                        kAtom};
            }
            return {"(" + wrapped + " <> 0)", kAtom};
        case TypeKind::VarChar:
        case TypeKind::Text: {
            Fragment result = value;
            if (source == TypeKind::Money) {
                result = {"printf('%.2f', " + wrapped + " / 10000.0)", kAtom};
            } else if (source == TypeKind::DateTime) {
                std::string format = dateFormat(style);
                if (!format.empty()) {
                    result = {"strftime('" + format + "', " + text + ")", kAtom};
                }
            } else if (!isText(source)) {
                result = {"CAST(" + text + " AS TEXT)", kAtom};
            }
            if (explicitCast && to.kind == TypeKind::VarChar) {
                result = {"substr(" + result.sql + ", 1, " + std::to_string(to.length) + ")",
                          kAtom};
            }
            return result;
        }
        default:
            return value;
    }
}

}  // namespace kvlnmov::db::sqlite::tsql
