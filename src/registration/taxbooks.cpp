// Late-bound members of the tax book classes, in interface order.

#include "kvlnmov/registration/registry.h"
#include "kvlnmov/taxbooks/cls_libro_igic.h"
#include "kvlnmov/taxbooks/cls_libro_irpf.h"
#include "registration/library_classes.h"

namespace kvlnmov::registration {

namespace {

void registerWithholdingBook() {
    using C = clsLibroIrpf;
    ClassBuilder<C>("clsLibroIrpf")
        .property<std::int32_t>("Apunte", &C::Apunte, &C::Apunte)
        .property<Date>("Fecha", &C::Fecha, &C::Fecha)
        .property<std::string>("Cuenta", &C::Cuenta, &C::Cuenta)
        .property<std::string>("Documento", &C::Documento, &C::Documento)
        .property<std::int32_t>("Asiento", &C::Asiento, &C::Asiento)
        .property<enmLibros>("Libro", &C::Libro, &C::Libro)
        .property<std::string>("Nombre", &C::Nombre, &C::Nombre)
        .property<std::string>("Nif", &C::Nif, &C::Nif)
        .property<std::int16_t>("Cod_Irpf", &C::Cod_Irpf, &C::Cod_Irpf)
        .property<std::int16_t>("TipoIrpf", &C::TipoIrpf, &C::TipoIrpf)
        .property<std::string>("CuentaIrpf", &C::CuentaIrpf, &C::CuentaIrpf)
        .property<Currency>("ImporteBase", &C::ImporteBase, &C::ImporteBase)
        .property<Currency>("ImporteIrpf", &C::ImporteIrpf, &C::ImporteIrpf)
        .property<Currency>("ImporteFactura", &C::ImporteFactura, &C::ImporteFactura)
        .writeOnly<db::ConnectionRef>("Conexion", &C::Conexion)
        .writeOnly<cEmpresaRef>("cEmpresa", &C::cEmpresa)
        .method("Insertar", &C::Insertar)
        .method("Modificar", &C::Modificar)
        .method("Eliminar", &C::Eliminar)
        .method("Cambiar_Asiento", &C::Cambiar_Asiento, {"lngAsiento_Ant", "lngAsiento_Nuevo"})
        .method("Cambiar_Cuenta", &C::Cambiar_Cuenta,
                {"strCuentaI", "strCuentaF", "strCuentaD", "dteFechaI", "dteFechaF", "intPunteo"})
        .done();
}

}  // namespace

void registerTaxbooks() {
    using C = clsLibroIgic;
    ClassBuilder<C>("clsLibroIgic")
        .property<std::int32_t>("Apunte", &C::Apunte, &C::Apunte)
        .property<Date>("Fecha", &C::Fecha, &C::Fecha)
        .property<std::string>("Cuenta", &C::Cuenta, &C::Cuenta)
        .property<std::string>("DocumentoSTR", &C::DocumentoSTR, &C::DocumentoSTR)
        .property<std::int32_t>("Asiento", &C::Asiento, &C::Asiento)
        .property<enmLibros>("Libro", &C::Libro, &C::Libro)
        .property<std::string>("Nombre", &C::Nombre, &C::Nombre)
        .property<std::string>("Nif", &C::Nif, &C::Nif)
        .property<bool>("InversionSujetoPasivo", &C::InversionSujetoPasivo,
                        &C::InversionSujetoPasivo)
        .property<std::int16_t>("TipoOpTributaria", &C::TipoOpTributaria, &C::TipoOpTributaria)
        .property<bool>("EmitidaPorTercerosODestinatario", &C::EmitidaPorTercerosODestinatario,
                        &C::EmitidaPorTercerosODestinatario)
        .writeOnly<db::ConnectionRef>("Conexion", &C::Conexion)
        .writeOnly<cEmpresaRef>("cEmpresa", &C::cEmpresa)
        .property<std::int32_t>("Documento", &C::Documento, &C::Documento)
        .property<std::int16_t>("Cantidad", &C::Cantidad, &C::Cantidad)
        .indexed<std::int16_t>("Operacion", &C::Operacion, &C::Operacion)
        .indexed<Currency>("Base", &C::Base, &C::Base)
        .indexed<std::int16_t>("Tipo", &C::Tipo, &C::Tipo)
        .indexed<Currency>("Cuota", nullptr, &C::Cuota)
        .indexed<Currency>("Deducible", nullptr, &C::Deducible)
        .method("Insertar", &C::Insertar)
        .method("Modificar", &C::Modificar)
        .method("Eliminar", &C::Eliminar)
        .method("Cambiar_Asiento", &C::Cambiar_Asiento, {"lngAsiento_Ant", "lngAsiento_Nuevo"})
        .method("Cambiar_Cuenta", &C::Cambiar_Cuenta,
                {"strCuentaI", "strCuentaF", "strCuentaD", "dteFechaI", "dteFechaF", "intPunteo"})
        .property<std::uint8_t>("TipoIgIV", &C::TipoIgIV, &C::TipoIgIV)
        .done();

    registerWithholdingBook();
}

}  // namespace kvlnmov::registration
