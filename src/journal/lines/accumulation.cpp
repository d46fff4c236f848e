// Running balances. Every change to a journal line is pushed at once into the balance rows of
// its account and of each summary account above it (the account's leading characters at
// every level of the chart), in `Acumulados` and per department in `Acumulados_Dpto`.
// Ordinary entries accumulate debit and credit apart per period (D1..D12, H1..H12); opening
// entries accumulate the balance in `Apertura`, closing entries in `Cierre` with the opposite
// sign, because a closing entry reverses the balances it closes.

#include "kvlnmov/db/recordset.h"
#include "kvlnmov/frame/sql_text.h"
#include "kvlnmov/journal/cls_mov.h"

namespace kvlnmov {

namespace {

enum class EntryKind { Ordinary, Opening, Closing };

}  // namespace

void clsMov::Acumulados(bool bolAdd, Date dteFecha, std::string strCuenta, std::int16_t intDpto,
                        Currency curDebe, Currency curHaber) {
    retryingHandler("clsMov::Acumulados", RetryKind::DatabaseErrors, [&](RetryHandler& handler) {
        kvlnmov::cEmpresa& context = empresa();

        // The account's level: the first level whose length is the account's (0 for none).
        int level = 0;
        std::int16_t levels = context.Niveles();
        for (std::int16_t i = 0; i <= levels; ++i) {
            if (static_cast<std::size_t>(context.LongitudNivel(i)) == strCuenta.size()) {
                level = i + 1;
                break;
            }
        }

        EntryKind kind = handler.statement([&] {
            db::Recordset header;
            header.Open("SELECT Cierre, Fecha FROM Asientos" + sql::whereCompanyExercise(context) +
                            " AND Codigo =" + sql::integer(asiento_),
                        connectionRef());
            EntryKind found = EntryKind::Ordinary;
            if (!header.Eof()) {
                const Variant& cierre = header.Fields("Cierre");
                if (!cierre.isNull() && cierre.toBoolean()) {
                    found = header.Fields("Fecha").toDate() == context.FechaInicio()
                                ? EntryKind::Opening
                                : EntryKind::Closing;
                }
            }
            header.Close();
            return found;
        });

        bool debit = !curDebe.isZero();
        Currency value = debit ? curDebe : curHaber;
        bool negate = kind == EntryKind::Closing ? bolAdd : !bolAdd;
        if (negate) value = -value;
        std::string amount = sql::number(value);

        std::string column;
        std::string clause;
        if (kind == EntryKind::Ordinary) {
            std::string period =
                std::to_string(context.PeriodoMes(static_cast<std::int16_t>(dteFecha.month())));
            column = (debit ? "D" : "H") + period;
            clause = column + " = " + column + " + (" + amount + ")";
        } else {
            column = kind == EntryKind::Opening ? "Apertura" : "Cierre";
            clause = column + " = " + column + (debit ? " + (" : " - (") + amount + ")";
        }

        std::string company = sql::integer(context.Cod_Empresa());
        std::string exercise = sql::integer(context.Cod_Ejercicio());
        std::string levelText = sql::integer(level);
        std::string department = sql::integer(intDpto);

        auto accumulate = [&](const std::string& account) {
            std::int32_t changed = handler.statement([&] {
                return connection().Execute("UPDATE Acumulados SET " + clause +
                                            sql::whereCompanyExercise(context) +
                                            sql::andAccount(account));
            });
            if (changed == 0) {
                // A new row takes the value as it is, even where the clause subtracts it.
                handler.statement([&] {
                    connection().Execute(
                        "INSERT INTO Acumulados (Cod_Empresa, Cod_Ejercicio, "
                        "Cuenta, Nivel, " +
                        column + ") VALUES (" + company + ", " + exercise + ", '" + account +
                        "', " + levelText + ", " + amount + ")");
                });
            }
            changed = handler.statement([&] {
                return connection().Execute("UPDATE Acumulados_Dpto SET " + clause +
                                            sql::whereCompanyExercise(context) +
                                            sql::andAccount(account) + " AND Dpto =" + department);
            });
            if (changed == 0) {
                handler.statement([&] {
                    connection().Execute(
                        "INSERT INTO Acumulados_Dpto (Cod_Empresa, Cod_Ejercicio, Cuenta, Dpto, "
                        "Nivel, " +
                        column + ") VALUES (" + company + ", " + exercise + ", '" + account +
                        "', " + department + ", " + levelText + ", " + amount + ")");
                });
            }
        };

        accumulate(strCuenta);
        std::int16_t summaryLevels = context.Niveles();
        for (std::int16_t i = 0; i <= summaryLevels - 2; ++i) {
            std::int16_t length = context.LongitudNivel(i);
            if (length > 0) accumulate(sql::cut(strCuenta, static_cast<std::size_t>(length)));
        }
    });
}

}  // namespace kvlnmov
