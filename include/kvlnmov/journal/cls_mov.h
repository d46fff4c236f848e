#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "kvlnmov/db/command.h"
#include "kvlnmov/core/business_object.h"
#include "kvlnmov/frame/currency.h"
#include "kvlnmov/frame/date.h"
#include "kvlnmov/frame/enums.h"
#include "kvlnmov/core/handlers.h"

namespace kvlnmov {

/// A journal line ("apunte"): one debit or credit of one account inside a journal entry, a
/// row of `Movimientos`. Posting, changing and deleting a line keep the running balances of
/// `Acumulados` and `Acumulados_Dpto` (per account at every level of the chart, and per
/// department) current through `Acumulados`.
///
/// The object keeps for its whole life a prepared command for the line-number procedure
/// "CON_DevMovApunte" and remembers the exercise and entry of its last closed-exercise check.
/// Operations run under the retrying handler (a failing statement is run again up to six
/// times, yielding to the application between attempts) unless stated otherwise; checks
/// raise error 1000 with the sources given below.
class clsMov : public BusinessObject {
  public:
    clsMov();
    ~clsMov() override;
    std::string className() const override { return "clsMov"; }

    std::int32_t Asiento() const { return asiento_; }
    void Asiento(std::int32_t value) { asiento_ = value; }
    std::int32_t Apunte() const { return apunte_; }
    void Apunte(std::int32_t value) { apunte_ = value; }
    std::string Cuenta() const { return cuenta_; }
    void Cuenta(std::string value) { cuenta_ = std::move(value); }
    std::string Cto_Aut() const { return ctoAut_; }
    void Cto_Aut(std::string value) { ctoAut_ = std::move(value); }
    /// Line description; at most 60 characters are stored.
    std::string Concepto() const { return concepto_; }
    void Concepto(std::string value) { concepto_ = std::move(value); }
    std::string DocumentoSTR() const { return documento_; }
    void DocumentoSTR(std::string value) { documento_ = std::move(value); }
    std::int16_t Diario() const { return diario_; }
    void Diario(std::int16_t value) { diario_ = value; }
    std::int16_t Dpto() const { return dpto_; }
    void Dpto(std::int16_t value) { dpto_ = value; }
    Currency Debe() const { return debe_; }
    void Debe(Currency value) { debe_ = value; }
    Currency Haber() const { return haber_; }
    void Haber(Currency value) { haber_ = value; }
    std::int16_t Punteo() const { return punteo_; }
    void Punteo(std::int16_t value) { punteo_ = value; }
    bool M347() const { return m347_; }
    void M347(bool value) { m347_ = value; }
    std::int32_t Imp_Apunte_Ref() const { return impApunteRef_; }
    void Imp_Apunte_Ref(std::int32_t value) { impApunteRef_ = value; }
    enmPropietario_Apunte Imp_Prop() const { return impProp_; }
    void Imp_Prop(enmPropietario_Apunte value) { impProp_ = value; }
    Currency Imp_Base() const { return impBase_; }
    void Imp_Base(Currency value) { impBase_ = value; }
    std::int16_t Imp_Tipo() const { return impTipo_; }
    void Imp_Tipo(std::int16_t value) { impTipo_ = value; }
    enmOperacion_Impuestos Imp_Op() const { return impOp_; }
    void Imp_Op(enmOperacion_Impuestos value) { impOp_ = value; }
    std::string Imp_Contrapartida() const { return impContrapartida_; }
    void Imp_Contrapartida(std::string value) { impContrapartida_ = std::move(value); }
    /// Side flag kept for the caller; no operation reads it.
    bool AlDebe() const { return alDebe_; }
    void AlDebe(bool value) { alDebe_ = value; }
    /// Obsolete numeric document: the getter warns "DESCATALOGADO. Use DocumentoSTR" and
    /// returns 0; the setter stores the number's text in `DocumentoSTR` (0 stores "").
    std::int32_t Documento() const;
    void Documento(std::int32_t value);
    /// Line date; the setter drops any time of day.
    Date Fecha() const { return fecha_; }
    void Fecha(Date value);
    /// Entry date; the setter drops any time of day.
    Date Fecha_Asiento() const { return fechaAsiento_; }
    void Fecha_Asiento(Date value);
    Currency Imp_Cuota() const { return impCuota_; }
    void Imp_Cuota(Currency value) { impCuota_ = value; }

