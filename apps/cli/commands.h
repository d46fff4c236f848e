#pragma once

// The commands of the kvlnmov tool. Each one adds its subcommand (with its options and help)
// to the application and returns how to run it once the command line has been parsed.

#include <CLI/CLI.hpp>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "i18n.h"

namespace kvlnmov::cli {

/// Exit codes: success, a failure while running (a provider error), bad arguments.
inline constexpr int kExitOk = 0;
inline constexpr int kExitFailure = 1;
inline constexpr int kExitUsage = 2;

/// Thrown by a command for a bad argument found after parsing: printed, exit code 2.
struct UsageError {
    std::string message;
};

/// Thrown by a command that finds nothing to do where the user asked for something (an entry
/// that does not exist, lines that are not there, an entry moved onto itself) or that refuses
/// what it was asked: printed, exit code 1. Commands check before writing, so nothing has
/// changed when it is thrown.
struct Refused {
    std::string message;
};

struct Command {
    CLI::App* subcommand = nullptr;
    /// Runs the command; returns the exit code. kvlnmov::Error escapes to the caller.
    std::function<int()> run;
};

/// Where a command's database is: the file DB, or the database an ODBC connection string
/// (--connection) names.
struct DatabaseArgument {
    std::string file;
    std::string connection;
    /// The database as messages name it.
    std::string name() const { return connection.empty() ? file : _("the connection's database"); }
};

/// Adds DB and --connection to a command; returns DB, which is required. `purpose` ends the
/// connection option's help. `--connection CS` takes DB's place on the command line (see
/// connectionTakesDatabasePlace), so the arguments after DB keep their places.
/// Both texts are given in the tool's language (through _()).
CLI::Option* addDatabaseOptions(CLI::App* command, DatabaseArgument& database,
                                const std::string& fileHelp,
                                const std::string& purpose = _("the database instead of a file"));
/// Adds --company and --exercise (codes from 1 to 32767; when left out, the database's only
/// company and exercise) to a command that works on one company's exercise.
void addCompanyExerciseOptions(CLI::App* command, std::optional<int>& company,
                               std::optional<int>& exercise);

/// The command line with the value of a command's `--connection` also put where DB stands
/// (right after the command's name), for the commands of `app` that have --connection.
std::vector<std::string> connectionTakesDatabasePlace(const CLI::App& app,
                                                      std::vector<std::string> arguments);

/// `kvlnmov init DB ...` or `kvlnmov init --connection STRING ...`: creates a company
/// database.
Command addInitCommand(CLI::App& app);
/// `kvlnmov schema --dialect tsql|sqlite`: prints the company database's creation script.
Command addSchemaCommand(CLI::App& app);
/// `kvlnmov sql DB [STATEMENT]`: runs T-SQL statements on a database.
Command addSqlCommand(CLI::App& app);
/// `kvlnmov run FILES...`: runs scenario files.
Command addRunCommand(CLI::App& app);
/// `kvlnmov post DB FILE`: posts the entries of a JSON or CSV file.
Command addPostCommand(CLI::App& app);
/// `kvlnmov balance DB`: prints the trial balance.
Command addBalanceCommand(CLI::App& app);
/// `kvlnmov demo DB`: a demonstration company's month of bookkeeping.
Command addDemoCommand(CLI::App& app);
/// `kvlnmov books DB [--company N --exercise N]`: lists the invoice books and the open
/// forecasts.
Command addBooksCommand(CLI::App& app);
/// `kvlnmov show DB ENTRY [--company N --exercise N]`: one entry as the entry viewer shows it.
Command addShowCommand(CLI::App& app);
/// `kvlnmov annul DB ENTRY [--user N] [--company N --exercise N]`: annuls a posted entry.
Command addAnnulCommand(CLI::App& app);
/// `kvlnmov renumber DB OLD NEW`: moves the lines of entry OLD to the existing entry NEW.
Command addRenumberCommand(CLI::App& app);
/// `kvlnmov verify DB|--connection STRING [--company N --exercise N] [--repair]`: checks the
/// running balances against the journal and, with --repair, rewrites them.
Command addVerifyCommand(CLI::App& app);
/// `kvlnmov reassign DB --from A --to B --dest D --start DATE --end DATE`: moves the lines of
/// an account range to one account.
Command addReassignCommand(CLI::App& app);
/// `kvlnmov accounts import|list|add|rename DB ...`: the company's chart of accounts.
Command addAccountsCommand(CLI::App& app);

}  // namespace kvlnmov::cli
