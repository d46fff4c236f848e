// `kvlnmov sql`: runs T-SQL statements on a company database and prints what they return.
//
// Input that is not typed at a terminal (a STATEMENT argument, or standard input) is read whole
// and split into statements before anything runs, so that a statement cut in two never runs
// half: statements end at a `;` or at a line holding only GO, and the end of the input ends
// the last one when every quote, comment and parenthesis in it is closed. Input that ends
// inside one of those is refused and nothing runs.

#include <unistd.h>

#include <iostream>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "commands.h"
#include "company_database.h"
#include "i18n.h"
#include "kvlnmov/db/script.h"
#include "sql_console.h"
#include "sql_runner.h"

namespace kvlnmov::cli {

namespace {

struct SqlOptions {
    DatabaseArgument database;
    std::string statement;
    bool statementGiven = false;
    bool transaction = false;
    bool csv = false;
};

/// The statements of a whole input, or nothing (with the reason printed) when it ends inside
/// a statement or holds none.
std::optional<std::vector<db::ScriptStatement>> completeStatements(const std::string& text) {
    db::Script script = db::splitScript(text);
    const std::string line = std::to_string(script.openLine);
    switch (script.end) {
        case db::ScriptEnd::Separated:
            break;
        case db::ScriptEnd::Unseparated:
            script.statements.push_back(std::move(script.rest));
            break;
        case db::ScriptEnd::UnclosedQuote:
            std::cerr << "kvlnmov: "
                      << format(_("the input ends inside the quoted text or name opened on line "
                                  "%s; nothing was run."),
                                line.c_str())
                      << "\n";
            return std::nullopt;
        case db::ScriptEnd::UnclosedComment:
            std::cerr << "kvlnmov: "
                      << format(_("the input ends inside the comment opened on line %s; nothing "
                                  "was run."),
                                line.c_str())
                      << "\n";
            return std::nullopt;
        case db::ScriptEnd::UnclosedParenthesis:
            std::cerr << "kvlnmov: "
                      << format(_("the input ends with the parenthesis opened on line %s still "
                                  "open; nothing was run."),
                                line.c_str())
                      << "\n";
            return std::nullopt;
    }
    if (script.statements.empty()) {
        std::cerr << "kvlnmov: " << _("the input holds no statement; nothing was run.") << "\n";
        return std::nullopt;
    }
    return script.statements;
}

/// After statement `failed` (from 0) of `total` failed outside a transaction: which ran, and
/// which were never run.
void reportStopped(std::size_t failed, std::size_t total) {
    if (failed == 0) {
        std::cerr << "kvlnmov: " << _("no statement ran before it.") << "\n";
    } else if (failed == 1) {
        std::cerr << "kvlnmov: " << _("statement 1 ran before it; its changes are kept.") << "\n";
    } else {
        std::cerr << "kvlnmov: "
                  << format(_("statements 1 to %zu ran before it; their changes are kept."), failed)
                  << "\n";
    }
    const std::size_t rest = total - failed - 1;
    if (rest == 1) {
        std::cerr << "kvlnmov: " << format(_("statement %zu was not run."), total) << "\n";
    } else if (rest > 1) {
        std::cerr << "kvlnmov: "
                  << format(_("statements %zu to %zu were not run."), failed + 2, total) << "\n";
    }
}

int runSql(const SqlOptions& options) {
    const ResultForm form = options.csv ? ResultForm::Csv : ResultForm::Table;
    if (!options.statementGiven && isatty(STDIN_FILENO)) {
        StatementRunner runner(openExistingDatabase(options.database), form, options.transaction,
                               std::cout, std::cerr);
        return runConsole(runner);
    }
    const std::string text = options.statementGiven
                                 ? options.statement
                                 : std::string(std::istreambuf_iterator<char>(std::cin), {});
    const auto statements = completeStatements(text);
    if (!statements) return kExitFailure;
    StatementRunner runner(openExistingDatabase(options.database), form, options.transaction,
                           std::cout, std::cerr);
    runner.begin();
    for (std::size_t i = 0; i < statements->size(); ++i) {
        const db::ScriptStatement& statement = (*statements)[i];
        if (!runner.run(statement, statement.line)) {
            if (!options.transaction && statements->size() > 1) {
                reportStopped(i, statements->size());
            }
            return kExitFailure;
        }
    }
    runner.commit();
    return kExitOk;
}

}  // namespace

Command addSqlCommand(CLI::App& app) {
    auto options = std::make_shared<SqlOptions>();
    CLI::App* command = app.add_subcommand(
        "sql",
        _("Run SQL Server (T-SQL) statements on a company database.\n"
        "Statements come from STATEMENT, from standard input, or, when standard input is a\n"
        "terminal, from an interactive console (prompt \"kvlnmov> \", \"    -> \" while a\n"
        "statement goes on, line editing, history kept in ~/.kvlnmov_history; Ctrl-D or quit\n"
        "ends it). A statement may span lines; statements are separated by \";\" or by a line\n"
        "holding only GO. A \";\" or GO inside a quoted text, a [name] or a comment separates\n"
        "nothing. The end of the input ends the last statement when its quotes, comments and\n"
        "parentheses are closed; input that ends inside one is refused (exit 1) and nothing\n"
        "runs. The whole input is checked before the first statement runs.\n"
        "Each statement commits by itself: the first failing statement stops the run (exit 1),\n"
        "and the statements before it stay done; the message says which ran and which did\n"
        "not. With --transaction everything runs in one transaction: the first failure rolls\n"
        "all of it back (exit 1). In the console a failure is printed and the console goes on\n"
        "(with --transaction it rolls back and ends).\n"
        "A SELECT prints an aligned table and \"(N rows)\"; any other statement prints\n"
        "\"(N rows affected)\". Values print as: NULL for Null, dates as dd/mm/yyyy[ HH:MM:SS],\n"
        "money with two decimals (four when it has them) and other non-integer numbers in\n"
        "the regional form (1.210,00), integers as they are, bit columns as 1/0.\n"
        "A database error prints \"Error <number> (<source>): <description>\", then which\n"
        "statement failed: \"statement <n> (line <l>) failed: <its first line>\"."));
    addDatabaseOptions(command, options->database, _("Database file (must exist)"));
    CLI::Option* statement = command->add_option(
        "STATEMENT", options->statement, _("T-SQL statements to run instead of standard input"));
    command->add_flag("--transaction", options->transaction,
                      _("Run all the statements in one transaction: all or nothing"));
    command->add_flag("--csv", options->csv,
                      _("Print rows as CSV for programs: a header line, \".\" as decimal "
                      "separator, ISO dates (YYYY-MM-DD[ HH:MM:SS[.mmm]]), NULL as an empty "
                      "field; statements that return no rows print nothing"));
    return Command{command, [options, statement] {
                       options->statementGiven = statement->count() > 0;
                       return runSql(*options);
                   }};
}

}  // namespace kvlnmov::cli
