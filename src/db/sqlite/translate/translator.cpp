#include "db/sqlite/translate/translator.h"

#include <algorithm>
#include <charconv>
#include <functional>
#include <list>
#include <unordered_map>

#include "db/sqlite/translate/binder.h"
#include "db/sqlite/translate/emitter.h"
#include "db/sqlite/translate/literal_coercion.h"
#include "db/sqlite/translate/parser.h"
#include "db/sqlite/translate/sql_errors.h"
#include "db/sqlite/translate/text_util.h"
#include "db/sqlite/translate/token.h"

namespace kvlnmov::db::sqlite {

namespace {

using tsql::ParameterSource;
using tsql::ParameterSourceKind;
using tsql::ShapeLiteral;
using tsql::Token;
using tsql::TokenKind;

/// What a translation keeps for its statement shape: everything but the literal values.
struct CompiledStatement {
    std::shared_ptr<const TranslatedShape> shape;
    std::vector<ParameterSource> parameters;
    /// Literals whose values are part of the shape (ORDER BY positions, lengths, aliases,
    /// ...): a statement of the same shape reuses the translation only when these match.
    std::vector<ShapeLiteral> shapeLiterals;
};

constexpr std::size_t kCacheCapacity = 512;

/// The most SQLite text a statement may take: its own length many times over (conversions
/// and money arithmetic are spelled out), and never less than this.
constexpr std::size_t kMinimumSqlLimit = std::size_t{1} << 20;
constexpr std::size_t kSqlGrowthLimit = 32;

void visitSelect(const tsql::SelectStmt& select,
                 const std::function<void(const tsql::Expr&)>& visit);

// Calls `visit` for the select list items of `select` and of every SELECT below them, and
// for the select list items of its derived tables: the expressions that type the result.
void visitResultExpr(const tsql::Expr& expr, const std::function<void(const tsql::Expr&)>& visit) {
    // A search condition types nothing: its literals are values.
    if (expr.type.kind == tsql::TypeKind::Predicate) return;
    visit(expr);
    for (const auto& arg : expr.args) visitResultExpr(*arg, visit);
    if (expr.subquery) visitSelect(*expr.subquery, visit);
}

void visitSources(const tsql::TableRef& ref, const std::function<void(const tsql::Expr&)>& visit) {
    if (ref.derived) visitSelect(*ref.derived, visit);
    if (ref.left) visitSources(*ref.left, visit);
    if (ref.right) visitSources(*ref.right, visit);
}

void visitSelect(const tsql::SelectStmt& select,
                 const std::function<void(const tsql::Expr&)>& visit) {
    for (const tsql::SelectItem& item : select.items) visitResultExpr(*item.expr, visit);
    for (const auto& ref : select.from) visitSources(*ref, visit);
}

// A text literal typed by nothing but itself is varchar(its length): where such a literal
// reaches a result column, its length is part of the statement's shape.
void keepResultLengths(tsql::Statement& statement) {
    if (!statement.select) return;
    visitSelect(*statement.select, [&](const tsql::Expr& expr) {
        if (expr.kind == tsql::ExprKind::Literal && expr.literalKind == tsql::LiteralKind::String &&
            expr.coercion.kind == tsql::CoercionKind::Natural) {
            statement.addShapeLiteral(expr.literalOrdinal, ShapeLiteral::Match::Length,
                                      std::to_string(tsql::characterCount(expr.literalText)));
        }
    });
}

/// A literal of the statement: a view into its text, or for a string with doubled quotes its
/// value.
struct LiteralText {
    std::string_view view;
    std::string value;
    bool unescaped = false;

