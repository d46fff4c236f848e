#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "kvlnmov/core/business_object.h"
#include "kvlnmov/frame/currency.h"
#include "kvlnmov/frame/date.h"

namespace kvlnmov {

/// One payment forecast (a due payment) of the current company, a row of `Previsiones_Pago`:
/// an amount to pay to an account on a due date, through a payment method and a bank, with a
/// state. A forecast raised from a posted journal line points back at that line (`ApunteMov`
/// of exercise `Cod_EjercicioMov`) and at its entry (`Asiento`).
///
/// The company written and filtered on is always `cEmpresa.Cod_Empresa`. Texts are written
/// into the statements unescaped, so a quote in one makes the provider's syntax error, which
/// reaches the caller under the operation's source. Sources: "clsPrevPagos:Eliminar",
/// "clsPrevPagos::EliminarxMov", "clsPrevPagos::EliminarxAsiento", "clsPrevPagos:Insertar",
/// "clsPrevPagos:Modificar", "clsPrevPagos:Cargar"; the range operations use
/// "clsPrevPagos:Cambiar_Vtos" (`Cambiar_Vto` and `Cambiar_Banco`),
/// "clsPrevPagos:Cambiar_Estado" (`Cambiar_Estado2`), "clsPrevPagos:Cambiar_EstadoByID" and
/// "clsPrevPagos:Cambiar_BancoByID".
class clsPrevPagos : public BusinessObject {
  public:
    std::string className() const override { return "clsPrevPagos"; }

    /// Forecast number, given by the database on `Insertar`.
    std::int32_t Apunte() const { return apunte_; }
    void Apunte(std::int32_t value) { apunte_ = value; }
    /// Journal line that raised the forecast (0: none).
    std::int32_t ApunteMov() const { return apunteMov_; }
    void ApunteMov(std::int32_t value) { apunteMov_ = value; }
    std::string Cuenta() const { return cuenta_; }
    void Cuenta(std::string value) { cuenta_ = std::move(value); }
    /// Obsolete numeric document: the getter warns "DESCATALOGADO. Use DocumentoSTR" and
    /// returns 0; the setter stores the number's text in `DocumentoSTR` (0 stores "").
    std::int32_t Documento() const;
    void Documento(std::int32_t value);
    /// Entry of the originating line (0: not from an entry).
    std::int32_t Asiento() const { return asiento_; }
    void Asiento(std::int32_t value) { asiento_ = value; }
    /// Document and due dates; the setters drop any time of day.
    Date Fecha_Doc() const { return fechaDoc_; }
    void Fecha_Doc(Date value);
    Date Fecha_Vto() const { return fechaVto_; }
    void Fecha_Vto(Date value);
    std::int16_t FormaPago() const { return formaPago_; }
    void FormaPago(std::int16_t value) { formaPago_ = value; }
    std::string Banco() const { return banco_; }
    void Banco(std::string value) { banco_ = std::move(value); }
    Currency Importe() const { return importe_; }
    void Importe(Currency value) { importe_ = value; }
    std::int16_t Estado() const { return estado_; }
    void Estado(std::int16_t value) { estado_ = value; }
    std::string CuentaOriginal() const { return cuentaOriginal_; }
    void CuentaOriginal(std::string value) { cuentaOriginal_ = std::move(value); }
    std::int16_t Dpto() const { return dpto_; }
    void Dpto(std::int16_t value) { dpto_ = value; }
    /// Document reference (column `Documento`).
    std::string DocumentoSTR() const { return documento_; }
    void DocumentoSTR(std::string value) { documento_ = std::move(value); }
    std::string Documento2() const { return documento2_; }
    void Documento2(std::string value) { documento2_ = std::move(value); }
    /// Exercise of the journal line `ApunteMov` (0: none or unknown).
    std::int16_t Cod_EjercicioMov() const { return codEjercicioMov_; }
    void Cod_EjercicioMov(std::int16_t value) { codEjercicioMov_ = value; }

