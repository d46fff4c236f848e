#pragma once

#include <cstdint>
#include <string>

#include "kvlnmov/core/business_object.h"
#include "kvlnmov/frame/currency.h"
#include "kvlnmov/frame/date.h"
#include "kvlnmov/frame/enums.h"

namespace kvlnmov {

/// One record of the income-tax withholding book (table `Irpf`) for one journal line: the
/// withholding key, rate and account, the other party's account, name and tax number, and
/// the taxable base, the amount withheld and the invoice total.
///
/// Every operation raises its failures (never returns False). The sources the caller sees are
/// deliberately uneven: "Libro Irpf ::Insertar", "LibroIrpf::Modificar", "LibroIrpf::Eliminar",
/// "clsLibroIrpf::Cambiar_Asiento", "clsLibroIrpf::Cambiar_Cuenta". Texts are written into the
/// statements unescaped, so a quote in one makes the provider's syntax error.
class clsLibroIrpf : public BusinessObject {
  public:
    std::string className() const override { return "clsLibroIrpf"; }

    std::int32_t Apunte() const { return apunte_; }
    void Apunte(std::int32_t value) { apunte_ = value; }
    /// Book date; the setter drops any time of day.
    Date Fecha() const { return fecha_; }
    void Fecha(Date value);
    std::string Cuenta() const { return cuenta_; }
    void Cuenta(std::string value) { cuenta_ = std::move(value); }
    std::string Documento() const { return documento_; }
    void Documento(std::string value) { documento_ = std::move(value); }
    std::int32_t Asiento() const { return asiento_; }
    void Asiento(std::int32_t value) { asiento_ = value; }
    enmLibros Libro() const { return libro_; }
    void Libro(enmLibros value) { libro_ = value; }
    std::string Nombre() const { return nombre_; }
    void Nombre(std::string value) { nombre_ = std::move(value); }
    std::string Nif() const { return nif_; }
    void Nif(std::string value) { nif_ = std::move(value); }
    /// Withholding key.
    std::int16_t Cod_Irpf() const { return codIrpf_; }
    void Cod_Irpf(std::int16_t value) { codIrpf_ = value; }
    /// Withholding rate (column `Tipo`).
    std::int16_t TipoIrpf() const { return tipoIrpf_; }
    void TipoIrpf(std::int16_t value) { tipoIrpf_ = value; }
    /// Withholding account.
    std::string CuentaIrpf() const { return cuentaIrpf_; }
    void CuentaIrpf(std::string value) { cuentaIrpf_ = std::move(value); }
    Currency ImporteBase() const { return importeBase_; }
    void ImporteBase(Currency value) { importeBase_ = value; }
    Currency ImporteIrpf() const { return importeIrpf_; }
    void ImporteIrpf(Currency value) { importeIrpf_ = value; }
    Currency ImporteFactura() const { return importeFactura_; }
    void ImporteFactura(Currency value) { importeFactura_ = value; }

    /// Stores the record. Raises 1000 "Debe especificar un número de cuenta valido" when
    /// `Cuenta` is empty (`CuentaIrpf` is not checked) and 1000 "Fecha fuera de ejercicio
    /// contable" when `Fecha` lies outside the working exercise.
    bool Insertar();
    /// Replaces the record of `Apunte` (inserts it when there was none); same checks.
    bool Modificar();
    /// Deletes the record of `Apunte`.
    bool Eliminar();
    /// Moves the records of entry `lngAsiento_Ant` to `lngAsiento_Nuevo`, taking the new
    /// entry's date.
    bool Cambiar_Asiento(std::int32_t lngAsiento_Ant, std::int32_t lngAsiento_Nuevo);
    /// Re-assigns to `strCuentaD` the records whose account and journal line fall in the
    /// account range, the line in the date range and the reconciliation filter (1 reconciled,
    /// 2 unreconciled, anything else all). `CuentaIrpf` is left alone. Raises 1000 "Fecha
    /// inicial fuera de ejercicio contable" / "Fecha final fuera de ejercicio contable".
    bool Cambiar_Cuenta(std::string strCuentaI, std::string strCuentaF, std::string strCuentaD,
                        Date dteFechaI, Date dteFechaF, std::int16_t intPunteo);

  private:
    /// The checks of `Insertar` and `Modificar`, raised with `source`.
    void check(const std::string& source);
    void insertRecord();

    std::int32_t apunte_ = 0;
    Date fecha_;
    std::string cuenta_;
    std::string documento_;
    std::int32_t asiento_ = 0;
    enmLibros libro_ = static_cast<enmLibros>(0);
    std::string nombre_;
    std::string nif_;
    std::int16_t codIrpf_ = 0;
    std::int16_t tipoIrpf_ = 0;
    std::string cuentaIrpf_;
    Currency importeBase_;
    Currency importeIrpf_;
    Currency importeFactura_;
};

}  // namespace kvlnmov
