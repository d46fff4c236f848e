#pragma once

// Whether the working exercise accepts postings, as the line and entry classes ask it.

#include "kvlnmov/db/connection.h"
#include "kvlnmov/core/context.h"

namespace kvlnmov::journal {

/// Reads "SELECT Estado FROM Empresas_Ejercicios WHERE ..." for the context's company and
/// working exercise: open when the row exists and its state is false. A Null state is not
/// "not closed", so it counts as closed, as does a missing row.
bool isExerciseOpen(const db::ConnectionRef& connection, cEmpresa& context);

}  // namespace kvlnmov::journal
