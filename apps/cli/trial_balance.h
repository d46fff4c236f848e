#pragma once

// The trial balance read from the running balances.

#include <optional>
#include <ostream>

#include "kvlnmov/db/connection.h"
#include "kvlnmov/core/context.h"

namespace kvlnmov::cli {

struct TrialBalanceOptions {
    /// Chart level (1 = the shortest summary accounts); the posting accounts by default.
    std::optional<int> level;
    /// One department's balances (from Acumulados_Dpto) instead of the whole company's.
    std::optional<int> department;
    /// Show the debit and credit of every period as well.
    bool periods = false;
};

/// Prints account, name, opening, debits, credits, closing and balance (opening + debits -
/// credits - closing, the closing column holding the closed balance) for every account of
/// the level, then the totals and whether debits equal credits. Returns false when the
/// level's debits and credits differ.
bool printTrialBalance(std::ostream& out, const db::ConnectionRef& connection, cEmpresa& context,
                       const TrialBalanceOptions& options);

}  // namespace kvlnmov::cli
