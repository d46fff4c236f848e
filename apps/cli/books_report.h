#pragma once

#include <ostream>

#include "kvlnmov/db/connection.h"
#include "kvlnmov/core/context.h"

namespace kvlnmov::cli {

/// Prints the IGIC and VAT invoice books of the context's company and exercise (totals by
/// book and rate, then each record) and the open payment and collection forecasts by due date.
void printBooks(std::ostream& out, const db::ConnectionRef& connection, cEmpresa& context);

}  // namespace kvlnmov::cli
