#include "kvlnmov/journal/cls_mov.h"

#include "journal/open_exercise.h"
#include "kvlnmov/db/recordset.h"
#include "kvlnmov/core/obsolete.h"
#include "kvlnmov/core/sql_text.h"

namespace kvlnmov {

clsMov::clsMov() : cmdDevMovApunte_(std::make_shared<db::Command>()) {
    cmdDevMovApunte_->CommandType(db::CommandType::StoredProc);
    cmdDevMovApunte_->CommandText("CON_DevMovApunte");
    auto& parameters = cmdDevMovApunte_->Parameters();
    parameters.Append(db::Command::CreateParameter("Cod_Empresa", db::DataType::SmallInt,
                                                   db::ParameterDirection::Input));
    parameters.Append(db::Command::CreateParameter("Cod_Ejercicio", db::DataType::SmallInt,
                                                   db::ParameterDirection::Input));
    parameters.Append(db::Command::CreateParameter("Apunte", db::DataType::Integer,
                                                   db::ParameterDirection::Output));
}

clsMov::~clsMov() { cmdDevMovApunte_->ActiveConnection(nullptr); }

std::int32_t clsMov::Documento() const { return warnObsolete(kDocumentoNotice); }

void clsMov::Documento(std::int32_t value) { documento_ = documentText(value); }

void clsMov::Fecha(Date value) { fecha_ = sql::normalizeDate(value); }

void clsMov::Fecha_Asiento(Date value) { fechaAsiento_ = sql::normalizeDate(value); }

std::string clsMov::keyClause() const {
    return sql::whereCompanyExercise(empresa()) + " AND Apunte =" + sql::integer(apunte_);
}

void clsMov::checkOpenExercise(RetryHandler& handler) {
    std::int16_t exercise = empresa().Cod_Ejercicio();
    if (exercise != checkedExercise_ && asiento_ != checkedEntry_) {
        bool open =
            handler.statement([&] { return journal::isExerciseOpen(connectionRef(), empresa()); });
        if (!open) {
            throw Error(errc::kCheck, "clsMov::Insertar",
                        "Bloqueado. Intento de modificación de un ejercicio cerrado.");
        }
    }
    checkedExercise_ = exercise;
    checkedEntry_ = asiento_;
}

std::optional<clsMov::StoredLine> clsMov::readStoredLine(RetryHandler& handler) {
    return handler.statement([&]() -> std::optional<StoredLine> {
        db::Recordset row;
        row.Open("SELECT Cod_Asiento, Fecha_Asiento, Cuenta, Dpto, Debe, Haber FROM Movimientos" +
                     keyClause(),
                 connectionRef());
        if (row.Eof()) return std::nullopt;
        StoredLine line;
        line.asiento = row.Fields("Cod_Asiento").toLong();
        line.fechaAsiento = row.Fields("Fecha_Asiento").toDate();
        line.cuenta = row.Fields("Cuenta").toText();
        line.dpto = row.Fields("Dpto").toInteger();
        line.debe = row.Fields("Debe").toCurrency();
        line.haber = row.Fields("Haber").toCurrency();
        return line;
    });
}

}  // namespace kvlnmov
