#pragma once

// The statements both tax books (IGIC/IVA and IRPF) send when entries are renumbered or
// accounts reassigned: the same text over each book's own table.

#include <cstdint>
#include <string>

#include "kvlnmov/core/context.h"
#include "kvlnmov/frame/date.h"

namespace kvlnmov::taxbooks {

/// The UPDATE that moves the records of `table` from entry `from` to entry `to` and dates
/// them as entry `to` (the zero date when that entry cannot be loaded).
std::string renumberStatement(const std::string& table, const cEmpresaRef& context,
                              std::int32_t from, std::int32_t to);

/// The UPDATE that gives the records of `table` account `target` when their account lies in
/// `from`..`to` and their line's entry date in `first`..`last` (with the reconciliation
/// filter `intPunteo`). Either date outside the working exercise is refused first with error
/// 1000 from `source`.
std::string reassignmentStatement(const std::string& table, cEmpresa& context,
                                  const std::string& source, const std::string& from,
                                  const std::string& to, const std::string& target, Date first,
                                  Date last, std::int16_t intPunteo);

}  // namespace kvlnmov::taxbooks
