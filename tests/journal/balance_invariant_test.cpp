// Property test of the running balances: after every stretch of a long random sequence of
// journal operations (fixed seed), `Acumulados` and `Acumulados_Dpto` hold, cell by cell, what
// the balance verifier recomputes from the lines in `Movimientos`.
//
// The verifier cannot know the effects the accumulation rules deliberately leave behind, so
// the sequence never makes them (each is pinned down with its exact statements and rows in
// the scenario files): a line modified with another entry date on the object than the stored
// one, an opening or closing entry replaced while it has lines, and an opening or closing line
// with a credit only (a balance row it creates holds the credit with the other sign, as the
// verifier expects only while that line is the first to reach the row).

#include <gtest/gtest.h>

#include <map>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "support/company_fixture.h"
#include "kvlnmov/db/recordset.h"
#include "kvlnmov/journal/balance_verifier.h"
#include "kvlnmov/journal/cls_asiento.h"
#include "kvlnmov/journal/cls_mov.h"

namespace kvlnmov::testing {
namespace {

struct Line {
    std::int32_t apunte = 0;
    std::int32_t entry = 0;
    Date date;
    std::string account;
};

struct Entry {
    std::int32_t number = 0;
    Date date;
    bool ordinary = true;
};

class BalanceInvariantTest : public CompanyTest {
  protected:
    std::mt19937 random_{20261122};

    int pick(int count) { return std::uniform_int_distribution<int>(0, count - 1)(random_); }
    bool chance(int percent) { return pick(100) < percent; }

    Date randomDate() { return Date::fromSerial(Date::ymd(2026, 1, 1).serial() + pick(365)); }
    Currency randomAmount() {
        if (chance(10)) return Currency::fromRaw(1 + pick(99999));  // ten-thousandths
        return Currency::fromRaw(100 * (1 + pick(500000)));
    }
    std::string randomAccount() {
        static const std::vector<std::string> accounts{
            "43000001", "43000002", "43100001", "40000001", "40000002",
            "57200001", "57200002", "70000001", "70500001", "62600001",
            "62300001", "47700021", "47200021", "47510001", "10000001"};
        return accounts[static_cast<std::size_t>(pick(static_cast<int>(accounts.size())))];
    }

    const Entry* entryNumbered(std::int32_t number) const {
        for (const Entry& entry : entries_) {
            if (entry.number == number) return &entry;
        }
        return nullptr;
    }
    const Entry* randomEntry(bool ordinaryOnly) {
        std::vector<const Entry*> candidates;
        for (const Entry& entry : entries_) {
            if (!ordinaryOnly || entry.ordinary) candidates.push_back(&entry);
        }
        if (candidates.empty()) return nullptr;
        return candidates[static_cast<std::size_t>(pick(static_cast<int>(candidates.size())))];
    }

    std::vector<Line> lines(const std::string& condition = "") {
        db::Recordset rows;
        rows.Open(
            "SELECT Apunte, Cod_Asiento, Fecha_Asiento, Cuenta FROM Movimientos WHERE "
            "Cod_Empresa = 1 AND Cod_Ejercicio = 2026" +
                condition + " ORDER BY Apunte",
            db);
        std::vector<Line> found;
        for (; !rows.Eof(); rows.MoveNext()) {
            found.push_back({rows.Fields("Apunte").toLong(), rows.Fields("Cod_Asiento").toLong(),
                             rows.Fields("Fecha_Asiento").toDate(), rows.Fields("Cuenta").toText()});
        }
        return found;
    }

    /// A random line of the journal, if there is one.
    std::optional<Line> randomLine() {
        Variant highest = scalar("SELECT MAX(Apunte) FROM Movimientos");
        if (highest.isNull()) return std::nullopt;
        std::int32_t from = 1 + pick(highest.toLong());
        auto found = lines(" AND Apunte = (SELECT MIN(Apunte) FROM Movimientos WHERE Apunte >= " +
                           std::to_string(from) + ")");
        if (found.empty()) return std::nullopt;
        return found.front();
    }

    /// Sets a random amount on one side of `mov`; an opening or closing line gets a debit.
    void randomSides(clsMov& mov, bool ordinary) {
        const bool debit = !ordinary || chance(50);
        mov.Debe(debit ? randomAmount() : Currency());
        mov.Haber(debit ? Currency() : randomAmount());
        if (debit && chance(3)) mov.Haber(randomAmount());  // both sides: only the debit counts
    }

    // --- operations -------------------------------------------------------------------------

    void createEntry() {
        auto entry = bound<clsAsiento>();
        entry->Fecha(randomDate());
        entry->Usuario(7);
        ASSERT_TRUE(entry->Insertar());
        entries_.push_back({entry->Codigo(), entry->Fecha(), true});
    }

    void createOpeningOrClosing() {
        const bool opening = chance(50);
        const std::int32_t number = opening ? 0 : 999999;
        if (entryNumbered(number)) return createEntry();
        auto entry = bound<clsAsiento>();
        entry->Fecha(opening ? context->firstDay : context->lastDay);
        entry->Cierre(true);
        entry->Usuario(7);
        ASSERT_TRUE(entry->Insertar());
        ASSERT_EQ(entry->Codigo(), number);
        entries_.push_back({number, entry->Fecha(), false});
    }

    void insertLine() {
        const Entry* entry = randomEntry(false);
        if (!entry) return createEntry();
        auto mov = bound<clsMov>();
        mov->Asiento(entry->number);
        mov->Cuenta(randomAccount());
        mov->Fecha_Asiento(entry->date);
        mov->Fecha(entry->date);
        mov->Dpto(static_cast<std::int16_t>(pick(4)));
        randomSides(*mov, entry->ordinary);
        mov->Punteo(static_cast<std::int16_t>(pick(2)));
        mov->Concepto("Linea aleatoria");
        ASSERT_TRUE(mov->Insertar());
        if (!entry->ordinary) ++openingOrClosingLines_;
    }

