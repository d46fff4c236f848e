#include "chart_file.h"

#include <csv.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <iostream>
#include <map>
#include <set>
#include <sstream>

#include "commands.h"
#include "i18n.h"
#include "kvlnmov/db/recordset.h"
#include "kvlnmov/frame/text.h"
#include "kvlnmov/schema/schema.h"

namespace kvlnmov::cli {

namespace {

// The width of a varchar column of the company schema, so that the checks here follow the
// schema when it changes.
std::size_t columnWidth(std::string_view table, std::string_view column) {
    return static_cast<std::size_t>(schema::findTable(table)->find(column)->type.length);
}

bool allDigits(std::string_view text) {
    return !text.empty() &&
           std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

// Whether `text` is well-formed UTF-8 (no overlong forms, no surrogates, nothing past
// U+10FFFF).
bool validUtf8(std::string_view text) {
    std::size_t i = 0;
    while (i < text.size()) {
        const auto lead = static_cast<unsigned char>(text[i]);
        std::size_t extra = 0;
        unsigned int code = 0;
        unsigned int least = 0;
        if (lead < 0x80) {
            ++i;
            continue;
        } else if ((lead & 0xE0) == 0xC0) {
            extra = 1;
            code = lead & 0x1Fu;
            least = 0x80;
        } else if ((lead & 0xF0) == 0xE0) {
            extra = 2;
            code = lead & 0x0Fu;
            least = 0x800;
        } else if ((lead & 0xF8) == 0xF0) {
            extra = 3;
            code = lead & 0x07u;
            least = 0x10000;
        } else {
            return false;
        }
        if (i + extra >= text.size()) return false;
        for (std::size_t k = 1; k <= extra; ++k) {
            const auto next = static_cast<unsigned char>(text[i + k]);
            if ((next & 0xC0) != 0x80) return false;
            code = (code << 6) | (next & 0x3Fu);
        }
        if (code < least || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF)) return false;
        i += extra + 1;
    }
    return true;
}

// The rows libcsv hands over, each with the line it starts on.
struct CsvRows {
    std::size_t line = 0;
    std::size_t rowLine = 0;
    std::vector<std::string> fields;
    std::vector<std::pair<std::size_t, std::vector<std::string>>> rows;
};

void onField(void* data, std::size_t size, void* state) {
    auto& parsed = *static_cast<CsvRows*>(state);
    if (parsed.fields.empty()) parsed.rowLine = parsed.line;
    parsed.fields.emplace_back(data ? static_cast<const char*>(data) : "", data ? size : 0);
}

void onRow(int, void* state) {
    auto& parsed = *static_cast<CsvRows*>(state);
    parsed.rows.emplace_back(parsed.rowLine, std::move(parsed.fields));
    parsed.fields.clear();
}

[[noreturn]] void refuse(const std::string& where, const std::string& what) {
    throw UsageError{where + ": " + what};
}

std::string lineOf(const std::string& name, std::size_t line) {
    return format(_("%s, line %zu"), name.c_str(), line);
}

// Every row of a semicolon-separated file, read line by line so that each row knows its line.
CsvRows parseCsv(std::istream& input, const std::string& name) {
    csv_parser parser;
    if (csv_init(&parser, CSV_STRICT | CSV_STRICT_FINI) != 0) refuse(name, _("out of memory"));
    csv_set_delim(&parser, ';');
    CsvRows parsed;
    std::string text;
    try {
        while (std::getline(input, text)) {
            ++parsed.line;
            if (parsed.line == 1 && text.rfind("\xEF\xBB\xBF", 0) == 0) text.erase(0, 3);
            if (!validUtf8(text)) refuse(lineOf(name, parsed.line), _("the text is not UTF-8."));
            text += '\n';
            if (csv_parse(&parser, text.data(), text.size(), onField, onRow, &parsed) !=
                text.size()) {
                refuse(lineOf(name, parsed.line),
                       format(_("the line is not valid CSV (%s)."),
                              csv_strerror(csv_error(&parser))));
            }
        }
        if (input.bad()) refuse(name, _("the file cannot be read."));
        if (csv_fini(&parser, onField, onRow, &parsed) != 0)
            refuse(lineOf(name, parsed.rowLine), _("a quoted field is never closed."));
    } catch (...) {
        csv_free(&parser);
        throw;
    }
    csv_free(&parser);
    return parsed;
}

std::size_t countStartingWith(const std::set<std::string>& accounts, const std::string& prefix) {
    std::size_t count = 0;
    for (auto it = accounts.lower_bound(prefix); it != accounts.end() && it->rfind(prefix, 0) == 0;
         ++it)
        ++count;
    return count;
}

}  // namespace

std::size_t accountNameWidth() { return columnWidth("Cuentas", "Nombre"); }

std::size_t accountTagWidth() { return columnWidth("Cuentas", "Especial"); }

std::string quotedText(std::string_view text) {
    std::string result = "'";
    for (char c : text) {
        result += c;
        if (c == '\'') result += '\'';
    }
    return result + "'";
}

std::vector<ChartLine> readChart(std::istream& input, const std::string& name) {
    CsvRows parsed = parseCsv(input, name);
    if (parsed.rows.empty()) refuse(name, _("the file is empty."));
    const std::vector<std::string> header{"cuenta", "descripcion", "cuentaesp"};
    std::vector<std::string> found;
    for (const std::string& field : parsed.rows.front().second)
        found.push_back(text::lowerAscii(field));
    if (found != header) {
        refuse(lineOf(name, parsed.rows.front().first),
               _("the header must be \"cuenta\";\"descripcion\";\"cuentaesp\"."));
    }

    const std::size_t accountWidth = columnWidth("Cuentas", "Cuenta");
    const std::size_t nameWidth = accountNameWidth();
    const std::size_t tagWidth = accountTagWidth();
    std::vector<ChartLine> lines;
    std::map<std::string, std::size_t> seen;
    for (std::size_t i = 1; i < parsed.rows.size(); ++i) {
        auto& [line, fields] = parsed.rows[i];
        const std::string where = lineOf(name, line);
        if (fields.size() != 3) {
            refuse(where, format(_("expected 3 fields (account, name, tag), found %zu."),
                                 fields.size()));
        }
        ChartLine account{line, std::string(text::trim(fields[0])),
                          std::string(text::trim(fields[1])), std::string(text::trim(fields[2]))};
        if (!allDigits(account.account))
            refuse(where, format(_("the account '%s' must be digits only."),
                                 account.account.c_str()));
        if (account.account.size() > accountWidth) {
            refuse(where, format(_("the account %s is longer than %zu digits."),
                                 account.account.c_str(), accountWidth));
        }
        if (account.name.empty())
            refuse(where, format(_("the account %s has no name."), account.account.c_str()));
        if (text::characterCount(account.name) > nameWidth) {
            refuse(where, format(_("the name of account %s is longer than %zu characters."),
                                 account.account.c_str(), nameWidth));
        }
        if (text::characterCount(account.tag) > tagWidth) {
            refuse(where, format(_("the tag of account %s is longer than %zu characters."),
                                 account.account.c_str(), tagWidth));
        }
        auto [earlier, added] = seen.emplace(account.account, line);
        if (!added) {
            refuse(where, format(_("the account %s is already on line %zu."),
                                 account.account.c_str(), earlier->second));
        }
        lines.push_back(std::move(account));
    }
    return lines;
}

std::vector<ChartLine> readChartFile(const std::string& file) {
    std::ifstream input(file, std::ios::binary);
    if (!input) throw UsageError{format(_("'%s' cannot be opened."), file.c_str())};
    return readChart(input, file);
}

std::optional<std::string> resizeAccount(std::string_view account, std::size_t prefix,
                                         std::size_t length) {
    if (prefix >= account.size() || prefix >= length) return std::nullopt;
    std::string_view number = account.substr(prefix);
    const std::size_t room = length - prefix;
    if (number.size() > room) {
        const std::string_view dropped = number.substr(0, number.size() - room);
        if (dropped.find_first_not_of('0') != std::string_view::npos) return std::nullopt;
        number.remove_prefix(dropped.size());
    }
    return std::string(account.substr(0, prefix)) + std::string(room - number.size(), '0') +
           std::string(number);
}

std::vector<int> parseLevels(std::string_view levels) {
    std::vector<int> lengths;
    std::istringstream input{std::string(levels)};
    std::string part;
    while (std::getline(input, part, ',')) lengths.push_back(std::stoi(part));
    return lengths;
}

int levelOf(std::string_view account, const std::vector<int>& levels) {
    for (std::size_t i = 0; i < levels.size(); ++i) {
        if (static_cast<std::size_t>(levels[i]) == account.size()) return static_cast<int>(i) + 1;
    }
    return 0;
}

PlacedChart placeChart(const std::vector<ChartLine>& lines, const std::vector<int>& levels,
                       const std::string& name) {
    const auto length = static_cast<std::size_t>(levels.back());
    const std::vector<int> summaryLevels(levels.begin(), levels.end() - 1);
    const std::size_t longestSummary =
        summaryLevels.empty() ? 0 : static_cast<std::size_t>(summaryLevels.back());
    std::set<std::string> accounts;
    for (const ChartLine& line : lines) accounts.insert(line.account);

    PlacedChart chart;
    std::map<std::string, const ChartLine*> placedFrom;
    for (const ChartLine& line : lines) {
        const int summaryLevel = levelOf(line.account, summaryLevels);
        const bool parent = countStartingWith(accounts, line.account) > 1;
        PlacedAccount placed{line.account, line.name, line.tag, summaryLevel, line.line};
        if (summaryLevel > 0) {
            ++chart.summary;
        } else if (line.account.size() > longestSummary && !parent) {
            std::size_t prefix = longestSummary;
            for (std::size_t k = line.account.size() - 1; k > prefix; --k) {
                if (accounts.count(line.account.substr(0, k))) {
                    prefix = k;
                    break;
                }
            }
            const std::optional<std::string> resized = resizeAccount(line.account, prefix, length);
            if (!resized) {
                refuse(lineOf(name, line.line),
                       format(_("the account %s cannot have the company's %d digits: after its "
                                "prefix %s it would lose a digit other than zero."),
                              line.account.c_str(), static_cast<int>(length),
                              line.account.substr(0, prefix).c_str()));
            }
            placed.account = *resized;
            placed.level = static_cast<int>(levels.size());
            ++chart.posting;
        } else {
            chart.leftOut.push_back(line);
            continue;
        }
        auto [earlier, added] = placedFrom.emplace(placed.account, &line);
        if (!added) {
            refuse(lineOf(name, line.line),
                   format(_("the account %s becomes %s, as the account %s on line %zu does."),
                          line.account.c_str(), placed.account.c_str(),
                          earlier->second->account.c_str(), earlier->second->line));
        }
        chart.accounts.push_back(std::move(placed));
    }
    return chart;
}

ChartImport importChart(const db::ConnectionRef& connection, int company, int exercise,
                        const PlacedChart& chart, bool replace,
                        const std::function<void(std::size_t, std::size_t)>& progress) {
    const std::string keys = std::to_string(company) + ", " + std::to_string(exercise) + ", ";
    const std::string where = " WHERE Cod_Empresa = " + std::to_string(company) +
                              " AND Cod_Ejercicio = " + std::to_string(exercise);
    ChartImport result;
    connection->BeginTrans();
    try {
        if (replace) {
            result.replaced =
                static_cast<std::size_t>(connection->Execute("DELETE FROM Cuentas" + where));
        } else {
            db::Recordset rows;
            rows.Open("SELECT COUNT(*) FROM Cuentas" + where, connection);
            const auto existing = static_cast<std::size_t>(rows.Fields(0).toLong());
            rows.Close();
            if (existing > 0) throw ChartNotEmpty{existing};
        }
        const std::size_t total = chart.accounts.size();
        const std::size_t every = std::max<std::size_t>(1, total / 100);
        for (const PlacedAccount& account : chart.accounts) {
            connection->Execute(
                "INSERT INTO Cuentas (Cod_Empresa, Cod_Ejercicio, Cuenta, Nombre, Especial) "
                "VALUES (" +
                keys + quotedText(account.account) + ", " + quotedText(account.name) + ", " +
                (account.tag.empty() ? std::string("NULL") : quotedText(account.tag)) + ")");
            ++result.imported;
            if (progress && (result.imported % every == 0 || result.imported == total))
                progress(result.imported, total);
        }
        connection->CommitTrans();
    } catch (...) {
        connection->RollbackTrans();
        throw;
    }
    return result;
}

void reportImport(std::ostream& out, const ChartImport& done, const PlacedChart& chart, int company,
                  int exercise) {
    if (done.replaced > 0) {
        const auto replaced = static_cast<unsigned long long>(done.replaced);
        out << format(trn("Deleted the %llu account the chart held before.",
                          "Deleted the %llu accounts the chart held before.", replaced),
                      replaced)
            << "\n";
    }
    const auto imported = static_cast<unsigned long long>(done.imported);
    out << format(trn("Imported %llu account (%zu summary, %zu posting) into company %d, "
                      "exercise %d.",
                      "Imported %llu accounts (%zu summary, %zu posting) into company %d, "
                      "exercise %d.",
                      imported),
                  imported, static_cast<std::size_t>(chart.summary),
                  static_cast<std::size_t>(chart.posting), company, exercise)
        << "\n";
    if (!chart.leftOut.empty()) {
        const auto leftOut = static_cast<unsigned long long>(chart.leftOut.size());
        out << format(trn("Left out %llu summary account whose length is none of the company's "
                          "levels, %s on line %zu.",
                          "Left out %llu summary accounts whose length is none of the "
                          "company's levels, the first of them %s on line %zu.",
                          leftOut),
                      leftOut, chart.leftOut.front().account.c_str(),
                      static_cast<std::size_t>(chart.leftOut.front().line))
            << "\n";
    }
}

std::function<void(std::size_t, std::size_t)> terminalProgress() {
    if (!isatty(STDERR_FILENO)) return {};
    return [](std::size_t done, std::size_t total) {
        constexpr std::size_t kWidth = 40;
        const std::size_t filled = total ? done * kWidth / total : kWidth;
        std::cerr << "\r"
                  << format(_("Importing accounts [%s] %zu/%zu"),
                            (std::string(filled, '#') + std::string(kWidth - filled, ' ')).c_str(),
                            done, total)
                  << (done == total ? "\n" : "") << std::flush;
    };
}

}  // namespace kvlnmov::cli
