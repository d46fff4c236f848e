#include "sql_runner.h"

#include <sstream>
#include <string>

#include "i18n.h"
#include "kvlnmov/frame/error.h"

namespace kvlnmov::cli {

namespace {

std::string firstLine(const std::string& text) {
    std::string line = text.substr(0, text.find('\n'));
    if (!line.empty() && line.back() == '\r') line.pop_back();
    return line;
}

}  // namespace

StatementRunner::StatementRunner(db::ConnectionRef connection, ResultForm form, bool transaction,
                                 std::ostream& out, std::ostream& errors)
    : connection_(std::move(connection)),
      form_(form),
      transaction_(transaction),
      out_(out),
      errors_(errors) {}

void StatementRunner::begin() {
    if (!transaction_ || open_) return;
    connection_->BeginTrans();
    open_ = true;
}

bool StatementRunner::run(const db::ScriptStatement& statement, int line) {
    // Printed once the statement has run, so that a blank line goes only between two
    // statements' outputs (in CSV, a statement that changes rows prints nothing).
    std::ostringstream result;
    ++tried_;
    try {
        runAndPrint(connection_, statement.text, form_, result);
    } catch (const Error& error) {
        errors_ << "Error " << error.number() << " (" << error.source()
                << "): " << error.description() << "\n";
        errors_ << "kvlnmov: "
                << format(_("statement %zu (line %zu) failed: %s"),
                          static_cast<std::size_t>(tried_), static_cast<std::size_t>(line),
                          firstLine(statement.text).c_str())
                << "\n";
        rollback();
        return false;
    }
    if (!result.view().empty()) {
        if (printed_) out_ << "\n";
        out_ << result.view() << std::flush;
        printed_ = true;
    }
    ++ran_;
    return true;
}

void StatementRunner::commit() {
    if (!open_) return;
    open_ = false;
    connection_->CommitTrans();
}

void StatementRunner::rollback() {
    if (!open_) return;
    open_ = false;
    connection_->RollbackTrans();
    errors_ << "kvlnmov: "
            << _("the transaction was rolled back; no statement's change was kept.") << "\n";
}

}  // namespace kvlnmov::cli
