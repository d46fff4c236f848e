// Whole-entry operations of the line class: copying an entry's lines into another entry,
// moving them to another entry number, and moving an account range to another account.

#include "kvlnmov/db/recordset.h"
#include "kvlnmov/core/sql_text.h"
#include "kvlnmov/journal/cls_asiento.h"
#include "kvlnmov/journal/cls_mov.h"
#include "kvlnmov/taxbooks/cls_libro_igic.h"

namespace kvlnmov {

namespace {

/// The header of entry `number`, loaded with `context` (an entry that does not exist leaves
/// the object empty; its date is then the zero date).
std::shared_ptr<clsAsiento> loadEntry(const cEmpresaRef& context, std::int32_t number) {
    auto entry = std::make_shared<clsAsiento>();
    entry->cEmpresa(context);
    entry->Codigo(number);
    entry->Cargar();
    return entry;
}

}  // namespace

bool clsMov::Duplicar_Asiento(std::int32_t lngAsiento_Ant, std::int32_t lngAsiento_Nuevo) {
    return plainHandler("clsMov::Duplicar_Asiento", Access::Writes, [&] {
        kvlnmov::cEmpresa& context = empresa();
        auto entry = loadEntry(empresaRef(), lngAsiento_Nuevo);
        db::Recordset lines;
        lines.Open("SELECT * FROM Movimientos" + sql::whereCompanyExercise(context) +
                       " AND Cod_Asiento =" + sql::integer(lngAsiento_Ant),
                   connectionRef());
        for (; !lines.Eof(); lines.MoveNext()) {
            Asiento(lngAsiento_Nuevo);
            Cuenta(lines.Fields("Cuenta").toText());
            fecha_ = entry->Fecha();
            fechaAsiento_ = entry->Fecha();
            Cto_Aut(lines.Fields("Cto_Aut").toText());
            Concepto(lines.Fields("Concepto").toText());
            DocumentoSTR(lines.Fields("Documento").toText());
            Diario(lines.Fields("Diario").toInteger());
            Dpto(lines.Fields("Dpto").toInteger());
            Debe(lines.Fields("Debe").toCurrency());
            Haber(lines.Fields("Haber").toCurrency());
            Punteo(lines.Fields("Punteo").toInteger());
            M347(lines.Fields("M347").toBoolean());
            Imp_Apunte_Ref(0);
            Imp_Prop(enmPropietario_Apunte::kvNinguno);
            Imp_Base(Currency());
            Imp_Cuota(Currency());
            Imp_Tipo(0);
            Imp_Op(enmOperacion_Impuestos::kvNinguna);
            Imp_Contrapartida("");
            Insertar();
        }
        lines.Close();
        return true;
    });
}

bool clsMov::Cambiar_Asiento(std::int32_t lngAsiento_Ant, std::int32_t lngAsiento_Nuevo) {
    return plainHandler("clsMov::Cambiar_Asiento", Access::Writes, [&] {
        kvlnmov::cEmpresa& context = empresa();
        auto entry = loadEntry(empresaRef(), lngAsiento_Nuevo);
        Date newDate = entry->Fecha();
        std::string e = sql::integer(context.Cod_Empresa());
        std::string x = sql::integer(context.Cod_Ejercicio());
        std::string from = sql::integer(lngAsiento_Ant);
        std::string to = sql::integer(lngAsiento_Nuevo);

        db::Recordset lines;
        lines.Open(
            "SELECT Fecha_Asiento, Cuenta, Dpto, Debe, Haber FROM Movimientos WHERE "
            "Cod_Empresa =" +
                e + " AND Cod_Ejercicio =" + x + " AND Cod_Asiento =" + from,
            connectionRef());
        for (; !lines.Eof(); lines.MoveNext()) {
            std::string account = lines.Fields("Cuenta").toText();
            std::int16_t department = lines.Fields("Dpto").toInteger();
            Currency debit = lines.Fields("Debe").toCurrency();
            Currency credit = lines.Fields("Haber").toCurrency();
            Acumulados(false, lines.Fields("Fecha_Asiento").toDate(), account, department, debit,
                       credit);
            Acumulados(true, newDate, account, department, debit, credit);
        }
        lines.Close();

        connection().Execute("UPDATE Movimientos_Sec SET Asiento =" + to + " WHERE Cod_Empresa =" +
                             e + " AND Cod_Ejercicio =" + x + " AND Asiento =" + from);
        connection().Execute("UPDATE Movimientos SET Cod_Asiento =" + to + ", Fecha_Apunte ='" +
                             sql::date(newDate) + "'" + ", Fecha_Asiento ='" + sql::date(newDate) +
                             "'" + " WHERE Cod_Empresa =" + e + " AND Cod_Ejercicio =" + x +
                             " AND Cod_Asiento =" + from);
        if (context.TipoImpuesto() == 1) {
            auto book = std::make_shared<clsLibroIgic>();
            book->cEmpresa(empresaRef());
            book->Conexion(connectionRef());
            book->Cambiar_Asiento(lngAsiento_Ant, lngAsiento_Nuevo);
        }
        connection().Execute("UPDATE Previsiones_Pago SET Asiento = " + to +
                             " WHERE Cod_Empresa =" + e + " AND Cod_EjercicioMov =" + x +
                             " AND Asiento =" + from);
        return true;
    });
}

std::string clsMov::rangeCondition(const std::string& from, const std::string& to, Date first,
                                   Date last, const std::string& reconciliation) const {
    return " AND (Cuenta BETWEEN '" + sql::text(from) + "' AND '" + sql::text(to) + "')" +
           " AND (Fecha_Asiento BETWEEN '" + sql::date(first) + "' AND '" + sql::date(last) + "')" +
           reconciliation;
}

bool clsMov::Cambiar_Cuenta(std::string strCuentaI, std::string strCuentaF, std::string strCuentaD,
                            Date dteFechaI, Date dteFechaF, std::int16_t intPunteo) {
    return plainHandler("clsMov::Cambiar_Cuenta", Access::Writes, [&] {
        kvlnmov::cEmpresa& context = empresa();
        checkDatesInExercise(context, "clsMov::Cambiar_Cuenta", dteFechaI, dteFechaF);
        std::string p = sql::reconciliationFilter(intPunteo);
        std::string where = sql::whereCompanyExercise(context);
        std::string selection = rangeCondition(strCuentaI, strCuentaF, dteFechaI, dteFechaF, p);

        db::Recordset lines;
        lines.Open("SELECT Cod_Asiento, Fecha_Asiento, Cuenta, Dpto, Debe, Haber FROM Movimientos" +
                       where + selection,
                   connectionRef());
        for (; !lines.Eof(); lines.MoveNext()) {
            Asiento(lines.Fields("Cod_Asiento").toLong());
            Date date = lines.Fields("Fecha_Asiento").toDate();
            std::int16_t department = lines.Fields("Dpto").toInteger();
            Currency debit = lines.Fields("Debe").toCurrency();
            Currency credit = lines.Fields("Haber").toCurrency();
            Acumulados(false, date, lines.Fields("Cuenta").toText(), department, debit, credit);
            Acumulados(true, date, strCuentaD, department, debit, credit);
        }
        lines.Close();

        // The book finds its records through the lines' old accounts, so it goes first.
        if (context.TipoImpuesto() == 1) {
            auto book = std::make_shared<clsLibroIgic>();
            book->cEmpresa(empresaRef());
            book->Conexion(connectionRef());
            book->Cambiar_Cuenta(strCuentaI, strCuentaF, strCuentaD, dteFechaI, dteFechaF,
                                 intPunteo);
        }
        connection().Execute("UPDATE Movimientos_Sec SET Contrap ='" + sql::text(strCuentaD) + "'" +
                             where + " AND (Contrap BETWEEN '" + sql::text(strCuentaI) + "' AND '" +
                             sql::text(strCuentaF) + "')" +
                             " AND Apunte IN (SELECT Imp_ApunteRef FROM Movimientos" + where +
                             selection + ")");
        connection().Execute("UPDATE Movimientos SET Imp_Contrap ='" + sql::text(strCuentaD) + "'" +
                             ", Cod_Usuario =" + sql::integer(sql::currentUser(context)) +
                             ", FechaUltMod = GETDATE()" + where + " AND (Imp_Contrap BETWEEN '" +
                             sql::text(strCuentaI) + "' AND '" + sql::text(strCuentaF) + "')" +
                             " AND (Fecha_Asiento BETWEEN '" + sql::date(dteFechaI) + "' AND '" +
                             sql::date(dteFechaF) + "')" + p);
        connection().Execute("UPDATE Movimientos SET Cuenta ='" + sql::text(strCuentaD) + "'" +
                             ", Cod_Usuario =" + sql::integer(sql::currentUser(context)) +
                             ", FechaUltMod = GETDATE()" + where + selection);
        return true;
    });
}

}  // namespace kvlnmov
