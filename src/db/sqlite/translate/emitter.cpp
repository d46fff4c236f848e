#include "db/sqlite/translate/emitter.h"

#include <map>

#include "db/sqlite/translate/text_util.h"

namespace kvlnmov::db::sqlite::tsql {

namespace {

constexpr char kMarkerStart = '\x01';
constexpr char kMarkerEnd = '\x02';
constexpr const char* kSourceAlias = "kvl_source";
constexpr const char* kRowidColumn = "kvl_rowid";

const char* joinWord(JoinKind kind) {
    switch (kind) {
        case JoinKind::Inner:
            return "INNER JOIN";
        case JoinKind::Left:
            return "LEFT JOIN";
        case JoinKind::Right:
            return "RIGHT JOIN";
        case JoinKind::Full:
            return "FULL JOIN";
        case JoinKind::Cross:
            return "CROSS JOIN";
    }
    return "JOIN";
}

void collectSources(const TableRef& ref, std::vector<const BoundSource*>& sources) {
    if (ref.source != nullptr) sources.push_back(ref.source);
    if (ref.left) collectSources(*ref.left, sources);
    if (ref.right) collectSources(*ref.right, sources);
}

}  // namespace

EmittedStatement Emitter::emit(const Statement& statement) {
    std::string text;
    switch (statement.kind) {
        case Statement::Kind::Select:
            text = select(*statement.select);
            break;
        case Statement::Kind::Insert:
            text = insert(*statement.insert);
            break;
        case Statement::Kind::Update:
        case Statement::Kind::Delete:
            text = modify(*statement.modify);
            break;
    }
    // Parameters were written as markers in the order they were made; number them in the
    // order they appear in the text.
    EmittedStatement result;
    std::map<int, int> numbers;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != kMarkerStart) {
            result.sql += text[i];
            continue;
        }
        std::size_t end = text.find(kMarkerEnd, i);
        int index = std::stoi(text.substr(i + 1, end - i - 1));
        auto [entry, added] = numbers.emplace(index, static_cast<int>(numbers.size()) + 1);
        if (added) result.parameters.push_back(parameters_[index]);
        result.sql += "?" + std::to_string(entry->second);
        i = end;
    }
    return result;
}

std::string Emitter::parameter(ParameterSource source) {
    // GETDATE() is one instant per statement, @@IDENTITY one value: each gets one number.
    if (source.kind != ParameterSourceKind::Literal) {
        for (std::size_t i = 0; i < parameters_.size(); ++i) {
            if (parameters_[i].kind == source.kind) {
                return kMarkerStart + std::to_string(i) + kMarkerEnd;
            }
        }
    }
    parameters_.push_back(source);
    return kMarkerStart + std::to_string(parameters_.size() - 1) + kMarkerEnd;
}

std::string Emitter::select(const SelectStmt& select) {
    std::string text = "SELECT ";
    if (select.distinct) text += "DISTINCT ";
    for (std::size_t i = 0; i < select.items.size(); ++i) {
        if (i > 0) text += ", ";
        const SelectItem& item = select.items[i];
        text += sql(*item.expr);
        if (item.hasAlias) text += " AS " + quoteIdentifier(item.alias);
    }
    if (!select.from.empty()) text += " FROM " + fromList(select.from);
    if (select.where) text += " WHERE " + sql(*select.where);
    if (!select.groupBy.empty()) {
        text += " GROUP BY ";
        for (std::size_t i = 0; i < select.groupBy.size(); ++i) {
            if (i > 0) text += ", ";
            text += sql(*select.groupBy[i]);
        }
    }
    if (select.having) text += " HAVING " + sql(*select.having);
    if (!select.orderBy.empty()) {
        text += " ORDER BY ";
        for (std::size_t i = 0; i < select.orderBy.size(); ++i) {
            if (i > 0) text += ", ";
            text += sql(*select.orderBy[i].expr);
            if (select.orderBy[i].descending) text += " DESC";
        }
    }
    if (select.top) text += " LIMIT " + sql(*select.top);
    return text;
}

std::string Emitter::fromList(const std::vector<std::unique_ptr<TableRef>>& from) {
    std::string text;
    for (std::size_t i = 0; i < from.size(); ++i) {
        if (i > 0) text += ", ";
        text += tableRef(*from[i]);
    }
    return text;
}

