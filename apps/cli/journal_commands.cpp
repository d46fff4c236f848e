// `kvlnmov post` and `kvlnmov balance`.

#include <iostream>
#include <memory>
#include <optional>

#include "commands.h"
#include "company_database.h"
#include "i18n.h"
#include "posting_file.h"
#include "trial_balance.h"

namespace kvlnmov::cli {

namespace {

struct PostOptions {
    DatabaseArgument database;
    std::string file;
    std::optional<int> company;
    std::optional<int> exercise;
    int user = 1;
};

int runPost(const PostOptions& options) {
    // Everything is read and checked before the database is touched.
    std::vector<DraftEntry> entries = readPostingFile(options.file);
    CompanyDatabase opened =
        openCompanyDatabase(options.database, options.company, options.exercise, options.user);
    checkEntries(entries, *opened.context);

    // One transaction for the whole file: a failure half-way leaves the books as they were.
    opened.connection->BeginTrans();
    std::vector<PostedEntry> posted;
    try {
        posted = postEntries(entries, opened.connection, opened.context,
                             static_cast<std::int16_t>(options.user));
        opened.connection->CommitTrans();
    } catch (...) {
        opened.connection->RollbackTrans();
        std::cerr << "Nothing was posted: the whole file was undone.\n";
        throw;
    }
    std::size_t lines = 0;
    for (const DraftEntry& entry : entries) lines += entry.lines.size();
    std::size_t forecasts = 0;
    std::size_t invoices = 0;
    for (const PostedEntry& entry : posted) forecasts += entry.forecasts.size();
    for (const DraftEntry& entry : entries) invoices += entry.invoice ? 1 : 0;
    std::cout << "Posted " << entries.size() << " entries (" << lines << " lines, " << invoices
              << " tax book records, " << forecasts << " forecasts); entry numbers:";
    for (const PostedEntry& entry : posted) std::cout << " " << entry.number;
    std::cout << "\n";
    return kExitOk;
}

struct BalanceOptions {
    DatabaseArgument database;
    std::optional<int> company;
    std::optional<int> exercise;
    TrialBalanceOptions report;
};

int runBalance(const BalanceOptions& options) {
    CompanyDatabase opened =
        openCompanyDatabase(options.database, options.company, options.exercise, 1);
    printTrialBalance(std::cout, opened.connection, *opened.context, options.report);
    return kExitOk;
}

void addCompanyOptions(CLI::App* command, std::optional<int>& company,
                       std::optional<int>& exercise) {
    command->add_option("--company", company,
                        _("Company code (default: the database's only company)"));
    command->add_option("--exercise", exercise,
                        _("Exercise code (default: the database's only exercise)"));
}

}  // namespace

Command addPostCommand(CLI::App& app) {
    auto options = std::make_shared<PostOptions>();
    CLI::App* command = app.add_subcommand(
        "post",
        "Post the entries of a JSON or CSV file (checked whole before anything is written:\n"
        "dates inside the exercise, full-length accounts, one side per line, balanced\n"
        "entries, no quotes in texts). All entries are posted in one transaction.\n\n"
        "JSON: {\"entries\": [{\"date\": \"2026-03-15\", \"closing\": false,\n"
        "        \"reference\": \"\", \"remarks\": \"\",\n"
        "        \"lines\": [{\"account\": \"43000001\", \"debit\": \"121.00\",\n"
        "                   \"concept\": \"Factura 1\", \"document\": \"F-1\", \"department\": "
        "1},\n"
        "                  {\"account\": \"70000001\", \"credit\": \"100.00\"},\n"
        "                  {\"account\": \"47700021\", \"credit\": \"21.00\"}]}]}\n"
        "CSV:  entry;date;account;debit;credit;concept;document;department\n"
        "      (the lines of an entry share its key and date; '.' as decimal separator)");
    addDatabaseOptions(command, options->database, "Company database file");
    command->add_option("FILE", options->file, "Entries to post (.json or .csv)")->required();
    addCompanyOptions(command, options->company, options->exercise);
    command->add_option("--user", options->user, "User code recorded on entries and lines")
        ->check(CLI::Range(0, 32767))
        ->capture_default_str();
    return {command, [options] { return runPost(*options); }};
}

Command addBalanceCommand(CLI::App& app) {
    auto options = std::make_shared<BalanceOptions>();
    CLI::App* command = app.add_subcommand(
        "balance",
        _("Print the trial balance from the running balances, one line per account of one\n"
          "level of the chart: the opening balance, the debits and credits of the period, what\n"
          "the closing entries posted (debit minus credit) and the balance (opening + debit -\n"
          "credit + closing entry)."));
    addDatabaseOptions(command, options->database, _("Company database file"));
    addCompanyOptions(command, options->company, options->exercise);
    command->add_option("--level", options->report.level,
                        _("Chart level, 1 for the shortest accounts (default: posting accounts)"));
    command->add_option("--dpto", options->report.department, _("Only this department"))
        ->check(CLI::Range(0, 32767));
    command->add_flag("--periods", options->report.periods,
                      _("Then list every account's debits and credits month by month, one line "
                        "per account and month with movement"));
    return {command, [options] { return runBalance(*options); }};
}

}  // namespace kvlnmov::cli
