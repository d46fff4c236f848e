// `kvlnmov demo`: a company's month of bookkeeping through the library, on a new embedded
// database, ending with its trial balance.

#include <iostream>
#include <memory>
#include <sstream>

#include "books_report.h"
#include "chart_file.h"
#include "commands.h"
#include "company_database.h"
#include "i18n.h"
#include "text_table.h"
#include "kvlnmov/forecasts/cls_prev_pagos.h"
#include "kvlnmov/masters/cls_concepto.h"
#include "posting_file.h"
#include "trial_balance.h"

namespace kvlnmov::cli {

namespace {

// The demo's own small chart, in the format `kvlnmov accounts import` reads: summary accounts of
// 1 to 4 digits and posting accounts of 8, every account the demo posts to among them.
const char* kChart = R"("cuenta";"descripcion";"cuentaesp"
"1";"Financiación básica";""
"10";"Capital";""
"100";"Capital social";""
"1000";"Capital social";""
"10000001";"Capital social";""
"4";"Acreedores y deudores";""
"40";"Proveedores";""
"400";"Proveedores";"PROVEE"
"4000";"Proveedores";""
"40000001";"Suministros Canarios, S.L.";""
"40000002";"Papelería Atlántica, S.A.";""
"41";"Acreedores varios";""
"410";"Acreedores por prestaciones";"ACREED"
"4100";"Acreedores por prestaciones";""
"41000001";"Asesoría Fiscal Martín";""
"43";"Clientes";""
"430";"Clientes";"CLIENT"
"4300";"Clientes";""
"43000001";"Hostelería del Puerto, S.L.";""
"43000002";"Comercial Rivera, S.A.";""
"43000003";"Clientes de contado";""
"47";"Administraciones públicas";""
"472";"H.P. IVA soportado";"IVASOP"
"4720";"H.P. IVA soportado";""
"47200010";"IVA soportado 10%";""
"47200021";"IVA soportado 21%";""
"475";"H.P. acreedora";""
"4751";"H.P. acreedora por retenciones";"IRPFPR"
"47510001";"Retenciones IRPF profesionales";""
"477";"H.P. IVA repercutido";"IVAREP"
"4770";"H.P. IVA repercutido";""
"47700010";"IVA repercutido 10%";""
"47700021";"IVA repercutido 21%";""
"5";"Cuentas financieras";""
"57";"Tesorería";""
"572";"Bancos";"BANCO"
"5720";"Bancos";""
"57200001";"Banco Atlántico c/c";""
"6";"Compras y gastos";""
"60";"Compras";""
"600";"Compras de mercaderías";"COMPRA"
"6000";"Compras de mercaderías";""
"60000001";"Compras de mercaderías";""
"62";"Servicios exteriores";""
"623";"Servicios de profesionales";""
"6230";"Servicios de profesionales";""
"62300001";"Asesoría fiscal y laboral";""
"626";"Servicios bancarios";""
"6260";"Servicios bancarios";""
"62600001";"Comisiones bancarias";""
"7";"Ventas e ingresos";""
"70";"Ventas";""
"700";"Ventas de mercaderías";"VENTAS"
"7000";"Ventas de mercaderías";""
"70000001";"Ventas tienda";""
"70000002";"Ventas online";""
)";

Currency euros(const char* text) { return *Currency::parse(text); }

DraftLine debit(const char* account, const char* amount, const char* description,
                const char* document, std::int16_t department = 0) {
    return {account, euros(amount), Currency(), description, document, department};
}

DraftLine credit(const char* account, const char* amount, const char* description,
                 const char* document, std::int16_t department = 0) {
    return {account, Currency(), euros(amount), description, document, department};
}

DraftEntry entry(int day, std::vector<DraftLine> lines, bool closing = false) {
    DraftEntry made;
    made.date = Date::ymd(2026, closing ? 1 : 3, day);
    made.closing = closing;
    made.lines = std::move(lines);
    made.origin = "demo entry of " + made.date.toIso();
    return made;
}

DraftInvoice invoice(enmLibros book, const char* account, const char* name, const char* nif,
                     const char* document, std::vector<DraftRate> rates,
                     std::vector<DraftDue> due) {
    DraftInvoice made;
    made.book = book;
    made.tax = 2;  // IVA
    made.account = account;
    made.name = name;
    made.nif = nif;
    made.document = document;
    made.rates = std::move(rates);
    made.due = std::move(due);
    return made;
}

DraftRate rate(const char* base, std::int16_t percent, const char* tax) {
    return {1, euros(base), percent, euros(tax)};
}

DraftDue due(int month, int day, const char* amount) {
    return {Date::ymd(2026, month, day), euros(amount)};
}

DraftEntry withInvoice(DraftEntry made, DraftInvoice attached) {
    made.invoice = std::move(attached);
    return made;
}

/// The opening balances and a month of sales, purchases, a professional's invoice, a
/// collection, a payment and a bank charge, over three departments (1 shop, 2 online shop,
/// 3 administration).
std::vector<DraftEntry> demoEntries() {
    return {
        entry(1,
              {debit("57200001", "60000", "Asiento de apertura", "APERTURA"),
               debit("43000001", "8470", "Asiento de apertura", "APERTURA"),
               credit("10000001", "60000", "Asiento de apertura", "APERTURA"),
               credit("40000001", "8470", "Asiento de apertura", "APERTURA")},
              true),
        withInvoice(
            entry(2, {debit("43000001", "1210", "Factura A-031 Hostelería del Puerto", "A-031", 1),
                      credit("70000001", "1000", "Factura A-031 Hostelería del Puerto", "A-031", 1),
                      credit("47700021", "210", "IVA 21% factura A-031", "A-031", 1)}),
            invoice(enmLibros::kvRepercutido, "43000001", "Hostelería del Puerto, S.L.",
                    "B35123456", "A-031", {rate("1000", 21, "210")}, {due(4, 1, "1210")})),
        withInvoice(entry(5, {debit("43000003", "110", "Venta online pedido 5512", "W-5512", 2),
                              credit("70000002", "100", "Venta online pedido 5512", "W-5512", 2),
                              credit("47700010", "10", "IVA 10% pedido 5512", "W-5512", 2)}),
                    invoice(enmLibros::kvRepercutido, "43000003", "Clientes de contado", "",
                            "W-5512", {rate("100", 10, "10")}, {})),
        withInvoice(
            entry(9, {debit("60000001", "2500", "Factura 1187 Suministros Canarios", "1187", 1),
                      debit("47200021", "525", "IVA 21% factura 1187", "1187", 1),
                      credit("40000001", "3025", "Factura 1187 Suministros Canarios", "1187", 1)}),
            invoice(enmLibros::kvSoportado, "40000001", "Suministros Canarios, S.L.", "B38654321",
                    "1187", {rate("2500", 21, "525")}, {due(3, 23, "3025")})),
        withInvoice(
            entry(12, {debit("60000001", "300", "Factura 77 Papelería Atlántica", "P-77", 3),
                       debit("47200021", "63", "IVA 21% factura P-77", "P-77", 3),
                       credit("40000002", "363", "Factura P-77 Papelería Atlántica", "P-77", 3)}),
            invoice(enmLibros::kvSoportado, "40000002", "Papelería Atlántica, S.A.", "A35987654",
                    "P-77", {rate("300", 21, "63")}, {due(4, 11, "181.5"), due(5, 11, "181.5")})),
        [] {
            DraftEntry made = withInvoice(
                entry(16, {debit("62300001", "800", "Minuta marzo Asesoría Martín", "M-03", 3),
                           debit("47200021", "168", "IVA 21% minuta M-03", "M-03", 3),
                           credit("47510001", "120", "Retención IRPF 15% minuta M-03", "M-03", 3),
                           credit("41000001", "848", "Minuta marzo Asesoría Martín", "M-03", 3)}),
                invoice(enmLibros::kvSoportado, "41000001", "Asesoría Fiscal Martín", "12345678Z",
                        "M-03", {rate("800", 21, "168")}, {due(4, 15, "848")}));
            made.invoice->withholding =
                DraftWithholding{1, 15, "47510001", euros("800"), euros("120"), euros("848")};
            return made;
        }(),
        entry(20,
              {debit("57200001", "8470", "Cobro saldo inicial Hostelería del Puerto", "TR-20"),
               credit("43000001", "8470", "Cobro saldo inicial Hostelería del Puerto", "TR-20")}),
        entry(23, {debit("40000001", "3025", "Pago factura 1187", "TR-23"),
                   credit("57200001", "3025", "Pago factura 1187", "TR-23")}),
        withInvoice(
            entry(25, {debit("43000002", "4840", "Factura A-032 Comercial Rivera", "A-032", 1),
                       credit("70000001", "4000", "Factura A-032 Comercial Rivera", "A-032", 1),
                       credit("47700021", "840", "IVA 21% factura A-032", "A-032", 1)}),
            invoice(enmLibros::kvRepercutido, "43000002", "Comercial Rivera, S.A.", "A38111222",
                    "A-032", {rate("4000", 21, "840")}, {due(4, 24, "2420"), due(5, 25, "2420")})),
        entry(31, {debit("62600001", "12.5", "Comisión mantenimiento cuenta", "EXT-03", 3),
                   credit("57200001", "12.5", "Comisión mantenimiento cuenta", "EXT-03", 3)}),
    };
}

void demoConcepts(const CompanyDatabase& opened) {
    std::cout << "\n== " << _("Accounting concepts (clsConcepto)") << "\n";
    struct Row {
        const char* code;
        const char* name;
        bool debit;
    };
    for (const Row& row :
         {Row{"VTA", "Venta de mercaderías", false}, Row{"CMP", "Compra de mercaderías", true},
          Row{"COB", "Cobro de cliente", true}, Row{"PAG", "Pago a proveedor", false}}) {
        auto description = std::make_shared<clsConcepto>();
        description->Conexion(opened.connection);
        description->Codigo(row.code);
        description->Nombre(row.name);
        description->Debe(row.debit);
        description->M347(true);
        description->Insertar();
        std::cout << "  " << format(_("added %s - %s"), row.code, row.name) << "\n";
    }
    auto loaded = std::make_shared<clsConcepto>();
    loaded->Codigo("COB");
    loaded->Cargar();
    loaded->Nombre("Cobro de cliente por transferencia");
    loaded->Modificar();
    std::cout << "  " << format(_("COB renamed: %s"), loaded->Nombre().c_str()) << "\n";
    loaded->Codigo("PAG");
    loaded->Eliminar();
    auto again = std::make_shared<clsConcepto>();
    again->Codigo("PAG");
    std::cout << "  " << (again->Cargar() ? _("PAG deleted: it is still there")
                                          : _("PAG deleted: it is gone"))
              << "\n";
}

int runDemo(const DatabaseArgument& database) {
    CompanySetup setup;
    setup.path = database.file;
    setup.connection = database.connection;
    setup.name = "Distribuciones Atlántico, S.L.";
    setup.tax = 2;
    createCompanyDatabase(setup);
    CompanyDatabase opened = openCompanyDatabase(database, std::nullopt, std::nullopt, 1);
    std::cout << format(_("Demonstration company database: %s"), database.name().c_str()) << "\n"
              << format(_("Company 1 '%s', exercise 2026, account levels %s"), setup.name.c_str(),
                        setup.levels.c_str())
              << "\n";

    std::istringstream chartText(kChart);
    const std::string chartName = _("the demo's chart");
    const PlacedChart chart = placeChart(readChart(chartText, chartName),
                                         parseLevels(setup.levels), chartName);
    reportImport(std::cout,
                 importChart(opened.connection, setup.company, setup.exercise, chart, false), chart,
                 setup.company, setup.exercise);
    opened.connection->Execute(
        "INSERT INTO SGD_Usuarios (Codigo, Nombre, Alias, Password, AccesoCentral, ForzarPass) "
        "VALUES (1, 'Ana Morales', 'ana', 'demo', 1, 0)");
    opened.connection->Execute(
        "INSERT INTO SGD_Usuarios_Grupos (CodUsuario, CodGrupo) VALUES (1, 1)");
    demoConcepts(opened);

    // The application opens the exercise with a zero balance row for every account of the
    // chart. Without it, the first opening or closing credit on an account would create the
    // account's row with the amount as it is (the library's long-standing behaviour, which
    // later credits then subtract from), and the opening column would not add up to zero.
    for (const PlacedAccount& account : chart.accounts) {
        const std::string level = std::to_string(account.level);
        opened.connection->Execute(
            "INSERT INTO Acumulados (Cod_Empresa, Cod_Ejercicio, Cuenta, Nivel) VALUES (1, 2026, "
            "'" +
            account.account + "', " + level + ")");
        opened.connection->Execute(
            "INSERT INTO Acumulados_Dpto (Cod_Empresa, Cod_Ejercicio, Cuenta, Dpto, Nivel) VALUES "
            "(1, 2026, '" +
            account.account + "', 0, " + level + ")");
    }

    std::vector<DraftEntry> entries = demoEntries();
    checkEntries(entries, *opened.context);
    std::vector<PostedEntry> posted = postEntries(entries, opened.connection, opened.context, 1);
    std::cout << "\n== "
              << _("Entries posted (clsAsiento, clsMov, clsLibroIgic, clsLibroIrpf, forecasts)")
              << "\n";
    for (std::size_t i = 0; i < entries.size(); ++i) {
        // What the entry wrote, as a list: its lines, then its invoice's records.
        const auto lines = static_cast<unsigned long long>(entries[i].lines.size());
        std::string written = format(trn("%llu line", "%llu lines", lines), lines);
        if (entries[i].invoice) {
            written += std::string(", ") + _("invoice in the VAT book");
            if (entries[i].invoice->withholding)
                written += std::string(", ") + _("IRPF withholding");
            if (!posted[i].forecasts.empty()) {
                const auto forecasts =
                    static_cast<unsigned long long>(posted[i].forecasts.size());
                written += ", " + format(trn("%llu forecast", "%llu forecasts", forecasts),
                                         forecasts);
            }
        }
        std::cout << "  "
                  << format(_("entry %d  %s  %s (%s)"), static_cast<int>(posted[i].number),
                            dateText(entries[i].date).c_str(),
                            entries[i].lines.front().description.c_str(), written.c_str())
                  << "\n";
    }
    // The supplier's invoice 1187 was paid on 23 March: its forecast is settled.
    auto paid = std::make_shared<clsPrevPagos>();
    paid->cEmpresa(opened.context);
    paid->Cambiar_EstadoByID(posted[3].forecasts.front(), true);
    std::cout << "  "
              << format(_("payment forecast %lld of invoice 1187 marked as paid"),
                        static_cast<long long>(posted[3].forecasts.front()))
              << "\n";

    std::cout << "\n== " << _("Trial balance, posting accounts") << "\n";
    bool balanced = printTrialBalance(std::cout, opened.connection, *opened.context, {});
    std::cout << "\n== " << _("Trial balance, groups") << "\n";
    balanced = printTrialBalance(std::cout, opened.connection, *opened.context, {1, {}, false}) &&
               balanced;
    std::cout << "\n== " << _("Trial balance, department 3 (administration)") << "\n";
    printTrialBalance(std::cout, opened.connection, *opened.context, {std::nullopt, 3, false});
    std::cout << "\n== " << _("Tax books and open forecasts") << "\n";
    printBooks(std::cout, opened.connection, *opened.context);
    // A connection string may hold a password: it is not repeated.
    const std::string argument = database.connection.empty() ? database.file : "--connection CS";
    std::cout << "\n"
              << format(_("Try: kvlnmov show %s 5   (the entry viewer's grid)\n"
                          "     kvlnmov balance %s --level 3 --periods"),
                        argument.c_str(), argument.c_str())
              << "\n";
    return balanced ? kExitOk : kExitFailure;
}

}  // namespace

Command addDemoCommand(CLI::App& app) {
    auto database = std::make_shared<DatabaseArgument>();
    CLI::App* command = app.add_subcommand(
        "demo",
        _("Create a demonstration company database, keep its concepts, post a month of its "
          "bookkeeping through the library and print the trial balance."));
    addDatabaseOptions(command, *database, _("Database file to create"),
                       _("an empty database instead of a file"));
    return {command, [database] { return runDemo(*database); }};
}

}  // namespace kvlnmov::cli
