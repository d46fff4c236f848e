"""The Python module over the shared library: entries with their balances, the IGIC book,
forecasts, values both ways and the library's errors, on a fresh company file per test."""

import datetime
import os
import re
import shutil
import subprocess
import sys
import tempfile
import unittest
from decimal import Decimal

import kvlnmov

PROVIDER_SOURCE = "kvlnmov SQLite provider"


class CompanyTest(unittest.TestCase):
    """A company seeded as `kvlnmov init` seeds one, in a file of a temporary folder."""

    def setUp(self):
        kvlnmov.reset()
        self.folder = tempfile.mkdtemp(prefix="kvlnmov-python-")
        self.conn = kvlnmov.connect(
            "Provider=SQLite;Data Source=" + os.path.join(self.folder, "empresa.db"))
        self.conn.seed_company(company=1, exercise=2026)
        self.ctx = kvlnmov.Context(self.conn, 1, 2026)
        self.ctx["UsuarioActual"] = 7

    def tearDown(self):
        del self.ctx
        del self.conn
        kvlnmov.reset()
        shutil.rmtree(self.folder, ignore_errors=True)

    def bound(self, prog_id):
        obj = kvlnmov.create(prog_id)
        obj.Conexion = self.conn
        obj.cEmpresa = self.ctx
        return obj

    def assertError(self, number, source, description, call, *arguments):
        with self.assertRaises(kvlnmov.Error) as raised:
            call(*arguments)
        self.assertEqual((raised.exception.number, raised.exception.source,
                          raised.exception.description), (number, source, description))


class JournalTest(CompanyTest):
    def post(self, entry, account, debit=Decimal(0), credit=Decimal(0), dpto=0):
        line = kvlnmov.create("KVLNMOV.clsMov")
        line.cEmpresa = self.ctx
        line.Asiento = entry.Codigo
        line.Fecha_Asiento = entry.Fecha
        line.Cuenta = account
        line.Concepto = "Factura 17 de Comercial Atlántica"
        line.Dpto = dpto
        line.Debe = debit
        line.Haber = credit
        self.assertIs(line.Insertar(), True)
        return line

    def test_an_entry_with_lines_posts_its_balances_at_every_level(self):
        entry = self.bound("KVLNMOV.clsAsiento")
        entry.Fecha = datetime.date(2026, 3, 2)
        entry.Usuario = 7
        self.assertIs(entry.Insertar(), True)
        self.assertEqual(entry.Codigo, 1)
        self.assertEqual(entry.Fecha, datetime.date(2026, 3, 2))

        self.post(entry, "43000001", debit=Decimal("1210.55"))
        self.post(entry, "70000000", credit=Decimal("1000.45"), dpto=2)
        self.post(entry, "47700000", credit=Decimal("210.10"))

        self.assertEqual(self.conn.query(
            "SELECT Cod_Asiento, Apunte, Cuenta, Debe, Haber, Dpto, Cod_Usuario, Fecha_Asiento "
            "FROM Movimientos ORDER BY Apunte"), [
            (1, 1, "43000001", Decimal("1210.55"), Decimal(0), 0, 7, datetime.date(2026, 3, 2)),
            (1, 2, "70000000", Decimal(0), Decimal("1000.45"), 2, 7, datetime.date(2026, 3, 2)),
            (1, 3, "47700000", Decimal(0), Decimal("210.10"), 0, 7, datetime.date(2026, 3, 2)),
        ])
        # March is period 3 of a calendar exercise: every level of each account holds the line.
        # The accumulation writes the chart's level count (5) as Nivel on every row.
        self.assertEqual(self.conn.query(
            "SELECT Cuenta, Nivel, D3, H3, D2, H4 FROM Acumulados "
            "WHERE Cod_Empresa = 1 AND Cod_Ejercicio = 2026 ORDER BY Cuenta"), [
            ("4", 5, Decimal("1210.55"), Decimal("210.10"), Decimal(0), Decimal(0)),
            ("43", 5, Decimal("1210.55"), Decimal(0), Decimal(0), Decimal(0)),
            ("430", 5, Decimal("1210.55"), Decimal(0), Decimal(0), Decimal(0)),
            ("4300", 5, Decimal("1210.55"), Decimal(0), Decimal(0), Decimal(0)),
            ("43000001", 5, Decimal("1210.55"), Decimal(0), Decimal(0), Decimal(0)),
            ("47", 5, Decimal(0), Decimal("210.10"), Decimal(0), Decimal(0)),
            ("477", 5, Decimal(0), Decimal("210.10"), Decimal(0), Decimal(0)),
            ("4770", 5, Decimal(0), Decimal("210.10"), Decimal(0), Decimal(0)),
            ("47700000", 5, Decimal(0), Decimal("210.10"), Decimal(0), Decimal(0)),
            ("7", 5, Decimal(0), Decimal("1000.45"), Decimal(0), Decimal(0)),
            ("70", 5, Decimal(0), Decimal("1000.45"), Decimal(0), Decimal(0)),
            ("700", 5, Decimal(0), Decimal("1000.45"), Decimal(0), Decimal(0)),
            ("7000", 5, Decimal(0), Decimal("1000.45"), Decimal(0), Decimal(0)),
            ("70000000", 5, Decimal(0), Decimal("1000.45"), Decimal(0), Decimal(0)),
        ])
        self.assertEqual(self.conn.query(
            "SELECT Cuenta, Dpto, H3 FROM Acumulados_Dpto WHERE Cuenta = '70000000'"),
            [("70000000", 2, Decimal("1000.45"))])

    def test_a_line_outside_the_exercise_is_refused_with_the_operations_source(self):
        line = kvlnmov.create("KVLNMOV.clsMov")
        line.cEmpresa = self.ctx
        line.Asiento = 1
        line.Fecha_Asiento = datetime.date(2025, 12, 31)
        line.Cuenta = "43000001"
        line.Debe = Decimal("10")
        self.assertError(1000, "clsMov::Insertar", "Fecha fuera de ejercicio contable",
                         line.Insertar)
        self.assertEqual(self.conn.query("SELECT COUNT(*) FROM Movimientos"), [(0,)])


