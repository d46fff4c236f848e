// Late-bound members of the entry viewer and user classes, in interface order.

#include "kvlnmov/registration/registry.h"
#include "kvlnmov/users/cls_usuario.h"
#include "kvlnmov/viewer/frmcls_asiento_visor.h"
#include "registration/library_classes.h"

namespace kvlnmov::registration {

namespace {

void registerEntryViewer() {
    using C = frmclsAsientoVisor;
    ClassBuilder<C>("frmclsAsientoVisor")
        .property<std::int16_t>("Cod_Empresa", &C::Cod_Empresa, &C::Cod_Empresa)
        .property<std::int16_t>("Cod_Ejercicio", &C::Cod_Ejercicio, &C::Cod_Ejercicio)
        .property<std::int32_t>("Asiento", &C::Asiento, &C::Asiento)
        .writeOnly<cEmpresaRef>("EmpresaKavelon", &C::EmpresaKavelon)
        .writeOnly<db::ConnectionRef>("ConexionKavelon", &C::ConexionKavelon)
        .method("Show", &C::Show, {"Modal", "OwnerForm"})
        .done();
}

// clsUsuario is not one of the library's public classes: the library uses it internally
// (the entry viewer reads the last user's name through it). It is registered all the same so
// that scenario files and tools can reach it through late binding as "KVLNMOV.clsUsuario".
void registerUser() {
    using C = clsUsuario;
    ClassBuilder<C>("clsUsuario")
        .property<std::int16_t>("Codigo", &C::Codigo, &C::Codigo)
        .property<std::string>("Nombre", &C::Nombre, &C::Nombre)
        .property<std::string>("Alias", &C::Alias, &C::Alias)
        .property<std::string>("Password", &C::Password, &C::Password)
        .property<std::string>("Caja", &C::Caja, &C::Caja)
        .property<std::string>("Efectos", &C::Efectos, &C::Efectos)
        .property<std::string>("Tarjeta", &C::Tarjeta, &C::Tarjeta)
        .property<std::string>("Direccion", &C::Direccion, &C::Direccion)
        .property<std::int32_t>("Cp", &C::Cp, &C::Cp)
        .property<std::string>("Localidad", &C::Localidad, &C::Localidad)
        .property<std::string>("Provincia", &C::Provincia, &C::Provincia)
        .property<std::string>("Telefono", &C::Telefono, &C::Telefono)
        .property<std::string>("Pais", &C::Pais, &C::Pais)
        .property<bool>("AccesoTPV", &C::AccesoTPV, &C::AccesoTPV)
        .property<bool>("AccesoCentral", &C::AccesoCentral, &C::AccesoCentral)
        .property<std::string>("eMail", &C::eMail, &C::eMail)
        .property<std::string>("Nif", &C::Nif, &C::Nif)
        .property<Date>("FechaPassword", &C::FechaPassword, &C::FechaPassword)
        .property<Date>("FechaBloqueo", &C::FechaBloqueo, &C::FechaBloqueo)
        .property<bool>("ForzarPass", &C::ForzarPass, &C::ForzarPass)
        .property<std::string>("Grupos", &C::Grupos, &C::Grupos)
        .writeOnly<db::ConnectionRef>("Conexion", &C::Conexion)
        .writeOnly<cEmpresaRef>("cEmpresa", &C::cEmpresa)
        .method("Autentificacion", &C::Autentificacion, {"strUsuario", "strPassword"})
        .method("Cargar", &C::Cargar)
        .method("Cargar_Primero", &C::Cargar_Primero)
        .method("Cargar_Anterior", &C::Cargar_Anterior)
        .method("Cargar_Siguiente", &C::Cargar_Siguiente)
        .method("Cargar_Ultimo", &C::Cargar_Ultimo)
        .method("Insertar", &C::Insertar)
        .method("Modificar", &C::Modificar)
        .method("Eliminar", &C::Eliminar)
        .method("SoloLectura", &C::SoloLectura, {"lngIdMenu", "strNombreMenu", "intModulo"})
        .method("Cuentas_Permitidas", &C::Cuentas_Permitidas, {"strInicial", "strFinal"})
        .method("Permiso_Empresa", &C::Permiso_Empresa, {"intEmpresa"})
        .method("InsertarOperacion", &C::InsertarOperacion, {"bytOperacion"})
        .done();
}

}  // namespace

void registerViewer() {
    registerEntryViewer();
    registerUser();
}

}  // namespace kvlnmov::registration
