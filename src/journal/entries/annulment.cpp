// Annulling a whole entry. Everything the entry wrote is first copied to the backup tables
// (BakAnulado_*) under one backup number, then its effects are undone and the live rows
// deleted. The header itself is deleted only when its number was the last one given, so the
// counter can step back; otherwise it stays, empty and marked `Nulo`, so the numbering keeps
// no holes.

#include "kvlnmov/db/recordset.h"
#include "kvlnmov/core/handlers.h"
#include "kvlnmov/core/identity.h"
#include "kvlnmov/core/sql_text.h"
#include "kvlnmov/journal/cls_asiento.h"
#include "kvlnmov/journal/cls_mov.h"
#include "kvlnmov/journal/sii_book.h"

namespace kvlnmov {

bool clsAsiento::Eliminar() {
    return retryingHandler(
        "clsAsiento:Eliminar", RetryKind::Everything, [&](RetryHandler& handler) {
            // A date property always holds a date; one never set (the zero date) is no entry date.
            if (fecha_ == Date()) {
                handler.raise(errc::kCheck, "Asientos::Eliminar",
                              "Debe especificar la fecha del asiento a anular.");
            }
            // A missing context fails here, at its first use, and is repeated like any statement.
            kvlnmov::cEmpresa& context = empresa(handler);
            if (outsideExercise(context, fecha_)) {
                handler.raise(errc::kCheck, "Asientos::Insertar",
                              "Fecha de asiento fuera de ejercicio contable");
            }

            std::string c = sql::integer(context.Cod_Empresa());
            std::string e = sql::integer(context.Cod_Ejercicio());
            std::string n = sql::integer(codigo_);
            std::string where = " WHERE Cod_Empresa =" + c + " AND Cod_Ejercicio =" + e;
            auto execute = [&](const std::string& text) {
                handler.statement([&] { connection().Execute(text); });
            };

            // Balances: each line's amounts are taken out as its posting added them. The line
            // object carries this entry's number so opening and closing entries are reversed in
            // the columns they were posted to.
            {
                auto mov = std::make_shared<clsMov>();
                mov->cEmpresa(empresaRef());
                mov->Conexion(sharedConnection());
                mov->Asiento(codigo_);
                db::Recordset lines;
                handler.statement([&] {
                    lines.Open("SELECT Fecha_Asiento, Cuenta, Dpto, Debe, Haber FROM Movimientos" +
                                   where + " AND Cod_Asiento =" + n,
                               connectionRef());
                });
                for (; !lines.Eof(); lines.MoveNext()) {
                    // Reading the line (a Null column fails) is repeated like a statement; the
                    // balance operation has retries of its own and is not run again.
                    struct Line {
                        Date fecha;
                        std::string cuenta;
                        std::int16_t dpto;
                        Currency debe;
                        Currency haber;
                    };
                    Line line = handler.statement([&] {
                        return Line{
                            lines.Fields("Fecha_Asiento").toDate(), lines.Fields("Cuenta").toText(),
                            lines.Fields("Dpto").toInteger(), lines.Fields("Debe").toCurrency(),
                            lines.Fields("Haber").toCurrency()};
                    });
                    mov->Acumulados(false, line.fecha, line.cuenta, line.dpto, line.debe,
                                    line.haber);
                }
            }

            execute(
                " INSERT INTO BakAnulado_Asientos "
                " (Cod_Empresa, Cod_Ejercicio, Codigo, Fecha, Nulo, Cierre, Usuario, Exportar, "
                "Importar) "
                " SELECT "
                " Cod_Empresa, Cod_Ejercicio, Codigo, Fecha, Nulo, Cierre, " +
                sql::integer(usuario_) +
                ", Exportar, Importar "
                " FROM Asientos WHERE Cod_Empresa = " +
                c + " AND Cod_Ejercicio = " + e + " AND Codigo = " + n);
            std::int32_t backup =
                handler.statement([&] { return readIdentity(connectionRef()).value_or(0); });
            if (backup == 0) {
                handler.raise(errc::kCheck, "clsAsiento::Eliminar",
                              "Error. No se ha eliminado el asiento.");
            }
            std::string id = sql::integer(backup);

            for (const std::string book : {"Igic", "Iva"}) {
                db::Recordset records;
                handler.statement([&] {
                    records.Open("SELECT Apunte FROM " + book + where + " AND Asiento =" + n,
                                 connectionRef());
                });
                for (; !records.Eof(); records.MoveNext()) {
                    std::string line = handler.statement(
                        [&] { return sql::integer(records.Fields("Apunte").toLong()); });
                    execute(" INSERT INTO BakAnulado_" + book +
                            "_Lineas "
                            " (IDBak, Cod_Empresa, Cod_Ejercicio, Apunte, NumLinea, TipoOp, Base, "
                            "Tipo, Cuota) "
                            " SELECT " +
                            id +
                            ", Cod_Empresa, Cod_Ejercicio, Apunte, NumLinea, TipoOp, Base, Tipo, "
                            "Cuota "
                            " FROM " +
                            book + "_Lineas WHERE Apunte = " + line);
                    execute("DELETE FROM " + book + "_Lineas WHERE Apunte =" + line);
                }
                records.Close();
                execute(" INSERT INTO BakAnulado_" + book +
                        " (IDBak, Cod_Empresa, Cod_Ejercicio, Apunte, Libro, Fecha, Cuenta, "
                        "Documento, Asiento) "
                        " SELECT " +
                        id +
                        ", Cod_Empresa, Cod_Ejercicio, Apunte, Libro, Fecha, Cuenta, Documento, "
                        "Asiento "
                        " FROM " +
                        book + " WHERE Cod_Empresa = " + c + " AND Cod_Ejercicio = " + e +
                        " AND Asiento = " + n);
                execute("DELETE FROM " + book + where + " AND Asiento =" + n);
            }

            execute("SELECT Apunte FROM Irpf" + where + " AND Asiento =" + n);
            execute(
                " INSERT INTO BakAnulado_Irpf"
                " (IDBak, Cod_Empresa, Cod_Ejercicio, Apunte, Libro, Fecha, Cuenta, Documento, "
                "Asiento) "
                " SELECT " +
                id +
                ", Cod_Empresa, Cod_Ejercicio, Apunte, Libro, Fecha, Cuenta, Documento, Asiento "
                " FROM Irpf WHERE Cod_Empresa = " +
                c + " AND Cod_Ejercicio = " + e + " AND Asiento = " + n);
            execute("DELETE FROM Irpf" + where + " AND Asiento =" + n);

            std::string plan = " WHERE Cod_Empresa =" + c + " AND Fecha BETWEEN '" +
                               sql::date(context.FechaInicio()) + "' AND '" +
                               sql::date(context.FechaFin()) + "'" + " AND Asiento =" + n;
            {
                db::Recordset postings;
                handler.statement([&] {
                    postings.Open("SELECT Codigo, Dotacion FROM Amortizaciones_Plan" + plan,
                                  connectionRef());
                });
                for (; !postings.Eof(); postings.MoveNext()) {
                    handler.statement([&] {
                        connection().Execute(
                            "UPDATE Amortizaciones SET Amortizado = Amortizado - " +
                            sql::number(postings.Fields("Dotacion").toCurrency()) +
                            " WHERE Cod_Empresa =" + c +
                            " AND Codigo =" + sql::integer(postings.Fields("Codigo").toLong()));
                    });
                }
            }
            execute("UPDATE Amortizaciones_Plan SET Asiento = 0" + plan);

            // The backup of secondary lines writes the subquery with a blank more than the later
            // statements do; both texts are kept as they are.
            std::string linesOfEntryBackup = " AND Apunte IN (SELECT Apunte FROM Movimientos " +
                                             where + " AND Cod_Asiento =" + n + ")";
            std::string linesOfEntry = " AND Apunte IN (SELECT Apunte FROM Movimientos" + where +
                                       " AND Cod_Asiento =" + n + ")";
            execute(
                " INSERT INTO BakAnulado_Movimientos_Sec "
                " (IDBak, Cod_Empresa, Cod_Ejercicio, Apunte, Contrap, Base, TipoOp, Asiento, "
                "Dpto, "
                "Imp_Tipo) "
                " SELECT " +
                id +
                ", Cod_Empresa, Cod_Ejercicio, Apunte, Contrap, Base, TipoOp, Asiento, Dpto, "
                "Imp_Tipo "
                " FROM Movimientos_Sec WHERE Cod_Empresa = " +
                c + " AND Cod_Ejercicio =" + e + linesOfEntryBackup);
            execute(
                " INSERT INTO BakAnulado_Movimientos "
                " (IDBak, Cod_Empresa, Cod_Ejercicio, Cod_Asiento, Apunte, Fecha_Asiento, "
                "Fecha_Apunte, Cuenta, "
                " Cto_Aut, Concepto, Documento, Diario, Dpto, Debe, Haber, Punteo, M347, "
                "Imp_ApunteRef, Imp_Prop, Imp_Base, "
                " Imp_Tipo, Imp_Op, Imp_Contrap) "
                " SELECT " +
                id +
                ", Cod_Empresa, Cod_Ejercicio, Cod_Asiento, Apunte, Fecha_Asiento, Fecha_Apunte, "
                "Cuenta, "
                " Cto_Aut, Concepto, Documento, Diario, Dpto, Debe, Haber, Punteo, M347, "
                "Imp_ApunteRef, Imp_Prop, Imp_Base, "
                " Imp_Tipo, Imp_Op, Imp_Contrap "
                " FROM Movimientos WHERE Cod_Empresa = " +
                c + " AND Cod_Ejercicio = " + e + " AND Cod_Asiento = " + n);

            execute(
                "UPDATE ce SET Pendiente=1, Asiento=0, Apunte_Mto=0"
                " FROM Movimientos m"
                " INNER JOIN Conc_Extractos ce ON ce.Cod_Empresa = m.Cod_Empresa AND "
                "ce.Cod_Ejercicio "
                "= m.Cod_Ejercicio AND ce.Apunte_Mto = m.Apunte"
                " WHERE m.Cod_Empresa =" +
                c + " AND m.Cod_Ejercicio =" + e + " AND m.Cod_Asiento =" + n);

            {
                db::Recordset records;
                handler.statement([&] {
                    records.Open("SELECT TipoLibro, IDLibroFactura FROM Movimientos_SII" + where +
                                     linesOfEntry,
                                 connectionRef());
                });
                for (; !records.Eof(); records.MoveNext()) {
                    std::int16_t type =
                        handler.statement([&] { return records.Fields("TipoLibro").toInteger(); });
                    if (type != 1 && type != 2) continue;
                    std::int32_t invoice = handler.statement(
                        [&] { return records.Fields("IDLibroFactura").toLong(); });
                    // Creating the book is repeated like a statement (a missing class gives 429
                    // after the retries); an error of the book's own removal is not run again.
                    auto book = handler.statement([&] { return createSiiInvoiceBook(type); });
                    book->Conexion(sharedConnection());
                    book->cEmpresa(empresaRef());
                    book->Eliminar(invoice);
                }
            }

            execute("DELETE FROM Movimientos_Sec" + where + linesOfEntry);
            execute("DELETE FROM Movimientos_SII" + where + linesOfEntry);
            execute("DELETE FROM Movimientos" + where + " AND Cod_Asiento =" + n);

            // Give the number back only when it is the last one the counter gave; the step back
            // is conditional on the counter still holding it, so a number taken meanwhile by
            // another workstation keeps the header (marked) instead.
            bool returned = false;
            {
                std::int16_t scheme = context.TipoNumeracion();
                std::string counter = "SELECT * FROM Contador_Asientos" + where;
                if (scheme == 1 || scheme == 2) {
                    counter += " AND Mes =" + sql::integer(fecha_.month()) +
                               " AND Dia =" + sql::integer(fecha_.day());
                }
                db::Recordset row;
                handler.statement([&] { row.Open(counter, connectionRef()); });
                if (!row.Eof() && row.Fields("cAsiento").toLong() == codigo_) {
                    std::string month = sql::integer(row.Fields("Mes").toLong());
                    std::string day = sql::integer(row.Fields("Dia").toLong());
                    row.Close();
                    std::int32_t changed = handler.statement([&] {
                        return connection().Execute(
                            "UPDATE Contador_Asientos SET cAsiento = " + sql::integer(codigo_ - 1) +
                            where + " AND Mes =" + month + " AND Dia =" + day +
                            " AND cAsiento =" + n);
                    });
                    returned = changed > 0;
                }
            }
            if (returned) {
                execute("DELETE FROM Asientos" + where + " AND Codigo =" + n);
            } else {
                execute("UPDATE Asientos SET Nulo = 1, Usuario =" + sql::integer(usuario_) + where +
                        " AND Codigo =" + n);
            }
            return true;
        });
}

}  // namespace kvlnmov
