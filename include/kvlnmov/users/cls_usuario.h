#pragma once

#include <cstdint>
#include <string>

#include "kvlnmov/core/business_object.h"
#include "kvlnmov/frame/date.h"

namespace kvlnmov {

/// A user of the suite, one row of `SGD_Usuarios`, with the groups it belongs to
/// (`SGD_Usuarios_Grupos`; group 1 is the administrators' group). It authenticates users,
/// browses and keeps the user table, answers permission questions and writes the user audit.
///
/// The class is used inside the library (the entry viewer asks it for the name of an entry's
/// last user); it is not one of the public classes an application creates, although it is
/// registered for late binding so that tests and tools can drive it.
///
/// Every operation runs under the plain handler: any failure reaches the caller with its
/// number and description and the source "clsUsuario::<Operation>" (for example
/// "clsUsuario::Cargar_Siguiente"). Texts are written into the statements unescaped, so a
/// quote in any of them makes the provider's syntax error.
class clsUsuario : public BusinessObject {
  public:
    std::string className() const override { return "clsUsuario"; }

    std::int16_t Codigo() const { return codigo_; }
    void Codigo(std::int16_t value) { codigo_ = value; }
    std::string Nombre() const { return nombre_; }
    void Nombre(std::string value) { nombre_ = std::move(value); }
    /// The login name.
    std::string Alias() const { return alias_; }
    void Alias(std::string value) { alias_ = std::move(value); }
    std::string Password() const { return password_; }
    void Password(std::string value) { password_ = std::move(value); }
    std::string Caja() const { return caja_; }
    void Caja(std::string value) { caja_ = std::move(value); }
    std::string Efectos() const { return efectos_; }
    void Efectos(std::string value) { efectos_ = std::move(value); }
    std::string Tarjeta() const { return tarjeta_; }
    void Tarjeta(std::string value) { tarjeta_ = std::move(value); }
    std::string Direccion() const { return direccion_; }
    void Direccion(std::string value) { direccion_ = std::move(value); }
    std::int32_t Cp() const { return cp_; }
    void Cp(std::int32_t value) { cp_ = value; }
    std::string Localidad() const { return localidad_; }
    void Localidad(std::string value) { localidad_ = std::move(value); }
    std::string Provincia() const { return provincia_; }
    void Provincia(std::string value) { provincia_ = std::move(value); }
    std::string Telefono() const { return telefono_; }
    void Telefono(std::string value) { telefono_ = std::move(value); }
    std::string Pais() const { return pais_; }
    void Pais(std::string value) { pais_ = std::move(value); }
    bool AccesoTPV() const { return accesoTPV_; }
    void AccesoTPV(bool value) { accesoTPV_ = value; }
    /// May work at the head office.
    bool AccesoCentral() const { return accesoCentral_; }
    void AccesoCentral(bool value) { accesoCentral_ = value; }
    std::string eMail() const { return eMail_; }
    void eMail(std::string value) { eMail_ = std::move(value); }
    std::string Nif() const { return nif_; }
    void Nif(std::string value) { nif_ = std::move(value); }
    /// Date of the last password change; the setter drops any time of day.
    Date FechaPassword() const { return fechaPassword_; }
    void FechaPassword(Date value);
    /// Date the user was locked out; the setter drops any time of day.
    Date FechaBloqueo() const { return fechaBloqueo_; }
    void FechaBloqueo(Date value);
    bool ForzarPass() const { return forzarPass_; }
    void ForzarPass(bool value) { forzarPass_ = value; }
    /// The user's groups as one text of codes separated by commas and enclosed in commas
    /// (groups 1 and 4 are ",1,4,"), empty when the user has none. Loading a user fills it
    /// from `SGD_Usuarios_Grupos`; `Modificar` writes the groups it lists. The codes go into
    /// statements as numbers, so the setter takes only digits, commas and blanks and raises
    /// error 5 "Invalid procedure call or argument" for anything else.
    std::string Grupos() const { return grupos_; }
    void Grupos(std::string value);

