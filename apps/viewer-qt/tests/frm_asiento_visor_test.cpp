// The Qt form frmAsientoVisor opened through frmclsAsientoVisor on an entry of 450 lines:
// the grid grows by 200 lines each time it is scrolled to its end, the boxes show the totals,
// the imbalance and the last user, and the close button unloads the form.

#include "frm_asiento_visor.h"

#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScrollBar>
#include <QTableView>
#include <QTemporaryDir>
#include <QtTest>
#include <memory>

#include "kvlnmov/db/open.h"
#include "kvlnmov/core/library.h"
#include "kvlnmov/core/user_interface.h"
#include "kvlnmov/viewer/frmcls_asiento_visor.h"
#include "entry_launcher.h"
#include "qt_form_hook.h"

namespace kvlnmov::viewer {

class FrmAsientoVisorTest : public QObject {
    Q_OBJECT

  private slots:
    void initTestCase();
    void opensOnTheEntryAndLoadsBatchesWhenScrolledToTheEnd();
    void zeroKeyOpensNothing();
    void endingTheClassUnloadsTheForm();
    void openingEntryZeroIsShownAroundTheClass();
    void launcherOpensOtherEntriesThroughTheClass();
    void cleanupTestCase();

  private:
    std::unique_ptr<frmclsAsientoVisor> newVisor(std::int32_t entry);
    frmAsientoVisor* formShown();
    QString boxText(frmAsientoVisor* form, const char* name);
    void saveScreenshot(QWidget* form, const QString& name);

