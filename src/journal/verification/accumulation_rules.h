#pragma once

// The rules by which one journal line reaches the running balances, in one place: the posting
// code (`clsMov::Acumulados`) writes them as statements and the balance verifier replays them
// in memory, so the two cannot disagree about which rows a line touches, which column it
// changes and with which sign.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "kvlnmov/core/context.h"
#include "kvlnmov/frame/currency.h"
#include "kvlnmov/frame/date.h"
#include "kvlnmov/frame/variant.h"

namespace kvlnmov::accumulation {

/// What the header of a line's entry makes of the line.
enum class EntryKind { Ordinary, Opening, Closing };

/// The amount columns of a balance row, in table order: Apertura, Cierre, D1..D12, H1..H12.
inline constexpr int kColumnCount = 26;
inline constexpr int kOpeningColumn = 0;
inline constexpr int kClosingColumn = 1;
/// Index of D`period` (debit) or H`period` (credit), period 1..12.
constexpr int periodColumn(bool debit, int period) { return (debit ? 1 : 13) + period; }
/// "Apertura", "Cierre", "D1" ... "H12".
const std::string& columnName(int column);

/// The level written into the balance rows a line creates: one more than the first level
/// index (0..Niveles, the last one of length 0) whose length is the account's, 0 when none
/// is. Summary rows take the level of the posting account that creates them.
std::int16_t accountLevel(cEmpresa& context, std::string_view account);

/// The kind of an entry from its header's `Cierre` and `Fecha`: Ordinary unless Cierre is
/// true; then Opening when the entry is dated the exercise's first day, Closing otherwise.
/// A line whose entry has no header is Ordinary.
EntryKind entryKind(cEmpresa& context, const Variant& cierre, const Variant& fecha);

/// How one call adds (`add`) or takes away an amount: the column, and the amount as the
/// statements write it.
struct Change {
    /// "D"/"H" and the period of the entry date's month for ordinary entries, "Apertura" for
    /// opening and "Cierre" for closing entries.
    std::string column;
    /// The column's index (see `columnName`), -1 for a period outside 1..12.
    int columnIndex = -1;
    /// The debit is used when it is not zero (the credit is then ignored).
    bool debit = false;
    /// The amount written: the debit or credit, negated when taken away, and for a closing
    /// entry negated once more because closing reverses what it closes.
    Currency amount;
    /// Opening and closing credits subtract the amount from the column; everything else adds
    /// it.
    bool subtracts = false;

    /// What the change does to a row that exists.
    Currency onExistingRow() const { return subtracts ? -amount : amount; }
    /// What a row created by the change holds: the amount as it is, even where the clause
    /// subtracts it.
    Currency onNewRow() const { return amount; }
};

Change change(cEmpresa& context, EntryKind kind, bool add, Date entryDate, Currency debit,
              Currency credit);

/// The accounts of the balance rows one line touches, in the order they are written: the
/// line's own account, then its leading `LongitudNivel(i)` characters for every level index
/// i from 0 to Niveles-2 whose length is above 0. A length beyond the account gives the whole
/// account, so the row of a short account is touched more than once.
std::vector<std::string> touchedAccounts(cEmpresa& context, const std::string& account);

}  // namespace kvlnmov::accumulation
