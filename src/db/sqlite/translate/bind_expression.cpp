#include <algorithm>

#include "db/sqlite/translate/binder.h"
#include "db/sqlite/translate/text_util.h"

namespace kvlnmov::db::sqlite::tsql {

namespace {

Type naturalLiteralType(const Expr& expr) {
    switch (expr.literalKind) {
        case LiteralKind::Integer:
            return {TypeKind::Int};
        case LiteralKind::Decimal:
        case LiteralKind::Float:
            return {TypeKind::Float};
        case LiteralKind::String:
            return {TypeKind::VarChar,
                    std::max(1, static_cast<int>(characterCount(expr.literalText)))};
    }
    return {TypeKind::Int};
}

const char* operatorName(const std::string& op) {
    if (op == "+") return "add";
    if (op == "-") return "subtract";
    if (op == "*") return "multiply";
    if (op == "/") return "divide";
    return "modulo";
}

std::string plainTypeName(Type type) {
    return type.kind == TypeKind::VarChar ? "varchar" : typeName(type);
}

}  // namespace

bool isLiteralValue(const Expr& expr) {
    return expr.kind == ExprKind::Literal || expr.kind == ExprKind::Null;
}

void Binder::requireValue(const Expr& expr) const {
    if (expr.type.kind != TypeKind::Predicate) return;
    if (expr.kind == ExprKind::Compare) {
        throw errors_.syntax("Incorrect syntax near '" + expr.op + "'.");
    }
    throw errors_.syntaxAt(*expr.token, nullptr);
}

void Binder::bindCondition(ExprPtr& expr, const Scope* scope, Clause clause) {
    bindExpr(expr, scope, clause);
    if (expr->type.kind != TypeKind::Predicate) {
        throw errors_.syntax(
            "An expression of non-boolean type specified in a context where a condition is "
            "expected, near '" +
            (expr->token != nullptr ? expr->token->text : std::string()) + "'.");
    }
}

void Binder::wrapConversion(ExprPtr& expr, Type type) {
    auto conversion = std::make_unique<Expr>();
    conversion->kind = ExprKind::Convert;
    conversion->token = expr->token;
    conversion->type = type;
    conversion->args.push_back(std::move(expr));
    expr = std::move(conversion);
}

Type Binder::commonType(const std::vector<Expr*>& operands) const {
    Type common{TypeKind::Null};
    bool anyExpression = false;
    for (const Expr* operand : operands) {
        if (isLiteralValue(*operand) || operand->type.kind == TypeKind::Null) continue;
        common = anyExpression ? dominant(common, operand->type) : operand->type;
        anyExpression = true;
    }
    for (const Expr* operand : operands) {
        if (operand->kind != ExprKind::Literal) continue;
        Type literal = operand->type;
        if (!anyExpression) {
            common = dominant(common, literal);
            continue;
        }
        // A literal sets the type only where it outranks the expression: a number met by a
        // text, a decimal met by an integer. Numbers met by money become money.
        if (precedence(literal.kind) > precedence(common.kind) &&
            !(common.kind == TypeKind::Money && isNumeric(literal.kind))) {
            common = literal;
        }
    }
    return common;
}

void Binder::toCommon(ExprPtr& expr, Type type) {
    if (type.kind == TypeKind::Null || type.kind == TypeKind::Predicate) return;
    Expr& value = *expr;
    if (value.kind == ExprKind::Null) {
        value.type = type;
        return;
    }
    if (value.kind == ExprKind::Literal) {
        bool text = value.literalKind == LiteralKind::String;
        switch (type.kind) {
            case TypeKind::DateTime:
                value.coercion = {CoercionKind::DateTime, type, false};
                value.type = type;
                return;
            case TypeKind::Money:
                value.coercion = {CoercionKind::Money, type, false};
                value.type = type;
                return;
            case TypeKind::Float:
                if (text) value.coercion = {CoercionKind::Float, type, false};
                value.type = type;
                return;
            case TypeKind::TinyInt:
            case TypeKind::SmallInt:
            case TypeKind::Int:
                if (text) {
                    value.coercion = {CoercionKind::Integer, type, false};
                    value.type = type;
                }
                return;
            case TypeKind::Bit:
                if (text) {
                    value.coercion = {CoercionKind::Bit, type, false};
                    value.type = type;
                }
                return;
            default:
                return;
        }
    }
    TypeKind from = value.type.kind;
    if (from == type.kind || from == TypeKind::Null) return;
    bool convert = false;
    switch (type.kind) {
        case TypeKind::Money:
            convert = isIntegral(from) || isText(from) || from == TypeKind::Float;
            break;
        case TypeKind::Float:
            convert = from == TypeKind::Money || isText(from);
            break;
        case TypeKind::Bit:
        case TypeKind::TinyInt:
        case TypeKind::SmallInt:
        case TypeKind::Int:
            convert = isText(from) || from == TypeKind::Money || from == TypeKind::Float;
            break;
        default:
            break;
    }
    if (convert) wrapConversion(expr, type);
}

void Binder::assign(ExprPtr& expr, Type type) {
    Expr& value = *expr;
    requireValue(value);
    if (value.kind == ExprKind::Null) {
        value.type = type;
        return;
    }
    if (value.kind == ExprKind::Literal) {
        CoercionKind kind = CoercionKind::Natural;
        switch (type.kind) {
            case TypeKind::DateTime:
                kind = CoercionKind::DateTime;
                break;
            case TypeKind::Money:
                kind = CoercionKind::Money;
                break;
            case TypeKind::Float:
                kind = CoercionKind::Float;
                break;
            case TypeKind::Bit:
                kind = CoercionKind::Bit;
                break;
            case TypeKind::TinyInt:
            case TypeKind::SmallInt:
            case TypeKind::Int:
                kind = CoercionKind::Integer;
                break;
            case TypeKind::VarChar:
            case TypeKind::Text:
                kind = CoercionKind::Text;
                break;
            default:
                break;
        }
        value.coercion = {kind, type, true};
        value.type = type;
        return;
    }
    if (value.kind == ExprKind::Case) {
        // Each result is assigned: a literal result gets the column's coercion.
        std::size_t first = value.caseHasOperand ? 1 : 0;
        std::size_t pairsEnd = value.args.size() - (value.caseHasElse ? 1 : 0);
        for (std::size_t i = first + 1; i < pairsEnd; i += 2) assign(value.args[i], type);
        if (value.caseHasElse) assign(value.args.back(), type);
        value.type = type;
        return;
    }
    TypeKind from = value.type.kind;
    if (from == type.kind || from == TypeKind::Null) return;
    bool convert = false;
    switch (type.kind) {
        case TypeKind::Money:
            convert = isIntegral(from) || isText(from) || from == TypeKind::Float;
            break;
        case TypeKind::Float:
            convert = from == TypeKind::Money || isText(from);
            break;
        case TypeKind::TinyInt:
        case TypeKind::SmallInt:
        case TypeKind::Int:
            convert = from == TypeKind::Money || from == TypeKind::Float || isText(from);
            break;
        case TypeKind::Bit:
            convert = true;
            break;
        case TypeKind::VarChar:
        case TypeKind::Text:
            convert = isNumeric(from);
            break;
        default:
            break;
    }
    if (convert) wrapConversion(expr, type);
}

void Binder::bindColumn(Expr& expr, const Scope* scope, Clause clause) {
    const BoundSource* found = nullptr;
    const OutputColumn* column = nullptr;
    if (!expr.qualifier.empty()) {
        for (const Scope* level = scope; level != nullptr && found == nullptr;
             level = level->parent) {
            for (const BoundSource* source : level->sources) {
                if (equalsIgnoreCase(source->exposedName, expr.qualifier)) {
                    found = source;
                    break;
                }
            }
        }
        if (found == nullptr) throw errors_.multipartNotBound(expr.qualifier, expr.name);
        for (const OutputColumn& candidate : found->columns) {
            if (equalsIgnoreCase(candidate.name, expr.name)) {
                if (column != nullptr) throw errors_.ambiguousColumn(expr.name);
                column = &candidate;
            }
        }
        if (column == nullptr) throw errors_.invalidColumn(expr.name);
    } else {
        for (const Scope* level = scope; level != nullptr && found == nullptr;
             level = level->parent) {
            for (const BoundSource* source : level->sources) {
                for (const OutputColumn& candidate : source->columns) {
                    if (!equalsIgnoreCase(candidate.name, expr.name)) continue;
                    if (found != nullptr) throw errors_.ambiguousColumn(expr.name);
                    found = source;
                    column = &candidate;
                }
            }
        }
        if (found == nullptr) {
            if (clause == Clause::Values) {
                throw errors_.syntax(
                    "The name \"" + expr.name +
                    "\" is not permitted in this context. Valid expressions are constants, "
                    "constant expressions, and (in some contexts) variables. Column names are "
                    "not permitted.");
            }
            throw errors_.invalidColumn(expr.name);
        }
    }
    expr.source = found;
    expr.columnName = column->name;
    expr.type = column->type;
}

void Binder::bindSingleColumn(SelectStmt& subquery, const Scope* scope) {
    bindSelect(subquery, scope, true);
    if (subquery.output.size() != 1) {
        throw errors_.syntax(
            "Only one expression can be specified in the select list when the subquery is not "
            "introduced with EXISTS.");
    }
}

void Binder::bindExpr(ExprPtr& expr, const Scope* scope, Clause clause) {
    Expr& node = *expr;
    if (aggregateDepth_ > 0 && (node.kind == ExprKind::Subquery || node.kind == ExprKind::Exists ||
                                node.kind == ExprKind::InSubquery)) {
        throw errors_.syntax(
            "Cannot perform an aggregate function on an expression containing an aggregate or "
            "a subquery.");
    }
    switch (node.kind) {
        case ExprKind::Literal:
            node.type = naturalLiteralType(node);
            node.coercion = {};
            return;
        case ExprKind::Null:
            node.type = {TypeKind::Null};
            return;
        case ExprKind::Column:
            bindColumn(node, scope, clause);
            return;
        case ExprKind::Identity:
            // @@IDENTITY is numeric(38,0), read as a Double.
            node.type = {TypeKind::Float};
            return;
        case ExprKind::Now:
            node.type = {TypeKind::DateTime};
            return;
        case ExprKind::Negate: {
            bindExpr(node.args[0], scope, clause);
            requireValue(*node.args[0]);
            Type type = node.args[0]->type;
            if (isText(type.kind) || type.kind == TypeKind::DateTime) {
                throw errors_.syntax("Operand data type " + plainTypeName(type) +
                                     " is invalid for minus operator.");
            }
            node.type = type.kind == TypeKind::Null ? Type{TypeKind::Int} : type;
            return;
        }
        case ExprKind::Arithmetic:
            bindArithmetic(expr, scope, clause);
            return;
        case ExprKind::Compare:
        case ExprKind::Between:
        case ExprKind::InList: {
            std::vector<Expr*> operands;
            for (auto& arg : node.args) {
                bindExpr(arg, scope, clause);
                requireValue(*arg);
                operands.push_back(arg.get());
            }
            Type common = commonType(operands);
            for (auto& arg : node.args) toCommon(arg, common);
            node.type = {TypeKind::Predicate};
            return;
        }
        case ExprKind::InSubquery: {
            bindExpr(node.args[0], scope, clause);
            requireValue(*node.args[0]);
            bindSingleColumn(*node.subquery, scope);
            ExprPtr& item = node.subquery->items[0].expr;
            Type common = commonType({node.args[0].get(), item.get()});
            toCommon(node.args[0], common);
            toCommon(item, common);
            node.subquery->output[0].type = item->type;
            node.type = {TypeKind::Predicate};
            return;
        }
        case ExprKind::Exists:
            bindSelect(*node.subquery, scope, true);
            node.type = {TypeKind::Predicate};
            return;
        case ExprKind::Like:
            for (auto& arg : node.args) {
                bindExpr(arg, scope, clause);
                requireValue(*arg);
                if (arg->kind == ExprKind::Literal) {
                    if (arg->literalKind != LiteralKind::String) {
                        arg->coercion = {CoercionKind::Text, {TypeKind::Text}, false};
                        arg->type = {TypeKind::Text};
                    }
                } else if (!isText(arg->type.kind) && arg->type.kind != TypeKind::Null) {
                    wrapConversion(arg, {TypeKind::Text});
                }
            }
            node.type = {TypeKind::Predicate};
            return;
        case ExprKind::IsNull:
            bindExpr(node.args[0], scope, clause);
            requireValue(*node.args[0]);
            node.type = {TypeKind::Predicate};
            return;
        case ExprKind::And:
        case ExprKind::Or:
        case ExprKind::Not:
            for (auto& arg : node.args) bindCondition(arg, scope, clause);
            node.type = {TypeKind::Predicate};
            return;
        case ExprKind::Function:
            bindFunction(expr, scope, clause);
            return;
        case ExprKind::Case:
            bindCase(expr, scope, clause);
            return;
        case ExprKind::Cast:
            bindCast(expr, scope, clause);
            return;
        case ExprKind::Subquery:
            bindSingleColumn(*node.subquery, scope);
            node.type = node.subquery->output[0].type;
            return;
        case ExprKind::Convert:
        case ExprKind::OutputRef:
            return;
    }
}

void Binder::bindArithmetic(ExprPtr& expr, const Scope* scope, Clause clause) {
    Expr& node = *expr;
    for (auto& arg : node.args) {
        bindExpr(arg, scope, clause);
        requireValue(*arg);
    }
    Type left = node.args[0]->type;
    Type right = node.args[1]->type;
    if (node.op == "+" || node.op == "-") {
        bool leftText = isText(left.kind);
        bool rightText = isText(right.kind);
        if (node.op == "+" && (leftText || rightText) &&
            (leftText || left.kind == TypeKind::Null) &&
            (rightText || right.kind == TypeKind::Null)) {
            node.form = ArithmeticForm::Concatenate;
            if (left.kind == TypeKind::Text || right.kind == TypeKind::Text) {
                node.type = {TypeKind::Text};
            } else {
                node.type = {TypeKind::VarChar, std::min(8000, left.length + right.length)};
            }
            return;
        }
        if (left.kind == TypeKind::DateTime || right.kind == TypeKind::DateTime) {
            if (right.kind == TypeKind::DateTime) {
                if (node.op == "-" || left.kind == TypeKind::DateTime || !isNumeric(left.kind)) {
                    throw errors_.unsupported("Arithmetic between these datetime operands");
                }
                std::swap(node.args[0], node.args[1]);
                right = left;
            }
            if (!isNumeric(right.kind) && right.kind != TypeKind::Null) {
                throw errors_.unsupported("Arithmetic between these datetime operands");
            }
            if (right.kind == TypeKind::Money) wrapConversion(node.args[1], {TypeKind::Float});
            node.form = ArithmeticForm::DateAddDays;
            node.type = {TypeKind::DateTime};
            return;
        }
        Type common = commonType({node.args[0].get(), node.args[1].get()});
        if (common.kind == TypeKind::Null) common = {TypeKind::Int};
        toCommon(node.args[0], common);
        toCommon(node.args[1], common);
        node.form = ArithmeticForm::Plain;
        node.type = common;
        return;
    }
    bindMultiplicative(node);
}

void Binder::bindMultiplicative(Expr& node) {
    ExprPtr& left = node.args[0];
    ExprPtr& right = node.args[1];
    if (isText(left->type.kind) || isText(right->type.kind)) {
        Type common = commonType({left.get(), right.get()});
        if (isText(common.kind)) {
            throw errors_.syntax("Operand data type varchar is invalid for " +
                                 std::string(operatorName(node.op)) + " operator.");
        }
        toCommon(left, common);
        toCommon(right, common);
        if (isText(left->type.kind)) left->type = common;
        if (isText(right->type.kind)) right->type = common;
    }
    for (const auto& operand : {left.get(), right.get()}) {
        if (operand->type.kind == TypeKind::DateTime) {
            throw errors_.syntax("Operand data type datetime is invalid for " +
                                 std::string(operatorName(node.op)) + " operator.");
        }
    }
    // A decimal written next to money is money: 0.21 * amount keeps four exact decimals.
    auto decimalToMoney = [](ExprPtr& literal, Type other) {
        if (literal->kind == ExprKind::Literal && other.kind == TypeKind::Money &&
            literal->literalKind != LiteralKind::Integer &&
            literal->literalKind != LiteralKind::String) {
            literal->coercion = {CoercionKind::Money, {TypeKind::Money}, false};
            literal->type = {TypeKind::Money};
        }
    };
    decimalToMoney(left, right->type);
    decimalToMoney(right, left->type);
    Type a = left->type;
    Type b = right->type;
    node.form = ArithmeticForm::Plain;
    if (a.kind == TypeKind::Null || b.kind == TypeKind::Null) {
        node.type = a.kind == TypeKind::Null ? b : a;
        if (node.type.kind == TypeKind::Null) node.type = {TypeKind::Int};
        return;
    }
    bool moneyLeft = a.kind == TypeKind::Money;
    bool moneyRight = b.kind == TypeKind::Money;
    if (a.kind == TypeKind::Float || b.kind == TypeKind::Float) {
        if (moneyLeft) wrapConversion(left, {TypeKind::Float});
        if (moneyRight) wrapConversion(right, {TypeKind::Float});
        node.type = {TypeKind::Float};
        return;
    }
    if (moneyLeft || moneyRight) {
        node.type = {TypeKind::Money};
        if (node.op == "%") throw errors_.unsupported("The modulo operator on money");
        if (node.op == "*") {
            if (moneyLeft && moneyRight) node.form = ArithmeticForm::MoneyTimesMoney;
            return;
        }
        node.form = ArithmeticForm::MoneyDivide;
        node.scaleDigits = moneyLeft && moneyRight ? 4 : moneyLeft ? 0 : 8;
        return;
    }
    Type common = dominant(a, b);
    node.type = common.kind == TypeKind::Bit ? Type{TypeKind::Int} : common;
}

void Binder::bindCase(ExprPtr& expr, const Scope* scope, Clause clause) {
    Expr& node = *expr;
    std::size_t first = node.caseHasOperand ? 1 : 0;
    std::size_t pairsEnd = node.args.size() - (node.caseHasElse ? 1 : 0);
    std::vector<Expr*> results;
    if (node.caseHasOperand) {
        bindExpr(node.args[0], scope, clause);
        requireValue(*node.args[0]);
        std::vector<Expr*> compared{node.args[0].get()};
        for (std::size_t i = first; i < pairsEnd; i += 2) {
            bindExpr(node.args[i], scope, clause);
            requireValue(*node.args[i]);
            compared.push_back(node.args[i].get());
        }
        Type common = commonType(compared);
        toCommon(node.args[0], common);
        for (std::size_t i = first; i < pairsEnd; i += 2) toCommon(node.args[i], common);
    } else {
        for (std::size_t i = first; i < pairsEnd; i += 2) {
            bindCondition(node.args[i], scope, clause);
        }
    }
    for (std::size_t i = first + 1; i < pairsEnd; i += 2) {
        bindExpr(node.args[i], scope, clause);
        requireValue(*node.args[i]);
        results.push_back(node.args[i].get());
    }
    if (node.caseHasElse) {
        bindExpr(node.args.back(), scope, clause);
        requireValue(*node.args.back());
        results.push_back(node.args.back().get());
    }
    Type type = commonType(results);
    for (std::size_t i = first + 1; i < pairsEnd; i += 2) toCommon(node.args[i], type);
    if (node.caseHasElse) toCommon(node.args.back(), type);
    node.type = type.kind == TypeKind::Null ? Type{TypeKind::Int} : type;
}

void Binder::bindCast(ExprPtr& expr, const Scope* scope, Clause clause) {
    Expr& node = *expr;
    bindExpr(node.args[0], scope, clause);
    requireValue(*node.args[0]);
    Type target = node.castType;
    Expr& value = *node.args[0];
    if (value.kind == ExprKind::Literal) {
        if (isText(target.kind)) {
            if (value.literalKind != LiteralKind::String) {
                value.coercion = {CoercionKind::Text, {TypeKind::Text}, false};
                value.type = {TypeKind::Text};
            }
        } else {
            // The literal is converted at bind time, checked as a stored value would be.
            assign(node.args[0], target);
        }
    } else if (value.kind == ExprKind::Null) {
        value.type = target;
    }
    node.type = target;
}

}  // namespace kvlnmov::db::sqlite::tsql
