#pragma once

// Runs the statements of `kvlnmov sql` one by one, on their own or all in one transaction, and
// reports a failure: the error, and which statement failed.

#include <ostream>

#include "kvlnmov/db/connection.h"
#include "kvlnmov/db/script.h"
#include "sql_results.h"

namespace kvlnmov::cli {

class StatementRunner {
  public:
    /// Results go to `out`, failures to `errors`. With `transaction`, every statement runs in
    /// one transaction that `begin` opens and `commit` commits; the first failure rolls it back.
    StatementRunner(db::ConnectionRef connection, ResultForm form, bool transaction,
                    std::ostream& out, std::ostream& errors);

    /// Opens the transaction when there is to be one.
    void begin();
    /// Runs `statement` (whose first line is `line` of the input) and prints what it returns,
    /// after a blank line when an earlier statement printed something. On failure prints the error
    /// and which statement failed, rolls the transaction back if there is one, and returns false.
    bool run(const db::ScriptStatement& statement, int line);
    /// Commits the transaction when there is one (and it was not rolled back).
    void commit();
    /// Rolls the transaction back when there is one, and says so.
    void rollback();
    /// The statements that ran without failing.
    int ran() const { return ran_; }
    /// True when the statements run in one transaction.
    bool transactional() const { return transaction_; }

  private:
    db::ConnectionRef connection_;
    ResultForm form_;
    bool transaction_;
    std::ostream& out_;
    std::ostream& errors_;
    bool open_ = false;
    int ran_ = 0;
    int tried_ = 0;  ///< the statements run so far, failed ones too: a statement's number
    bool printed_ = false;
};

}  // namespace kvlnmov::cli
