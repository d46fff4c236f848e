#include "journal/verification/accumulation_rules.h"

#include <array>

#include "kvlnmov/core/sql_text.h"

namespace kvlnmov::accumulation {

namespace {

std::array<std::string, kColumnCount> makeColumnNames() {
    std::array<std::string, kColumnCount> names;
    names[kOpeningColumn] = "Apertura";
    names[kClosingColumn] = "Cierre";
    for (int period = 1; period <= 12; ++period) {
        names[static_cast<std::size_t>(periodColumn(true, period))] = "D" + std::to_string(period);
        names[static_cast<std::size_t>(periodColumn(false, period))] = "H" + std::to_string(period);
    }
    return names;
}

}  // namespace

const std::string& columnName(int column) {
    static const std::array<std::string, kColumnCount> names = makeColumnNames();
    return names.at(static_cast<std::size_t>(column));
}

std::int16_t accountLevel(cEmpresa& context, std::string_view account) {
    const std::int16_t levels = context.Niveles();
    for (std::int16_t i = 0; i <= levels; ++i) {
        if (static_cast<std::size_t>(context.LongitudNivel(i)) == account.size())
            return static_cast<std::int16_t>(i + 1);
    }
    return 0;
}

EntryKind entryKind(cEmpresa& context, const Variant& cierre, const Variant& fecha) {
    if (cierre.isNull() || !cierre.toBoolean()) return EntryKind::Ordinary;
    return fecha.toDate() == context.FechaInicio() ? EntryKind::Opening : EntryKind::Closing;
}

Change change(cEmpresa& context, EntryKind kind, bool add, Date entryDate, Currency debit,
              Currency credit) {
    Change result;
    result.debit = !debit.isZero();
    result.amount = result.debit ? debit : credit;
    const bool negate = kind == EntryKind::Closing ? add : !add;
    if (negate) result.amount = -result.amount;

    if (kind == EntryKind::Ordinary) {
        const std::int16_t period =
            context.PeriodoMes(static_cast<std::int16_t>(entryDate.month()));
        result.column = (result.debit ? "D" : "H") + std::to_string(period);
        if (period >= 1 && period <= 12) result.columnIndex = periodColumn(result.debit, period);
    } else {
        const bool opening = kind == EntryKind::Opening;
        result.column = opening ? "Apertura" : "Cierre";
        result.columnIndex = opening ? kOpeningColumn : kClosingColumn;
        result.subtracts = !result.debit;
    }
    return result;
}

std::vector<std::string> touchedAccounts(cEmpresa& context, const std::string& account) {
    std::vector<std::string> accounts{account};
    const std::int16_t levels = context.Niveles();
    for (std::int16_t i = 0; i <= levels - 2; ++i) {
        const std::int16_t length = context.LongitudNivel(i);
        if (length > 0) accounts.push_back(sql::cut(account, static_cast<std::size_t>(length)));
    }
    return accounts;
}

}  // namespace kvlnmov::accumulation
