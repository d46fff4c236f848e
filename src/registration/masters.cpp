// Late-bound members of the master-data classes, in interface order.

#include "kvlnmov/masters/cls_apertura.h"
#include "kvlnmov/masters/cls_asiento_aut.h"
#include "kvlnmov/masters/cls_concepto.h"
#include "kvlnmov/masters/cls_mov_aut.h"
#include "kvlnmov/registration/registry.h"
#include "registration/library_classes.h"

namespace kvlnmov::registration {

namespace {

void registerOpeningAndTemplates() {
    {
        using C = clsApertura;
        ClassBuilder<C>("clsApertura")
            .property<std::string>("Cuenta", &C::Cuenta, &C::Cuenta)
            .property<Currency>("Apertura", &C::Apertura, &C::Apertura)
            .writeOnly<cEmpresaRef>("cEmpresa", &C::cEmpresa)
            .writeOnly<db::ConnectionRef>("Conexion", &C::Conexion)
            .method("Insertar", &C::Insertar)
            .method("Modificar", &C::Modificar)
            .method("Cargar", &C::Cargar)
            .done();
    }
    {
        using C = clsAsientoAut;
        ClassBuilder<C>("clsAsientoAut")
            .property<std::string>("Codigo", &C::Codigo, &C::Codigo)
            .property<std::string>("Nombre", &C::Nombre, &C::Nombre)
            .property<TipoAsiento>("Tipo", &C::Tipo, &C::Tipo)
            .writeOnly<db::ConnectionRef>("Conexion", &C::Conexion)
            .writeOnly<cEmpresaRef>("cEmpresa", &C::cEmpresa)
            .method("Cargar", &C::Cargar)
            .method("Eliminar", &C::Eliminar)
            .method("Insertar", &C::Insertar)
            .done();
    }
    {
        using C = clsMovAut;
        ClassBuilder<C>("clsMovAut")
            .property<std::string>("Asiento", &C::Asiento, &C::Asiento)
            .property<std::int32_t>("Apunte", &C::Apunte, &C::Apunte)
            .property<std::string>("Cuenta", &C::Cuenta, &C::Cuenta)
            .property<std::string>("Concepto", &C::Concepto, &C::Concepto)
            .property<std::int32_t>("Documento", &C::Documento, &C::Documento)
            .property<std::int16_t>("Diario", &C::Diario, &C::Diario)
            .property<std::int16_t>("Dpto", &C::Dpto, &C::Dpto)
            .property<Currency>("Importe", &C::Importe, &C::Importe)
            .property<bool>("Tipo", &C::Tipo, &C::Tipo)
            .writeOnly<db::ConnectionRef>("Conexion", &C::Conexion)
            .writeOnly<cEmpresaRef>("cEmpresa", &C::cEmpresa)
            .method("Insertar", &C::Insertar)
            .method("Eliminar", &C::Eliminar)
            .method("Modificar", &C::Modificar)
            .method("Cargar", &C::Cargar, {"recAp"})
            .property<std::string>("DocumentoSTR", &C::DocumentoSTR, &C::DocumentoSTR)
            .done();
    }
}

}  // namespace

void registerMasters() {
    using C = clsConcepto;
    ClassBuilder<C>("clsConcepto")
        .property<std::string>("Codigo", &C::Codigo, &C::Codigo)
        .property<std::string>("Nombre", &C::Nombre, &C::Nombre)
        .property<bool>("Debe", &C::Debe, &C::Debe)
        .property<bool>("Automatico", &C::Automatico, &C::Automatico)
        .property<bool>("Impuestos", &C::Impuestos, &C::Impuestos)
        .property<bool>("M347", &C::M347, &C::M347)
        .writeOnly<db::ConnectionRef>("Conexion", &C::Conexion)
        .writeOnly<cEmpresaRef>("cEmpresa", &C::cEmpresa)
        .property<std::uint8_t>("Impuestos_Tipo", &C::Impuestos_Tipo, &C::Impuestos_Tipo)
        .method("Modificar", &C::Modificar)
        .method("Insertar", &C::Insertar)
        .method("Eliminar", &C::Eliminar)
        .method("Cargar", &C::Cargar)
        .done();

    registerOpeningAndTemplates();
}

}  // namespace kvlnmov::registration
