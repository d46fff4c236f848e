// Late-bound members of the forecast classes, in interface order.

#include "kvlnmov/forecasts/cls_prev_cobros.h"
#include "kvlnmov/forecasts/cls_prev_pagos.h"
#include "kvlnmov/forecasts/cls_pvivas_ap.h"
#include "kvlnmov/registration/registry.h"
#include "registration/library_classes.h"

namespace kvlnmov::registration {

namespace {

void registerPayments() {
    using C = clsPrevPagos;
    ClassBuilder<C>("clsPrevPagos")
        .property<std::int32_t>("Apunte", &C::Apunte, &C::Apunte)
        .property<std::int32_t>("ApunteMov", &C::ApunteMov, &C::ApunteMov)
        .property<std::string>("Cuenta", &C::Cuenta, &C::Cuenta)
        .property<std::int32_t>("Documento", &C::Documento, &C::Documento)
        .property<std::int32_t>("Asiento", &C::Asiento, &C::Asiento)
        .property<Date>("Fecha_Doc", &C::Fecha_Doc, &C::Fecha_Doc)
        .property<Date>("Fecha_Vto", &C::Fecha_Vto, &C::Fecha_Vto)
        .property<std::int16_t>("FormaPago", &C::FormaPago, &C::FormaPago)
        .property<std::string>("Banco", &C::Banco, &C::Banco)
        .property<Currency>("Importe", &C::Importe, &C::Importe)
        .property<std::int16_t>("Estado", &C::Estado, &C::Estado)
        .property<std::string>("CuentaOriginal", &C::CuentaOriginal, &C::CuentaOriginal)
        .writeOnly<cEmpresaRef>("cEmpresa", &C::cEmpresa)
        .writeOnly<db::ConnectionRef>("Conexion", &C::Conexion)
        .property<std::int16_t>("Dpto", &C::Dpto, &C::Dpto)
        .property<std::string>("DocumentoSTR", &C::DocumentoSTR, &C::DocumentoSTR)
        .property<std::string>("Documento2", &C::Documento2, &C::Documento2)
        .property<std::int16_t>("Cod_EjercicioMov", &C::Cod_EjercicioMov, &C::Cod_EjercicioMov)
        .method("Eliminar", &C::Eliminar)
        .method("EliminarxMov", &C::EliminarxMov)
        .method("EliminarxAsiento", &C::EliminarxAsiento, {"lngAsiento"})
        .method("Insertar", &C::Insertar)
        .method("Modificar", &C::Modificar)
        .method("Cargar", &C::Cargar, {"clsPrev"})
        .method("Cambiar_Vto", &C::Cambiar_Vto,
                {"strCuentaI", "strCuentaF", "dteFechaI", "dteFechaF", "dteVto", "intFPago",
                 "strBanco"})
        .method("Cambiar_Banco", &C::Cambiar_Banco,
                {"strCuentaI", "strCuentaF", "dteFechaI", "dteFechaF", "intFPago", "strBanco",
                 "strNuevoBanco"})
        .method("Cambiar_Estado", &C::Cambiar_Estado,
                {"strCuentaI", "strCuentaF", "dteFechaI", "dteFechaF", "intFPago", "strBanco",
                 "lngDocumento", "bolEstado"})
        .method("Cambiar_Estado2", &C::Cambiar_Estado2,
                {"strCuentaI", "strCuentaF", "dteFechaI", "dteFechaF", "intFPago", "strBanco",
                 "strDocumento", "bolEstado"})
        .method("Cambiar_EstadoByID", &C::Cambiar_EstadoByID, {"lngApunte", "bolEstado"})
        .method("Cambiar_BancoByID", &C::Cambiar_BancoByID, {"lngApunte", "strCtaBanco"})
        .done();
}

void registerCollections() {
    using C = clsPrevCobros;
    ClassBuilder<C>("clsPrevCobros")
        .property<std::int32_t>("Apunte", &C::Apunte, &C::Apunte)
        .property<std::int32_t>("ApunteMov", &C::ApunteMov, &C::ApunteMov)
        .property<std::string>("Cuenta", &C::Cuenta, &C::Cuenta)
        .property<std::int32_t>("Documento", &C::Documento, &C::Documento)
        .property<std::int32_t>("Asiento", &C::Asiento, &C::Asiento)
        .property<Date>("Fecha_Doc", &C::Fecha_Doc, &C::Fecha_Doc)
        .property<Date>("Fecha_Vto", &C::Fecha_Vto, &C::Fecha_Vto)
        .property<std::int16_t>("FormaCobro", &C::FormaCobro, &C::FormaCobro)
        .property<std::string>("Banco", &C::Banco, &C::Banco)
        .property<Currency>("Importe", &C::Importe, &C::Importe)
        .property<std::int16_t>("Estado", &C::Estado, &C::Estado)
        .property<std::int16_t>("Cobrador", &C::Cobrador, &C::Cobrador)
        .property<std::int16_t>("Agente", &C::Agente, &C::Agente)
        .property<std::string>("CuentaOriginal", &C::CuentaOriginal, &C::CuentaOriginal)
        .property<std::int16_t>("BancoDoc", &C::BancoDoc, &C::BancoDoc)
        .property<std::int32_t>("Remesa", &C::Remesa, &C::Remesa)
        .writeOnly<cEmpresaRef>("cEmpresa", &C::cEmpresa)
        .writeOnly<db::ConnectionRef>("Conexion", &C::Conexion)
        .property<std::string>("DocumentoSTR", &C::DocumentoSTR, &C::DocumentoSTR)
        .method("Eliminar", &C::Eliminar)
        .method("EliminarxMov", &C::EliminarxMov)
        .method("EliminarxAsiento", &C::EliminarxAsiento, {"lngAsiento"})
        .method("Insertar", &C::Insertar)
        .method("Modificar", &C::Modificar)
        .method("Cargar", &C::Cargar, {"clsPrev"})
        .method("Cambiar_Vto", &C::Cambiar_Vto,
                {"strCuentaI", "strCuentaF", "dteFechaI", "dteFechaF", "dteVto", "intFCobro",
                 "strBanco"})
        .method("Cambiar_Banco", &C::Cambiar_Banco,
                {"strCuentaI", "strCuentaF", "dteFechaI", "dteFechaF", "intFCobro", "strBanco",
                 "strNuevoBanco"})
        .method("Cambiar_Estado", &C::Cambiar_Estado,
                {"strCuentaI", "strCuentaF", "dteFechaI", "dteFechaF", "intFCobro", "strBanco",
                 "intEstado"})
        .done();
}

void registerOpeningItems() {
    using C = clsPVivasAp;
    ClassBuilder<C>("clsPVivasAp")
        .property<std::int32_t>("Apunte", &C::Apunte, &C::Apunte)
        .property<std::int32_t>("Asiento", &C::Asiento, &C::Asiento)
        .property<Date>("Fecha", &C::Fecha, &C::Fecha)
        .property<Date>("Fecha_Apunte", &C::Fecha_Apunte, &C::Fecha_Apunte)
        .property<std::string>("Cuenta", &C::Cuenta, &C::Cuenta)
        .property<std::string>("Cto_Aut", &C::Cto_Aut, &C::Cto_Aut)
        .property<std::string>("Concepto", &C::Concepto, &C::Concepto)
        .property<std::int32_t>("Documento", &C::Documento, &C::Documento)
        .property<std::int16_t>("Diario", &C::Diario, &C::Diario)
        .property<std::int16_t>("Dpto", &C::Dpto, &C::Dpto)
        .property<Currency>("Debe", &C::Debe, &C::Debe)
        .property<Currency>("Haber", &C::Haber, &C::Haber)
        .writeOnly<db::ConnectionRef>("Conexion", &C::Conexion)
        .writeOnly<cEmpresaRef>("cEmpresa", &C::cEmpresa)
        .method("Insertar", &C::Insertar)
        .method("Modificar", &C::Modificar)
        .method("Eliminar", &C::Eliminar)
        .property<std::string>("DocumentoSTR", &C::DocumentoSTR, &C::DocumentoSTR)
        .done();
}

}  // namespace

void registerForecasts() {
    registerPayments();
    registerCollections();
    registerOpeningItems();
}

}  // namespace kvlnmov::registration
