// Entry annulment: what it hands to the SII books that the application registers, and how
// another workstation waits for it. (The statements, the backups and an unregistered book are
// in the scenarios entries_annulment_*.json.)

#include <algorithm>
#include <optional>

#include "journal/maintenance_fixture.h"
#include "kvlnmov/db/open.h"
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
