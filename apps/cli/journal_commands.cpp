// `kvlnmov post` and `kvlnmov balance`.

#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <iostream>
#include <memory>
#include <optional>

#include "commands.h"
#include "company_database.h"
#include "i18n.h"
#include "kvlnmov/core/library.h"
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
    std::string delimiter = ";";
    std::string decimal = "auto";
    std::string dateFormat = "iso";
    /// The CSV options as given on the command line, to refuse them for a JSON file.
    std::vector<CLI::Option*> csvOptions;
};

/// Files with more lines than this show a progress bar while they are posted.
constexpr std::size_t kProgressAbove = 2000;

/// A progress bar on standard error, drawn only when it is a terminal: a redirected error
/// output stays free of it.
class ProgressBar {
  public:
    explicit ProgressBar(std::size_t total)
        : total_(total), shown_(total > kProgressAbove && isatty(STDERR_FILENO) == 1) {}
    ProgressBar(const ProgressBar&) = delete;
    ProgressBar& operator=(const ProgressBar&) = delete;
    ~ProgressBar() { clear(); }

    /// Redraws the bar for `done` lines posted, once per whole percent.
    void update(std::size_t done) {
        if (!shown_) return;
        auto percent = static_cast<int>(done * 100 / total_);
        if (percent == percent_) return;
        percent_ = percent;
        constexpr int kWidth = 30;
        int filled = percent * kWidth / 100;
        std::string bar = std::string(filled, '#') + std::string(kWidth - filled, '-');
        std::string line = format(
            trn("Posting [%s] %d%% (%s of %s line)", "Posting [%s] %d%% (%s of %s lines)", total_),
            bar.c_str(), percent, count(done).c_str(), count(total_).c_str());
        width_ = std::max(width_, line.size());
        std::cerr << "\r" << line << std::flush;
    }

    /// Removes the bar, so that what follows starts on a clean line.
    void clear() {
        if (width_ == 0) return;
        std::cerr << "\r" << std::string(width_, ' ') << "\r" << std::flush;
        width_ = 0;
    }

  private:
    static std::string count(std::size_t value) {
        return funciones().FormatoNumero(Currency::fromUnits(static_cast<std::int64_t>(value)), 0);
    }

    std::size_t total_;
    bool shown_;
    int percent_ = -1;
    std::size_t width_ = 0;
};

/// "Posted 2 entries (5 lines, 1 tax book record, 1 forecast): entries 1 to 2."
std::string postingSummary(const std::vector<DraftEntry>& entries,
                           const std::vector<PostedEntry>& posted) {
    std::size_t lines = 0;
    std::size_t invoices = 0;
    std::size_t forecasts = 0;
    for (const DraftEntry& entry : entries) {
        lines += entry.lines.size();
        invoices += entry.invoice ? 1 : 0;
    }
    std::int32_t first = posted.front().number;
    std::int32_t last = first;
    for (const PostedEntry& entry : posted) {
        forecasts += entry.forecasts.size();
        first = std::min(first, entry.number);
        last = std::max(last, entry.number);
    }
    // A count in the regional form ("1.000") in the form of its noun the count asks for.
    auto number = [](std::size_t value) {
        return funciones().FormatoNumero(Currency::fromUnits(static_cast<std::int64_t>(value)), 0);
    };
    const std::string entryCount =
        format(trn("%s entry", "%s entries", posted.size()), number(posted.size()).c_str());
    const std::string lineCount = format(trn("%s line", "%s lines", lines), number(lines).c_str());
    const std::string invoiceCount = format(
        trn("%s tax book record", "%s tax book records", invoices), number(invoices).c_str());
    const std::string forecastCount =
        format(trn("%s forecast", "%s forecasts", forecasts), number(forecasts).c_str());
    if (posted.size() == 1) {
        return format(_("Posted %s (%s, %s, %s): entry %d."), entryCount.c_str(), lineCount.c_str(),
                      invoiceCount.c_str(), forecastCount.c_str(), static_cast<int>(first));
    }
    return format(_("Posted %s (%s, %s, %s): entries %d to %d."), entryCount.c_str(),
                  lineCount.c_str(), invoiceCount.c_str(), forecastCount.c_str(),
                  static_cast<int>(first), static_cast<int>(last));
}

CsvFormat csvFormat(const PostOptions& options) {
    CsvFormat format;
    format.delimiter = options.delimiter.front();
    format.decimal = options.decimal == "auto" ? '\0' : options.decimal.front();
    format.dayMonthYear = options.dateFormat == "dmy";
    if (format.decimal == format.delimiter) {
        throw UsageError{_("--decimal and --delimiter cannot be the same character")};
    }
    return format;
}

int runPost(const PostOptions& options) {
    // Everything is read and checked before the database is touched.
    if (std::filesystem::path(options.file).extension() == ".json") {
        for (const CLI::Option* option : options.csvOptions) {
            if (option->count() > 0) {
                throw UsageError{
                    format(_("%s applies to CSV files only"), option->get_name().c_str())};
            }
        }
    }
    std::vector<DraftEntry> entries = readPostingFile(options.file, csvFormat(options));
    CompanyDatabase opened =
        openCompanyDatabase(options.database, options.company, options.exercise, options.user);
    checkEntries(entries, *opened.context);
    checkAccountsInChart(entries, opened.connection, *opened.context);
    // A file posted before is refused whole: posting it again must change nothing.
    if (auto refusal = referencesAlreadyPosted(entries, opened.connection, *opened.context)) {
        std::cerr << *refusal << "\n";
        return kExitFailure;
    }

    std::size_t lines = 0;
    for (const DraftEntry& entry : entries) lines += entry.lines.size();
    ProgressBar progress(lines);
    // One transaction for the whole file: a failure half-way leaves the books as they were.
    opened.connection->BeginTrans();
    std::vector<PostedEntry> posted;
    try {
        posted = postEntries(entries, opened.connection, opened.context,
                             static_cast<std::int16_t>(options.user),
                             [&progress](std::size_t done) { progress.update(done); });
        opened.connection->CommitTrans();
    } catch (...) {
        opened.connection->RollbackTrans();
        progress.clear();
        std::cerr << _("Nothing was posted: the whole file was undone.") << "\n";
        throw;
    }
    progress.clear();
    std::cout << postingSummary(entries, posted) << "\n";
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

}  // namespace