class TaxBookTest(CompanyTest):
    def test_an_igic_record_groups_its_rate_lines(self):
        book = self.bound("KVLNMOV.clsLibroIgic")
        book.Apunte = 10
        book.Libro = 1
        book.Fecha = datetime.date(2026, 3, 15)
        book.Cuenta = "40000001"
        book.DocumentoSTR = "F-1"
        book.Asiento = 3
        book.Nombre = "Proveedor"
        book.Nif = "B123"
        book.Cantidad = 3
        for i, (rate, base, quota) in enumerate([(7, 100, 7), (7, 200, 14),
                                                 (3, 50, Decimal("1.5"))]):
            book.Tipo[i] = rate
            book.Operacion[i] = 1
            book.Base[i] = base
            book.Cuota[i] = quota
            book.Deducible[i] = quota
        self.assertEqual(book.Base[1], Decimal(200))
        self.assertIs(book.Insertar(), True)

        self.assertEqual(self.conn.query(
            "SELECT Apunte, Libro, Fecha, Cuenta, Documento, Asiento, Nombre, Nif FROM Igic"),
            [(10, 1, datetime.date(2026, 3, 15), "40000001", "F-1", 3, "Proveedor", "B123")])
        self.assertEqual(self.conn.query(
            "SELECT Apunte, NumLinea, TipoOp, Base, Tipo, Cuota, Deducible FROM Igic_Lineas "
            "ORDER BY NumLinea"), [
            (10, 1, 1, Decimal(300), 7, Decimal(21), Decimal(21)),
            (10, 2, 1, Decimal(50), 3, Decimal("1.5"), Decimal("1.5")),
        ])

    def test_a_write_only_index_cannot_be_read(self):
        book = kvlnmov.create("KVLNMOV.clsLibroIgic")
        self.assertError(451, "KVLNMOV",
                         "Property let procedure not defined and property get procedure did not "
                         "return an object", lambda: book.Cuota[0])
        self.assertError(450, "KVLNMOV", "Wrong number of arguments or invalid property "
                         "assignment", book.get, "Base")


