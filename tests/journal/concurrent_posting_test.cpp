// Two workstations posting to the same accounts of one database file.

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <set>

#include "journal_fixture.h"
#include "kvlnmov/db/recordset.h"
#include "kvlnmov/journal/cls_asiento.h"
#include "kvlnmov/journal/cls_mov.h"
#include "support/test_connection.h"

namespace kvlnmov::testing {
namespace {

const std::vector<std::string> kAccounts{"43000001", "70000001"};

class ConcurrentPostingTest : public ::testing::Test {
  protected:
    void SetUp() override {
        resetLibrary();
        setUserInterface(std::make_shared<RecordingUserInterface>());
    }
    void TearDown() override { resetLibrary(); }

    db::ConnectionRef open() { return database_.connect(10000); }

    /// Posts one entry of `lines` lines, alternating debits and credits on the two accounts.
    static void post(const db::ConnectionRef& connection, const cEmpresaRef& context, int lines,
                     int seed) {
        auto header = std::make_shared<clsAsiento>();
        header->Conexion(connection);
        header->cEmpresa(context);
        header->Fecha(Date::ymd(2026, 3, 15));
        header->Usuario(static_cast<std::int16_t>(seed));
        header->Insertar();
        auto mov = std::make_shared<clsMov>();
        mov->Conexion(connection);
        mov->cEmpresa(context);
        for (int i = 0; i < lines; ++i) {
            mov->Asiento(header->Codigo());
            mov->Fecha_Asiento(Date::ymd(2026, 3, 15));
            mov->Cuenta(kAccounts[static_cast<std::size_t>(i % 2)]);
            Currency amount = Currency::fromRaw(10000 + seed * 100 + i);
            mov->Debe(i % 2 == 0 ? amount : Currency());
            mov->Haber(i % 2 == 0 ? Currency() : amount);
            mov->Dpto(static_cast<std::int16_t>(i % 3));
            mov->Insertar();
        }
    }

    TestDatabase database_;
};

TEST_F(ConcurrentPostingTest, TwoProcessesLoseNoAmountAndShareNoLineNumber) {
    {
        auto connection = open();
        auto context = exerciseContext();
        createCompany(*connection, *context);
        post(connection, context, 6, 0);  // the balance rows exist before the race
        resetLibrary();
    }

    constexpr int kLinesEach = 500;
    std::vector<pid_t> children;
    for (int worker = 1; worker <= 2; ++worker) {
        pid_t child = fork();
        ASSERT_NE(child, -1);
        if (child == 0) {
            int status = 0;
            try {
                resetLibrary();
                setUserInterface(std::make_shared<RecordingUserInterface>());
                post(open(), exerciseContext(), kLinesEach, worker);
            } catch (const Error& error) {
                std::cerr << "worker " << worker << ": error " << error.number() << " ("
                          << error.source() << "): " << error.description() << "\n";
                status = 1;
            }
            _exit(status);
        }
        children.push_back(child);
    }
    for (pid_t child : children) {
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        ASSERT_TRUE(WIFEXITED(status));
        EXPECT_EQ(WEXITSTATUS(status), 0);
    }

    auto connection = open();
    auto count = [&](const std::string& query) {
        db::Recordset rows;
        rows.Open(query, connection);
        return rows.Fields(0).toLong();
    };
    EXPECT_EQ(count("SELECT COUNT(*) FROM Movimientos"), 6 + 2 * kLinesEach);
    EXPECT_EQ(count("SELECT COUNT(DISTINCT Apunte) FROM Movimientos"), 6 + 2 * kLinesEach);
    EXPECT_EQ(count("SELECT COUNT(*) FROM Asientos"), 3);

    // Every balance row holds exactly the sum of the lines below it.
    for (const std::string row : {"43000001", "4300", "430", "43", "4", "70000001", "7"}) {
        db::Recordset sums;
        sums.Open("SELECT SUM(Debe) AS D, SUM(Haber) AS H FROM Movimientos WHERE Cuenta LIKE '" +
                      row + "%'",
                  connection);
        db::Recordset balance;
        balance.Open("SELECT D3, H3 FROM Acumulados WHERE Cuenta = '" + row + "'", connection);
        ASSERT_FALSE(balance.Eof()) << row;
        EXPECT_EQ(balance.Fields("D3").toCurrency(), sums.Fields("D").toCurrency()) << row;
        EXPECT_EQ(balance.Fields("H3").toCurrency(), sums.Fields("H").toCurrency()) << row;
        for (int department = 0; department < 3; ++department) {
            db::Recordset part;
            part.Open(
                "SELECT SUM(Debe) AS D, SUM(Haber) AS H FROM Movimientos WHERE Cuenta LIKE '" +
                    row + "%' AND Dpto = " + std::to_string(department),
                connection);
            db::Recordset departmentBalance;
            departmentBalance.Open("SELECT D3, H3 FROM Acumulados_Dpto WHERE Cuenta = '" + row +
                                       "' AND Dpto = " + std::to_string(department),
                                   connection);
            ASSERT_FALSE(departmentBalance.Eof()) << row << "/" << department;
            EXPECT_EQ(departmentBalance.Fields("D3").toCurrency(), part.Fields("D").toCurrency());
            EXPECT_EQ(departmentBalance.Fields("H3").toCurrency(), part.Fields("H").toCurrency());
        }
    }
}

/// Inserts the balance row another workstation creates at the moment this one is about to.
class RowCreatedMeanwhile : public db::StatementObserver {
  public:
    explicit RowCreatedMeanwhile(db::ConnectionRef other) : other_(std::move(other)) {}
    void statementSent(std::string_view text) override {
        if (done_ || text.rfind("INSERT INTO Acumulados (", 0) != 0 ||
            text.find("'43000009'") == std::string_view::npos) {
            return;
        }
        done_ = true;
        other_->Execute(
            "INSERT INTO Acumulados (Cod_Empresa, Cod_Ejercicio, Cuenta, Nivel, D3) VALUES (1, "
            "2026, '43000009', 5, 50)");
    }