    /// Deletes forecast `Apunte`.
    bool Eliminar();
    /// Deletes the forecasts of line `ApunteMov` in exercise `Cod_EjercicioMov` and those of
    /// the line with exercise 0. Raises 1 "No se ha establecido el número de apunte asociado
    /// al movimiento" / "No se ha establecido el ejercicio asociado al movimiento".
    bool EliminarxMov();
    /// Deletes the forecasts raised by the lines of entry `lngAsiento` of the working
    /// exercise; the lines must still exist. Raises 1 "No se ha establecido el número de
    /// asiento contable" / "No se ha establecido el ejercicio asociado al movimiento".
    bool EliminarxAsiento(std::int32_t lngAsiento);
    /// Adds the forecast and sets `Apunte` to its new number; a forecast of an entry also
    /// gets its `Previsiones_Pago_Asientos` row. Raises 1000 "No se ha especificado el
    /// ejercicio/apunte del movimeinto asociado" when `Asiento` > 0 lacks its line, and 1000
    /// "Error. No se ha insertado la previsión." when no number came back.
    bool Insertar();
    /// Rewrites forecast `Apunte` (not `Dpto`, `ApunteMov`, `Cod_EjercicioMov`). Raises 1 "No
    /// se ha establecido el código de apunte" when `Apunte` is 0.
    bool Modificar();
    /// Loads forecast `Apunte` (of this object) into `clsPrev` when given, else into this
    /// object; `Asiento` is not loaded. True also when there is no such forecast (nothing
    /// changes then).
    bool Cargar(std::optional<std::shared_ptr<clsPrevPagos>> clsPrev);

    /// Moves to `dteVto` the forecasts whose account and due date fall in the ranges
    /// (optionally of payment method `intFPago` and bank `strBanco`); returns how many.
    std::int16_t Cambiar_Vto(std::string strCuentaI, std::string strCuentaF, Date dteFechaI,
                             Date dteFechaF, Date dteVto, std::int16_t intFPago,
                             std::string strBanco);
    /// Moves the selected forecasts of bank `strBanco` to `strNuevoBanco`; returns how many.
    std::int16_t Cambiar_Banco(std::string strCuentaI, std::string strCuentaF, Date dteFechaI,
                               Date dteFechaF, std::int16_t intFPago, std::string strBanco,
                               std::string strNuevoBanco);
    /// Withdrawn: shows the notice "DESCATALOGADO. Use Cambiar_Estado2 para Documento
    /// alfanumerico", changes nothing and returns 0.
    std::int16_t Cambiar_Estado(std::string strCuentaI, std::string strCuentaF, Date dteFechaI,
                                Date dteFechaF, std::int16_t intFPago, std::string strBanco,
                                std::int32_t lngDocumento, bool bolEstado);
    /// Sets the state (1 or 0) of the selected forecasts of document `strDocumento`; returns
    /// how many.
    std::int16_t Cambiar_Estado2(std::string strCuentaI, std::string strCuentaF, Date dteFechaI,
                                 Date dteFechaF, std::int16_t intFPago, std::string strBanco,
                                 std::string strDocumento, bool bolEstado);
    /// Sets the state of forecast `lngApunte`, of whatever company; returns how many.
    std::int16_t Cambiar_EstadoByID(std::int32_t lngApunte, bool bolEstado);
    /// Sets the bank of forecast `lngApunte`; returns how many.
    std::int16_t Cambiar_BancoByID(std::int32_t lngApunte, std::string strCtaBanco);

  private:
    /// " WHERE Cod_Empresa =" ... with the account and due-date ranges of the range
    /// operations.
    std::string rangeCondition(const std::string& strCuentaI, const std::string& strCuentaF,
                               Date dteFechaI, Date dteFechaF);

    std::int32_t apunte_ = 0;
    std::int32_t apunteMov_ = 0;
    std::string cuenta_;
    std::int32_t asiento_ = 0;
    Date fechaDoc_;
    Date fechaVto_;
    std::int16_t formaPago_ = 0;
    std::string banco_;
    Currency importe_;
    std::int16_t estado_ = 0;
    std::string cuentaOriginal_;
    std::int16_t dpto_ = 0;
    std::string documento_;
    std::string documento2_;
    std::int16_t codEjercicioMov_ = 0;
};

}  // namespace kvlnmov
