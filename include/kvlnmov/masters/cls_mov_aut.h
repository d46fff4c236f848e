#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "kvlnmov/db/recordset.h"
#include "kvlnmov/core/business_object.h"
#include "kvlnmov/frame/currency.h"

namespace kvlnmov {

/// One line of an automatic entry template (table `Apuntes_Aut`): account, concept,
/// document, journal, department and an amount or percentage (as the template's `Tipo`
/// says). A line is identified by `Apunte`, a number the database gives on insertion.
///
/// Failures are raised with the sources "clsMovAut::Insertar", "clsMovAut::Eliminar",
/// "clsMovAut::Modificar" and "clsMovAut::Cargar". Texts are written into the statements
/// unescaped, so a quote in one makes the provider's syntax error.
class clsMovAut : public BusinessObject {
  public:
    std::string className() const override { return "clsMovAut"; }

    /// Template code the line belongs to.
    std::string Asiento() const { return asiento_; }
    void Asiento(std::string value) { asiento_ = std::move(value); }
    /// Line number, given by the database on `Insertar`.
    std::int32_t Apunte() const { return apunte_; }
    void Apunte(std::int32_t value) { apunte_ = value; }
    std::string Cuenta() const { return cuenta_; }
    void Cuenta(std::string value) { cuenta_ = std::move(value); }
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
    /// An amount, or a percentage when the template is of the percentage kind.
    Currency Importe() const { return importe_; }
    void Importe(Currency value) { importe_ = value; }
    bool Tipo() const { return tipo_; }
    void Tipo(bool value) { tipo_ = value; }

    /// Adds the line and sets `Apunte` to its new number. Raises 1000 "Error. No se ha
    /// insertado el apunte automático." when no number came back.
    bool Insertar();
    /// Deletes line `Apunte` (True also when there was none).
    bool Eliminar();
    /// Rewrites line `Apunte`. Raises 1000 "Error. No se ha modificado el apunte." when there
    /// is no such line.
    bool Modificar();
    /// Opens the caller's `recAp` (static, read-only) on the lines of template `Asiento` of
    /// the company, in `Apunte` order, that is, in order of insertion; the caller reads and
    /// closes it. True also when the template has no lines.
    bool Cargar(std::shared_ptr<db::Recordset> recAp);

    /// Document reference (column `Documento`).
    std::string DocumentoSTR() const { return documento_; }
    void DocumentoSTR(std::string value) { documento_ = std::move(value); }

  private:
    std::string asiento_;
    std::int32_t apunte_ = 0;
    std::string cuenta_;
    std::string concepto_;
    std::int16_t diario_ = 0;
    std::int16_t dpto_ = 0;
    Currency importe_;
    bool tipo_ = false;
    std::string documento_;
};

}  // namespace kvlnmov