    QTemporaryDir folder_;
    db::ConnectionRef db_;
    std::shared_ptr<SettableContext> context_;
    std::shared_ptr<RecordingUserInterface> ui_;
    std::shared_ptr<QtFormHook> hook_;
};

void FrmAsientoVisorTest::initTestCase() {
    QVERIFY(folder_.isValid());
    resetLibrary();
    ui_ = std::make_shared<RecordingUserInterface>();
    setUserInterface(ui_);
    hook_ = std::make_shared<QtFormHook>();
    setEntryViewerFormHook(hook_);

    db_ = db::openConnection("Provider=SQLite;Data Source=" +
                             folder_.filePath("company.db").toStdString());
    db_->createCompanySchema();
    db_->Execute("INSERT INTO Empresas (Codigo, Nombre, OficinaCentral) VALUES (1, 'Demo', 0)");
    db_->Execute(
        "INSERT INTO SGD_Usuarios (Codigo, Nombre, Alias, Password, ForzarPass) VALUES (5, "
        "'Luis Díaz', 'luis', 'x', 0)");
    db_->Execute(
        "INSERT INTO Asientos (Cod_Empresa, Cod_Ejercicio, Codigo, Fecha, Cierre, Usuario) VALUES "
        "(1, 2026, 57, '15/03/2026', 0, 5)");
    const char* accounts[][2] = {{"43000001", "Clientes varios"},
                                 {"70000000", "Ventas de mercaderías"},
                                 {"57200001", "Banco cuenta corriente"}};
    for (const auto& account : accounts) {
        db_->Execute(std::string("INSERT INTO Cuentas (Cod_Empresa, Cod_Ejercicio, Cuenta, Nombre) "
                                 "VALUES (1, 2026, '") +
                     account[0] + "', '" + account[1] + "')");
    }
    // 450 lines of 10.00, odd ones on the debit side, except the first one of 20.00: the
    // debits exceed the credits by 10.00. The account 47700000 has no name.
    const char* lineAccounts[] = {"43000001", "70000000", "57200001", "47700000"};
    db_->BeginTrans();
    for (int n = 1; n <= 450; ++n) {
        const std::string amount = n == 1 ? "20" : "10";
        const bool debit = n % 2 == 1;
        db_->Execute(
            "INSERT INTO Movimientos (Cod_Empresa, Cod_Ejercicio, Cod_Asiento, Apunte, "
            "Fecha_Asiento, Cuenta, Fecha_Apunte, Concepto, Documento, Diario, Dpto, Debe, Haber, "
            "Punteo) VALUES (1, 2026, 57, " +
            std::to_string(1000 + n) + ", '15/03/2026', '" + lineAccounts[n % 4] +
            "', '15/03/2026', 'Remesa de cobros " + std::to_string(n) + "', 'R-" +
            std::to_string(n) + "', 1, " + std::to_string(n % 3 == 0 ? 0 : 7) + ", " +
            (debit ? amount : "0") + ", " + (debit ? "0" : amount) + ", " +
            std::to_string(n % 5 == 0 ? 1 : 0) + ")");
    }
    db_->CommitTrans();

    // The opening entry, number 0: two balanced lines on the first day of the exercise.
    db_->Execute(
        "INSERT INTO Asientos (Cod_Empresa, Cod_Ejercicio, Codigo, Fecha, Cierre, Usuario) VALUES "
        "(1, 2026, 0, '01/01/2026', 0, 0)");
    for (const char* line :
         {"(1, 2026, 0, 1, '01/01/2026', '57200001', '01/01/2026', 'Asiento de apertura', "
          "'APERTURA', 1, 0, 600, 0, 0)",
          "(1, 2026, 0, 2, '01/01/2026', '10000001', '01/01/2026', 'Asiento de apertura', "
          "'APERTURA', 1, 0, 0, 600, 0)"}) {
        db_->Execute(
            std::string("INSERT INTO Movimientos (Cod_Empresa, Cod_Ejercicio, Cod_Asiento, "
                        "Apunte, Fecha_Asiento, Cuenta, Fecha_Apunte, Concepto, Documento, "
                        "Diario, Dpto, Debe, Haber, Punteo) VALUES ") +
            line);
    }

    context_ = std::make_shared<SettableContext>();
    context_->company = 1;
    context_->exercise = 2026;
}

std::unique_ptr<frmclsAsientoVisor> FrmAsientoVisorTest::newVisor(std::int32_t entry) {
    auto visor = std::make_unique<frmclsAsientoVisor>();
    visor->ConexionKavelon(db_);
    visor->EmpresaKavelon(context_);
    visor->Cod_Empresa(1);
    visor->Cod_Ejercicio(2026);
    visor->Asiento(entry);
    return visor;
}

frmAsientoVisor* FrmAsientoVisorTest::formShown() {
    frmAsientoVisor* form = hook_->lastForm();
    if (form) {
        form->resize(1100, 640);
        form->show();
        if (!QTest::qWaitForWindowExposed(form)) return nullptr;
    }
    return form;
}

QString FrmAsientoVisorTest::boxText(frmAsientoVisor* form, const char* name) {
    if (auto* box = form->findChild<QLineEdit*>(name)) return box->text();
    if (auto* label = form->findChild<QLabel*>(name)) return label->text();
    return QStringLiteral("<no control %1>").arg(name);
}

void FrmAsientoVisorTest::saveScreenshot(QWidget* form, const QString& name) {
    const QString path = QStringLiteral(KVLNMOV_SCREENSHOT_DIR) + "/" + name;
    QVERIFY2(form->grab().save(path), qPrintable(path));
}

void FrmAsientoVisorTest::opensOnTheEntryAndLoadsBatchesWhenScrolledToTheEnd() {
    auto visor = newVisor(57);
    visor->Show(std::int16_t{0}, std::nullopt);
    frmAsientoVisor* form = formShown();
    QVERIFY(form);

    QCOMPARE(boxText(form, "txtAsiento"), QStringLiteral("57"));
    QCOMPARE(boxText(form, "txtFecha"), QStringLiteral("15/03/2026"));
    QCOMPARE(boxText(form, "txtTDebe"), QStringLiteral("2.260,00"));
    QCOMPARE(boxText(form, "txtTHaber"), QStringLiteral("2.250,00"));
    QCOMPARE(boxText(form, "txtDDebe"), QStringLiteral("0"));
    QCOMPARE(boxText(form, "txtDHaber"), QStringLiteral("10,00"));
    QCOMPARE(boxText(form, "lblUltMod"), QStringLiteral("Ult. Mod.:"));
    QCOMPARE(boxText(form, "lblUser"), QStringLiteral("Luis Díaz"));

    auto* grid = form->findChild<QTableView*>("vsApuntes");
    QVERIFY(grid);
    QAbstractItemModel* model = grid->model();
    QStringList captions;
    for (int i = 0; i < model->columnCount(); ++i)
        captions << model->headerData(i, Qt::Horizontal).toString();
    QCOMPARE(captions, (QStringList{"Ap.", "Cod. Cuenta", "Denominación de Cuenta", "Concepto",
                                    "Doc.", "Diario.", "Dpto.", "P", "Debe", "Haber"}));
    QCOMPARE(model->rowCount(), 200);
    // Opening read one batch only: the rest waits for the grid to be scrolled.
    QCOMPARE(int(form->view().rows().size()), 200);
    QVERIFY(form->view().canFetchMore());
    QCOMPARE(model->data(model->index(0, 2)).toString(), QStringLiteral("Ventas de mercaderías"));
    QCOMPARE(model->data(model->index(0, 8)).toString(), QStringLiteral("20,00"));
    QCOMPARE(model->data(model->index(2, 2)).toString(), QString());  // 47700000: no name
    QCOMPARE(model->data(model->index(2, 6)).toString(), QString());  // department 0
    QCOMPARE(model->data(model->index(4, 7)).toString(), QStringLiteral("X"));
    saveScreenshot(form, "frmAsientoVisor.png");

    // Each scroll to the end of the grid adds the next batch.
    for (int expected : {400, 450}) {
        QCoreApplication::processEvents();
        grid->scrollToBottom();
        QTRY_COMPARE(model->rowCount(), expected);
    }
    QCoreApplication::processEvents();
    grid->scrollToBottom();
    QCoreApplication::processEvents();
    QCOMPARE(model->rowCount(), 450);
    QCOMPARE(model->data(model->index(449, 0)).toString(), QStringLiteral("450"));
    QCOMPARE(model->data(model->index(449, 3)).toString(), QStringLiteral("Remesa de cobros 450"));
    QCOMPARE(model->data(model->index(449, 9)).toString(), QStringLiteral("10,00"));
    QCOMPARE(grid->verticalScrollBar()->value(), grid->verticalScrollBar()->maximum());
    saveScreenshot(form, "frmAsientoVisor_end.png");
    QVERIFY(ui_->shown.empty());

    // The totals boxes sit under the debit and credit columns.
    auto* total = form->findChild<QLineEdit*>("txtTDebe");
    const int column = grid->horizontalHeader()->sectionViewportPosition(8);
    QCOMPARE(total->mapTo(form, QPoint(0, 0)).x(),
             grid->viewport()->mapTo(form, QPoint(column, 0)).x());

    // Closing the form with cmdSalir unloads it.
    QPointer<frmAsientoVisor> guard(form);
    QTest::mouseClick(form->findChild<QPushButton*>("cmdSalir"), Qt::LeftButton);
    QVERIFY(!form->isLoaded());
    QTRY_VERIFY(guard.isNull());
}

void FrmAsientoVisorTest::zeroKeyOpensNothing() {
    ui_->shown.clear();
    auto visor = newVisor(0);
    QPointer<frmAsientoVisor> before(hook_->lastForm());
    visor->Show(std::int16_t{0}, std::nullopt);
    QCOMPARE(int(ui_->shown.size()), 1);
    QCOMPARE(
        QString::fromStdString(ui_->shown[0].text),
        QStringLiteral("No es posible iniciar el visor, existe algún parámetro de entrada a 0."));
    QCOMPARE(hook_->lastForm(), before.data());
}

void FrmAsientoVisorTest::endingTheClassUnloadsTheForm() {
    auto visor = newVisor(57);
    visor->Show(std::int16_t{0}, std::nullopt);
    QPointer<frmAsientoVisor> form(formShown());
    QVERIFY(form);
    QVERIFY(form->isVisible());
    visor.reset();
    QVERIFY(!form.isNull() && !form->isVisible());
    QVERIFY(!form->isLoaded());
    QTRY_VERIFY(form.isNull());
}

void FrmAsientoVisorTest::openingEntryZeroIsShownAroundTheClass() {
    ui_->shown.clear();
    QPointer<frmAsientoVisor> before(hook_->lastForm());
    auto launcher = std::make_unique<EntryLauncher>(db_, context_, 1, 2026, 0);
    launcher->Show(std::int16_t{0});
    QVERIFY(ui_->shown.empty());
    QVERIFY(hook_->lastForm() != before.data());
    QPointer<frmAsientoVisor> form(formShown());
    QVERIFY(form);
    QCOMPARE(boxText(form, "txtAsiento"), QStringLiteral("0"));
    QCOMPARE(boxText(form, "txtFecha"), QStringLiteral("01/01/2026"));
    QCOMPARE(boxText(form, "txtTDebe"), QStringLiteral("600,00"));
    QCOMPARE(boxText(form, "txtTHaber"), QStringLiteral("600,00"));
    QCOMPARE(boxText(form, "txtDHaber"), QStringLiteral("0"));
    QAbstractItemModel* model = form->findChild<QTableView*>("vsApuntes")->model();
    QCOMPARE(model->rowCount(), 2);
    QCOMPARE(model->data(model->index(0, 1)).toString(), QStringLiteral("57200001"));
    QCOMPARE(model->data(model->index(0, 2)).toString(), QStringLiteral("Banco cuenta corriente"));
    QCOMPARE(model->data(model->index(1, 9)).toString(), QStringLiteral("600,00"));

    // Ending the launcher unloads its form, as the class does with its own.
    launcher.reset();
    QVERIFY(!form.isNull() && !form->isLoaded());
    QTRY_VERIFY(form.isNull());
}

void FrmAsientoVisorTest::launcherOpensOtherEntriesThroughTheClass() {
    ui_->shown.clear();
    // A zero company still reaches the class, which shows its notice and opens nothing.
    QPointer<frmAsientoVisor> before(hook_->lastForm());
    EntryLauncher(db_, context_, 0, 2026, 0).Show(std::int16_t{0});
    QCOMPARE(int(ui_->shown.size()), 1);
    QCOMPARE(
        QString::fromStdString(ui_->shown[0].text),
        QStringLiteral("No es posible iniciar el visor, existe algún parámetro de entrada a 0."));
    QCOMPARE(hook_->lastForm(), before.data());

    EntryLauncher launcher(db_, context_, 1, 2026, 57);
    launcher.Show(std::int16_t{0});
    QPointer<frmAsientoVisor> form(formShown());
    QVERIFY(form);
    QCOMPARE(boxText(form, "txtAsiento"), QStringLiteral("57"));
    form->close();
    QTRY_VERIFY(form.isNull());
}

void FrmAsientoVisorTest::cleanupTestCase() {
    setEntryViewerFormHook(nullptr);
    resetLibrary();
    db_.reset();
}

}  // namespace kvlnmov::viewer

QTEST_MAIN(kvlnmov::viewer::FrmAsientoVisorTest)
#include "frm_asiento_visor_test.moc"
