#pragma once

// The one place that says which connection a database test uses. The environment variable
// KVLNMOV_TEST_PROVIDER chooses it:
//   sqlite (or unset)  the embedded provider, on a file in a temporary folder or in memory;
//   odbc               the ODBC provider over the SQLite ODBC driver, on a file in a temporary
//                      folder ("Driver=SQLite3;Database=<file>;Dialect=SQLite"; the driver's
//                      name can be changed with KVLNMOV_TEST_ODBC_DRIVER);
//   mssql              the ODBC provider on the SQL Server named by the ODBC connection string
//                      in KVLNMOV_TEST_MSSQL: each fresh database is a scratch database created
//                      on that server and dropped again afterwards.

#include <stdlib.h>
#include <unistd.h>

#include <atomic>
#include <cctype>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>

#include "kvlnmov/db/connection.h"
#include "kvlnmov/db/open.h"

namespace kvlnmov::testing {

enum class TestProvider { Sqlite, Odbc, SqlServer };

/// The provider chosen by KVLNMOV_TEST_PROVIDER. An unknown value is a setup mistake: it
/// stops the test run at once rather than testing something else than asked.
inline TestProvider testProvider() {
    const char* chosen = std::getenv("KVLNMOV_TEST_PROVIDER");
    const std::string name = chosen ? chosen : "";
    if (name.empty() || name == "sqlite") return TestProvider::Sqlite;
    if (name == "odbc") return TestProvider::Odbc;
    if (name == "mssql") return TestProvider::SqlServer;
    throw std::runtime_error("KVLNMOV_TEST_PROVIDER must be sqlite, odbc or mssql, not '" + name +
                             "'");
}

/// The source of the errors the chosen provider raises.
inline std::string testProviderName() {
    return testProvider() == TestProvider::Sqlite ? "kvlnmov SQLite provider"
                                                  : "kvlnmov ODBC provider";
}

/// A fresh, empty database for one test (no schema yet), removed again with the object.
class TestDatabase {
  public:
    explicit TestDatabase(TestProvider provider = testProvider()) : provider_(provider) {
        std::string pattern =
            (std::filesystem::temp_directory_path() / "kvlnmov-test-XXXXXX").string();
        if (!mkdtemp(pattern.data())) throw std::runtime_error("cannot make a temporary folder");
        folder_ = pattern;
        if (provider_ == TestProvider::SqlServer) {
            static std::atomic<int> created{0};
            server_ = serverConnectionString();
            name_ = "kvlnmov_test_" + std::to_string(getpid()) + "_" + std::to_string(++created);
            db::openConnection(server_)->Execute("CREATE DATABASE [" + name_ + "]");
        }
    }

    ~TestDatabase() {
        if (!name_.empty()) {
            try {
                const auto server = db::openConnection(server_);
                server->Execute("ALTER DATABASE [" + name_ +
                                "] SET SINGLE_USER WITH ROLLBACK IMMEDIATE");
                server->Execute("DROP DATABASE [" + name_ + "]");
            } catch (const std::exception&) {
                // A scratch database left behind must not fail the test that used it.
            }
        }
        std::error_code ignored;
        std::filesystem::remove_all(folder_, ignored);
    }

    TestDatabase(const TestDatabase&) = delete;
    TestDatabase& operator=(const TestDatabase&) = delete;

    /// The connection string of the database. `busyTimeoutMs`: how long a statement waits
    /// for a lock another connection holds before it fails with "Query timeout expired".
    std::string connectionString(int busyTimeoutMs = 5000) const {
        switch (provider_) {
            case TestProvider::Sqlite:
                return "Provider=SQLite;Data Source=" + file() +
                       ";Busy Timeout=" + std::to_string(busyTimeoutMs);
            case TestProvider::Odbc: {
                const char* driver = std::getenv("KVLNMOV_TEST_ODBC_DRIVER");
                return std::string("Driver=") + (driver && *driver ? driver : "SQLite3") +
                       ";Database=" + file() + ";Timeout=" + std::to_string(busyTimeoutMs) +
                       ";JournalMode=WAL;SyncPragma=NORMAL;Dialect=SQLite";
            }
            case TestProvider::SqlServer:
                break;
        }
        // The server's string with its own database (if it names one) replaced.
        std::string text;
        std::size_t start = 0;
        while (start < server_.size()) {
            std::size_t end = server_.find(';', start);
            if (end == std::string::npos) end = server_.size();
            std::string pair = server_.substr(start, end - start);
            std::string key = pair.substr(0, pair.find('='));
            key.erase(0, key.find_first_not_of(' '));
            for (char& c : key) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
            if (!key.starts_with("database") && !pair.empty()) text += pair + ";";
            start = end + 1;
        }
        return text + "Database=" + name_;
    }

    /// A new connection to the database.
    db::ConnectionRef connect(int busyTimeoutMs = 5000) const {
        return db::openConnection(connectionString(busyTimeoutMs));
    }

    /// A private folder for the test's other files, removed with the database.
    const std::filesystem::path& folder() const { return folder_; }

    /// The SQLite database file behind the connection (the embedded provider and the SQLite
    /// ODBC driver), for tools that open the file themselves.
    std::string file() const { return (folder_ / "company.db").string(); }

  private:
    static std::string serverConnectionString() {
        const char* server = std::getenv("KVLNMOV_TEST_MSSQL");
        if (!server || !*server)
            throw std::runtime_error("KVLNMOV_TEST_PROVIDER=mssql needs KVLNMOV_TEST_MSSQL");
        return server;
    }

    TestProvider provider_;
    std::filesystem::path folder_;
    std::string server_;
    std::string name_;
};

/// A connection to a fresh, empty database of its own, removed when the last reference to
/// the connection goes. With the embedded provider it is an in-memory database.
inline db::ConnectionRef openFreshDatabase(TestProvider provider = testProvider()) {
    if (provider == TestProvider::Sqlite)
        return db::openConnection("Provider=SQLite;Data Source=:memory:");
    struct Held {
        explicit Held(TestProvider chosen) : database(chosen) {}
        TestDatabase database;
        db::ConnectionRef connection;  // declared last: closed before the database goes
    };
    auto held = std::make_shared<Held>(provider);
    held->connection = held->database.connect();
    return db::ConnectionRef(held, held->connection.get());
}

}  // namespace kvlnmov::testing
