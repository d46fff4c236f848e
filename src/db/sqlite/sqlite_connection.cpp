#include "db/sqlite/sqlite_connection.h"

#include <limits>

#include "db/sqlite/sqlite_error.h"
#include "db/sqlite/sqlite_provider.h"
#include "db/sqlite/stray_quote.h"
#include "kvlnmov/frame/regional.h"
#include "kvlnmov/schema/schema.h"

namespace kvlnmov::db::sqlite {

namespace {

/// Prepared statements kept per connection.
constexpr std::size_t kStatementCacheSize = 256;

/// Switches a writable file database to WAL (readers never wait for the writer). NORMAL
/// synchronisation is safe with WAL: a power cut may lose the last commits, never corrupt the
/// file, and a process that dies loses nothing it committed.
int useWriteAheadLog(sqlite3* db) {
    return sqlite3_exec(db, "PRAGMA journal_mode=WAL; PRAGMA synchronous=NORMAL", nullptr, nullptr,
                        nullptr);
}

/// True for a file database this connection may write (not ":memory:", not read-only).
bool writableFile(sqlite3* db) {
    const char* file = sqlite3_db_filename(db, "main");
    return file != nullptr && *file != '\0' && sqlite3_db_readonly(db, "main") == 0;
}

}  // namespace

void bindParameters(sqlite3* db, sqlite3_stmt* statement, const std::vector<SqlValue>& parameters,
                    bool copyTexts) {
    for (std::size_t i = 0; i < parameters.size(); ++i) {
        const int position = static_cast<int>(i) + 1;
        const SqlValue& value = parameters[i];
        int resultCode = SQLITE_OK;
        if (const auto* integer = std::get_if<std::int64_t>(&value)) {
            resultCode = sqlite3_bind_int64(statement, position, *integer);
        } else if (const auto* real = std::get_if<double>(&value)) {
            resultCode = sqlite3_bind_double(statement, position, *real);
        } else if (const auto* text = std::get_if<std::string>(&value)) {
            resultCode = sqlite3_bind_text(statement, position, text->data(),
                                           static_cast<int>(text->size()),
                                           copyTexts ? SQLITE_TRANSIENT : SQLITE_STATIC);
        } else {
            resultCode = sqlite3_bind_null(statement, position);
        }
        check(db, resultCode);
    }
}

SqliteConnection::SqliteConnection(std::string connectionString, sqlite3* db)
    : Connection(std::move(connectionString)),
      db_(db),
      catalog_(db),
      translator_(catalog_, kProviderName),
      statements_(db, kStatementCacheSize) {}

SqliteConnection::~SqliteConnection() = default;

std::string SqliteConnection::providerName() const { return kProviderName; }

Translation SqliteConnection::translate(std::string_view text) {
    // The schema can change only between transactions: inside one, this connection reads one
    // snapshot of the database (WAL) or holds its shared lock, and it changes no schema of its
    // own except through createCompanySchema. So it is read once per transaction, at the
    // transaction's first statement, and before every statement that runs on its own.
    const bool ownTransaction = sqlite3_get_autocommit(db_.get()) != 0;
    if (ownTransaction || !schemaReadInTransaction_) {
        if (catalog_.refresh()) {
            // Another schema: translations made against the old one may name what is gone.
            translator_.clearCache();
        }
        schemaReadInTransaction_ = !ownTransaction;
    }
    // Date texts are read in the day/month order the library writes them.
    session_.dayBeforeMonth = regional().dayBeforeMonth();
    return translator_.translate(text, session_);
}

std::int32_t SqliteConnection::run(const Translation& translation) {
    sqlite3* db = db_.get();
    StatementCache::Lease lease = statements_.acquire(translation.sql());
    bindParameters(db, lease.get(), translation.parameters, false);
    int resultCode;
    while ((resultCode = sqlite3_step(lease.get())) == SQLITE_ROW) {
    }
    if (resultCode != SQLITE_DONE) throw sqliteError(db, resultCode, kindName(translation.kind()));
    if (translation.kind() == StatementKind::Select) return -1;
    const std::int64_t changed = sqlite3_changes64(db);
    if (translation.kind() == StatementKind::Insert) {
        if (translation.targetHasIdentity() && changed > 0) {
            session_.identity = sqlite3_last_insert_rowid(db);
        } else {
            session_.identity.reset();
        }
    }
    return static_cast<std::int32_t>(
        std::min<std::int64_t>(changed, std::numeric_limits<std::int32_t>::max()));
}

std::int32_t SqliteConnection::executeStatement(std::string_view text) {
    return run(translate(text));
}

std::unique_ptr<Cursor> SqliteConnection::openCursor(std::string_view text) {
    const Translation translation = translate(text);
    if (translation.kind() != StatementKind::Select) {
        run(translation);
        return makeEmptyCursor();
    }
    StatementCache::Lease lease = statements_.acquire(translation.sql());
    bindParameters(db_.get(), lease.get(), translation.parameters);
    return makeCursor(db_.get(), std::move(lease), translation.columns());
}

void SqliteConnection::callProcedure(const std::string& name, ParameterList& parameters) {
    callStoredProcedure(*this, name, parameters);
}

std::optional<std::int64_t> SqliteConnection::queryInteger(
    const std::string& sql, const std::vector<SqlValue>& parameters) {
    sqlite3* db = db_.get();
    StatementCache::Lease lease = statements_.acquire(sql);
    bindParameters(db, lease.get(), parameters, false);
    std::optional<std::int64_t> result;
    int resultCode = sqlite3_step(lease.get());
    if (resultCode == SQLITE_ROW && sqlite3_column_type(lease.get(), 0) != SQLITE_NULL)
        result = sqlite3_column_int64(lease.get(), 0);
    while (resultCode == SQLITE_ROW) resultCode = sqlite3_step(lease.get());
    check(db, resultCode);
    return result;
}

std::int64_t SqliteConnection::executeNative(const std::string& sql,
                                             const std::vector<SqlValue>& parameters) {
    sqlite3* db = db_.get();
    StatementCache::Lease lease = statements_.acquire(sql);
    bindParameters(db, lease.get(), parameters, false);
    int resultCode;
    while ((resultCode = sqlite3_step(lease.get())) == SQLITE_ROW) {
    }
    check(db, resultCode);
    return sqlite3_changes64(db);
}

std::optional<std::int64_t> SqliteConnection::takeNumber(const NumberReservation& reservation) {
    if (sqlite3_get_autocommit(db_.get()) != 0) {
        // On its own: one statement reserves the number and returns it, atomic by itself.
        return queryInteger(reservation.reserveReturning, reservation.parameters);
    }
    // Inside a transaction (an operation's or the caller's, both BEGIN IMMEDIATE) this
    // connection holds the write lock: no one can take a number between the reservation and
    // its reading, which are far cheaper as two plain statements than as one that returns
    // rows. Should the reading fail, the reserved number is only left unused, as the number
    // of a deleted line is.
    if (executeNative(reservation.reserve, reservation.parameters) == 0) return std::nullopt;
    const std::vector<SqlValue> key(
        reservation.parameters.begin(),
        reservation.parameters.begin() + static_cast<std::ptrdiff_t>(reservation.keyCount));
    return queryInteger(reservation.read, key);
}

void SqliteConnection::runNative(const char* sql) {
    check(db_.get(), sqlite3_exec(db_.get(), sql, nullptr, nullptr, nullptr));
}

int SqliteConnection::runControl(const char* sql) {
    // Transaction control runs once or twice per operation: prepared once, kept in the cache.
    StatementCache::Lease lease = statements_.acquire(sql);
    const int resultCode = sqlite3_step(lease.get());
    return resultCode == SQLITE_DONE ? SQLITE_OK : resultCode;
}

void SqliteConnection::beginTransaction() {
    schemaReadInTransaction_ = false;
    check(db_.get(), runControl("BEGIN IMMEDIATE"));
}

void SqliteConnection::commitTransaction() { check(db_.get(), runControl("COMMIT")); }

void SqliteConnection::rollbackTransaction() { check(db_.get(), runControl("ROLLBACK")); }

bool SqliteConnection::openOperationTransaction() {
    // Inside the caller's transaction the operation needs nothing of its own: the caller's
    // BEGIN IMMEDIATE holds the write lock, and an operation keeps what its statements did
    // whether it succeeds or fails, so a savepoint would only be released.
    inCallerTransaction_ = sqlite3_get_autocommit(db_.get()) == 0;
    if (inCallerTransaction_) return true;
    schemaReadInTransaction_ = false;
    check(db_.get(), runControl("BEGIN IMMEDIATE"));
    return true;
}

void SqliteConnection::commitOperationTransaction() {
    sqlite3* db = db_.get();
    if (inCallerTransaction_) return;
    if (sqlite3_get_autocommit(db) != 0) return;  // ended by the database after a failure
    const int resultCode = runControl("COMMIT");
    if (resultCode == SQLITE_OK) return;
    const Error failure = sqliteError(db, resultCode, "COMMIT");
    sqlite3_exec(db, "ROLLBACK", nullptr, nullptr, nullptr);
    throw failure;
}

bool SqliteConnection::operationTransactionAlive() {
    return sqlite3_get_autocommit(db_.get()) == 0;
}

Error SqliteConnection::strayQuoteError(std::string_view text, std::size_t quoteOffset) {
    try {
        translate(text);
    } catch (const Error& error) {
        return error;
    }
    return sqlite::strayQuoteError(text, quoteOffset, kProviderName);
}

void SqliteConnection::createCompanySchema() {
    const bool ownTransaction = sqlite3_get_autocommit(db_.get()) != 0;
    if (ownTransaction && writableFile(db_.get())) check(db_.get(), useWriteAheadLog(db_.get()));
    if (ownTransaction) runNative("BEGIN IMMEDIATE");
    try {
        for (const std::string& statement : schema::sqliteScript()) runNative(statement.c_str());
        if (ownTransaction) runNative("COMMIT");
    } catch (...) {
        if (ownTransaction) sqlite3_exec(db_.get(), "ROLLBACK", nullptr, nullptr, nullptr);
        throw;
    }
    statements_.clear();
    translator_.clearCache();
    catalog_.reload();
    schemaReadInTransaction_ = false;
}

ConnectionRef openSqliteConnection(std::string connectionString, const std::string& path,
                                   int busyTimeoutMs, bool readOnly) {
    sqlite3* db = nullptr;
    // A connection is used by one thread at a time (the library's state is process-wide), so
    // SQLite need not lock around each of its calls on it.
    const int flags = SQLITE_OPEN_NOMUTEX |
                      (readOnly ? SQLITE_OPEN_READONLY : SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE);
    int resultCode = sqlite3_open_v2(path.c_str(), &db, flags, nullptr);
    auto fail = [&](int code) -> Error {
        const std::string message = db ? sqlite3_errmsg(db) : sqlite3_errstr(code);
        sqlite3_close_v2(db);
        return Error(errc::kProviderGeneric, kProviderName,
                     "Cannot open database '" + path + "': " + message, code);
    };
    if (resultCode != SQLITE_OK) throw fail(resultCode);
    sqlite3_extended_result_codes(db, 1);
    sqlite3_busy_timeout(db, busyTimeoutMs);
    // The journal of each operation's savepoint (and of each statement inside a transaction)
    // is kept in memory: on disk it would be written page by page for every line posted
    // inside a caller's transaction. The database's own journal (WAL) keeps it crash-safe.
    if ((resultCode = sqlite3_exec(db, "PRAGMA temp_store=MEMORY", nullptr, nullptr, nullptr)) !=
        SQLITE_OK)
        throw fail(resultCode);
    if (writableFile(db)) {
        // An empty file stays empty (and untouched) until its schema is created: only a
        // database that already holds pages is switched here.
        sqlite3_stmt* pages = nullptr;
        resultCode = sqlite3_prepare_v2(db, "PRAGMA page_count", -1, &pages, nullptr);
        bool holdsData = false;
        if (resultCode == SQLITE_OK) {
            resultCode = sqlite3_step(pages);
            holdsData = resultCode == SQLITE_ROW && sqlite3_column_int64(pages, 0) > 0;
            if (resultCode == SQLITE_ROW) resultCode = SQLITE_OK;
        }
        sqlite3_finalize(pages);
        if (resultCode != SQLITE_OK) throw fail(resultCode);
        if (holdsData && (resultCode = useWriteAheadLog(db)) != SQLITE_OK) throw fail(resultCode);
    }
    return std::make_shared<SqliteConnection>(std::move(connectionString), db);
}

}  // namespace kvlnmov::db::sqlite
