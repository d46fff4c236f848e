// What a connection guarantees around the library's operations: one write transaction per
// writing operation (atomic for other connections and against a dying process, the effects of
// a failing statement's predecessors kept), statements refused when a quoted text holds a
// quote, and databases opened for reading left untouched.

#include <gtest/gtest.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "db/sqlite/stray_quote.h"
#include "kvlnmov/frame/quoted_values.h"
#include "kvlnmov/core/sql_text.h"
#include "provider_fixture.h"

namespace kvlnmov::db::testing {
namespace {

using kvlnmov::testing::TestDatabase;
using kvlnmov::testing::TestProvider;
using kvlnmov::testing::testProvider;

/// Texts as a connection's observer sees them.
class Recorder : public StatementObserver {
  public:
    void statementSent(std::string_view text) override { texts.emplace_back(text); }
    std::vector<std::string> texts;
};

class OperationTest : public ::testing::Test {
  protected:
    void SetUp() override {
        connection_ = database_.connect(200);
        connection_->createCompanySchema();
    }
    void TearDown() override { quoted::forget(); }

    /// Whether the embedded or ODBC-over-SQLite provider runs the test (operations are
    /// transactions there; on SQL Server statements commit one by one).
    static bool transactional() { return testProvider() != TestProvider::SqlServer; }

    std::int32_t conceptCount(const ConnectionRef& connection) {
        return scalar(connection, "SELECT COUNT(*) FROM Conceptos").toLong();
    }
    static std::string insertConcept(const std::string& code) {
        return "INSERT INTO Conceptos (Codigo, Nombre, Debe, Automatico, Impuestos, M347) "
               "VALUES ('" +
               code + "', 'Nombre', 0, 0, 0, 0)";
    }

