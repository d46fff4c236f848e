// The entry viewer's model: the statements it runs, the batches of lines, the grid's texts,
// the totals and imbalance, the last user and a failing batch.

#include "kvlnmov/viewer/entry_view.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include "viewer/viewer_fixture.h"

namespace kvlnmov::testing {
namespace {

using Column = EntryView::Column;

const std::string& cell(const EntryView::Row& row, Column column) {
    return row[static_cast<std::size_t>(column)];
}

class EntryViewTest : public ViewerTest {
  protected:
    EntryView viewOf(std::int32_t entry) { return EntryView(db, context, 1, 2026, entry); }
};

TEST_F(EntryViewTest, LoadRunsTheLineQueryTheTotalsAndTheUserLookup) {
    db->Execute(
        "INSERT INTO SGD_Usuarios (Codigo, Nombre, Alias, Password, ForzarPass) VALUES (5, "
        "'Luis Díaz', 'luis', 'x', 0)");
    addEntry(57, 5);
    addLine(57, Line{.apunte = 1, .debe = "10"});
    takeSent();

    EntryView view = viewOf(57);
    view.load();
    const std::vector<std::string> expected{
        "SELECT a.Apunte, a.Fecha_Apunte, a.Cuenta, a.Concepto, a.Documento, a.Diario, a.Dpto, "
        "a.Debe, a.Haber, a.Punteo, c.Nombre,  b.Codigo, b.Fecha, b.Usuario  FROM Movimientos a  "
        "INNER JOIN Asientos b ON a.Cod_Empresa = b.Cod_Empresa And a.Cod_Ejercicio = "
        "b.Cod_Ejercicio And a.Cod_Asiento = b.Codigo LEFT JOIN Cuentas c ON c.Cod_Empresa = "
        "a.Cod_Empresa AND c.Cod_Ejercicio = a.Cod_Ejercicio AND c.Cuenta = a.Cuenta WHERE "
        "a.Cod_Empresa =1 AND a.Cod_Ejercicio =2026 AND a.Cod_Asiento =57 ORDER BY a.Apunte",
        "SELECT ISNULL(SUM(a.Haber), 0) AS SumHaber, ISNULL(SUM(a.Debe), 0) AS SumDebe   FROM "
        "Movimientos a  WHERE a.Cod_Empresa =1   AND a.Cod_Ejercicio =2026   AND a.Cod_Asiento "
        "=57",
        "SELECT * FROM SGD_Usuarios WHERE Codigo =5",
        "SELECT CodGrupo FROM SGD_Usuarios_Grupos WHERE CodUsuario=5",
    };
    EXPECT_EQ(takeSent(), expected);
    EXPECT_EQ(view.numero(), "57");
    EXPECT_EQ(view.fecha(), "15/03/2026");
    EXPECT_EQ(view.userCaption(), "Ult. Mod.:");
    EXPECT_EQ(view.userName(), "Luis Díaz");
}

TEST_F(EntryViewTest, LongEntryIsShownInBatchesOf200FromTheOpenQuery) {
    addLongEntry(9, 450);
    EntryView view = viewOf(9);
    view.load();
    EXPECT_EQ(view.rows().size(), 200u);
    EXPECT_TRUE(view.canFetchMore());
    takeSent();

    EXPECT_EQ(view.fetchMore(), 200);
    EXPECT_EQ(view.rows().size(), 400u);
    EXPECT_TRUE(view.canFetchMore());
    EXPECT_EQ(view.scroll(), 50);
    EXPECT_EQ(view.rows().size(), 450u);
    EXPECT_FALSE(view.canFetchMore());
    EXPECT_EQ(view.scroll(), 0);
    EXPECT_EQ(view.rows().size(), 450u);
    // The further batches come from the query opened on loading: nothing more is sent.
    EXPECT_TRUE(takeSent().empty());
    EXPECT_TRUE(ui->shown.empty());

    // Lines in line-number order, each with its running number in the grid.
    for (std::size_t i : {0u, 199u, 200u, 399u, 449u}) {
        SCOPED_TRACE(i);
        EXPECT_EQ(cell(view.rows()[i], Column::Apunte), std::to_string(i + 1));
        EXPECT_EQ(cell(view.rows()[i], Column::Concepto), "Linea " + std::to_string(i + 1));
    }
    EXPECT_EQ(view.totalDebe(), "2.250,00");
    EXPECT_EQ(view.totalHaber(), "2.250,00");
}

TEST_F(EntryViewTest, RowsAreFormattedAsTheGridShowsThem) {
    addAccount("43000001", "Clientes varios");
    addEntry(3, 0);
    addLine(3, {.apunte = 11,
                .cuenta = "43000001",
                .concepto = "Factura 1",
                .documento = "F-1",
                .diario = 5,
                .dpto = 7,
                .debe = "1234.5",
                .punteo = 1});
    addLine(3, {.apunte = 12,
                .cuenta = "70000000",
                .concepto = "Venta",
                .diario = 12,
                .dpto = 0,
                .haber = "1000"});
    addLine(3, {.apunte = 13,
                .cuenta = "47700000",
                .diario = std::nullopt,
                .dpto = std::nullopt,
                .haber = "234.5",
                .punteo = 2});
    addLine(3, {.apunte = 14, .cuenta = "57000000", .diario = 0, .dpto = 120});

    EntryView view = viewOf(3);
    view.load();
    const std::vector<EntryView::Row> expected{
        {"1", "43000001", "Clientes varios", "Factura 1", "F-1", "05", "007", "X", "1.234,50", ""},
        {"2", "70000000", "", "Venta", "", "12", "", "", "", "1.000,00"},
        {"3", "47700000", "", "", "", "", "", "X", "", "234,50"},
        {"4", "57000000", "", "", "", "00", "120", "", "", "0,00"},
    };
    EXPECT_EQ(view.rows(), expected);
    EXPECT_FALSE(view.canFetchMore());
}

TEST_F(EntryViewTest, TotalsAndImbalance) {
    const struct {
        const char* name;
        std::vector<std::pair<const char*, const char*>> amounts;  // debit, credit per line
        const char* totalDebe;
        const char* totalHaber;
        const char* descuadreDebe;
        const char* descuadreHaber;
    } cases[] = {
        {"debits exceed credits by 10.00",
         {{"110", "0"}, {"0", "100"}},
         "110,00",
         "100,00",
         "0",
         "10,00"},
        {"credits exceed debits",
         {{"1000", "0"}, {"0", "2234.5"}},
         "1.000,00",
         "2.234,50",
         "1.234,50",
         "0"},
        {"balanced", {{"99.99", "0"}, {"0", "99.99"}}, "99,99", "99,99", "0", "0"},
        {"a cent short", {{"0.01", "0"}}, "0,01", "0,00", "0", "0,01"},
        {"no lines", {}, "0,00", "0,00", "0", "0"},
    };
    std::int32_t entry = 100;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        addEntry(++entry, 0);
        std::int32_t apunte = entry * 10;
        for (const auto& [debit, credit] : c.amounts)
            addLine(entry, {.apunte = ++apunte, .debe = debit, .haber = credit});
        EntryView view = viewOf(entry);
        view.load();
        EXPECT_EQ(view.totalDebe(), c.totalDebe);
        EXPECT_EQ(view.totalHaber(), c.totalHaber);
        EXPECT_EQ(view.descuadreDebe(), c.descuadreDebe);
        EXPECT_EQ(view.descuadreHaber(), c.descuadreHaber);
        EXPECT_EQ(view.rows().size(), c.amounts.size());
    }
}

TEST_F(EntryViewTest, LastUserCaptionOnlyForAUserAboveZero) {
    db->Execute(
        "INSERT INTO SGD_Usuarios (Codigo, Nombre, Alias, Password, ForzarPass) VALUES (5, "
        "'Luis Díaz', 'luis', 'x', 0)");
    const struct {
        const char* name;
        std::optional<int> usuario;
        const char* caption;
        const char* userName;
        int statements;  // sent by load
    } cases[] = {
        {"a known user", 5, "Ult. Mod.:", "Luis Díaz", 4},
        {"an unknown user", 6, "Ult. Mod.:", "", 3},
        {"user 0", 0, "", "", 2},
        {"no user", std::nullopt, "", "", 2},
        {"a negative code", -1, "", "", 2},
    };
    std::int32_t entry = 0;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        addEntry(++entry, c.usuario);
        addLine(entry, {.apunte = entry, .debe = "1"});
        takeSent();
        EntryView view = viewOf(entry);
        view.load();
        EXPECT_EQ(view.userCaption(), c.caption);
        EXPECT_EQ(view.userName(), c.userName);
        EXPECT_EQ(takeSent().size(), static_cast<std::size_t>(c.statements));
    }
}