    std::string_view text() const { return unescaped ? std::string_view(value) : view; }
};

bool matches(const ShapeLiteral& literal, std::string_view text) {
    if (literal.match == ShapeLiteral::Match::Text) return text == literal.text;
    return std::to_string(tsql::characterCount(text)) == literal.text;
}

// The statement's shape in one pass over its text, without copying its tokens: `key` gets each
// token as written (words, symbols, variables) or, for a literal, a placeholder of its kind;
// `literals` gets the literals in order. Words are kept in the case they are written in, so
// the same statement written in another case is another shape, translated once more. Returns
// false when the statement cannot be cached: it holds a token no statement may hold, which the
// parser reports.
bool scanShape(std::string_view text, std::string& key, std::vector<LiteralText>& literals) {
    // Every token adds at most three times the characters it takes from the text (a one-
    // character symbol or literal: a mark, the character or placeholder, the separator; a quoted
    // name: its close character, its length, ':', the name and the separator for at least two
    // characters of text), and the end adds two: the key is written straight into a buffer that
    // size, without a capacity check per character.
    key.resize(3 * text.size() + 16);
    char* const first = key.data();
    char* out = first;
    // Byte by byte: the parts are a few characters long, shorter than a call to memcpy.
    auto put = [&out](std::string_view part) {
        for (char c : part) *out++ = c;
    };
    literals.clear();
    tsql::TokenScanner scanner(text);
    tsql::RawToken token;
    while (scanner.next(token)) {
        switch (token.kind) {
            case TokenKind::Integer:
                put("#i");
                break;
            case TokenKind::Decimal:
                put("#d");
                break;
            case TokenKind::Float:
                put("#f");
                break;
            case TokenKind::String:
                put("#s");
                break;
            case TokenKind::Identifier:
                if (token.quoted) {
                    // A quoted name may hold any character: its length keeps the key unambiguous.
                    *out++ = token.close;
                    out = std::to_chars(out, first + key.size(), token.body.size()).ptr;
                    *out++ = ':';
                } else {
                    *out++ = 'w';
                }
                put(token.body);
                break;
            case TokenKind::Invalid:
            case TokenKind::UnclosedString:
            case TokenKind::UnclosedComment:
                key.clear();
                return false;
            default:
                // Symbols, variables and the end.
                *out++ = 'k';
                put(token.body);
                break;
        }
        *out++ = '\x1f';
        if (token.isLiteral()) {
            LiteralText& literal = literals.emplace_back();
            literal.view = token.body;
            if (token.doubled) {
                literal.value = token.value();
                literal.unescaped = true;
            }
        }
    }
    key.resize(static_cast<std::size_t>(out - first));
    return true;
}

StatementKind kindOf(tsql::Statement::Kind kind) {
    switch (kind) {
        case tsql::Statement::Kind::Select:
            return StatementKind::Select;
        case tsql::Statement::Kind::Insert:
            return StatementKind::Insert;
        case tsql::Statement::Kind::Update:
            return StatementKind::Update;
        case tsql::Statement::Kind::Delete:
            return StatementKind::Delete;
    }
    return StatementKind::Select;
}

}  // namespace

std::string_view kindName(StatementKind kind) {
    switch (kind) {
        case StatementKind::Update:
            return "UPDATE";
        case StatementKind::Delete:
            return "DELETE";
        case StatementKind::Select:
            return "SELECT";
        case StatementKind::Insert:
            break;
    }
    return "INSERT";
}

struct Translator::Impl {
    Impl(const Catalog& catalog, std::string providerName)
        : catalog(catalog), errors(std::move(providerName)) {}

    std::shared_ptr<const CompiledStatement> compile(const std::vector<Token>& tokens,
                                                     std::size_t textLength) const {
        tsql::Parser parser(tokens, errors);
        tsql::Statement statement = parser.parseStatement();
        tsql::Binder binder(catalog, errors);
        binder.bind(statement);
        keepResultLengths(statement);
        tsql::Emitter emitter(errors, std::max(kMinimumSqlLimit, textLength * kSqlGrowthLimit));
        tsql::EmittedStatement emitted = emitter.emit(statement);

        auto shape = std::make_shared<TranslatedShape>();
        shape->kind = kindOf(statement.kind);
        shape->sql = std::move(emitted.sql);
        if (statement.select) {
            for (const tsql::OutputColumn& column : statement.select->output) {
                shape->columns.push_back({column.name, tsql::toColumnType(column.type)});
            }
        }
        if (statement.insert) {
            shape->targetTable = statement.insert->target->name;
            for (const schema::Column& column : statement.insert->target->columns) {
                shape->targetHasIdentity = shape->targetHasIdentity || column.identity;
            }
        }
        auto compiled = std::make_shared<CompiledStatement>();
        compiled->shape = std::move(shape);
        compiled->parameters = std::move(emitted.parameters);
        compiled->shapeLiterals = std::move(statement.shapeLiterals);
        return compiled;
    }

