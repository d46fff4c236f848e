// Posting lines through the library against the floor SQLite sets: the same work written
// directly against SQLite with prepared statements kept for the whole run.
//
// Each round posts the same entries (a header and four lines each, over 3,000 posting
// accounts of a five-level chart 1,2,3,4,8) twice, on two fresh database files made from the
// same template: once through raw SQLite (per line: the next line number read, the entry
// header read, one INSERT of the line, ten balance upserts: five levels, company and
// department) and once through clsAsiento/clsMov. Rounds interleave the two so that the
// machine's state weighs on both alike; the figures printed are medians over the rounds.
//
// Modes: "caller" runs the whole batch in one transaction of the caller, "entry" one
// transaction per entry, "autocommit" none (every statement of the floor commits by itself;
// the library commits once per operation).
//
// With --book-lines N the template already holds N lines (and their entries) before the
// measured batch, to show how the cost of a line grows with the size of the books. With
// --viewer it also times loading the first 200 rows of an entry in the entry viewer.
//
// --library-only and --floor-only run one side once (no rounds): what
// scripts/bench-instructions.sh counts under callgrind.

#include <sqlite3.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "kvlnmov/core/company_seed.h"
#include "kvlnmov/core/context.h"
#include "kvlnmov/core/library.h"
#include "kvlnmov/db/open.h"
#include "kvlnmov/journal/cls_asiento.h"
#include "kvlnmov/journal/cls_mov.h"
#include "kvlnmov/viewer/entry_view.h"

namespace {

using namespace kvlnmov;
using Clock = std::chrono::steady_clock;

constexpr int kAccounts = 3000;
constexpr int kLinesPerEntry = 4;
constexpr int kLevels[] = {1, 2, 3, 4, 8};

enum class Mode { Caller, Entry, Autocommit };

const char* modeName(Mode mode) {
    switch (mode) {
        case Mode::Caller:
            return "caller";
        case Mode::Entry:
            return "entry";
        case Mode::Autocommit:
            break;
    }
    return "autocommit";
}

std::vector<std::string> postingAccounts() {
    std::vector<std::string> accounts;
    for (int i = 0; i < kAccounts; ++i) {
        char text[16];
        std::snprintf(text, sizeof text, "%04d%04d", 1000 + (i * 7919) % 7000, i);
        accounts.emplace_back(text);
    }
    return accounts;
}

/// One line of the batch: its account and its amount in ten-thousandths (debit when the
/// line's position in its entry is even, else credit).
struct Line {
    int account;
    std::int64_t amount;
};

std::vector<Line> batchLines(int lines, unsigned seed) {
    std::vector<Line> result;
    std::uint64_t state = seed * 2654435761u + 1;
    for (int i = 0; i < lines; ++i) {
        state = state * 6364136223846793005ull + 1442695040888963407ull;
        const int account = static_cast<int>((state >> 33) % kAccounts);
        // Each pair of lines carries the same amount, so that every entry balances.
        const std::int64_t amount =
            i % 2 ? result.back().amount : 10000 + static_cast<std::int64_t>((state >> 20) % 9999999);
        result.push_back({account, amount});
    }
    return result;
}

void check(sqlite3* db, int resultCode, const char* what) {
    if (resultCode != SQLITE_OK && resultCode != SQLITE_DONE && resultCode != SQLITE_ROW)
        throw std::runtime_error(std::string(what) + ": " + sqlite3_errmsg(db));
}

class RawDatabase {
  public:
    explicit RawDatabase(const std::string& file) {
        check(db_,
              sqlite3_open_v2(file.c_str(), &db_,
                              SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX, nullptr),
              "open");
        sqlite3_busy_timeout(db_, 5000);
        exec("PRAGMA journal_mode=WAL; PRAGMA synchronous=NORMAL");
    }
    ~RawDatabase() {
        for (sqlite3_stmt* statement : statements_) sqlite3_finalize(statement);
        sqlite3_close(db_);
    }
    RawDatabase(const RawDatabase&) = delete;
    RawDatabase& operator=(const RawDatabase&) = delete;