    TestDatabase database_;
    ConnectionRef connection_;
};

TEST_F(OperationTest, OtherConnectionsSeeAWholeOperationOrNothingOfIt) {
    if (!transactional()) GTEST_SKIP() << "SQL Server commits an operation statement by statement";
    auto other = database_.connect(200);
    connection_->beginOperation();
    connection_->Execute(insertConcept("A"));
    connection_->Execute(insertConcept("B"));
    EXPECT_EQ(conceptCount(connection_), 2);  // its own statements see each other
    EXPECT_EQ(conceptCount(other), 0);        // nothing of it shows before it ends
    // A writer of another connection waits for the whole operation (here past its timeout).
    const Error blocked = errorOf([&] { other->Execute(insertConcept("C")); });
    EXPECT_EQ(blocked.number(), errc::kTimeout);
    EXPECT_EQ(blocked.source(), kProvider);
    EXPECT_EQ(blocked.description(), "Query timeout expired");
    EXPECT_EQ(errorOf([&] { other->BeginTrans(); }).number(), errc::kTimeout);
    connection_->endOperation();
    EXPECT_EQ(conceptCount(other), 2);
    other->Execute(insertConcept("C"));  // and goes on once it has ended
    EXPECT_EQ(conceptCount(connection_), 3);
}

TEST_F(OperationTest, AFailingStatementKeepsWhatRanBeforeItAndTheTransactionIsUnseen) {
    auto recorder = std::make_shared<Recorder>();
    connection_->addObserver(recorder);
    connection_->beginOperation();
    connection_->Execute(insertConcept("A"));
    const Error duplicate = errorOf([&] { connection_->Execute(insertConcept("A")); });
    EXPECT_EQ(duplicate.number(), errc::kIntegrity);
    connection_->Execute(insertConcept("B"));
    connection_->endOperation();
    auto other = database_.connect();
    EXPECT_EQ(query(other, "SELECT Codigo FROM Conceptos ORDER BY Codigo"),
              (Rows{{Variant("A")}, {Variant("B")}}));
    EXPECT_EQ(recorder->texts, (std::vector<std::string>{insertConcept("A"), insertConcept("A"),
                                                         insertConcept("B")}));
}

TEST_F(OperationTest, NestedOperationsCommitOnceWhenTheOutermostEnds) {
    if (!transactional()) GTEST_SKIP() << "SQL Server commits an operation statement by statement";
    auto other = database_.connect(200);
    connection_->beginOperation();
    connection_->beginOperation();
    connection_->Execute(insertConcept("A"));
    connection_->endOperation();
    EXPECT_EQ(conceptCount(other), 0);
    connection_->endOperation();
    EXPECT_EQ(conceptCount(other), 1);
}

TEST_F(OperationTest, AnOperationInsideTheCallersTransactionGoesWithIt) {
    connection_->BeginTrans();
    connection_->beginOperation();
    connection_->Execute(insertConcept("A"));
    connection_->endOperation();
    EXPECT_EQ(conceptCount(connection_), 1);
    connection_->RollbackTrans();
    EXPECT_EQ(conceptCount(connection_), 0);
}

TEST_F(OperationTest, AWriterHoldingTheLockFailsTheFirstStatementUntilItCommits) {
    if (!transactional()) GTEST_SKIP() << "SQL Server commits an operation statement by statement";
    auto other = database_.connect();
    other->BeginTrans();
    other->Execute(insertConcept("X"));
    connection_->beginOperation();
    // Even a read waits: the operation takes the write lock before its first statement.
    const Error busy = errorOf([&] { conceptCount(connection_); });
    EXPECT_EQ(busy.number(), errc::kTimeout);
    other->CommitTrans();
    EXPECT_EQ(conceptCount(connection_), 1);  // the statement run again gets the lock
    connection_->Execute(insertConcept("A"));
    connection_->endOperation();
    EXPECT_EQ(conceptCount(other), 2);
}

TEST_F(OperationTest, StatementsOutsideOperationsCommitOneByOne) {
    auto other = database_.connect(200);
    connection_->Execute(insertConcept("A"));
    EXPECT_EQ(conceptCount(other), 1);
    other->Execute(insertConcept("B"));  // no lock is left behind
    EXPECT_EQ(conceptCount(connection_), 2);
}

struct StrayQuoteCase {
    std::string value;
    std::string description;
};

class StrayQuoteTest : public OperationTest,
                       public ::testing::WithParamInterface<StrayQuoteCase> {};

TEST_P(StrayQuoteTest, AQuotedTextHoldingAQuoteFailsItsStatementUnrun) {
    const StrayQuoteCase& test = GetParam();
    connection_->Execute(insertConcept("A"));
    auto recorder = std::make_shared<Recorder>();
    connection_->addObserver(recorder);
    const std::string statement =
        "UPDATE Conceptos SET Nombre ='" + sql::text(test.value) + "' WHERE Codigo ='B'";
    const Error refused = errorOf([&] { connection_->Execute(statement); });
    EXPECT_EQ(refused.number(), errc::kSyntax);
    EXPECT_EQ(refused.source(), kProvider);
    EXPECT_EQ(refused.description(), test.description);
    EXPECT_EQ(recorder->texts, std::vector<std::string>{statement});  // sent, as far as seen
    EXPECT_EQ(scalar(connection_, "SELECT Nombre FROM Conceptos").toText(), "Nombre");
}

INSTANTIATE_TEST_SUITE_P(
    Texts, StrayQuoteTest,
    ::testing::Values(
        // An ordinary apostrophe: the server's own error for the broken statement.
        StrayQuoteCase{"L'Oreal", "Incorrect syntax near 'Oreal'."},
        // Texts that would end their literal and rewrite every row.
        StrayQuoteCase{"x' --", "Incorrect syntax near 'x'."},
        StrayQuoteCase{"x', Debe = 1 --", "Incorrect syntax near ','."},
        StrayQuoteCase{"x' WHERE 1 = 1 --", "Incorrect syntax near the keyword 'WHERE'."},
        StrayQuoteCase{"' + (SELECT TOP 1 Codigo FROM Conceptos) + '",
                       "Incorrect syntax near '+'."},
        StrayQuoteCase{"'", "Incorrect syntax near 'B'."}));

// On SQL Server nothing is translated: the error comes from reading the tokens after the
// literal the stray quote closes, the first error the server reports for such a statement.
TEST(StrayQuoteOnTheServer, NamesTheTokenAfterTheLiteral) {
    struct Case {
        std::string statement;
        std::string value;
        std::string description;
    };
    for (const Case& test :
         std::vector<Case>{{"INSERT INTO Conceptos (Codigo, Nombre) VALUES ('A1', 'L'Oreal')",
                            "L'Oreal", "Incorrect syntax near 'Oreal'."},
                           {"UPDATE Movimientos SET Concepto ='x' OR '1'='1' WHERE Apunte =1",
                            "x' OR '1'='1", "Incorrect syntax near the keyword 'OR'."},
                           {"UPDATE Movimientos SET Concepto ='x' --' WHERE Apunte =1", "x' --",
                            "Incorrect syntax near 'x'."},
                           {"SELECT * FROM SGD_Usuarios WHERE Alias='a' AND Password='it''", "it'",
                            "Unclosed quotation mark after the character string 'it'''."}}) {
        const std::size_t quote = test.statement.find(test.value) + test.value.find('\'');
        const Error error = sqlite::strayQuoteError(test.statement, quote, "server");
        EXPECT_EQ(error.number(), errc::kSyntax) << test.statement;
        EXPECT_EQ(error.source(), "server");
        EXPECT_EQ(error.description(), test.description) << test.statement;
    }
}

TEST_F(OperationTest, TextsTheApplicationWritesItselfAreNotPoliced) {
    // Only texts the library's writers quoted are checked: the application's own SQL runs.
    sql::text("x'y");
    connection_->Execute(insertConcept("A"));
    connection_->Execute("UPDATE Conceptos SET Nombre = 'O' + '''' + 'Brien'");
    EXPECT_EQ(scalar(connection_, "SELECT Nombre FROM Conceptos").toText(), "O'Brien");
}

/// The bytes of a file, to show it was not changed.
std::string contentsOf(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

class ReadOnlyOpenTest : public ::testing::Test {
  protected:
    void SetUp() override {
        if (testProvider() != TestProvider::Sqlite)
            GTEST_SKIP() << "opening files is the embedded provider's";
        folder_ = database_.folder().string();
    }
    std::string folder_;
    TestDatabase database_;
};

TEST_F(ReadOnlyOpenTest, ModeReadReadsAndRefusesChanges) {
    const std::string file = folder_ + "/books.db";
    {
        auto writer = openConnection("Provider=SQLite;Data Source=" + file);
        writer->createCompanySchema();
        writer->Execute(
            "INSERT INTO Conceptos (Codigo, Nombre, Debe, Automatico, Impuestos, M347) VALUES "
            "('A', 'N', 0, 0, 0, 0)");
    }
    auto reader = openConnection("Provider=SQLite;Mode=Read;Data Source=" + file);
    EXPECT_EQ(scalar(reader, "SELECT COUNT(*) FROM Conceptos").toLong(), 1);
    const Error refused = errorOf([&] { reader->Execute("DELETE FROM Conceptos"); });
    EXPECT_EQ(refused.number(), errc::kProviderGeneric);
    EXPECT_EQ(refused.description(), "attempt to write a readonly database");
    EXPECT_EQ(scalar(reader, "SELECT COUNT(*) FROM Conceptos").toLong(), 1);
}

TEST_F(ReadOnlyOpenTest, NothingIsCreatedOrWrittenByOpeningForReading) {
    const std::string missing = folder_ + "/missing.db";
    const Error notThere =
        errorOf([&] { openConnection("Provider=SQLite;Mode=Read;Data Source=" + missing); });
    EXPECT_EQ(notThere.number(), errc::kProviderGeneric);
    EXPECT_FALSE(std::filesystem::exists(missing));

    // An empty file stays empty when a query on it fails, whatever the mode.
    const std::string empty = folder_ + "/empty.db";
    std::ofstream(empty).close();
    for (const char* mode : {"", "Mode=Read;"}) {
        auto connection =
            openConnection(std::string("Provider=SQLite;") + mode + "Data Source=" + empty);
        EXPECT_EQ(errorOf([&] { scalar(connection, "SELECT COUNT(*) FROM Asientos"); }).number(),
                  errc::kInvalidObject);
    }
    EXPECT_EQ(std::filesystem::file_size(empty), 0u);
    EXPECT_FALSE(std::filesystem::exists(empty + "-wal"));
}

TEST_F(ReadOnlyOpenTest, AFileTheProcessMayNotWriteIsReadAsItIs) {
    // A rollback-journal database (as another tool may leave one) that the reading process
    // may not write: opening it must not try to switch its journal mode.
    const std::string file = folder_ + "/locked.db";
    {
        auto writer = openConnection("Provider=SQLite;Data Source=" + file);
        writer->createCompanySchema();
    }
    sqlite3* db = nullptr;
    ASSERT_EQ(sqlite3_open(file.c_str(), &db), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(db, "PRAGMA journal_mode=DELETE", nullptr, nullptr, nullptr), SQLITE_OK);
    sqlite3_close(db);
    const std::string before = contentsOf(file);
    ASSERT_EQ(chmod(file.c_str(), 0444), 0);
    ASSERT_EQ(chmod(folder_.c_str(), 0555), 0);

    // Root may write anything: the reader runs as an unprivileged user in a child process.
    const pid_t child = fork();
    ASSERT_NE(child, -1);
    if (child == 0) {
        if (geteuid() == 0 && (setgid(65534) != 0 || setuid(65534) != 0)) _exit(3);
        try {
            auto reader = openConnection("Provider=SQLite;Data Source=" + file);
            const Variant count = scalar(reader, "SELECT COUNT(*) FROM Asientos");
            _exit(count.toLong() == 0 && !::testing::Test::HasFailure() ? 0 : 1);
        } catch (const std::exception&) {
            _exit(2);
        }
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    chmod(folder_.c_str(), 0755);
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 0) << "1: wrong count, 2: an error, 3: could not drop root";
    EXPECT_EQ(contentsOf(file), before);
}

}  // namespace
}  // namespace kvlnmov::db::testing