    /// Deletes every secondary record of line `lngApunte` (plain handler,
    /// "clsMov::EliminarSec").
    bool EliminarSec(std::int32_t lngApunte);
    /// Posts the line: checks the exercise dates ("Fecha fuera de ejercicio contable"), the
    /// closed exercise ("Bloqueado. Intento de modificación de un ejercicio cerrado."), the
    /// account length, takes the number from "CON_DevMovApunte" (0 raises "Error al recuperar
    /// número de apunte", source "clsMov.Insertar"), writes the row and adds the amounts to
    /// the balances. Sets `Apunte`.
    bool Insertar();
    /// Rewrites line `Apunte` from the properties: takes the stored amounts out of the
    /// balances, updates the row (none updated raises "Error. No se ha modificado el
    /// apunte.", source "Mov::Modificar") and adds the new amounts.
    bool Modificar();
    /// Deletes line `Apunte` of entry `Asiento`: balances, bank items matched to it, a copy in
    /// `Movimientos_Eliminados`, its SII registration and the row.
    bool Eliminar();
    /// Copies every line of entry `lngAsiento_Ant` into the existing entry
    /// `lngAsiento_Nuevo`, posting each copy through `Insertar` (plain handler).
    bool Duplicar_Asiento(std::int32_t lngAsiento_Ant, std::int32_t lngAsiento_Nuevo);
    /// Moves every line of entry `lngAsiento_Ant` to `lngAsiento_Nuevo` with its date,
    /// secondary lines, IGIC book records (when the company keeps that book) and payment
    /// forecasts, and the balances from the old date's period to the new one (plain handler).
    bool Cambiar_Asiento(std::int32_t lngAsiento_Ant, std::int32_t lngAsiento_Nuevo);
    /// Re-posts the lines of an account range and date range (optionally only the reconciled,
    /// 1, or unreconciled, 2, ones) to account `strCuentaD` (plain handler).
    bool Cambiar_Cuenta(std::string strCuentaI, std::string strCuentaF, std::string strCuentaD,
                        Date dteFechaI, Date dteFechaF, std::int16_t intPunteo);
    /// Writes `Punteo` to line `Apunte` of the exercise holding `Fecha`.
    bool Puntear();
    /// Writes `M347` (1 or 0) to line `Apunte` of the exercise holding `Fecha`.
    bool Puntear347();
    /// Adds one secondary record to line `lngApunte`.
    bool InsertarSec(std::int32_t lngApunte, std::string strContrap, Currency dblBase,
                     std::int16_t intOp, std::int32_t lngAsiento, std::int16_t intDpto,
                     std::int16_t intImp_Tipo, Currency curCuota);
    /// Writes the concept (cut to 60 characters) of line `Apunte`.
    bool Modificar_Concepto();
    /// Writes the document of line `Apunte`.
    bool Modificar_Documento();
    /// Adds (`bolAdd` True) or takes away one amount of the line's account at the period of
    /// `dteFecha` (or in the opening/closing column, by the kind of entry `Asiento`), in the
    /// account's rows and its summary accounts' rows of both balance tables.
    void Acumulados(bool bolAdd, Date dteFecha, std::string strCuenta, std::int16_t intDpto,
                    Currency curDebe, Currency curHaber);
    /// Fills the placeholder "%name$width%" chosen by `strMask` in `strConcepto` with the first
    /// width characters of `strValor`.
    std::string AjustarConcepto(std::string strConcepto, std::string strMask, std::string strValor);
    /// Links line `lngApunte` to its SII invoice record in `Movimientos_SII` (updates the row of
    /// the same key or inserts one); the result is always Empty. No handler of its own.
    Variant InsertarSII(std::int32_t lngApunte, std::int16_t intTipoLibro,
                        std::int32_t lngIDLibroFactura, std::int16_t intTipoFactura,
                        std::string strNumSerieFacturaEmisor, Date dteFechaFacturaEmisor);
    /// Quick edit of department, document and concept of line `Apunte`, moving the balances
    /// between departments when the department changed.
    bool Modificar_F7();

  private:
    /// The closed-exercise check shared by Insertar, Modificar, Eliminar and Modificar_F7.
    void checkOpenExercise(RetryHandler& handler);
    /// The stored line `Apunte` (entry, date, account, department, amounts), if it exists.
    struct StoredLine {
        std::int32_t asiento = 0;
        Date fechaAsiento;
        std::string cuenta;
        std::int16_t dpto = 0;
        Currency debe;
        Currency haber;
    };
    std::optional<StoredLine> readStoredLine(RetryHandler& handler);
    std::string keyClause() const;
    /// The account/date/reconciliation selection shared by the account reassignment
    /// statements.
    std::string rangeCondition(const std::string& from, const std::string& to, Date first,
                               Date last, const std::string& reconciliation) const;

    std::int32_t asiento_ = 0;
    std::int32_t apunte_ = 0;
    std::string cuenta_;
    std::string ctoAut_;
    std::string concepto_;
    std::string documento_;
    std::int16_t diario_ = 0;
    std::int16_t dpto_ = 0;
    Currency debe_;
    Currency haber_;
    std::int16_t punteo_ = 0;
    bool m347_ = false;
    std::int32_t impApunteRef_ = 0;
    enmPropietario_Apunte impProp_ = enmPropietario_Apunte::kvNinguno;
    Currency impBase_;
    std::int16_t impTipo_ = 0;
    enmOperacion_Impuestos impOp_ = enmOperacion_Impuestos::kvNinguna;
    std::string impContrapartida_;
    bool alDebe_ = false;
    Date fecha_;
    Date fechaAsiento_;
    Currency impCuota_;

    /// Exercise and entry of the last closed-exercise check that passed or was skipped.
    std::int16_t checkedExercise_ = 0;
    std::int32_t checkedEntry_ = 0;
    std::shared_ptr<db::Command> cmdDevMovApunte_;
};

}  // namespace kvlnmov
