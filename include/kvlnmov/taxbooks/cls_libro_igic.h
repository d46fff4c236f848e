#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "kvlnmov/core/business_object.h"
#include "kvlnmov/frame/currency.h"
#include "kvlnmov/frame/date.h"
#include "kvlnmov/frame/enums.h"

namespace kvlnmov {

/// One record of the indirect-tax invoice book (invoices received, issued or capital goods)
/// for one journal line, with its rate lines, kept under IGIC (tables `Igic`, `Igic_Lineas`)
/// or IVA (`Iva`, `Iva_Lineas`) by `TipoIgIV` (2 is IVA, anything else IGIC; a new object is
/// IGIC).
///
/// Set `Cantidad` first (it re-creates the rate lines, all zero), then fill each rate line.
/// Rate lines with the same rate and operation are grouped when stored. Every operation
/// raises its failures (never returns False) with the sources "Libro<T>::Insertar",
/// "Libro<T>::Modificar", "Libro<T>::Eliminar", "clsLibro<T>::Cambiar_Asiento" and
/// "clsMov::Cambiar_Cuenta", <T> being the book table ("Igic" or "Iva").
class clsLibroIgic : public BusinessObject {
  public:
    std::string className() const override { return "clsLibroIgic"; }

    std::int32_t Apunte() const { return apunte_; }
    void Apunte(std::int32_t value) { apunte_ = value; }
    /// Invoice/book date; the setter drops any time of day.
    Date Fecha() const { return fecha_; }
    void Fecha(Date value);
    std::string Cuenta() const { return cuenta_; }
    void Cuenta(std::string value) { cuenta_ = std::move(value); }
    std::string DocumentoSTR() const { return documento_; }
    void DocumentoSTR(std::string value) { documento_ = std::move(value); }
    std::int32_t Asiento() const { return asiento_; }
    void Asiento(std::int32_t value) { asiento_ = value; }
    enmLibros Libro() const { return libro_; }
    void Libro(enmLibros value) { libro_ = value; }
    std::string Nombre() const { return nombre_; }
    void Nombre(std::string value) { nombre_ = std::move(value); }
    std::string Nif() const { return nif_; }
    void Nif(std::string value) { nif_ = std::move(value); }
    bool InversionSujetoPasivo() const { return inversionSujetoPasivo_; }
    void InversionSujetoPasivo(bool value) { inversionSujetoPasivo_ = value; }
    std::int16_t TipoOpTributaria() const { return tipoOpTributaria_; }
    void TipoOpTributaria(std::int16_t value) { tipoOpTributaria_ = value; }
    bool EmitidaPorTercerosODestinatario() const { return emitidaPorTerceros_; }
    void EmitidaPorTercerosODestinatario(bool value) { emitidaPorTerceros_ = value; }
    /// Obsolete numeric document: the getter warns "DESCATALOGADO. Use DocumentoSTR" and
    /// returns 0; the setter stores the number's text in `DocumentoSTR` (0 stores "").
    std::int32_t Documento() const;
    void Documento(std::int32_t value);
    /// Number of rate lines. Setting a count above 0 re-creates the lines (all zero); a count
    /// of 0 or less only changes the count.
    std::int16_t Cantidad() const { return cantidad_; }
    void Cantidad(std::int16_t value);
    /// Rate line fields, indexed from 0. `Cuota` and `Deducible` are write-only.
    std::int16_t Operacion(std::int16_t index) const;
    void Operacion(std::int16_t index, std::int16_t value);
    Currency Base(std::int16_t index) const;
    void Base(std::int16_t index, Currency value);
    std::int16_t Tipo(std::int16_t index) const;
    void Tipo(std::int16_t index, std::int16_t value);
    void Cuota(std::int16_t index, Currency value);
    void Deducible(std::int16_t index, Currency value);
    /// Tax kind: 2 is IVA, anything else IGIC.
    std::uint8_t TipoIgIV() const { return tipoIgIV_; }
    void TipoIgIV(std::uint8_t value);

    bool Insertar();
    bool Modificar();
    bool Eliminar();
    /// Moves the records of entry `lngAsiento_Ant` to `lngAsiento_Nuevo`, taking the new
    /// entry's date.
    bool Cambiar_Asiento(std::int32_t lngAsiento_Ant, std::int32_t lngAsiento_Nuevo);
    /// Re-assigns to `strCuentaD` the records whose account and journal line fall in the
    /// account range, date range and reconciliation filter (1 reconciled, 2 unreconciled).
    bool Cambiar_Cuenta(std::string strCuentaI, std::string strCuentaF, std::string strCuentaD,
                        Date dteFechaI, Date dteFechaF, std::int16_t intPunteo);

  private:
    struct RateLine {
        std::int16_t operacion = 0;
        Currency base;
        std::int16_t tipo = 0;
        Currency cuota;
        Currency deducible;
    };
    RateLine& line(std::int16_t index);
    const RateLine& line(std::int16_t index) const;
    /// Writes the header row and the grouped rate-line rows into the current tax's tables.
    void writeRecord();
    /// The book table: "Iva" or "Igic".
    const std::string& table() const { return table_; }

    std::int32_t apunte_ = 0;
    Date fecha_;
    std::string cuenta_;
    std::string documento_;
    std::int32_t asiento_ = 0;
    enmLibros libro_ = static_cast<enmLibros>(0);
    std::string nombre_;
    std::string nif_;
    bool inversionSujetoPasivo_ = false;
    std::int16_t tipoOpTributaria_ = 0;
    bool emitidaPorTerceros_ = false;
    std::int16_t cantidad_ = 0;
    std::vector<RateLine> lines_;
    std::uint8_t tipoIgIV_ = 1;
    std::string table_ = "Igic";
};

}  // namespace kvlnmov
