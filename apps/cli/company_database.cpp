#include "company_database.h"

#include <filesystem>

#include "commands.h"
#include "i18n.h"
#include "kvlnmov/core/company_seed.h"
#include "kvlnmov/core/library.h"
#include "kvlnmov/db/open.h"

namespace kvlnmov::cli {

namespace {

// The schema, the company and its open exercise.
void fillCompanyDatabase(db::Connection& connection, const CompanySetup& setup) {
    CompanySeed seed;
    seed.company = static_cast<std::int16_t>(setup.company);
    seed.exercise = static_cast<std::int16_t>(setup.exercise);
    seed.name = setup.name;
    seed.firstDay = setup.firstDay;
    seed.lastDay = setup.lastDay;
    seed.levels = setup.levels;
    seed.numbering = static_cast<std::int16_t>(setup.numbering);
    seed.tax = static_cast<std::int16_t>(setup.tax);
    seedCompany(connection, seed);
}

}  // namespace

void createCompanyDatabase(const CompanySetup& setup) {
    if (!setup.connection.empty()) {
        fillCompanyDatabase(*db::openConnection(setup.connection), setup);
        return;
    }
    std::error_code error;
    const bool existed = std::filesystem::exists(setup.path, error);
    if (existed && (!std::filesystem::is_regular_file(setup.path, error) ||
                    std::filesystem::file_size(setup.path, error) > 0)) {
        throw UsageError{format(_("'%s' already exists and is not empty; give the name of a "
                                  "new file"),
                                setup.path.c_str())};
    }
    try {
        auto connection = db::openConnection("Provider=SQLite;Data Source=" + setup.path);
        fillCompanyDatabase(*connection, setup);
    } catch (...) {
        // Leave nothing half made behind: the next attempt would find a non-empty file.
        if (!existed) {
            for (const char* suffix : {"", "-wal", "-shm"})
                std::filesystem::remove(setup.path + suffix, error);
        }
        throw;
    }
}

db::ConnectionRef openExistingDatabase(const DatabaseArgument& database) {
    if (!database.connection.empty()) return db::openConnection(database.connection);
    // The embedded provider creates a missing file: it is looked for first.
    if (!std::filesystem::is_regular_file(database.file)) {
        throw UsageError{format(_("'%s' is not a database file (create one with kvlnmov init)"),
                                database.file.c_str())};
    }
    return db::openConnection("Provider=SQLite;Data Source=" + database.file);
}

CompanyDatabase openCompanyDatabase(const DatabaseArgument& database, std::optional<int> company,
                                    std::optional<int> exercise, int user) {
    CompanyDatabase opened;
    opened.connection = openExistingDatabase(database);
    if (!company || !exercise) {
        auto [onlyCompany, onlyExercise] = EmpresaContext::singleCompanyExercise(opened.connection);
        if (!company) company = onlyCompany;
        if (!exercise) exercise = onlyExercise;
    }
    opened.context =
        std::make_shared<EmpresaContext>(opened.connection, static_cast<std::int16_t>(*company),
                                         static_cast<std::int16_t>(*exercise));
    opened.context->setValor("UsuarioActual", Variant(std::to_string(user)));
    replaceConnection(opened.connection);
    return opened;
}

void addCompanyExerciseOptions(CLI::App* command, std::optional<int>& company,
                               std::optional<int>& exercise) {
    command
        ->add_option("--company", company, _("Company code (default: the database's only company)"))
        ->check(CLI::Range(1, 32767));
    command
        ->add_option("--exercise", exercise,
                     _("Exercise code (default: the database's only exercise)"))
        ->check(CLI::Range(1, 32767));
}

CLI::Option* addDatabaseOptions(CLI::App* command, DatabaseArgument& database,
                                const std::string& fileHelp, const std::string& purpose) {
    CLI::Option* file = command->add_option("DB", database.file, fileHelp)->required();
    command->add_option(
        "--connection", database.connection,
        format(_("Connection string of %s (it also stands for DB), as \"DSN=Libros;UID=...;"
                 "PWD=...\" or \"Driver={ODBC Driver 18 for SQL Server};Server=...;"
                 "Database=...;UID=...;PWD=...\""),
               purpose.c_str()));
    return file;
}

std::vector<std::string> connectionTakesDatabasePlace(const CLI::App& app,
                                                      std::vector<std::string> arguments) {
    if (arguments.size() < 2) return arguments;
    const CLI::App* command = nullptr;
    for (const CLI::App* candidate : app.get_subcommands({})) {
        if (candidate->check_name(arguments[1])) command = candidate;
    }
    // A command with commands of its own (`accounts import`): DB stands after the second name.
    std::size_t place = 2;
    if (command && !command->get_option_no_throw("--connection") && arguments.size() > 2) {
        for (const CLI::App* candidate : command->get_subcommands({})) {
            if (candidate->check_name(arguments[2])) {
                command = candidate;
                place = 3;
            }
        }
    }
    if (!command || !command->get_option_no_throw("--connection")) return arguments;
    for (std::size_t i = place; i < arguments.size(); ++i) {
        const std::string& argument = arguments[i];
        if (argument == "--") break;
        std::string value;
        if (argument == "--connection" && i + 1 < arguments.size()) {
            value = arguments[i + 1];
        } else if (argument.rfind("--connection=", 0) == 0) {
            value = argument.substr(13);
        } else {
            continue;
        }
        arguments.insert(arguments.begin() + static_cast<std::ptrdiff_t>(place), value);
        break;
    }
    return arguments;
}

}  // namespace kvlnmov::cli