    void exec(const char* sql) { check(db_, sqlite3_exec(db_, sql, nullptr, nullptr, nullptr), sql); }
    sqlite3_stmt* prepare(const char* sql) {
        sqlite3_stmt* statement = nullptr;
        check(db_, sqlite3_prepare_v3(db_, sql, -1, SQLITE_PREPARE_PERSISTENT, &statement, nullptr),
              sql);
        statements_.push_back(statement);
        return statement;
    }
    /// Binds the integers `values` to ?1.. of `statement`, steps it to its end and resets it.
    /// Returns the first column of the first row (0 when none).
    std::int64_t run(sqlite3_stmt* statement, std::initializer_list<std::int64_t> values,
                     const std::string* text = nullptr, int textPosition = 0) {
        int position = 1;
        for (std::int64_t value : values) {
            if (position == textPosition) ++position;
            sqlite3_bind_int64(statement, position++, value);
        }
        if (text) sqlite3_bind_text(statement, textPosition, text->data(), static_cast<int>(text->size()),
                                    SQLITE_STATIC);
        std::int64_t first = 0;
        int resultCode = sqlite3_step(statement);
        if (resultCode == SQLITE_ROW) first = sqlite3_column_int64(statement, 0);
        while (resultCode == SQLITE_ROW) resultCode = sqlite3_step(statement);
        check(db_, resultCode, sqlite3_sql(statement));
        sqlite3_reset(statement);
        return first;
    }
    sqlite3* handle() const { return db_; }

