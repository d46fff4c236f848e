// Verification of the running balances: the journal is replayed in memory under the
// accumulation rules (journal/verification/accumulation_rules.h) and the result compared
// with the stored rows cell by cell. See kvlnmov/journal/balance_verifier.h for the rules
// about rows that existed before their first line and about directly entered opening
// balances.

#include "kvlnmov/journal/balance_verifier.h"

#include <algorithm>
#include <optional>
#include <unordered_map>

#include "journal/verification/balance_comparison.h"
#include "kvlnmov/db/recordset.h"
#include "kvlnmov/frame/error.h"
#include "kvlnmov/core/handlers.h"
#include "kvlnmov/core/sql_text.h"

namespace kvlnmov {

std::string_view balanceTableName(BalanceTable table) {
    return table == BalanceTable::Acumulados ? "Acumulados" : "Acumulados_Dpto";
}

bool BalanceVerification::clean() const {
    return differences.empty() && unbalancedEntries.empty() && linesWithoutHeader.empty() &&
           duplicateLines.empty() && duplicateEntries.empty();
}

namespace verification {

namespace {

constexpr const char* kSource = "verifyBalances";

using accumulation::kColumnCount;
using accumulation::kOpeningColumn;

/// The column list of the balance tables' amounts, in table order.
std::string amountColumns() {
    std::string columns;
    for (int column = 0; column < kColumnCount; ++column)
        columns += ", " + accumulation::columnName(column);
    return columns;
}

// Values as the posting code reads them, Null read as nothing.
std::int32_t longOf(const Variant& value) { return value.isNull() ? 0 : value.toLong(); }
std::int16_t integerOf(const Variant& value) { return value.isNull() ? 0 : value.toInteger(); }
std::string textOf(const Variant& value) { return value.isNull() ? std::string() : value.toText(); }
Currency amountOf(const Variant& value) { return value.isNull() ? Currency() : value.toCurrency(); }

/// A balance row as the replay builds it.
struct ReplayRow {
    Cells cells{};
    /// Level of the posting account of the first line that reached the row.
    std::int16_t level = 0;
    bool touched = false;
    /// When the first line that reached the row created it with another amount than it would
    /// have added to an existing row (an opening or closing credit): the column, and what
    /// the row would hold more had it existed before.
    int alternativeColumn = -1;
    Currency alternativeDelta;

    void apply(const accumulation::Change& change, std::int16_t postingLevel) {
        Currency& cell = cells[static_cast<std::size_t>(change.columnIndex)];
        if (touched) {
            cell += change.onExistingRow();
            return;
        }
        touched = true;
        level = postingLevel;
        cell += change.onNewRow();
        if (change.onNewRow() != change.onExistingRow()) {
            alternativeColumn = change.columnIndex;
            alternativeDelta = change.onExistingRow() - change.onNewRow();
        }
    }
};

/// An entry's header: its kind is worked out the first time a line needs it.
struct Header {
    Variant cierre;
    Variant fecha;
    std::optional<accumulation::EntryKind> kind;
};

struct EntryTotals {
    Currency debit;
    Currency credit;
};

/// The rows a posting account reaches, as account numbers of the replay.
struct PostingAccount {
    std::int16_t level = 0;
    std::vector<std::int32_t> rows;
};

class BalanceReplay {
  public:
    BalanceReplay(const db::ConnectionRef& connection, cEmpresa& context,
                  const VerificationOptions& options)
        : connection_(connection),
          context_(context),
          options_(options),
          where_(sql::whereCompanyExercise(context)) {}

    Comparison run() {
        result_.verification.company = context_.Cod_Empresa();
        result_.verification.exercise = context_.Cod_Ejercicio();
        readHeaders();
        replayLines();
        readStoredRows();
        compareAccountRows();
        compareDepartmentRows();
        return std::move(result_);
    }

  private:
    BalanceVerification& report() { return result_.verification; }

    std::int32_t accountId(const std::string& account) {
        auto [found, added] =
            accountIds_.try_emplace(account, static_cast<std::int32_t>(accounts_.size()));
        if (added) {
            accounts_.push_back(account);
            accountRows_.emplace_back();
        }
        return found->second;
    }

    static std::uint64_t departmentKey(std::int32_t account, std::int16_t department) {
        return static_cast<std::uint64_t>(static_cast<std::uint32_t>(account)) << 16 |
               static_cast<std::uint16_t>(department);
    }

