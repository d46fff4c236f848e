// The provider-independent behaviour of Connection, Recordset and Command, over a scripted
// in-memory provider that records what reaches it.

#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "kvlnmov/db/command.h"
#include "kvlnmov/db/connection.h"
#include "kvlnmov/db/recordset.h"

namespace kvlnmov::db {
namespace {

/// A query answer: a table of integers, row i holding i in column "N" and i * 10 in "Tens".
struct NumberTable {
    int rows = 0;
    int fetched = 0;  ///< rows the provider has delivered so far
    int failAt = -1;  ///< a row that cannot be read (-1: none)
};

class NumberCursor : public Cursor {
  public:
    explicit NumberCursor(std::shared_ptr<NumberTable> table) : table_(std::move(table)) {}
    const std::vector<ColumnInfo>& columns() const override { return columns_; }
    bool next(std::vector<Variant>& row) override {
        if (table_->fetched >= table_->rows) return false;
        if (table_->fetched == table_->failAt) {
            ++table_->fetched;
            throw Error(errc::kConversion, "scripted provider", "unreadable row");
        }
        const std::int32_t n = table_->fetched++;
        row = {Variant(n), Variant(std::int32_t(n * 10))};
        return true;
    }

  private:
    std::shared_ptr<NumberTable> table_;
    std::vector<ColumnInfo> columns_{{"N", DataType::Integer}, {"Tens", DataType::Integer}};
};

class ScriptedConnection : public Connection {
  public:
    ScriptedConnection() : Connection("Provider=Scripted") {}
    std::string providerName() const override { return "scripted provider"; }
    void createCompanySchema() override {}

    /// Texts that reached the provider, in order.
    std::vector<std::string> received;
    /// What each opened query text answers.
    std::map<std::string, std::shared_ptr<NumberTable>> queries;

  protected:
    std::int32_t executeStatement(std::string_view text) override {
        received.emplace_back(text);
        return 3;
    }
    std::unique_ptr<Cursor> openCursor(std::string_view text) override {
        received.emplace_back(text);
        return std::make_unique<NumberCursor>(queries.at(std::string(text)));
    }
    void callProcedure(const std::string& name, ParameterList& parameters) override {
        received.push_back("procedure " + name);
        parameters("Result").value = std::int32_t(parameters("Input").value.toLong() + 1);
    }
    void beginTransaction() override { received.emplace_back("begin"); }
    void commitTransaction() override { received.emplace_back("commit"); }
    void rollbackTransaction() override { received.emplace_back("rollback"); }
};

class RecordingObserver : public StatementObserver {
  public:
    void statementSent(std::string_view text) override { texts.emplace_back(text); }
    std::vector<std::string> texts;
};

class DbBaseTest : public ::testing::Test {
  protected:
    void SetUp() override {
        connection = std::make_shared<ScriptedConnection>();
        observer = std::make_shared<RecordingObserver>();
        connection->addObserver(observer);
    }

    std::shared_ptr<NumberTable> answer(const std::string& query, int rows) {
        auto table = std::make_shared<NumberTable>();
        table->rows = rows;
        connection->queries[query] = table;
        return table;
    }

    Command procedure(const std::string& name) {
        Command command;
        command.CommandType(CommandType::StoredProc);
        command.CommandText(name);
        command.Parameters().Append(
            Command::CreateParameter("Input", DataType::Integer, ParameterDirection::Input));
        command.Parameters().Append(
            Command::CreateParameter("Result", DataType::Integer, ParameterDirection::Output));
        command.Parameters()("input").value = std::int32_t(41);
        return command;
    }

