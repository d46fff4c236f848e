#include "db/sqlite/translate/emitter.h"

#include "db/sqlite/translate/text_util.h"

namespace kvlnmov::db::sqlite::tsql {

namespace {

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
    SqlText text;
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
    // Parameters were made in the order the emitter met them; number them in the order they
    // appear in the text, one number per parameter however often it is written.
    EmittedStatement result;
    const std::string& plain = text.plainText();
    std::vector<int> numbers(parameters_.size(), 0);
    std::size_t copied = 0;
    for (const SqlText::Marker& marker : text.markers()) {
        result.sql.append(plain, copied, marker.offset - copied);
        copied = marker.offset;
        int& number = numbers.at(static_cast<std::size_t>(marker.index));
        if (number == 0) {
            result.parameters.push_back(parameters_[static_cast<std::size_t>(marker.index)]);
            number = static_cast<int>(result.parameters.size());
        }
        result.sql += "?" + std::to_string(number);
    }
    result.sql.append(plain, copied, std::string::npos);
    return result;
}

SqlText Emitter::parameter(ParameterSource source) {
    // GETDATE() is one instant per statement, @@IDENTITY one value: each gets one number.
    if (source.kind != ParameterSourceKind::Literal) {
        for (std::size_t i = 0; i < parameters_.size(); ++i) {
            if (parameters_[i].kind == source.kind) return SqlText::parameter(static_cast<int>(i));
        }
    }
    parameters_.push_back(source);
    return SqlText::parameter(static_cast<int>(parameters_.size() - 1));
}

SqlText Emitter::select(const SelectStmt& select) {
    SqlText text = "SELECT ";
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
    checkSize(text);
    return text;
}

SqlText Emitter::fromList(const std::vector<std::unique_ptr<TableRef>>& from) {
    SqlText text;
    for (std::size_t i = 0; i < from.size(); ++i) {
        if (i > 0) text += ", ";
        text += tableRef(*from[i]);
    }
    return text;
}

SqlText Emitter::tableRef(const TableRef& ref) {
    switch (ref.kind) {
        case TableRef::Kind::Table: {
            SqlText text = quoteIdentifier(ref.source->table->name);
            if (ref.hasAlias) text += " AS " + quoteIdentifier(ref.alias);
            return text;
        }
        case TableRef::Kind::Derived:
            return "(" + select(*ref.derived) + ") AS " + quoteIdentifier(ref.alias);
        case TableRef::Kind::Join: {
            SqlText right = tableRef(*ref.right);
            if (ref.right->kind == TableRef::Kind::Join) right = "(" + right + ")";
            SqlText text = tableRef(*ref.left) + " " + joinWord(ref.joinKind) + " " + right;
            if (ref.on) text += " ON " + sql(*ref.on);
            return text;
        }
    }
    return {};
}

SqlText Emitter::insert(const InsertStmt& insert) {
    SqlText text = "INSERT INTO " + quoteIdentifier(insert.target->name) + " (";
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

SqlText Emitter::modify(const ModifyStmt& modify) {
    const std::string table = quoteIdentifier(modify.table->name);
    const std::string qualifier = quoteIdentifier(modify.targetSource->emitQualifier);
    const bool aliased = modify.targetSource->emitQualifier != modify.table->name;

    auto setList = [&]() {
        SqlText text = " SET ";
        for (std::size_t i = 0; i < modify.assignments.size(); ++i) {
            if (i > 0) text += ", ";
            text += quoteIdentifier(modify.assignments[i].target->name) + " = " +
                    sql(*modify.assignments[i].value);
        }
        return text;
    };
    auto joinedRows = [&](const SqlText& selected) {
        SqlText text = "SELECT " + selected + " FROM ";
        if (modify.implicitTarget) {
            text += tableRef(*modify.implicitTarget);
            if (!modify.from.empty()) text += ", ";
        }
        text += fromList(modify.from);
        if (modify.where) text += " WHERE " + sql(*modify.where);
        return text;
    };

    if (modify.form == ModifyForm::Plain) {
        SqlText text =
            modify.isDelete ? SqlText("DELETE FROM " + table) : "UPDATE " + table + setList();
        if (modify.where) text += " WHERE " + sql(*modify.where);
        return text;
    }
    if (modify.form == ModifyForm::RowidIn) {
        // Only the target rows the join matches change: they are picked by rowid.
        SqlText text;
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
    SqlText text = "UPDATE " + table + setList();
    exportedSources_.clear();
    SqlText selected = qualifier + ".rowid AS " + quoteIdentifier(kRowidColumn);
    for (const auto& [columnSql, name] : exports_) {
        selected += ", " + columnSql + " AS " + quoteIdentifier(name);
    }
    text += " FROM (" + joinedRows(selected) + ") AS " + quoteIdentifier(kSourceAlias) + " WHERE " +
            table + ".rowid = " + quoteIdentifier(kSourceAlias) + "." +
            quoteIdentifier(kRowidColumn);
    return text;
}

}  // namespace kvlnmov::db::sqlite::tsql
