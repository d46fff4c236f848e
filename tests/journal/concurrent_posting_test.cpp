// Books that never drift: several processes posting into one database file at once, and a
// process killed at every statement of a working session. Each time the balances must agree
// with the journal, cell by cell. (A writer holding the lock is in operation_test.cpp, the
// retries of a failing line in the scenario journal_retries.json.)

#include <gtest/gtest.h>
#include <signal.h>
#include <sqlite3.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <random>

#include "support/company_fixture.h"
#include "kvlnmov/db/recordset.h"
#include "kvlnmov/journal/balance_verifier.h"
#include "kvlnmov/journal/cls_asiento.h"
#include "kvlnmov/journal/cls_mov.h"
#include "support/rows.h"
#include "support/test_connection.h"

namespace kvlnmov::testing {
namespace {

/// Every difference between the balances and the journal, and every other finding but
/// unbalanced entries (a session killed between two lines leaves its entry unbalanced), as
/// printable lines.
std::vector<std::string> driftOf(const db::ConnectionRef& connection, cEmpresa& context) {
    const BalanceVerification verification = verifyBalances(connection, context);
    std::vector<std::string> found;
    for (const BalanceCell& cell : verification.differences) {
        found.push_back(std::string(balanceTableName(cell.table)) + " " + cell.account + "/" +
                        std::to_string(cell.department) + " " + cell.column + ": " +
                        cell.stored.toString() + " instead of " + cell.expected.toString());
    }
    for (const LineWithoutHeader& line : verification.linesWithoutHeader)
        found.push_back("line " + std::to_string(line.line) + " without header");
    for (const DuplicateNumber& number : verification.duplicateLines)
        found.push_back("line number " + std::to_string(number.number) + " used twice");
    for (const DuplicateNumber& number : verification.duplicateEntries)
        found.push_back("entry number " + std::to_string(number.number) + " used twice");
    return found;
}

/// What SQLite's own check says of the file ("ok" for an intact one).
std::string integrityOf(const std::string& file) {
    sqlite3* db = nullptr;
    std::string result = "cannot open";
    if (sqlite3_open_v2(file.c_str(), &db, SQLITE_OPEN_READONLY, nullptr) == SQLITE_OK) {
        sqlite3_stmt* check = nullptr;
        if (sqlite3_prepare_v2(db, "PRAGMA integrity_check", -1, &check, nullptr) == SQLITE_OK &&
            sqlite3_step(check) == SQLITE_ROW) {
            result = reinterpret_cast<const char*>(sqlite3_column_text(check, 0));
        }
        sqlite3_finalize(check);
    }
    sqlite3_close_v2(db);
    return result;
}

bool transactionalProvider() { return testProvider() != TestProvider::SqlServer; }

class BooksUnderStressTest : public ::testing::Test {
  protected:
    void SetUp() override {
        resetLibrary();
        setUserInterface(std::make_shared<RecordingUserInterface>());
    }
    void TearDown() override { resetLibrary(); }

    /// Posts entry after entry in the current process, as a workstation does.
    static void post(const db::ConnectionRef& connection, const cEmpresaRef& context, int entries,
                     int linesPerEntry, int seed) {
        std::mt19937 random(static_cast<unsigned>(seed));
        for (int e = 0; e < entries; ++e) {
            auto header = std::make_shared<clsAsiento>();
            header->Conexion(connection);
            header->cEmpresa(context);
            const Date date = Date::ymd(2026, 1 + static_cast<int>(random() % 12), 10);
            header->Fecha(date);
            header->Usuario(static_cast<std::int16_t>(seed));
            header->Insertar();
            auto line = std::make_shared<clsMov>();
            line->cEmpresa(context);
            for (int i = 0; i < linesPerEntry; ++i) {
                line->Asiento(header->Codigo());
                line->Fecha_Asiento(date);
                line->Fecha(date);
                // Every process walks the same new accounts in the same order, so they race
                // to create the same balance rows.
                line->Cuenta(std::to_string(43000000 + (e * linesPerEntry + i) % 97));
                // Lines in pairs of one amount, so that every entry balances.
                const Currency amount = Currency::fromRaw(10000 + seed * 100 + i / 2);
                line->Debe(i % 2 == 0 ? amount : Currency());
                line->Haber(i % 2 == 0 ? Currency() : amount);
                line->Dpto(static_cast<std::int16_t>(random() % 3));
                line->Insertar();
            }
        }
    }

    /// Runs `work` in a child process; returns its exit status (non-zero on a caller error).
    template <class Work>
    static pid_t spawn(Work&& work) {
        const pid_t child = fork();
        if (child != 0) return child;
        int status = 0;
        try {
            resetLibrary();
            setUserInterface(std::make_shared<RecordingUserInterface>());
            work();
        } catch (const Error& error) {
            std::cerr << "child " << getpid() << ": error " << error.number() << " ("
                      << error.source() << "): " << error.description() << "\n";
            status = 1;
        }
        _exit(status);
    }

