// `kvlnmov schema --dialect tsql|sqlite`: prints the company database's creation script.

#include <iostream>
#include <memory>
#include <string>

#include "commands.h"
#include "i18n.h"
#include "kvlnmov/schema/schema.h"

namespace kvlnmov::cli {

Command addSchemaCommand(CLI::App& app) {
    auto dialect = std::make_shared<std::string>("tsql");
    CLI::App* command = app.add_subcommand(
        "schema",
        _("Print the script that creates the company database: T-SQL for SQL Server (tables, "
          "keys, defaults and the numbering procedures CON_DevAsiento and CON_DevMovApunte, "
          "batches separated by GO lines) or the embedded provider's SQLite DDL."));
    command->add_option("--dialect", *dialect, _("tsql or sqlite"))
        ->check(CLI::IsMember({"tsql", "sqlite"}))
        ->capture_default_str();
    return {command, [dialect] {
                std::cout << schema::scriptText(*dialect == "sqlite" ? schema::Dialect::Sqlite
                                                                     : schema::Dialect::Tsql);
                return kExitOk;
            }};
}

}  // namespace kvlnmov::cli
