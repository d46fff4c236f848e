// Running balances. Every change to a journal line is pushed at once into the balance rows of
// its account and of each summary account above it (the account's leading characters at
// every level of the chart), in `Acumulados` and per department in `Acumulados_Dpto`.
// Ordinary entries accumulate debit and credit apart per period (D1..D12, H1..H12); opening
// entries accumulate the balance in `Apertura`, closing entries in `Cierre` with the opposite
// sign, because a closing entry reverses the balances it closes. Which rows, which column and
// which sign are decided by the rules in journal/verification/accumulation_rules.h, which the
// balance verifier replays.

#include "journal/verification/accumulation_rules.h"
#include "kvlnmov/core/sql_text.h"
#include "kvlnmov/db/recordset.h"
#include "kvlnmov/journal/cls_mov.h"

namespace kvlnmov {

void clsMov::Acumulados(bool bolAdd, Date dteFecha, std::string strCuenta, std::int16_t intDpto,
                        Currency curDebe, Currency curHaber) {
    retryingHandler("clsMov::Acumulados", RetryKind::DatabaseErrors, [&](RetryHandler& handler) {
        kvlnmov::cEmpresa& context = empresa(handler);
        const std::int16_t level = accumulation::accountLevel(context, strCuenta);

        // The company and exercise filter, written with the first statement and the same for
        // every statement of the change.
        std::string where;
        const accumulation::EntryKind kind = handler.statement([&] {
            where = sql::whereCompanyExercise(context);
            db::Recordset header;
            header.Open("SELECT Cierre, Fecha FROM Asientos" + where +
                            " AND Codigo =" + sql::integer(asiento_),
                        connectionRef());
            accumulation::EntryKind found = accumulation::EntryKind::Ordinary;
            if (!header.Eof()) {
                found = accumulation::entryKind(context, header.Fields("Cierre"),
                                                header.Fields("Fecha"));
            }
            header.Close();
            return found;
        });

        const accumulation::Change change =
            accumulation::change(context, kind, bolAdd, dteFecha, curDebe, curHaber);
        const std::string& column = change.column;
        const std::string amount = sql::number(change.amount);
        const std::string clause =
            column + " = " + column + (change.subtracts ? " - (" : " + (") + amount + ")";

        std::string company = sql::integer(context.Cod_Empresa());
        std::string exercise = sql::integer(context.Cod_Ejercicio());
        std::string levelText = sql::integer(level);
        std::string department = sql::integer(intDpto);

        // Each statement is written into one buffer, reused for the next: a line sends ten of
        // them, one per table and level.
        std::string statement;
        auto start = [&statement](std::string_view head) {
            statement.clear();
            statement.append(head);
        };
        auto accumulate = [&](const std::string& account) {
            const std::string accountText = sql::text(account);
            start("UPDATE Acumulados SET ");
            statement.append(clause).append(where).append(" AND Cuenta ='").append(accountText);
            statement += '\'';
            std::int32_t changed =
                handler.statement([&] { return connection().Execute(statement); });
            if (changed == 0) {
                // A new row takes the value as it is, even where the clause subtracts it.
                start("INSERT INTO Acumulados (Cod_Empresa, Cod_Ejercicio, Cuenta, Nivel, ");
                statement.append(column).append(") VALUES (").append(company).append(", ");
                statement.append(exercise).append(", '").append(accountText).append("', ");
                statement.append(levelText).append(", ").append(amount).append(")");
                handler.statement([&] { connection().Execute(statement); });
            }
            start("UPDATE Acumulados_Dpto SET ");
            statement.append(clause).append(where).append(" AND Cuenta ='").append(accountText);
            statement.append("' AND Dpto =").append(department);
            changed = handler.statement([&] { return connection().Execute(statement); });
            if (changed == 0) {
                start(
                    "INSERT INTO Acumulados_Dpto (Cod_Empresa, Cod_Ejercicio, Cuenta, Dpto, "
                    "Nivel, ");
                statement.append(column).append(") VALUES (").append(company).append(", ");
                statement.append(exercise).append(", '").append(accountText).append("', ");
                statement.append(department).append(", ").append(levelText).append(", ");
                statement.append(amount).append(")");
                handler.statement([&] { connection().Execute(statement); });
            }
        };

        for (const std::string& account : accumulation::touchedAccounts(context, strCuenta))
            accumulate(account);
    });
}

}  // namespace kvlnmov
