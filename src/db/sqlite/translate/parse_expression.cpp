#include "db/sqlite/translate/parser.h"
#include "kvlnmov/frame/text.h"

namespace kvlnmov::db::sqlite::tsql {

namespace {

bool isComparison(const Token& token) {
    static const char* const kOperators[] = {"=", "<>", "!=", "<", ">", "<=", ">=", "!<", "!>"};
    for (const char* op : kOperators) {
        if (token.isSymbol(op)) return true;
    }
    return false;
}

std::string normalizedComparison(const std::string& op) {
    if (op == "!=") return "<>";
    if (op == "!<") return ">=";
    if (op == "!>") return "<=";
    return op;
}

}  // namespace

ExprPtr Parser::parseExpression() {
    Nesting nesting(*this);
    auto left = parseAnd();
    while (peek().isKeyword("OR")) {
        auto node = makeExpr(ExprKind::Or, &advance());
        node->args.push_back(std::move(left));
        node->args.push_back(parseAnd());
        left = measured(std::move(node));
    }
    return left;
}

ExprPtr Parser::parseAnd() {
    auto left = parseNot();
    while (peek().isKeyword("AND")) {
        auto node = makeExpr(ExprKind::And, &advance());
        node->args.push_back(std::move(left));
        node->args.push_back(parseNot());
        left = measured(std::move(node));
    }
    return left;
}

ExprPtr Parser::parseNot() {
    if (peek().isKeyword("NOT")) {
        Nesting nesting(*this);
        auto node = makeExpr(ExprKind::Not, &advance());
        node->args.push_back(parseNot());
        return measured(std::move(node));
    }
    return parsePredicate();
}

ExprPtr Parser::parsePredicate() {
    if (peek().isKeyword("EXISTS")) {
        auto node = makeExpr(ExprKind::Exists, &advance());
        expectSymbol("(");
        node->subquery = parseSelect();
        expectSymbol(")");
        return measured(std::move(node));
    }
    const Token* start = &peek();
    auto left = parseAdditive();
    if (isComparison(peek())) {
        auto node = makeExpr(ExprKind::Compare, start);
        node->op = normalizedComparison(advance().upper);
        node->args.push_back(std::move(left));
        node->args.push_back(parseAdditive());
        return measured(std::move(node));
    }
    bool negated = false;
    if (peek().isKeyword("NOT") &&
        (peek(1).isKeyword("BETWEEN") || peek(1).isKeyword("IN") || peek(1).isKeyword("LIKE"))) {
        advance();
        negated = true;
    }
    if (acceptKeyword("BETWEEN")) {
        auto node = makeExpr(ExprKind::Between, start);
        node->negated = negated;
        node->args.push_back(std::move(left));
        node->args.push_back(parseAdditive());
        expectKeyword("AND");
        node->args.push_back(parseAdditive());
        return measured(std::move(node));
    }
    if (acceptKeyword("IN")) {
        expectSymbol("(");
        ExprPtr node;
        if (peek().isKeyword("SELECT")) {
            node = makeExpr(ExprKind::InSubquery, start);
            node->args.push_back(std::move(left));
            node->subquery = parseSelect();
        } else {
            node = makeExpr(ExprKind::InList, start);
            node->args.push_back(std::move(left));
            do {
                node->args.push_back(parseExpression());
            } while (acceptSymbol(","));
        }
        expectSymbol(")");
        node->negated = negated;
        return measured(std::move(node));
    }
    if (acceptKeyword("LIKE")) {
        auto node = makeExpr(ExprKind::Like, start);
        node->negated = negated;
        node->args.push_back(std::move(left));
        node->args.push_back(parseAdditive());
        if (acceptKeyword("ESCAPE")) node->args.push_back(parseAdditive());
        return measured(std::move(node));
    }
    if (acceptKeyword("IS")) {
        auto node = makeExpr(ExprKind::IsNull, start);
        node->negated = acceptKeyword("NOT");
        expectKeyword("NULL");
        node->args.push_back(std::move(left));
        return measured(std::move(node));
    }
    return left;
}

ExprPtr Parser::parseAdditive() {
    const Token* start = &peek();
    auto left = parseMultiplicative();
    while (true) {
        const Token& op = peek();
        if (op.isSymbol("&") || op.isSymbol("|") || op.isSymbol("^")) {
            throw errors_.unsupported("The bitwise operator '" + op.text + "'");
        }
        if (!op.isSymbol("+") && !op.isSymbol("-")) return left;
        advance();
        auto node = makeExpr(ExprKind::Arithmetic, start);
        node->op = op.upper;
        node->args.push_back(std::move(left));
        node->args.push_back(parseMultiplicative());
        left = measured(std::move(node));
    }
}

ExprPtr Parser::parseMultiplicative() {
    const Token* start = &peek();
    auto left = parseUnary();
    while (peek().isSymbol("*") || peek().isSymbol("/") || peek().isSymbol("%")) {
        auto node = makeExpr(ExprKind::Arithmetic, start);
        node->op = advance().upper;
        node->args.push_back(std::move(left));
        node->args.push_back(parseUnary());
        left = measured(std::move(node));
    }
    return left;
}

ExprPtr Parser::parseUnary() {
    const Token& start = peek();
    if (acceptSymbol("+")) {
        Nesting nesting(*this);
        return parseUnary();
    }
    if (acceptSymbol("-")) {
        Nesting nesting(*this);
        auto operand = parseUnary();
        // A minus written before a number belongs to the literal: -100 is one value.
        if (operand->kind == ExprKind::Literal && operand->literalKind != LiteralKind::String) {
            operand->literalNegative = !operand->literalNegative;
            operand->token = &start;
            return operand;
        }
        auto node = makeExpr(ExprKind::Negate, &start);
        node->args.push_back(std::move(operand));
        return measured(std::move(node));
    }
    if (start.isSymbol("~")) throw errors_.unsupported("The bitwise operator '~'");
    return parsePrimary();
}

ExprPtr Parser::parsePrimary() {
    const Token& token = peek();
    switch (token.kind) {
        case TokenKind::Integer:
        case TokenKind::Decimal:
        case TokenKind::Float:
        case TokenKind::String: {
            auto literal = makeExpr(ExprKind::Literal, &advance());
            literal->literalKind = token.kind == TokenKind::Integer   ? LiteralKind::Integer
                                   : token.kind == TokenKind::Decimal ? LiteralKind::Decimal
                                   : token.kind == TokenKind::Float   ? LiteralKind::Float
                                                                      : LiteralKind::String;
            literal->literalText = token.text;
            literal->literalOrdinal = token.literalOrdinal;
            return literal;
        }
        case TokenKind::SystemVariable:
            if (token.upper == "@@IDENTITY") return makeExpr(ExprKind::Identity, &advance());
            throw errors_.undeclaredVariable(token.text);
        case TokenKind::Variable:
            throw errors_.undeclaredVariable(token.text);
        case TokenKind::Keyword:
            if (token.upper == "NULL") return makeExpr(ExprKind::Null, &advance());
            if (token.upper == "CASE") return parseCase();
            if (token.upper == "CAST") return parseCast();
            if (token.upper == "CONVERT") return parseConvert();
            if (token.upper == "CURRENT_TIMESTAMP") return makeExpr(ExprKind::Now, &advance());
            if ((token.upper == "COALESCE" || token.upper == "NULLIF" || token.upper == "LEFT" ||
                 token.upper == "RIGHT") &&
                peek(1).isSymbol("(")) {
                return parseFunctionCall();
            }
            fail();
        case TokenKind::Symbol:
            if (token.isSymbol("(")) {
                advance();
                if (peek().isKeyword("SELECT")) {
                    auto node = makeExpr(ExprKind::Subquery, &token);
                    node->subquery = parseSelect();
                    expectSymbol(")");
                    return measured(std::move(node));
                }
                auto inner = parseExpression();
                expectSymbol(")");
                return inner;
            }
            fail();
        case TokenKind::Identifier:
            if (peek(1).isSymbol("(") && !token.quoted) {
                return token.upper == "CAST" ? parseCast() : parseFunctionCall();
            }
            return parseColumnReference();
        default:
            fail();
    }
}

ExprPtr Parser::parseFunctionCall() {
    const Token& name = advance();
    expectSymbol("(");
    if (name.upper == "GETDATE") {
        expectSymbol(")");
        return makeExpr(ExprKind::Now, &name);
    }
    auto call = makeExpr(ExprKind::Function, &name);
    call->op = name.upper;
    call->name = name.text;
    if (peek().isSymbol("*")) {
        advance();
        call->star = true;
    } else if (!peek().isSymbol(")")) {
        if (acceptKeyword("DISTINCT")) {
            call->distinct = true;
        } else {
            acceptKeyword("ALL");
        }
        do {
            call->args.push_back(parseExpression());
        } while (acceptSymbol(","));
    }
    expectSymbol(")");
    return measured(std::move(call));
}

ExprPtr Parser::parseColumnReference() {
    auto column = makeExpr(ExprKind::Column, &peek());
    std::vector<std::string> parts{parseName()};
    while (peek().isSymbol(".")) {
        advance();
        parts.push_back(parseName());
    }
    column->name = parts.back();
    if (parts.size() >= 2) column->qualifier = parts[parts.size() - 2];
    return column;
}

ExprPtr Parser::parseCase() {
    auto node = makeExpr(ExprKind::Case, &advance());
    if (!peek().isKeyword("WHEN")) {
        node->caseHasOperand = true;
        node->args.push_back(parseExpression());
    }
    if (!peek().isKeyword("WHEN")) fail();
    while (acceptKeyword("WHEN")) {
        node->args.push_back(parseExpression());
        expectKeyword("THEN");
        node->args.push_back(parseExpression());
    }
    if (acceptKeyword("ELSE")) {
        node->caseHasElse = true;
        node->args.push_back(parseExpression());
    }
    expectKeyword("END");
    return measured(std::move(node));
}

ExprPtr Parser::parseCast() {
    auto node = makeExpr(ExprKind::Cast, &advance());
    expectSymbol("(");
    node->args.push_back(parseExpression());
    expectKeyword("AS");
    node->castType = parseTypeName();
    expectSymbol(")");
    return measured(std::move(node));
}

ExprPtr Parser::parseConvert() {
    auto node = makeExpr(ExprKind::Cast, &advance());
    node->isConvert = true;
    expectSymbol("(");
    node->castType = parseTypeName();
    expectSymbol(",");
    node->args.push_back(parseExpression());
    if (acceptSymbol(",")) node->convertStyle = parseInlineInteger();
    expectSymbol(")");
    return measured(std::move(node));
}

int Parser::parseInlineInteger() {
    const Token& token = peek();
    if (token.kind != TokenKind::Integer || token.text.size() > 9) fail();
    advance();
    keepInShape(token);
    return std::stoi(token.text);
}

Type Parser::parseTypeName() {
    const Token& token = peek();
    if (token.kind != TokenKind::Identifier) fail();
    advance();
    const std::string& name = token.upper;
    if (name == "VARCHAR" || name == "NVARCHAR" || name == "CHAR" || name == "NCHAR") {
        // Without a length, CAST and CONVERT give 30 characters.
        Type type{TypeKind::VarChar, 30};
        if (acceptSymbol("(")) {
            if (peek().kind == TokenKind::Identifier && peek().upper == "MAX") {
                advance();
                type = {TypeKind::Text};
            } else {
                type.length = parseInlineInteger();
                const bool national = name[0] == 'N';
                const int limit = national ? 4000 : 8000;
                if (type.length == 0) {
                    throw errors_.syntax("A length or precision of 0 is invalid.");
                }
                if (type.length > limit) {
                    throw errors_.syntax("The size (" + std::to_string(type.length) +
                                         ") given to the type '" + text::lowerAscii(name) +
                                         "' exceeds the maximum allowed for any data type (" +
                                         std::to_string(limit) + ").");
                }
            }
            expectSymbol(")");
        }
        return type;
    }
    if (name == "INT" || name == "INTEGER") return {TypeKind::Int};
    if (name == "SMALLINT") return {TypeKind::SmallInt};
    if (name == "TINYINT") return {TypeKind::TinyInt};
    if (name == "BIT") return {TypeKind::Bit};
    if (name == "MONEY" || name == "SMALLMONEY") return {TypeKind::Money};
    if (name == "FLOAT" || name == "REAL") return {TypeKind::Float};
    if (name == "DATETIME" || name == "SMALLDATETIME") return {TypeKind::DateTime};
    if (name == "TEXT" || name == "NTEXT") return {TypeKind::Text};
    static const char* const kKnown[] = {
        "BIGINT",           "DECIMAL", "NUMERIC",   "DATE",           "TIME",  "DATETIME2",
        "UNIQUEIDENTIFIER", "BINARY",  "VARBINARY", "DATETIMEOFFSET", "IMAGE", "XML"};
    for (const char* known : kKnown) {
        if (name == known) throw errors_.unsupported("The type " + token.text);
    }
    throw errors_.syntax("Type " + token.text + " is not a defined system type.");
}

}  // namespace kvlnmov::db::sqlite::tsql