    std::shared_ptr<ScriptedConnection> connection;
    std::shared_ptr<RecordingObserver> observer;
};

TEST_F(DbBaseTest, ObserverSeesEveryTextInOrder) {
    answer("SELECT N FROM T", 2);
    Recordset recordset;
    recordset.Open("SELECT N FROM T", connection);
    EXPECT_EQ(connection->Execute("UPDATE T SET N = 1"), 3);
    Command command = procedure("CON_Numero");
    command.ActiveConnection(connection);
    command.Execute();
    connection->BeginTrans();
    connection->CommitTrans();
    connection->BeginTrans();
    connection->RollbackTrans();

    EXPECT_EQ(observer->texts,
              (std::vector<std::string>{"SELECT N FROM T", "UPDATE T SET N = 1", "EXEC CON_Numero",
                                        "BEGIN TRANSACTION", "COMMIT TRANSACTION",
                                        "BEGIN TRANSACTION", "ROLLBACK TRANSACTION"}));
    EXPECT_EQ(
        connection->received,
        (std::vector<std::string>{"SELECT N FROM T", "UPDATE T SET N = 1", "procedure CON_Numero",
                                  "begin", "commit", "begin", "rollback"}));
    EXPECT_EQ(command.Parameters()("RESULT").value, Variant(std::int32_t(42)));
}

TEST_F(DbBaseTest, RemovedObserverSeesNothingMore) {
    connection->Execute("DELETE FROM A");
    connection->removeObserver(observer.get());
    connection->Execute("DELETE FROM B");
    EXPECT_EQ(observer->texts, std::vector<std::string>{"DELETE FROM A"});
}

TEST_F(DbBaseTest, FaultFailsTheNextMatchingTextsAndTheyAreStillObserved) {
    connection->injectFault({"update acumulados", 2, -2147217871, "Query timeout expired"});
    for (int attempt = 0; attempt < 2; ++attempt) {
        try {
            connection->Execute("  UPDATE Acumulados SET D1 = 0");
            FAIL() << "the fault did not fire on attempt " << attempt;
        } catch (const Error& error) {
            EXPECT_EQ(error.number(), -2147217871);
            EXPECT_EQ(error.source(), "scripted provider");
            EXPECT_EQ(error.description(), "Query timeout expired");
        }
    }
    connection->Execute("DELETE FROM Acumulados");
    connection->Execute("  UPDATE Acumulados SET D1 = 0");

    EXPECT_EQ(observer->texts,
              (std::vector<std::string>{"  UPDATE Acumulados SET D1 = 0",
                                        "  UPDATE Acumulados SET D1 = 0", "DELETE FROM Acumulados",
                                        "  UPDATE Acumulados SET D1 = 0"}));
    // Only the texts that were not failed reached the provider.
    EXPECT_EQ(connection->received, (std::vector<std::string>{"DELETE FROM Acumulados",
                                                              "  UPDATE Acumulados SET D1 = 0"}));
}

TEST_F(DbBaseTest, FaultsApplyToQueriesAndProcedures) {
    answer("SELECT N FROM T", 1);
    connection->injectFault({"SELECT", 1, -2147467259, "lost"});
    connection->injectFault({"EXEC CON_", 1, -2147217873, "duplicate"});
    Recordset recordset;
    try {
        recordset.Open("SELECT N FROM T", connection);
        FAIL() << "the query fault did not fire";
    } catch (const Error& error) {
        EXPECT_EQ(error.number(), -2147467259);
    }
    EXPECT_FALSE(recordset.IsOpen());
    Command command = procedure("CON_Numero");
    command.ActiveConnection(connection);
    try {
        command.Execute();
        FAIL() << "the procedure fault did not fire";
    } catch (const Error& error) {
        EXPECT_EQ(error.number(), -2147217873);
        EXPECT_EQ(error.description(), "duplicate");
    }
    command.Execute();
    recordset.Open("SELECT N FROM T", connection);
    EXPECT_EQ(connection->received,
              (std::vector<std::string>{"procedure CON_Numero", "SELECT N FROM T"}));
}

TEST_F(DbBaseTest, ClearedFaultsFailNothing) {
    connection->injectFault({"", 5, 1, "any"});
    connection->clearFaults();
    EXPECT_EQ(connection->Execute("DELETE FROM T"), 3);
}

TEST_F(DbBaseTest, RowsAreFetchedOnDemandUntilATextMayChangeData) {
    const auto table = answer("SELECT N, Tens FROM T", 450);
    answer("SELECT N FROM U", 5);
    Recordset first;
    first.Open("SELECT N, Tens FROM T", connection);
    for (int i = 0; i < 200; ++i) first.MoveNext();
    EXPECT_EQ(table->fetched, 201);  // the current row and those before it

    // Another query does not change data: the first stays where it is.
    Recordset second;
    second.Open("SELECT N FROM U", connection);
    EXPECT_EQ(table->fetched, 201);

    // A change does: every open recordset reads the rest first.
    connection->Execute("INSERT INTO T (N) VALUES (1000)");
    EXPECT_EQ(table->fetched, 450);
    int read = 0;
    for (; !first.Eof(); first.MoveNext()) {
        EXPECT_EQ(first.Fields("n"), Variant(std::int32_t(200 + read)));
        EXPECT_EQ(first.Fields(1), Variant(std::int32_t((200 + read) * 10)));
        ++read;
    }
    EXPECT_EQ(read, 250);
}

TEST_F(DbBaseTest, ProceduresAndTransactionsAlsoReadOpenRecordsetsToTheEnd) {
    struct Case {
        const char* what;
        std::function<void()> run;
    };
    const std::vector<Case> cases{
        {"procedure",
         [&] {
             Command command = procedure("CON_Numero");
             command.ActiveConnection(connection);
             command.Execute();
         }},
        {"begin", [&] { connection->BeginTrans(); }},
        {"commit", [&] { connection->CommitTrans(); }},
        {"rollback", [&] { connection->RollbackTrans(); }},
    };
    for (const Case& c : cases) {
        const auto table = answer("SELECT N FROM T", 10);
        Recordset recordset;
        recordset.Open("SELECT N FROM T", connection);
        EXPECT_EQ(table->fetched, 1) << c.what;
        c.run();
        EXPECT_EQ(table->fetched, 10) << c.what;
    }
}

TEST_F(DbBaseTest, ClosedRecordsetIsNoLongerReadOnChanges) {
    const auto table = answer("SELECT N FROM T", 10);
    {
        Recordset recordset;
        recordset.Open("SELECT N FROM T", connection);
        recordset.Close();
    }
    connection->Execute("DELETE FROM T");
    EXPECT_EQ(table->fetched, 1);
}

TEST_F(DbBaseTest, RecordsetRaisesAdoErrors) {
    answer("SELECT N FROM T", 1);
    struct Case {
        const char* what;
        std::function<void(Recordset&)> run;
        std::int32_t number;
        std::string description;
    };
    const std::string noCurrent =
        "Either BOF or EOF is True, or the current record has been deleted. Requested "
        "operation requires a current record.";
    const std::string notFound =
        "Item cannot be found in the collection corresponding to the requested name or ordinal.";
    const std::string closed = "Operation is not allowed when the object is closed.";
    auto openAtEnd = [&](Recordset& r) {
        r.Open("SELECT N FROM T", connection);
        r.MoveNext();
    };
    const std::vector<Case> cases{
        {"field at the end",
         [&](Recordset& r) {
             openAtEnd(r);
             (void)r.Fields("N");
         },
         3021, noCurrent},
        {"MoveNext at the end",
         [&](Recordset& r) {
             openAtEnd(r);
             r.MoveNext();
         },
         3021, noCurrent},
        {"unknown field name",
         [&](Recordset& r) {
             r.Open("SELECT N FROM T", connection);
             (void)r.Fields("Nope");
         },
         3265, notFound},
        {"field index past the end",
         [&](Recordset& r) {
             r.Open("SELECT N FROM T", connection);
             (void)r.Fields(2);
         },
         3265, notFound},
        {"Eof never opened", [](Recordset& r) { (void)r.Eof(); }, 3704, closed},
        {"field after Close",
         [&](Recordset& r) {
             r.Open("SELECT N FROM T", connection);
             r.Close();
             (void)r.Fields("N");
         },
         3704, closed},
        {"MoveNext never opened", [](Recordset& r) { r.MoveNext(); }, 3704, closed},
        {"Close twice",
         [&](Recordset& r) {
             r.Open("SELECT N FROM T", connection);
             r.Close();
             r.Close();
         },
         3704, closed},
    };
    for (const Case& c : cases) {
        Recordset recordset;
        try {
            c.run(recordset);
            ADD_FAILURE() << c.what << ": no error";
        } catch (const Error& error) {
            EXPECT_EQ(error.number(), c.number) << c.what;
            EXPECT_EQ(error.source(), "ADODB.Recordset") << c.what;
            EXPECT_EQ(error.description(), c.description) << c.what;
        }
    }
}

TEST_F(DbBaseTest, CommandWithoutConnectionRaises3709) {
    Command command = procedure("CON_Numero");
    try {
        command.Execute();
        FAIL() << "no error";
    } catch (const Error& error) {
        EXPECT_EQ(error.number(), 3709);
        EXPECT_EQ(error.source(), "ADODB.Command");
        EXPECT_EQ(error.description(),
                  "The connection cannot be used to perform this operation. It is either closed "
                  "or invalid in this context.");
    }
    // Detached again after use: the same.
    command.ActiveConnection(connection);
    command.Execute();
    command.ActiveConnection(nullptr);
    EXPECT_THROW(command.Execute(), Error);
    EXPECT_EQ(connection->received, std::vector<std::string>{"procedure CON_Numero"});
}

TEST_F(DbBaseTest, UnknownParameterNameRaises3265) {
    Command command = procedure("CON_Numero");
    EXPECT_EQ(command.Parameters().Count(), 2u);
    EXPECT_EQ(command.Parameters()[1].name, "Result");
    EXPECT_EQ(command.Parameters().find("nope"), nullptr);
    try {
        command.Parameters()("Nope");
        FAIL() << "no error";
    } catch (const Error& error) {
        EXPECT_EQ(error.number(), 3265);
        EXPECT_EQ(error.source(), "ADODB.Parameters");
    }
}

TEST_F(DbBaseTest, TextCommandRunsAsAStatement) {
    Command command;
    command.ActiveConnection(connection);
    command.CommandText("DELETE FROM T");
    command.Execute();
    EXPECT_EQ(observer->texts, std::vector<std::string>{"DELETE FROM T"});
}

}  // namespace
}  // namespace kvlnmov::db

