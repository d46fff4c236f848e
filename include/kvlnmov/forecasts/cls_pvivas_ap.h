#pragma once

#include <cstdint>
#include <string>

#include "kvlnmov/core/business_object.h"
#include "kvlnmov/frame/currency.h"
#include "kvlnmov/frame/date.h"

namespace kvlnmov {

/// One open item of the opening (table `PVivas_Apertura`): a pending document that makes up
/// part of an account's balance when the exercise is opened, attached to the opening entry by
/// its number. Reading the items is left to the application.
///
/// Sources, both spellings on purpose: "PVivas_Ap::Insertar", "PVivasAp::Modificar",
/// "PVivas_Ap::Eliminar". Texts are written into the statements unescaped, so a quote in one
/// makes the provider's syntax error.
class clsPVivasAp : public BusinessObject {
  public:
    std::string className() const override { return "clsPVivasAp"; }

    /// Item number, given by the database on `Insertar`.
    std::int32_t Apunte() const { return apunte_; }
    void Apunte(std::int32_t value) { apunte_ = value; }
    /// Opening entry number (column `Cod_Asiento`).
    std::int32_t Asiento() const { return asiento_; }
    void Asiento(std::int32_t value) { asiento_ = value; }
    /// Date of the opening entry and of the line the item comes from; the setters drop any
    /// time of day.
    Date Fecha() const { return fecha_; }
    void Fecha(Date value);
    Date Fecha_Apunte() const { return fechaApunte_; }
    void Fecha_Apunte(Date value);
    std::string Cuenta() const { return cuenta_; }
    void Cuenta(std::string value) { cuenta_ = std::move(value); }
    /// Automatic-concept code: held by the object, never stored.
    std::string Cto_Aut() const { return ctoAut_; }
    void Cto_Aut(std::string value) { ctoAut_ = std::move(value); }
    std::string Concepto() const { return concepto_; }
    void Concepto(std::string value) { concepto_ = std::move(value); }
    /// Obsolete numeric document: the getter warns "DESCATALOGADO. Use DocumentoSTR" and
    /// returns 0; the setter stores the number's text in `DocumentoSTR` (0 stores "").
    std::int32_t Documento() const;
    void Documento(std::int32_t value);
    std::int16_t Diario() const { return diario_; }
    void Diario(std::int16_t value) { diario_ = value; }
    std::int16_t Dpto() const { return dpto_; }
    void Dpto(std::int16_t value) { dpto_ = value; }
    Currency Debe() const { return debe_; }
    void Debe(Currency value) { debe_ = value; }
    Currency Haber() const { return haber_; }
    void Haber(Currency value) { haber_ = value; }
    /// Document reference (column `Documento`).
    std::string DocumentoSTR() const { return documento_; }
    void DocumentoSTR(std::string value) { documento_ = std::move(value); }

    /// Adds the item to the working exercise and sets `Apunte` to its new number. Nothing is
    /// validated first. Raises 1000 "Error. No se ha insertado la partida." when no number
    /// came back.
    bool Insertar();
    /// Rewrites item `Apunte` (not its company or exercise). Raises 1000 "Error. No se ha
    /// modificado el apunte." when there is no such item.
    bool Modificar();
    /// Deletes item `Apunte` (True also when there was none).
    bool Eliminar();

  private:
    std::int32_t apunte_ = 0;
    std::int32_t asiento_ = 0;
    Date fecha_;
    Date fechaApunte_;
    std::string cuenta_;
    std::string ctoAut_;
    std::string concepto_;
    std::int16_t diario_ = 0;
    std::int16_t dpto_ = 0;
    Currency debe_;
    Currency haber_;
    std::string documento_;
};

}  // namespace kvlnmov
