#include "journal/open_exercise.h"

#include "kvlnmov/db/recordset.h"
#include "kvlnmov/core/sql_text.h"

namespace kvlnmov::journal {

bool isExerciseOpen(const db::ConnectionRef& connection, cEmpresa& context) {
    db::Recordset row;
    row.Open("SELECT Estado FROM Empresas_Ejercicios" + sql::whereCompanyExercise(context),
             connection);
    bool open = false;
    if (!row.Eof()) {
        const Variant& estado = row.Fields("Estado");
        open = !estado.isNull() && !estado.toBoolean();
    }
    row.Close();
    return open;
}

}  // namespace kvlnmov::journal