class ForecastTest(CompanyTest):
    def test_a_payment_forecast_is_recorded_and_loaded(self):
        forecast = self.bound("KVLNMOV.clsPrevPagos")
        forecast.Cuenta = "40000001"
        forecast.DocumentoSTR = "F-100"
        forecast.Documento2 = "A"
        forecast.Fecha_Doc = datetime.date(2026, 3, 1)
        forecast.Fecha_Vto = datetime.datetime(2026, 4, 30, 10, 0)
        forecast.Banco = "57200001"
        forecast.FormaPago = 2
        forecast.Importe = Decimal("1234.5")
        forecast.CuentaOriginal = "40000001"
        forecast.Dpto = 3
        self.assertIs(forecast.Insertar(), True)
        self.assertEqual(forecast.Apunte, 1)
        self.assertEqual(self.conn.query(
            "SELECT Apunte, Cod_Empresa, Cuenta, Documento, Documento2, Fecha_Doc, Fecha_Vto, "
            "Banco, FormaPago, Importe, Estado, Dpto FROM Previsiones_Pago"), [
            (1, 1, "40000001", "F-100", "A", datetime.date(2026, 3, 1),
             datetime.date(2026, 4, 30), "57200001", 2, Decimal("1234.5"), 0, 3)])

    def test_a_payment_forecast_linked_to_a_line_needs_its_exercise(self):
        forecast = self.bound("KVLNMOV.clsPrevPagos")
        forecast.Asiento = 5
        forecast.ApunteMov = 0
        forecast.Cod_EjercicioMov = 2026
        forecast.Cuenta = "40000002"
        self.assertError(1000, "clsPrevPagos:Insertar",
                         "No se ha especificado el ejercicio/apunte del movimeinto asociado",
                         forecast.Insertar)
        self.assertEqual(self.conn.query("SELECT COUNT(*) FROM Previsiones_Pago"), [(0,)])

    def test_a_collection_forecast_stores_its_amount_exactly(self):
        forecast = self.bound("KVLNMOV.clsPrevCobros")
        forecast.Cuenta = "43000001"
        forecast.DocumentoSTR = "FV-1"
        forecast.Asiento = 12
        forecast.Fecha_Doc = datetime.date(2026, 2, 1)
        forecast.Fecha_Vto = datetime.date(2026, 3, 1)
        forecast.Banco = "57200002"
        forecast.FormaCobro = 3
        forecast.Importe = Decimal("922337203685.4775")
        forecast.Cobrador = 4
        self.assertIs(forecast.Insertar(), True)
        self.assertEqual(forecast.Apunte, 1)
        self.assertEqual(self.conn.query(
            "SELECT Apunte, Cod_Ejercicio, Cuenta, Documento, Asiento, Fecha_Vto, FormaCobro, "
            "Importe, Cobrador FROM Previsiones_Cobro"), [
            (1, 2026, "43000001", "FV-1", 12, datetime.date(2026, 3, 1), 3,
             Decimal("922337203685.4775"), 4)])


