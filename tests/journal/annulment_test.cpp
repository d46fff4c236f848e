// Entry annulment: what it hands to the SII books, what it backs up, and how it gives a
// number back.

#include <algorithm>
#include <optional>
#include <tuple>

#include "journal/maintenance_fixture.h"
#include "kvlnmov/frame/error.h"
#include "kvlnmov/journal/sii_book.h"
#include "support/rows.h"

namespace kvlnmov::testing {
namespace {

/// What the SII books of a test were asked, and how many were made and released.
struct SiiLog {
    struct Removal {
        std::int16_t bookType;
        std::int32_t invoice;
        db::ConnectionRef connection;
        cEmpresaRef context;
    };
    std::vector<Removal> removals;
    int created = 0;
    int released = 0;
    /// When set, every removal fails with it.
    std::optional<Error> failure;
};

class RecordingSiiBook : public SiiInvoiceBook {
  public:
    RecordingSiiBook(std::int16_t bookType, std::shared_ptr<SiiLog> log)
        : bookType_(bookType), log_(std::move(log)) {
        ++log_->created;
    }
    ~RecordingSiiBook() override { ++log_->released; }

    void Conexion(db::ConnectionRef connection) override { connection_ = std::move(connection); }
    void cEmpresa(cEmpresaRef context) override { context_ = std::move(context); }
    void Eliminar(std::int32_t lngIDLibroFactura) override {
        log_->removals.push_back({bookType_, lngIDLibroFactura, connection_, context_});
        if (log_->failure) throw *log_->failure;
    }

  private:
    std::int16_t bookType_;
    std::shared_ptr<SiiLog> log_;
    db::ConnectionRef connection_;
    cEmpresaRef context_;
};

class AnnulmentTest : public MaintenanceTest {
  protected:
    void SetUp() override {
        MaintenanceTest::SetUp();
        clearSiiInvoiceBooks();
    }
    void TearDown() override {
        clearSiiInvoiceBooks();
        MaintenanceTest::TearDown();
    }

    void registerRecordingBook(std::int16_t bookType) {
        registerSiiInvoiceBook(bookType, [bookType, log = log] {
            return std::make_shared<RecordingSiiBook>(bookType, log);
        });
    }

    void addSii(std::int32_t apunte, int bookType, int invoice, int invoiceType) {
        db->Execute(
            "INSERT INTO Movimientos_SII (Cod_Empresa, Cod_Ejercicio, Apunte, TipoLibro, "
            "IDLibroFactura, TipoFactura, NumSerieFacturaEmisor, FechaFacturaEmisor) VALUES (1, "
            "2026, " +
            std::to_string(apunte) + ", " + std::to_string(bookType) + ", " +
            std::to_string(invoice) + ", " + std::to_string(invoiceType) + ", 'F', '01/03/2026')");
    }