  private:
    db::ConnectionRef other_;
    bool done_ = false;
};

TEST_F(ConcurrentPostingTest, TheLoserOfARaceToCreateABalanceRowGetsTheKeyViolation) {
    auto connection = open();
    auto context = exerciseContext();
    createCompany(*connection, *context);
    auto ui = std::make_shared<RecordingUserInterface>();
    setUserInterface(ui);
    connection->addObserver(std::make_shared<RowCreatedMeanwhile>(open()));

    auto header = std::make_shared<clsAsiento>();
    header->Conexion(connection);
    header->cEmpresa(context);
    header->Fecha(Date::ymd(2026, 3, 15));
    header->Insertar();
    auto mov = std::make_shared<clsMov>();
    mov->cEmpresa(context);
    mov->Asiento(header->Codigo());
    mov->Fecha_Asiento(Date::ymd(2026, 3, 15));
    mov->Cuenta("43000009");
    mov->Debe(Currency::fromUnits(20));
    try {
        mov->Insertar();
        FAIL() << "the colliding insert succeeded";
    } catch (const Error& error) {
        EXPECT_EQ(error.number(), errc::kIntegrity);
        EXPECT_EQ(error.source(), "clsMov::Insertar");
        EXPECT_EQ(
            error.description().rfind("Violation of PRIMARY KEY constraint 'PK_Acumulados'", 0), 0u)
            << error.description();
    }
    EXPECT_EQ(ui->yields, 6);
    db::Recordset row;
    row.Open("SELECT D3 FROM Acumulados WHERE Cuenta = '43000009'", connection);
    EXPECT_EQ(row.Fields("D3").toCurrency(), Currency::fromUnits(50));  // the winner's amount
    db::Recordset line;
    line.Open("SELECT Debe FROM Movimientos", connection);
    EXPECT_EQ(line.Fields("Debe").toCurrency(), Currency::fromUnits(20));  // reported, not lost
}

}  // namespace
}  // namespace kvlnmov::testing