std::string Emitter::tableRef(const TableRef& ref) {
    switch (ref.kind) {
        case TableRef::Kind::Table: {
            std::string text = quoteIdentifier(ref.source->table->name);
            if (ref.hasAlias) text += " AS " + quoteIdentifier(ref.alias);
            return text;
        }
        case TableRef::Kind::Derived:
            return "(" + select(*ref.derived) + ") AS " + quoteIdentifier(ref.alias);
        case TableRef::Kind::Join: {
            std::string right = tableRef(*ref.right);
            if (ref.right->kind == TableRef::Kind::Join) right = "(" + right + ")";
            std::string text = tableRef(*ref.left) + " " + joinWord(ref.joinKind) + " " + right;
            if (ref.on) text += " ON " + sql(*ref.on);
            return text;
        }
    }
    return {};
}

std::string Emitter::insert(const InsertStmt& insert) {
    std::string text = "INSERT INTO " + quoteIdentifier(insert.target->name) + " (";
    for (std::size_t i = 0; i < insert.targetColumns.size(); ++i) {
        if (i > 0) text += ", ";
        text += quoteIdentifier(insert.targetColumns[i]->name);
    }
    text += ")";
    if (insert.select) return text + " " + select(*insert.select);
    text += " VALUES ";
    for (std::size_t row = 0; row < insert.rows.size(); ++row) {
        if (row > 0) text += ", ";
        text += "(";
        for (std::size_t i = 0; i < insert.rows[row].size(); ++i) {
            if (i > 0) text += ", ";
            text += sql(*insert.rows[row][i]);
        }
        text += ")";
    }
    return text;
}

std::string Emitter::modify(const ModifyStmt& modify) {
    const std::string table = quoteIdentifier(modify.table->name);
    const std::string qualifier = quoteIdentifier(modify.targetSource->emitQualifier);
    const bool aliased = modify.targetSource->emitQualifier != modify.table->name;

    auto setList = [&]() {
        std::string text = " SET ";
        for (std::size_t i = 0; i < modify.assignments.size(); ++i) {
            if (i > 0) text += ", ";
            text += quoteIdentifier(modify.assignments[i].target->name) + " = " +
                    sql(*modify.assignments[i].value);
        }
        return text;
    };
    auto joinedRows = [&](const std::string& selected) {
        std::string text = "SELECT " + selected + " FROM ";
        if (modify.implicitTarget) {
            text += tableRef(*modify.implicitTarget);
            if (!modify.from.empty()) text += ", ";
        }
        text += fromList(modify.from);
        if (modify.where) text += " WHERE " + sql(*modify.where);
        return text;
    };

    if (modify.form == ModifyForm::Plain) {
        std::string text = modify.isDelete ? "DELETE FROM " + table : "UPDATE " + table + setList();
        if (modify.where) text += " WHERE " + sql(*modify.where);
        return text;
    }
    if (modify.form == ModifyForm::RowidIn) {
        // Only the target rows the join matches change: they are picked by rowid.
        std::string text;
        if (modify.isDelete) {
            text = "DELETE FROM " + table + " WHERE rowid IN (";
        } else {
            text = "UPDATE " + table + (aliased ? " AS " + qualifier : std::string()) + setList() +
                   " WHERE " + (aliased ? qualifier + "." : std::string()) + "rowid IN (";
        }
        return text + joinedRows(qualifier + ".rowid") + ")";
    }
    // SET values read other joined tables: the joined rows come from a subquery that carries
    // the target's rowid and every column the SET values read.
    exportedSources_.clear();
    exports_.clear();
    if (modify.implicitTarget) collectSources(*modify.implicitTarget, exportedSources_);
    for (const auto& ref : modify.from) collectSources(*ref, exportedSources_);
    std::string text = "UPDATE " + table + setList();
    exportedSources_.clear();
    std::string selected = qualifier + ".rowid AS " + quoteIdentifier(kRowidColumn);
    for (const auto& [columnSql, name] : exports_) {
        selected += ", " + columnSql + " AS " + quoteIdentifier(name);
    }
    text += " FROM (" + joinedRows(selected) + ") AS " + quoteIdentifier(kSourceAlias) + " WHERE " +
            table + ".rowid = " + quoteIdentifier(kSourceAlias) + "." +
            quoteIdentifier(kRowidColumn);
    return text;
}

}  // namespace kvlnmov::db::sqlite::tsql
