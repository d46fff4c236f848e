#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "kvlnmov/db/types.h"
#include "kvlnmov/frame/error.h"
#include "kvlnmov/frame/object.h"
#include "kvlnmov/frame/variant.h"

namespace kvlnmov::db {

class Cursor;
class Recordset;
class ParameterList;

/// Sees every text a connection sends, in order: executed statements and opened queries as
/// written, stored procedures as "EXEC name", caller-held transactions as "BEGIN
/// TRANSACTION", "COMMIT TRANSACTION" and "ROLLBACK TRANSACTION". A statement that fails
/// (also by fault injection) is still seen, once per attempt.
class StatementObserver {
  public:
    virtual ~StatementObserver() = default;
    virtual void statementSent(std::string_view text) = 0;
};

/// A fault to inject for tests: the next `times` texts that start with `prefix` fail with
/// error `number`/`description` (source: the provider's name) before reaching the database.
/// The prefix is compared without regard to case and to blanks leading either text; an
/// empty prefix matches every text. A failing text is still observed, and the open
/// recordsets are left as they were.
struct Fault {
    std::string prefix;
    int times = 1;
    std::int32_t number = 0;
    std::string description;
};

/// An open database connection, shaped as ADO's Connection. Created by `openConnection`
/// (kvlnmov/db/open.h). Statements are SQL Server (T-SQL) text; each call runs one
/// statement and commits it by itself unless the caller opened a transaction.
///
/// Failures are raised as `kvlnmov::Error` with SQL Server's numbers as an ADO client sees
/// them (kvlnmov::errc) and the provider's name as source.
class Connection : public Object {
  public:
    ~Connection() override;
    std::string className() const override { return "Connection"; }

    /// Runs one statement and returns the number of rows it changed; -1 for a SELECT (whose
    /// rows are read and dropped), as ADO reports a row-returning statement.
    std::int32_t Execute(std::string_view text);

    /// Caller-held transaction. The library's own operations never call these. Beginning
    /// while one is open, or committing or rolling back without one, raises -2147467259.
    void BeginTrans();
    void CommitTrans();
    void RollbackTrans();

    /// Brackets one library operation that writes (the business objects' handlers call
    /// these; calls nest, and only the outermost pair counts). Where the provider supports
    /// it, the operation's statements run in one write transaction of the provider's own,
    /// taken before the operation's first statement (a savepoint inside a caller's
    /// transaction) and committed by `endOperation`: other connections and processes wait
    /// for the whole operation, and a process that dies in the middle leaves nothing of it.
    /// A failing statement does not end the transaction: what ran before it is committed
    /// with the rest, exactly as statements committed one by one would have left it. The
    /// transaction is invisible to observers and fault injection. A provider without such
    /// transactions commits statement by statement as before.
    void beginOperation();
    /// Ends the bracket; the outermost end commits. Raises when the commit fails (the
    /// operation's statements are then undone).
    void endOperation();

    /// The connection string the connection was opened with.
    const std::string& ConnectionString() const { return connectionString_; }
    /// The provider's name: the source of the errors it raises.
    virtual std::string providerName() const = 0;

    /// Creates the company database schema (tables, keys, defaults, the numbering
    /// procedures) in an empty database.
    virtual void createCompanySchema() = 0;

    /// Observers are called in the order added.
    void addObserver(std::shared_ptr<StatementObserver> observer);
    void removeObserver(const StatementObserver* observer);
    /// Faults are checked in the order injected; the first that matches a text fails it and
    /// is used up after `times` failures.
    void injectFault(Fault fault);
    void clearFaults();

  protected:
    explicit Connection(std::string connectionString);

    /// Provider hooks. They receive only texts that passed observation and fault injection.
    virtual std::int32_t executeStatement(std::string_view text) = 0;
    virtual std::unique_ptr<Cursor> openCursor(std::string_view text) = 0;
    /// Runs stored procedure `name`; reads the input parameters and sets the output ones.
    virtual void callProcedure(const std::string& name, ParameterList& parameters) = 0;
    virtual void beginTransaction() = 0;
    virtual void commitTransaction() = 0;
    virtual void rollbackTransaction() = 0;

    /// Opens the provider's write transaction for an operation (a savepoint when the caller
    /// holds a transaction). Returns false when the provider has none (statements then commit
    /// one by one). A failure (such as another process holding the write lock past the busy
    /// timeout) is raised as the failure of the statement about to run.
    virtual bool openOperationTransaction() { return false; }
    /// Commits what `openOperationTransaction` opened; on failure undoes it and raises.
    virtual void commitOperationTransaction() {}
    /// False when the database ended the operation's transaction by itself after a failure
    /// (an I/O error, a full disk): what the operation wrote is gone, and no later statement of
    /// the operation may run outside it.
    virtual bool operationTransactionAlive() { return true; }
    /// The error for a statement refused because a quoted text in it holds a quote (the
    /// quote at `quoteOffset` ends the literal early): the syntax error the server gives for a
    /// stray quote there, with the provider's name as source.
    virtual Error strayQuoteError(std::string_view text, std::size_t quoteOffset);

  private:
    friend class Recordset;
    friend class Command;

    /// Observes `text`, applies injected faults, and (when `changesData`) first reads the
    /// rest of every open recordset into memory so they keep the rows they had.
    void beforeSending(std::string_view text, bool changesData);
    std::unique_ptr<Cursor> open(std::string_view text);
    void runProcedure(const std::string& name, ParameterList& parameters);
    /// Runs `send` (a statement reaching the provider) inside the current operation's
    /// transaction, opening it first when the operation has none yet.
    template <class Send>
    auto withinOperation(Send&& send) -> decltype(send());
    void registerRecordset(Recordset* recordset);
    void unregisterRecordset(Recordset* recordset);

    std::string connectionString_;
    std::vector<std::shared_ptr<StatementObserver>> observers_;
    std::vector<Fault> faults_;
    std::vector<Recordset*> openRecordsets_;

    enum class OperationState {
        None,         ///< no operation running
        Pending,      ///< an operation is running; its transaction opens at its first statement
        Open,         ///< the operation's transaction is open
        Unsupported,  ///< the provider commits statement by statement
        Lost,         ///< the database ended the transaction after a failure
    };
    int operationDepth_ = 0;
    OperationState operation_ = OperationState::None;
    /// Why the operation's transaction was lost: what every later statement of it raises.
    std::optional<Error> lostBecause_;
};

using ConnectionRef = std::shared_ptr<Connection>;

/// The rows of one query as a provider delivers them, fetched on demand.
class Cursor {
  public:
    virtual ~Cursor() = default;
    virtual const std::vector<ColumnInfo>& columns() const = 0;
    /// Fills `row` (one value per column, typed by the column) with the next row; false at
    /// the end.
    virtual bool next(std::vector<Variant>& row) = 0;
};

/// The cursor of a statement that returns no rows (a change opened as a query).
std::unique_ptr<Cursor> makeEmptyCursor();

}  // namespace kvlnmov::db