    void readHeaders() {
        db::Recordset rows;
        rows.Open("SELECT Codigo, Cierre, Fecha FROM Asientos" + where_ + " ORDER BY Codigo",
                  connection_);
        std::optional<std::int32_t> previous;
        std::int64_t times = 0;
        for (; !rows.Eof(); rows.MoveNext()) {
            ++report().counts.entries;
            const std::int32_t code = longOf(rows.Fields(0));
            countRepeats(report().duplicateEntries, previous, times, code);
            // A lookup by code finds the first header read, as the posting code's does.
            headers_.try_emplace(code, Header{rows.Fields(1), rows.Fields(2), std::nullopt});
        }
        rows.Close();
        countRepeats(report().duplicateEntries, previous, times, std::nullopt);
    }

    /// Follows a sorted run of numbers; a number seen more than once is recorded when its
    /// run ends (`next` empty ends the last run).
    static void countRepeats(std::vector<DuplicateNumber>& found,
                             std::optional<std::int32_t>& previous, std::int64_t& times,
                             std::optional<std::int32_t> next) {
        if (previous && next == previous) {
            ++times;
            return;
        }
        if (previous && times > 1) found.push_back({*previous, times});
        previous = next;
        times = 1;
    }

    accumulation::EntryKind kindOf(Header& header) {
        if (!header.kind)
            header.kind = accumulation::entryKind(context_, header.cierre, header.fecha);
        return *header.kind;
    }

    const PostingAccount& postingAccount(const std::string& account) {
        auto found = postingAccounts_.find(account);
        if (found != postingAccounts_.end()) return found->second;
        PostingAccount posting;
        posting.level = accumulation::accountLevel(context_, account);
        for (const std::string& row : accumulation::touchedAccounts(context_, account))
            posting.rows.push_back(accountId(row));
        return postingAccounts_.emplace(account, std::move(posting)).first->second;
    }

    void replayLines() {
        db::Recordset lines;
        lines.Open(
            "SELECT Apunte, Cod_Asiento, Fecha_Asiento, Cuenta, Dpto, Debe, Haber FROM "
            "Movimientos" +
                where_ + " ORDER BY Apunte",
            connection_);
        std::unordered_map<std::int32_t, EntryTotals> entries;
        std::optional<std::int32_t> previous;
        std::int64_t times = 0;
        std::int64_t& count = report().counts.lines;
        for (; !lines.Eof(); lines.MoveNext()) {
            const std::int32_t number = longOf(lines.Fields(0));
            const std::int32_t entry = longOf(lines.Fields(1));
            const Variant& dateValue = lines.Fields(2);
            const Date date = dateValue.isNull() ? Date() : dateValue.toDate();
            const std::string account = textOf(lines.Fields(3));
            const std::int16_t department = integerOf(lines.Fields(4));
            const Currency debit = amountOf(lines.Fields(5));
            const Currency credit = amountOf(lines.Fields(6));

            countRepeats(report().duplicateLines, previous, times, number);
            EntryTotals& totals = entries[entry];
            totals.debit += debit;
            totals.credit += credit;

            accumulation::EntryKind kind = accumulation::EntryKind::Ordinary;
            auto header = headers_.find(entry);
            if (header == headers_.end()) {
                report().linesWithoutHeader.push_back({number, entry, account});
            } else {
                kind = kindOf(header->second);
            }
            const accumulation::Change change =
                accumulation::change(context_, kind, true, date, debit, credit);
            if (change.columnIndex < 0) {
                throw Error(errc::kCheck, kSource,
                            "Apunte " + std::to_string(number) + ": la columna " + change.column +
                                " no existe (periodo fuera de 1..12)");
            }
            const PostingAccount& posting = postingAccount(account);
            for (std::int32_t row : posting.rows) {
                accountRows_[static_cast<std::size_t>(row)].apply(change, posting.level);
                departmentRows_[departmentKey(row, department)].apply(change, posting.level);
            }

            ++count;
            if (options_.progress && options_.progressEvery > 0 &&
                count % options_.progressEvery == 0)
                options_.progress(count);
        }
        lines.Close();
        countRepeats(report().duplicateLines, previous, times, std::nullopt);

        for (const auto& [entry, totals] : entries) {
            if (totals.debit != totals.credit)
                report().unbalancedEntries.push_back({entry, totals.debit, totals.credit});
        }
        std::sort(
            report().unbalancedEntries.begin(), report().unbalancedEntries.end(),
            [](const UnbalancedEntry& a, const UnbalancedEntry& b) { return a.entry < b.entry; });
    }

