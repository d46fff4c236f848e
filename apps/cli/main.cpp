// The kvlnmov command-line tool: dispatches to one function per command.

#include <iostream>
#include <string>
#include <string_view>
#include <vector>

#include "commands.h"
#include "company_database.h"
#include "i18n.h"
#include "kvlnmov/frame/error.h"
#include "kvlnmov/version.h"

namespace {

using kvlnmov::cli::_;
using kvlnmov::cli::format;

std::string commandFailed(const std::string& command, const std::string& reason) {
    return format(_("the %s command failed: %s"), command.c_str(), reason.c_str());
}

// What the user reads first when the library or a provider raises an error: what could not
// be done, then the error's own description (the library's, never translated). Its number
// and source follow on a line of their own.
std::string failureSentence(const std::string& command, const kvlnmov::Error& error) {
    // The embedded provider names the file it cannot open and SQLite's reason:
    // "Cannot open database 'PATH': REASON".
    static const std::string openPrefix = "Cannot open database '";
    const std::string& description = error.description();
    if (description.rfind(openPrefix, 0) == 0) {
        const auto end = description.rfind("': ");
        if (end != std::string::npos && end >= openPrefix.size()) {
            const std::string path =
                description.substr(openPrefix.size(), end - openPrefix.size());
            return format(_("cannot open the database \"%s\": %s"), path.c_str(),
                          description.substr(end + 3).c_str());
        }
    }
    const char* reason = description.c_str();
    if (command == "show") return format(_("cannot show the entry: %s"), reason);
    if (command == "annul") return format(_("cannot annul the entry: %s"), reason);
    if (command == "renumber") return format(_("cannot move the entry's lines: %s"), reason);
    if (command == "post") return format(_("cannot post the entries: %s"), reason);
    if (command == "reassign")
        return format(_("cannot move the lines to the new account: %s"), reason);
    return commandFailed(command, description);
}

}  // namespace

int main(int argc, char** argv) {
    using namespace kvlnmov::cli;
    initLanguage();
    CLI::App app{_("kvlnmov: the journal library's tool for company databases.")};
    app.require_subcommand(1);
    const std::string version = std::string("kvlnmov ") + KVLNMOV_VERSION_STRING;
    app.set_version_flag("--version", version);
    // The version needs no command (the parser would ask for one first).
    if (argc == 2 && std::string_view(argv[1]) == "--version") {
        std::cout << version << "\n";
        return kExitOk;
    }
    // One line per command, in the order --help lists them.
    std::vector<Command> commands{
        addInitCommand(app),     addSchemaCommand(app),  addDemoCommand(app),
        addPostCommand(app),     addBalanceCommand(app), addBooksCommand(app),
        addShowCommand(app),     addAnnulCommand(app),   addRenumberCommand(app),
        addReassignCommand(app), addVerifyCommand(app),  addSqlCommand(app),
        addRunCommand(app),
        addAccountsCommand(app),
    };

    try {
        std::vector<std::string> arguments(argv, argv + argc);
        arguments = connectionTakesDatabasePlace(app, std::move(arguments));
        std::vector<const char*> pointers;
        for (const std::string& argument : arguments) pointers.push_back(argument.c_str());
        app.parse(static_cast<int>(pointers.size()), pointers.data());
    } catch (const CLI::Success& help) {
        return app.exit(help);
    } catch (const CLI::ParseError& error) {
        app.exit(error);
        return kExitUsage;
    }

    const Command* chosen = nullptr;
    for (const Command& command : commands) {
        if (command.subcommand->parsed()) chosen = &command;
    }
    if (!chosen) return kExitUsage;
    const std::string name = chosen->subcommand->get_name();
    try {
        return chosen->run();
    } catch (const UsageError& error) {
        std::cerr << "kvlnmov: " << error.message << "\n";
        return kExitUsage;
    } catch (const Refused& refusal) {
        std::cerr << "kvlnmov: " << refusal.message << "\n";
        return kExitFailure;
    } catch (const kvlnmov::Error& error) {
        std::cerr << "kvlnmov: " << failureSentence(name, error) << "\n"
                  << "  " << format(_("(error %ld, %s)"), static_cast<long>(error.number()),
                                    error.source().c_str())
                  << "\n";
        return kExitFailure;
    } catch (const std::exception& error) {
        std::cerr << "kvlnmov: " << commandFailed(name, error.what()) << "\n";
        return kExitFailure;
    }
}