    std::shared_ptr<const CompiledStatement> lookup(const std::string& key,
                                                    const std::vector<LiteralText>& literals) {
        auto found = index.find(key);
        if (found == index.end()) return nullptr;
        const auto& compiled = found->second->second;
        for (const ShapeLiteral& literal : compiled->shapeLiterals) {
            if (!matches(literal, literals.at(static_cast<std::size_t>(literal.ordinal)).text())) {
                return nullptr;
            }
        }
        entries.splice(entries.begin(), entries, found->second);
        return compiled;
    }

    void store(const std::string& key, std::shared_ptr<const CompiledStatement> compiled) {
        auto found = index.find(key);
        if (found != index.end()) {
            entries.erase(found->second);
            index.erase(found);
        }
        entries.emplace_front(key, std::move(compiled));
        index[key] = entries.begin();
        if (entries.size() > kCacheCapacity) {
            index.erase(entries.back().first);
            entries.pop_back();
        }
    }

    Translation instantiate(const CompiledStatement& compiled,
                            const std::vector<LiteralText>& literals,
                            const SessionState& session) const {
        Translation translation;
        translation.shape = compiled.shape;
        translation.parameters.reserve(compiled.parameters.size());
        for (const ParameterSource& source : compiled.parameters) {
            switch (source.kind) {
                case ParameterSourceKind::Literal: {
                    const std::string_view text =
                        literals.at(static_cast<std::size_t>(source.literalOrdinal)).text();
                    translation.parameters.push_back(tsql::coerceLiteral(
                        source.coercion, source.literalKind, text, source.negative, session, errors));
                    break;
                }
                case ParameterSourceKind::Now:
                    // The local time of this execution, never a cached value.
                    translation.parameters.emplace_back(std::in_place_type<std::string>,
                                                        tsql::canonicalDateTime(Date::now()));
                    break;
                case ParameterSourceKind::Identity:
                    // Built in place: copying a temporary variant here trips GCC 12's
                    // maybe-uninitialized analysis at -O2.
                    if (session.identity) {
                        translation.parameters.emplace_back(std::in_place_type<std::int64_t>,
                                                            *session.identity);
                    } else {
                        translation.parameters.emplace_back(std::in_place_type<std::monostate>);
                    }
                    break;
            }
        }
        return translation;
    }

    const Catalog& catalog;
    tsql::SqlErrors errors;
    std::list<std::pair<std::string, std::shared_ptr<const CompiledStatement>>> entries;
    std::unordered_map<std::string, decltype(entries)::iterator> index;
    /// Kept between calls so that a cached statement allocates neither.
    std::string key;
    std::vector<LiteralText> literals;
};

Translator::Translator(const Catalog& catalog, std::string providerName)
    : impl_(std::make_unique<Impl>(catalog, std::move(providerName))) {}

Translator::~Translator() = default;

Translation Translator::translate(std::string_view text, const SessionState& session) {
    Impl& impl = *impl_;
    const bool cacheable = scanShape(text, impl.key, impl.literals);
    if (cacheable) {
        if (auto compiled = impl.lookup(impl.key, impl.literals))
            return impl.instantiate(*compiled, impl.literals, session);
    }
    const std::vector<Token> tokens = tsql::tokenize(std::string(text));
    auto compiled = impl.compile(tokens, text.size());
    if (cacheable) {
        impl.store(impl.key, compiled);
        return impl.instantiate(*compiled, impl.literals, session);
    }
    std::vector<LiteralText> literals;
    for (const Token& token : tokens) {
        if (token.isLiteral()) literals.push_back({token.text, {}, false});
    }
    return impl.instantiate(*compiled, literals, session);
}

void Translator::clearCache() {
    impl_->entries.clear();
    impl_->index.clear();
}

}  // namespace kvlnmov::db::sqlite
