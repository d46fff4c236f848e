#pragma once

// The verifier's full result: what it reports, and every differing row with all its cells,
// which the repair writes from.

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "journal/verification/accumulation_rules.h"
#include "kvlnmov/journal/balance_verifier.h"

namespace kvlnmov::verification {

using Cells = std::array<Currency, accumulation::kColumnCount>;

/// A balance row with at least one differing cell.
struct DifferingRow {
    BalanceTable table = BalanceTable::Acumulados;
    std::string account;
    std::int16_t department = 0;
    /// Whether the table holds the row.
    bool stored = false;
    /// `Nivel` the row is written with when it has to be inserted.
    std::int16_t level = 0;
    Cells storedCells{};
    Cells expectedCells{};
};

struct Comparison {
    BalanceVerification verification;
    std::vector<DifferingRow> rows;
};

/// The verification behind `verifyBalances`, with the differing rows in full.
Comparison compareBalances(const db::ConnectionRef& connection, cEmpresa& context,
                           const VerificationOptions& options);

}  // namespace kvlnmov::verification
