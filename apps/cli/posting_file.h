#pragma once

// Entries to post, read from a JSON or CSV file and checked completely before anything is
// written, and their posting through the library's entry and line objects.

#include <filesystem>
#include <functional>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "kvlnmov/core/context.h"
#include "kvlnmov/db/connection.h"
#include "kvlnmov/frame/currency.h"
#include "kvlnmov/frame/date.h"
#include "kvlnmov/frame/enums.h"

namespace kvlnmov::cli {

struct DraftLine {
    std::string account;
    Currency debit;
    Currency credit;
    std::string description;
    std::string document;
    std::int16_t department = 0;
};

/// One rate line of an invoice: operation kind, taxable base, whole-percent rate, tax.
struct DraftRate {
    std::int16_t operation = 1;
    Currency base;
    std::int16_t rate = 0;
    Currency tax;
};

/// The income-tax withholding of a professional's invoice.
struct DraftWithholding {
    std::int16_t key = 1;
    std::int16_t rate = 0;
    std::string account;
    Currency base;
    Currency amount;
    Currency total;
};

/// A due date of an invoice: a collection forecast for an issued invoice, a payment forecast
/// for a received one.
struct DraftDue {
    Date date;
    Currency amount;
};

/// The tax book record of an invoice entry, kept for the line of the other party's account.
struct DraftInvoice {
    enmLibros book = enmLibros::kvRepercutido;
    /// 2 for IVA, 1 for IGIC (the book class's TipoIgIV).
    std::uint8_t tax = 2;
    std::string account;
    std::string name;
    std::string nif;
    std::string document;
    std::vector<DraftRate> rates;
    std::optional<DraftWithholding> withholding;
    std::vector<DraftDue> due;
};

struct DraftEntry {
    Date date;
    /// An opening (dated the exercise's first day) or closing entry.
    bool closing = false;
    std::string externalReference;
    std::string remarks;
    std::vector<DraftLine> lines;
    std::optional<DraftInvoice> invoice;
    /// Where the entry came from, for messages ("entry 3", "entry F-12 (line 5)").
    std::string origin;
    /// Where each line came from, in the order of `lines` ("entry 3, line 2", "line 14");
    /// empty for entries made in code, whose lines are named by their place in the entry.
    std::vector<std::string> lineOrigins;
};

/// How the fields of a CSV posting file are written.
struct CsvFormat {
    /// The field separator: ';' or ','.
    char delimiter = ';';
    /// The decimal mark: '.' or ',' (the other mark may then only separate groups of three
    /// digits), or 0 to tell it from each amount: a single mark followed by one or two digits
    /// is the decimal mark, and an amount that could be read both ways ("1.210") is refused.
    char decimal = 0;
    /// Dates as yyyy-mm-dd, or as dd/mm/yyyy when `dayMonthYear`.
    bool dayMonthYear = false;
};

/// Reads a posting file. JSON:
///   {"entries": [{"date": "2026-03-15", "closing": false, "reference": "F-1", "remarks": "",
///     "lines": [{"account": "43000001", "debit": "121.00", "credit": 0, "concept": "...",
///                "document": "F-1", "department": 1}, ...], "invoice": {...}}]}
/// with amounts as JSON numbers or texts, '.' as decimal mark. CSV (first line the header):
///   entry;date;account;debit;credit;concept;document;department
/// where the consecutive lines of one entry share the same `entry` key, which is the entry's
/// reference, and date; `csv` tells the separator, decimal mark and date form.
/// Every entry needs a reference, unique in the file. Amounts take at most two decimals and are
/// never rounded. Raises UsageError naming the place of the first problem.
std::vector<DraftEntry> readPostingFile(const std::filesystem::path& file,
                                        const CsvFormat& csv = {});

/// Checks every entry against the company's context before anything is written: date inside
/// the exercise, accounts of the full length made of digits, exactly one of debit and credit
/// above zero on each line, debits equal to credits, no quote in any text (the library writes
/// texts into its statements as they are), no text longer than its column (which would be cut),
/// the tax of every invoice rate line and the withholding equal to base x rate / 100 within
/// 0.01. Raises UsageError for the first problem.
void checkEntries(const std::vector<DraftEntry>& entries, cEmpresa& context);

/// Checks that every account of the entries (lines and withholding accounts) is in the
/// company's chart of accounts (table Cuentas) when the chart has any account for the company
/// and exercise. Raises UsageError naming the first unknown account and its line.
void checkAccountsInChart(const std::vector<DraftEntry>& entries,
                          const db::ConnectionRef& connection, cEmpresa& context);

/// The sentence refusing the file when a reference of its entries is already that of an
/// entry of the company and exercise (annulled entries aside), naming the first one; nothing
/// when none is. References are compared as the database compares texts: without regard to
/// case or trailing blanks.
std::optional<std::string> referencesAlreadyPosted(const std::vector<DraftEntry>& entries,
                                                   const db::ConnectionRef& connection,
                                                   cEmpresa& context);

/// What posting an entry produced.
struct PostedEntry {
    std::int32_t number = 0;
    std::vector<std::int32_t> lines;
    /// Numbers of the payment or collection forecasts recorded for its due dates.
    std::vector<std::int32_t> forecasts;
};

/// Posts the entries (header, each line, then the invoice's tax book record, withholding
/// record and forecasts) with `user` as the recording user. Library errors are raised as they
/// come. `progress`, when given, is told after each entry how many lines are posted so far.
std::vector<PostedEntry> postEntries(const std::vector<DraftEntry>& entries,
                                     const db::ConnectionRef& connection,
                                     const cEmpresaRef& context, std::int16_t user,
                                     const std::function<void(std::size_t)>& progress = {});

}  // namespace kvlnmov::cli
