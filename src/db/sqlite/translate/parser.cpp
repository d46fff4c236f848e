#include "db/sqlite/translate/parser.h"

#include <algorithm>

namespace kvlnmov::db::sqlite::tsql {

namespace {

// The parser's own recursion (parentheses, subqueries, NOT NOT ..., - - ...) and the height
// of the trees it builds are bounded: the binder and the emitter walk the trees recursively,
// and SQLite refuses deeper statements anyway.
constexpr int kMaxNesting = 128;
constexpr int kMaxHeight = 256;

}  // namespace

Parser::Nesting::Nesting(Parser& parser) : parser_(parser) {
    if (++parser_.depth_ > kMaxNesting) {
        --parser_.depth_;
        throw parser_.errors_.nestedTooDeeply();
    }
}

ExprPtr Parser::measured(ExprPtr node) const {
    int height = 0;
    for (const auto& arg : node->args) height = std::max(height, arg->height);
    if (node->subquery) height = std::max(height, node->subquery->height);
    node->height = height + 1;
    if (node->height > kMaxHeight) throw errors_.nestedTooDeeply();
    return node;
}

void Parser::measure(TableRef& ref) const {
    int height = 0;
    if (ref.derived) height = std::max(height, ref.derived->height);
    if (ref.left) height = std::max(height, ref.left->height);
    if (ref.right) height = std::max(height, ref.right->height);
    if (ref.on) height = std::max(height, ref.on->height);
    ref.height = height + 1;
    if (ref.height > kMaxHeight) throw errors_.nestedTooDeeply();
}

void Parser::measure(SelectStmt& select) const {
    int height = 0;
    auto add = [&](const ExprPtr& expr) {
        if (expr) height = std::max(height, expr->height);
    };
    add(select.top);
    for (const SelectItem& item : select.items) add(item.expr);
    for (const auto& ref : select.from) height = std::max(height, ref->height);
    add(select.where);
    for (const ExprPtr& group : select.groupBy) add(group);
    add(select.having);
    for (const OrderItem& item : select.orderBy) add(item.expr);
    select.height = height + 1;
    if (select.height > kMaxHeight) throw errors_.nestedTooDeeply();
}

void Parser::keepInShape(const Token& literal) {
    statement_->addShapeLiteral(literal.literalOrdinal, ShapeLiteral::Match::Text, literal.text);
}

Parser::Parser(const std::vector<Token>& tokens, const SqlErrors& errors)
    : tokens_(tokens), errors_(errors) {}

const Token& Parser::peek(std::size_t ahead) const {
    std::size_t index = pos_ + ahead;
    return index < tokens_.size() ? tokens_[index] : tokens_.back();
}

const Token& Parser::advance() {
    const Token& token = peek();
    if (pos_ + 1 < tokens_.size()) ++pos_;
    return token;
}

bool Parser::acceptKeyword(const char* word) {
    if (!peek().isKeyword(word)) return false;
    advance();
    return true;
}

void Parser::expectKeyword(const char* word) {
    if (!acceptKeyword(word)) fail();
}

bool Parser::acceptSymbol(const char* symbol) {
    if (!peek().isSymbol(symbol)) return false;
    advance();
    return true;
}

void Parser::expectSymbol(const char* symbol) {
    if (!acceptSymbol(symbol)) fail();
}

std::string Parser::parseName() {
    const Token& token = peek();
    if (token.kind == TokenKind::Variable || token.kind == TokenKind::SystemVariable) {
        throw errors_.undeclaredVariable(token.text);
    }
    if (token.kind != TokenKind::Identifier) fail();
    advance();
    return token.text;
}

void Parser::fail() const {
    const Token* previous = pos_ > 0 ? &tokens_[pos_ - 1] : nullptr;
    throw errors_.syntaxAt(peek(), previous);
}

ExprPtr Parser::makeExpr(ExprKind kind, const Token* token) const {
    auto expr = std::make_unique<Expr>();
    expr->kind = kind;
    expr->token = token;
    return expr;
}

Statement Parser::parseStatement() {
    Statement statement;
    statement_ = &statement;
    const Token& first = peek();
    if (first.isKeyword("SELECT")) {
        statement.kind = Statement::Kind::Select;
        statement.select = parseSelect();
    } else if (first.isKeyword("INSERT")) {
        statement.kind = Statement::Kind::Insert;
        statement.insert = parseInsert();
    } else if (first.isKeyword("UPDATE")) {
        statement.kind = Statement::Kind::Update;
        statement.modify = parseUpdate();
    } else if (first.isKeyword("DELETE")) {
        statement.kind = Statement::Kind::Delete;
        statement.modify = parseDelete();
    } else {
        fail();
    }
    acceptSymbol(";");
    // One statement per call: whatever follows is refused before anything runs.
    if (peek().kind != TokenKind::End) fail();
    statement_ = nullptr;
    return statement;
}

std::unique_ptr<SelectStmt> Parser::parseSelect() {
    Nesting nesting(*this);
    auto select = std::make_unique<SelectStmt>();
    select->token = &peek();
    expectKeyword("SELECT");
    if (acceptKeyword("DISTINCT")) {
        select->distinct = true;
    } else {
        acceptKeyword("ALL");
    }
    if (acceptKeyword("TOP")) {
        if (acceptSymbol("(")) {
            select->top = parseExpression();
            expectSymbol(")");
        } else if (peek().isLiteral()) {
            select->top = parsePrimary();
        } else {
            fail();
        }
        if (peek().isKeyword("PERCENT")) throw errors_.unsupported("TOP ... PERCENT");
    }
    do {
        parseSelectItem(*select);
    } while (acceptSymbol(","));
    if (acceptKeyword("FROM")) select->from = parseFromList();
    if (acceptKeyword("WHERE")) select->where = parseExpression();
    if (acceptKeyword("GROUP")) {
        expectKeyword("BY");
        do {
            select->groupBy.push_back(parseExpression());
        } while (acceptSymbol(","));
    }
    if (acceptKeyword("HAVING")) select->having = parseExpression();
    if (acceptKeyword("ORDER")) parseOrderBy(*select);
    if (peek().isKeyword("UNION") || peek().isKeyword("EXCEPT") || peek().isKeyword("INTERSECT")) {
        throw errors_.unsupported(peek().upper);
    }
    measure(*select);
    return select;
}

void Parser::parseSelectItem(SelectStmt& select) {
    SelectItem item;
    item.token = &peek();
    if (peek().isSymbol("*")) {
        advance();
        item.star = true;
    } else if (peek().kind == TokenKind::Identifier && peek(1).isSymbol(".") &&
               peek(2).isSymbol("*")) {
        item.star = true;
        item.starQualifier = peek().text;
        pos_ += 3;
    } else if (peek().kind == TokenKind::Identifier && peek(1).isSymbol("=")) {
        // alias = expression
        item.alias = peek().text;
        item.hasAlias = true;
        pos_ += 2;
        item.expr = parseExpression();
    } else {
        item.expr = parseExpression();
        bool aliased = acceptKeyword("AS");
        if (aliased && peek().kind != TokenKind::Identifier && peek().kind != TokenKind::String) {
            fail();
        }
        if (peek().kind == TokenKind::Identifier || peek().kind == TokenKind::String) {
            const Token& alias = advance();
            if (alias.kind == TokenKind::String) {
                // SQLite ends a name at a NUL byte: such a name cannot be written.
                if (alias.text.find('\0') != std::string::npos)
                    throw errors_.syntaxAt(alias, nullptr);
                // 'name' names the column: its text is part of the statement, not a value.
                keepInShape(alias);
            }
            item.alias = alias.text;
            item.hasAlias = true;
        }
    }
    select.items.push_back(std::move(item));
}

void Parser::parseOrderBy(SelectStmt& select) {
    expectKeyword("BY");
    do {
        OrderItem item;
        const Token& start = peek();
        item.expr = parseExpression();
        // A bare whole number names a select list item by its position.
        if (item.expr->kind == ExprKind::Literal &&
            item.expr->literalKind == LiteralKind::Integer && !item.expr->literalNegative &&
            &peek() == &start + 1) {
            keepInShape(start);
            auto ref = makeExpr(ExprKind::OutputRef, &start);
            ref->position = std::stoi(start.text.size() > 9 ? "0" : start.text);
            item.expr = std::move(ref);
        }
        if (acceptKeyword("DESC")) {
            item.descending = true;
        } else {
            acceptKeyword("ASC");
        }
        select.orderBy.push_back(std::move(item));
    } while (acceptSymbol(","));
}

std::string Parser::parseObjectName() {
    // [database.][schema.]name: the last part names the object.
    std::string name = parseName();
    while (peek().isSymbol(".") && peek(1).kind == TokenKind::Identifier) {
        advance();
        name = parseName();
    }
    return name;
}

void Parser::skipTableHints() {
    // WITH (NOLOCK), WITH (ROWLOCK, UPDLOCK): locking hints mean nothing to SQLite.
    if (peek().isKeyword("WITH") && peek(1).isSymbol("(")) {
        pos_ += 2;
        do {
            if (peek().kind != TokenKind::Identifier && peek().kind != TokenKind::Keyword) fail();
            advance();
        } while (acceptSymbol(","));
        expectSymbol(")");
    }
}

std::vector<std::unique_ptr<TableRef>> Parser::parseFromList() {
    std::vector<std::unique_ptr<TableRef>> list;
    do {
        list.push_back(parseTableSource());
    } while (acceptSymbol(","));
    return list;
}

std::unique_ptr<TableRef> Parser::parseTableSource() {
    auto left = parsePrimarySource();
    measure(*left);
    while (true) {
        const Token& start = peek();
        JoinKind kind;
        if (acceptKeyword("JOIN")) {
            kind = JoinKind::Inner;
        } else if (acceptKeyword("INNER")) {
            expectKeyword("JOIN");
            kind = JoinKind::Inner;
        } else if (acceptKeyword("LEFT")) {
            acceptKeyword("OUTER");
            expectKeyword("JOIN");
            kind = JoinKind::Left;
        } else if (acceptKeyword("RIGHT")) {
            acceptKeyword("OUTER");
            expectKeyword("JOIN");
            kind = JoinKind::Right;
        } else if (acceptKeyword("FULL")) {
            acceptKeyword("OUTER");
            expectKeyword("JOIN");
            kind = JoinKind::Full;
        } else if (acceptKeyword("CROSS")) {
            expectKeyword("JOIN");
            kind = JoinKind::Cross;
        } else {
            return left;
        }
        auto join = std::make_unique<TableRef>();
        join->kind = TableRef::Kind::Join;
        join->token = &start;
        join->joinKind = kind;
        join->left = std::move(left);
        join->right = parsePrimarySource();
        measure(*join->right);
        if (kind != JoinKind::Cross) {
            expectKeyword("ON");
            join->on = parseExpression();
        }
        measure(*join);
        left = std::move(join);
    }
}

std::unique_ptr<TableRef> Parser::parsePrimarySource() {
    Nesting nesting(*this);
    auto ref = std::make_unique<TableRef>();
    ref->token = &peek();
    if (peek().isSymbol("(")) {
        if (!peek(1).isKeyword("SELECT")) {
            advance();
            auto inner = parseTableSource();
            expectSymbol(")");
            return inner;
        }
        advance();
        ref->kind = TableRef::Kind::Derived;
        ref->derived = parseSelect();
        expectSymbol(")");
        acceptKeyword("AS");
        ref->alias = parseName();
        ref->hasAlias = true;
        return ref;
    }
    ref->kind = TableRef::Kind::Table;
    ref->tableName = parseObjectName();
    skipTableHints();
    if (acceptKeyword("AS")) {
        ref->alias = parseName();
        ref->hasAlias = true;
    } else if (peek().kind == TokenKind::Identifier) {
        ref->alias = parseName();
        ref->hasAlias = true;
    }
    skipTableHints();
    return ref;
}

std::unique_ptr<InsertStmt> Parser::parseInsert() {
    auto insert = std::make_unique<InsertStmt>();
    expectKeyword("INSERT");
    acceptKeyword("INTO");
    insert->tableToken = &peek();
    insert->table = parseObjectName();
    skipTableHints();
    if (peek().isSymbol("(") && !peek(1).isKeyword("SELECT")) {
        advance();
        do {
            const Token* token = &peek();
            insert->columns.emplace_back(parseName(), token);
        } while (acceptSymbol(","));
        expectSymbol(")");
    }
    if (acceptKeyword("VALUES")) {
        do {
            expectSymbol("(");
            std::vector<ExprPtr> row;
            do {
                row.push_back(parseExpression());
            } while (acceptSymbol(","));
            expectSymbol(")");
            insert->rows.push_back(std::move(row));
        } while (acceptSymbol(","));
    } else if (peek().isKeyword("SELECT")) {
        insert->select = parseSelect();
    } else {
        fail();
    }
    return insert;
}

std::unique_ptr<ModifyStmt> Parser::parseUpdate() {
    auto update = std::make_unique<ModifyStmt>();
    expectKeyword("UPDATE");
    update->targetToken = &peek();
    update->target = parseObjectName();
    skipTableHints();
    expectKeyword("SET");
    do {
        Assignment assignment;
        assignment.token = &peek();
        assignment.column = parseName();
        if (acceptSymbol(".")) {
            assignment.qualifier = assignment.column;
            assignment.column = parseName();
        }
        const Token& op = peek();
        if (op.isSymbol("+=") || op.isSymbol("-=")) {
            // col += x is col = col + x
            advance();
            auto column = makeExpr(ExprKind::Column, assignment.token);
            column->qualifier = assignment.qualifier;
            column->name = assignment.column;
            auto sum = makeExpr(ExprKind::Arithmetic, &op);
            sum->op = op.upper.substr(0, 1);
            sum->args.push_back(std::move(column));
            sum->args.push_back(parseExpression());
            assignment.value = measured(std::move(sum));
        } else {
            expectSymbol("=");
            assignment.value = parseExpression();
        }
        update->assignments.push_back(std::move(assignment));
    } while (acceptSymbol(","));
    if (acceptKeyword("FROM")) {
        update->hasFrom = true;
        update->from = parseFromList();
    }
    if (acceptKeyword("WHERE")) update->where = parseExpression();
    return update;
}

std::unique_ptr<ModifyStmt> Parser::parseDelete() {
    auto deletion = std::make_unique<ModifyStmt>();
    deletion->isDelete = true;
    expectKeyword("DELETE");
    acceptKeyword("FROM");
    deletion->targetToken = &peek();
    deletion->target = parseObjectName();
    skipTableHints();
    if (acceptKeyword("FROM")) {
        deletion->hasFrom = true;
        deletion->from = parseFromList();
    }
    if (acceptKeyword("WHERE")) deletion->where = parseExpression();
    return deletion;
}

}  // namespace kvlnmov::db::sqlite::tsql
