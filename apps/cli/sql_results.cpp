#include "sql_results.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <string_view>
#include <vector>

#include "i18n.h"
#include "kvlnmov/core/library.h"
#include "kvlnmov/db/recordset.h"
#include "kvlnmov/frame/regional.h"
#include "text_table.h"

namespace kvlnmov::cli {

namespace {

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

// The shortest text that reads back as `value`, "." as decimal separator.
std::string shortestDouble(double value) {
    char buffer[64];
    auto [end, error] = std::to_chars(buffer, buffer + sizeof buffer, value);
    return error == std::errc() ? std::string(buffer, end) : Variant(value).toText();
}

// A plain number ("-1234.5") in the regional form ("-1.234,5"); one with an exponent or that
// is not finite keeps its digits, with the regional decimal separator.
std::string regionalNumber(const std::string& plain) {
    const Regional& settings = regional();
    if (plain.find_first_not_of("-0123456789.") != std::string::npos) {
        std::string text = plain;
        for (char& c : text) {
            if (c == '.') c = settings.decimalSeparator;
        }
        return text;
    }
    const bool negative = !plain.empty() && plain.front() == '-';
    const std::string digits = negative ? plain.substr(1) : plain;
    const auto point = digits.find('.');
    const std::string whole = digits.substr(0, point);
    std::string text = negative ? "-" : "";
    for (std::size_t i = 0; i < whole.size(); ++i) {
        if (i > 0 && (whole.size() - i) % 3 == 0) text += settings.thousandsSeparator;
        text += whole[i];
    }
    if (point != std::string::npos) text += settings.decimalSeparator + digits.substr(point + 1);
    return text;
}

// Money shows two decimals, or as many of its four as it needs: 1.210,00 and 1.210,0001.
std::string regionalMoney(Currency value) {
    const std::string plain = value.toString();
    const auto point = plain.find('.');
    const int decimals =
        point == std::string::npos ? 0 : static_cast<int>(plain.size() - point - 1);
    return funciones().FormatoNumero(value, std::max(2, decimals));
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

void printRows(const db::ConnectionRef& connection, const std::string& text, ResultForm form,
               std::ostream& out) {
    db::Recordset recordset;
    recordset.Open(text, connection);
    const int count = recordset.FieldCount();
    std::vector<std::string> header;
    std::vector<bool> right;
    for (int i = 0; i < count; ++i) {
        const std::string& name = recordset.FieldInfo(i).name;
        // Programs read the CSV header: it keeps one form whatever the language.
        header.push_back(!name.empty()                ? name
                         : form == ResultForm::Csv ? std::string("(No column name)")
                                                   : std::string(_("(No column name)")));
        right.push_back(rightAligned(recordset.FieldInfo(i).type));
    }
    if (form == ResultForm::Csv) {
        auto line = [&out](const std::vector<std::string>& fields) {
            for (std::size_t i = 0; i < fields.size(); ++i) {
                out << (i ? "," : "") << csvField(fields[i]);
            }
            out << "\n";
        };
        line(header);
        for (; !recordset.Eof(); recordset.MoveNext()) {
            std::vector<std::string> row;
            for (int i = 0; i < count; ++i) row.push_back(machineCell(recordset.Fields(i)));
            line(row);
        }
        recordset.Close();
        return;
    }
    TextTable table(header, right, " | ", true);
    for (; !recordset.Eof(); recordset.MoveNext()) {
        std::vector<std::string> row;
        for (int i = 0; i < count; ++i) row.push_back(regionalCell(recordset.Fields(i)));
        table.add(std::move(row));
    }
    recordset.Close();
    table.print(out);
    const auto rows = static_cast<unsigned long long>(table.size());
    out << format(trn("(%llu row)", "(%llu rows)", rows), rows) << "\n";
}

}  // namespace

std::string regionalCell(const Variant& value) {
    switch (value.type()) {
        case VariantType::Empty:
            return "";
        case VariantType::Null:
            return "NULL";
        case VariantType::Boolean:
            return value.toBoolean() ? "1" : "0";
        case VariantType::Currency:
            return regionalMoney(value.toCurrency());
        case VariantType::Date:
            return value.toDate().toText(regional());
        case VariantType::Double:
            return regionalNumber(shortestDouble(value.toDouble()));
        case VariantType::Byte:
        case VariantType::Integer:
        case VariantType::Long:
            return std::to_string(value.toLong());
        default:
            return value.toText();
    }
}

std::string machineCell(const Variant& value) {
    switch (value.type()) {
        case VariantType::Empty:
        case VariantType::Null:
            return "";
        case VariantType::Boolean:
            return value.toBoolean() ? "1" : "0";
        case VariantType::Currency:
            return value.toCurrency().toString();
        case VariantType::Date:
            return value.toDate().toIso();
        case VariantType::Double:
            return shortestDouble(value.toDouble());
        case VariantType::Byte:
        case VariantType::Integer:
        case VariantType::Long:
            return std::to_string(value.toLong());
        default:
            return value.toText();
    }
}

std::string csvField(const std::string& field) {
    if (field.find_first_of(",\"\r\n") == std::string::npos) return field;
    std::string quoted = "\"";
    for (char c : field) {
        if (c == '"') quoted += '"';
        quoted += c;
    }
    return quoted + "\"";
}

void runAndPrint(const db::ConnectionRef& connection, const std::string& text, ResultForm form,
                 std::ostream& out) {
    if (returnsRows(text)) {
        printRows(connection, text, form, out);
        return;
    }
    const std::int32_t changed = connection->Execute(text);
    if (form == ResultForm::Csv) return;
    const auto rows = static_cast<unsigned long long>(changed < 0 ? 0 : changed);
    out << format(trn("(%llu row affected)", "(%llu rows affected)", rows), rows) << "\n";
}

}  // namespace kvlnmov::cli
