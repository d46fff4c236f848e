#include "trial_balance.h"

#include <vector>

#include "commands.h"
#include "kvlnmov/db/recordset.h"
#include "kvlnmov/core/library.h"
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

std::string money(Currency value) { return funciones().FormatoNumero(value, 2); }

}  // namespace

bool printTrialBalance(std::ostream& out, const db::ConnectionRef& connection, cEmpresa& context,
                       const TrialBalanceOptions& options) {
    int levels = context.Niveles();
    int level = options.level.value_or(levels);
    if (level < 1 || level > levels) {
        throw UsageError{"--level must be between 1 and " + std::to_string(levels)};
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

    out << "Trial balance of company " << context.Cod_Empresa() << ", exercise "
        << context.Cod_Ejercicio() << ", level " << level << " (" << length << "-digit accounts)";
    if (options.department) out << ", department " << *options.department;
    out << "\n\n";
    std::vector<std::string> header{"Account", "Name",    "Opening", "Debit",
                                    "Credit",  "Closing", "Balance"};
    if (options.periods) {
        for (int p = 1; p <= 12; ++p) {
            header.push_back("D" + std::to_string(p));
            header.push_back("H" + std::to_string(p));
        }
    }
    std::vector<bool> right(header.size(), true);
    right[0] = right[1] = false;
    TextTable report(header, right, "  ", true);
    auto cells = [&](const Row& row) {
        Currency balance = row.opening + row.totalDebit - row.totalCredit - row.closing;
        std::vector<std::string> line{row.account,
                                      row.name,
                                      money(row.opening),
                                      money(row.totalDebit),
                                      money(row.totalCredit),
                                      money(row.closing),
                                      money(balance)};
        if (options.periods) {
            for (std::size_t p = 0; p < 12; ++p) {
                line.push_back(money(row.debit[p]));
                line.push_back(money(row.credit[p]));
            }
        }
        return line;
    };
    Row total{"Total", "", {}, {}, std::vector<Currency>(12), std::vector<Currency>(12), {}, {}};
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
    out << rows.size() << " accounts. "
        << (balanced ? "Debits equal credits: the trial balance balances."
                     : "OUT OF BALANCE: debits " + money(total.totalDebit) + ", credits " +
                           money(total.totalCredit) + ", opening " + money(total.opening) +
                           ", closing " + money(total.closing))
        << "\n";
    return balanced;
}

}  // namespace kvlnmov::cli
