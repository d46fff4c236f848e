#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "kvlnmov/core/business_object.h"
#include "kvlnmov/frame/currency.h"
#include "kvlnmov/frame/date.h"

namespace kvlnmov {

/// One collection forecast (a due receivable) of the current company, a row of
/// `Previsiones_Cobro`, with its collector, agent, remittance and document bank. A new
/// forecast belongs to the exercise current in `cEmpresa`; it is tied to no journal line
/// (`ApunteMov` and `Remesa` are stored as 0) and has no link table.
///
/// The line-based deletions and the range operations are inert placeholders: they return
/// False or 0 and do nothing. Sources: "PrevCobro::Eliminar", "PrevCobro::Insertar",
/// "PrevCobro::Modificar", "PrevCobro::Cargar". Texts are written into the statements
/// unescaped, so a quote in one makes the provider's syntax error.
class clsPrevCobros : public BusinessObject {
  public:
    std::string className() const override { return "clsPrevCobros"; }

    /// Forecast number, given by the database on `Insertar`.
    std::int32_t Apunte() const { return apunte_; }
    void Apunte(std::int32_t value) { apunte_ = value; }
    /// Held only: `Insertar` stores 0 and `Cargar` does not load it.
    std::int32_t ApunteMov() const { return apunteMov_; }
    void ApunteMov(std::int32_t value) { apunteMov_ = value; }
    std::string Cuenta() const { return cuenta_; }
    void Cuenta(std::string value) { cuenta_ = std::move(value); }
    /// Obsolete numeric document: the getter warns "DESCATALOGADO. Use DocumentoSTR" and
    /// returns 0; the setter stores the number's text in `DocumentoSTR` (0 stores "").
    std::int32_t Documento() const;
    void Documento(std::int32_t value);
    std::int32_t Asiento() const { return asiento_; }
    void Asiento(std::int32_t value) { asiento_ = value; }
    /// Document and due dates; the setters drop any time of day.
    Date Fecha_Doc() const { return fechaDoc_; }
    void Fecha_Doc(Date value);
    Date Fecha_Vto() const { return fechaVto_; }
    void Fecha_Vto(Date value);
    std::int16_t FormaCobro() const { return formaCobro_; }
    void FormaCobro(std::int16_t value) { formaCobro_ = value; }
    std::string Banco() const { return banco_; }
    void Banco(std::string value) { banco_ = std::move(value); }
    Currency Importe() const { return importe_; }
    void Importe(Currency value) { importe_ = value; }
    std::int16_t Estado() const { return estado_; }
    void Estado(std::int16_t value) { estado_ = value; }
    std::int16_t Cobrador() const { return cobrador_; }
    void Cobrador(std::int16_t value) { cobrador_ = value; }
    std::int16_t Agente() const { return agente_; }
    void Agente(std::int16_t value) { agente_ = value; }
    std::string CuentaOriginal() const { return cuentaOriginal_; }
    void CuentaOriginal(std::string value) { cuentaOriginal_ = std::move(value); }
    std::int16_t BancoDoc() const { return bancoDoc_; }
    void BancoDoc(std::int16_t value) { bancoDoc_ = value; }
    /// Remittance number: `Insertar` stores 0, `Modificar` leaves it, `Cargar` loads it.
    std::int32_t Remesa() const { return remesa_; }
    void Remesa(std::int32_t value) { remesa_ = value; }
    /// Document reference (column `Documento`).
    std::string DocumentoSTR() const { return documento_; }
    void DocumentoSTR(std::string value) { documento_ = std::move(value); }

    /// Deletes forecast `Apunte`.
    bool Eliminar();
    /// Placeholder: does nothing, returns False.
    bool EliminarxMov();
    /// Placeholder: does nothing, returns False.
    bool EliminarxAsiento(std::int32_t lngAsiento);
    /// Adds the forecast in the working exercise and sets `Apunte` to its new number. Raises
    /// 1000 "Error. No se ha insertado la previsión." when no number came back.
    bool Insertar();
    /// Rewrites forecast `Apunte` (not `Remesa`, `ApunteMov`, company or exercise); a number
    /// that does not exist changes nothing.
    bool Modificar();
    /// Loads forecast `Apunte` (of this object) into `clsPrev` when given, else into this
    /// object, `Asiento` and `Remesa` included. True also when there is no such forecast.
    bool Cargar(std::optional<std::shared_ptr<clsPrevCobros>> clsPrev);
    /// Placeholders: do nothing, return 0.
    std::int16_t Cambiar_Vto(std::string strCuentaI, std::string strCuentaF, Date dteFechaI,
                             Date dteFechaF, Date dteVto, std::int16_t intFCobro,
                             std::string strBanco);
    std::int16_t Cambiar_Banco(std::string strCuentaI, std::string strCuentaF, Date dteFechaI,
                               Date dteFechaF, std::int16_t intFCobro, std::string strBanco,
                               std::string strNuevoBanco);
    std::int16_t Cambiar_Estado(std::string strCuentaI, std::string strCuentaF, Date dteFechaI,
                                Date dteFechaF, std::int16_t intFCobro, std::string strBanco,
                                std::int16_t intEstado);

  private:
    std::int32_t apunte_ = 0;
    std::int32_t apunteMov_ = 0;
    std::string cuenta_;
    std::int32_t asiento_ = 0;
    Date fechaDoc_;
    Date fechaVto_;
    std::int16_t formaCobro_ = 0;
    std::string banco_;
    Currency importe_;
    std::int16_t estado_ = 0;
    std::int16_t cobrador_ = 0;
    std::int16_t agente_ = 0;
    std::string cuentaOriginal_;
    std::int16_t bancoDoc_ = 0;
    std::int32_t remesa_ = 0;
    std::string documento_;
};

}  // namespace kvlnmov
