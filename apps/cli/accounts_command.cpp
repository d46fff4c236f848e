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
        throw UsageError{std::string(argument) + " must be digits only: '" + account + "'"};
}

void checkName(const std::string& name) {
    if (text::trim(name).empty()) throw UsageError{"NAME must not be empty"};
    if (text::characterCount(name) > accountNameWidth()) {
        throw UsageError{"NAME is longer than " + std::to_string(accountNameWidth()) +
                         " characters"};
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
        std::cerr << "The chart of company " << company << ", exercise " << exercise
                  << " already holds " << full.accounts
                  << " accounts: nothing was imported (give --replace to replace them).\n";
        return kExitFailure;
    } catch (...) {
        if (progress) std::cerr << "\n";
        std::cerr << "Nothing was imported: the whole chart was undone.\n";
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
    TextTable table({"Account", "Name", "Level", "Tag"}, {false, false, true, false});
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
            std::cerr << "The chart of company " << company << ", exercise " << exercise
                      << " holds no accounts.\n";
        } else {
            std::cerr << "No account of company " << company << ", exercise " << exercise
                      << " begins with " << options.prefix << ".\n";
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
        throw UsageError{"--tag is longer than " + std::to_string(accountTagWidth()) +
                         " characters"};
    CompanyDatabase opened =
        openCompanyDatabase(options.database, options.company, options.exercise, 1);
    const std::vector<int> levels = companyLevels(*opened.context);
    const int level = levelOf(options.account, levels);
    if (level == 0) {
        throw UsageError{
            "ACCOUNT " + options.account + " has " + std::to_string(options.account.size()) +
            " digits, the length of none of the company's levels (" + levelsText(levels) + ")"};
    }
    if (const auto existing = accountName(opened, options.account)) {
        std::cerr << "The account " << options.account << " is already in the chart, as '"
                  << *existing << "'.\n";
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
        std::cerr << "The summary accounts above " << options.account
                  << " must be in the chart first; missing: " << missing << ".\n";
        return kExitFailure;
    }
    opened.connection->Execute(
        "INSERT INTO Cuentas (Cod_Empresa, Cod_Ejercicio, Cuenta, Nombre, Especial) VALUES (" +
        std::to_string(opened.context->Cod_Empresa()) + ", " +
        std::to_string(opened.context->Cod_Ejercicio()) + ", " + quotedText(options.account) +
        ", " + quotedText(options.name) + ", " +
        (options.tag.empty() ? std::string("NULL") : quotedText(options.tag)) + ")");
    std::cout << "Added the account " << options.account << " '" << options.name << "' at level "
              << level << ".\n";
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
        std::cerr << "The chart of company " << opened.context->Cod_Empresa() << ", exercise "
                  << opened.context->Cod_Ejercicio() << " has no account " << options.account
                  << ".\n";
        return kExitFailure;
    }
    std::cout << "Renamed the account " << options.account << " to '" << options.name << "'.\n";
    return kExitOk;
}

CLI::App* accountsSubcommand(CLI::App* parent, const char* name, const char* description,
                             AccountsOptions& options) {
    CLI::App* command = parent->add_subcommand(name, description);
    addDatabaseOptions(command, options.database, "Company database file");
    command->add_option("--company", options.company,
                        "Company code (default: the database's only company)");
    command->add_option("--exercise", options.exercise,
                        "Exercise code (default: the database's only exercise)");
    return command;
}

}  // namespace

Command addAccountsCommand(CLI::App& app) {
    auto options = std::make_shared<AccountsOptions>();
    CLI::App* command = app.add_subcommand(
        "accounts",
        "The chart of accounts (table Cuentas): import a chart file, list, add and "
        "rename accounts.");
    command->require_subcommand(1);

    CLI::App* importCommand = accountsSubcommand(
        command, "import",
        "Import a chart file (\"cuenta\";\"descripcion\";\"cuentaesp\", semicolon-separated,\n"
        "UTF-8) in one transaction: all of it or nothing. Accounts of a summary level's length\n"
        "are summary accounts; longer ones without sub-accounts in the file are posting\n"
        "accounts, brought to the company's account length by inserting or removing zeros\n"
        "after their prefix (the longest account of the file that begins them, at least the\n"
        "longest summary level): 4300000001 becomes 43000001 for length 8. One that would\n"
        "lose a digit other than zero is refused with its line. Summary accounts of a length\n"
        "that is none of the levels are left out and counted. A chart that already holds\n"
        "accounts is refused unless --replace is given.",
        *options);
    importCommand->add_option("FILE", options->file, "Chart file")->required();
    importCommand->add_flag("--replace", options->replace,
                            "Delete the accounts the chart holds first (in the same transaction)");

    CLI::App* listCommand = accountsSubcommand(
        command, "list",
        "List the chart's accounts (beginning with PREFIX when given): account, name, level\n"
        "and special-account tag. Exits with 1 when none matches.",
        *options);
    listCommand->add_option("PREFIX", options->prefix, "The digits the accounts begin with");

    CLI::App* addCommand = accountsSubcommand(
        command, "add",
        "Add an account of a summary level's length or of the full account length. The\n"
        "summary accounts above it must be in the chart already (they are not made up).",
        *options);
    addCommand->add_option("ACCOUNT", options->account, "The account's digits")->required();
    addCommand->add_option("NAME", options->name, "Its name")->required();
    addCommand->add_option("--tag", options->tag, "Special-account tag (CLIENT, PROVEE, ...)");

    CLI::App* renameCommand =
        accountsSubcommand(command, "rename",
                           "Rename an account of the chart (exits with 1 when "
                           "the chart does not hold it).",
                           *options);
    renameCommand->add_option("ACCOUNT", options->account, "The account's digits")->required();
    renameCommand->add_option("NAME", options->name, "Its new name")->required();

    return Command{command, [options, importCommand, listCommand, addCommand, renameCommand] {
                       if (importCommand->parsed()) return runImport(*options);
                       if (listCommand->parsed()) return runList(*options);
                       if (addCommand->parsed()) return runAdd(*options);
                       if (renameCommand->parsed()) return runRename(*options);
                       return kExitUsage;
                   }};
}

}  // namespace kvlnmov::cli
