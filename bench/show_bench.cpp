// `kvlnmov show` on long entries: how long the tool takes to write the first screen of an
// entry (its header and the first 40 grid lines) and the whole entry, for entries of 1,000,
// 10,000 and 100,000 lines.
//
// The tool is run as a user runs it, its standard output read through a pipe (so no pager):
// the first screen is timed from the start of the process to the arrival of its 42nd line,
// the whole entry to the end of the output. Beside them, "view load" times the entry view's
// loading alone in this process (the totals query and the first batch of 200 lines), the part
// of the first screen that grows with the entry: its aggregate totals query reads every line.
// The entries are written once, with multi-row
// INSERTs in one transaction, into a database file in the build folder and kept there. The
// figures printed are medians over the rounds.

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <iostream>
#include <string>
#include <vector>

#include "kvlnmov/core/company_seed.h"
#include "kvlnmov/core/library.h"
#include "kvlnmov/db/open.h"
#include "kvlnmov/viewer/entry_view.h"

namespace {

using namespace kvlnmov;
using Clock = std::chrono::steady_clock;

constexpr int kRowsPerInsert = 500;
// The header line, a blank line, the captions and the rule come before the grid's lines.
constexpr int kLinesBeforeGrid = 4;
constexpr int kScreenLines = 40;

std::string bookFile() {
    return (std::filesystem::path(KVLNMOV_BENCH_DIR) / "show_bench_book.db").string();
}

// Entry number n holds `size` lines; entries 1, 2, 3 are 1,000, 10,000 and 100,000 lines.
const std::vector<int> kSizes{1000, 10000, 100000};

void writeBook(const std::string& file) {
    std::filesystem::remove(file);
    auto connection = db::openConnection("Provider=SQLite;Data Source=" + file);
    CompanySeed seed;
    seedCompany(*connection, seed);
    connection->BeginTrans();
    const char* accounts[][2] = {{"43000001", "Clientes varios"},
                                 {"70000001", "Ventas de mercaderías"},
                                 {"57200001", "Banco cuenta corriente"},
                                 {"47700001", "Hacienda pública, IVA repercutido"}};
    for (const auto& account : accounts) {
        connection->Execute(
            std::string("INSERT INTO Cuentas (Cod_Empresa, Cod_Ejercicio, Cuenta, Nombre) VALUES "
                        "(1, 2026, '") +
            account[0] + "', '" + account[1] + "')");
    }
    int apunte = 0;
    for (std::size_t entry = 1; entry <= kSizes.size(); ++entry) {
        const int size = kSizes[entry - 1];
        connection->Execute("INSERT INTO Asientos (Cod_Empresa, Cod_Ejercicio, Codigo, Fecha, "
                            "Cierre, Usuario) VALUES (1, 2026, " +
                            std::to_string(entry) + ", '15/03/2026', 0, 0)");
        std::string text;
        int rows = 0;
        for (int n = 1; n <= size; ++n) {
            const bool debit = n % 2 == 1;
            text += (rows == 0 ? std::string(
                                     "INSERT INTO Movimientos (Cod_Empresa, Cod_Ejercicio, "
                                     "Cod_Asiento, Apunte, Fecha_Asiento, Cuenta, Fecha_Apunte, "
                                     "Concepto, Documento, Diario, Dpto, Debe, Haber, Punteo) "
                                     "VALUES (")
                               : std::string(", (")) +
                    "1, 2026, " + std::to_string(entry) + ", " + std::to_string(++apunte) +
                    ", '15/03/2026', '" + accounts[n % 4][0] +
                    "', '15/03/2026', 'Remesa de cobros " + std::to_string(n) + "', 'R-" +
                    std::to_string(n) + "', 1, 7, " + (debit ? "12.5" : "0") + ", " +
                    (debit ? "0" : "12.5") + ", 0)";
            if (++rows == kRowsPerInsert || n == size) {
                connection->Execute(text);
                text.clear();
                rows = 0;
            }
        }
    }
    connection->CommitTrans();
    resetLibrary();
}

struct Timing {
    double firstScreen = 0;
    double whole = 0;
    long lines = 0;
};

// Runs `kvlnmov show FILE ENTRY --no-pager` with its output in a pipe.
Timing timeShow(const std::string& file, int entry) {
    int pipeEnds[2];
    if (pipe(pipeEnds) != 0) throw std::runtime_error("pipe failed");
    posix_spawn_file_actions_t files;
    posix_spawn_file_actions_init(&files);
    posix_spawn_file_actions_adddup2(&files, pipeEnds[1], 1);
    posix_spawn_file_actions_addclose(&files, pipeEnds[0]);
    std::string tool = KVLNMOV_CLI;
    std::vector<std::string> arguments{tool, "show", file, std::to_string(entry), "--no-pager"};
    std::vector<char*> argv;
    for (std::string& argument : arguments) argv.push_back(argument.data());
    argv.push_back(nullptr);

    Timing timing;
    const auto start = Clock::now();
    pid_t child = 0;
    const int spawned = posix_spawn(&child, tool.c_str(), &files, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&files);
    close(pipeEnds[1]);
    if (spawned != 0) throw std::runtime_error("cannot start " + tool);
    char buffer[65536];
    for (;;) {
        const ssize_t got = read(pipeEnds[0], buffer, sizeof buffer);
        if (got <= 0) break;
        const long before = timing.lines;
        timing.lines += std::count(buffer, buffer + got, '\n');
        if (before < kLinesBeforeGrid + kScreenLines &&
            timing.lines >= kLinesBeforeGrid + kScreenLines) {
            timing.firstScreen = std::chrono::duration<double>(Clock::now() - start).count();
        }
    }
    close(pipeEnds[0]);
    int status = 0;
    waitpid(child, &status, 0);
    timing.whole = std::chrono::duration<double>(Clock::now() - start).count();
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0)
        throw std::runtime_error("kvlnmov show failed on entry " + std::to_string(entry));
    return timing;
}