    static Cells readCells(const db::Recordset& rows, int first) {
        Cells cells{};
        for (int column = 0; column < kColumnCount; ++column)
            cells[static_cast<std::size_t>(column)] = amountOf(rows.Fields(first + column));
        return cells;
    }

    void readStoredRows() {
        db::Recordset rows;
        rows.Open("SELECT Cuenta" + amountColumns() + " FROM Acumulados" + where_, connection_);
        for (; !rows.Eof(); rows.MoveNext()) {
            ++report().counts.accountRows;
            storedAccounts_[accountId(textOf(rows.Fields(0)))] = readCells(rows, 1);
        }
        rows.Open("SELECT Cuenta, Dpto" + amountColumns() + " FROM Acumulados_Dpto" + where_,
                  connection_);
        for (; !rows.Eof(); rows.MoveNext()) {
            ++report().counts.departmentRows;
            const std::int32_t account = accountId(textOf(rows.Fields(0)));
            storedDepartments_[departmentKey(account, integerOf(rows.Fields(1)))] =
                readCells(rows, 2);
        }
        rows.Close();
    }

    /// The expected cells of a row the replay built (or none), taking the row as having
    /// existed before its first line when the stored row says so.
    static Cells expectedCells(const ReplayRow* replayed, const Cells* stored,
                               Currency extraOpening) {
        Cells expected{};
        if (replayed) expected = replayed->cells;
        expected[kOpeningColumn] += extraOpening;
        if (replayed && stored && replayed->alternativeColumn >= 0) {
            const auto column = static_cast<std::size_t>(replayed->alternativeColumn);
            if ((*stored)[column] == expected[column] + replayed->alternativeDelta)
                expected[column] = (*stored)[column];
        }
        return expected;
    }

    /// Adds a differing row to the result when any cell differs.
    void compareRow(BalanceTable table, std::int32_t account, std::int16_t department,
                    const ReplayRow* replayed, const Cells* stored, const Cells& expected) {
        const Cells storedCells = stored ? *stored : Cells{};
        if (storedCells == expected) return;
        DifferingRow row;
        row.table = table;
        row.account = accounts_[static_cast<std::size_t>(account)];
        row.department = department;
        row.stored = stored != nullptr;
        row.level = replayed && replayed->touched
                        ? replayed->level
                        : accumulation::accountLevel(context_, row.account);
        row.storedCells = storedCells;
        row.expectedCells = expected;

        BalanceCounts& counts = report().counts;
        ++counts.differingRows;
        if (!row.stored) ++counts.missingRows;
        if (row.stored && expected == Cells{}) ++counts.strayRows;
        for (int column = 0; column < kColumnCount; ++column) {
            const auto index = static_cast<std::size_t>(column);
            if (storedCells[index] == expected[index]) continue;
            report().differences.push_back({table, row.account, department,
                                            accumulation::columnName(column), storedCells[index],
                                            expected[index], row.stored});
        }
        result_.rows.push_back(std::move(row));
    }

    /// Account numbers in account order.
    std::vector<std::int32_t> sortedAccounts(std::vector<std::int32_t> ids) const {
        std::sort(ids.begin(), ids.end(), [this](std::int32_t a, std::int32_t b) {
            return accounts_[static_cast<std::size_t>(a)] < accounts_[static_cast<std::size_t>(b)];
        });
        ids.erase(std::unique(ids.begin(), ids.end()), ids.end());
        return ids;
    }