  private:
    sqlite3* db_ = nullptr;
    std::vector<sqlite3_stmt*> statements_;
};

/// The template database: the company, its exercise, a zero balance row for every account of
/// the chart at every level (company and department 0), and `bookLines` lines already posted.
void buildTemplate(const std::string& file, const std::vector<std::string>& accounts,
                   int bookLines) {
    std::filesystem::remove(file);
    {
        resetLibrary();
        auto connection = db::openConnection("Provider=SQLite;Data Source=" + file);
        seedCompany(*connection, CompanySeed{});
    }
    RawDatabase db(file);
    db.exec("BEGIN");
    sqlite3_stmt* company = db.prepare(
        "INSERT OR IGNORE INTO Acumulados (Cod_Empresa, Cod_Ejercicio, Cuenta, Nivel) "
        "VALUES (1, 2026, ?2, ?1)");
    sqlite3_stmt* department = db.prepare(
        "INSERT OR IGNORE INTO Acumulados_Dpto (Cod_Empresa, Cod_Ejercicio, Cuenta, Dpto, Nivel) "
        "VALUES (1, 2026, ?2, 0, ?1)");
    for (const std::string& account : accounts) {
        for (int level = 0; level < 5; ++level) {
            const std::string prefix = account.substr(0, static_cast<std::size_t>(kLevels[level]));
            db.run(company, {level + 1}, &prefix, 2);
            db.run(department, {level + 1}, &prefix, 2);
        }
    }
    sqlite3_stmt* header = db.prepare(
        "INSERT INTO Asientos (Cod_Empresa, Cod_Ejercicio, Codigo, Fecha, Cierre, Usuario) "
        "VALUES (1, 2026, ?1, '2026-02-10', 0, 0)");
    sqlite3_stmt* line = db.prepare(
        "INSERT INTO Movimientos (Cod_Empresa, Cod_Ejercicio, Cod_Asiento, Apunte, Fecha_Asiento, "
        "Cuenta, Fecha_Apunte, Concepto, Debe, Haber) VALUES (1, 2026, ?1, ?2, '2026-02-10', ?3, "
        "'2026-02-10', 'Saldo anterior', ?4, ?5)");
    const std::vector<Line> lines = batchLines(bookLines, 7);
    for (int i = 0; i < bookLines; ++i) {
        const int entry = i / kLinesPerEntry + 1;
        if (i % kLinesPerEntry == 0) db.run(header, {entry});
        const std::string& account = accounts[static_cast<std::size_t>(lines[i].account)];
        const bool debit = i % 2 == 0;
        db.run(line, {entry, i + 1, debit ? lines[i].amount : 0, debit ? 0 : lines[i].amount},
               &account, 3);
    }
    db.exec("COMMIT");
    db.exec("PRAGMA wal_checkpoint(TRUNCATE)");
}

/// The floor: the batch through SQLite with its own prepared statements.
double postRaw(const std::string& file, const std::vector<std::string>& accounts,
               const std::vector<Line>& lines, Mode mode, std::int32_t firstEntry) {
    RawDatabase db(file);
    sqlite3_stmt* header = db.prepare(
        "INSERT INTO Asientos (Cod_Empresa, Cod_Ejercicio, Codigo, Fecha, Cierre, Usuario) "
        "VALUES (1, 2026, ?1, '2026-03-15', 0, 0)");
    sqlite3_stmt* nextLine = db.prepare(
        "SELECT IFNULL(MAX(Apunte), 0) + 1 FROM Movimientos WHERE Cod_Empresa = 1 AND "
        "Cod_Ejercicio = 2026");
    sqlite3_stmt* readHeader = db.prepare(
        "SELECT Cierre, Fecha FROM Asientos WHERE Cod_Empresa = 1 AND Cod_Ejercicio = 2026 AND "
        "Codigo = ?1");
    sqlite3_stmt* insertLine = db.prepare(
        "INSERT INTO Movimientos (Cod_Empresa, Cod_Ejercicio, Cod_Asiento, Apunte, Fecha_Asiento, "
        "Cuenta, Fecha_Apunte, Concepto, Debe, Haber) VALUES (1, 2026, ?1, ?2, '2026-03-15', ?3, "
        "'2026-03-15', 'Linea', ?4, ?5)");
    // One upsert per balance table and side: the amount added to the month's column.
    auto upsert = [&](bool department, const char* column) {
        const std::string table = department ? "Acumulados_Dpto" : "Acumulados";
        const std::string sql = "INSERT INTO " + table +
                                " (Cod_Empresa, Cod_Ejercicio, Cuenta, " +
                                (department ? "Dpto, " : "") + "Nivel, " + column +
                                ") VALUES (1, 2026, ?3, " + (department ? "0, " : "") +
                                "?1, ?2) ON CONFLICT DO UPDATE SET " + column + " = " + column +
                                " + excluded." + column;
        return db.prepare(sql.c_str());
    };
    sqlite3_stmt* debitCompany = upsert(false, "D3");
    sqlite3_stmt* creditCompany = upsert(false, "H3");
    sqlite3_stmt* debitDepartment = upsert(true, "D3");
    sqlite3_stmt* creditDepartment = upsert(true, "H3");

    const auto start = Clock::now();
    if (mode == Mode::Caller) db.exec("BEGIN IMMEDIATE");
    for (std::size_t i = 0; i < lines.size(); ++i) {
        const std::int32_t entry = firstEntry + static_cast<std::int32_t>(i / kLinesPerEntry);
        if (i % kLinesPerEntry == 0) {
            if (mode == Mode::Entry) db.exec("BEGIN IMMEDIATE");
            db.run(header, {entry});
        }
        const std::int64_t number = db.run(nextLine, {});
        db.run(readHeader, {entry});
        const std::string& account = accounts[static_cast<std::size_t>(lines[i].account)];
        const bool debit = i % 2 == 0;
        const std::int64_t amount = lines[i].amount;
        db.run(insertLine, {entry, number, debit ? amount : 0, debit ? 0 : amount}, &account, 3);
        for (int level = 0; level < 5; ++level) {
            const std::string prefix = account.substr(0, static_cast<std::size_t>(kLevels[level]));
            db.run(debit ? debitCompany : creditCompany, {level + 1, amount}, &prefix, 3);
            db.run(debit ? debitDepartment : creditDepartment, {level + 1, amount}, &prefix, 3);
        }
        if (mode == Mode::Entry && i % kLinesPerEntry == kLinesPerEntry - 1) db.exec("COMMIT");
    }
    if (mode == Mode::Caller) db.exec("COMMIT");
    return std::chrono::duration<double>(Clock::now() - start).count();
}

std::shared_ptr<SettableContext> exerciseContext() {
    auto context = std::make_shared<SettableContext>();
    context->exercise = 2026;
    context->firstDay = Date::ymd(2026, 1, 1);
    context->lastDay = Date::ymd(2026, 12, 31);
    return context;
}

/// The same batch through the library's journal objects.
double postLibrary(const std::string& file, const std::vector<std::string>& accounts,
                   const std::vector<Line>& lines, Mode mode) {
    resetLibrary();
    auto connection = db::openConnection("Provider=SQLite;Data Source=" + file);
    auto context = exerciseContext();
    auto header = std::make_shared<clsAsiento>();
    header->Conexion(connection);
    header->cEmpresa(context);
    auto line = std::make_shared<clsMov>();
    line->cEmpresa(context);
    const Date date = Date::ymd(2026, 3, 15);

    const auto start = Clock::now();
    if (mode == Mode::Caller) connection->BeginTrans();
    for (std::size_t i = 0; i < lines.size(); ++i) {
        if (i % kLinesPerEntry == 0) {
            if (mode == Mode::Entry) connection->BeginTrans();
            header->Fecha(date);
            if (!header->Insertar()) throw std::runtime_error("the entry header was not posted");
            line->Asiento(header->Codigo());
            line->Fecha_Asiento(date);
            line->Concepto("Linea");
        }
        const bool debit = i % 2 == 0;
        const Currency amount = Currency::fromRaw(lines[i].amount);
        line->Cuenta(accounts[static_cast<std::size_t>(lines[i].account)]);
        line->Debe(debit ? amount : Currency());
        line->Haber(debit ? Currency() : amount);
        if (!line->Insertar()) throw std::runtime_error("a line was not posted");
        if (mode == Mode::Entry && i % kLinesPerEntry == kLinesPerEntry - 1)
            connection->CommitTrans();
    }
    if (mode == Mode::Caller) connection->CommitTrans();
    return std::chrono::duration<double>(Clock::now() - start).count();
}

/// Milliseconds to load the first rows of the entry viewer for a four-line entry in the middle
/// of the books (the median of `times` loads).
double viewerMilliseconds(const std::string& file, std::int32_t entry, int times) {
    resetLibrary();
    auto connection = db::openConnection("Provider=SQLite;Data Source=" + file);
    std::vector<double> samples;
    for (int i = 0; i < times; ++i) {
        EntryView view(connection, exerciseContext(), 1, 2026, entry);
        const auto start = Clock::now();
        view.load();
        samples.push_back(std::chrono::duration<double, std::milli>(Clock::now() - start).count());
        if (view.rows().empty()) throw std::runtime_error("the viewer found no lines");
    }
    std::sort(samples.begin(), samples.end());
    return samples[samples.size() / 2];
}

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

}  // namespace

