// `kvlnmov show`: one entry as the entry viewer shows it, as plain text in the terminal.

#include <algorithm>
#include <iostream>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include "commands.h"
#include "company_database.h"
#include "kvlnmov/db/open.h"
#include "kvlnmov/core/empresa_context.h"
#include "kvlnmov/core/library.h"
#include "kvlnmov/viewer/entry_view.h"
#include "text_table.h"

namespace kvlnmov::cli {

namespace {

struct ShowOptions {
    DatabaseArgument database;
    std::int32_t entry = 0;
    int company = 0;
    int exercise = 0;
};

using Column = EntryView::Column;

bool rightAligned(std::size_t column) {
    return column == static_cast<std::size_t>(Column::Apunte) ||
           column == static_cast<std::size_t>(Column::Debe) ||
           column == static_cast<std::size_t>(Column::Haber);
}

// The grid as a table, then the totals and the imbalance under the debit and credit columns.
void render(const EntryView& view, std::ostream& out) {
    const auto& captions = EntryView::columnCaptions();
    const std::size_t debit = static_cast<std::size_t>(Column::Debe);
    const std::size_t credit = static_cast<std::size_t>(Column::Haber);

    std::vector<bool> right;
    for (std::size_t i = 0; i < captions.size(); ++i) right.push_back(rightAligned(i));
    TextTable grid(std::vector<std::string>(captions.begin(), captions.end()), right, " | ", true);
    for (const EntryView::Row& row : view.rows()) {
        grid.add(std::vector<std::string>(row.begin(), row.end()));
    }
    for (const std::string* total : {&view.totalDebe(), &view.descuadreDebe()})
        grid.widen(debit, displayWidth(*total));
    for (const std::string* total : {&view.totalHaber(), &view.descuadreHaber()})
        grid.widen(credit, displayWidth(*total));
    const std::vector<std::size_t> widths = grid.widths();

    // An entry without lines leaves the number box empty; the terminal names the entry asked.
    const std::string number = view.numero().empty() ? std::to_string(view.entry()) : view.numero();
    out << "Asiento: " << number << "   Fecha: " << view.fecha();
    if (!view.userCaption().empty()) out << "   " << view.userCaption() << " " << view.userName();
    out << "\n\n";

    grid.print(out);
    if (view.rows().empty()) out << "(sin apuntes)\n";
    out << grid.ruleLine() << "\n";

    // The labels end where the debit column starts.
    std::size_t labelWidth = 0;
    for (std::size_t i = 0; i < debit; ++i) labelWidth += widths[i] + 3;
    labelWidth -= 3;
    auto totals = [&](const std::string& label, const std::string& debe, const std::string& haber) {
        out << fit(label, labelWidth, true) << " | " << fit(debe, widths[debit], true) << " | "
            << fit(haber, widths[credit], true) << "\n";
    };
    totals("Totales", view.totalDebe(), view.totalHaber());
    totals("Descuadre", view.descuadreDebe(), view.descuadreHaber());
}

int runShow(const ShowOptions& options) {
    if ((options.company == 0) != (options.exercise == 0))
        throw UsageError{"give both --company and --exercise, or neither"};
    if (options.entry <= 0) throw UsageError{"ENTRY must be an entry number above 0"};

    const db::ConnectionRef connection = openExistingDatabase(options.database);
    offerConnection(connection);
    std::int16_t company = static_cast<std::int16_t>(options.company);
    std::int16_t exercise = static_cast<std::int16_t>(options.exercise);
    if (company == 0)
        std::tie(company, exercise) = EmpresaContext::singleCompanyExercise(connection);
    auto context = std::make_shared<EmpresaContext>(connection, company, exercise);

    EntryView view(connection, context, company, exercise, options.entry);
    view.load();
    while (view.canFetchMore()) view.fetchMore();
    view.close();
    render(view, std::cout);
    return kExitOk;
}

}  // namespace

Command addShowCommand(CLI::App& app) {
    auto options = std::make_shared<ShowOptions>();
    CLI::App* command = app.add_subcommand(
        "show",
        "Show one journal entry as the entry viewer does: its number, date and last user, its\n"
        "lines, the debit and credit totals and the imbalance.\n"
        "Without --company and --exercise the database must hold exactly one of each.");
    addDatabaseOptions(command, options->database, "Company database file");
    command->add_option("ENTRY", options->entry, "Entry number")->required();
    command->add_option("--company", options->company, "Company code")->check(CLI::Range(1, 32767));
    command->add_option("--exercise", options->exercise, "Exercise code")
        ->check(CLI::Range(1, 32767));
    return Command{command, [options] { return runShow(*options); }};
}

}  // namespace kvlnmov::cli
