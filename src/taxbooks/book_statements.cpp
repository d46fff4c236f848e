#include "taxbooks/book_statements.h"

#include <memory>

#include "kvlnmov/frame/error.h"
#include "kvlnmov/core/sql_text.h"
#include "kvlnmov/journal/cls_asiento.h"

namespace kvlnmov::taxbooks {

std::string renumberStatement(const std::string& table, const cEmpresaRef& context,
                              std::int32_t from, std::int32_t to) {
    auto entry = std::make_shared<clsAsiento>();
    entry->cEmpresa(context);
    entry->Codigo(to);
    entry->Cargar();
    return "UPDATE " + table + " SET Asiento =" + sql::integer(to) + ", Fecha ='" +
           sql::date(entry->Fecha()) + "'" + sql::whereCompanyExercise(*context) +
           " AND Asiento =" + sql::integer(from);
}

std::string reassignmentStatement(const std::string& table, cEmpresa& context,
                                  const std::string& source, const std::string& from,
                                  const std::string& to, const std::string& target, Date first,
                                  Date last, std::int16_t intPunteo) {
    checkDatesInExercise(context, source, first, last);
    const std::string where = sql::whereCompanyExercise(context);
    const std::string range =
        " AND (Cuenta BETWEEN '" + sql::text(from) + "' AND '" + sql::text(to) + "')";
    return "UPDATE " + table + " SET Cuenta ='" + sql::text(target) + "'" + where + range +
           " AND Apunte IN (SELECT Apunte FROM Movimientos" + where + range +
           " AND (Fecha_Asiento BETWEEN '" + sql::date(first) + "' AND '" + sql::date(last) + "')" +
           sql::reconciliationFilter(intPunteo) + ")";
}

}  // namespace kvlnmov::taxbooks
