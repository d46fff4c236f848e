// Verifying the balances of a large book: 1,000,000 journal lines (250,000 balanced entries
// of four lines over a twelve-month exercise), a five-level chart (1, 2, 3, 4, 8) with 3,000
// posting accounts, six departments, and balance rows that agree with the lines.
//
// The book is written once into a database file in the build folder (a few minutes) and
// kept there: later runs measure only the verification. The rows are written as an
// application's bulk load would, with multi-row INSERTs in one transaction; the balances are
// summed while the lines are made, under the plain rules of ordinary entries (every row is
// created by a debit or credit of an ordinary entry, so no creation quirk applies).

#include <benchmark/benchmark.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <map>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "kvlnmov/db/open.h"
#include "kvlnmov/core/company_seed.h"
#include "kvlnmov/core/context.h"
#include "kvlnmov/core/library.h"
#include "kvlnmov/core/sql_text.h"
#include "kvlnmov/journal/balance_verifier.h"

namespace {

using namespace kvlnmov;

constexpr int kEntries = 250000;
constexpr int kLinesPerEntry = 4;
constexpr int kAccounts = 3000;
constexpr int kDepartments = 6;
constexpr int kRowsPerInsert = 500;
const std::vector<int> kLevels{1, 2, 3, 4, 8};

/// Apertura, Cierre, D1..D12, H1..H12 as whole ten-thousandths.
using Cells = std::array<std::int64_t, 26>;

std::string bookFile() {
    return (std::filesystem::path(KVLNMOV_BENCH_DIR) / "verify_bench_book.db").string();
}

std::string amountText(std::int64_t raw) { return Currency::fromRaw(raw).toString(); }

/// Collects rows of one multi-row INSERT and sends it every `kRowsPerInsert` rows.
class BulkInsert {
  public:
    BulkInsert(db::Connection& connection, std::string head)
        : connection_(connection), head_(std::move(head)) {}
    ~BulkInsert() { flush(); }

    void add(const std::string& values) {
        text_ += (rows_ == 0 ? head_ + " VALUES (" : ", (") + values + ")";
        if (++rows_ == kRowsPerInsert) flush();
    }
    void flush() {
        if (rows_ == 0) return;
        connection_.Execute(text_);
        text_.clear();
        rows_ = 0;
    }

