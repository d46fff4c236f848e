#pragma once

// The embedded provider's translator as the ODBC provider's dialect seam.

#include "db/odbc/odbc_dialect.h"

namespace kvlnmov::db::odbc {

/// The SQLite dialect (T-SQL translated by the embedded provider's translator, numbering
/// procedures run in the provider) and SQL Server's stray-quote error placed by the T-SQL
/// tokenizer.
DialectSeam translatorSeam();

}  // namespace kvlnmov::db::odbc
