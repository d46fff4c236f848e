// `kvlnmov books`: the indirect-tax invoice books and the open payment and collection
// forecasts of one company.

#include <algorithm>
#include <iostream>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "books_report.h"
#include "commands.h"
#include "company_database.h"
#include "i18n.h"
#include "kvlnmov/core/empresa_context.h"
#include "kvlnmov/db/open.h"
#include "kvlnmov/db/recordset.h"
#include "kvlnmov/frame/currency.h"
#include "text_table.h"

namespace kvlnmov::cli {

namespace {

struct BooksOptions {
    DatabaseArgument database;
    int company = 0;
    int exercise = 0;
};

// A text column: Null shows as nothing.
std::string text(const Variant& value) { return value.isNull() ? std::string() : value.toText(); }

// An amount with at least two decimals, in the regional form ("300,00", "1.210,50",
// "0,7175").
std::string money(Currency amount) { return amountText(amount); }

std::string money(const Variant& value) {
    return money(value.isNull() ? Currency() : value.toCurrency());
}

std::string date(const Variant& value) {
    return value.isNull() ? std::string() : dateText(value.toDate());
}

std::string number(const Variant& value) {
    return value.isNull() ? std::string() : std::to_string(value.toLong());
}

std::string bookName(std::int32_t libro) {
    switch (libro) {
        case 1:
            return _("received");
        case 2:
            return _("issued");
        case 3:
            return _("capital goods");
        default:
            return format(_("book %d"), libro);
    }
}

// One invoice book (`Igic` or `Iva` with its `_Lineas` table): totals by book kind and rate,
// then each record with the sums of its rate lines. `title` heads it; `empty` is the line
// printed instead when it has no records.
void printBook(std::ostream& out, const db::ConnectionRef& connection, const char* title,
               const char* empty, const std::string& table, std::int16_t company,
               std::int16_t exercise) {
    const std::string where = " WHERE Cod_Empresa = " + std::to_string(company) +
                              " AND Cod_Ejercicio = " + std::to_string(exercise);
    std::map<std::int32_t, std::pair<Currency, Currency>> recordTotals;
    db::Recordset lines;
    lines.Open("SELECT Apunte, SUM(Base) AS Base, SUM(Cuota) AS Cuota FROM " + table + "_Lineas" +
                   where + " GROUP BY Apunte",
               connection);
    for (; !lines.Eof(); lines.MoveNext()) {
        recordTotals[lines.Fields("Apunte").toLong()] = {lines.Fields("Base").toCurrency(),
                                                         lines.Fields("Cuota").toCurrency()};
    }
    lines.Close();

    TextTable records({{_("Line"), true},
                       {_("Date"), false},
                       {_("Book"), false},
                       {_("Account"), false},
                       {_("Document"), false},
                       {_("Entry"), true},
                       {_("Name"), false},
                       {_("Tax ID"), false},
                       {_("Base"), true},
                       {_("Tax"), true}});
    db::Recordset headers;
    headers.Open("SELECT Apunte, Fecha, Libro, Cuenta, Documento, Asiento, Nombre, Nif FROM " +
                     table + where + " ORDER BY Fecha, Apunte",
                 connection);
    for (; !headers.Eof(); headers.MoveNext()) {
        const auto sums = recordTotals.find(headers.Fields("Apunte").toLong());
        const bool hasLines = sums != recordTotals.end();
        records.add({number(headers.Fields("Apunte")), date(headers.Fields("Fecha")),
                     bookName(headers.Fields("Libro").toLong()), text(headers.Fields("Cuenta")),
                     text(headers.Fields("Documento")), number(headers.Fields("Asiento")),
                     text(headers.Fields("Nombre")), text(headers.Fields("Nif")),
                     hasLines ? money(sums->second.first) : "",
                     hasLines ? money(sums->second.second) : ""});
    }
    headers.Close();

    if (records.empty()) {
        out << empty << "\n";
        return;
    }
    out << title << "\n";
    TextTable totals({{_("Book"), false},
                      {_("Rate"), true},
                      {_("Base"), true},
                      {_("Tax"), true},
                      {_("Deductible"), true}});
    db::Recordset rates;
    rates.Open(
        "SELECT h.Libro, l.Tipo, SUM(l.Base) AS Base, SUM(l.Cuota) AS Cuota, "
        "SUM(l.Deducible) AS Deducible FROM " +
            table + " h JOIN " + table +
            "_Lineas l ON l.Cod_Empresa = h.Cod_Empresa AND l.Cod_Ejercicio = "
            "h.Cod_Ejercicio AND l.Apunte = h.Apunte"
            " WHERE h.Cod_Empresa = " +
            std::to_string(company) + " AND h.Cod_Ejercicio = " + std::to_string(exercise) +
            " GROUP BY h.Libro, l.Tipo ORDER BY h.Libro, l.Tipo",
        connection);
    for (; !rates.Eof(); rates.MoveNext()) {
        totals.add({bookName(rates.Fields("Libro").toLong()), number(rates.Fields("Tipo")) + "%",
                    money(rates.Fields("Base")), money(rates.Fields("Cuota")),
                    money(rates.Fields("Deducible"))});
    }
    rates.Close();
    out << "  " << _("Totals by book and rate:") << "\n";
    totals.print(out, "    ");
    out << "  " << _("Records:") << "\n";
    records.print(out, "    ");
}

// The open forecasts (state 0) of one forecast table by due date, with their total. `title`
// heads them; `none` is the line printed instead when there are none.
void printForecasts(std::ostream& out, const db::ConnectionRef& connection, const char* title,
                    const char* none, const std::string& table, const std::string& methodColumn,
                    std::int16_t company) {
    TextTable forecasts({{_("Due date"), false},
                         {_("Line"), true},
                         {_("Account"), false},
                         {_("Document"), false},
                         {_("Bank"), false},
                         {_("Method"), true},
                         {_("Amount"), true}});
    Currency total;
    db::Recordset rows;
    rows.Open("SELECT Apunte, Fecha_Vto, Cuenta, Documento, Banco, " + methodColumn +
                  " AS Forma, Importe FROM " + table + " WHERE Cod_Empresa = " +
                  std::to_string(company) + " AND Estado = 0 ORDER BY Fecha_Vto, Apunte",
              connection);
    for (; !rows.Eof(); rows.MoveNext()) {
        forecasts.add({date(rows.Fields("Fecha_Vto")), number(rows.Fields("Apunte")),
                       text(rows.Fields("Cuenta")), text(rows.Fields("Documento")),
                       text(rows.Fields("Banco")), number(rows.Fields("Forma")),
                       money(rows.Fields("Importe"))});
        if (!rows.Fields("Importe").isNull()) total += rows.Fields("Importe").toCurrency();
    }
    rows.Close();
    if (forecasts.empty()) {
        out << none << "\n";
        return;
    }
    out << title << "\n";
    forecasts.print(out, "  ");
    out << "  " << format(_("Total: %s"), money(total).c_str()) << "\n";
}

int runBooks(const BooksOptions& options) {
    if ((options.company == 0) != (options.exercise == 0))
        throw UsageError{_("give --company and --exercise together")};
    std::optional<int> company;
    std::optional<int> exercise;
    if (options.company != 0) {
        company = options.company;
        exercise = options.exercise;
    }
    CompanyDatabase opened = openCompanyDatabase(options.database, company, exercise, 1);
    printBooks(std::cout, opened.connection, *opened.context);
    return kExitOk;
}

}  // namespace

void printBooks(std::ostream& out, const db::ConnectionRef& connection, cEmpresa& context) {
    out << format(_("Company %d, exercise %d (%s to %s)"), context.Cod_Empresa(),
                  context.Cod_Ejercicio(), dateText(context.FechaInicio()).c_str(),
                  dateText(context.FechaFin()).c_str())
        << "\n\n";
    printBook(out, connection, _("IGIC book (table Igic)"), _("IGIC book (table Igic): no records"),
              "Igic", context.Cod_Empresa(), context.Cod_Ejercicio());
    out << "\n";
    printBook(out, connection, _("VAT book (table Iva)"), _("VAT book (table Iva): no records"),
              "Iva", context.Cod_Empresa(), context.Cod_Ejercicio());
    out << "\n";
    printForecasts(out, connection, _("Open payment forecasts by due date:"),
                   _("Open payment forecasts by due date: none"), "Previsiones_Pago", "FormaPago",
                   context.Cod_Empresa());
    out << "\n";
    printForecasts(out, connection, _("Open collection forecasts by due date:"),
                   _("Open collection forecasts by due date: none"), "Previsiones_Cobro",
                   "FormaCobro", context.Cod_Empresa());
}

Command addBooksCommand(CLI::App& app) {
    auto options = std::make_shared<BooksOptions>();
    CLI::App* command = app.add_subcommand(
        "books",
        _("List the IGIC and VAT invoice books of a company and exercise (totals by book and\n"
          "rate, then each record with the sums of its rate lines) and the open payment and\n"
          "collection forecasts (state 0) by due date. Without --company and --exercise the\n"
          "database must hold exactly one exercise."));
    addDatabaseOptions(command, options->database, _("Database file (must exist)"));
    command->add_option("--company", options->company, _("Company code"))
        ->check(CLI::Range(1, 32767));
    command->add_option("--exercise", options->exercise, _("Exercise code"))
        ->check(CLI::Range(1, 32767));
    return Command{command, [options] { return runBooks(*options); }};
}

}  // namespace kvlnmov::cli
