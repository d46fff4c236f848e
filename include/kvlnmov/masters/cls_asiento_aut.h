#pragma once

#include <string>

#include "kvlnmov/core/business_object.h"
#include "kvlnmov/frame/enums.h"

namespace kvlnmov {

/// The header of an automatic entry template of the current company (table `Asientos_Aut`):
/// a code, a name and whether its lines (`clsMovAut`) carry amounts or percentages. Templates
/// belong to a company, not to an exercise; generating entries from them is the
/// application's work.
///
/// Failures are raised with the sources "clsAsientosAut::Cargar", "clsAsientosAut::Eliminar"
/// and "clsAsientosAut::Insertar". Texts are written into the statements unescaped, so a
/// quote in one makes the provider's syntax error.
class clsAsientoAut : public BusinessObject {
  public:
    std::string className() const override { return "clsAsientoAut"; }

    /// Template code.
    std::string Codigo() const { return codigo_; }
    void Codigo(std::string value) { codigo_ = std::move(value); }
    std::string Nombre() const { return nombre_; }
    void Nombre(std::string value) { nombre_ = std::move(value); }
    /// Whether the lines' `Importe` is an amount or a percentage.
    TipoAsiento Tipo() const { return tipo_; }
    void Tipo(TipoAsiento value) { tipo_ = value; }

    /// Loads template `Codigo`; False (and nothing changed) when there is none.
    bool Cargar();
    /// Deletes the template `Codigo` of the company with its lines (the lines first).
    bool Eliminar();
    /// Adds the template; an existing code is refused by the database's key.
    bool Insertar();

  private:
    std::string codigo_;
    std::string nombre_;
    TipoAsiento tipo_ = TipoAsiento::Importe;
};

}  // namespace kvlnmov