class ValuesTest(CompanyTest):
    def round_trip(self, value):
        self.ctx["Valor"] = value
        return self.ctx["Valor"]

    def test_values_cross_both_ways_with_their_types(self):
        for value in [None, True, False, 0, -32768, 32767, 2147483647, -2147483648, 0.1,
                      Decimal("922337203685477.5807"), Decimal("-922337203685477.5808"),
                      Decimal("0.0001"), datetime.date(2026, 2, 28),
                      datetime.datetime(2026, 3, 15, 17, 30, 5, 123000), "Año contable €", ""]:
            back = self.round_trip(value)
            self.assertEqual((type(back), back), (type(value), value))
        self.assertIs(self.round_trip(kvlnmov.EMPTY), kvlnmov.EMPTY)
        # Whole numbers beyond 32 bits travel as exact currency.
        self.assertEqual(self.round_trip(10 ** 12), Decimal(10 ** 12))
        # Currency keeps four decimals, halves rounded to even.
        self.assertEqual(self.round_trip(Decimal("0.00015")), Decimal("0.0002"))
        self.assertEqual(self.round_trip(Decimal("0.00025")), Decimal("0.0002"))
        self.assertError(6, "KVLNMOV", "Overflow", self.round_trip, Decimal("922337203685478"))
        obj = kvlnmov.create("KVLNMOV.clsConcepto")
        self.assertEqual(self.round_trip(obj), obj)
        self.assertIsNot(self.round_trip(obj), obj)

    def test_a_released_object_is_no_object(self):
        line = kvlnmov.create("KVLNMOV.clsMov")
        concept = kvlnmov.create("KVLNMOV.clsConcepto")
        self.assertEqual(len({concept, self.round_trip(concept)}), 1)
        concept.release()
        message = "Object variable or With block variable not set"
        self.assertError(91, "KVLNMOV", message, concept.get, "Codigo")
        self.assertError(91, "KVLNMOV", message, setattr, line, "cEmpresa", concept)
        line.cEmpresa = None  # Nothing
        self.assertError(91, "clsMov::Insertar", message, line.Insertar)

    def test_properties_convert_by_their_declared_kind(self):
        line = kvlnmov.create("KVLNMOV.clsMov")
        line.Debe = "1234,5678"  # texts are read with the regional (Spanish) settings
        self.assertEqual(line.Debe, Decimal("1234.5678"))
        line.Asiento = 41.5
        self.assertEqual(line.Asiento, 42)
        line.M347 = 5
        self.assertIs(line.M347, True)
        line.Fecha = datetime.datetime(2026, 4, 2, 9, 15)  # a line's dates are days
        self.assertEqual(line.Fecha, datetime.date(2026, 4, 2))
        line.cuenta = 4300
        self.assertEqual(line.Cuenta, "4300")
        self.assertError(13, "KVLNMOV", "Type mismatch", setattr, line, "Asiento", "cuarenta")
        self.assertError(6, "KVLNMOV", "Overflow", setattr, line, "Diario", 70000)
        self.assertError(94, "KVLNMOV", "Invalid use of Null", setattr, line, "Diario", None)

    def test_a_recordset_filled_by_an_operation(self):
        self.conn.execute(
            "INSERT INTO Apuntes_Aut (Cod_Empresa, Cod_Asiento, Cuenta, Concepto, Documento, "
            "Diario, Dpto, Importe, Tipo) VALUES (1, 'ALQ', '62100000', 'Alquiler', 'R-1', 1, 0, "
            "850.25, 1)")
        template = self.bound("KVLNMOV.clsMovAut")
        template.Asiento = "ALQ"
        rows = kvlnmov.Recordset()
        self.assertIs(template.Cargar(rows), True)
        self.assertEqual(rows.fields, ["Cod_Empresa", "Cod_Asiento", "Cuenta", "Concepto",
                                       "Documento", "Diario", "Dpto", "Tipo", "Importe",
                                       "Apunte"])
        self.assertEqual(rows["importe"], Decimal("850.25"))
        self.assertEqual(list(rows), [(1, "ALQ", "62100000", "Alquiler", "R-1", 1, 0, True,
                                       Decimal("850.25"), 1)])
        self.assertTrue(rows.eof)
        self.assertError(3021, "ADODB.Recordset",
                         "Either BOF or EOF is True, or the current record has been deleted. "
                         "Requested operation requires a current record.", rows.field, 0)