TEST_F(EntryViewTest, AnEntryWithoutLinesLeavesTheHeaderBoxesEmpty) {
    addEntry(4, 5);
    EntryView view = viewOf(4);
    view.load();
    EXPECT_EQ(view.numero(), "");
    EXPECT_EQ(view.fecha(), "");
    EXPECT_EQ(view.userCaption(), "");
    EXPECT_TRUE(view.rows().empty());
    EXPECT_FALSE(view.canFetchMore());
}

TEST_F(EntryViewTest, ReloadingStartsTheGridAgain) {
    addLongEntry(9, 250);
    EntryView view = viewOf(9);
    view.load();
    view.fetchMore();
    ASSERT_EQ(view.rows().size(), 250u);
    view.load();
    EXPECT_EQ(view.rows().size(), 200u);
    EXPECT_EQ(cell(view.rows()[0], Column::Apunte), "1");
    EXPECT_TRUE(view.canFetchMore());
}

TEST_F(EntryViewTest, LoadWithoutConnectionRaisesObjectRequired) {
    EntryView view(nullptr, context, 1, 2026, 1);
    EXPECT_EQ(errorOf([&] { view.load(); }).number(), errc::kObjectRequired);
}

// A line that cannot be read (a date the provider cannot convert, written behind its back)
// stops the batch: the message box names the scroll handler, the lines read stay, and the
// view offers no more.
TEST_F(EntryViewTest, AFailingBatchIsShownInACriticalMessageBoxAndCleared) {
    addLongEntry(9, 450);
    sqlite3* raw = nullptr;
    ASSERT_EQ(sqlite3_open(path().c_str(), &raw), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(raw,
                           "UPDATE Movimientos SET Fecha_Apunte = 'no es una fecha' WHERE "
                           "Apunte = 300",
                           nullptr, nullptr, nullptr),
              SQLITE_OK);
    sqlite3_close(raw);

    EntryView view = viewOf(9);
    view.load();
    ASSERT_EQ(view.rows().size(), 200u);
    EXPECT_EQ(view.scroll(), 99);
    ASSERT_EQ(ui->shown.size(), 1u);
    EXPECT_EQ(ui->shown[0].text,
              "[-2147217913] Conversion failed when converting date and/or time from character "
              "string.\nfrmAsientoVisor:vsApuntes_Scroll");
    EXPECT_EQ(ui->shown[0].icon, MsgBoxIcon::Critical);
    EXPECT_EQ(ui->shown[0].buttons, MsgBoxButtons::Ok);
    EXPECT_EQ(view.rows().size(), 299u);
    EXPECT_EQ(cell(view.rows().back(), Column::Concepto), "Linea 299");
    EXPECT_FALSE(view.canFetchMore());
    EXPECT_EQ(view.scroll(), 0);
    EXPECT_EQ(ui->shown.size(), 1u);
}

}  // namespace
}  // namespace kvlnmov::testing
