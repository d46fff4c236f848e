#pragma once

// Stored procedure calls through the driver: each parameter bound to a buffer of its type,
// output parameters read back once every result has been consumed.

#include <string>

#include "db/odbc/odbc_link.h"
#include "kvlnmov/db/command.h"

namespace kvlnmov::db::odbc {

/// Calls procedure `name` with `parameters` (ODBC call escape) and sets their output values.
void callOdbcProcedure(const OdbcLink& link, const std::string& name, ParameterList& parameters);

}  // namespace kvlnmov::db::odbc