namespace kvlnmov::db {
namespace {

TEST_F(DbBaseTest, AnUnreadableRowEndsTheResultWithoutAHalfReadRow) {
    answer("SELECT N FROM T", 5)->failAt = 1;
    Recordset recordset;
    recordset.Open("SELECT N FROM T", connection);
    EXPECT_EQ(recordset.Fields("N").toLong(), 0);
    EXPECT_THROW(recordset.MoveNext(), Error);
    EXPECT_TRUE(recordset.Eof());
    try {
        recordset.Fields(0);
        FAIL() << "a field of a failed row was readable";
    } catch (const Error& error) {
        EXPECT_EQ(error.number(), adoerr::kNoCurrentRecord);
    }
}

TEST_F(DbBaseTest, ARowThatFailsWhileReadAheadFailsWhenTheCallerReachesIt) {
    answer("SELECT N FROM T", 5)->failAt = 2;
    Recordset recordset;
    recordset.Open("SELECT N FROM T", connection);
    EXPECT_EQ(connection->Execute("UPDATE T SET N = 0"), 3);  // unaffected by the bad row
    recordset.MoveNext();
    EXPECT_EQ(recordset.Fields("N").toLong(), 1);
    try {
        recordset.MoveNext();
        FAIL() << "the unreadable row was skipped";
    } catch (const Error& error) {
        EXPECT_EQ(error.description(), "unreadable row");
    }
    EXPECT_TRUE(recordset.Eof());
}

}  // namespace
}  // namespace kvlnmov::db
