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

    try {
        for (const Command& command : commands) {
            if (command.subcommand->parsed()) return command.run();
        }
    } catch (const UsageError& error) {
        std::cerr << "kvlnmov: " << error.message << "\n";
        return kExitUsage;
    } catch (const kvlnmov::Error& error) {
        std::cerr << "Error " << error.number() << " (" << error.source()
                  << "): " << error.description() << "\n";
        return kExitFailure;
    } catch (const std::exception& error) {
        std::cerr << "Error: " << error.what() << "\n";
        return kExitFailure;
    }
    return kExitUsage;
}
