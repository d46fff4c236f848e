#pragma once

// Entries to post, read from a JSON or CSV file and checked completely before anything is
// written, and their posting through the library's entry and line objects.

#include <filesystem>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "kvlnmov/db/connection.h"
#include "kvlnmov/core/context.h"
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
    /// Where the entry came from, for messages ("entry 3", "CSV entry F-12").
    std::string origin;
};

/// Reads a posting file. JSON:
///   {"entries": [{"date": "2026-03-15", "closing": false, "reference": "", "remarks": "",
///     "lines": [{"account": "43000001", "debit": "121.00", "credit": 0, "description": "...",
///                "document": "F-1", "department": 1}, ...]}]}
/// CSV (semicolon-separated, first line the header):
///   entry;date;account;debit;credit;description;document;department
/// where the lines of one entry share the same `entry` key and date. Amounts use "." as
/// decimal separator. Raises UsageError (commands.h) naming the place of the first problem.
std::vector<DraftEntry> readPostingFile(const std::filesystem::path& file);

/// Checks every entry against the company's context before anything is written: date inside
/// the exercise, accounts of the full length made of digits, exactly one of debit and credit
/// above zero on each line, debits equal to credits, no quote in any text (the library writes
/// texts into its statements as they are). Raises UsageError for the first problem.
void checkEntries(const std::vector<DraftEntry>& entries, cEmpresa& context);

/// What posting an entry produced.
struct PostedEntry {
    std::int32_t number = 0;
    std::vector<std::int32_t> lines;
    /// Numbers of the payment or collection forecasts recorded for its due dates.
    std::vector<std::int32_t> forecasts;
};

/// Posts the entries (header, each line, then the invoice's tax book record, withholding
/// record and forecasts) with `user` as the recording user. Library errors are raised as they
/// come.
std::vector<PostedEntry> postEntries(const std::vector<DraftEntry>& entries,
                                     const db::ConnectionRef& connection,
                                     const cEmpresaRef& context, std::int16_t user);

}  // namespace kvlnmov::cli