    TestDatabase database_;
};

TEST_F(BooksUnderStressTest, ProcessesPostingAtOnceLeaveBalancesThatAgreeWithTheJournal) {
    if (!transactionalProvider())
        GTEST_SKIP() << "SQL Server commits statement by statement (see ARCHITECTURE.md)";
    auto context = exerciseContext();
    {
        auto connection = database_.connect();
        createCompany(*connection, *context);
    }
    constexpr int kProcesses = 4;
    constexpr int kEntries = 125;
    constexpr int kLines = 4;
    std::vector<pid_t> children;
    for (int worker = 1; worker <= kProcesses; ++worker) {
        children.push_back(spawn([&, worker] {
            post(database_.connect(30000), exerciseContext(), kEntries, kLines, worker);
        }));
        ASSERT_NE(children.back(), -1);
    }
    for (pid_t child : children) {
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        ASSERT_TRUE(WIFEXITED(status));
        EXPECT_EQ(WEXITSTATUS(status), 0) << "a caller got an error (see above)";
    }

    auto connection = database_.connect();
    EXPECT_EQ(queryRows(connection, "SELECT COUNT(*), COUNT(DISTINCT Apunte) FROM Movimientos"),
              (Rows{{Variant(std::int32_t{kProcesses * kEntries * kLines}),
                     Variant(std::int32_t{kProcesses * kEntries * kLines})}}));
    EXPECT_EQ(driftOf(connection, *context), std::vector<std::string>{});
    EXPECT_TRUE(verifyBalances(connection, *context).unbalancedEntries.empty());
}

/// Kills its own process just before the `killAt`-th text is sent, so that exactly the
/// texts before it ran.
class KillBeforeStatement : public db::StatementObserver {
  public:
    explicit KillBeforeStatement(int killAt) : killAt_(killAt) {}
    void statementSent(std::string_view) override {
        if (++sent_ == killAt_) kill(getpid(), SIGKILL);
    }
    int sent() const { return sent_; }

  private:
    int killAt_;
    int sent_ = 0;
};

/// A working session: an entry of three lines (one to an account with no balance rows yet), a
/// line changed to another account, a line deleted, a closing entry, and the first entry
/// annulled. `afterEach` is told how many texts had been sent when each operation ended.
void workingSession(const db::ConnectionRef& connection, const cEmpresaRef& context,
                    const std::function<void()>& afterEach) {
    auto header = std::make_shared<clsAsiento>();
    header->Conexion(connection);
    header->cEmpresa(context);
    header->Fecha(Date::ymd(2026, 5, 20));
    header->Insertar();
    afterEach();
    std::vector<std::int32_t> lines;
    const std::vector<std::pair<std::string, Currency>> postings{
        {"43000001", Currency::fromUnits(121)},
        {"70000005", Currency::fromUnits(-100)},
        {"47700021", Currency::fromUnits(-21)}};
    for (const auto& [account, amount] : postings) {
        auto line = std::make_shared<clsMov>();
        line->cEmpresa(context);
        line->Asiento(header->Codigo());
        line->Fecha_Asiento(Date::ymd(2026, 5, 20));
        line->Fecha(Date::ymd(2026, 5, 20));
        line->Cuenta(account);
        line->Dpto(amount.raw() > 0 ? 1 : 2);
        if (amount.raw() > 0)
            line->Debe(amount);
        else
            line->Haber(-amount);
        line->Insertar();
        lines.push_back(line->Apunte());
        afterEach();
    }
    auto change = std::make_shared<clsMov>();
    change->cEmpresa(context);
    change->Apunte(lines[1]);
    change->Asiento(header->Codigo());
    change->Fecha_Asiento(Date::ymd(2026, 5, 20));
    change->Fecha(Date::ymd(2026, 5, 20));
    change->Cuenta("70500001");
    change->Dpto(3);
    change->Haber(Currency::fromUnits(100));
    change->Modificar();
    afterEach();
    auto removal = std::make_shared<clsMov>();
    removal->cEmpresa(context);
    removal->Apunte(lines[2]);
    removal->Asiento(header->Codigo());
    removal->Eliminar();
    afterEach();

    auto closing = std::make_shared<clsAsiento>();
    closing->cEmpresa(context);
    closing->Fecha(Date::ymd(2026, 12, 31));
    closing->Cierre(true);
    closing->Insertar();
    afterEach();
    auto closingLine = std::make_shared<clsMov>();
    closingLine->cEmpresa(context);
    closingLine->Asiento(closing->Codigo());
    closingLine->Fecha_Asiento(Date::ymd(2026, 12, 31));
    closingLine->Fecha(Date::ymd(2026, 12, 31));
    closingLine->Cuenta("43000001");
    closingLine->Haber(Currency::fromUnits(121));
    closingLine->Insertar();
    afterEach();

    auto annulled = std::make_shared<clsAsiento>();
    annulled->cEmpresa(context);
    annulled->Codigo(1);
    annulled->Fecha(Date::ymd(2026, 3, 15));
    annulled->Usuario(7);
    annulled->Eliminar();
    afterEach();
}

/// What a session has left in the books, without the time stamps.
Rows booksOf(const db::ConnectionRef& connection) {
    Rows rows;
    for (const char* sql :
         {"SELECT Codigo, Fecha, Cierre, Nulo FROM Asientos ORDER BY Codigo",
          "SELECT Apunte, Cod_Asiento, Cuenta, Dpto, Debe, Haber FROM Movimientos ORDER BY Apunte",
          "SELECT Cuenta, Apertura, Cierre, D3, H3, D5, H5 FROM Acumulados ORDER BY Cuenta",
          "SELECT Cuenta, Dpto, D3, H3, D5, H5, Cierre FROM Acumulados_Dpto ORDER BY Cuenta, Dpto",
          "SELECT COUNT(*) FROM Movimientos_Eliminados", "SELECT COUNT(*) FROM BakAnulado_Asientos",
          "SELECT cApunte FROM Contador_Apuntes"}) {
        Rows part = queryRows(connection, sql);
        rows.push_back({Variant(std::string(sql))});
        rows.insert(rows.end(), part.begin(), part.end());
    }
    return rows;
}

class KilledSessionTest : public BooksUnderStressTest {
  protected:
    void SetUp() override {
        BooksUnderStressTest::SetUp();
        if (!transactionalProvider())
            GTEST_SKIP() << "SQL Server commits statement by statement (see ARCHITECTURE.md)";
        context_ = exerciseContext();
        auto connection = template_.connect();
        createCompany(*connection, *context_);
        // Entry 1 of 15 March, the one the session annuls.
        postEntry(connection, context_, Date::ymd(2026, 3, 15),
                  {{"43000001", Currency::fromUnits(50)}, {"70000001", Currency::fromUnits(-50)}});
        resetLibrary();
    }