Command addPostCommand(CLI::App& app) {
    auto options = std::make_shared<PostOptions>();
    CLI::App* command = app.add_subcommand(
        "post",
        _("Post the entries of a JSON or CSV file. The whole file is checked before anything is\n"
          "written (dates inside the exercise, full-length accounts that are in the chart of\n"
          "accounts when the company has one, one side per line, balanced entries, amounts in\n"
          "cents, never rounded, invoice taxes equal to base x rate / 100 within 0,01, no\n"
          "quotes in texts and no text longer than its column); then all entries are posted in\n"
          "one transaction.\n\n"
          "Every entry needs a reference, unique in the exercise (kept in Asientos.CodigoExterno,\n"
          "up to 50 characters): a file whose references are already in the books is refused\n"
          "whole, so posting the same file twice changes nothing (exit code 1).\n\n"
          "JSON ('.' as decimal mark; amounts as numbers or texts; dates yyyy-mm-dd):\n"
          "  {\"entries\": [{\"date\": \"2026-03-02\", \"reference\": \"A-1\", \"remarks\": \"\",\n"
          "    \"closing\": false,\n"
          "    \"lines\": [{\"account\": \"43000001\", \"debit\": \"1210.00\", \"concept\": "
          "\"Factura A-1\",\n"
          "               \"document\": \"A-1\", \"department\": 1},\n"
          "              {\"account\": \"70000001\", \"credit\": \"1000.00\"},\n"
          "              {\"account\": \"47700021\", \"credit\": \"210.00\"}],\n"
          "    \"invoice\": {\"book\": \"issued\", \"tax\": \"IVA\", \"account\": \"43000001\",\n"
          "                \"name\": \"Cliente S.L.\", \"nif\": \"B12345678\", \"document\": "
          "\"A-1\",\n"
          "                \"rates\": [{\"operation\": 1, \"base\": \"1000.00\", \"rate\": 21,\n"
          "                           \"tax\": \"210.00\"}],\n"
          "                \"due\": [{\"date\": \"2026-04-01\", \"amount\": \"1210.00\"}]}}]}\n"
          "  The optional \"invoice\" writes a tax book record for the line of its \"account\":\n"
          "  \"book\" is \"issued\" (output tax, due dates become collection forecasts),\n"
          "  \"received\" (input tax, due dates become payment forecasts) or \"capital\"\n"
          "  (capital goods received); \"tax\" is \"IVA\" or \"IGIC\"; each rate line has an\n"
          "  \"operation\" kind (default 1), a \"base\", a whole-percent \"rate\" and its "
          "\"tax\".\n"
          "  \"withholding\": {\"key\": 1, \"rate\": 15, \"account\": \"47510001\",\n"
          "  \"base\": \"1000.00\", \"amount\": \"150.00\", \"total\": \"1060.00\"} records the\n"
          "  income-tax withholding of a professional's invoice. The \"due\" amounts add up to\n"
          "  the amount of the invoice's line.\n"
          "CSV: entry;date;account;debit;credit;concept;document;department\n"
          "  The consecutive lines of one entry share its key, which is the entry's reference,\n"
          "  and its date. A UTF-8 byte order mark is accepted. Amounts: with --decimal auto a\n"
          "  single '.' or ',' followed by one or two digits is the decimal mark and the other\n"
          "  mark separates thousands (1.210,50 or 1,210.50); an amount that reads both ways\n"
          "  (1.210) is refused: name the mark with --decimal."));
    addDatabaseOptions(command, options->database, _("Company database file"));
    command->add_option("FILE", options->file, _("Entries to post (.json or .csv)"))->required();
    addCompanyExerciseOptions(command, options->company, options->exercise);
    command->add_option("--user", options->user, _("User code recorded on entries and lines"))
        ->check(CLI::Range(0, 32767))
        ->capture_default_str();
    options->csvOptions.push_back(
        command->add_option("--delimiter", options->delimiter, _("CSV field separator: ';' or ','"))
            ->check(CLI::IsMember({";", ","}))
            ->capture_default_str());
    options->csvOptions.push_back(
        command
            ->add_option("--decimal", options->decimal,
                         _("CSV decimal mark: ',' or '.' (the other one then only separates "
                           "thousands), or auto"))
            ->check(CLI::IsMember({",", ".", "auto"}))
            ->capture_default_str());
    options->csvOptions.push_back(
        command
            ->add_option("--date-format", options->dateFormat,
                         _("CSV dates: iso (yyyy-mm-dd) or dmy (dd/mm/yyyy)"))
            ->check(CLI::IsMember({"iso", "dmy"}))
            ->capture_default_str());
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
    addCompanyExerciseOptions(command, options->company, options->exercise);
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