// Loads entry `entry` in an entry view: the totals and the first batch.
double timeViewLoad(const db::ConnectionRef& connection, int entry) {
    const auto start = Clock::now();
    EntryView view(connection, nullptr, 1, 2026, entry);
    view.load();
    const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
    if (view.rows().size() != static_cast<std::size_t>(EntryView::kBatchSize))
        throw std::runtime_error("the view did not read one batch of entry " +
                                 std::to_string(entry));
    view.close();
    return seconds;
}

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

}  // namespace

int main(int argc, char** argv) {
    CLI::App app{"Times kvlnmov show on entries of 1,000, 10,000 and 100,000 lines."};
    int rounds = 5;
    bool rebuild = false;
    app.add_option("--rounds", rounds, "Runs per entry (the median is printed)")
        ->check(CLI::Range(1, 1000))
        ->capture_default_str();
    app.add_flag("--rebuild", rebuild, "Write the database file again");
    CLI11_PARSE(app, argc, argv);

    const std::string file = bookFile();
    if (rebuild || !std::filesystem::exists(file)) {
        std::cout << "Writing " << file << " ...\n";
        writeBook(file);
    }
    const db::ConnectionRef connection =
        db::openConnection("Provider=SQLite;Data Source=" + file);
    std::printf("%10s %10s %14s %16s %12s %12s\n", "lines", "output", "view load ms",
                "first screen ms", "whole ms", "us per line");
    for (std::size_t entry = 1; entry <= kSizes.size(); ++entry) {
        std::vector<double> load;
        std::vector<double> first;
        std::vector<double> whole;
        long lines = 0;
        for (int round = 0; round < rounds; ++round) {
            load.push_back(timeViewLoad(connection, static_cast<int>(entry)));
            const Timing timing = timeShow(file, static_cast<int>(entry));
            first.push_back(timing.firstScreen);
            whole.push_back(timing.whole);
            lines = timing.lines;
        }
        const double wholeSeconds = median(whole);
        std::printf("%10d %10ld %14.2f %16.2f %12.2f %12.2f\n", kSizes[entry - 1], lines,
                    median(load) * 1e3, median(first) * 1e3, wholeSeconds * 1e3,
                    wholeSeconds * 1e6 / kSizes[entry - 1]);
    }
    return 0;
}
