// `kvlnmov show`: one entry as the entry viewer shows it, as plain text in the terminal.

#include <ext/stdio_filebuf.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include "commands.h"
#include "company_database.h"
#include "i18n.h"
#include "kvlnmov/db/open.h"
#include "kvlnmov/db/recordset.h"
#include "kvlnmov/core/sql_text.h"
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
    bool noPager = false;
};

using Column = EntryView::Column;

// The grid's ordinal column is sized for entries of up to 999.999 lines when more lines
// follow the first batch: their number is not known until they are read.
constexpr std::size_t kLongEntryOrdinalDigits = 6;

bool rightAligned(std::size_t column) {
    return column == static_cast<std::size_t>(Column::Apunte) ||
           column == static_cast<std::size_t>(Column::Debe) ||
           column == static_cast<std::size_t>(Column::Haber);
}

// Where the entry is written: standard output, or a pager fed through a pipe when standard
// output is a terminal. The pager is waited for when this ends.
class Output {
  public:
    explicit Output(bool page) {
        if (!page) return;
        const char* variable = std::getenv("PAGER");
        const std::string command = variable ? variable : "less -FRX";
        if (command.empty() || command == "cat") return;
        std::cout.flush();
        pipe_ = popen(command.c_str(), "w");
        if (!pipe_) return;
        // A pager quit before the end closes the pipe: writing then fails instead of ending
        // the tool, and the remaining lines are not read.
        std::signal(SIGPIPE, SIG_IGN);
        buffer_ = std::make_unique<__gnu_cxx::stdio_filebuf<char>>(pipe_, std::ios::out);
        piped_ = std::make_unique<std::ostream>(buffer_.get());
    }
    ~Output() {
        if (!pipe_) return;
        piped_->flush();
        piped_.reset();
        buffer_.reset();
        pclose(pipe_);
    }
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;

    std::ostream& stream() { return piped_ ? *piped_ : std::cout; }

  private:
    FILE* pipe_ = nullptr;
    std::unique_ptr<__gnu_cxx::stdio_filebuf<char>> buffer_;
    std::unique_ptr<std::ostream> piped_;
};

// The grid as a table, then the totals and the imbalance under the debit and credit columns.
// The lines are written as the view reads them, batch after batch, so the first screen does
// not wait for the rest of a long entry: the columns take their widths from the first batch,
// the captions and the totals (no amount of the entry is wider than the larger total), and a
// later cell wider than its column pushes the rest of its own line to the right.
void render(EntryView& view, std::ostream& out) {
    const auto& captions = EntryView::columnCaptions();
    const std::size_t ordinal = static_cast<std::size_t>(Column::Apunte);
    const std::size_t debit = static_cast<std::size_t>(Column::Debe);
    const std::size_t credit = static_cast<std::size_t>(Column::Haber);

    std::vector<bool> right;
    for (std::size_t i = 0; i < captions.size(); ++i) right.push_back(rightAligned(i));
    TextTable grid(std::vector<std::string>(captions.begin(), captions.end()), right, " | ", true);
    for (const EntryView::Row& row : view.rows()) {
        for (std::size_t i = 0; i < row.size(); ++i) grid.widen(i, displayWidth(row[i]));
    }
    for (const std::string* total : {&view.totalDebe(), &view.descuadreDebe()})
        grid.widen(debit, displayWidth(*total));
    for (const std::string* total : {&view.totalHaber(), &view.descuadreHaber()})
        grid.widen(credit, displayWidth(*total));
    if (view.canFetchMore()) grid.widen(ordinal, kLongEntryOrdinalDigits);
    const std::vector<std::size_t> widths = grid.widths();

    // An entry without lines leaves the number box empty; the terminal names the entry asked.
    const std::string number = view.numero().empty() ? std::to_string(view.entry()) : view.numero();
    out << "Asiento: " << number << "   Fecha: " << view.fecha();
    if (!view.userCaption().empty()) out << "   " << view.userCaption() << " " << view.userName();
    out << "\n\n";

    grid.print(out);
    std::size_t written = 0;
    auto writeRead = [&] {
        const std::vector<EntryView::Row>& rows = view.rows();
        for (; written < rows.size(); ++written) {
            const EntryView::Row& row = rows[written];
            out << grid.line(std::vector<std::string>(row.begin(), row.end())) << "\n";
        }
    };
    writeRead();
    out.flush();
    // A pager that was quit stops the reading: nobody reads the rest.
    while (out && view.canFetchMore()) {
        view.fetchMore();
        writeRead();
    }
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
    out.flush();
}

// True when the entry's header exists, annulled or not.
bool entryExists(const db::ConnectionRef& connection, std::int16_t company, std::int16_t exercise,
                 std::int32_t entry) {
    db::Recordset header;
    header.Open("SELECT Codigo FROM Asientos WHERE Cod_Empresa = " + sql::integer(company) +
                    " AND Cod_Ejercicio = " + sql::integer(exercise) +
                    " AND Codigo = " + sql::integer(entry),
                connection);
    const bool found = !header.Eof();
    header.Close();
    return found;
}

int runShow(const ShowOptions& options) {
    if ((options.company == 0) != (options.exercise == 0))
        throw UsageError{_("give both --company and --exercise, or neither")};
    if (options.entry < 0)
        throw UsageError{
            _("ENTRY must be an entry number: 0 for the opening entry, or above")};

    const db::ConnectionRef connection = openExistingDatabase(options.database);
    offerConnection(connection);
    std::int16_t company = static_cast<std::int16_t>(options.company);
    std::int16_t exercise = static_cast<std::int16_t>(options.exercise);
    if (company == 0)
        std::tie(company, exercise) = EmpresaContext::singleCompanyExercise(connection);
    if (!entryExists(connection, company, exercise, options.entry)) {
        throw Refused{format(_("entry %d does not exist in company %d, exercise %d"),
                             static_cast<int>(options.entry), static_cast<int>(company),
                             static_cast<int>(exercise))};
    }
    auto context = std::make_shared<EmpresaContext>(connection, company, exercise);

    EntryView view(connection, context, company, exercise, options.entry);
    view.load();
    {
        Output output(!options.noPager && isatty(STDOUT_FILENO) != 0);
        render(view, output.stream());
    }
    view.close();
    return kExitOk;
}

}  // namespace

Command addShowCommand(CLI::App& app) {
    auto options = std::make_shared<ShowOptions>();
    CLI::App* command = app.add_subcommand(
        "show",
        _("Show one journal entry as the entry viewer does: its number, date and last user, its\n"
        "lines, the debit and credit totals and the imbalance.\n"
        "Without --company and --exercise the database must hold exactly one of each.\n"
        "ENTRY 0 is the opening entry. An entry that does not exist is refused (exit 1).\n"
        "On a terminal the entry goes through $PAGER (default: less -FRX); the lines are\n"
        "written as they are read, so a long entry's first screen shows at once."));
    addDatabaseOptions(command, options->database, _("Company database file"));
    command->add_option("ENTRY", options->entry, _("Entry number (0: the opening entry)"))
        ->required();
    command->add_option("--company", options->company, _("Company code"))->check(CLI::Range(1, 32767));
    command->add_option("--exercise", options->exercise, _("Exercise code"))
        ->check(CLI::Range(1, 32767));
    command->add_flag("--no-pager", options->noPager, _("Write to standard output, never to $PAGER"));
    return Command{command, [options] { return runShow(*options); }};
}

}  // namespace kvlnmov::cli