    /// A database holding the template's books.
    std::unique_ptr<TestDatabase> copyOfTemplate() {
        auto copy = std::make_unique<TestDatabase>();
        std::filesystem::copy_file(template_.file(), copy->file());
        return copy;
    }

    TestDatabase template_;
    std::shared_ptr<SettableContext> context_;
};

TEST_F(KilledSessionTest, AProcessKilledAtAnyStatementLeavesWholeOperationsOnly) {
    // The session run to its end, with the books after each operation and the number of
    // texts sent by then.
    std::vector<Rows> booksAfter;
    std::vector<int> sentAfter;
    int totalSent = 0;
    {
        auto dry = copyOfTemplate();
        auto connection = dry->connect();
        booksAfter.push_back(booksOf(connection));
        sentAfter.push_back(0);
        auto counter = std::make_shared<KillBeforeStatement>(0);
        connection->addObserver(counter);
        workingSession(connection, context_, [&] {
            connection->removeObserver(counter.get());
            booksAfter.push_back(booksOf(connection));
            connection->addObserver(counter);
            sentAfter.push_back(counter->sent());
        });
        totalSent = counter->sent();
        ASSERT_EQ(driftOf(connection, *context_), std::vector<std::string>{});
        resetLibrary();
    }
    ASSERT_GT(totalSent, 60);

    for (int killAt = 1; killAt <= totalSent; ++killAt) {
        SCOPED_TRACE("killed before text " + std::to_string(killAt));
        auto copy = copyOfTemplate();
        const pid_t child = spawn([&] {
            auto connection = copy->connect();
            connection->addObserver(std::make_shared<KillBeforeStatement>(killAt));
            workingSession(connection, context_, [] {});
        });
        ASSERT_NE(child, -1);
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        ASSERT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL);

        auto connection = copy->connect();
        EXPECT_EQ(integrityOf(copy->file()), "ok");
        EXPECT_EQ(driftOf(connection, *context_), std::vector<std::string>{});
        // Exactly the operations that ended before the kill are in the books.
        std::size_t ended = 0;
        while (ended + 1 < sentAfter.size() && sentAfter[ended + 1] < killAt) ++ended;
        EXPECT_EQ(booksOf(connection), booksAfter[ended]);
        resetLibrary();
        if (HasFailure()) break;
    }
}

}  // namespace
}  // namespace kvlnmov::testing
