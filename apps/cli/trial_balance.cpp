#include "trial_balance.h"

#include <vector>

#include "commands.h"
#include "i18n.h"
#include "kvlnmov/core/library.h"
#include "kvlnmov/db/recordset.h"
#include "text_table.h"

namespace kvlnmov::cli {

namespace {

struct Row {
    std::string account;
    std::string name;
    Currency opening;
    Currency closing;
    std::vector<Currency> debit;
    std::vector<Currency> credit;
    Currency totalDebit;
    Currency totalCredit;
};

std::string money(Currency value) { return amountText(value, 2); }

// Account names are cut to this width, so that the report fits a terminal of 100 columns.
constexpr std::size_t kNameWidth = 26;

// The months of the exercise with their period numbers (the period columns D1..D12 and
// H1..H12), labelled "03/2026".
std::vector<std::pair<int, std::string>> exerciseMonths(cEmpresa& context) {
    std::vector<std::pair<int, std::string>> months;
    const Date last = context.FechaFin();
    int year = context.FechaInicio().year();
    int month = context.FechaInicio().month();
    while (months.size() < 12 && Date::ymd(year, month, 1) <= last) {
        const int period = context.PeriodoMes(static_cast<std::int16_t>(month));
        if (period >= 1 && period <= 12) {
            months.emplace_back(period, format("%02d/%04d", month, year));
        }
        if (++month > 12) {
            month = 1;
            ++year;
        }
    }
    return months;
}

// The debits and credits of every account by month, one row per account and month with
// movement, then the month totals.
void printMonths(std::ostream& out, const std::vector<Row>& rows, cEmpresa& context) {
    TextTable table(
        {{_("Account"), false}, {_("Month"), false}, {_("Debit"), true}, {_("Credit"), true}}, "  ",
        true);
    const auto months = exerciseMonths(context);
    std::vector<Currency> debit(months.size());
    std::vector<Currency> credit(months.size());
    for (const Row& row : rows) {
        for (std::size_t m = 0; m < months.size(); ++m) {
            const auto period = static_cast<std::size_t>(months[m].first - 1);
            if (row.debit[period].isZero() && row.credit[period].isZero()) continue;
            table.add({row.account, months[m].second, money(row.debit[period]),
                       money(row.credit[period])});
            debit[m] += row.debit[period];
            credit[m] += row.credit[period];
        }
    }
    std::vector<std::vector<std::string>> totals;
    for (std::size_t m = 0; m < months.size(); ++m) {
        if (debit[m].isZero() && credit[m].isZero()) continue;
        totals.push_back({_("Total"), months[m].second, money(debit[m]), money(credit[m])});
        for (std::size_t i = 0; i < totals.back().size(); ++i) {
            table.widen(i, displayWidth(totals.back()[i]));
        }
    }
    out << "\n" << _("Debits and credits by month:") << "\n\n";
    if (totals.empty()) {
        out << _("No debits or credits in any month.") << "\n";
        return;
    }
    table.print(out);
    out << table.ruleLine() << "\n";
    for (const auto& total : totals) out << table.line(total) << "\n";
}

}  // namespace

bool printTrialBalance(std::ostream& out, const db::ConnectionRef& connection, cEmpresa& context,
                       const TrialBalanceOptions& options) {
    int levels = context.Niveles();
    int level = options.level.value_or(levels);
    if (level < 1 || level > levels) {
        throw UsageError{format(_("--level must be between 1 and %d"), levels)};
    }
    // Rows are chosen by the length of their account: the Nivel column holds the level of the
    // posting account that created a summary row, not the row's own level.
    auto length =
        static_cast<std::size_t>(context.LongitudNivel(static_cast<std::int16_t>(level - 1)));
    std::string table = options.department ? "Acumulados_Dpto" : "Acumulados";
    std::string columns = "a.Cuenta, ISNULL(c.Nombre, '') AS Nombre, a.Apertura, a.Cierre";
    for (int p = 1; p <= 12; ++p) {
        columns += ", a.D" + std::to_string(p) + ", a.H" + std::to_string(p);
    }
    std::string query = "SELECT " + columns + " FROM " + table +
                        " a LEFT JOIN Cuentas c ON c.Cod_Empresa = a.Cod_Empresa AND "
                        "c.Cod_Ejercicio = a.Cod_Ejercicio AND c.Cuenta = a.Cuenta"
                        " WHERE a.Cod_Empresa = " +
                        std::to_string(context.Cod_Empresa()) +
                        " AND a.Cod_Ejercicio = " + std::to_string(context.Cod_Ejercicio());
    if (options.department) query += " AND a.Dpto = " + std::to_string(*options.department);
    query += " ORDER BY a.Cuenta";

    std::vector<Row> rows;
    db::Recordset result;
    result.Open(query, connection);
    for (; !result.Eof(); result.MoveNext()) {
        std::string account = result.Fields("Cuenta").toText();
        if (account.size() != length) continue;
        Row row{account,
                result.Fields("Nombre").toText(),
                result.Fields("Apertura").toCurrency(),
                result.Fields("Cierre").toCurrency(),
                {},
                {},
                {},
                {}};
        for (int p = 1; p <= 12; ++p) {
            row.debit.push_back(result.Fields("D" + std::to_string(p)).toCurrency());
            row.credit.push_back(result.Fields("H" + std::to_string(p)).toCurrency());
            row.totalDebit += row.debit.back();
            row.totalCredit += row.credit.back();
        }
        rows.push_back(std::move(row));
    }

    // The level's account length chooses the form ("1-digit accounts", "cuentas de 1 dígito").
    out << (options.department
                ? format(trn("Trial balance of company %d, exercise %d, department %d, level %d "
                             "(%zu-digit accounts)",
                             "Trial balance of company %d, exercise %d, department %d, level %d "
                             "(%zu-digit accounts)",
                             length),
                         context.Cod_Empresa(), context.Cod_Ejercicio(), *options.department, level,
                         length)
                : format(trn("Trial balance of company %d, exercise %d, level %d (%zu-digit "
                             "accounts)",
                             "Trial balance of company %d, exercise %d, level %d (%zu-digit "
                             "accounts)",
                             length),
                         context.Cod_Empresa(), context.Cod_Ejercicio(), level, length))
        << "\n\n";
    TextTable report({{_("Account"), false},
                      {_("Name"), false},
                      {_("Opening"), true},
                      {_("Period\ndebit"), true},
                      {_("Period\ncredit"), true},
                      {_("Closing\nentry"), true},
                      {_("Balance"), true}},
                     "  ", true);
    // The Cierre column keeps the closing entries' balance with the opposite sign; the report
    // shows what the closing entries posted (debit minus credit), so that the balance reads
    // opening + debit - credit + closing entry.
    auto cells = [&](const Row& row) {
        Currency balance = row.opening + row.totalDebit - row.totalCredit - row.closing;
        return std::vector<std::string>{
            row.account,           clip(row.name, kNameWidth), money(row.opening),
            money(row.totalDebit), money(row.totalCredit),     money(-row.closing),
            money(balance)};
    };
    Row total{_("Total"), "", {}, {}, std::vector<Currency>(12), std::vector<Currency>(12), {}, {}};
    for (const Row& row : rows) {
        report.add(cells(row));
        total.opening += row.opening;
        total.closing += row.closing;
        total.totalDebit += row.totalDebit;
        total.totalCredit += row.totalCredit;
        for (std::size_t p = 0; p < 12; ++p) {
            total.debit[p] += row.debit[p];
            total.credit[p] += row.credit[p];
        }
    }
    std::vector<std::string> totals = cells(total);
    for (std::size_t i = 0; i < totals.size(); ++i) report.widen(i, displayWidth(totals[i]));
    report.print(out);
    out << report.ruleLine() << "\n" << report.line(totals) << "\n\n";
    bool balanced =
        total.totalDebit == total.totalCredit && total.opening.isZero() && total.closing.isZero();
    if (balanced) {
        out << format(
            trn("%zu account. Debits equal credits: the trial balance balances.",
                "%zu accounts. Debits equal credits: the trial balance balances.", rows.size()),
            rows.size());
    } else {
        out << format(trn("%zu account. OUT OF BALANCE: debits %s, credits %s, opening %s, "
                          "closing entries %s.",
                          "%zu accounts. OUT OF BALANCE: debits %s, credits %s, opening %s, "
                          "closing entries %s.",
                          rows.size()),
                      rows.size(), money(total.totalDebit).c_str(),
                      money(total.totalCredit).c_str(), money(total.opening).c_str(),
                      money(-total.closing).c_str());
    }
    out << "\n";
    if (options.periods) printMonths(out, rows, context);
    return balanced;
}

}  // namespace kvlnmov::cli
