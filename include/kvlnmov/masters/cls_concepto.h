#pragma once

#include <cstdint>
#include <string>

#include "kvlnmov/core/business_object.h"

namespace kvlnmov {

/// An accounting concept of the master list shared by all companies (table `Conceptos`): a
/// standard description with its default side, whether it is posted automatically, the kind
/// of tax it carries and whether it counts for the 347 declaration.
///
/// Every operation raises failures with the sources "Conceptos::Modificar",
/// "Conceptos::Insertar", "Conceptos::Eliminar", "Conceptos::Cargar"; texts are written into
/// the statements unescaped, so a quote in `Nombre` makes the provider's syntax error.
class clsConcepto : public BusinessObject {
  public:
    std::string className() const override { return "clsConcepto"; }

    std::string Codigo() const { return codigo_; }
    void Codigo(std::string value) { codigo_ = std::move(value); }
    std::string Nombre() const { return nombre_; }
    void Nombre(std::string value) { nombre_ = std::move(value); }
    bool Debe() const { return debe_; }
    void Debe(bool value) { debe_ = value; }
    bool Automatico() const { return automatico_; }
    void Automatico(bool value) { automatico_ = value; }
    /// Superseded by `Impuestos_Tipo`: both accessors raise -2147221503.
    bool Impuestos() const;
    void Impuestos(bool value);
    bool M347() const { return m347_; }
    void M347(bool value) { m347_ = value; }
    std::uint8_t Impuestos_Tipo() const { return impuestosTipo_; }
    void Impuestos_Tipo(std::uint8_t value) { impuestosTipo_ = value; }

    /// Writes every field of the concept `Codigo` (a missing code changes nothing; True).
    bool Modificar();
    /// Adds the concept; raises 1000 "Ya existe el codigo especificado" when the code exists.
    bool Insertar();
    /// Deletes the concept `Codigo` (True also when there was none).
    bool Eliminar();
    /// Loads the concept `Codigo`; False (and nothing changed) when there is none.
    bool Cargar();

  private:
    std::string codigo_;
    std::string nombre_;
    bool debe_ = false;
    bool automatico_ = false;
    bool m347_ = false;
    std::uint8_t impuestosTipo_ = 0;
};

}  // namespace kvlnmov
