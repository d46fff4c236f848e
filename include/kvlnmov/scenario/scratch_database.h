#pragma once

// Fresh, empty databases for one scenario or one test, on any provider:
//   sqlite     the embedded provider, on a file in a temporary folder or in memory;
//   odbc       the ODBC provider over the SQLite ODBC driver, on a file in a temporary
//              folder ("Driver=SQLite3;Database=<file>;Dialect=SQLite"; the driver's name can
//              be changed with KVLNMOV_TEST_ODBC_DRIVER);
//   mssql      the ODBC provider on the SQL Server named by the ODBC connection string in
//              KVLNMOV_TEST_MSSQL: each fresh database is a scratch database created on that
//              server and dropped again afterwards.

#include <filesystem>
#include <string>
#include <string_view>

#include "kvlnmov/db/connection.h"

namespace kvlnmov::scenario {

enum class ScratchProvider { Sqlite, Odbc, SqlServer };

/// The provider named "sqlite" (or empty), "odbc" or "mssql"; raises std::invalid_argument
/// for any other name.
ScratchProvider scratchProvider(std::string_view name);

/// The provider KVLNMOV_TEST_PROVIDER names (sqlite when unset). An unknown value raises
/// std::invalid_argument: it is a setup mistake, not something to fall back from.
ScratchProvider scratchProviderFromEnvironment();

/// A fresh, empty database (no schema yet), removed again with the object.
class ScratchDatabase {
  public:
    explicit ScratchDatabase(ScratchProvider provider);
    ~ScratchDatabase();
    ScratchDatabase(const ScratchDatabase&) = delete;
    ScratchDatabase& operator=(const ScratchDatabase&) = delete;

    /// The connection string of the database. `busyTimeoutMs`: how long a statement waits
    /// for a lock another connection holds before it fails with "Query timeout expired".
    std::string connectionString(int busyTimeoutMs = 5000) const;
    /// A new connection to the database.
    db::ConnectionRef connect(int busyTimeoutMs = 5000) const;
    /// A private folder for other files, removed with the database.
    const std::filesystem::path& folder() const { return folder_; }
    /// The SQLite database file behind the connection (the embedded provider and the SQLite
    /// ODBC driver), for tools that open the file themselves.
    std::string file() const { return (folder_ / "company.db").string(); }

  private:
    ScratchProvider provider_;
    std::filesystem::path folder_;
    std::string server_;
    std::string name_;
};

/// A connection to a fresh, empty database of its own, removed when the last reference to
/// the connection goes. With the embedded provider it is an in-memory database.
db::ConnectionRef openScratchDatabase(ScratchProvider provider);

}  // namespace kvlnmov::scenario
