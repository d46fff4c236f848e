// `kvlnmov accounts`: the company's chart of accounts (table Cuentas): import a chart file,
// list, add and rename accounts.

#include <unistd.h>

#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "chart_file.h"
#include "commands.h"
#include "company_database.h"
#include "i18n.h"
#include "kvlnmov/db/recordset.h"
#include "kvlnmov/frame/text.h"
#include "text_table.h"

namespace kvlnmov::cli {

namespace {

struct AccountsOptions {
    DatabaseArgument database;
    std::optional<int> company;
    std::optional<int> exercise;
    std::string file;
    bool replace = false;
    std::string prefix;
    std::string account;
    std::string name;
    std::string tag;
};

// The company's level lengths as the context reads them.
std::vector<int> companyLevels(EmpresaContext& context) {
    std::vector<int> levels;
    for (std::int16_t i = 0; i < context.Niveles(); ++i) levels.push_back(context.LongitudNivel(i));
    return levels;
}

std::string levelsText(const std::vector<int>& levels) {
    std::string text;
    for (int length : levels) text += (text.empty() ? "" : ",") + std::to_string(length);
    return text;
}

std::string keyCondition(EmpresaContext& context) {
    return " WHERE Cod_Empresa = " + std::to_string(context.Cod_Empresa()) +
           " AND Cod_Ejercicio = " + std::to_string(context.Cod_Ejercicio());
}

void checkDigits(const std::string& account, const char* argument) {
    if (account.empty() || account.find_first_not_of("0123456789") != std::string::npos)
        throw UsageError{format(_("%s must be digits only: '%s'"), argument, account.c_str())};
}

void checkName(const std::string& name) {
    if (text::trim(name).empty()) throw UsageError{_("NAME must not be empty")};
    if (text::characterCount(name) > accountNameWidth()) {
        throw UsageError{format(_("NAME is longer than %zu characters"), accountNameWidth())};
    }
}

// The name of `account`, or nothing when the chart does not hold it.
std::optional<std::string> accountName(CompanyDatabase& opened, const std::string& account) {
    db::Recordset rows;
    rows.Open("SELECT Nombre FROM Cuentas" + keyCondition(*opened.context) +
                  " AND Cuenta = " + quotedText(account),
              opened.connection);
    std::optional<std::string> name;
    if (!rows.Eof()) name = rows.Fields(0).toText();
    rows.Close();
    return name;
}

int runImport(const AccountsOptions& options) {
    // The file is read completely before the database is opened.
    std::vector<ChartLine> lines = readChartFile(options.file);
    CompanyDatabase opened =
        openCompanyDatabase(options.database, options.company, options.exercise, 1);
    const int company = opened.context->Cod_Empresa();
    const int exercise = opened.context->Cod_Ejercicio();
    const PlacedChart chart = placeChart(lines, companyLevels(*opened.context), options.file);
    const auto progress = terminalProgress();
    ChartImport done;
    try {
        done = importChart(opened.connection, company, exercise, chart, options.replace, progress);
    } catch (const ChartNotEmpty& full) {
        const auto held = static_cast<unsigned long long>(full.accounts);
        std::cerr << format(trn("The chart of company %d, exercise %d already holds %llu account: "
                                "nothing was imported (give --replace to replace it).",
                                "The chart of company %d, exercise %d already holds %llu "
                                "accounts: nothing was imported (give --replace to replace them).",
                                held),
                            static_cast<int>(company), static_cast<int>(exercise), held)
                  << "\n";
        return kExitFailure;
    } catch (...) {
        if (progress) std::cerr << "\n";
        std::cerr << _("Nothing was imported: the whole chart was undone.") << "\n";
        throw;
    }
    reportImport(std::cout, done, chart, company, exercise);
    return kExitOk;
}

int runList(const AccountsOptions& options) {
    if (!options.prefix.empty()) checkDigits(options.prefix, "PREFIX");
    CompanyDatabase opened =
        openCompanyDatabase(options.database, options.company, options.exercise, 1);
    const std::vector<int> levels = companyLevels(*opened.context);
    db::Recordset rows;
    rows.Open("SELECT Cuenta, Nombre, Especial FROM Cuentas" + keyCondition(*opened.context) +
                  (options.prefix.empty() ? "" : " AND Cuenta LIKE '" + options.prefix + "%'") +
                  " ORDER BY Cuenta",
              opened.connection);
    TextTable table(
        std::vector<TableColumn>{{_("Account")}, {_("Name")}, {_("Level"), true}, {_("Tag")}});
    for (; !rows.Eof(); rows.MoveNext()) {
        const std::string account = rows.Fields(0).toText();
        const int level = levelOf(account, levels);
        table.add({account, rows.Fields(1).toText(), level ? std::to_string(level) : "",
                   rows.Fields(2).isNull() ? "" : rows.Fields(2).toText()});
    }
    rows.Close();
    if (table.empty()) {
        const int company = opened.context->Cod_Empresa();
        const int exercise = opened.context->Cod_Ejercicio();
        if (options.prefix.empty()) {
            std::cerr << format(_("The chart of company %d, exercise %d holds no accounts."),
                                company, exercise)
                      << "\n";
        } else {
            std::cerr << format(_("No account of company %d, exercise %d begins with %s."), company,
                                exercise, options.prefix.c_str())
                      << "\n";
        }
        return kExitFailure;
    }
    table.print(std::cout);
    return kExitOk;
}

int runAdd(const AccountsOptions& options) {
    checkDigits(options.account, "ACCOUNT");
    checkName(options.name);
    if (text::characterCount(options.tag) > accountTagWidth())
        throw UsageError{format(_("--tag is longer than %zu characters"), accountTagWidth())};
    CompanyDatabase opened =
        openCompanyDatabase(options.database, options.company, options.exercise, 1);
    const std::vector<int> levels = companyLevels(*opened.context);
    const int level = levelOf(options.account, levels);
    if (level == 0) {
        throw UsageError{format(_("ACCOUNT %s has %zu digits, the length of none of the "
                                  "company's levels (%s)"),
                                options.account.c_str(), options.account.size(),
                                levelsText(levels).c_str())};
    }
    if (const auto existing = accountName(opened, options.account)) {
        std::cerr << format(_("The account %s is already in the chart, as '%s'."),
                            options.account.c_str(), existing->c_str())
                  << "\n";
        return kExitFailure;
    }
    // Every summary account above it must be there: a posting account under no summary
    // would not add up in any group of the trial balance.
    std::string missing;
    for (int i = 0; i < level - 1; ++i) {
        const std::string parent = options.account.substr(0, static_cast<std::size_t>(levels[i]));
        if (!accountName(opened, parent)) missing += (missing.empty() ? "" : ", ") + parent;
    }
    if (!missing.empty()) {
        std::cerr << format(_("The summary accounts above %s must be in the chart first; "
                              "missing: %s."),
                            options.account.c_str(), missing.c_str())
                  << "\n";
        return kExitFailure;
    }
    opened.connection->Execute(
        "INSERT INTO Cuentas (Cod_Empresa, Cod_Ejercicio, Cuenta, Nombre, Especial) VALUES (" +
        std::to_string(opened.context->Cod_Empresa()) + ", " +
        std::to_string(opened.context->Cod_Ejercicio()) + ", " + quotedText(options.account) +
        ", " + quotedText(options.name) + ", " +
        (options.tag.empty() ? std::string("NULL") : quotedText(options.tag)) + ")");
    std::cout << format(_("Added the account %s '%s' at level %d."), options.account.c_str(),
                        options.name.c_str(), level)
              << "\n";
    return kExitOk;
}

int runRename(const AccountsOptions& options) {
    checkDigits(options.account, "ACCOUNT");
    checkName(options.name);
    CompanyDatabase opened =
        openCompanyDatabase(options.database, options.company, options.exercise, 1);
    const std::int32_t changed = opened.connection->Execute(
        "UPDATE Cuentas SET Nombre = " + quotedText(options.name) + keyCondition(*opened.context) +
        " AND Cuenta = " + quotedText(options.account));
    if (changed == 0) {
        std::cerr << format(_("The chart of company %d, exercise %d has no account %s."),
                            static_cast<int>(opened.context->Cod_Empresa()),
                            static_cast<int>(opened.context->Cod_Ejercicio()),
                            options.account.c_str())
                  << "\n";
        return kExitFailure;
    }
    std::cout << format(_("Renamed the account %s to '%s'."), options.account.c_str(),
                        options.name.c_str())
              << "\n";
    return kExitOk;
}

CLI::App* accountsSubcommand(CLI::App* parent, const char* name, const char* description,
                             AccountsOptions& options) {
    CLI::App* command = parent->add_subcommand(name, description);
    addDatabaseOptions(command, options.database, _("Company database file"));
    addCompanyExerciseOptions(command, options.company, options.exercise);
    return command;
}

}  // namespace

Command addAccountsCommand(CLI::App& app) {
    auto options = std::make_shared<AccountsOptions>();
    CLI::App* command = app.add_subcommand(
        "accounts", _("The chart of accounts (table Cuentas): import a chart file, list, add and "
                      "rename accounts."));
    command->require_subcommand(1);

    CLI::App* importCommand = accountsSubcommand(
        command, "import",
        _("Import a chart file (\"cuenta\";\"descripcion\";\"cuentaesp\", semicolon-separated,\n"
          "UTF-8) in one transaction: all of it or nothing. Accounts of a summary level's length\n"
          "are summary accounts; longer ones without sub-accounts in the file are posting\n"
          "accounts, brought to the company's account length by inserting or removing zeros\n"
          "after their prefix (the longest account of the file that begins them, at least the\n"
          "longest summary level): 4300000001 becomes 43000001 for length 8. One that would\n"
          "lose a digit other than zero is refused with its line. Summary accounts of a length\n"
          "that is none of the levels are left out and counted. A chart that already holds\n"
          "accounts is refused unless --replace is given."),
        *options);
    importCommand->add_option("FILE", options->file, _("Chart file"))->required();
    importCommand->add_flag(
        "--replace", options->replace,
        _("Delete the accounts the chart holds first (in the same transaction)"));

    CLI::App* listCommand = accountsSubcommand(
        command, "list",
        _("List the chart's accounts (beginning with PREFIX when given): account, name, level\n"
          "and special-account tag. Exits with 1 when none matches."),
        *options);
    listCommand->add_option("PREFIX", options->prefix, _("The digits the accounts begin with"));

    CLI::App* addCommand = accountsSubcommand(
        command, "add",
        _("Add an account of a summary level's length or of the full account length. The\n"
          "summary accounts above it must be in the chart already (they are not made up)."),
        *options);
    addCommand->add_option("ACCOUNT", options->account, _("The account's digits"))->required();
    addCommand->add_option("NAME", options->name, _("Its name"))->required();
    addCommand->add_option("--tag", options->tag, _("Special-account tag (CLIENT, PROVEE, ...)"));

    CLI::App* renameCommand =
        accountsSubcommand(command, "rename",
                           _("Rename an account of the chart (exits with 1 when "
                             "the chart does not hold it)."),
                           *options);
    renameCommand->add_option("ACCOUNT", options->account, _("The account's digits"))->required();
    renameCommand->add_option("NAME", options->name, _("Its new name"))->required();

    return Command{command, [options, importCommand, listCommand, addCommand, renameCommand] {
                       if (importCommand->parsed()) return runImport(*options);
                       if (listCommand->parsed()) return runList(*options);
                       if (addCommand->parsed()) return runAdd(*options);
                       if (renameCommand->parsed()) return runRename(*options);
                       return kExitUsage;
                   }};
}

}  // namespace kvlnmov::cli