    /// Checks a login against `SGD_Usuarios` (alias and password compared as stored texts).
    /// An unknown login, a user without groups, or a user without head-office access when the
    /// bound context's company (`cEmpresa.Cod_Empresa`) is the head office are told to the
    /// user in an exclamation message box titled "¡ Atención !" ("Usuario no válido.",
    /// "Usuario no asignado a grupo. Usuario no válido.", "Acceso en Oficina Central no
    /// permitido. Consulte al administrador del sistema.") and give False. On success the user
    /// is loaded as by `Cargar` and the result is True.
    bool Autentificacion(std::string strUsuario, std::string strPassword);
    /// Loads the user `Codigo` with its groups; False (and nothing changed) when there is none.
    /// Null flags read as False, Null texts as "", a Null `Cp` as 0 and Null dates as the
    /// zero date.
    bool Cargar();
    /// Load the user with the lowest code, the one before `Codigo`, the one after it and the
    /// one with the highest code. False (and nothing changed) when there is none.
    bool Cargar_Primero();
    bool Cargar_Anterior();
    bool Cargar_Siguiente();
    bool Cargar_Ultimo();
    /// Adds the user with its groups. The statement names the columns `Nif`, `FechaPassword`
    /// and `FechaBloqueo` with the words "Me.Nif", "Me.FechaPassword" and "Me.FechaBloqueo"
    /// in place of their values and gives no value for `ForzarPass`, so the database refuses
    /// it and the provider's error reaches the caller; users are created by other means.
    bool Insertar();
    /// Writes every field of user `Codigo` (marking it not yet sent) and replaces its groups
    /// with those listed in `Grupos`.
    bool Modificar();
    /// Deletes user `Codigo` and its group memberships.
    bool Eliminar();
    /// Whether a menu is read-only for this user: False for an administrator (group 1), True
    /// for a user without groups, otherwise True when none of the user's groups has full
    /// access (kind 2) to the menu, found by `lngIdMenu` in the module's extra menus when it
    /// is not 0, else by internal name `strNombreMenu` among the module's menus.
    bool SoloLectura(std::int32_t lngIdMenu, std::string strNombreMenu, std::int16_t intModulo);
    /// Whether the account range `strInicial`..`strFinal` is permitted in the bound context's
    /// company: False for a user without groups; True when the user's groups have no ranges
    /// in the company; otherwise True when one configured range holds both bounds (compared
    /// as texts, inclusive).
    bool Cuentas_Permitidas(std::string strInicial, std::string strFinal);
    /// Whether the user may work in company `intEmpresa`: always for a member of group 1,
    /// otherwise when one of its groups is given that company.
    bool Permiso_Empresa(std::int16_t intEmpresa);
    /// Records operation `bytOperacion` of user `Codigo` in `SGD_Usuarios_Auditoria`, dated
    /// now to the second (the regional date and time, "22/11/2026 10:00:00").
    bool InsertarOperacion(std::uint8_t bytOperacion);

  private:
    /// Runs "SELECT * FROM SGD_Usuarios" + `condition` and loads the row found.
    bool loadWhere(const std::string& condition);
    /// The group list of the IN clauses: the group text without its enclosing commas.
    std::string groupList() const;

    std::int16_t codigo_ = 0;
    std::string nombre_;
    std::string alias_;
    std::string password_;
    std::string caja_;
    std::string efectos_;
    std::string tarjeta_;
    std::string direccion_;
    std::int32_t cp_ = 0;
    std::string localidad_;
    std::string provincia_;
    std::string telefono_;
    std::string pais_;
    bool accesoTPV_ = false;
    bool accesoCentral_ = false;
    std::string eMail_;
    std::string nif_;
    Date fechaPassword_;
    Date fechaBloqueo_;
    bool forzarPass_ = false;
    std::string grupos_;
};

}  // namespace kvlnmov
