// Every statement shape the library writes translates and runs on SQLite; key shapes are
// translated to exactly the expected SQLite text and parameters.

#include <gtest/gtest.h>

#include "db/sqlite/translate/literal_coercion.h"
#include "db/translate/translate_support.h"
#include "kvlnmov/frame/date.h"

namespace kvlnmov::db::sqlite::testing {
namespace {

using Kind = StatementKind;

struct Shape {
    Kind kind;
    const char* tsql;
};

// The statements of the business objects, with realistic values substituted.
const Shape kLibraryStatements[] = {
    // Concepts
    {Kind::Update,
     "UPDATE Conceptos SET Nombre ='Ventas', Debe =1, Automatico =0, Impuestos =255, M347 =1 "
     "WHERE Codigo ='C01'"},
    {Kind::Select, "SELECT Codigo FROM Conceptos WHERE Codigo ='C01'"},
    {Kind::Insert,
     "INSERT INTO Conceptos (Codigo, Nombre, Debe, Automatico, Impuestos, M347) VALUES ('C01', "
     "'Ventas', 1, 0, 255, 1)"},
    {Kind::Delete, "DELETE FROM Conceptos WHERE Codigo ='C01'"},
    {Kind::Select, "SELECT * FROM Conceptos WHERE Codigo = 'C01'"},
    // Opening balances
    {Kind::Insert,
     "INSERT INTO Acumulados (Cod_Empresa, Cod_Ejercicio, Cuenta, Nivel, Apertura) VALUES (1, "
     "2026, '43000001', 5, 100)"},
    {Kind::Update,
     "UPDATE Acumulados SET Apertura = Apertura + 100 WHERE Cod_Empresa =1 AND Cod_Ejercicio "
     "=2026 AND Cuenta ='4300'"},
    {Kind::Select,
     "SELECT Apertura FROM Acumulados WHERE Cod_Empresa =1 And Cod_Ejercicio =2026 And Cuenta = "
     "'43000001'"},
    {Kind::Update,
     "UPDATE Acumulados SET Apertura =150 WHERE Cod_Empresa =1 AND Cod_Ejercicio =2026 AND "
     "Cuenta ='43000001'"},
    {Kind::Update,
     "UPDATE Acumulados SET Apertura = Apertura - (100) WHERE Cod_Empresa =1 AND Cod_Ejercicio "
     "=2026 AND Cuenta ='43'"},
    {Kind::Update,
     "UPDATE Acumulados SET Apertura = Apertura + (150) WHERE Cod_Empresa =1 AND Cod_Ejercicio "
     "=2026 AND Cuenta ='43'"},
    // Automatic entry templates
    {Kind::Insert,
     "INSERT INTO Asientos_Aut (Cod_Empresa, Codigo, Nombre, Tipo) VALUES(1, 'NOM', 'Nominas', "
     "0)"},
    {Kind::Select, "SELECT Nombre, Tipo FROM Asientos_Aut WHERE Cod_Empresa =1 AND Codigo ='NOM'"},
    {Kind::Delete, "DELETE FROM Apuntes_Aut WHERE Cod_Empresa =1 And Cod_Asiento ='NOM'"},
    {Kind::Delete, "DELETE FROM Asientos_Aut WHERE Cod_Empresa =1 And Codigo ='NOM'"},
    {Kind::Insert,
     "INSERT INTO Apuntes_Aut (Cod_Empresa, Cod_Asiento, Cuenta, Concepto, Documento, Diario, "
     "Dpto, Importe, Tipo) VALUES (1, 'NOM', '64000000', 'Sueldos', 'F-1', 1, 0, 1500.25, 1)"},
    {Kind::Select, "SELECT ISNULL(@@IDENTITY, 0) AS Id"},
    {Kind::Update,
     "UPDATE Apuntes_Aut SET Cuenta ='64000000', Concepto ='Sueldos', Documento ='F-1', Diario "
     "=1, Dpto =0, Importe =1500.25, Tipo =0 WHERE Apunte =7"},
    {Kind::Delete, "DELETE FROM Apuntes_Aut WHERE Apunte =7"},
    {Kind::Select,
     "SELECT Cod_Empresa, Cod_Asiento, Cuenta, Concepto, Documento, Diario, Dpto, Tipo, "
     "Importe, Apunte FROM Apuntes_Aut WHERE Cod_Empresa =1 AND Cod_Asiento ='NOM' ORDER BY "
     "Apunte"},
    // Balance accumulation
    {Kind::Select,
     "SELECT Cierre, Fecha FROM Asientos WHERE Cod_Empresa =1 AND Cod_Ejercicio =2026 AND "
     "Codigo =5"},
    {Kind::Update,
     "UPDATE Acumulados SET D3 = D3 + (100.5) WHERE Cod_Empresa =1 AND Cod_Ejercicio =2026 AND "
     "Cuenta ='43000001'"},
    {Kind::Update,
     "UPDATE Acumulados SET H3 = H3 + (-100.5) WHERE Cod_Empresa =1 AND Cod_Ejercicio =2026 "
     "AND Cuenta ='43000001'"},
    {Kind::Update,
     "UPDATE Acumulados SET Apertura = Apertura - (50) WHERE Cod_Empresa =1 AND Cod_Ejercicio "
     "=2026 AND Cuenta ='43000001'"},
    {Kind::Update,
     "UPDATE Acumulados SET Cierre = Cierre + (-100) WHERE Cod_Empresa =1 AND Cod_Ejercicio "
     "=2026 AND Cuenta ='43000001'"},
    {Kind::Insert,
     "INSERT INTO Acumulados (Cod_Empresa, Cod_Ejercicio, Cuenta, Nivel, D3) VALUES (1, 2026, "
     "'43000001', 5, 100.5)"},
    {Kind::Update,
     "UPDATE Acumulados_Dpto SET D3 = D3 + (100.5) WHERE Cod_Empresa =1 AND Cod_Ejercicio "
     "=2026 AND Cuenta ='43000001' AND Dpto =0"},
    {Kind::Insert,
     "INSERT INTO Acumulados_Dpto (Cod_Empresa, Cod_Ejercicio, Cuenta, Dpto, Nivel, D3) VALUES "
     "(1, 2026, '43000001', 0, 5, 100.5)"},
    // Journal lines
    {Kind::Select,
     "SELECT Estado FROM Empresas_Ejercicios WHERE Cod_Empresa =1 AND Cod_Ejercicio =2026"},
    {Kind::Insert,
     "INSERT INTO Movimientos (Cod_Empresa, Cod_Ejercicio, Cod_Asiento, Apunte, Fecha_Asiento, "
     "Cuenta, Fecha_Apunte, Cto_Aut, Concepto, Documento, Diario, Dpto, Debe, Haber, Punteo, "
     "M347, Imp_ApunteRef, Imp_Prop, Imp_Base, Imp_Cuota, Imp_Tipo, Imp_Op, Imp_Contrap, "
     "Cod_Usuario, FechaUltMod) VALUES (1, 2026, 5, 12, '15/03/2026', '43000001', "
     "'15/03/2026', 'C01', 'Factura 1', 'F-1', 1, 0, 121.5, 0, 0, 1, 0, 0, 0, 0, 0, 0, '', 3, "
     "GETDATE())"},
    {Kind::Select,
     "SELECT Cod_Asiento, Fecha_Asiento, Cuenta, Dpto, Debe, Haber FROM Movimientos WHERE "
     "Cod_Empresa =1 AND Cod_Ejercicio =2026 AND Apunte =12"},
    {Kind::Update,
     "UPDATE Movimientos SET Fecha_Apunte ='15/03/2026', Cuenta ='43000001', Cto_Aut ='C01', "
     "Concepto ='Factura 1', Documento ='F-1', Diario =1, Dpto =0, M347 =1, Debe =121.5, Haber "
     "=0, Imp_ApunteRef =0, Imp_Prop =0, Imp_Base =0, Imp_Cuota =0, Imp_Tipo =0, Imp_Op =0, "
     "Imp_Contrap ='', Cod_Usuario =3, FechaUltMod = GETDATE() WHERE Cod_Empresa =1 AND "
     "Cod_Ejercicio =2026 AND Apunte =12"},
    {Kind::Update,
     "UPDATE Conc_Extractos SET Pendiente=1, Asiento=0, Apunte_Mto=0 WHERE Cod_Empresa =1 AND "
     "Cod_Ejercicio =2026 AND Apunte_Mto =12"},
    {Kind::Insert,
     "INSERT INTO Movimientos_Eliminados (Cod_Usuario, Cod_Empresa, Cod_Ejercicio, "
     "Cod_Asiento, Apunte, Fecha_Asiento, Fecha_Apunte, Cuenta, Cto_Aut, Concepto, Documento, "
     "Diario, Dpto, Debe, Haber, Punteo, M347, Imp_ApunteRef, Imp_Prop, Imp_Base, Imp_Cuota, "
     "Imp_Tipo, Imp_Op, Imp_Contrap) SELECT 3, Cod_Empresa, Cod_Ejercicio, Cod_Asiento, Apunte, "
     "Fecha_Asiento, Fecha_Apunte, Cuenta, Cto_Aut, Concepto, Documento, Diario, Dpto, Debe, "
     "Haber, Punteo, M347, Imp_ApunteRef, Imp_Prop, Imp_Base, Imp_Cuota, Imp_Tipo, Imp_Op, "
     "Imp_Contrap FROM Movimientos WHERE Cod_Empresa =1 AND Cod_Ejercicio =2026 AND Apunte =12"},
    {Kind::Delete,
     "DELETE FROM Movimientos_SII WHERE Cod_Empresa =1 AND Cod_Ejercicio =2026 AND Apunte =12"},
    {Kind::Delete,
     "DELETE FROM Movimientos WHERE Cod_Empresa =1 AND Cod_Ejercicio =2026 AND Apunte =12"},
    {Kind::Delete,
     "DELETE FROM Movimientos_Sec WHERE Cod_Empresa =1 AND Cod_Ejercicio =2026 AND Apunte =12"},
    {Kind::Insert,
     "INSERT INTO Movimientos_Sec (Cod_Empresa, Cod_Ejercicio, Apunte, Contrap, Base, TipoOp, "
     "Asiento, Dpto, Imp_Tipo, Cuota) VALUES (1, 2026, 12, '47700000', 100, 1, 5, 0, 7, 7)"},
    {Kind::Select,
     "SELECT * FROM Movimientos WHERE Cod_Empresa =1 AND Cod_Ejercicio =2026 AND Cod_Asiento =5"},
    {Kind::Select,
     "SELECT Fecha_Asiento, Cuenta, Dpto, Debe, Haber FROM Movimientos WHERE Cod_Empresa =1 "
     "AND Cod_Ejercicio =2026 AND Cod_Asiento =5"},
    {Kind::Update,
     "UPDATE Movimientos_Sec SET Asiento =6 WHERE Cod_Empresa =1 AND Cod_Ejercicio =2026 AND "
     "Asiento =5"},
    {Kind::Update,
     "UPDATE Movimientos SET Cod_Asiento =6, Fecha_Apunte ='16/03/2026', Fecha_Asiento "
     "='16/03/2026' WHERE Cod_Empresa =1 AND Cod_Ejercicio =2026 AND Cod_Asiento =5"},
    {Kind::Update,
     "UPDATE Previsiones_Pago SET Asiento = 6 WHERE Cod_Empresa =1 AND Cod_EjercicioMov =2026 "
     "AND Asiento =5"},
    {Kind::Select,
     "SELECT Cod_Asiento, Fecha_Asiento, Cuenta, Dpto, Debe, Haber FROM Movimientos WHERE "
     "Cod_Empresa =1 AND Cod_Ejercicio =2026 AND (Cuenta BETWEEN '43000000' AND '43099999') "
     "AND (Fecha_Asiento BETWEEN '01/01/2026' AND '31/12/2026') AND Punteo <> 0"},
    {Kind::Update,
     "UPDATE Movimientos_Sec SET Contrap ='43000002' WHERE Cod_Empresa =1 AND Cod_Ejercicio "
     "=2026 AND (Contrap BETWEEN '43000000' AND '43099999') AND Apunte IN (SELECT Imp_ApunteRef "
     "FROM Movimientos WHERE Cod_Empresa =1 AND Cod_Ejercicio =2026 AND (Cuenta BETWEEN "
     "'43000000' AND '43099999') AND (Fecha_Asiento BETWEEN '01/01/2026' AND '31/12/2026') AND "
     "Punteo = 0)"},
    {Kind::Update,
     "UPDATE Movimientos SET Imp_Contrap ='43000002', Cod_Usuario =3, FechaUltMod = GETDATE() "
     "WHERE Cod_Empresa =1 AND Cod_Ejercicio =2026 AND (Imp_Contrap BETWEEN '43000000' AND "
     "'43099999') AND (Fecha_Asiento BETWEEN '01/01/2026' AND '31/12/2026')"},
    {Kind::Update,
     "UPDATE Movimientos SET Cuenta ='43000002', Cod_Usuario =3, FechaUltMod = GETDATE() WHERE "
     "Cod_Empresa =1 AND Cod_Ejercicio =2026 AND (Cuenta BETWEEN '43000000' AND '43099999') AND "
     "(Fecha_Asiento BETWEEN '01/01/2026' AND '31/12/2026') AND Punteo <> 0"},
    {Kind::Update,
     "UPDATE Movimientos SET Punteo =1 WHERE Cod_Empresa =1 AND Cod_Ejercicio =2025 AND Apunte "
     "=12"},
    {Kind::Update,
     "UPDATE Movimientos SET M347 =1 WHERE Cod_Empresa =1 AND Cod_Ejercicio =2026 AND Apunte "
     "=12"},
    {Kind::Update,
     "UPDATE Movimientos SET Concepto ='Nuevo concepto', Cod_Usuario =3, FechaUltMod = "
     "GETDATE() WHERE Cod_Empresa =1 AND Cod_Ejercicio =2026 AND Apunte =12"},
    {Kind::Update,
     "UPDATE Movimientos SET Documento ='F-2', Cod_Usuario =3, FechaUltMod = GETDATE() WHERE "
     "Cod_Empresa =1 AND Cod_Ejercicio =2026 AND Apunte =12"},
    {Kind::Update,
     "UPDATE Movimientos SET Dpto =2, Documento ='F-2', Concepto ='Otro', Cod_Usuario =3, "
     "FechaUltMod = GETDATE() WHERE Cod_Empresa =1 AND Cod_Ejercicio =2026 AND Apunte =12"},
    {Kind::Update,
     "UPDATE Movimientos_SII SET NumSerieFacturaEmisor ='A-2026-1', FechaFacturaEmisor "
     "='15/03/2026' WHERE Cod_Empresa =1 AND Cod_Ejercicio =2026 AND Apunte =12 AND TipoLibro "
     "=1 AND IDLibroFactura =77 AND TipoFactura =1"},
    {Kind::Insert,
     "INSERT INTO Movimientos_SII (Cod_Empresa, Cod_Ejercicio, Apunte, TipoLibro, "
     "IDLibroFactura, TipoFactura, NumSerieFacturaEmisor, FechaFacturaEmisor) VALUES (1, 2026, "
     "12, 1, 77, 1, 'A-2026-1', '15/03/2026')"},
    // Journal entries
    {Kind::Delete,
     "DELETE FROM Asientos WHERE Cod_Empresa =1 AND Cod_Ejercicio =2026 AND Codigo =999999"},
    {Kind::Delete,
     "DELETE FROM Movimientos WHERE Cod_Empresa =1 AND Cod_Ejercicio =2026 AND Cod_Asiento "
     "=999999"},
    {Kind::Insert,
     "INSERT INTO Asientos (Cod_Empresa, Cod_Ejercicio, Codigo, Fecha, Cierre, Usuario, "
     "CodigoExterno) VALUES(1, 2026, 5, '15/03/2026', 0, 3, 'EXT-1')"},
    {Kind::Insert,
     "INSERT INTO Asientos (Cod_Empresa, Cod_Ejercicio, Codigo, Fecha, Cierre, Usuario) "
     "VALUES(1, 2026, 999999, '31/12/2026', 1, 3)"},
    {Kind::Select,
     "SELECT a.Fecha, a.Nulo, a.Cierre, a.Usuario, ISNULL(a.FechaCreacion,'') AS FechaCreacion, "
     "ISNULL(a.FechaUltMod,'') AS FechaUltMod, ISNULL(a.Observaciones, '') AS Observaciones, "
     "ISNULL(b.Usuario, 0) AS UsuarioBloqueo, ISNULL(a.CodigoExterno, '') AS CodigoExterno FROM "
     "Asientos a LEFT JOIN Asientos_Bloqueo b ON a.Cod_Empresa = b.Cod_Empresa AND "
     "a.Cod_Ejercicio = b.Cod_Ejercicio AND a.Codigo = b.Codigo WHERE a.Cod_Empresa =1 AND "
     "a.Cod_Ejercicio =2026 AND a.Codigo =5"},
    {Kind::Select,
     "SELECT Codigo FROM Asientos WHERE Cod_Empresa =1 AND Cod_Ejercicio =2026 AND Codigo =5"},
    {Kind::Update,
     "UPDATE Asientos SET Nulo = 0 WHERE Cod_Empresa =1 AND Cod_Ejercicio =2026 AND Codigo =5"},
    {Kind::Insert,
     " INSERT INTO BakAnulado_Asientos  (Cod_Empresa, Cod_Ejercicio, Codigo, Fecha, Nulo, "
     "Cierre, Usuario, Exportar, Importar)  SELECT  Cod_Empresa, Cod_Ejercicio, Codigo, Fecha, "
     "Nulo, Cierre, 3, Exportar, Importar  FROM Asientos WHERE Cod_Empresa = 1 AND Cod_Ejercicio "
     "= 2026 AND Codigo = 5"},
    {Kind::Select,
     "SELECT Apunte FROM Igic WHERE Cod_Empresa =1 AND Cod_Ejercicio =2026 AND Asiento =5"},
    {Kind::Insert,
     " INSERT INTO BakAnulado_Igic_Lineas  (IDBak, Cod_Empresa, Cod_Ejercicio, Apunte, "
     "NumLinea, TipoOp, Base, Tipo, Cuota)  SELECT 9, Cod_Empresa, Cod_Ejercicio, Apunte, "
     "NumLinea, TipoOp, Base, Tipo, Cuota  FROM Igic_Lineas WHERE Apunte = 12"},
    {Kind::Delete, "DELETE FROM Iva_Lineas WHERE Apunte =12"},
    {Kind::Insert,
     " INSERT INTO BakAnulado_Iva (IDBak, Cod_Empresa, Cod_Ejercicio, Apunte, Libro, Fecha, "
     "Cuenta, Documento, Asiento)  SELECT 9, Cod_Empresa, Cod_Ejercicio, Apunte, Libro, Fecha, "
     "Cuenta, Documento, Asiento  FROM Iva WHERE Cod_Empresa = 1 AND Cod_Ejercicio = 2026 AND "
     "Asiento = 5"},
    {Kind::Delete, "DELETE FROM Igic WHERE Cod_Empresa =1 AND Cod_Ejercicio =2026 AND Asiento =5"},
    {Kind::Select,
     "SELECT Apunte FROM Irpf WHERE Cod_Empresa =1 AND Cod_Ejercicio =2026 AND Asiento =5"},
    {Kind::Insert,
     " INSERT INTO BakAnulado_Irpf (IDBak, Cod_Empresa, Cod_Ejercicio, Apunte, Libro, Fecha, "
     "Cuenta, Documento, Asiento)  SELECT 9, Cod_Empresa, Cod_Ejercicio, Apunte, Libro, Fecha, "
     "Cuenta, Documento, Asiento  FROM Irpf WHERE Cod_Empresa = 1 AND Cod_Ejercicio = 2026 AND "
     "Asiento = 5"},
    {Kind::Delete, "DELETE FROM Irpf WHERE Cod_Empresa =1 AND Cod_Ejercicio =2026 AND Asiento =5"},
    {Kind::Select,
     "SELECT Codigo, Dotacion FROM Amortizaciones_Plan WHERE Cod_Empresa =1 AND Fecha BETWEEN "
     "'01/01/2026' AND '31/12/2026' AND Asiento =5"},
    {Kind::Update,
     "UPDATE Amortizaciones SET Amortizado = Amortizado - 123.45 WHERE Cod_Empresa =1 AND "
     "Codigo =4"},
    {Kind::Update,
     "UPDATE Amortizaciones_Plan SET Asiento = 0 WHERE Cod_Empresa =1 AND Fecha BETWEEN "
     "'01/01/2026' AND '31/12/2026' AND Asiento =5"},
    {Kind::Insert,
     " INSERT INTO BakAnulado_Movimientos_Sec  (IDBak, Cod_Empresa, Cod_Ejercicio, Apunte, "
     "Contrap, Base, TipoOp, Asiento, Dpto, Imp_Tipo)  SELECT 9, Cod_Empresa, Cod_Ejercicio, "
     "Apunte, Contrap, Base, TipoOp, Asiento, Dpto, Imp_Tipo  FROM Movimientos_Sec WHERE "
     "Cod_Empresa = 1 AND Cod_Ejercicio =2026 AND Apunte IN (SELECT Apunte FROM Movimientos  "
     "WHERE Cod_Empresa =1 AND Cod_Ejercicio =2026 AND Cod_Asiento =5)"},
    {Kind::Insert,
     " INSERT INTO BakAnulado_Movimientos  (IDBak, Cod_Empresa, Cod_Ejercicio, Cod_Asiento, "
     "Apunte, Fecha_Asiento, Fecha_Apunte, Cuenta,  Cto_Aut, Concepto, Documento, Diario, Dpto, "
     "Debe, Haber, Punteo, M347, Imp_ApunteRef, Imp_Prop, Imp_Base,  Imp_Tipo, Imp_Op, "
     "Imp_Contrap)  SELECT 9, Cod_Empresa, Cod_Ejercicio, Cod_Asiento, Apunte, Fecha_Asiento, "
     "Fecha_Apunte, Cuenta,  Cto_Aut, Concepto, Documento, Diario, Dpto, Debe, Haber, Punteo, "
     "M347, Imp_ApunteRef, Imp_Prop, Imp_Base,  Imp_Tipo, Imp_Op, Imp_Contrap  FROM Movimientos "
     "WHERE Cod_Empresa = 1 AND Cod_Ejercicio = 2026 AND Cod_Asiento = 5"},
    {Kind::Update,
     "UPDATE ce SET Pendiente=1, Asiento=0, Apunte_Mto=0 FROM Movimientos m INNER JOIN "
     "Conc_Extractos ce ON ce.Cod_Empresa = m.Cod_Empresa AND ce.Cod_Ejercicio = "
     "m.Cod_Ejercicio AND ce.Apunte_Mto = m.Apunte WHERE m.Cod_Empresa =1 AND m.Cod_Ejercicio "
     "=2026 AND m.Cod_Asiento =5"},
    {Kind::Select,
     "SELECT TipoLibro, IDLibroFactura FROM Movimientos_SII WHERE Cod_Empresa =1 AND "
     "Cod_Ejercicio =2026 AND Apunte IN (SELECT Apunte FROM Movimientos WHERE Cod_Empresa =1 "
     "AND Cod_Ejercicio =2026 AND Cod_Asiento =5)"},
    {Kind::Delete,
     "DELETE FROM Movimientos_Sec WHERE Cod_Empresa =1 AND Cod_Ejercicio =2026 AND Apunte IN "
     "(SELECT Apunte FROM Movimientos WHERE Cod_Empresa =1 AND Cod_Ejercicio =2026 AND "
     "Cod_Asiento =5)"},
    {Kind::Select,
     "SELECT * FROM Contador_Asientos WHERE Cod_Empresa =1 AND Cod_Ejercicio =2026 AND Mes =3 "
     "AND Dia =15"},
    {Kind::Select, "SELECT * FROM Contador_Asientos WHERE Cod_Empresa =1 AND Cod_Ejercicio =2026"},
    {Kind::Update,
     "UPDATE Asientos SET Nulo = 1, Usuario =3 WHERE Cod_Empresa =1 AND Cod_Ejercicio =2026 AND "
     "Codigo =5"},
    {Kind::Update,
     "UPDATE Asientos_Bloqueo SET Usuario = 3 WHERE Cod_Empresa =1 AND Cod_Ejercicio =2026 AND "
     "Codigo =5"},
    {Kind::Insert,
     "INSERT INTO Asientos_Bloqueo (Cod_Empresa, Cod_Ejercicio, Codigo, Usuario) VALUES (1, "
     "2026, 5, 3)"},
    {Kind::Delete,
     "DELETE FROM Asientos_Bloqueo WHERE Cod_Empresa =1 AND Cod_Ejercicio =2026 AND Codigo =5"},
    {Kind::Update,
     "UPDATE Asientos SET FechaUltMod = GETDATE() WHERE Cod_Empresa =1 AND Cod_Ejercicio =2026 "
     "AND Codigo =5"},
    {Kind::Update,
     "UPDATE Asientos SET Usuario = 3 WHERE Cod_Empresa =1 AND Cod_Ejercicio =2026 AND Codigo "
     "=5"},
    {Kind::Update,
     "UPDATE Asientos SET Usuario = 3, Observaciones ='Revisado' WHERE Cod_Empresa =1 AND "
     "Cod_Ejercicio =2026 AND Codigo =5"},
    // Tax books
    {Kind::Insert,
     "INSERT INTO Igic (Cod_Empresa, Cod_Ejercicio, Apunte, Libro, Fecha, Cuenta, Documento, "
     "Asiento, Nombre, Nif, InvSujetoPasivo, TipoOpTributaria, EmitidaPorTercerosODestinatario) "
     "VALUES (1, 2026, 12, 2, '15/03/2026', '43000001', 'F-1', 5, 'Cliente SL', 'B12345678', 0, "
     "1, 0)"},
    {Kind::Insert,
     "INSERT INTO Igic_Lineas (Cod_Empresa, Cod_Ejercicio, Apunte, NumLinea, TipoOp, Base, "
     "Tipo, Cuota, Deducible) VALUES (1, 2026, 12, 1, 1, 100, 7, 7, 0)"},
    {Kind::Delete, "DELETE FROM Iva WHERE Cod_Empresa =1 AND Cod_Ejercicio =2026 AND Apunte =12"},
    {Kind::Update,
     "UPDATE Igic SET Asiento =6, Fecha ='16/03/2026' WHERE Cod_Empresa =1 AND Cod_Ejercicio "
     "=2026 AND Asiento =5"},
    {Kind::Update,
     "UPDATE Igic SET Cuenta ='43000002' WHERE Cod_Empresa =1 AND Cod_Ejercicio =2026 AND "
     "(Cuenta BETWEEN '43000000' AND '43099999') AND Apunte IN (SELECT Apunte FROM Movimientos "
     "WHERE Cod_Empresa =1 AND Cod_Ejercicio =2026 AND (Cuenta BETWEEN '43000000' AND "
     "'43099999') AND (Fecha_Asiento BETWEEN '01/01/2026' AND '31/12/2026') AND Punteo <> 0)"},
    {Kind::Insert,
     "INSERT INTO Irpf(Cod_Empresa, Cod_Ejercicio, Apunte, Libro, Cod_Irpf, Tipo, Fecha, "
     "CuentaIrpf, Documento, Asiento, Cuenta, Nombre, Nif, ImporteBase, ImporteIrpf, "
     "ImporteFactura) VALUES(1, 2026, 12, 1, 1, 15, '15/03/2026', '47510000', 'F-1', 5, "
     "'41000001', 'Proveedor', 'B1', 1000, 150, 850)"},
    {Kind::Update,
     "UPDATE Irpf SET Asiento =6, Fecha ='16/03/2026' WHERE Cod_Empresa =1 AND Cod_Ejercicio "
     "=2026 AND Asiento =5"},
    // Payment, collection and opening forecasts
    {Kind::Delete, "DELETE FROM Previsiones_Pago WHERE Apunte =7"},
    {Kind::Delete,
     "DELETE FROM Previsiones_Pago WHERE Cod_Empresa =1 AND ApunteMov =12 AND "
     "((Cod_EjercicioMov = 0) OR (Cod_EjercicioMov =2026))"},
    {Kind::Delete,
     "DELETE FROM Previsiones_Pago WHERE Cod_Empresa =1 AND ApunteMov > 0 AND "
     "((Cod_EjercicioMov = 0) OR (Cod_EjercicioMov =2026)) AND ApunteMov IN (SELECT Apunte FROM "
     "Movimientos WHERE Cod_Empresa =1 AND Cod_Ejercicio =2026 AND Cod_Asiento=5)"},
    {Kind::Insert,
     "INSERT INTO Previsiones_Pago (ApunteMov, Cod_Empresa, Cuenta, Documento, Documento2, "
     "Asiento, Fecha_Doc, Fecha_Vto, Banco, FormaPago, Importe, Estado, CuentaOriginal, Dpto, "
     "Cod_EjercicioMov) VALUES (12, 1, '41000001', 'F-1', '', 5, '15/03/2026', '15/04/2026', "
     "'57200001', 2, 1234.5, 0, '41000001', 0, 2026)"},
    {Kind::Insert,
     "INSERT INTO Previsiones_Pago_Asientos(Apunte, Cod_Empresa, Cod_Ejercicio, Cod_Asiento, "
     "ApunteMov, Estado) VALUES(7, 1, 2026, 5, 7, 0)"},
    {Kind::Update,
     "UPDATE Previsiones_Pago SET Cuenta ='41000001', Documento ='F-1', Documento2 ='', Asiento "
     "=5, Fecha_Doc ='15/03/2026', Fecha_Vto ='15/04/2026', Banco ='57200001', FormaPago =2, "
     "Importe =1234.5, Estado =0, CuentaOriginal ='41000001' WHERE Apunte = 7"},
    {Kind::Select, "SELECT * FROM Previsiones_Pago WHERE Apunte =7"},
    {Kind::Update,
     "UPDATE Previsiones_Pago SET Fecha_Vto ='30/04/2026' WHERE Cod_Empresa =1 AND (Cuenta "
     "BETWEEN '41000000' AND '41099999') AND (Fecha_Vto BETWEEN '01/04/2026' AND '30/04/2026') "
     "AND FormaPago =2 AND Banco ='57200001'"},
    {Kind::Update,
     "UPDATE Previsiones_Pago SET Banco ='57200002' WHERE Cod_Empresa =1 AND (Cuenta BETWEEN "
     "'41000000' AND '41099999') AND (Fecha_Vto BETWEEN '01/04/2026' AND '30/04/2026')"},
    {Kind::Update,
     "UPDATE Previsiones_Pago SET Estado =1 WHERE Cod_Empresa =1 AND (Cuenta BETWEEN "
     "'41000000' AND '41099999') AND (Fecha_Vto BETWEEN '01/04/2026' AND '30/04/2026') AND "
     "Documento='F-1' AND FormaPago =2"},
    {Kind::Update, "UPDATE Previsiones_Pago SET Estado =0 WHERE Apunte =7"},
    {Kind::Update, "UPDATE Previsiones_Pago SET Banco ='57200002' WHERE Apunte =7"},
    {Kind::Delete, "DELETE FROM Previsiones_Cobro WHERE Apunte =7"},
    {Kind::Insert,
     "INSERT INTO Previsiones_Cobro (ApunteMov, Cod_Empresa, Cuenta, Documento, Asiento, "
     "Fecha_Doc, Fecha_Vto, Banco, FormaCobro, Importe, Estado, "
     "Cobrador,Agente,Cod_Ejercicio,Remesa,CuentaOriginal,BancoDoc) VALUES (0, 1, '43000001', "
     "'F-1', 5, '15/03/2026', '15/04/2026', '57200001', 1, 500.75, 0, 2, 3, 2026, "
     "0,'43000001',4)"},
    {Kind::Update,
     "UPDATE Previsiones_Cobro SET Cuenta ='43000001', Documento ='F-1', Asiento =5, Fecha_Doc "
     "='15/03/2026', Fecha_Vto ='15/04/2026', Banco ='57200001', FormaCobro =1, Importe "
     "=500.75, Estado =0, Cobrador =2, Agente =3, CuentaOriginal='43000001', BancoDoc=4 WHERE "
     "Apunte = 7"},
    {Kind::Select, "SELECT * FROM Previsiones_Cobro WHERE Apunte =7"},
    {Kind::Insert,
     "INSERT INTO PVivas_Apertura (Cod_Empresa, Cod_Ejercicio, Cod_Asiento, Fecha, Cuenta, "
     "Fecha_Apunte, Concepto, Documento, Diario, Dpto, Debe, Haber) VALUES (1, 2026, 0, "
     "'01/01/2026', '43000001', '20/12/2025', 'Factura pendiente', 'F-9', 1, 0, 1234.5, 0)"},
    {Kind::Update,
     "UPDATE PVivas_Apertura SET Cod_Asiento =0, Fecha ='01/01/2026', Fecha_Apunte "
     "='20/12/2025', Cuenta ='43000001', Concepto ='Factura pendiente', Documento ='F-9', "
     "Diario =1, Dpto =0, Debe =1234.5, Haber =0 WHERE Apunte =7"},
    {Kind::Delete, "DELETE FROM PVivas_Apertura WHERE Apunte =7"},
    // Entry viewer
    {Kind::Select,
     "SELECT a.Apunte, a.Fecha_Apunte, a.Cuenta, a.Concepto, a.Documento, a.Diario, a.Dpto, "
     "a.Debe, a.Haber, a.Punteo, c.Nombre,  b.Codigo, b.Fecha, b.Usuario  FROM Movimientos a  "
     "INNER JOIN Asientos b ON a.Cod_Empresa = b.Cod_Empresa And a.Cod_Ejercicio = "
     "b.Cod_Ejercicio And a.Cod_Asiento = b.Codigo LEFT JOIN Cuentas c ON c.Cod_Empresa = "
     "a.Cod_Empresa AND c.Cod_Ejercicio = a.Cod_Ejercicio AND c.Cuenta = a.Cuenta WHERE "
     "a.Cod_Empresa =1 AND a.Cod_Ejercicio =2026 AND a.Cod_Asiento =5 ORDER BY a.Apunte"},
    {Kind::Select,
     "SELECT ISNULL(SUM(a.Haber), 0) AS SumHaber, ISNULL(SUM(a.Debe), 0) AS SumDebe   FROM "
     "Movimientos a  WHERE a.Cod_Empresa =1   AND a.Cod_Ejercicio =2026   AND a.Cod_Asiento =5"},
    // Users
    {Kind::Select, "SELECT * FROM SGD_Usuarios WHERE Alias='admin' AND Password='secreto'"},
    {Kind::Select, "SELECT COUNT(*) AS NumRegs FROM SGD_Usuarios_Grupos WHERE CodUsuario=3"},
    {Kind::Select, "SELECT OficinaCentral FROM Empresas WHERE Codigo =1"},
    {Kind::Select, "SELECT * FROM SGD_Usuarios WHERE Codigo =3"},
    {Kind::Select,
     "SELECT * FROM SGD_Usuarios WHERE Codigo IN (SELECT ISNULL(MIN(Codigo), 0) AS Codigo FROM "
     "SGD_Usuarios)"},
    {Kind::Select,
     "SELECT * FROM SGD_Usuarios WHERE Codigo IN (SELECT ISNULL(MAX(Codigo), 0) AS Codigo FROM "
     "SGD_Usuarios)"},
    {Kind::Select,
     "SELECT * FROM SGD_Usuarios WHERE Codigo IN (SELECT TOP 1 Codigo FROM SGD_Usuarios WHERE "
     "Codigo < 3 ORDER BY Codigo DESC)"},
    {Kind::Select,
     "SELECT * FROM SGD_Usuarios WHERE Codigo IN (SELECT TOP 1 Codigo FROM SGD_Usuarios WHERE "
     "Codigo > 3 ORDER BY Codigo ASC)"},
    {Kind::Select, "SELECT CodGrupo FROM SGD_Usuarios_Grupos WHERE CodUsuario=3"},
    {Kind::Update,
     "UPDATE SGD_Usuarios SET Nombre ='Ana', Alias ='ana', Password ='x1', FechaPassword "
     "='01/03/2026', FechaBloqueo ='01/01/2027', Caja ='C1', Efectos ='E1', Tarjeta ='T1', "
     "Direccion ='Calle 1', Cp =38001, Localidad ='La Laguna', Provincia ='Tenerife', Telefono "
     "='922000000', Pais ='España', AccesoTPV=1, AccesoCentral=0, eMail ='ana@example.com', Nif "
     "='12345678Z', Enviado = 0 WHERE Codigo =3"},
    {Kind::Delete, "DELETE FROM SGD_Usuarios_Grupos WHERE CodUsuario=3"},
    {Kind::Insert, "INSERT INTO SGD_Usuarios_Grupos (CodUsuario,CodGrupo) VALUES (3,1)"},
    {Kind::Delete, "DELETE FROM SGD_Usuarios WHERE Codigo =3"},
    {Kind::Select,
     "SELECT COUNT(*) as NumRegs FROM SGD_XTR_Menus_Grupos a WHERE a.Modulo=1 AND a.CodMenu=5 "
     "AND a.CodGrupo IN (1,4) AND TipoAcceso=2"},
    {Kind::Select,
     "SELECT COUNT(*) as NumRegs FROM SGD_Menus,SGD_Menus_Grupos  WHERE "
     "SGD_Menus.Codigo=SGD_Menus_Grupos.CodMenu AND SGD_Menus.NombreInterno='mnuAsientos' AND "
     "SGD_Menus_Grupos.CodGrupo IN (1,4) AND SGD_Menus_Grupos.TipoAcceso=2 AND "
     "SGD_Menus.Modulo=1"},
    {Kind::Select, "SELECT * FROM SGD_Cuentas_Grupos WHERE  Cod_Grupo IN (1,4) AND Cod_Empresa=1"},
    {Kind::Select, "SELECT CodGrupo FROM SGD_Usuarios_Grupos WHERE CodUsuario =3 AND CodGrupo = 1"},
    {Kind::Select,
     "SELECT ISNULL(COUNT(*),0) AS NumRegs FROM SGD_Usuarios U, SGD_Usuarios_Grupos UG, "
     "SGD_Empresas_Grupos EG WHERE U.Codigo=UG.CodUsuario AND UG.CodGrupo=EG.Cod_Grupo AND "
     "EG.Cod_Empresa=1 AND U.Codigo=3"},
    {Kind::Insert,
     "INSERT INTO SGD_Usuarios_Auditoria (Cod_Usuario, FechaOperacion, Operacion) VALUES (3, ' "
     "22/11/2026 10:00:00 ', 1 )"},
};

class LibraryStatement : public ::testing::TestWithParam<Shape> {};

TEST_P(LibraryStatement, TranslatesAndRunsOnSqlite) {
    const Shape& shape = GetParam();
    MemoryDatabase database;
    Translation translation = database.translator().translate(shape.tsql, database.session());
    EXPECT_EQ(translation.kind, shape.kind);
    EXPECT_EQ(translation.sql.find('@'), std::string::npos);
    EXPECT_NO_THROW(database.run(translation)) << translation.sql;
}

INSTANTIATE_TEST_SUITE_P(AllShapes, LibraryStatement, ::testing::ValuesIn(kLibraryStatements));

// Constructs ordinary callers write besides the library's own statements.
const Shape kCallerStatements[] = {
    {Kind::Select, "select [Codigo], [Nombre] from dbo.[Conceptos] with (nolock) where 1 = 1"},
    {Kind::Select, "SELECT Nombre = c.Nombre, Total = 1 FROM Conceptos c"},
    {Kind::Select, "SELECT N'Añadido' AS Texto, 'It''s' + ' ok'"},
    {Kind::Select,
     "SELECT DISTINCT TOP 10 a.Cuenta FROM Movimientos a RIGHT JOIN Cuentas c ON c.Cuenta = "
     "a.Cuenta CROSS JOIN Empresas e WHERE NOT EXISTS (SELECT 1 FROM Acumulados x WHERE "
     "x.Cuenta = a.Cuenta) ORDER BY a.Cuenta"},
    {Kind::Select,
     "SELECT Cuenta, COUNT(*) AS Lineas, SUM(Debe - Haber) AS Saldo FROM Movimientos WHERE "
     "Cuenta NOT LIKE '6%' AND Cto_Aut IS NOT NULL AND Dpto NOT IN (1, 2) AND Debe NOT BETWEEN "
     "1 AND 2 GROUP BY Cuenta HAVING COUNT(*) > 1 ORDER BY 3 DESC, Cuenta"},
    {Kind::Select,
     "SELECT CASE Dpto WHEN 0 THEN 'Sin' WHEN 1 THEN 'Uno' ELSE 'Otro' END, COALESCE(Cto_Aut, "
     "Documento, '-'), NULLIF(Dpto, 0), ABS(Debe - Haber), LTRIM(RTRIM(Concepto)) FROM "
     "Movimientos"},
    {Kind::Select,
     "SELECT CONVERT(VARCHAR(8), Fecha_Asiento, 112), CONVERT(INT, '7'), CAST(Debe AS FLOAT) / "
     "3, CAST(Dpto AS MONEY), CAST(Concepto AS VARCHAR(MAX)) FROM Movimientos"},
    {Kind::Select,
     "SELECT t.Cuenta, t.Total FROM (SELECT Cuenta, SUM(Debe) AS Total FROM Movimientos GROUP "
     "BY Cuenta) AS t WHERE t.Total > (SELECT AVG(Debe) FROM Movimientos)"},
    {Kind::Select,
     "SELECT Apunte FROM Movimientos WHERE ((Debe > 0 AND (Haber = 0)) OR NOT (Dpto = 1)) AND "
     "Fecha_Asiento >= GETDATE() - 30 AND YEAR(Fecha_Asiento) = 2026"},
    {Kind::Insert,
     "INSERT INTO SGD_Usuarios_Grupos (CodUsuario, CodGrupo) VALUES (1, 1), (1, 2), (2, 1)"},
    {Kind::Insert, "INSERT SGD_Usuarios_Grupos VALUES (4, 1);"},
    {Kind::Update, "UPDATE Acumulados SET D1 += 10.5, H1 -= 2 WHERE Cuenta = '430'"},
    {Kind::Update,
     "UPDATE a SET a.Apertura = a.Apertura + m.Debe FROM Acumulados a JOIN Movimientos m ON "
     "m.Cuenta = a.Cuenta WHERE m.Cod_Asiento = 0"},
    {Kind::Delete, "DELETE Conceptos WHERE Codigo LIKE 'X%'"},
    {Kind::Delete,
     "DELETE FROM Movimientos FROM Movimientos m INNER JOIN Asientos a ON a.Codigo = "
     "m.Cod_Asiento WHERE a.Nulo = 1"},
};

INSTANTIATE_TEST_SUITE_P(CallerShapes, LibraryStatement, ::testing::ValuesIn(kCallerStatements));

struct Expected {
    const char* tsql;
    const char* sql;
    std::vector<SqlValue> parameters;
};

class EmittedText : public ::testing::TestWithParam<Expected> {};

TEST_P(EmittedText, IsExactlyTheSqliteTextAndValues) {
    const Expected& expected = GetParam();
    SessionState session;
    session.identity = 42;
    Translation translation = translateOnce(expected.tsql, session);
    EXPECT_EQ(translation.sql, expected.sql);
    EXPECT_EQ(translation.parameters, expected.parameters);
}

INSTANTIATE_TEST_SUITE_P(
    KeyShapes, EmittedText,
    ::testing::Values(
        // Money literals are bound in ten-thousandths, exactly.
        Expected{"UPDATE Acumulados SET D3 = D3 + (100.5) WHERE Cod_Empresa =1 AND "
                 "Cod_Ejercicio =2026 AND Cuenta ='430'",
                 "UPDATE \"Acumulados\" SET \"D3\" = \"Acumulados\".\"D3\" + ?1 WHERE "
                 "\"Acumulados\".\"Cod_Empresa\" = ?2 AND \"Acumulados\".\"Cod_Ejercicio\" = ?3 "
                 "AND \"Acumulados\".\"Cuenta\" = ?4",
                 {std::int64_t{1005000}, std::int64_t{1}, std::int64_t{2026}, std::string("430")}},
        Expected{"UPDATE Acumulados SET Cierre = Cierre - (0.00005) WHERE Cuenta ='4'",
                 "UPDATE \"Acumulados\" SET \"Cierre\" = \"Acumulados\".\"Cierre\" - ?1 WHERE "
                 "\"Acumulados\".\"Cuenta\" = ?2",
                 {std::int64_t{1}, std::string("4")}},
        // Dates in SET, VALUES, comparisons and BETWEEN are read day first.
        Expected{"UPDATE Igic SET Asiento =6, Fecha ='16/03/2026' WHERE Asiento =5",
                 "UPDATE \"Igic\" SET \"Asiento\" = ?1, \"Fecha\" = ?2 WHERE "
                 "\"Igic\".\"Asiento\" = ?3",
                 {std::int64_t{6}, std::string("2026-03-16"), std::int64_t{5}}},
        Expected{"INSERT INTO Asientos (Cod_Empresa, Cod_Ejercicio, Codigo, Fecha, Cierre, "
                 "Usuario) VALUES(1, 2026, 7, '5/1/2026 17:30', 0, 3)",
                 "INSERT INTO \"Asientos\" (\"Cod_Empresa\", \"Cod_Ejercicio\", \"Codigo\", "
                 "\"Fecha\", \"Cierre\", \"Usuario\") VALUES (?1, ?2, ?3, ?4, ?5, ?6)",
                 {std::int64_t{1}, std::int64_t{2026}, std::int64_t{7},
                  std::string("2026-01-05 17:30:00.000"), std::int64_t{0}, std::int64_t{3}}},
        Expected{"SELECT Codigo FROM Amortizaciones_Plan WHERE Fecha BETWEEN '01/01/2026' AND "
                 "'31/12/2026' AND Fecha <> '20260630'",
                 "SELECT \"Amortizaciones_Plan\".\"Codigo\" FROM \"Amortizaciones_Plan\" WHERE "
                 "\"Amortizaciones_Plan\".\"Fecha\" BETWEEN ?1 AND ?2 AND "
                 "\"Amortizaciones_Plan\".\"Fecha\" <> ?3",
                 {std::string("2026-01-01"), std::string("2026-12-31"), std::string("2026-06-30")}},
        // ISNULL of a date with '' is 1 January 1900; with 0 a smallint stays a number.
        Expected{"SELECT ISNULL(FechaCreacion,'') AS FechaCreacion, ISNULL(Usuario, 0) FROM "
                 "Asientos",
                 "SELECT IFNULL(\"Asientos\".\"FechaCreacion\", ?1) AS \"FechaCreacion\", "
                 "IFNULL(\"Asientos\".\"Usuario\", ?2) FROM \"Asientos\"",
                 {std::string("1900-01-01"), std::int64_t{0}}},
        // Bits: any non-zero number is 1, 'TRUE' and 'FALSE' are 1 and 0.
        Expected{"UPDATE Conceptos SET Debe = -1, Automatico = 'TRUE', M347 = 'false'",
                 "UPDATE \"Conceptos\" SET \"Debe\" = ?1, \"Automatico\" = ?2, \"M347\" = ?3",
                 {std::int64_t{1}, std::int64_t{1}, std::int64_t{0}}},
        // TOP becomes LIMIT; the ORDER BY name of a select item becomes its position.
        Expected{"SELECT TOP 1 Codigo FROM SGD_Usuarios WHERE Codigo > 3 ORDER BY Codigo",
                 "SELECT \"SGD_Usuarios\".\"Codigo\" FROM \"SGD_Usuarios\" WHERE "
                 "\"SGD_Usuarios\".\"Codigo\" > ?1 ORDER BY 1 LIMIT ?2",
                 {std::int64_t{3}, std::int64_t{1}}},
        // The update-join changes only the target rows the join matches.
        Expected{"UPDATE ce SET Pendiente=1 FROM Movimientos m INNER JOIN Conc_Extractos ce ON "
                 "ce.Apunte_Mto = m.Apunte WHERE m.Cod_Asiento =5",
                 "UPDATE \"Conc_Extractos\" AS \"ce\" SET \"Pendiente\" = ?1 WHERE "
                 "\"ce\".rowid IN (SELECT \"ce\".rowid FROM \"Movimientos\" AS \"m\" INNER JOIN "
                 "\"Conc_Extractos\" AS \"ce\" ON \"ce\".\"Apunte_Mto\" = \"m\".\"Apunte\" "
                 "WHERE \"m\".\"Cod_Asiento\" = ?2)",
                 {std::int64_t{1}, std::int64_t{5}}},
        Expected{"DELETE ce FROM Conc_Extractos ce JOIN Movimientos m ON ce.Apunte_Mto = "
                 "m.Apunte",
                 "DELETE FROM \"Conc_Extractos\" WHERE rowid IN (SELECT \"ce\".rowid FROM "
                 "\"Conc_Extractos\" AS \"ce\" INNER JOIN \"Movimientos\" AS \"m\" ON "
                 "\"ce\".\"Apunte_Mto\" = \"m\".\"Apunte\")",
                 {}},
        // + between texts concatenates.
        Expected{"SELECT Cuenta + ' - ' + Nombre AS Texto FROM Cuentas",
                 "SELECT \"Cuentas\".\"Cuenta\" || ?1 || \"Cuentas\".\"Nombre\" AS \"Texto\" "
                 "FROM \"Cuentas\"",
                 {std::string(" - ")}},
        // @@IDENTITY is a parameter holding the session's value; GETDATE() is never text.
        Expected{"SELECT ISNULL(@@IDENTITY, 0) AS Id",
                 "SELECT IFNULL(?1, ?2) AS \"Id\"",
                 {std::int64_t{42}, std::int64_t{0}}},
        // Integer columns mixed with money are scaled; money times money is rounded once.
        Expected{"SELECT Debe - Dpto, Debe * Haber FROM Movimientos",
                 "SELECT \"Movimientos\".\"Debe\" - (\"Movimientos\".\"Dpto\" * 10000), "
                 "((\"Movimientos\".\"Debe\" / 10000) * \"Movimientos\".\"Haber\" + "
                 "((\"Movimientos\".\"Debe\" % 10000) * \"Movimientos\".\"Haber\" + CASE WHEN "
                 "(\"Movimientos\".\"Debe\" % 10000) * \"Movimientos\".\"Haber\" < 0 THEN -5000 "
                 "ELSE 5000 END) / 10000) FROM \"Movimientos\"",
                 {}},
        // Text compared outside columns keeps the server's case-insensitive comparison.
        Expected{"SELECT Codigo FROM Conceptos WHERE UPPER(Nombre) = 'ventas'",
                 "SELECT \"Conceptos\".\"Codigo\" FROM \"Conceptos\" WHERE "
                 "upper(\"Conceptos\".\"Nombre\") COLLATE NOCASE = ?1",
                 {std::string("ventas")}}));

TEST(GetDate, IsBoundAsTheLocalTimeOfEachExecution) {
    CompanyCatalog catalog;
    Translator translator(catalog, kSource);
    const char* tsql = "UPDATE Asientos SET FechaUltMod = GETDATE() WHERE Codigo = 5";
    for (int execution = 0; execution < 2; ++execution) {
        std::string before = tsql::canonicalDateTime(Date::now());
        Translation translation = translator.translate(tsql, {});
        std::string after = tsql::canonicalDateTime(Date::now());
        EXPECT_EQ(translation.sql,
                  "UPDATE \"Asientos\" SET \"FechaUltMod\" = ?1 WHERE \"Asientos\".\"Codigo\" "
                  "= ?2");
        ASSERT_EQ(translation.parameters.size(), 2u);
        const auto* now = std::get_if<std::string>(&translation.parameters[0]);
        ASSERT_NE(now, nullptr);
        // The local clock read for this execution, in canonical form.
        EXPECT_LE(before, *now);
        EXPECT_LE(*now, after);
    }
}

}  // namespace
}  // namespace kvlnmov::db::sqlite::testing