    std::shared_ptr<SiiLog> log = std::make_shared<SiiLog>();
    const Date march = Date::ymd(2026, 3, 2);
};

TEST_F(AnnulmentTest, SiiRecordsOfBookTypes1And2GoToTheirBooksAndOthersAreSkipped) {
    registerRecordingBook(1);
    registerRecordingBook(2);
    std::vector<std::int32_t> lines;
    std::int32_t entry = post(march, {{"43000001", 100, 0}, {"70000001", 0, 100}}, &lines);
    std::vector<std::int32_t> otherLines;
    post(march, {{"43000002", 5, 0}}, &otherLines);
    addSii(lines[0], 1, 71, 1);
    addSii(lines[0], 3, 73, 1);
    addSii(lines[1], 2, 72, 1);
    addSii(lines[1], 1, 74, 2);
    addSii(otherLines[0], 1, 99, 1);

    annul(entry, march);

    std::vector<std::pair<std::int16_t, std::int32_t>> handed;
    for (const auto& removal : log->removals) {
        handed.emplace_back(removal.bookType, removal.invoice);
        EXPECT_EQ(removal.connection, db);
        EXPECT_EQ(removal.context, context);
    }
    std::sort(handed.begin(), handed.end());
    EXPECT_EQ(handed,
              (std::vector<std::pair<std::int16_t, std::int32_t>>{{1, 71}, {1, 74}, {2, 72}}));
    EXPECT_EQ(log->created, 3);
    EXPECT_EQ(log->released, 3);
    EXPECT_EQ(ui->yields, 0);
    // The entry's SII rows are gone; the other entry's row stays.
    EXPECT_EQ(rows("SELECT Apunte, TipoLibro, IDLibroFactura FROM Movimientos_SII"),
              (TextRows{{std::to_string(otherLines[0]), "1", "99"}}));
}

TEST_F(AnnulmentTest, AnEntryWithoutSiiRecordsCreatesNoBook) {
    registerRecordingBook(1);
    registerRecordingBook(2);
    std::int32_t entry = post(march, {{"43000001", 100, 0}});

    annul(entry, march);

    EXPECT_EQ(log->created, 0);
    EXPECT_EQ(number("SELECT COUNT(*) FROM Asientos"), 0);
}

TEST_F(AnnulmentTest, AnUnregisteredBookTypeFailsWith429AfterTheRetries) {
    registerRecordingBook(1);
    std::vector<std::int32_t> lines;
    std::int32_t entry = post(march, {{"43000001", 100, 0}, {"70000001", 0, 100}}, &lines);
    addSii(lines[1], 2, 72, 1);

    try {
        annul(entry, march);
        FAIL() << "the annulment should fail";
    } catch (const Error& error) {
        EXPECT_EQ(error.number(), 429);
        EXPECT_EQ(error.source(), "clsAsiento:Eliminar");
        EXPECT_EQ(error.description(), "ActiveX component can't create object");
    }
    EXPECT_EQ(ui->yields, 6);
    EXPECT_TRUE(log->removals.empty());
    // It stopped before the live rows were deleted.
    EXPECT_EQ(
        number("SELECT COUNT(*) FROM Movimientos WHERE Cod_Asiento = " + std::to_string(entry)), 2);
    EXPECT_EQ(number("SELECT COUNT(*) FROM Movimientos_SII"), 1);
}

TEST_F(AnnulmentTest, AFailingBookIsNotAskedAgainAndItsErrorEndsTheAnnulment) {
    registerRecordingBook(1);
    log->failure = Error(-2147217871, "SII", "Query timeout expired");
    std::vector<std::int32_t> lines;
    std::int32_t entry = post(march, {{"43000001", 100, 0}}, &lines);
    addSii(lines[0], 1, 71, 1);

    try {
        annul(entry, march);
        FAIL() << "the annulment should fail";
    } catch (const Error& error) {
        EXPECT_EQ(error.number(), -2147217871);
        EXPECT_EQ(error.source(), "clsAsiento:Eliminar");
        EXPECT_EQ(error.description(), "Query timeout expired");
    }
    EXPECT_EQ(log->removals.size(), 1u);
    EXPECT_EQ(log->released, log->created);
    EXPECT_EQ(ui->yields, 0);
}

/// A live table, its backup table, the columns the backup copies, and which live rows belong
/// to entry {n}.
struct BackedUpTable {
    const char* live;
    const char* backup;
    const char* columns;
    const char* ofEntry;
};

const BackedUpTable kBackedUpTables[] = {
    {"Movimientos", "BakAnulado_Movimientos",
     "Cod_Empresa, Cod_Ejercicio, Cod_Asiento, Apunte, Fecha_Asiento, Fecha_Apunte, Cuenta, "
     "Cto_Aut, Concepto, Documento, Diario, Dpto, Debe, Haber, Punteo, M347, Imp_ApunteRef, "
     "Imp_Prop, Imp_Base, Imp_Tipo, Imp_Op, Imp_Contrap",
     "Cod_Asiento = {n}"},
    {"Movimientos_Sec", "BakAnulado_Movimientos_Sec",
     "Cod_Empresa, Cod_Ejercicio, Apunte, Contrap, Base, TipoOp, Asiento, Dpto, Imp_Tipo",
     "Apunte IN (SELECT Apunte FROM Movimientos WHERE Cod_Asiento = {n})"},
    {"Igic", "BakAnulado_Igic",
     "Cod_Empresa, Cod_Ejercicio, Apunte, Libro, Fecha, Cuenta, Documento, Asiento",
     "Asiento = {n}"},
    {"Igic_Lineas", "BakAnulado_Igic_Lineas",
     "Cod_Empresa, Cod_Ejercicio, Apunte, NumLinea, TipoOp, Base, Tipo, Cuota",
     "Apunte IN (SELECT Apunte FROM Igic WHERE Asiento = {n})"},
    {"Iva", "BakAnulado_Iva",
     "Cod_Empresa, Cod_Ejercicio, Apunte, Libro, Fecha, Cuenta, Documento, Asiento",
     "Asiento = {n}"},
    {"Iva_Lineas", "BakAnulado_Iva_Lineas",
     "Cod_Empresa, Cod_Ejercicio, Apunte, NumLinea, TipoOp, Base, Tipo, Cuota",
     "Apunte IN (SELECT Apunte FROM Iva WHERE Asiento = {n})"},
    {"Irpf", "BakAnulado_Irpf",
     "Cod_Empresa, Cod_Ejercicio, Apunte, Libro, Fecha, Cuenta, Documento, Asiento",
     "Asiento = {n}"},
    {"Asientos", "BakAnulado_Asientos",
     "Cod_Empresa, Cod_Ejercicio, Codigo, Fecha, Nulo, Cierre, Exportar, Importar", "Codigo = {n}"},
};

std::string forEntry(const char* condition, std::int32_t entry) {
    std::string text = condition;
    text.replace(text.find("{n}"), 3, std::to_string(entry));
    return text;
}

class BackupTest : public AnnulmentTest {
  protected:
    /// Posts an entry of three lines with secondary lines, IGIC, VAT and IRPF records.
    std::int32_t postWithTaxRecords(Date date, const std::string& document) {
        std::vector<std::int32_t> lines;
        std::int32_t entry =
            post(date, {{"43000001", 121, 0}, {"70000001", 0, 100}, {"47200001", 0, 21}}, &lines);
        const std::string e = std::to_string(entry);
        auto a = [&](int i) { return std::to_string(lines[i]); };
        db->Execute(
            "INSERT INTO Movimientos_Sec (Cod_Empresa, Cod_Ejercicio, Apunte, Contrap, Base, "
            "TipoOp, Asiento, Dpto, Imp_Tipo, Cuota) VALUES (1, 2026, " +
            a(2) + ", '43000001', 100, 1, " + e + ", 1, 21, 21)");
        db->Execute(
            "INSERT INTO Movimientos_Sec (Cod_Empresa, Cod_Ejercicio, Apunte, Contrap, Base, "
            "TipoOp, Asiento, Dpto, Imp_Tipo, Cuota) VALUES (1, 2026, " +
            a(1) + ", '43000001', 100, 2, " + e + ", 1, 0, 0)");
        for (const char* book : {"Igic", "Iva"}) {
            db->Execute(std::string("INSERT INTO ") + book +
                        " (Cod_Empresa, Cod_Ejercicio, Apunte, Libro, Fecha, Cuenta, Documento, "
                        "Asiento) VALUES (1, 2026, " +
                        (book == std::string("Igic") ? a(0) : a(1)) + ", 2, '" + date.toText() +
                        "', '43000001', '" + document + "', " + e + ")");
        }
        db->Execute(
            "INSERT INTO Igic_Lineas (Cod_Empresa, Cod_Ejercicio, Apunte, NumLinea, TipoOp, Base, "
            "Tipo, Cuota, Deducible) VALUES (1, 2026, " +
            a(0) + ", 1, 1, 60, 7, 4.2, 0)");
        db->Execute(
            "INSERT INTO Igic_Lineas (Cod_Empresa, Cod_Ejercicio, Apunte, NumLinea, TipoOp, Base, "
            "Tipo, Cuota, Deducible) VALUES (1, 2026, " +
            a(0) + ", 2, 1, 40, 3, 1.2, 0)");
        db->Execute(
            "INSERT INTO Iva_Lineas (Cod_Empresa, Cod_Ejercicio, Apunte, NumLinea, TipoOp, Base, "
            "Tipo, Cuota, Deducible) VALUES (1, 2026, " +
            a(1) + ", 1, 1, 100, 21, 21, 21)");
        db->Execute(
            "INSERT INTO Irpf (Cod_Empresa, Cod_Ejercicio, Apunte, Libro, Fecha, Cuenta, "
            "Documento, Asiento) VALUES (1, 2026, " +
            a(0) + ", 1, '" + date.toText() + "', '43000001', '" + document + "', " + e + ")");
        return entry;
    }