int main(int argc, char** argv) {
    CLI::App app("Posting through the library against raw SQLite doing the same work.");
    int lineCount = 8000;
    int rounds = 3;
    int bookLines = 0;
    std::vector<std::string> modeNames{"caller", "entry", "autocommit"};
    std::string folder = std::filesystem::temp_directory_path().string();
    bool libraryOnly = false;
    bool floorOnly = false;
    bool viewer = false;
    bool keepTemplate = false;
    app.add_option("--lines", lineCount, "lines posted per measurement (a multiple of 4)")
        ->check(CLI::Range(4, 10000000));
    app.add_option("--rounds", rounds, "interleaved rounds; medians are printed")
        ->check(CLI::Range(1, 99));
    app.add_option("--book-lines", bookLines, "lines already in the books before the batch")
        ->check(CLI::Range(0, 100000000));
    app.add_option("--modes", modeNames, "caller, entry, autocommit")
        ->check(CLI::IsMember({"caller", "entry", "autocommit"}));
    app.add_option("--dir", folder, "folder of the database files");
    app.add_flag("--library-only", libraryOnly, "post once through the library, nothing else");
    app.add_flag("--floor-only", floorOnly, "post once through raw SQLite, nothing else");
    app.add_flag("--viewer", viewer, "also time the entry viewer's first rows");
    app.add_flag("--keep-template", keepTemplate,
                 "keep the template database in --dir, and use one already there");
    CLI11_PARSE(app, argc, argv);
    lineCount -= lineCount % kLinesPerEntry;

    const std::vector<std::string> accounts = postingAccounts();
    const std::string templateFile =
        folder + "/kvlnmov_posting_template_" + std::to_string(bookLines) + ".db";
    const std::string rawFile = folder + "/kvlnmov_posting_raw.db";
    const std::string libraryFile = folder + "/kvlnmov_posting_library.db";
    auto fresh = [&](const std::string& file) {
        for (const char* suffix : {"", "-wal", "-shm"})
            std::filesystem::remove(file + suffix);
        std::filesystem::copy_file(templateFile, file);
    };

    try {
        if (!keepTemplate || !std::filesystem::exists(templateFile))
            buildTemplate(templateFile, accounts, bookLines);
        const std::int32_t firstEntry = bookLines / kLinesPerEntry + 1;
        if (libraryOnly || floorOnly) {
            const Mode mode = modeNames.front() == "caller" ? Mode::Caller
                              : modeNames.front() == "entry" ? Mode::Entry
                                                             : Mode::Autocommit;
            fresh(libraryOnly ? libraryFile : rawFile);
            if (libraryOnly) {
                postLibrary(libraryFile, accounts, batchLines(lineCount, 1), mode);
            } else {
                postRaw(rawFile, accounts, batchLines(lineCount, 1), mode, firstEntry);
            }
            if (!keepTemplate) std::filesystem::remove(templateFile);
            return 0;
        }
        std::printf("books of %d lines before the batch; %d lines per batch; %d rounds\n",
                    bookLines, lineCount, rounds);
        std::printf("%-11s %15s %15s %9s\n", "mode", "floor lines/s", "library lines/s",
                    "lib/floor");
        for (const std::string& name : modeNames) {
            const Mode mode = name == "caller" ? Mode::Caller
                              : name == "entry" ? Mode::Entry
                                                : Mode::Autocommit;
            std::vector<double> rawRates;
            std::vector<double> libraryRates;
            std::vector<double> ratios;
            for (int round = 0; round < rounds; ++round) {
                const std::vector<Line> lines = batchLines(lineCount, static_cast<unsigned>(round + 1));
                fresh(rawFile);
                const double raw = lineCount / postRaw(rawFile, accounts, lines, mode, firstEntry);
                fresh(libraryFile);
                const double library = lineCount / postLibrary(libraryFile, accounts, lines, mode);
                rawRates.push_back(raw);
                libraryRates.push_back(library);
                ratios.push_back(library / raw);
            }
            std::printf("%-11s %15.0f %15.0f %9.2f\n", modeName(mode), median(rawRates),
                        median(libraryRates), median(ratios));
            std::fflush(stdout);
        }
        if (viewer) {
            fresh(libraryFile);
            const std::int32_t entry = bookLines > 0 ? bookLines / kLinesPerEntry / 2 + 1 : 0;
            if (entry > 0) {
                std::printf("viewer, first rows of entry %d: %.3f ms\n", entry,
                            viewerMilliseconds(libraryFile, entry, 21));
            }
        }
        for (const std::string& file : {templateFile, rawFile, libraryFile}) {
            if (file == templateFile && keepTemplate) continue;
            for (const char* suffix : {"", "-wal", "-shm"}) std::filesystem::remove(file + suffix);
        }
    } catch (const std::exception& error) {
        std::cerr << "posting_bench: " << error.what() << "\n";
        return 1;
    }
    return 0;
}
