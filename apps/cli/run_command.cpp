// `kvlnmov run FILE|FOLDER ...`: runs scenario files.

#include <filesystem>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "commands.h"
#include "scenario/scenario_runner.h"

namespace kvlnmov::cli {

Command addRunCommand(CLI::App& app) {
    auto paths = std::make_shared<std::vector<std::string>>();
    CLI::App* command = app.add_subcommand(
        "run",
        "Run scenario files (a folder runs every *.json in it). Prints one line per scenario "
        "and 'N passed, N failed'; exits 1 when a scenario failed, 2 when a file could not be "
        "read or parsed.");
    command->add_option("files", *paths, "Scenario files or folders")->required();
    return {command, [paths] {
                std::vector<std::filesystem::path> files(paths->begin(), paths->end());
                return scenario::runAll(files, std::cout, std::cerr);
            }};
}

}  // namespace kvlnmov::cli
