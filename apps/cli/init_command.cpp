// `kvlnmov init`: a new company database with its schema, one company and one open exercise.

#include <filesystem>
#include <iostream>
#include <memory>
#include <optional>
#include <sstream>
#include <system_error>

#include "chart_file.h"
#include "commands.h"
#include "company_database.h"
#include "i18n.h"
#include "text_table.h"
#include "kvlnmov/db/open.h"
#include "kvlnmov/frame/date.h"

namespace kvlnmov::cli {

namespace {

struct InitOptions {
    DatabaseArgument database;
    int company = 1;
    int exercise = 2026;
    std::string from;
    std::string to;
    std::string levels = "1,2,3,4,8";
    int numbering = 0;
    int tax = 0;
    std::string name = "Empresa demo";
    std::string chart;
};

Date parseDate(const std::string& text, const char* option) {
    const auto date = Date::parseIso(text);
    if (!date || date->hasTime())
        throw UsageError{format(_("%s must be a date as YYYY-MM-DD: '%s'"), option, text.c_str())};
    return *date;
}

// "1,2,3,4,8": one or more lengths, each longer than the one before.
void checkLevels(const std::string& levels) {
    std::istringstream input(levels);
    std::string part;
    int previous = 0;
    int count = 0;
    while (std::getline(input, part, ',')) {
        int length = 0;
        std::size_t used = 0;
        try {
            length = std::stoi(part, &used);
        } catch (const std::exception&) {
            used = 0;
        }
        if (used == 0 || used != part.size() || length <= previous || length > 20) {
            throw UsageError{format(_("--levels must list increasing account lengths up to 20, "
                                      "separated by commas (as 1,2,3,4,8): '%s'"),
                                    levels.c_str())};
        }
        previous = length;
        ++count;
    }
    if (count == 0 || levels.back() == ',')
        throw UsageError{
            format(_("--levels must list at least one account length: '%s'"), levels.c_str())};
}

int runInit(const InitOptions& options) {
    const Date from =
        parseDate(options.from.empty() ? std::to_string(options.exercise) + "-01-01" : options.from,
                  "--from");
    const Date to = parseDate(
        options.to.empty() ? std::to_string(options.exercise) + "-12-31" : options.to, "--to");
    if (to < from) throw UsageError{_("--to must not be before --from")};
    // The balances keep one column per calendar month (D1..D12, H1..H12), periods counted from
    // the first month: an exercise may reach into twelve calendar months at most, or two of
    // its months would share a column.
    const int months = (to.year() - from.year()) * 12 + (to.month() - from.month()) + 1;
    if (months > 12) {
        throw UsageError{format(_("an exercise spans at most twelve calendar months (the balances "
                                  "keep one column per month): %s to %s spans %d months"),
                                dateText(from).c_str(), dateText(to).c_str(), months)};
    }
    checkLevels(options.levels);
    // The chart is read and fitted to the levels before anything is created.
    std::optional<PlacedChart> chart;
    if (!options.chart.empty()) {
        chart =
            placeChart(readChartFile(options.chart), parseLevels(options.levels), options.chart);
    }

    CompanySetup setup;
    setup.path = options.database.file;
    setup.connection = options.database.connection;
    setup.company = options.company;
    setup.exercise = options.exercise;
    setup.firstDay = from;
    setup.lastDay = to;
    setup.levels = options.levels;
    setup.numbering = options.numbering;
    setup.tax = options.tax;
    setup.name = options.name;
    createCompanyDatabase(setup);

    // A connection string may hold a password: it is not repeated.
    std::cout << format(_("Created %s: company %d '%s', exercise %d from %s to %s (open), "
                          "account levels %s, numbering scheme %d, tax kind %d."),
                        options.database.name().c_str(), static_cast<int>(options.company),
                        options.name.c_str(), static_cast<int>(options.exercise),
                        dateText(from).c_str(), dateText(to).c_str(), options.levels.c_str(),
                        static_cast<int>(options.numbering), static_cast<int>(options.tax))
              << "\n";
    if (chart) {
        const auto progress = terminalProgress();
        try {
            const ChartImport done =
                importChart(openExistingDatabase(options.database), options.company,
                            options.exercise, *chart, false, progress);
            reportImport(std::cout, done, *chart, options.company, options.exercise);
        } catch (...) {
            if (progress) std::cerr << "\n";
            std::cerr << _("The database was created but its chart is empty: import it again "
                           "with kvlnmov accounts import.")
                      << "\n";
            throw;
        }
    }
    return kExitOk;
}

}  // namespace

Command addInitCommand(CLI::App& app) {
    auto options = std::make_shared<InitOptions>();
    CLI::App* command = app.add_subcommand(
        "init",
        _("Create a company database: the schema, one company and one open exercise.\n"
        "Refuses a file that exists and is not empty, and an exercise that spans more than\n"
        "twelve calendar months. With --connection the database is an empty one the\n"
        "connection string names (SQL Server through ODBC)."));
    addDatabaseOptions(command, options->database, _("Database file to create (SQLite)"),
                       _("an empty database instead of a file"));
    command->add_option("--company", options->company, _("Company code"))
        ->check(CLI::Range(1, 32767))
        ->capture_default_str();
    command->add_option("--exercise", options->exercise, _("Exercise code (usually its year)"))
        ->check(CLI::Range(1, 32767))
        ->capture_default_str();
    command->add_option("--from", options->from,
                        _("First day of the exercise, YYYY-MM-DD (default: 1 January of "
                          "--exercise)"));
    command->add_option("--to", options->to,
                        _("Last day of the exercise, YYYY-MM-DD (default: 31 December of "
                          "--exercise)"));
    command
        ->add_option("--levels", options->levels,
                     _("Lengths of the chart of accounts' levels, the last one the length "
                       "of a posting account"))
        ->capture_default_str();
    command
        ->add_option("--numbering", options->numbering,
                     _("Entry numbering: 0 per exercise, 1 month/day + 3 digits, "
                       "2 month/day + 4 digits"))
        ->check(CLI::Range(0, 2))
        ->capture_default_str();
    command->add_option("--tax", options->tax, _("Indirect tax kind (1: IGIC)"))
        ->check(CLI::Range(0, 32767))
        ->capture_default_str();
    command->add_option("--name", options->name, _("Company name"))->capture_default_str();
    command->add_option("--chart", options->chart,
                        _("Chart of accounts file to import into the new company (as "
                          "kvlnmov accounts import reads it)"));
    return Command{command, [options] { return runInit(*options); }};
}

}  // namespace kvlnmov::cli
