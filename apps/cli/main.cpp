// The kvlnmov command-line tool: dispatches to one function per command.

#include <iostream>
#include <vector>

#include "commands.h"
#include "kvlnmov/frame/error.h"

int main(int argc, char** argv) {
    using namespace kvlnmov::cli;
    CLI::App app{"kvlnmov: the journal library's tool for company databases."};
    app.require_subcommand(1);
    // One line per command, in the order --help lists them.
    std::vector<Command> commands{
        addInitCommand(app),     addSchemaCommand(app),  addDemoCommand(app),
        addPostCommand(app),     addBalanceCommand(app), addBooksCommand(app),
        addShowCommand(app),     addAnnulCommand(app),   addRenumberCommand(app),
        addReassignCommand(app), addVerifyCommand(app),  addSqlCommand(app),
        addRunCommand(app),
    };

    try {
        app.parse(argc, argv);
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
