// Late-bound members of the journal classes, in interface order.

#include "kvlnmov/journal/cls_asiento.h"
#include "kvlnmov/journal/cls_mov.h"
#include "kvlnmov/registration/registry.h"
#include "registration/library_classes.h"

namespace kvlnmov::registration {

void registerJournal() {
    {
        using C = clsMov;
        ClassBuilder<C>("clsMov")
            .property<std::int32_t>("Asiento", &C::Asiento, &C::Asiento)
            .property<std::int32_t>("Apunte", &C::Apunte, &C::Apunte)
            .property<std::string>("Cuenta", &C::Cuenta, &C::Cuenta)
            .property<std::string>("Cto_Aut", &C::Cto_Aut, &C::Cto_Aut)
            .property<std::string>("Concepto", &C::Concepto, &C::Concepto)
            .property<std::string>("DocumentoSTR", &C::DocumentoSTR, &C::DocumentoSTR)
            .property<std::int16_t>("Diario", &C::Diario, &C::Diario)
            .property<std::int16_t>("Dpto", &C::Dpto, &C::Dpto)
            .property<Currency>("Debe", &C::Debe, &C::Debe)
            .property<Currency>("Haber", &C::Haber, &C::Haber)
            .property<std::int16_t>("Punteo", &C::Punteo, &C::Punteo)
            .property<bool>("M347", &C::M347, &C::M347)
            .property<std::int32_t>("Imp_Apunte_Ref", &C::Imp_Apunte_Ref, &C::Imp_Apunte_Ref)
            .property<enmPropietario_Apunte>("Imp_Prop", &C::Imp_Prop, &C::Imp_Prop)
            .property<Currency>("Imp_Base", &C::Imp_Base, &C::Imp_Base)
            .property<std::int16_t>("Imp_Tipo", &C::Imp_Tipo, &C::Imp_Tipo)
            .property<enmOperacion_Impuestos>("Imp_Op", &C::Imp_Op, &C::Imp_Op)
            .property<std::string>("Imp_Contrapartida", &C::Imp_Contrapartida,
                                   &C::Imp_Contrapartida)
            .property<bool>("AlDebe", &C::AlDebe, &C::AlDebe)
            .writeOnly<db::ConnectionRef>("Conexion", &C::Conexion)
            .writeOnly<cEmpresaRef>("cEmpresa", &C::cEmpresa)
            .property<std::int32_t>("Documento", &C::Documento, &C::Documento)
            .property<Date>("Fecha", &C::Fecha, &C::Fecha)
            .property<Date>("Fecha_Asiento", &C::Fecha_Asiento, &C::Fecha_Asiento)
            .property<Currency>("Imp_Cuota", &C::Imp_Cuota, &C::Imp_Cuota)
            .method("EliminarSec", &C::EliminarSec, {"lngApunte"})
            .method("Insertar", &C::Insertar)
            .method("Modificar", &C::Modificar)
            .method("Eliminar", &C::Eliminar)
            .method("Duplicar_Asiento", &C::Duplicar_Asiento,
                    {"lngAsiento_Ant", "lngAsiento_Nuevo"})
            .method("Cambiar_Asiento", &C::Cambiar_Asiento, {"lngAsiento_Ant", "lngAsiento_Nuevo"})
            .method(
                "Cambiar_Cuenta", &C::Cambiar_Cuenta,
                {"strCuentaI", "strCuentaF", "strCuentaD", "dteFechaI", "dteFechaF", "intPunteo"})
            .method("Puntear", &C::Puntear)
            .method("Puntear347", &C::Puntear347)
            .method("InsertarSec", &C::InsertarSec,
                    {"lngApunte", "strContrap", "dblBase", "intOp", "lngAsiento", "intDpto",
                     "intImp_Tipo", "curCuota"})
            .method("Modificar_Concepto", &C::Modificar_Concepto)
            .method("Modificar_Documento", &C::Modificar_Documento)
            .method("Acumulados", &C::Acumulados,
                    {"bolAdd", "dteFecha", "strCuenta", "intDpto", "curDebe", "curHaber"})
            .method("AjustarConcepto", &C::AjustarConcepto, {"strConcepto", "strMask", "strValor"})
            .method("InsertarSII", &C::InsertarSII,
                    {"lngApunte", "intTipoLibro", "lngIDLibroFactura", "intTipoFactura",
                     "strNumSerieFacturaEmisor", "dteFechaFacturaEmisor"})
            .method("Modificar_F7", &C::Modificar_F7)
            .done();
    }
    {
        using C = clsAsiento;
        ClassBuilder<C>("clsAsiento")
            .property<std::int32_t>("Codigo", &C::Codigo, &C::Codigo)
            .property<bool>("Cierre", &C::Cierre, &C::Cierre)
            .property<bool>("Nulo", &C::Nulo, &C::Nulo)
            .property<std::int16_t>("Usuario", &C::Usuario, &C::Usuario)
            .property<std::int16_t>("UsuarioBloqueo", &C::UsuarioBloqueo, &C::UsuarioBloqueo)
            .property<Date>("FechaCreacion", &C::FechaCreacion, &C::FechaCreacion)
            .property<Date>("FechaUltimaModificacion", &C::FechaUltimaModificacion,
                            &C::FechaUltimaModificacion)
            .property<std::string>("Observaciones", &C::Observaciones, &C::Observaciones)
            .property<std::string>("CodigoExterno", &C::CodigoExterno, &C::CodigoExterno)
            .writeOnly<db::ConnectionRef>("Conexion", &C::Conexion)
            .writeOnly<cEmpresaRef>("cEmpresa", &C::cEmpresa)
            .property<std::int16_t>("Destino", &C::Destino, &C::Destino)
            .property<Date>("Fecha", &C::Fecha, &C::Fecha)
            .property<std::string>("ODBCNombre", &C::ODBCNombre, &C::ODBCNombre)
            .property<std::string>("ODBCUsuario", &C::ODBCUsuario, &C::ODBCUsuario)
            .property<std::string>("ODBCBaseDatos", &C::ODBCBaseDatos, &C::ODBCBaseDatos)
            .property<std::string>("ODBCPassword", &C::ODBCPassword, &C::ODBCPassword)
            .method("Insertar", &C::Insertar)
            .method("Eliminar", &C::Eliminar)
            .method("Cargar", &C::Cargar)
            .method("Existe", &C::Existe)
            .method("Recuperar", &C::Recuperar)
            .method("Imprimir", &C::Imprimir, {"strImpresora"})
            .method("Bloqueo", &C::Bloqueo, {"bolBloquear", "intUsuario"})
            .method("Modificar", &C::Modificar)
            .method("Modificar_Observaciones", &C::Modificar_Observaciones)
            .done();
    }
}

}  // namespace kvlnmov::registration