    void modifyLine() {
        auto line = randomLine();
        if (!line) return insertLine();
        const Entry* entry = entryNumbered(line->entry);
        auto mov = bound<clsMov>();
        mov->Apunte(line->apunte);
        mov->Asiento(line->entry);
        mov->Cuenta(chance(60) ? randomAccount() : line->account);
        mov->Fecha_Asiento(line->date);
        mov->Fecha(line->date);
        mov->Dpto(static_cast<std::int16_t>(pick(4)));
        randomSides(*mov, !entry || entry->ordinary);
        ASSERT_TRUE(mov->Modificar());
    }

    void deleteLine() {
        auto line = randomLine();
        if (!line) return;
        auto mov = bound<clsMov>();
        mov->Apunte(line->apunte);
        mov->Asiento(line->entry);
        ASSERT_TRUE(mov->Eliminar());
    }

    void annulEntry() {
        const Entry* chosen = randomEntry(false);
        if (!chosen) return;
        const Entry entry = *chosen;
        auto header = bound<clsAsiento>();
        header->Codigo(entry.number);
        header->Fecha(entry.date);
        header->Usuario(9);
        ASSERT_TRUE(header->Eliminar());
        std::erase_if(entries_, [&](const Entry& e) { return e.number == entry.number; });
    }

    void duplicateEntry() {
        const Entry* source = randomEntry(false);
        const Entry* target = randomEntry(true);
        if (!source || !target) return;
        // Copies are posted through Insertar, which refuses accounts of another length.
        for (const Line& line : lines(" AND Cod_Asiento = " + std::to_string(source->number))) {
            if (line.account.size() != 8) return;
        }
        ASSERT_TRUE(bound<clsMov>()->Duplicar_Asiento(source->number, target->number));
    }

    void renumberEntry() {
        const Entry* from = randomEntry(true);
        const Entry* to = randomEntry(true);
        if (!from || !to || from->number == to->number) return;
        auto mov = bound<clsMov>();
        mov->Asiento(to->number);  // the balance moves read the kind of entry from here
        ASSERT_TRUE(mov->Cambiar_Asiento(from->number, to->number));
    }

    void reassignAccounts() {
        std::string first = randomAccount();
        std::string last = randomAccount();
        if (last < first) std::swap(first, last);
        // Now and then a destination whose length matches no level of the chart.
        const std::string destination = chance(15) ? "4300001" : randomAccount();
        Date from = randomDate();
        Date to = randomDate();
        if (to < from) std::swap(from, to);
        ASSERT_TRUE(bound<clsMov>()->Cambiar_Cuenta(first, last, destination, from, to,
                                                    static_cast<std::int16_t>(pick(4))));
    }

    /// What the verifier finds besides unbalanced entries (random lines seldom balance).
    void checkInvariant(int operation) {
        const BalanceVerification found = verifyBalances(db, *context);
        ASSERT_TRUE(found.differences.empty())
            << found.differences.size() << " differing cells after operation " << operation
            << ", the first: " << balanceTableName(found.differences[0].table) << " "
            << found.differences[0].account << "/" << found.differences[0].department << " "
            << found.differences[0].column << " stored "
            << found.differences[0].stored.toString() << ", recomputed "
            << found.differences[0].expected.toString();
        ASSERT_TRUE(found.linesWithoutHeader.empty()) << "after operation " << operation;
        ASSERT_TRUE(found.duplicateLines.empty()) << "after operation " << operation;
        ASSERT_TRUE(found.duplicateEntries.empty()) << "after operation " << operation;
        ASSERT_GT(found.counts.accountRows, 0);
    }

    std::vector<Entry> entries_;
    int openingOrClosingLines_ = 0;
};

TEST_F(BalanceInvariantTest, RandomOperationsKeepBalancesEqualToTheLines) {
    constexpr int kOperations = 3000;
    for (int i = 0; i < 4; ++i) createEntry();
    std::map<std::string, int> counts;
    for (int operation = 1; operation <= kOperations; ++operation) {
        int roll = pick(100);
        if (roll < 8) {
            createEntry(), ++counts["entry"];
        } else if (roll < 10) {
            createOpeningOrClosing(), ++counts["opening/closing"];
        } else if (roll < 50) {
            insertLine(), ++counts["insert"];
        } else if (roll < 68) {
            modifyLine(), ++counts["modify"];
        } else if (roll < 78) {
            deleteLine(), ++counts["delete"];
        } else if (roll < 83) {
            annulEntry(), ++counts["annul"];
        } else if (roll < 88) {
            duplicateEntry(), ++counts["duplicate"];
        } else if (roll < 94) {
            renumberEntry(), ++counts["renumber"];
        } else {
            reassignAccounts(), ++counts["reassign"];
        }
        if (HasFatalFailure()) FAIL() << "operation " << operation;
        if (operation % 250 == 0) {
            checkInvariant(operation);
            if (HasFatalFailure()) return;
        }
    }
    checkInvariant(kOperations);
    // The run must have exercised every kind of operation and left real balances behind,
    // opening and closing lines and an account of no level among them.
    for (const char* kind : {"entry", "opening/closing", "insert", "modify", "delete", "annul",
                             "duplicate", "renumber", "reassign"}) {
        EXPECT_GT(counts[kind], 10) << kind;
    }
    EXPECT_GT(openingOrClosingLines_, 10);
    EXPECT_GT(lines().size(), 100u);
    EXPECT_EQ(scalar("SELECT COUNT(*) FROM Acumulados WHERE Cuenta = '4300001'").toLong(), 1);
}

}  // namespace
}  // namespace kvlnmov::testing
