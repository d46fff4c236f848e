// kvlnmov-viewer DB ENTRY [--company N --exercise N], or kvlnmov-viewer --connection CS ENTRY:
// shows one journal entry of a company database in the entry viewer form, opened the way an
// application opens it, through frmclsAsientoVisor (the opening entry 0 around it).

#include <QApplication>
#include <QCommandLineParser>
#include <QMessageBox>
#include <filesystem>
#include <iostream>
#include <memory>
#include <optional>
#include <tuple>

#include "kvlnmov/db/open.h"
#include "kvlnmov/core/empresa_context.h"
#include "kvlnmov/frame/error.h"
#include "kvlnmov/core/library.h"
#include "kvlnmov/viewer/form_hook.h"
#include "kvlnmov/version.h"
#include "entry_launcher.h"
#include "../cli/i18n.h"
#include "qt_form_hook.h"
#include "qt_user_interface.h"

namespace {

constexpr int kExitUsage = 2;

using kvlnmov::cli::_;
using kvlnmov::cli::format;

// A translated text of the program, for Qt.
QString qtext(const char* translated) { return QString::fromUtf8(translated); }

// A whole number option in 1..max, or 0 when the text is not one.
int positive(const QString& text, int max) {
    bool ok = false;
    const int value = text.toInt(&ok);
    return ok && value >= 1 && value <= max ? value : 0;
}

// An entry number in 0..max (0 is the opening entry), or -1 when the text is not one.
int entryNumber(const QString& text, int max) {
    bool ok = false;
    const int value = text.toInt(&ok);
    return ok && value >= 0 && value <= max ? value : -1;
}

}  // namespace

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    // After Qt has set the locale from the environment: the program's own texts follow the
    // same language as the kvlnmov tool's (the form's captions are the library's Spanish).
    kvlnmov::cli::initLanguage();
    QApplication::setApplicationName("kvlnmov-viewer");
    QApplication::setApplicationDisplayName("Visor de asientos");
    QApplication::setApplicationVersion(KVLNMOV_VERSION_STRING);

    QCommandLineParser parser;
    parser.setApplicationDescription(
        qtext(_("Shows one journal entry of a company database: its lines, totals, imbalance and "
             "last user. Without --company and --exercise the database must hold exactly one "
             "of each.")));
    parser.addHelpOption();
    parser.addVersionOption();
    parser.addPositionalArgument("DB", qtext(_("Company database file (not with --connection)")));
    parser.addPositionalArgument("ENTRY", qtext(_("Entry number (0: the opening entry)")));
    const QCommandLineOption companyOption("company", qtext(_("Company code")), "N");
    const QCommandLineOption exerciseOption("exercise", qtext(_("Exercise code")), "N");
    const QCommandLineOption connectionOption(
        "connection",
        qtext(_("Connection string of the database instead of a file (SQL Server: ODBC)")), "CS");
    parser.addOption(companyOption);
    parser.addOption(exerciseOption);
    parser.addOption(connectionOption);
    parser.process(app);

    const QStringList arguments = parser.positionalArguments();
    const bool byConnection = parser.isSet(connectionOption);
    const qsizetype expected = byConnection ? 1 : 2;
    const int entry =
        arguments.size() == expected ? entryNumber(arguments[expected - 1], 2147483647) : -1;
    const int company =
        parser.isSet(companyOption) ? positive(parser.value(companyOption), 32767) : -1;
    const int exercise =
        parser.isSet(exerciseOption) ? positive(parser.value(exerciseOption), 32767) : -1;
    if (arguments.size() != expected || entry < 0 || company == 0 || exercise == 0 ||
        (company < 0) != (exercise < 0)) {
        std::cerr << _("usage: kvlnmov-viewer DB ENTRY [--company N --exercise N]\n"
                       "       kvlnmov-viewer --connection CS ENTRY [--company N --exercise N]")
                  << "\n";
        return kExitUsage;
    }
    // The embedded provider would create a missing file: it is looked for first.
    const std::string file = byConnection ? std::string() : arguments[0].toStdString();
    if (!byConnection && !std::filesystem::is_regular_file(file)) {
        std::cerr << "kvlnmov-viewer: "
                  << format(_("'%s' is not a database file (create one with kvlnmov init)"),
                            file.c_str())
                  << "\n";
        return kExitUsage;
    }

    kvlnmov::setUserInterface(std::make_shared<kvlnmov::viewer::QtUserInterface>());
    kvlnmov::setEntryViewerFormHook(std::make_shared<kvlnmov::viewer::QtFormHook>());
    try {
        const auto connection = kvlnmov::db::openConnection(
            byConnection ? parser.value(connectionOption).toStdString()
                         : "Provider=SQLite;Data Source=" + file);
        std::int16_t companyCode = static_cast<std::int16_t>(company);
        std::int16_t exerciseCode = static_cast<std::int16_t>(exercise);
        if (company < 0)
            std::tie(companyCode, exerciseCode) =
                kvlnmov::EmpresaContext::singleCompanyExercise(connection);

        // The opening entry, 0, is opened around frmclsAsientoVisor, which refuses zero keys.
        kvlnmov::viewer::EntryLauncher launcher(
            connection,
            std::make_shared<kvlnmov::EmpresaContext>(connection, companyCode, exerciseCode),
            companyCode, exerciseCode, entry);
        launcher.Show(std::int16_t{1});
    } catch (const kvlnmov::Error& error) {
        const std::string text = "Error " + std::to_string(error.number()) + " (" + error.source() +
                                 "): " + error.description();
        std::cerr << text << "\n";
        QMessageBox::critical(nullptr, QApplication::applicationDisplayName(),
                              QString::fromStdString(text));
        return 1;
    }
    kvlnmov::setEntryViewerFormHook(nullptr);
    kvlnmov::resetLibrary();
    return 0;
}
