#include "db/odbc_sqlite/dialect_seam.h"

#include "db/odbc_sqlite/sqlite_dialect.h"
#include "db/sqlite/stray_quote.h"

namespace kvlnmov::db::odbc {

DialectSeam translatorSeam() {
    DialectSeam seam;
    seam.sqlite = [](const OdbcLink& link) -> std::unique_ptr<OdbcDialect> {
        return std::make_unique<SqliteDialect>(link);
    };
    seam.strayQuote = [](std::string_view text, std::size_t quoteOffset,
                         const std::string& source) {
        return sqlite::strayQuoteError(text, quoteOffset, source);
    };
    return seam;
}

}  // namespace kvlnmov::db::odbc
