#include "posting_file.h"

#include <algorithm>
#include <cctype>
#include <fstream>
#include <map>
#include <nlohmann/json.hpp>
#include <set>
#include <sstream>

#include "commands.h"
#include "i18n.h"
#include "kvlnmov/core/library.h"
#include "kvlnmov/db/recordset.h"
#include "kvlnmov/forecasts/cls_prev_cobros.h"
#include "kvlnmov/forecasts/cls_prev_pagos.h"
#include "kvlnmov/frame/text.h"
#include "kvlnmov/journal/cls_asiento.h"
#include "kvlnmov/journal/cls_mov.h"
#include "kvlnmov/schema/schema.h"
#include "kvlnmov/taxbooks/cls_libro_igic.h"
#include "kvlnmov/taxbooks/cls_libro_irpf.h"
#include "text_table.h"

namespace kvlnmov::cli {

namespace {

using Json = nlohmann::ordered_json;

/// Decimals an amount of the file may have: the currency's cents.
constexpr std::size_t kCents = 2;

[[noreturn]] void refuse(const std::string& where, const std::string& what) {
    throw UsageError{where + ": " + what};
}

/// An amount in the regional form of messages ("1.210,00").
std::string money(Currency value) { return funciones().FormatoNumero(value, 2); }

bool allDigits(std::string_view text) {
    return !text.empty() && text.find_first_not_of("0123456789") == std::string_view::npos;
}

/// Whether `digits` are written in groups of three digits after a first group of one to three,
/// separated by `mark` ("1.210.500").
bool groupedByThousands(std::string_view digits, char mark) {
    std::size_t start = 0;
    bool first = true;
    while (true) {
        std::size_t end = digits.find(mark, start);
        std::string_view group = digits.substr(
            start, end == std::string_view::npos ? std::string_view::npos : end - start);
        if (!allDigits(group)) return false;
        if (first ? group.size() > 3 : group.size() != 3) return false;
        if (end == std::string_view::npos) return true;
        first = false;
        start = end + 1;
    }
}

/// Reads an amount exactly. `decimal` is the decimal mark ('.' or ','), or 0 to tell it from the
/// text; `thousands` says whether the other mark may separate groups of three digits. More than
/// two decimals are refused, never rounded.
Currency readAmount(std::string_view written, char decimal, bool thousands,
                    const std::string& where) {
    std::string text(written);
    std::size_t begin = text.find_first_not_of(' ');
    std::size_t end = text.find_last_not_of(' ');
    std::string_view body = begin == std::string::npos
                                ? std::string_view()
                                : std::string_view(text).substr(begin, end - begin + 1);
    bool negative = false;
    if (!body.empty() && (body[0] == '-' || body[0] == '+')) {
        negative = body[0] == '-';
        body.remove_prefix(1);
    }
    if (body.empty() || body.find_first_not_of("0123456789.,") != std::string_view::npos) {
        refuse(where, cli::format(_("not an amount: '%s'"), std::string(text).c_str()));
    }
    std::size_t lastPoint = body.rfind('.');
    std::size_t lastComma = body.rfind(',');
    if (decimal == 0) {
        if (lastPoint != std::string_view::npos && lastComma != std::string_view::npos) {
            // Both marks: the last one is the decimal mark ("1.210,50", "1,210.50").
            decimal = lastPoint > lastComma ? '.' : ',';
        } else if (lastPoint != std::string_view::npos || lastComma != std::string_view::npos) {
            char mark = lastPoint != std::string_view::npos ? '.' : ',';
            std::size_t last = std::max(lastPoint == std::string_view::npos ? 0 : lastPoint,
                                        lastComma == std::string_view::npos ? 0 : lastComma);
            bool once = body.find(mark) == last;
            std::size_t after = body.size() - last - 1;
            if (once && after == 3 && groupedByThousands(body, mark)) {
                refuse(where, cli::format(_("the amount '%s' could be read with either decimal mark; "
                                  "say which one with --decimal ',' or --decimal '.'"),
                                std::string(text).c_str()));
            }
            // One mark followed by other than three digits can only be the decimal mark;
            // the same mark twice can only separate thousands.
            decimal = once ? mark : (mark == '.' ? ',' : '.');
        } else {
            decimal = '.';
        }
    }
    char other = decimal == '.' ? ',' : '.';
    std::size_t mark = body.find(decimal);
    std::string_view whole = body.substr(0, mark);
    std::string_view fraction =
        mark == std::string_view::npos ? std::string_view() : body.substr(mark + 1);
    if (mark != std::string_view::npos && fraction.find(decimal) != std::string_view::npos) {
        refuse(where, cli::format(_("the amount '%s' has the decimal mark '%c' more than once"),
                        std::string(text).c_str(), decimal));
    }
    std::string digits;
    if (whole.find(other) != std::string_view::npos) {
        if (!thousands || !groupedByThousands(whole, other)) {
            refuse(where, thousands
                              ? cli::format(_("the amount '%s' does not read with '%c' as decimal mark: "
                                    "'%c' may only separate groups of three digits"),
                                  std::string(text).c_str(), decimal, other)
                              : cli::format(_("not an amount with '.' as decimal mark and no thousands "
                                    "separator: '%s'"),
                                  std::string(text).c_str()));
        }
        for (char c : whole) {
            if (c != other) digits += c;
        }
    } else {
        if (!whole.empty() && !allDigits(whole))
            refuse(where, cli::format(_("not an amount: '%s'"), std::string(text).c_str()));
        digits = whole;
    }
    if (mark != std::string_view::npos) {
        if (fraction.find(other) != std::string_view::npos) {
            refuse(where, cli::format(_("the amount '%s' does not read with '%c' as decimal mark"),
                            std::string(text).c_str(), decimal));
        }
        if (!allDigits(fraction))
            refuse(where, cli::format(_("not an amount: '%s'"), std::string(text).c_str()));
        if (fraction.size() > kCents) {
            refuse(where, cli::format(_("the amount '%s' has %zu decimals; amounts are written in cents "
                              "(at most 2 decimals) and are never rounded"),
                            std::string(text).c_str(), fraction.size()));
        }
        digits += '.';
        digits += fraction;
    }
    if (digits.empty() || digits[0] == '.') digits.insert(digits.begin(), '0');
    auto amount = Currency::parse((negative ? "-" : "") + digits);
    if (!amount) refuse(where, cli::format(_("the amount '%s' is out of range"), std::string(text).c_str()));
    return *amount;
}

/// A JSON amount: a number or a text, '.' as decimal mark. Numbers reach here as the text the
/// file holds (see RawNumbers), so nothing was rounded on the way.
Currency amountOf(const Json& value, const std::string& where) {
    if (value.is_number_integer()) return readAmount(value.dump(), '.', false, where);
    if (!value.is_string()) refuse(where, cli::format(_("not an amount: %s"), value.dump().c_str()));
    return readAmount(value.get<std::string>(), '.', false, where);
}

Date dateOf(const std::string& text, const std::string& where) {
    auto date = Date::parseIso(text);
    if (!date || date->hasTime()) {
        if (text.find('/') != std::string::npos) {
            refuse(where, cli::format(_("the date must be YYYY-MM-DD: '%s' (for dd/mm/yyyy dates in a CSV "
                              "file use --date-format dmy)"),
                            std::string(text).c_str()));
        }
        refuse(where, cli::format(_("the date must be YYYY-MM-DD: '%s'"), std::string(text).c_str()));
    }
    return *date;
}

/// A date written dd/mm/yyyy (the day and month may have one digit).
Date dayMonthYearOf(const std::string& text, const std::string& where) {
    std::size_t first = text.find('/');
    std::size_t second = first == std::string::npos ? first : text.find('/', first + 1);
    std::optional<Date> date;
    if (second != std::string::npos) {
        std::string day = text.substr(0, first);
        std::string month = text.substr(first + 1, second - first - 1);
        std::string year = text.substr(second + 1);
        if (allDigits(day) && day.size() <= 2 && allDigits(month) && month.size() <= 2 &&
            allDigits(year) && year.size() == 4) {
            date = Date::fromYmd(std::stoi(year), std::stoi(month), std::stoi(day));
        }
    }
    if (!date) {
        refuse(where, cli::format(_("the date must be dd/mm/yyyy (--date-format dmy): '%s'"),
                        std::string(text).c_str()));
    }
    return *date;
}

std::int16_t departmentOf(long long value, const std::string& where) {
    if (value < 0 || value > 32767) refuse(where, _("department out of range"));
    return static_cast<std::int16_t>(value);
}

void onlyKeys(const Json& object, std::initializer_list<const char*> allowed,
              const std::string& where) {
    if (!object.is_object()) refuse(where, _("expected an object"));
    for (const auto& [key, value] : object.items()) {
        bool known = false;
        for (const char* name : allowed) known = known || key == name;
        if (!known) refuse(where, cli::format(_("unknown key \"%s\""), std::string(key).c_str()));
    }
}

std::string textOf(const Json& object, const char* key, const std::string& where) {
    if (!object.contains(key)) return {};
    if (!object[key].is_string()) refuse(where, cli::format(_("%s must be a text"), key));
    return object[key].get<std::string>();
}

std::int16_t smallOf(const Json& object, const char* key, const std::string& where) {
    if (!object.contains(key)) return 0;
    if (!object[key].is_number_integer() || object[key].get<long long>() < 0 ||
        object[key].get<long long>() > 32767) {
        refuse(where, cli::format(_("%s must be a whole number from 0 to 32767"), key));
    }
    return static_cast<std::int16_t>(object[key].get<long long>());
}

Currency requiredAmount(const Json& object, const char* key, const std::string& where) {
    if (!object.contains(key)) refuse(where, cli::format(_("missing %s"), key));
    return amountOf(object[key], where);
}

DraftInvoice readInvoice(const Json& item, const std::string& where) {
    onlyKeys(item,
             {"book", "tax", "account", "name", "nif", "document", "rates", "withholding", "due"},
             where);
    DraftInvoice invoice;
    std::string book = textOf(item, "book", where);
    if (book == "issued") {
        invoice.book = enmLibros::kvRepercutido;
    } else if (book == "received") {
        invoice.book = enmLibros::kvSoportado;
    } else if (book == "capital") {
        invoice.book = enmLibros::kvBienInversion;
    } else {
        refuse(where, _("book must be \"issued\", \"received\" or \"capital\""));
    }
    std::string tax = textOf(item, "tax", where);
    if (tax != "IVA" && tax != "IGIC") refuse(where, _("tax must be \"IVA\" or \"IGIC\""));
    invoice.tax = tax == "IVA" ? 2 : 1;
    invoice.account = textOf(item, "account", where);
    invoice.name = textOf(item, "name", where);
    invoice.nif = textOf(item, "nif", where);
    invoice.document = textOf(item, "document", where);
    if (item.contains("rates")) {
        if (!item["rates"].is_array()) refuse(where, _("rates must be a list"));
        for (std::size_t i = 0; i < item["rates"].size(); ++i) {
            const Json& rate = item["rates"][i];
            std::string at = cli::format(_("%s, rate line %zu"), where.c_str(), i + 1);
            onlyKeys(rate, {"operation", "base", "rate", "tax"}, at);
            DraftRate line;
            line.operation = rate.contains("operation") ? smallOf(rate, "operation", at) : 1;
            line.base = requiredAmount(rate, "base", at);
            line.rate = smallOf(rate, "rate", at);
            line.tax = requiredAmount(rate, "tax", at);
            invoice.rates.push_back(line);
        }
    }
    if (item.contains("withholding")) {
        const Json& held = item["withholding"];
        std::string at = cli::format(_("%s, withholding"), where.c_str());
        onlyKeys(held, {"key", "rate", "account", "base", "amount", "total"}, at);
        DraftWithholding withholding;
        withholding.key = held.contains("key") ? smallOf(held, "key", at) : 1;
        withholding.rate = smallOf(held, "rate", at);
        withholding.account = textOf(held, "account", at);
        withholding.base = requiredAmount(held, "base", at);
        withholding.amount = requiredAmount(held, "amount", at);
        withholding.total = requiredAmount(held, "total", at);
        invoice.withholding = withholding;
    }
    if (item.contains("due")) {
        if (!item["due"].is_array()) refuse(where, _("due must be a list"));
        for (std::size_t i = 0; i < item["due"].size(); ++i) {
            const Json& due = item["due"][i];
            std::string at = cli::format(_("%s, due date %zu"), where.c_str(), i + 1);
            onlyKeys(due, {"date", "amount"}, at);
            if (!due.contains("date") || !due["date"].is_string())
                refuse(at, _("a due date needs its date"));
            invoice.due.push_back(
                {dateOf(due["date"].get<std::string>(), at), requiredAmount(due, "amount", at)});
        }
    }
    return invoice;
}

/// Builds the JSON document as the library's own parser does, but keeps every number with a
/// fraction or an exponent as the text the file holds: a double would round 1.00005 or a
/// seventeen-digit amount before anything could see it.
class RawNumbers : public nlohmann::detail::json_sax_dom_parser<Json> {
  public:
    using json_sax_dom_parser::json_sax_dom_parser;
    bool number_float(number_float_t /*value*/, const string_t& text) {
        string_t copy = text;
        return string(copy);
    }
};

/// The key two references share when the database would find them equal: texts compare
/// without regard to case or trailing blanks.
std::string referenceKey(const std::string& reference) {
    std::string key = reference.substr(0, reference.find_last_not_of(' ') + 1);
    for (char& c : key) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return key;
}

/// Refuses an entry without a reference or with the reference of an earlier entry of the file.
void checkReferencesInFile(const std::vector<DraftEntry>& entries, const std::string& name) {
    std::map<std::string, std::string> seen;
    for (const DraftEntry& entry : entries) {
        if (entry.externalReference.find_first_not_of(' ') == std::string::npos) {
            refuse(name + ", " + entry.origin,
                   _("the entry has no reference; every entry needs one, unique in the exercise, "
                     "so that posting the same file again is refused"));
        }
        auto [found, added] = seen.emplace(referenceKey(entry.externalReference), entry.origin);
        if (!added) {
            refuse(name + ", " + entry.origin,
                   cli::format(_("the reference %s is also that of %s; references must be unique"),
                     entry.externalReference.c_str(), found->second.c_str()));
        }
    }
}

std::vector<DraftEntry> readJson(std::istream& input, const std::string& name) {
    Json file;
    try {
        RawNumbers builder(file);
        Json::sax_parse(input, &builder);
    } catch (const Json::parse_error& error) {
        refuse(name, cli::format(_("not valid JSON: %s"), error.what()));
    }
    onlyKeys(file, {"entries"}, name);
    if (!file.contains("entries") || !file["entries"].is_array())
        refuse(name, _("expected {\"entries\": [...]}"));
    std::vector<DraftEntry> entries;
    for (std::size_t i = 0; i < file["entries"].size(); ++i) {
        const Json& item = file["entries"][i];
        std::string where = cli::format(_("%s, entry %zu"), name.c_str(), i + 1);
        onlyKeys(item, {"date", "closing", "reference", "remarks", "lines", "invoice"}, where);
        DraftEntry entry;
        entry.origin = cli::format(_("entry %zu"), i + 1);
        if (!item.contains("date") || !item["date"].is_string()) refuse(where, _("missing date"));
        entry.date = dateOf(item["date"].get<std::string>(), where);
        if (item.contains("closing")) {
            if (!item["closing"].is_boolean()) refuse(where, _("closing must be true or false"));
            entry.closing = item["closing"].get<bool>();
        }
        entry.externalReference = textOf(item, "reference", where);
        entry.remarks = textOf(item, "remarks", where);
        if (!item.contains("lines") || !item["lines"].is_array()) refuse(where, _("missing lines"));
        for (std::size_t j = 0; j < item["lines"].size(); ++j) {
            const Json& row = item["lines"][j];
            std::string at = cli::format(_("%s, line %zu"), where.c_str(), j + 1);
            onlyKeys(row, {"account", "debit", "credit", "concept", "document", "department"}, at);
            DraftLine line;
            line.account = textOf(row, "account", at);
            if (row.contains("debit")) line.debit = amountOf(row["debit"], at);
            if (row.contains("credit")) line.credit = amountOf(row["credit"], at);
            line.description = textOf(row, "concept", at);
            line.document = textOf(row, "document", at);
            if (row.contains("department")) {
                if (!row["department"].is_number_integer())
                    refuse(at, _("department must be a number"));
                line.department = departmentOf(row["department"].get<long long>(), at);
            }
            entry.lines.push_back(line);
            entry.lineOrigins.push_back(cli::format(_("%s, line %zu"), entry.origin.c_str(), j + 1));
        }
        if (item.contains("invoice"))
            entry.invoice = readInvoice(item["invoice"], cli::format(_("%s, invoice"), where.c_str()));
        entries.push_back(std::move(entry));
    }
    checkReferencesInFile(entries, name);
    return entries;
}

std::vector<std::string> splitCsv(const std::string& line, char delimiter) {
    std::vector<std::string> fields;
    std::string field;
    bool quoted = false;
    for (std::size_t i = 0; i < line.size(); ++i) {
        char c = line[i];
        if (quoted) {
            if (c == '"' && i + 1 < line.size() && line[i + 1] == '"') {
                field += '"';
                ++i;
            } else if (c == '"') {
                quoted = false;
            } else {
                field += c;
            }
        } else if (c == '"') {
            quoted = true;
        } else if (c == delimiter) {
            fields.push_back(field);
            field.clear();
        } else if (c != '\r') {
            field += c;
        }
    }
    fields.push_back(field);
    return fields;
}

std::vector<DraftEntry> readCsv(std::istream& input, const std::string& name,
                                const CsvFormat& format) {
    static const std::vector<std::string> kHeader{"entry",  "date",    "account",  "debit",
                                                  "credit", "concept", "document", "department"};
    const char delimiter = format.delimiter;
    const char other = delimiter == ';' ? ',' : ';';
    std::string text;
    if (!std::getline(input, text)) refuse(name, _("empty file"));
    // A byte order mark, as spreadsheets write it before UTF-8 text.
    if (text.rfind("\xEF\xBB\xBF", 0) == 0) text.erase(0, 3);
    if (splitCsv(text, delimiter) != kHeader) {
        if (splitCsv(text, other) == kHeader) {
            refuse(name, cli::format(_("the fields are separated by '%c'; say so with --delimiter '%c'"),
                           other, other));
        }
        std::string header;
        for (const std::string& field : kHeader)
            header += (header.empty() ? "" : std::string(1, delimiter)) + field;
        refuse(name, cli::format(_("the first line must be %s"), header.c_str()));
    }
    std::vector<DraftEntry> entries;
    std::map<std::string, std::size_t> byKey;
    int number = 1;
    while (std::getline(input, text)) {
        ++number;
        if (text.find_first_not_of(" \t\r") == std::string::npos) continue;
        std::string where = cli::format(_("%s, line %zu"), name.c_str(), static_cast<std::size_t>(number));
        auto fields = splitCsv(text, delimiter);
        if (fields.size() != kHeader.size()) {
            if (delimiter == ',') {
                refuse(where, cli::format(_("expected 8 fields, found %zu (with --delimiter ',' an amount "
                                  "written with a decimal comma must be quoted: \"12,50\")"),
                                fields.size()));
            }
            refuse(where, cli::format(_("expected 8 fields, found %zu"), fields.size()));
        }
        Date date =
            format.dayMonthYear ? dayMonthYearOf(fields[1], where) : dateOf(fields[1], where);
        const std::string& key = fields[0];
        auto found = byKey.find(key);
        if (found == byKey.end()) {
            DraftEntry entry;
            entry.date = date;
            entry.externalReference = key;
            entry.origin = cli::format(_("entry %s (line %d)"), key.c_str(), number);
            found = byKey.emplace(key, entries.size()).first;
            entries.push_back(entry);
        } else if (found->second + 1 != entries.size()) {
            refuse(where, cli::format(_("the entry %s appears again after other entries; the lines of an "
                              "entry are consecutive and every entry has its own key"),
                            key.c_str()));
        } else if (entries[found->second].date != date) {
            refuse(where, cli::format(_("the lines of entry %s have different dates"), key.c_str()));
        }
        DraftLine line;
        line.account = fields[2];
        if (!fields[3].empty()) line.debit = readAmount(fields[3], format.decimal, true, where);
        if (!fields[4].empty()) line.credit = readAmount(fields[4], format.decimal, true, where);
        line.description = fields[5];
        line.document = fields[6];
        if (!fields[7].empty()) {
            try {
                std::size_t used = 0;
                long long value = std::stoll(fields[7], &used);
                if (used != fields[7].size()) throw std::invalid_argument("department");
                line.department = departmentOf(value, where);
            } catch (const std::logic_error&) {
                refuse(where, cli::format(_("department must be a number: '%s'"), fields[7].c_str()));
            }
        }
        entries[found->second].lines.push_back(line);
        entries[found->second].lineOrigins.push_back(cli::format(_("line %d"), number));
    }
    checkReferencesInFile(entries, name);
    return entries;
}

}  // namespace

std::vector<DraftEntry> readPostingFile(const std::filesystem::path& file, const CsvFormat& csv) {
    std::ifstream input(file, std::ios::binary);
    if (!input) throw UsageError{cli::format(_("%s: cannot be read"), file.string().c_str())};
    std::string extension = file.extension().string();
    if (extension == ".json") return readJson(input, file.string());
    if (extension == ".csv") return readCsv(input, file.string(), csv);
    throw UsageError{cli::format(_("%s: the file must end in .json or .csv"), file.string().c_str())};
}

namespace {

/// The line of the invoice's party account, whose number the book record carries.
const DraftLine* partyLine(const DraftEntry& entry) {
    for (const DraftLine& line : entry.lines) {
        if (line.account == entry.invoice->account) return &line;
    }
    return nullptr;
}

/// Refuses a text longer than its column: the library or the database would cut it, and a cut
/// text is a changed text. Characters are counted as the database counts them.
void checkWidth(const std::string& text, const char* field, const char* table, const char* column,
                const std::string& where) {
    const schema::Table* found = schema::findTable(table);
    const schema::Column* declared = found ? found->find(column) : nullptr;
    if (!declared || declared->type.type != schema::SqlType::VarChar) return;
    auto width = static_cast<std::size_t>(declared->type.length);
    std::size_t characters = text::characterCount(text);
    if (characters > width) {
        refuse(where, cli::format(_("the %s has %zu characters and the column %s.%s holds %zu; shorten it "
                          "(nothing is cut on posting)"),
                        field, characters, table, column, width));
    }
}

/// Refuses a tax amount that is not `rate` percent of `base`, give or take one cent.
void checkPercentage(Currency base, std::int16_t rate, Currency amount, const char* what,
                     const std::string& where) {
    using Wide = __int128;
    // In ten-thousandths times 100: amount * 100 against base * rate.
    Wide difference = Wide(amount.raw()) * 100 - Wide(base.raw()) * rate;
    if (difference < 0) difference = -difference;
    constexpr Wide kCent = Currency::kScale / 100 * 100;
    if (difference <= kCent) return;
    Wide exact = Wide(base.raw()) * rate;
    Wide rounded = (exact + (exact < 0 ? -50 : 50)) / 100;
    Currency expected = Currency::fromRaw(static_cast<std::int64_t>(rounded));
    refuse(where, cli::format(_("the %s %s is not %d%% of the base %s, which is %s (a difference of up "
                      "to 0,01 is accepted)"),
                    what, money(amount).c_str(), static_cast<int>(rate), money(base).c_str(),
                    money(expected).c_str()));
}

void checkInvoice(const DraftEntry& entry, cEmpresa& context) {
    const DraftInvoice& invoice = *entry.invoice;
    std::string where = cli::format(_("%s, invoice"), entry.origin.c_str());
    const DraftLine* party = partyLine(entry);
    if (!party)
        refuse(where, cli::format(_("the account %s is on none of the entry's lines"),
                        invoice.account.c_str()));
    for (const std::string* text : {&invoice.name, &invoice.nif, &invoice.document}) {
        if (text->find('\'') != std::string::npos) refuse(where, _("texts may not hold a quote (')"));
    }
    const char* book = invoice.tax == 2 ? "Iva" : "Igic";
    checkWidth(invoice.name, "name", book, "Nombre", where);
    checkWidth(invoice.nif, "nif", book, "Nif", where);
    checkWidth(invoice.document, "document", book, "Documento", where);
    if (invoice.rates.empty()) refuse(where, _("an invoice needs at least one rate line"));
    for (std::size_t i = 0; i < invoice.rates.size(); ++i) {
        const DraftRate& rate = invoice.rates[i];
        checkPercentage(rate.base, rate.rate, rate.tax, _("tax"),
                        cli::format(_("%s, rate line %zu"), where.c_str(), i + 1));
    }
    if (invoice.withholding) {
        const DraftWithholding& held = *invoice.withholding;
        if (held.account.size() != static_cast<std::size_t>(context.LongitudCuenta()) ||
            held.account.find_first_not_of("0123456789") != std::string::npos) {
            refuse(where, cli::format(_("the withholding account must be a full account: '%s'"),
                            held.account.c_str()));
        }
        checkPercentage(held.base, held.rate, held.amount, _("withholding"),
                        cli::format(_("%s, withholding"), where.c_str()));
    }
    if (!invoice.due.empty()) {
        Currency due;
        for (const DraftDue& item : invoice.due) due += item.amount;
        Currency owed = party->debit.isZero() ? party->credit : party->debit;
        if (due != owed) {
            refuse(where, cli::format(_("the due amounts add up to %s, the invoice to %s"),
                            money(due).c_str(), money(owed).c_str()));
        }
    }
}

/// The name of line `index` of `entry` in messages.
std::string lineOrigin(const DraftEntry& entry, std::size_t index) {
    if (index < entry.lineOrigins.size()) return entry.lineOrigins[index];
    return cli::format(_("%s, line %zu"), entry.origin.c_str(), index + 1);
}

}  // namespace

void checkEntries(const std::vector<DraftEntry>& entries, cEmpresa& context) {
    if (entries.empty()) throw UsageError{_("the file holds no entries")};
    auto length = static_cast<std::size_t>(context.LongitudCuenta());
    for (const DraftEntry& entry : entries) {
        const std::string& where = entry.origin;
        if (outsideExercise(context, entry.date)) {
            refuse(where, cli::format(_("the date %s is outside the exercise (%s to %s)"),
                            dateText(entry.date).c_str(), dateText(context.FechaInicio()).c_str(),
                            dateText(context.FechaFin()).c_str()));
        }
        if (entry.lines.size() < 2) refuse(where, _("an entry needs at least two lines"));
        for (const std::string* text : {&entry.externalReference, &entry.remarks}) {
            if (text->find('\'') != std::string::npos)
                refuse(where, _("texts may not hold a quote (')"));
        }
        checkWidth(entry.externalReference, "reference", "Asientos", "CodigoExterno", where);
        checkWidth(entry.remarks, "remarks", "Asientos", "Observaciones", where);
        Currency debits;
        Currency credits;
        for (std::size_t i = 0; i < entry.lines.size(); ++i) {
            const DraftLine& line = entry.lines[i];
            std::string at = lineOrigin(entry, i);
            if (line.account.size() != length ||
                line.account.find_first_not_of("0123456789") != std::string::npos) {
                refuse(at, cli::format(_("the account must be %zu digits: '%s'"), length,
                             line.account.c_str()));
            }
            if (line.debit < Currency() || line.credit < Currency())
                refuse(at, _("amounts may not be negative"));
            if (line.debit.isZero() == line.credit.isZero())
                refuse(at, _("exactly one of debit and credit must be above zero"));
            for (const std::string* text : {&line.description, &line.document}) {
                if (text->find('\'') != std::string::npos)
                    refuse(at, _("texts may not hold a quote (')"));
            }
            checkWidth(line.description, "concept", "Movimientos", "Concepto", at);
            checkWidth(line.document, "document", "Movimientos", "Documento", at);
            debits += line.debit;
            credits += line.credit;
        }
        if (debits != credits) {
            refuse(where, cli::format(_("unbalanced: debits %s, credits %s"), money(debits).c_str(),
                            money(credits).c_str()));
        }
        if (entry.invoice) checkInvoice(entry, context);
    }
}

void checkAccountsInChart(const std::vector<DraftEntry>& entries,
                          const db::ConnectionRef& connection, cEmpresa& context) {
    std::set<std::string> chart;
    db::Recordset rows;
    rows.Open(
        "SELECT Cuenta FROM Cuentas WHERE Cod_Empresa = " + std::to_string(context.Cod_Empresa()) +
            " AND Cod_Ejercicio = " + std::to_string(context.Cod_Ejercicio()),
        connection);
    for (; !rows.Eof(); rows.MoveNext()) chart.insert(rows.Fields(0).toText());
    rows.Close();
    // A company whose chart is kept elsewhere (an empty Cuentas) takes any full account.
    if (chart.empty()) return;
    for (const DraftEntry& entry : entries) {
        for (std::size_t i = 0; i < entry.lines.size(); ++i) {
            const std::string& account = entry.lines[i].account;
            if (chart.count(account) == 0) {
                refuse(lineOrigin(entry, i),
                       cli::format(_("the account %s is not in the company's chart of accounts"),
                         account.c_str()));
            }
        }
        if (entry.invoice && entry.invoice->withholding &&
            chart.count(entry.invoice->withholding->account) == 0) {
            refuse(cli::format(_("%s, invoice, withholding"), entry.origin.c_str()),
                   cli::format(_("the account %s is not in the company's chart of accounts"),
                     entry.invoice->withholding->account.c_str()));
        }
    }
}

std::optional<std::string> referencesAlreadyPosted(const std::vector<DraftEntry>& entries,
                                                   const db::ConnectionRef& connection,
                                                   cEmpresa& context) {
    // The references of the exercise's live entries: an annulled entry's reference may be
    // posted again, corrected.
    std::map<std::string, std::int32_t> posted;
    db::Recordset rows;
    rows.Open("SELECT Codigo, CodigoExterno FROM Asientos WHERE Cod_Empresa = " +
                  std::to_string(context.Cod_Empresa()) +
                  " AND Cod_Ejercicio = " + std::to_string(context.Cod_Ejercicio()) +
                  " AND Nulo = 0 AND CodigoExterno IS NOT NULL ORDER BY Codigo",
              connection);
    for (; !rows.Eof(); rows.MoveNext()) {
        posted.emplace(referenceKey(rows.Fields(1).toText()), rows.Fields(0).toLong());
    }
    rows.Close();
    const DraftEntry* first = nullptr;
    std::int32_t number = 0;
    std::size_t count = 0;
    for (const DraftEntry& entry : entries) {
        auto found = posted.find(referenceKey(entry.externalReference));
        if (found == posted.end()) continue;
        if (!first) {
            first = &entry;
            number = found->second;
        }
        ++count;
    }
    if (!first) return std::nullopt;
    if (count == 1) {
        return cli::format(_("Nothing was posted: the reference %s (%s) is already in the books, as entry "
                   "%d."),
                 first->externalReference.c_str(), first->origin.c_str(),
                 static_cast<int>(number));
    }
    return cli::format(_("Nothing was posted: the reference %s (%s) is already in the books, as entry %d; "
               "%zu of the file's %zu references are."),
             first->externalReference.c_str(), first->origin.c_str(), static_cast<int>(number),
             count, entries.size());
}

namespace {

void postInvoice(const DraftEntry& draft, PostedEntry& posted, const db::ConnectionRef& connection,
                 const cEmpresaRef& context) {
    const DraftInvoice& invoice = *draft.invoice;
    std::size_t partyIndex = 0;
    while (draft.lines[partyIndex].account != invoice.account) ++partyIndex;
    std::int32_t party = posted.lines[partyIndex];
    const DraftLine& partyLine = draft.lines[partyIndex];

    auto book = std::make_shared<clsLibroIgic>();
    book->Conexion(connection);
    book->cEmpresa(context);
    book->TipoIgIV(invoice.tax);
    book->Apunte(party);
    book->Fecha(draft.date);
    book->Cuenta(invoice.account);
    book->DocumentoSTR(invoice.document);
    book->Asiento(posted.number);
    book->Libro(invoice.book);
    book->Nombre(invoice.name);
    book->Nif(invoice.nif);
    book->Cantidad(static_cast<std::int16_t>(invoice.rates.size()));
    for (std::size_t i = 0; i < invoice.rates.size(); ++i) {
        auto index = static_cast<std::int16_t>(i);
        const DraftRate& rate = invoice.rates[i];
        book->Operacion(index, rate.operation);
        book->Base(index, rate.base);
        book->Tipo(index, rate.rate);
        book->Cuota(index, rate.tax);
        // Input tax is deductible; output tax is not the company's to deduct.
        book->Deducible(index, invoice.book == enmLibros::kvRepercutido ? Currency() : rate.tax);
    }
    book->Insertar();

    if (invoice.withholding) {
        const DraftWithholding& held = *invoice.withholding;
        auto irpf = std::make_shared<clsLibroIrpf>();
        irpf->cEmpresa(context);
        irpf->Apunte(party);
        irpf->Fecha(draft.date);
        irpf->Cuenta(invoice.account);
        irpf->Documento(invoice.document);
        irpf->Asiento(posted.number);
        irpf->Libro(invoice.book);
        irpf->Nombre(invoice.name);
        irpf->Nif(invoice.nif);
        irpf->Cod_Irpf(held.key);
        irpf->TipoIrpf(held.rate);
        irpf->CuentaIrpf(held.account);
        irpf->ImporteBase(held.base);
        irpf->ImporteIrpf(held.amount);
        irpf->ImporteFactura(held.total);
        irpf->Insertar();
    }

    for (const DraftDue& due : invoice.due) {
        if (invoice.book == enmLibros::kvRepercutido) {
            auto collection = std::make_shared<clsPrevCobros>();
            collection->cEmpresa(context);
            collection->Cuenta(invoice.account);
            collection->DocumentoSTR(invoice.document);
            collection->Asiento(posted.number);
            collection->Fecha_Doc(draft.date);
            collection->Fecha_Vto(due.date);
            collection->FormaCobro(1);
            collection->Importe(due.amount);
            collection->CuentaOriginal(invoice.account);
            collection->Insertar();
            posted.forecasts.push_back(collection->Apunte());
        } else {
            auto payment = std::make_shared<clsPrevPagos>();
            payment->cEmpresa(context);
            payment->ApunteMov(party);
            payment->Cod_EjercicioMov(context->Cod_Ejercicio());
            payment->Asiento(posted.number);
            payment->Cuenta(invoice.account);
            payment->DocumentoSTR(invoice.document);
            payment->Fecha_Doc(draft.date);
            payment->Fecha_Vto(due.date);
            payment->FormaPago(1);
            payment->Importe(due.amount);
            payment->CuentaOriginal(invoice.account);
            payment->Dpto(partyLine.department);
            payment->Insertar();
            posted.forecasts.push_back(payment->Apunte());
        }
    }
}

}  // namespace

std::vector<PostedEntry> postEntries(const std::vector<DraftEntry>& entries,
                                     const db::ConnectionRef& connection,
                                     const cEmpresaRef& context, std::int16_t user,
                                     const std::function<void(std::size_t)>& progress) {
    std::vector<PostedEntry> posted;
    std::size_t linesPosted = 0;
    for (const DraftEntry& draft : entries) {
        PostedEntry result;
        auto header = std::make_shared<clsAsiento>();
        header->Conexion(connection);
        header->cEmpresa(context);
        header->Fecha(draft.date);
        header->Cierre(draft.closing);
        header->Usuario(user);
        header->CodigoExterno(draft.externalReference);
        header->Insertar();
        result.number = header->Codigo();
        if (!draft.remarks.empty()) {
            header->Observaciones(draft.remarks);
            header->Modificar_Observaciones();
        }
        auto line = std::make_shared<clsMov>();
        line->cEmpresa(context);
        for (const DraftLine& item : draft.lines) {
            line->Asiento(result.number);
            line->Fecha_Asiento(draft.date);
            line->Fecha(draft.date);
            line->Cuenta(item.account);
            line->Debe(item.debit);
            line->Haber(item.credit);
            line->Concepto(item.description);
            line->DocumentoSTR(item.document);
            line->Dpto(item.department);
            line->Insertar();
            result.lines.push_back(line->Apunte());
        }
        if (draft.invoice) postInvoice(draft, result, connection, context);
        posted.push_back(std::move(result));
        linesPosted += draft.lines.size();
        if (progress) progress(linesPosted);
    }
    return posted;
}

}  // namespace kvlnmov::cli