class UserInterfaceTest(CompanyTest):
    def tearDown(self):
        kvlnmov.set_user_interface()
        super().tearDown()

    def test_message_boxes_and_yields_reach_the_application(self):
        boxes, yields = [], []
        kvlnmov.set_user_interface(lambda *box: boxes.append(box), lambda: yields.append(1))
        forecast = kvlnmov.create("KVLNMOV.clsPrevCobros")
        self.assertEqual(forecast.Documento, 0)
        self.assertEqual(boxes, [("DESCATALOGADO. Use DocumentoSTR", 48, 0, "¡ Atención !")])

        line = self.bound("KVLNMOV.clsMov")
        line.Asiento = 1
        line.Fecha_Asiento = datetime.date(2026, 3, 2)
        line.Cuenta = "43000001"
        line.Debe = Decimal(1)
        line.Concepto = "L'Oreal"
        self.assertError(-2147217900, "clsMov::Insertar", "Incorrect syntax near 'Oreal'.",
                         line.Insertar)
        self.assertEqual(len(yields), 6)

        kvlnmov.set_user_interface()
        self.assertEqual(forecast.Documento, 0)
        self.assertEqual(len(boxes), 1)


class ErrorsTest(CompanyTest):
    def test_errors_carry_number_source_and_description(self):
        self.assertError(429, "KVLNMOV", "ActiveX component can't create object",
                         kvlnmov.create, "KVLNMOV.clsNoExiste")
        line = kvlnmov.create("KVLNMOV.clsMov")
        self.assertError(438, "KVLNMOV", "Object doesn't support this property or method",
                         getattr, line, "NoExiste")
        self.assertError(438, "KVLNMOV", "Object doesn't support this property or method",
                         setattr, line, "NoExiste", 1)
        self.assertError(451, "KVLNMOV", "Property let procedure not defined and property get "
                         "procedure did not return an object", getattr, line, "Conexion")
        self.assertError(450, "KVLNMOV",
                         "Wrong number of arguments or invalid property assignment",
                         line.Insertar, 1)
        self.assertError(91, "clsMov::Insertar", "Object variable or With block variable not set",
                         line.Insertar)
        self.assertError(-2147217900, PROVIDER_SOURCE, "Incorrect syntax near 'SELEC'.",
                         self.conn.query, "SELEC Codigo FROM Asientos")
        self.assertError(-2147217865, PROVIDER_SOURCE, "Invalid object name 'NoExiste'.",
                         self.conn.execute, "DELETE FROM NoExiste")
        self.assertError(1000, "EmpresaContext", "No existe la empresa 9",
                         kvlnmov.Context, self.conn, 9, 2026)

    def test_a_provider_error_keeps_its_native_code(self):
        self.conn.execute("INSERT INTO Conceptos (Codigo, Nombre) VALUES ('A', 'Alquiler')")
        with self.assertRaises(kvlnmov.Error) as raised:
            self.conn.execute("INSERT INTO Conceptos (Codigo, Nombre) VALUES ('A', 'Otro')")
        self.assertEqual(raised.exception.number, -2147217873)
        self.assertEqual(raised.exception.source, PROVIDER_SOURCE)
        self.assertTrue(raised.exception.description.startswith(
            "Violation of PRIMARY KEY constraint 'PK_Conceptos'"), raised.exception.description)
        self.assertNotEqual(raised.exception.native_error, 0)


