#include "kvlnmov/journal/cls_asiento.h"

#include "journal/open_exercise.h"
#include "kvlnmov/db/recordset.h"
#include "kvlnmov/core/handlers.h"
#include "kvlnmov/core/library.h"
#include "kvlnmov/core/sql_text.h"

namespace kvlnmov {

clsAsiento::clsAsiento() : cmdDevAsiento_(std::make_shared<db::Command>()) {
    cmdDevAsiento_->CommandType(db::CommandType::StoredProc);
    cmdDevAsiento_->CommandText("CON_DevAsiento");
    auto& parameters = cmdDevAsiento_->Parameters();
    using db::DataType;
    using db::ParameterDirection;
    parameters.Append(
        db::Command::CreateParameter("Cod_Empresa", DataType::SmallInt, ParameterDirection::Input));
    parameters.Append(db::Command::CreateParameter("Cod_Ejercicio", DataType::SmallInt,
                                                   ParameterDirection::Input));
    parameters.Append(
        db::Command::CreateParameter("Mes", DataType::TinyInt, ParameterDirection::Input));
    parameters.Append(
        db::Command::CreateParameter("Dia", DataType::TinyInt, ParameterDirection::Input));
    parameters.Append(
        db::Command::CreateParameter("TipoNum", DataType::TinyInt, ParameterDirection::Input));
    parameters.Append(
        db::Command::CreateParameter("Asiento", DataType::Integer, ParameterDirection::Output));
}

clsAsiento::~clsAsiento() { cmdDevAsiento_->ActiveConnection(nullptr); }

void clsAsiento::Conexion(db::ConnectionRef connection) {
    replaceConnection(std::move(connection));
}

void clsAsiento::Fecha(Date value) { fecha_ = sql::normalizeDate(value); }

bool clsAsiento::Insertar() {
    return retryingHandler(
        "clsAsiento:Insertar", RetryKind::Everything, [&](RetryHandler& handler) {
            kvlnmov::cEmpresa& context = empresa(handler);
            std::string company = sql::integer(context.Cod_Empresa());
            std::string exercise = sql::integer(context.Cod_Ejercicio());
            std::string where = sql::whereCompanyExercise(context);

            bool open = handler.statement(
                [&] { return journal::isExerciseOpen(connectionRef(), context); });
            if (!open) {
                handler.raise(errc::kCheck, "Asientos::Insertar",
                              "Empresa: " + company + " No existe el ejercicio " + exercise +
                                  " o está cerrado");
            }
            if (outsideExercise(context, fecha_)) {
                handler.raise(
                    errc::kCheck, "Asientos::Insertar",
                    "Empresa: " + company + " Fecha de asiento fuera de ejercicio contable");
            }

            std::int32_t month = fecha_.month();
            std::int32_t day = fecha_.day();
            if (cierre_) {
                bool firstDay = fecha_ == context.FechaInicio();
                switch (context.TipoNumeracion()) {
                    case 0:
                        codigo_ = firstDay ? 0 : 999999;
                        break;
                    case 1:
                        codigo_ = month * 100000 + day * 1000 + (firstDay ? 0 : 999);
                        break;
                    case 2:
                        codigo_ = month * 1000000 + day * 10000 + (firstDay ? 0 : 9999);
                        break;
                    default:
                        break;
                }
                // The opening or closing entry is rebuilt as a whole by the caller: the old one's
                // header and lines go, without touching balances or tax books.
                handler.statement([&] {
                    connection().Execute("DELETE FROM Asientos" + where +
                                         " AND Codigo =" + sql::integer(codigo_));
                });
                handler.statement([&] {
                    connection().Execute("DELETE FROM Movimientos" + where +
                                         " AND Cod_Asiento =" + sql::integer(codigo_));
                });
            } else {
                handler.statement([&] {
                    cmdDevAsiento_->ActiveConnection(connectionRef());
                    auto& parameters = cmdDevAsiento_->Parameters();
                    parameters("Cod_Empresa").value = Variant(context.Cod_Empresa());
                    parameters("Cod_Ejercicio").value = Variant(context.Cod_Ejercicio());
                    parameters("Mes").value = Variant(static_cast<std::uint8_t>(month));
                    parameters("Dia").value = Variant(static_cast<std::uint8_t>(day));
                    parameters("TipoNum").value = Variant(context.TipoNumeracion());
                    cmdDevAsiento_->Execute();
                    codigo_ = parameters("Asiento").value.toLong();
                    cmdDevAsiento_->ActiveConnection(nullptr);
                });
                if (codigo_ == 0) {
                    handler.raise(1, "clsAsiento.Insertar", "Error al recuperar número de asiento");
                }
            }

            handler.statement([&] {
                bool external = !codigoExterno_.empty();
                connection().Execute(
                    "INSERT INTO Asientos (Cod_Empresa, Cod_Ejercicio, Codigo, Fecha, Cierre, "
                    "Usuario" +
                    std::string(external ? ", CodigoExterno" : "") + ") VALUES(" + company + ", " +
                    exercise + ", " + sql::integer(codigo_) + ", '" + sql::date(fecha_) + "', " +
                    sql::flag(cierre_) + ", " + sql::integer(usuario_) +
                    (external ? ", '" + sql::text(codigoExterno_) + "'" : std::string()) + ")");
            });
            return true;
        });
}

bool clsAsiento::Cargar() {
    return plainHandler("Asientos::Cargar", Access::Reads, [&] {
        kvlnmov::cEmpresa& context = empresa();
        db::Recordset row;
        row.Open(
            "SELECT a.Fecha, a.Nulo, a.Cierre, a.Usuario, ISNULL(a.FechaCreacion,'') AS "
            "FechaCreacion, ISNULL(a.FechaUltMod,'') AS FechaUltMod,"
            " ISNULL(a.Observaciones, '') AS Observaciones, ISNULL(b.Usuario, 0) AS "
            "UsuarioBloqueo, ISNULL(a.CodigoExterno, '') AS CodigoExterno"
            " FROM Asientos a"
            " LEFT JOIN Asientos_Bloqueo b"
            " ON a.Cod_Empresa = b.Cod_Empresa AND a.Cod_Ejercicio = b.Cod_Ejercicio AND a.Codigo "
            "= b.Codigo"
            " WHERE a.Cod_Empresa =" +
                sql::integer(context.Cod_Empresa()) + " AND a.Cod_Ejercicio =" +
                sql::integer(context.Cod_Ejercicio()) + " AND a.Codigo =" + sql::integer(codigo_),
            connectionRef());
        if (row.Eof()) return false;
        fecha_ = row.Fields("Fecha").toDate();
        Nulo(row.Fields("Nulo").toBoolean());
        Cierre(row.Fields("Cierre").toBoolean());
        Usuario(row.Fields("Usuario").toInteger());
        UsuarioBloqueo(row.Fields("UsuarioBloqueo").toInteger());
        FechaCreacion(row.Fields("FechaCreacion").toDate());
        FechaUltimaModificacion(row.Fields("FechaUltMod").toDate());
        Observaciones(row.Fields("Observaciones").toText());
        CodigoExterno(row.Fields("CodigoExterno").toText());
        return true;
    });
}

bool clsAsiento::Existe() {
    return plainHandler("Asientos::Existe", Access::Reads, [&] {
        db::Recordset row;
        row.Open("SELECT Codigo FROM Asientos" + sql::whereCompanyExercise(empresa()) +
                     " AND Codigo =" + sql::integer(codigo_),
                 connectionRef());
        return !row.Eof();
    });
}

bool clsAsiento::Recuperar() {
    return plainHandler("Asientos::Recuperar", Access::Writes, [&] {
        connection().Execute("UPDATE Asientos SET Nulo = 0" + sql::whereCompanyExercise(empresa()) +
                             " AND Codigo =" + sql::integer(codigo_));
        return true;
    });
}

void clsAsiento::Imprimir(std::string) {
    throw Error(errc::kCheck, "clsAsiento::Imprimir",
                "La impresión de asientos no está disponible en esta versión de la librería.");
}

}  // namespace kvlnmov
