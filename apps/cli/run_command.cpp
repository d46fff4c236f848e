// `kvlnmov run FILE|FOLDER ...`: runs scenario files.

#include <filesystem>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "commands.h"
#include "i18n.h"
#include "kvlnmov/scenario/scenario_runner.h"
#include "kvlnmov/scenario/scratch_database.h"

namespace kvlnmov::cli {

namespace {

struct RunOptions {
    std::vector<std::string> paths;
    std::string provider;
};

int runScenarios(const RunOptions& options) {
    // --provider, else KVLNMOV_TEST_PROVIDER (as the test suites choose), else sqlite.
    const scenario::ScratchProvider provider = options.provider.empty()
                                                   ? scenario::scratchProviderFromEnvironment()
                                                   : scenario::scratchProvider(options.provider);
    std::vector<std::filesystem::path> files(options.paths.begin(), options.paths.end());
    return scenario::runAll(files, std::cout, std::cerr,
                            [provider] { return scenario::openScratchDatabase(provider); });
}

}  // namespace

Command addRunCommand(CLI::App& app) {
    auto options = std::make_shared<RunOptions>();
    CLI::App* command = app.add_subcommand(
        "run", _("Run scenario files (a folder runs every *.json in it), each on a fresh database. "
                 "Prints one line per scenario and 'N passed, N failed'; exits 1 when a scenario "
                 "failed, 2 when a file could not be read or parsed."));
    command->add_option("files", options->paths, _("Scenario files or folders"))->required();
    command
        ->add_option("--provider", options->provider,
                     _("Where each scenario's database lives: sqlite (in memory, the default), "
                       "odbc (a temporary file through the SQLite ODBC driver, named by "
                       "KVLNMOV_TEST_ODBC_DRIVER, default SQLite3), mssql (a scratch database "
                       "on the SQL Server named by the ODBC connection string in "
                       "KVLNMOV_TEST_MSSQL). Default: KVLNMOV_TEST_PROVIDER, else sqlite"))
        ->check(CLI::IsMember({"sqlite", "odbc", "mssql"}));
    return {command, [options] { return runScenarios(*options); }};
}

}  // namespace kvlnmov::cli
