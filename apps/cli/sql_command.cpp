// `kvlnmov sql`: runs T-SQL statements on a company database and prints what they return.

#include <cctype>
#include <charconv>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "commands.h"
#include "company_database.h"
#include "kvlnmov/db/open.h"
#include "kvlnmov/db/recordset.h"
#include "text_table.h"

namespace kvlnmov::cli {

namespace {

struct SqlOptions {
    DatabaseArgument database;
    std::string statement;
};

// True when the statement returns rows: its first word (after blanks, comments and opening
// parentheses) is SELECT.
bool returnsRows(std::string_view text) {
    for (;;) {
        while (!text.empty() &&
               (std::isspace(static_cast<unsigned char>(text.front())) || text.front() == '('))
            text.remove_prefix(1);
        if (text.starts_with("--")) {
            const auto end = text.find('\n');
            text = end == std::string_view::npos ? std::string_view() : text.substr(end + 1);
        } else if (text.starts_with("/*")) {
            const auto end = text.find("*/");
            text = end == std::string_view::npos ? std::string_view() : text.substr(end + 2);
        } else {
            break;
        }
    }
    constexpr std::string_view kSelect = "select";
    if (text.size() < kSelect.size()) return false;
    for (std::size_t i = 0; i < kSelect.size(); ++i) {
        if (std::tolower(static_cast<unsigned char>(text[i])) != kSelect[i]) return false;
    }
    return text.size() == kSelect.size() ||
           !(std::isalnum(static_cast<unsigned char>(text[kSelect.size()])) ||
             text[kSelect.size()] == '_');
}

// How a value prints: NULL, dates in ISO form, money exactly with ".", Booleans 1/0.
std::string display(const Variant& value) {
    switch (value.type()) {
        case VariantType::Empty:
            return "";
        case VariantType::Null:
            return "NULL";
        case VariantType::Boolean:
            return value.toBoolean() ? "1" : "0";
        case VariantType::Currency:
            return value.toCurrency().toString();
        case VariantType::Date:
            return value.toDate().toIso();
        case VariantType::Double: {
            char buffer[64];
            auto [end, error] = std::to_chars(buffer, buffer + sizeof buffer, value.toDouble());
            return error == std::errc() ? std::string(buffer, end) : value.toText();
        }
        case VariantType::Byte:
        case VariantType::Integer:
        case VariantType::Long:
            return std::to_string(value.toLong());
        default:
            return value.toText();
    }
}

bool rightAligned(db::DataType type) {
    switch (type) {
        case db::DataType::SmallInt:
        case db::DataType::Integer:
        case db::DataType::Double:
        case db::DataType::Currency:
        case db::DataType::TinyInt:
        case db::DataType::UnsignedTinyInt:
        case db::DataType::BigInt:
            return true;
        default:
            return false;
    }
}

void printQuery(const db::ConnectionRef& connection, const std::string& text) {
    db::Recordset recordset;
    recordset.Open(text, connection);
    const int count = recordset.FieldCount();
    std::vector<std::string> header;
    std::vector<bool> right;
    for (int i = 0; i < count; ++i) {
        const std::string& name = recordset.FieldInfo(i).name;
        header.push_back(name.empty() ? "(No column name)" : name);
        right.push_back(rightAligned(recordset.FieldInfo(i).type));
    }
    TextTable table(header, right, " | ", true);
    for (; !recordset.Eof(); recordset.MoveNext()) {
        std::vector<std::string> row;
        for (int i = 0; i < count; ++i) row.push_back(display(recordset.Fields(i)));
        table.add(std::move(row));
    }
    recordset.Close();
    table.print(std::cout);
    std::cout << "(" << table.size() << " rows)\n";
}

void runStatement(const db::ConnectionRef& connection, const std::string& text) {
    if (returnsRows(text)) {
        printQuery(connection, text);
    } else {
        const std::int32_t changed = connection->Execute(text);
        std::cout << "(" << changed << " rows affected)\n";
    }
}

// A line with nothing to run: blank, or a comment.
bool skipped(const std::string& line) {
    const auto start = line.find_first_not_of(" \t\r");
    return start == std::string::npos || line.compare(start, 2, "--") == 0;
}

int runSql(const SqlOptions& options) {
    const auto connection = openExistingDatabase(options.database);
    if (!options.statement.empty()) {
        runStatement(connection, options.statement);
        return kExitOk;
    }
    std::string line;
    bool first = true;
    while (std::getline(std::cin, line)) {
        if (skipped(line)) continue;
        if (!first) std::cout << "\n";
        first = false;
        runStatement(connection, line);
    }
    return kExitOk;
}

}  // namespace

Command addSqlCommand(CLI::App& app) {
    auto options = std::make_shared<SqlOptions>();
    CLI::App* command = app.add_subcommand(
        "sql",
        "Run SQL Server (T-SQL) statements on a company database.\n"
        "A SELECT prints a table (header, rows, \"(N rows)\"); any other statement prints\n"
        "\"(N rows affected)\". Without STATEMENT, reads one statement per line from standard\n"
        "input (blank lines and lines starting with -- are skipped) and stops at the first\n"
        "error. Values print as: NULL for Null, dates as YYYY-MM-DD[ HH:MM:SS[.mmm]], money\n"
        "exactly with \".\" as decimal separator, bit columns as 1/0.\n"
        "A database error prints \"Error <number> (<source>): <description>\" and exits 1.");
    addDatabaseOptions(command, options->database, "Database file (must exist)");
    command->add_option("STATEMENT", options->statement, "One T-SQL statement");
    return Command{command, [options] { return runSql(*options); }};
}

}  // namespace kvlnmov::cli
