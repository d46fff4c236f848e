#pragma once

// The embedded provider's connection: T-SQL text translated to SQLite and run on one SQLite
// database handle.

#include <sqlite3.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "db/sqlite/live_catalog.h"
#include "db/sqlite/procedures.h"
#include "db/sqlite/result_value.h"
#include "db/sqlite/statement_cache.h"
#include "db/sqlite/translate/translator.h"
#include "kvlnmov/db/connection.h"

namespace kvlnmov::db::sqlite {

class SqliteConnection final : public Connection, public ProcedureHost {
  public:
    /// Takes ownership of the open handle `db`.
    SqliteConnection(std::string connectionString, sqlite3* db);
    ~SqliteConnection() override;

    std::string providerName() const override;
    void createCompanySchema() override;

    /// Native SQLite statements (no translation) for the numbering procedures.
    std::int64_t executeNative(const std::string& sql,
                               const std::vector<SqlValue>& parameters) override;
    std::optional<std::int64_t> queryInteger(const std::string& sql,
                                             const std::vector<SqlValue>& parameters) override;
    /// One INSERT ... RETURNING statement on its own; inside a transaction, which holds the
    /// write lock, the reservation and then the reading.
    std::optional<std::int64_t> takeNumber(const NumberReservation& reservation) override;

    /// The connection's @@IDENTITY (nothing is Null).
    const std::optional<std::int64_t>& identity() const { return session_.identity; }

  protected:
    std::int32_t executeStatement(std::string_view text) override;
    std::unique_ptr<Cursor> openCursor(std::string_view text) override;
    void callProcedure(const std::string& name, ParameterList& parameters) override;
    void beginTransaction() override;
    void commitTransaction() override;
    void rollbackTransaction() override;
    /// BEGIN IMMEDIATE (the write lock at once, waiting up to the busy timeout); nothing
    /// inside the caller's transaction.
    bool openOperationTransaction() override;
    void commitOperationTransaction() override;
    bool operationTransactionAlive() override;
    /// The error translating `text` gives (what a stray quote always gave), else the
    /// server's syntax error at the stray quote.
    Error strayQuoteError(std::string_view text, std::size_t quoteOffset) override;

  private:
    struct Closer {
        void operator()(sqlite3* db) const { sqlite3_close_v2(db); }
    };

    /// Translates `text` against the current schema and session.
    Translation translate(std::string_view text);
    /// Runs a translated statement that returns no rows to the caller; returns the rows it
    /// changed (-1 for a SELECT) and keeps @@IDENTITY.
    std::int32_t run(const Translation& translation);
    void runNative(const char* sql);
    /// Runs a transaction control statement (BEGIN, COMMIT, SAVEPOINT, ...); returns SQLite's
    /// result code (SQLITE_OK when it succeeded).
    int runControl(const char* sql);

    // Declared first so that it closes last, after every statement is finalized.
    std::unique_ptr<sqlite3, Closer> db_;
    LiveCatalog catalog_;
    Translator translator_;
    StatementCache statements_;
    SessionState session_;
    /// The open operation runs inside the caller's transaction (and opened none of its own).
    bool inCallerTransaction_ = false;
    /// The schema was read since the open transaction began: no statement of this
    /// transaction needs to read it again.
    bool schemaReadInTransaction_ = false;
};

/// Binds `parameters` to ?1, ?2, ... of `statement`. Texts are copied unless `copyTexts` is
/// false, for a statement run to its end and given back while `parameters` still lives.
void bindParameters(sqlite3* db, sqlite3_stmt* statement, const std::vector<SqlValue>& parameters,
                    bool copyTexts = true);

/// A cursor over the rows of a running SELECT, each value converted to the Variant of its
/// SQL Server column type. The first row is fetched at once so that errors surface on open.
std::unique_ptr<Cursor> makeCursor(sqlite3* db, StatementCache::Lease statement,
                                   const std::vector<ResultColumn>& columns);

}  // namespace kvlnmov::db::sqlite