    /// The rows entry `entry` has in every backed-up table, in column order.
    std::vector<TextRows> liveRows(std::int32_t entry) {
        std::vector<TextRows> result;
        for (const BackedUpTable& table : kBackedUpTables) {
            result.push_back(rows(std::string("SELECT ") + table.columns + " FROM " + table.live +
                                  " WHERE " + forEntry(table.ofEntry, entry) + " ORDER BY " +
                                  table.columns));
        }
        return result;
    }

    /// The rows backup `id` holds in every backup table, in column order.
    std::vector<TextRows> backupRows(std::int64_t id) {
        std::vector<TextRows> result;
        for (const BackedUpTable& table : kBackedUpTables) {
            result.push_back(rows(std::string("SELECT ") + table.columns + " FROM " + table.backup +
                                  " WHERE IDBak = " + std::to_string(id) + " ORDER BY " +
                                  table.columns));
        }
        return result;
    }

    std::int64_t backupOf(std::int32_t entry) {
        return number("SELECT IDBak FROM BakAnulado_Asientos WHERE Codigo = " +
                      std::to_string(entry));
    }
};

TEST_F(BackupTest, EveryRowOfTheEntryIsBackedUpUnderOneBackupNumber) {
    std::int32_t first = postWithTaxRecords(Date::ymd(2026, 3, 2), "F-1");
    std::int32_t second = postWithTaxRecords(Date::ymd(2026, 3, 9), "F-2");
    std::vector<TextRows> firstRows = liveRows(first);
    std::vector<TextRows> secondRows = liveRows(second);
    for (std::size_t i = 0; i < std::size(kBackedUpTables); ++i) {
        ASSERT_FALSE(firstRows[i].empty()) << kBackedUpTables[i].live;
        ASSERT_FALSE(secondRows[i].empty()) << kBackedUpTables[i].live;
    }

    annul(first, Date::ymd(2026, 3, 2));
    std::int64_t firstBackup = backupOf(first);
    std::vector<TextRows> afterFirst = backupRows(firstBackup);
    for (std::size_t i = 0; i < std::size(kBackedUpTables); ++i) {
        EXPECT_EQ(afterFirst[i], firstRows[i]) << kBackedUpTables[i].backup;
        EXPECT_EQ(number(std::string("SELECT COUNT(*) FROM ") + kBackedUpTables[i].backup),
                  static_cast<std::int64_t>(firstRows[i].size()))
            << kBackedUpTables[i].backup << " holds rows under another backup number";
    }
    EXPECT_EQ(rows("SELECT Usuario FROM BakAnulado_Asientos"), (TextRows{{"9"}}));

    annul(second, Date::ymd(2026, 3, 9));
    std::int64_t secondBackup = backupOf(second);
    EXPECT_NE(secondBackup, firstBackup);
    EXPECT_EQ(backupRows(secondBackup), secondRows);
    EXPECT_EQ(backupRows(firstBackup), firstRows);
    // Nothing of either entry is left in the live tables.
    for (std::size_t i = 0; i + 1 < std::size(kBackedUpTables); ++i) {
        EXPECT_EQ(number(std::string("SELECT COUNT(*) FROM ") + kBackedUpTables[i].live), 0)
            << kBackedUpTables[i].live;
    }
}

TEST_F(AnnulmentTest, AnotherWorkstationWaitsForTheWholeAnnulment) {
    if (testProvider() == TestProvider::SqlServer)
        GTEST_SKIP() << "SQL Server commits an operation statement by statement";
    std::int32_t entry = post(march, {{"43000001", 100, 0}});
    ASSERT_EQ(entry, 1);

    // Another workstation tries to take number 2 between the annulment's reading of the
    // counter and its step back: it waits for the annulment (here past its busy timeout), so
    // the step back and the header's removal stay one piece.
    struct OtherWorkstation : db::StatementObserver {
        std::string connectionString;
        std::optional<Error> failed;
        void statementSent(std::string_view text) override {
            if (failed || !text.starts_with("UPDATE Contador_Asientos SET cAsiento")) return;
            auto other = db::openConnection(connectionString);
            failed = errorOf([&] {
                other->Execute(
                    "UPDATE Contador_Asientos SET cAsiento = 2 WHERE Cod_Empresa = 1 AND "
                    "Cod_Ejercicio = 2026");
            });
        }
    };
    auto other = std::make_shared<OtherWorkstation>();
    other->connectionString = connectionString(100);
    db->addObserver(other);

    annul(entry, march);

    ASSERT_TRUE(other->failed.has_value());
    EXPECT_EQ(other->failed->number(), errc::kTimeout);
    EXPECT_EQ(number("SELECT COUNT(*) FROM Asientos"), 0);
    EXPECT_EQ(number("SELECT cAsiento FROM Contador_Asientos"), 0);
}

}  // namespace
}  // namespace kvlnmov::testing