  private:
    db::Connection& connection_;
    std::string head_;
    std::string text_;
    int rows_ = 0;
};

void writeBalances(db::Connection& connection, const std::map<std::string, Cells>& company,
                   const std::map<std::pair<std::string, int>, Cells>& departments) {
    std::string columns = "Apertura, Cierre";
    for (const char* side : {"D", "H"}) {
        for (int month = 1; month <= 12; ++month) columns += ", " + (side + std::to_string(month));
    }
    auto cells = [](const Cells& amounts) {
        std::string text;
        for (std::int64_t raw : amounts) text += ", " + amountText(raw);
        return text;
    };
    {
        BulkInsert rows(
            connection,
            "INSERT INTO Acumulados (Cod_Empresa, Cod_Ejercicio, Cuenta, Nivel, " + columns + ")");
        for (const auto& [account, amounts] : company)
            rows.add("1, 2026, '" + sql::text(account) + "', 5" + cells(amounts));
    }
    BulkInsert rows(connection,
                    "INSERT INTO Acumulados_Dpto (Cod_Empresa, Cod_Ejercicio, Cuenta, Dpto, "
                    "Nivel, " +
                        columns + ")");
    for (const auto& [key, amounts] : departments) {
        rows.add("1, 2026, '" + sql::text(key.first) + "', " + std::to_string(key.second) + ", 5" +
                 cells(amounts));
    }
}

/// Writes the book into `file`.
void buildBook(const std::string& file) {
    auto connection = db::openConnection("Provider=SQLite;Data Source=" + file);
    CompanySeed seed;
    seed.name = "Banco de pruebas";
    seedCompany(*connection, seed);

    // 3,000 posting accounts under about 600 four-digit summary accounts of groups 1 to 7.
    std::vector<std::string> accounts;
    for (int i = 0; i < kAccounts; ++i) {
        const int summary = 1000 + (i * 7919) % 7000;
        char text[16];
        std::snprintf(text, sizeof text, "%04d%04d", summary, i);
        accounts.emplace_back(text);
    }

    std::mt19937 random(20260101);
    std::uniform_int_distribution<int> anyAccount(0, kAccounts - 1);
    std::uniform_int_distribution<int> anyDepartment(0, kDepartments - 1);
    std::uniform_int_distribution<int> anyMonth(1, 12);
    std::uniform_int_distribution<int> anyDay(1, 28);
    std::uniform_int_distribution<std::int64_t> anyAmount(1, 50000000);

    std::map<std::string, Cells> company;
    std::map<std::pair<std::string, int>, Cells> departments;
    auto accumulate = [&](const std::string& account, int department, int column,
                          std::int64_t raw) {
        for (int length : kLevels) {
            const std::string row = account.substr(0, static_cast<std::size_t>(length));
            company[row][static_cast<std::size_t>(column)] += raw;
            departments[{row, department}][static_cast<std::size_t>(column)] += raw;
        }
    };

    connection->BeginTrans();
    {
        BulkInsert headers(connection.operator*(),
                           "INSERT INTO Asientos (Cod_Empresa, Cod_Ejercicio, Codigo, Fecha, Nulo, "
                           "Cierre, Usuario)");
        BulkInsert lines(connection.operator*(),
                         "INSERT INTO Movimientos (Cod_Empresa, Cod_Ejercicio, Cod_Asiento, "
                         "Apunte, Fecha_Asiento, Cuenta, Fecha_Apunte, Concepto, Dpto, Debe, "
                         "Haber)");
        int number = 0;
        for (int entry = 1; entry <= kEntries; ++entry) {
            const int month = anyMonth(random);
            char date[16];
            std::snprintf(date, sizeof date, "%02d/%02d/2026", anyDay(random), month);
            headers.add("1, 2026, " + std::to_string(entry) + ", '" + sql::text(date) +
                        "', 0, 0, 1");
            // Two debits and the two credits that balance them.
            const std::int64_t first = anyAmount(random);
            const std::int64_t second = anyAmount(random);
            const std::array<std::pair<std::int64_t, std::int64_t>, kLinesPerEntry> amounts{
                {{first, 0}, {second, 0}, {0, first + second - second / 2}, {0, second / 2}}};
            for (const auto& [debit, credit] : amounts) {
                const std::string& account = accounts[static_cast<std::size_t>(anyAccount(random))];
                const int department = anyDepartment(random);
                lines.add("1, 2026, " + std::to_string(entry) + ", " + std::to_string(++number) +
                          ", '" + sql::text(date) + "', '" + sql::text(account) + "', '" +
                          sql::text(date) + "', 'Linea', " + std::to_string(department) + ", " +
                          amountText(debit) + ", " + amountText(credit));
                const int column = debit != 0 ? 1 + month : 13 + month;
                accumulate(account, department, column, debit != 0 ? debit : credit);
            }
        }
    }
    writeBalances(*connection, company, departments);
    connection->CommitTrans();
}

/// The cached book, built first when it is not there yet.
const std::string& book() {
    static const std::string file = [] {
        const std::string path = bookFile();
        if (!std::filesystem::exists(path)) {
            const std::string partial = path + ".partial";
            for (const char* suffix : {"", "-wal", "-shm"})
                std::filesystem::remove(partial + suffix);
            buildBook(partial);
            std::filesystem::rename(partial, path);
        }
        return path;
    }();
    return file;
}

void VerifyMillionLineBook(benchmark::State& state) {
    resetLibrary();
    const std::string& file = book();
    auto connection = db::openConnection("Provider=SQLite;Data Source=" + file);
    SettableContext context;
    context.company = 1;
    context.exercise = 2026;
    context.firstDay = Date::ymd(2026, 1, 1);
    context.lastDay = Date::ymd(2026, 12, 31);
    context.levelLengths = {1, 2, 3, 4, 8};
    std::int64_t lines = 0;
    for (auto _ : state) {
        const BalanceVerification found = verifyBalances(connection, context);
        if (!found.clean() || found.counts.lines != kEntries * kLinesPerEntry) {
            state.SkipWithError("the book does not verify clean");
            break;
        }
        lines += found.counts.lines;
    }
    state.SetItemsProcessed(lines);
}
BENCHMARK(VerifyMillionLineBook)->Unit(benchmark::kSecond)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
