#pragma once

// Runs the kvlnmov tool as a separate process, as a user runs it: no shell, every argument
// reaches the tool as written, standard output and error captured.

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <fstream>
#include <map>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

namespace kvlnmov::testing {

struct ToolRun {
    int exitCode = -1;
    std::string out;
    std::string err;
};

inline std::string fileContents(const std::string& file) {
    std::ifstream input(file);
    std::stringstream text;
    text << input.rdbuf();
    return text.str();
}

/// Changes to the environment a tool runs in: a variable set to a value, or removed (nullopt).
using EnvironmentChanges = std::map<std::string, std::optional<std::string>>;

/// This process's environment with `changes` made, as "NAME=value" entries.
inline std::vector<std::string> changedEnvironment(const EnvironmentChanges& changes) {
    std::vector<std::string> entries;
    for (char** entry = environ; *entry; ++entry) {
        const char* equals = std::strchr(*entry, '=');
        const std::string name(
            *entry, equals ? static_cast<std::size_t>(equals - *entry) : std::strlen(*entry));
        if (!changes.count(name)) entries.emplace_back(*entry);
    }
    for (const auto& [name, value] : changes) {
        if (value) entries.push_back(name + "=" + *value);
    }
    return entries;
}

/// The tool's language where a test does not choose one: English, whatever the locale of the
/// machine running the tests, so that the tests' expected texts hold everywhere.
inline EnvironmentChanges englishLocale() {
    return {{"LANG", "C.UTF-8"},
            {"LC_ALL", std::nullopt},
            {"LC_MESSAGES", std::nullopt},
            {"LANGUAGE", std::nullopt}};
}

/// Runs `tool arguments...`, capturing its output in `capturePrefix`.out / .err, in this
/// process's environment in English (see englishLocale) with `environment` changes made. Its standard input is the file
/// `inputFile`, or the caller's own when none is given.
inline ToolRun runTool(const std::string& tool, std::vector<std::string> arguments,
                       const std::string& capturePrefix, const EnvironmentChanges& environment,
                       const std::string& inputFile = {}) {
    const std::string out = capturePrefix + ".out";
    const std::string err = capturePrefix + ".err";
    arguments.insert(arguments.begin(), tool);
    std::vector<char*> argv;
    for (std::string& argument : arguments) argv.push_back(argument.data());
    argv.push_back(nullptr);

    posix_spawn_file_actions_t files;
    posix_spawn_file_actions_init(&files);
    if (!inputFile.empty()) {
        posix_spawn_file_actions_addopen(&files, 0, inputFile.c_str(), O_RDONLY, 0);
    }
    posix_spawn_file_actions_addopen(&files, 1, out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    posix_spawn_file_actions_addopen(&files, 2, err.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    pid_t child = 0;
    ToolRun run;
    EnvironmentChanges changes = englishLocale();
    for (const auto& [name, value] : environment) changes[name] = value;
    std::vector<std::string> variables = changedEnvironment(changes);
    std::vector<char*> envp;
    for (std::string& variable : variables) envp.push_back(variable.data());
    envp.push_back(nullptr);
    const int spawned =
        posix_spawn(&child, tool.c_str(), &files, nullptr, argv.data(), envp.data());
    posix_spawn_file_actions_destroy(&files);
    if (spawned != 0) return run;
    int status = 0;
    waitpid(child, &status, 0);
    run.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    run.out = fileContents(out);
    run.err = fileContents(err);
    return run;
}

/// Runs `tool arguments...` in this process's environment (in English), its standard
/// input the file `inputFile` or the caller's own.
inline ToolRun runTool(const std::string& tool, std::vector<std::string> arguments,
                       const std::string& capturePrefix, const std::string& inputFile = {}) {
    return runTool(tool, std::move(arguments), capturePrefix, EnvironmentChanges{}, inputFile);
}

}  // namespace kvlnmov::testing