class LibraryTest(unittest.TestCase):
    def test_version(self):
        self.assertEqual(kvlnmov.version(), os.environ.get("KVLNMOV_EXPECTED_VERSION", "1.0.0"))

    def test_registered_classes_list_their_members(self):
        classes = kvlnmov.registered_classes()
        self.assertIn("KVLNMOV.clsMov", classes)
        mov = classes["KVLNMOV.clsMov"]
        self.assertEqual(mov.name, "clsMov")
        self.assertEqual(mov.properties["Debe"], ("Debe", "Currency", 0, True, True))
        self.assertEqual(mov.properties["cEmpresa"], ("cEmpresa", "Object", 0, False, True))
        self.assertEqual(mov.methods["Insertar"], ("Insertar", "Boolean", ()))
        self.assertEqual([p.name for p in mov.methods["Cambiar_Asiento"].parameters],
                         ["lngAsiento_Ant", "lngAsiento_Nuevo"])
        self.assertEqual(classes["KVLNMOV.clsLibroIgic"].properties["Cuota"],
                         ("Cuota", "Currency", 1, False, True))
        self.assertIn("Insertar", dir(kvlnmov.create("KVLNMOV.clsAsiento")))

    def test_a_settable_context(self):
        ctx = kvlnmov.Context.settable(3, 2026, datetime.date(2026, 1, 1),
                                       datetime.date(2026, 12, 31), levels=(1, 3, 6),
                                       values={"UsuarioActual": 9})
        self.assertEqual(ctx["UsuarioActual"], 9)
        self.assertIs(ctx["NoDefinido"], kvlnmov.EMPTY)
        self.assertEqual(ctx.class_name, "cEmpresa")


class LoadingTest(unittest.TestCase):
    """Where the module finds the shared library when KVLNMOV_LIBRARY does not say."""

    def test_a_library_next_to_the_package_is_found(self):
        library = os.environ.get("KVLNMOV_LIBRARY")
        if not library:
            self.skipTest("KVLNMOV_LIBRARY names no library to copy")
        folder = tempfile.mkdtemp(prefix="kvlnmov-package-")
        try:
            package = os.path.join(folder, "kvlnmov")
            shutil.copytree(os.path.dirname(kvlnmov.__file__), package,
                            ignore=shutil.ignore_patterns("__pycache__"))
            os.symlink(os.path.realpath(library), os.path.join(package, "libkvlnmov.so"))
            environment = {k: v for k, v in os.environ.items() if k != "KVLNMOV_LIBRARY"}
            environment["PYTHONPATH"] = folder
            script = ("import kvlnmov, kvlnmov._native as n; "
                      "print(kvlnmov.__file__, n.lib._name, kvlnmov.version())")
            ran = subprocess.run([sys.executable, "-c", script], env=environment,
                                 capture_output=True, text=True, check=True)
            self.assertEqual(ran.stdout.split(), [
                os.path.join(package, "__init__.py"), os.path.join(package, "libkvlnmov.so"),
                kvlnmov.version()])
        finally:
            shutil.rmtree(folder, ignore_errors=True)

    def test_a_library_that_cannot_be_loaded_is_reported(self):
        environment = dict(os.environ, KVLNMOV_LIBRARY="/nonexistent/libkvlnmov.so")
        ran = subprocess.run([sys.executable, "-c", "import kvlnmov"], env=environment,
                             capture_output=True, text=True)
        self.assertNotEqual(ran.returncode, 0)
        self.assertIn("ImportError: kvlnmov: cannot load libkvlnmov.so (set KVLNMOV_LIBRARY): "
                      "/nonexistent/libkvlnmov.so", ran.stderr)


class ReadmeExampleTest(unittest.TestCase):
    """The Python example of README.md runs as it is written there."""

    def test_the_readme_example_runs(self):
        readme = os.path.join(os.path.dirname(__file__), "..", "..", "README.md")
        with open(readme, encoding="utf-8") as text:
            blocks = re.findall(r"```python\n(.*?)```", text.read(), re.S)
        self.assertEqual(len(blocks), 1)
        folder = tempfile.mkdtemp(prefix="kvlnmov-readme-")
        here = os.getcwd()
        kvlnmov.reset()
        try:
            os.chdir(folder)
            printed = []
            exec(blocks[0], {"print": lambda *values: printed.append(values)})
            self.assertEqual(printed, [(1, [("43000001", Decimal("1210.0000"))])])
        finally:
            os.chdir(here)
            kvlnmov.reset()
            shutil.rmtree(folder, ignore_errors=True)


if __name__ == "__main__":
    unittest.main()