    void compareAccountRows() {
        const auto fullLength = static_cast<std::size_t>(context_.LongitudCuenta());
        const std::int16_t levels = context_.Niveles();

        // Directly entered opening balances of the full-length accounts, and their shares in
        // the summary rows above them.
        std::unordered_map<std::int32_t, Currency> extraOpening;
        std::vector<std::int32_t> ids;
        for (const auto& [account, stored] : storedAccounts_) ids.push_back(account);
        for (std::int32_t account : sortedAccounts(ids)) {
            const std::string name = accounts_[static_cast<std::size_t>(account)];
            if (name.size() != fullLength) continue;
            // What the stored opening balance holds beyond the journal's, unless the row
            // reads as one that existed before its first line (an opening credit).
            const Cells& stored = storedAccounts_.at(account);
            const ReplayRow& replayed = accountRows_[static_cast<std::size_t>(account)];
            Currency direct = stored[kOpeningColumn] - replayed.cells[kOpeningColumn];
            if (replayed.alternativeColumn == kOpeningColumn && direct == replayed.alternativeDelta)
                direct = Currency();
            // (Interning the summary accounts below may move the replayed rows.)
            if (direct.isZero()) continue;
            report().openingBalancesWithoutEntry.push_back({name, direct});
            for (std::int16_t level = 0; level <= levels - 2; ++level) {
                const std::int16_t length = context_.LongitudNivel(level);
                if (length <= 0) continue;
                const std::string summary = sql::cut(name, static_cast<std::size_t>(length));
                if (summary != name) extraOpening[accountId(summary)] += direct;
            }
        }

        ids.clear();
        for (std::size_t account = 0; account < accountRows_.size(); ++account) {
            if (accountRows_[account].touched) ids.push_back(static_cast<std::int32_t>(account));
        }
        for (const auto& [account, stored] : storedAccounts_) ids.push_back(account);
        for (const auto& [account, amount] : extraOpening) ids.push_back(account);
        for (std::int32_t account : sortedAccounts(std::move(ids))) {
            const ReplayRow& replayed = accountRows_[static_cast<std::size_t>(account)];
            const ReplayRow* built = replayed.touched ? &replayed : nullptr;
            auto storedRow = storedAccounts_.find(account);
            const Cells* stored = storedRow == storedAccounts_.end() ? nullptr : &storedRow->second;
            auto extra = extraOpening.find(account);
            Cells expected = expectedCells(
                built, stored, extra == extraOpening.end() ? Currency() : extra->second);
            // A full-length account's stored opening balance is the journal's plus its
            // directly entered one, whatever it is.
            if (stored && accounts_[static_cast<std::size_t>(account)].size() == fullLength)
                expected[kOpeningColumn] = (*stored)[kOpeningColumn];
            compareRow(BalanceTable::Acumulados, account, 0, built, stored, expected);
        }
    }

    void compareDepartmentRows() {
        std::vector<std::uint64_t> keys;
        for (const auto& [key, row] : departmentRows_) keys.push_back(key);
        for (const auto& [key, stored] : storedDepartments_) keys.push_back(key);
        auto accountOf = [](std::uint64_t key) { return static_cast<std::int32_t>(key >> 16); };
        auto departmentOf = [](std::uint64_t key) {
            return static_cast<std::int16_t>(static_cast<std::uint16_t>(key & 0xFFFF));
        };
        std::sort(keys.begin(), keys.end(), [&](std::uint64_t a, std::uint64_t b) {
            const std::string& first = accounts_[static_cast<std::size_t>(accountOf(a))];
            const std::string& second = accounts_[static_cast<std::size_t>(accountOf(b))];
            if (first != second) return first < second;
            return departmentOf(a) < departmentOf(b);
        });
        keys.erase(std::unique(keys.begin(), keys.end()), keys.end());
        for (std::uint64_t key : keys) {
            auto replayedRow = departmentRows_.find(key);
            const ReplayRow* built =
                replayedRow == departmentRows_.end() ? nullptr : &replayedRow->second;
            auto storedRow = storedDepartments_.find(key);
            const Cells* stored =
                storedRow == storedDepartments_.end() ? nullptr : &storedRow->second;
            compareRow(BalanceTable::Acumulados_Dpto, accountOf(key), departmentOf(key), built,
                       stored, expectedCells(built, stored, Currency()));
        }
    }

    const db::ConnectionRef& connection_;
    cEmpresa& context_;
    const VerificationOptions& options_;
    const std::string where_;
    Comparison result_;

    std::unordered_map<std::int32_t, Header> headers_;
    std::unordered_map<std::string, std::int32_t> accountIds_;
    std::vector<std::string> accounts_;
    std::unordered_map<std::string, PostingAccount> postingAccounts_;
    /// Replayed rows: of `Acumulados` by account number, of `Acumulados_Dpto` by account and
    /// department.
    std::vector<ReplayRow> accountRows_;
    std::unordered_map<std::uint64_t, ReplayRow> departmentRows_;
    std::unordered_map<std::int32_t, Cells> storedAccounts_;
    std::unordered_map<std::uint64_t, Cells> storedDepartments_;
};

}  // namespace

Comparison compareBalances(const db::ConnectionRef& connection, cEmpresa& context,
                           const VerificationOptions& options) {
    return BalanceReplay(connection, context, options).run();
}

}  // namespace verification

BalanceVerification verifyBalances(const db::ConnectionRef& connection, cEmpresa& context,
                                   const VerificationOptions& options) {
    // Bracketed as a reading operation: the texts its statements quote are forgotten after.
    OperationScope scope(Access::Reads);
    return verification::compareBalances(connection, context, options).verification;
}

}  // namespace kvlnmov
