// `kvlnmov annul`, `kvlnmov renumber` and `kvlnmov reassign`: maintenance of posted entries
// through the journal classes, on an existing company database.

#include <algorithm>
#include <cctype>
#include <iostream>
#include <memory>
#include <optional>
#include <string>

#include "commands.h"
#include "company_database.h"
#include "i18n.h"
#include "kvlnmov/core/sql_text.h"
#include "kvlnmov/db/recordset.h"
#include "kvlnmov/journal/cls_asiento.h"
#include "kvlnmov/journal/cls_mov.h"
#include "text_table.h"

namespace kvlnmov::cli {

namespace {

// " WHERE Cod_Empresa = c AND Cod_Ejercicio = e" of the opened company and exercise.
std::string whereCompanyExercise(EmpresaContext& context) {
    return " WHERE Cod_Empresa = " + sql::integer(context.Cod_Empresa()) +
           " AND Cod_Ejercicio = " + sql::integer(context.Cod_Ejercicio());
}

// The single number a query returns (0 for no row or Null).
std::int64_t scalar(const CompanyDatabase& opened, const std::string& query) {
    db::Recordset result;
    result.Open(query, opened.connection);
    std::int64_t value = 0;
    if (!result.Eof() && !result.Fields(0).isNull()) value = result.Fields(0).toLong();
    result.Close();
    return value;
}

int companyOf(EmpresaContext& context) { return static_cast<int>(context.Cod_Empresa()); }
int exerciseOf(EmpresaContext& context) { return static_cast<int>(context.Cod_Ejercicio()); }

std::shared_ptr<clsAsiento> entryHeader(const CompanyDatabase& opened, std::int32_t number) {
    auto entry = std::make_shared<clsAsiento>();
    entry->Conexion(opened.connection);
    entry->cEmpresa(opened.context);
    entry->Codigo(number);
    return entry;
}

std::shared_ptr<clsMov> journalLine(const CompanyDatabase& opened) {
    auto line = std::make_shared<clsMov>();
    line->Conexion(opened.connection);
    line->cEmpresa(opened.context);
    return line;
}

struct AnnulOptions {
    DatabaseArgument database;
    std::int32_t entry = 0;
    std::optional<int> user;
    std::optional<int> company;
    std::optional<int> exercise;
    bool force = false;
};

int runAnnul(const AnnulOptions& options) {
    CompanyDatabase opened = openCompanyDatabase(options.database, options.company,
                                                 options.exercise, options.user.value_or(1));
    EmpresaContext& context = *opened.context;
    auto entry = entryHeader(opened, options.entry);
    if (!entry->Cargar()) {
        throw Refused{format(_("entry %d does not exist in company %d, exercise %d"),
                             static_cast<int>(options.entry), companyOf(context),
                             exerciseOf(context))};
    }
    // An annulled header stays without lines: annulling it again would only add an empty
    // backup and rewrite the mark.
    if (entry->Nulo()) {
        throw Refused{format(_("entry %d of company %d, exercise %d is already annulled"),
                             static_cast<int>(options.entry), companyOf(context),
                             exerciseOf(context))};
    }
    // The opening entry carries the exercise's opening balances; it is only annulled on
    // purpose.
    if (options.entry == 0 && !options.force) {
        throw Refused{format(_("entry 0 is the opening entry of company %d, exercise %d and is "
                               "not annulled without --force"),
                             companyOf(context), exerciseOf(context))};
    }
    // The annulling user goes to the backup and to a header that stays; without --user the
    // header's own user is kept.
    if (options.user) entry->Usuario(static_cast<std::int16_t>(*options.user));
    const std::string where = whereCompanyExercise(context);
    const std::string number = sql::integer(options.entry);
    const std::int64_t lines =
        scalar(opened, "SELECT COUNT(*) FROM Movimientos" + where + " AND Cod_Asiento = " + number);

    entry->Eliminar();

    const std::int64_t backup = scalar(
        opened, "SELECT MAX(IDBak) FROM BakAnulado_Asientos" + where + " AND Codigo = " + number);
    const auto count = static_cast<unsigned long long>(lines);
    std::cout << format(trn("Annulled entry %d of company %d, exercise %d (dated %s): %llu line "
                            "taken out of the balances, backed up under backup %lld and deleted.",
                            "Annulled entry %d of company %d, exercise %d (dated %s): %llu lines "
                            "taken out of the balances, backed up under backup %lld and deleted.",
                            count),
                        static_cast<int>(options.entry), companyOf(context), exerciseOf(context),
                        dateText(entry->Fecha()).c_str(), count, static_cast<long long>(backup))
              << "\n";
    if (entry->Existe()) {
        std::cout << format(_("The header stays, marked annulled (Nulo) by user %d: %d was not "
                              "the last number given."),
                            static_cast<int>(entry->Usuario()), static_cast<int>(options.entry))
                  << "\n";
    } else {
        std::cout << format(_("The header was deleted and number %d given back to the counter."),
                            static_cast<int>(options.entry))
                  << "\n";
    }
    return kExitOk;
}

struct RenumberOptions {
    DatabaseArgument database;
    std::int32_t from = 0;
    std::int32_t to = 0;
    int user = 1;
    std::optional<int> company;
    std::optional<int> exercise;
};

int runRenumber(const RenumberOptions& options) {
    if (options.from == options.to) {
        throw Refused{format(_("entry %d cannot be moved onto itself: OLD and NEW must differ"),
                             static_cast<int>(options.from))};
    }
    CompanyDatabase opened =
        openCompanyDatabase(options.database, options.company, options.exercise, options.user);
    EmpresaContext& context = *opened.context;
    // The lines take the new entry's date from its header, which must therefore exist.
    auto target = entryHeader(opened, options.to);
    if (!target->Cargar()) {
        throw Refused{format(_("entry %d has no header in company %d, exercise %d; create it "
                               "first: renumber moves the lines into an existing entry"),
                             static_cast<int>(options.to), companyOf(context),
                             exerciseOf(context))};
    }
    const std::int64_t lines =
        scalar(opened, "SELECT COUNT(*) FROM Movimientos" + whereCompanyExercise(context) +
                           " AND Cod_Asiento = " + sql::integer(options.from));
    if (lines == 0) {
        throw Refused{format(_("entry %d has no lines in company %d, exercise %d; there is "
                               "nothing to move"),
                             static_cast<int>(options.from), companyOf(context),
                             exerciseOf(context))};
    }

    journalLine(opened)->Cambiar_Asiento(options.from, options.to);

    const auto count = static_cast<unsigned long long>(lines);
    const int from = static_cast<int>(options.from);
    const int to = static_cast<int>(options.to);
    const std::string date = dateText(target->Fecha());
    if (context.TipoImpuesto() == 1) {
        std::cout << format(trn("Moved %llu line of entry %d to entry %d (dated %s), with their "
                                "balances, secondary lines, payment forecasts and IGIC book "
                                "records.",
                                "Moved %llu lines of entry %d to entry %d (dated %s), with their "
                                "balances, secondary lines, payment forecasts and IGIC book "
                                "records.",
                                count),
                            count, from, to, date.c_str());
    } else {
        std::cout << format(trn("Moved %llu line of entry %d to entry %d (dated %s), with their "
                                "balances, secondary lines and payment forecasts.",
                                "Moved %llu lines of entry %d to entry %d (dated %s), with their "
                                "balances, secondary lines and payment forecasts.",
                                count),
                            count, from, to, date.c_str());
    }
    std::cout << "\n";
    return kExitOk;
}

struct ReassignOptions {
    DatabaseArgument database;
    std::string from;
    std::string to;
    std::string destination;
    std::string start;
    std::string end;
    bool reconciled = false;
    bool unreconciled = false;
    int user = 1;
    std::optional<int> company;
    std::optional<int> exercise;
};

Date isoDate(const std::string& text, const char* option) {
    const auto date = Date::parseIso(text);
    if (!date || date->hasTime()) {
        throw UsageError{format(_("%s must be a date as YYYY-MM-DD: '%s'"), option, text.c_str())};
    }
    return *date;
}

void requireDigits(const std::string& account, const char* option) {
    const bool digits = !account.empty() && std::all_of(account.begin(), account.end(), [](char c) {
        return std::isdigit(static_cast<unsigned char>(c)) != 0;
    });
    if (!digits) {
        throw UsageError{
            format(_("%s must be an account of digits: '%s'"), option, account.c_str())};
    }
}

int runReassign(const ReassignOptions& options) {
    requireDigits(options.from, "--from");
    requireDigits(options.to, "--to");
    requireDigits(options.destination, "--dest");
    if (options.to < options.from) throw UsageError{_("--to must not come before --from")};
    const Date start = isoDate(options.start, "--start");
    const Date end = isoDate(options.end, "--end");
    if (end < start) throw UsageError{_("--end must not be before --start")};

    CompanyDatabase opened =
        openCompanyDatabase(options.database, options.company, options.exercise, options.user);
    EmpresaContext& context = *opened.context;
    if (options.destination.size() != static_cast<std::size_t>(context.LongitudCuenta())) {
        throw UsageError{format(_("--dest must be a posting account of %d digits: '%s'"),
                                static_cast<int>(context.LongitudCuenta()),
                                options.destination.c_str())};
    }
    const std::int16_t reconciliation = options.reconciled ? 1 : options.unreconciled ? 2 : 0;
    std::string selection = " AND Cuenta BETWEEN '" + options.from + "' AND '" + options.to +
                            "' AND Fecha_Asiento BETWEEN '" + sql::date(start) + "' AND '" +
                            sql::date(end) + "'";
    if (reconciliation == 1) selection += " AND Punteo <> 0";
    if (reconciliation == 2) selection += " AND Punteo = 0";
    const std::int64_t lines = scalar(
        opened, "SELECT COUNT(*) FROM Movimientos" + whereCompanyExercise(context) + selection);
    if (lines == 0) {
        const char* sentence =
            reconciliation == 1
                ? _("no reconciled line of accounts %s to %s is dated %s to %s in company %d, "
                    "exercise %d; there is nothing to move")
            : reconciliation == 2
                ? _("no unreconciled line of accounts %s to %s is dated %s to %s in company %d, "
                    "exercise %d; there is nothing to move")
                : _("no line of accounts %s to %s is dated %s to %s in company %d, exercise %d; "
                    "there is nothing to move");
        throw Refused{format(sentence, options.from.c_str(), options.to.c_str(),
                             dateText(start).c_str(), dateText(end).c_str(), companyOf(context),
                             exerciseOf(context))};
    }

    journalLine(opened)->Cambiar_Cuenta(options.from, options.to, options.destination, start, end,
                                        reconciliation);

    const auto count = static_cast<unsigned long long>(lines);
    const char* sentence =
        reconciliation == 1
            ? trn("Moved %llu line of accounts %s to %s dated %s to %s (reconciled only) to "
                  "account %s, with their balances.",
                  "Moved %llu lines of accounts %s to %s dated %s to %s (reconciled only) to "
                  "account %s, with their balances.",
                  count)
        : reconciliation == 2
            ? trn("Moved %llu line of accounts %s to %s dated %s to %s (unreconciled only) to "
                  "account %s, with their balances.",
                  "Moved %llu lines of accounts %s to %s dated %s to %s (unreconciled only) to "
                  "account %s, with their balances.",
                  count)
            : trn("Moved %llu line of accounts %s to %s dated %s to %s to account %s, with "
                  "their balances.",
                  "Moved %llu lines of accounts %s to %s dated %s to %s to account %s, with "
                  "their balances.",
                  count);
    std::cout << format(sentence, count, options.from.c_str(), options.to.c_str(),
                        dateText(start).c_str(), dateText(end).c_str(), options.destination.c_str())
              << "\n";
    return kExitOk;
}

}  // namespace

Command addAnnulCommand(CLI::App& app) {
    auto options = std::make_shared<AnnulOptions>();
    CLI::App* command = app.add_subcommand(
        "annul",
        _("Annul a posted entry: its lines, secondary lines and tax books are backed up\n"
          "(BakAnulado_* tables) and removed, and its amounts taken out of the balances. The\n"
          "header is deleted and its number given back when it was the last number given;\n"
          "otherwise it stays, empty and marked annulled. An entry that does not exist or is\n"
          "already annulled is refused (exit 1); so is the opening entry 0 without --force."));
    addDatabaseOptions(command, options->database, _("Company database file"));
    command->add_option("ENTRY", options->entry, _("Number of the entry to annul"))->required();
    command
        ->add_option("--user", options->user,
                     _("User who annuls (default: the user recorded on the header)"))
        ->check(CLI::Range(0, 32767));
    command->add_flag("--force", options->force,
                      _("Annul the opening entry 0 too (it carries the opening balances)"));
    addCompanyExerciseOptions(command, options->company, options->exercise);
    return {command, [options] { return runAnnul(*options); }};
}

Command addRenumberCommand(CLI::App& app) {
    auto options = std::make_shared<RenumberOptions>();
    CLI::App* command = app.add_subcommand(
        "renumber",
        _("Move every line of entry OLD to the existing entry NEW, which gives them its date:\n"
          "balances move to the new date's period; secondary lines, payment forecasts and,\n"
          "when the company keeps the IGIC book (tax kind 1), its records follow.\n"
          "OLD without lines, NEW without a header, or OLD equal to NEW is refused (exit 1)."));
    addDatabaseOptions(command, options->database, _("Company database file"));
    command->add_option("OLD", options->from, _("Entry whose lines move"))->required();
    command->add_option("NEW", options->to, _("Entry that receives them (its header must exist)"))
        ->required();
    command->add_option("--user", options->user, _("User code of the operation"))
        ->check(CLI::Range(0, 32767))
        ->capture_default_str();
    addCompanyExerciseOptions(command, options->company, options->exercise);
    return {command, [options] { return runRenumber(*options); }};
}

Command addReassignCommand(CLI::App& app) {
    auto options = std::make_shared<ReassignOptions>();
    CLI::App* command = app.add_subcommand(
        "reassign",
        _("Move the lines of the accounts --from..--to whose entries are dated --start..--end\n"
          "to account --dest, with their balances, IGIC book records (tax kind 1), secondary\n"
          "lines and tax counterparts. A selection without lines is refused (exit 1)."));
    addDatabaseOptions(command, options->database, _("Company database file"));
    command->add_option("--from", options->from, _("First account of the range"))->required();
    command->add_option("--to", options->to, _("Last account of the range"))->required();
    command->add_option("--dest", options->destination, _("Destination (posting) account"))
        ->required();
    command->add_option("--start", options->start, _("First entry date, YYYY-MM-DD"))->required();
    command->add_option("--end", options->end, _("Last entry date, YYYY-MM-DD"))->required();
    CLI::Option* reconciled =
        command->add_flag("--reconciled", options->reconciled, _("Only reconciled lines"));
    CLI::Option* unreconciled =
        command->add_flag("--unreconciled", options->unreconciled, _("Only unreconciled lines"));
    reconciled->excludes(unreconciled);
    command->add_option("--user", options->user, _("User code stamped on the changed lines"))
        ->check(CLI::Range(0, 32767))
        ->capture_default_str();
    addCompanyExerciseOptions(command, options->company, options->exercise);
    return {command, [options] { return runReassign(*options); }};
}

}  // namespace kvlnmov::cli
