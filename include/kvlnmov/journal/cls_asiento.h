#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "kvlnmov/db/command.h"
#include "kvlnmov/core/business_object.h"
#include "kvlnmov/frame/date.h"

namespace kvlnmov {

/// A journal entry header, one row of `Asientos`. The entry's lines are `clsMov` objects the
/// caller writes after the header exists.
///
/// Entry numbers come from the database procedure "CON_DevAsiento" by the company's numbering
/// scheme (`cEmpresa.TipoNumeracion`): 0 a plain sequence in the exercise, 1 month, day and a
/// three-digit sequence (MDDsss), 2 month, day and a four-digit sequence. Opening and closing
/// entries (`Cierre`) take fixed numbers and replace the entry that holds them.
///
/// `Insertar`, `Eliminar` and `Bloqueo` retry every failing statement, checks included, up to
/// six times (yielding to the application in between) and raise with the sources
/// "clsAsiento:Insertar", "clsAsiento:Eliminar", "clsAsiento:Bloqueo". Setting `Conexion` on
/// an entry header always replaces the library-wide connection.
class clsAsiento : public BusinessObject {
  public:
    clsAsiento();
    ~clsAsiento() override;
    std::string className() const override { return "clsAsiento"; }

    std::int32_t Codigo() const { return codigo_; }
    void Codigo(std::int32_t value) { codigo_ = value; }
    bool Cierre() const { return cierre_; }
    void Cierre(bool value) { cierre_ = value; }
    bool Nulo() const { return nulo_; }
    void Nulo(bool value) { nulo_ = value; }
    std::int16_t Usuario() const { return usuario_; }
    void Usuario(std::int16_t value) { usuario_ = value; }
    std::int16_t UsuarioBloqueo() const { return usuarioBloqueo_; }
    void UsuarioBloqueo(std::int16_t value) { usuarioBloqueo_ = value; }
    Date FechaCreacion() const { return fechaCreacion_; }
    void FechaCreacion(Date value) { fechaCreacion_ = value; }
    Date FechaUltimaModificacion() const { return fechaUltimaModificacion_; }
    void FechaUltimaModificacion(Date value) { fechaUltimaModificacion_ = value; }
    std::string Observaciones() const { return observaciones_; }
    void Observaciones(std::string value) { observaciones_ = std::move(value); }
    std::string CodigoExterno() const { return codigoExterno_; }
    void CodigoExterno(std::string value) { codigoExterno_ = std::move(value); }
    /// Replaces the library-wide connection.
    void Conexion(db::ConnectionRef connection) override;
    /// Output destination code, stored only.
    std::int16_t Destino() const { return destino_; }
    void Destino(std::int16_t value) { destino_ = value; }
    /// Entry date; the setter drops any time of day.
    Date Fecha() const { return fecha_; }
    void Fecha(Date value);
    /// Obsolete report logon values: reading gives "", writing is ignored.
    std::string ODBCNombre() const { return {}; }
    void ODBCNombre(std::string) {}
    std::string ODBCUsuario() const { return {}; }
    void ODBCUsuario(std::string) {}
    std::string ODBCBaseDatos() const { return {}; }
    void ODBCBaseDatos(std::string) {}
    std::string ODBCPassword() const { return {}; }
    void ODBCPassword(std::string) {}

    /// Creates the header and gives it its number (sets `Codigo`). Raises 1000 "Empresa: c No
    /// existe el ejercicio e o está cerrado", 1000 "Empresa: c Fecha de asiento fuera de
    /// ejercicio contable", 1 "Error al recuperar número de asiento".
    bool Insertar();
    /// Annuls the entry: backs up header, lines, secondary lines and tax books under one
    /// backup number, reverses the balances, depreciation and reconciliation marks, hands its
    /// SII records to the registered SII books, deletes the live rows, and deletes the header
    /// (giving its number back) when it was the last number given, else marks it `Nulo`.
    bool Eliminar();
    /// Loads the header `Codigo`; False when there is none (nothing changed).
    bool Cargar();
    /// True when a header `Codigo` exists (annulled or not).
    bool Existe();
    /// Clears the annulment mark.
    bool Recuperar();
    /// Printing through the entry report is not available in this build: raises error 1000
    /// (source "clsAsiento::Imprimir").
    void Imprimir(std::string strImpresora);
    /// Takes (`bolBloquear` True, for user `intUsuario`) or releases the entry's lock.
    void Bloqueo(bool bolBloquear, std::int16_t intUsuario);
    /// Writes `Usuario` to the header.
    void Modificar();
    /// Writes `Usuario` and `Observaciones` to the header.
    void Modificar_Observaciones();

  private:
    std::int32_t codigo_ = 0;
    bool cierre_ = false;
    bool nulo_ = false;
    std::int16_t usuario_ = 0;
    std::int16_t usuarioBloqueo_ = 0;
    Date fechaCreacion_;
    Date fechaUltimaModificacion_;
    std::string observaciones_;
    std::string codigoExterno_;
    std::int16_t destino_ = 0;
    Date fecha_;
    std::shared_ptr<db::Command> cmdDevAsiento_;
};

}  // namespace kvlnmov
