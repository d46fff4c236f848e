#pragma once

// Opening an existing company database for a command: the connection, bound as the library's
// connection, and the context of its company and exercise.

#include <memory>
#include <optional>
#include <string>

#include "commands.h"
#include "kvlnmov/db/connection.h"
#include "kvlnmov/frame/date.h"
#include "kvlnmov/core/empresa_context.h"

namespace kvlnmov::cli {

/// What a new company database starts with.
struct CompanySetup {
    std::string path;
    /// A connection string (an ODBC one for SQL Server); when given, it is used instead of
    /// `path` and the database it names must be empty.
    std::string connection;
    int company = 1;
    int exercise = 2026;
    Date firstDay = Date::ymd(2026, 1, 1);
    Date lastDay = Date::ymd(2026, 12, 31);
    std::string levels = "1,2,3,4,8";
    int numbering = 0;
    int tax = 0;
    std::string name = "Empresa demo";
};

/// Creates the database file `setup.path` (which must not exist or be empty), its schema,
/// the company row and one open exercise. A failure removes the file again. With
/// `setup.connection` the schema and rows are created in the empty database it names.
void createCompanyDatabase(const CompanySetup& setup);

struct CompanyDatabase {
    db::ConnectionRef connection;
    std::shared_ptr<EmpresaContext> context;
};

/// Opens an existing company database: the database file, which must exist (a missing one is
/// a UsageError and is not created), or with a connection string the database it names,
/// opened as `createCompanyDatabase` opens it (an ODBC one for SQL Server).
db::ConnectionRef openExistingDatabase(const DatabaseArgument& database);

/// Opens `database` as openExistingDatabase does and reads the context of `company`
/// and `exercise`, or of the database's only company and exercise when they are not given.
/// `user` becomes the context's current user ("UsuarioActual").
CompanyDatabase openCompanyDatabase(const DatabaseArgument& database, std::optional<int> company,
                                    std::optional<int> exercise, int user);

}  // namespace kvlnmov::cli
