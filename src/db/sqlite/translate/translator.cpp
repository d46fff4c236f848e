#include "db/sqlite/translate/translator.h"

#include <list>
#include <unordered_map>

#include "db/sqlite/translate/binder.h"
#include "db/sqlite/translate/emitter.h"
#include "db/sqlite/translate/literal_coercion.h"
#include "db/sqlite/translate/parser.h"
#include "db/sqlite/translate/sql_errors.h"
#include "db/sqlite/translate/token.h"

namespace kvlnmov::db::sqlite {

namespace {

using tsql::ParameterSource;
using tsql::ParameterSourceKind;
using tsql::Token;
using tsql::TokenKind;

/// What a translation keeps for its statement shape: everything but the literal values.
struct CompiledStatement {
    StatementKind kind = StatementKind::Select;
    std::string sql;
    std::vector<ParameterSource> parameters;
    std::vector<ResultColumn> columns;
    std::string targetTable;
    bool targetHasIdentity = false;
    /// Literals written into the SQL text itself (ORDER BY positions, lengths): a statement
    /// of the same shape reuses the translation only when these match.
    std::vector<std::pair<int, std::string>> inlineLiterals;
};

constexpr std::size_t kCacheCapacity = 512;

// The statement's shape: its tokens with each literal replaced by a placeholder of its kind.
std::string shapeKey(const std::vector<Token>& tokens) {
    std::string key;
    for (const Token& token : tokens) {
        switch (token.kind) {
            case TokenKind::Integer:
                key += "#i";
                break;
            case TokenKind::Decimal:
                key += "#d";
                break;
            case TokenKind::Float:
                key += "#f";
                break;
            case TokenKind::String:
                key += "#s";
                break;
            case TokenKind::Identifier:
                key += (token.quoted ? "q" : "n") + token.text;
                break;
            default:
                key += "k" + token.upper;
                break;
        }
        key += '\x1f';
    }
    return key;
}

bool cacheable(const std::vector<Token>& tokens) {
    for (const Token& token : tokens) {
        if (token.kind == TokenKind::Invalid || token.kind == TokenKind::UnclosedString ||
            token.kind == TokenKind::UnclosedComment) {
            return false;
        }
    }
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

    std::shared_ptr<const CompiledStatement> compile(const std::vector<Token>& tokens) const {
        tsql::Parser parser(tokens, errors);
        tsql::Statement statement = parser.parseStatement();
        tsql::Binder binder(catalog, errors);
        binder.bind(statement);
        tsql::Emitter emitter;
        tsql::EmittedStatement emitted = emitter.emit(statement);

        auto compiled = std::make_shared<CompiledStatement>();
        compiled->kind = kindOf(statement.kind);
        compiled->sql = std::move(emitted.sql);
        compiled->parameters = std::move(emitted.parameters);
        compiled->inlineLiterals = statement.inlineLiterals;
        if (statement.select) {
            for (const tsql::OutputColumn& column : statement.select->output) {
                compiled->columns.push_back({column.name, tsql::toColumnType(column.type)});
            }
        }
        if (statement.insert) {
            compiled->targetTable = statement.insert->target->name;
            for (const schema::Column& column : statement.insert->target->columns) {
                compiled->targetHasIdentity = compiled->targetHasIdentity || column.identity;
            }
        }
        return compiled;
    }

    std::shared_ptr<const CompiledStatement> lookup(const std::string& key,
                                                    const std::vector<Token>& tokens) {
        auto found = index.find(key);
        if (found == index.end()) return nullptr;
        const auto& compiled = found->second->second;
        for (const auto& [ordinal, text] : compiled->inlineLiterals) {
            for (const Token& token : tokens) {
                if (token.literalOrdinal == ordinal && token.text != text) return nullptr;
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

    Translation instantiate(const CompiledStatement& compiled, const std::vector<Token>& tokens,
                            const SessionState& session) const {
        Translation translation;
        translation.kind = compiled.kind;
        translation.sql = compiled.sql;
        translation.columns = compiled.columns;
        translation.targetTable = compiled.targetTable;
        translation.targetHasIdentity = compiled.targetHasIdentity;
        std::vector<const Token*> literals;
        for (const Token& token : tokens) {
            if (token.isLiteral()) literals.push_back(&token);
        }
        for (const ParameterSource& source : compiled.parameters) {
            switch (source.kind) {
                case ParameterSourceKind::Literal: {
                    const Token& token =
                        *literals.at(static_cast<std::size_t>(source.literalOrdinal));
                    translation.parameters.push_back(
                        tsql::coerceLiteral(source.coercion, source.literalKind, token.text,
                                            source.negative, session, errors));
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
};

Translator::Translator(const Catalog& catalog, std::string providerName)
    : impl_(std::make_unique<Impl>(catalog, std::move(providerName))) {}

Translator::~Translator() = default;

Translation Translator::translate(std::string_view text, const SessionState& session) {
    std::string statement(text);
    std::vector<Token> tokens = tsql::tokenize(statement);
    std::shared_ptr<const CompiledStatement> compiled;
    std::string key;
    if (cacheable(tokens)) {
        key = shapeKey(tokens);
        compiled = impl_->lookup(key, tokens);
    }
    if (!compiled) {
        compiled = impl_->compile(tokens);
        if (!key.empty()) impl_->store(key, compiled);
    }
    return impl_->instantiate(*compiled, tokens, session);
}

void Translator::clearCache() {
    impl_->entries.clear();
    impl_->index.clear();
}

}  // namespace kvlnmov::db::sqlite
