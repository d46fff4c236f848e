#include "kvlnmov/users/cls_usuario.h"

#include "kvlnmov/db/recordset.h"
#include "kvlnmov/core/handlers.h"
#include "kvlnmov/core/library.h"
#include "kvlnmov/core/obsolete.h"
#include "kvlnmov/core/sql_text.h"

namespace kvlnmov {

namespace {

const std::string kSelectUser = "SELECT * FROM SGD_Usuarios";

// Field readers of a loaded user row: a Null column gives the type's empty value.
std::string textOf(const Variant& value) { return value.isNull() ? std::string() : value.toText(); }
bool flagOf(const Variant& value) { return !value.isNull() && value.toBoolean(); }
Date dateOf(const Variant& value) { return value.isNull() ? Date() : value.toDate(); }
std::int32_t longOf(const Variant& value) { return value.isNull() ? 0 : value.toLong(); }

void tellUser(const std::string& text) {
    userInterface().messageBox(text, MsgBoxIcon::Exclamation, MsgBoxButtons::Ok, kNoticeTitle);
}

// The single count "NumRegs" of a COUNT(*) query.
std::int32_t countOf(const std::string& query, const db::ConnectionRef& connection) {
    db::Recordset count;
    count.Open(query, connection);
    const std::int32_t result = count.Fields("NumRegs").toLong();
    count.Close();
    return result;
}

}  // namespace

void clsUsuario::FechaPassword(Date value) { fechaPassword_ = sql::normalizeDate(value); }

void clsUsuario::FechaBloqueo(Date value) { fechaBloqueo_ = sql::normalizeDate(value); }

bool clsUsuario::loadWhere(const std::string& condition) {
    db::Recordset row;
    row.Open(kSelectUser + condition, connectionRef());
    if (row.Eof()) {
        row.Close();
        return false;
    }
    Codigo(row.Fields("Codigo").toInteger());
    Nombre(textOf(row.Fields("Nombre")));
    Alias(textOf(row.Fields("Alias")));
    Password(textOf(row.Fields("Password")));
    Caja(textOf(row.Fields("Caja")));
    Efectos(textOf(row.Fields("Efectos")));
    Tarjeta(textOf(row.Fields("Tarjeta")));
    Direccion(textOf(row.Fields("Direccion")));
    Cp(longOf(row.Fields("Cp")));
    Localidad(textOf(row.Fields("Localidad")));
    Provincia(textOf(row.Fields("Provincia")));
    Telefono(textOf(row.Fields("Telefono")));
    Pais(textOf(row.Fields("Pais")));
    AccesoTPV(flagOf(row.Fields("AccesoTPV")));
    AccesoCentral(flagOf(row.Fields("AccesoCentral")));
    eMail(textOf(row.Fields("eMail")));
    Nif(textOf(row.Fields("Nif")));
    FechaPassword(dateOf(row.Fields("FechaPassword")));
    FechaBloqueo(dateOf(row.Fields("FechaBloqueo")));
    ForzarPass(flagOf(row.Fields("ForzarPass")));
    row.Close();

    db::Recordset groups;
    groups.Open(
        "SELECT CodGrupo FROM SGD_Usuarios_Grupos WHERE CodUsuario=" + sql::integer(codigo_),
        connectionRef());
    std::string text;
    for (; !groups.Eof(); groups.MoveNext()) text += "," + groups.Fields("CodGrupo").toText();
    groups.Close();
    if (!text.empty()) text += ",";
    grupos_ = std::move(text);
    return true;
}

std::string clsUsuario::groupList() const {
    if (grupos_.size() < 2) return {};
    return grupos_.substr(1, grupos_.size() - 2);
}

void clsUsuario::Grupos(std::string value) {
    if (value.find_first_not_of("0123456789, ") != std::string::npos) {
        throw Error(errc::kInvalidProcedureCall, kRuntimeSource,
                    "Invalid procedure call or argument");
    }
    grupos_ = std::move(value);
}

bool clsUsuario::Autentificacion(std::string strUsuario, std::string strPassword) {
    return plainHandler("clsUsuario::Autentificacion", Access::Reads, [&] {
        db::Recordset login;
        login.Open("SELECT * FROM SGD_Usuarios WHERE Alias='" + sql::text(strUsuario) +
                       "' AND Password='" + sql::text(strPassword) + "'",
                   connectionRef());
        if (login.Eof()) {
            login.Close();
            tellUser("Usuario no válido.");
            return false;
        }
        const std::int16_t code = login.Fields("Codigo").toInteger();
        login.Close();

        if (countOf("SELECT COUNT(*) AS NumRegs FROM SGD_Usuarios_Grupos WHERE CodUsuario=" +
                        sql::integer(code),
                    connectionRef()) == 0) {
            tellUser("Usuario no asignado a grupo. Usuario no válido.");
            return false;
        }

        Codigo(code);
        loadWhere(" WHERE Codigo =" + sql::integer(codigo_));

        db::Recordset company;
        company.Open("SELECT OficinaCentral FROM Empresas WHERE Codigo =" +
                         sql::integer(empresa().Cod_Empresa()),
                     connectionRef());
        const bool headOffice = !company.Eof() && flagOf(company.Fields("OficinaCentral"));
        company.Close();
        if (headOffice && !accesoCentral_) {
            tellUser(
                "Acceso en Oficina Central no permitido. Consulte al administrador del sistema.");
            return false;
        }
        return true;
    });
}

bool clsUsuario::Cargar() {
    return plainHandler("clsUsuario::Cargar", Access::Reads,
                        [&] { return loadWhere(" WHERE Codigo =" + sql::integer(codigo_)); });
}

bool clsUsuario::Cargar_Primero() {
    return plainHandler("clsUsuario::Cargar_Primero", Access::Reads, [&] {
        return loadWhere(
            " WHERE Codigo IN"
            " (SELECT ISNULL(MIN(Codigo), 0) AS Codigo FROM SGD_Usuarios)");
    });
}

bool clsUsuario::Cargar_Anterior() {
    return plainHandler("clsUsuario::Cargar_Anterior", Access::Reads, [&] {
        return loadWhere(
            " WHERE Codigo IN"
            " (SELECT TOP 1 Codigo FROM SGD_Usuarios"
            " WHERE Codigo < " +
            sql::integer(codigo_) + " ORDER BY Codigo DESC)");
    });
}

bool clsUsuario::Cargar_Siguiente() {
    return plainHandler("clsUsuario::Cargar_Siguiente", Access::Reads, [&] {
        return loadWhere(
            " WHERE Codigo IN"
            " (SELECT TOP 1 Codigo FROM SGD_Usuarios"
            " WHERE Codigo > " +
            sql::integer(codigo_) + " ORDER BY Codigo ASC)");
    });
}

bool clsUsuario::Cargar_Ultimo() {
    return plainHandler("clsUsuario::Cargar_Ultimo", Access::Reads, [&] {
        return loadWhere(
            " WHERE Codigo IN"
            " (SELECT ISNULL(MAX(Codigo), 0) AS Codigo FROM SGD_Usuarios)");
    });
}

namespace {

// Replaces the memberships of user `code` with the groups listed in `groups` (",1,4,").
void writeGroups(db::Connection& connection, std::int16_t code, const std::string& groups) {
    connection.Execute("DELETE FROM SGD_Usuarios_Grupos WHERE CodUsuario=" + sql::integer(code));
    std::size_t start = 0;
    while (start <= groups.size()) {
        std::size_t end = groups.find(',', start);
        if (end == std::string::npos) end = groups.size();
        const std::string item = groups.substr(start, end - start);
        if (!item.empty()) {
            connection.Execute("INSERT INTO SGD_Usuarios_Grupos (CodUsuario,CodGrupo) VALUES (" +
                               sql::integer(code) + "," + item + ")");
        }
        start = end + 1;
    }
}

}  // namespace

bool clsUsuario::Insertar() {
    return plainHandler("clsUsuario::Insertar", Access::Writes, [&] {
        connection().Execute(
            "INSERT INTO SGD_Usuarios (Codigo, Nombre, Alias, Password, Caja, Efectos, Tarjeta, "
            "Direccion, Cp, Localidad,"
            " Provincia, Telefono, Pais, AccesoTPV, AccesoCentral, eMail, Enviado, Nif, "
            "FechaPassword, FechaBloqueo, ForzarPass) VALUES (" +
            sql::integer(codigo_) + ", '" + sql::text(nombre_) + "', '" + sql::text(alias_) +
            "', '" + sql::text(password_) + "', '" + sql::text(caja_) + "', '" +
            sql::text(efectos_) + "', '" + sql::text(tarjeta_) + "', '" + sql::text(direccion_) +
            "', " + sql::integer(cp_) + ", '" + sql::text(localidad_) + "', '" +
            sql::text(provincia_) + "', '" + sql::text(telefono_) + "', '" + sql::text(pais_) +
            "', " + sql::flag(accesoTPV_) + ", " + sql::flag(accesoCentral_) + ", '" +
            sql::text(eMail_) + "'," + " 0, " + " Me.Nif, " + " Me.FechaPassword, " +
            " Me.FechaBloqueo )");
        writeGroups(connection(), codigo_, grupos_);
        return true;
    });
}

bool clsUsuario::Modificar() {
    return plainHandler("clsUsuario::Modificar", Access::Writes, [&] {
        connection().Execute(
            "UPDATE SGD_Usuarios SET Nombre ='" + sql::text(nombre_) + "', Alias ='" +
            sql::text(alias_) + "', Password ='" + sql::text(password_) + "', FechaPassword ='" +
            sql::date(fechaPassword_) + "', FechaBloqueo ='" + sql::date(fechaBloqueo_) +
            "', Caja ='" + sql::text(caja_) + "', Efectos ='" + sql::text(efectos_) +
            "', Tarjeta ='" + sql::text(tarjeta_) + "', Direccion ='" + sql::text(direccion_) +
            "', Cp =" + sql::integer(cp_) + ", Localidad ='" + sql::text(localidad_) +
            "', Provincia ='" + sql::text(provincia_) + "', Telefono ='" + sql::text(telefono_) +
            "', Pais ='" + sql::text(pais_) + "', AccesoTPV=" + sql::flag(accesoTPV_) +
            ", AccesoCentral=" + sql::flag(accesoCentral_) + ", eMail ='" + sql::text(eMail_) +
            "'" + ", Nif ='" + sql::text(nif_) + "'" + ", Enviado = 0" +
            " WHERE Codigo =" + sql::integer(codigo_));
        writeGroups(connection(), codigo_, grupos_);
        return true;
    });
}

bool clsUsuario::Eliminar() {
    return plainHandler("clsUsuario::Eliminar", Access::Writes, [&] {
        connection().Execute("DELETE FROM SGD_Usuarios WHERE Codigo =" + sql::integer(codigo_));
        connection().Execute("DELETE FROM SGD_Usuarios_Grupos WHERE CodUsuario =" +
                             sql::integer(codigo_));
        return true;
    });
}

bool clsUsuario::SoloLectura(std::int32_t lngIdMenu, std::string strNombreMenu,
                             std::int16_t intModulo) {
    return plainHandler("clsUsuario::SoloLectura", Access::Reads, [&] {
        if (grupos_.find(",1,") != std::string::npos) return false;
        const std::string list = groupList();
        if (list.empty()) return true;
        std::string query;
        if (lngIdMenu != 0) {
            query = "SELECT COUNT(*) as NumRegs FROM SGD_XTR_Menus_Grupos a WHERE a.Modulo=" +
                    sql::integer(intModulo) + " AND a.CodMenu=" + sql::integer(lngIdMenu) +
                    " AND a.CodGrupo IN (" + list + ") AND TipoAcceso=2";
        } else {
            query =
                "SELECT COUNT(*) as NumRegs FROM SGD_Menus,SGD_Menus_Grupos "
                " WHERE SGD_Menus.Codigo=SGD_Menus_Grupos.CodMenu AND SGD_Menus.NombreInterno='" +
                sql::text(strNombreMenu) + "' AND SGD_Menus_Grupos.CodGrupo IN (" + list +
                ") AND SGD_Menus_Grupos.TipoAcceso=2" +
                " AND SGD_Menus.Modulo=" + sql::integer(intModulo);
        }
        return countOf(query, connectionRef()) == 0;
    });
}

bool clsUsuario::Cuentas_Permitidas(std::string strInicial, std::string strFinal) {
    return plainHandler("clsUsuario::Cuentas_Permitidas", Access::Reads, [&] {
        if (grupos_.empty()) return false;
        db::Recordset ranges;
        ranges.Open("SELECT * FROM SGD_Cuentas_Grupos WHERE  Cod_Grupo IN (" + groupList() +
                        ") AND Cod_Empresa=" + sql::integer(empresa().Cod_Empresa()),
                    connectionRef());
        // No range configured for the user's groups in this company: every account is allowed.
        bool permitted = ranges.Eof();
        for (; !permitted && !ranges.Eof(); ranges.MoveNext()) {
            const std::string first = ranges.Fields("CtaInicial").toText();
            const std::string last = ranges.Fields("CtaFinal").toText();
            permitted =
                strInicial >= first && strInicial <= last && strFinal >= first && strFinal <= last;
        }
        ranges.Close();
        return permitted;
    });
}

bool clsUsuario::Permiso_Empresa(std::int16_t intEmpresa) {
    return plainHandler("clsUsuario::Permiso_Empresa", Access::Reads, [&] {
        db::Recordset administrator;
        administrator.Open("SELECT CodGrupo FROM SGD_Usuarios_Grupos WHERE CodUsuario =" +
                               sql::integer(codigo_) + " AND CodGrupo = 1",
                           connectionRef());
        const bool isAdministrator = !administrator.Eof();
        administrator.Close();
        if (isAdministrator) return true;
        return countOf(
                   "SELECT ISNULL(COUNT(*),0) AS NumRegs FROM SGD_Usuarios U, "
                   "SGD_Usuarios_Grupos UG, SGD_Empresas_Grupos EG WHERE "
                   "U.Codigo=UG.CodUsuario AND UG.CodGrupo=EG.Cod_Grupo AND EG.Cod_Empresa=" +
                       sql::integer(intEmpresa) + " AND U.Codigo=" + sql::integer(codigo_),
                   connectionRef()) > 0;
    });
}

bool clsUsuario::InsertarOperacion(std::uint8_t bytOperacion) {
    return plainHandler("clsUsuario::InsertarOperacion", Access::Writes, [&] {
        const Date now = Date::now();
        const Date stamp = now.dateOnly().withTime(now.hour(), now.minute(), now.second());
        connection().Execute(
            "INSERT INTO SGD_Usuarios_Auditoria (Cod_Usuario, FechaOperacion, Operacion) VALUES (" +
            sql::integer(codigo_) + ", ' " + sql::date(stamp) + " ', " +
            sql::integer(bytOperacion) + " )");
        return true;
    });
}

}  // namespace kvlnmov
