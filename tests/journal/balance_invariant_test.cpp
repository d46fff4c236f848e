// Property test of the running balances: after a long random sequence of journal operations
// (fixed seed), `Acumulados` and `Acumulados_Dpto` hold, row by row and column by column,
// what a recomputation from the lines in `Movimientos` gives under the accumulation rules,
// plus the effects the rules deliberately leave behind, which the test models explicitly:
// - a new balance row created by an opening or closing credit stores the value as it is
//   while later ones subtract it;
// - a line modified with another entry date on the object is accumulated in that date's
//   period although the stored entry date does not change;
// - replacing an opening or closing entry deletes its lines without touching balances;
// - a created summary row takes the level of the posting account that created it, and an
//   account whose length matches no level gets level 0.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <functional>
#include <map>
#include <optional>
#include <random>
#include <set>
#include <sstream>

#include "journal_fixture.h"
#include "kvlnmov/db/recordset.h"
#include "kvlnmov/journal/cls_asiento.h"
#include "kvlnmov/journal/cls_mov.h"

namespace kvlnmov::testing {
namespace {

enum class Kind { Ordinary, Opening, Closing };

/// A balance row: the account and, for `Acumulados_Dpto`, the department (-1 for
/// `Acumulados`).
using Key = std::pair<std::string, int>;

struct Columns {
    std::int32_t level = 0;
    Currency opening;
    Currency closing;
    std::array<Currency, 13> debit{};
    std::array<Currency, 13> credit{};

    bool sameAmounts(const Columns& other) const {
        return opening == other.opening && closing == other.closing && debit == other.debit &&
               credit == other.credit;
    }
    std::string describe() const {
        std::ostringstream out;
        out << "Nivel " << level << " Apertura " << opening.toString() << " Cierre "
            << closing.toString();
        for (int p = 1; p <= 12; ++p) {
            if (!debit[p].isZero()) out << " D" << p << " " << debit[p].toString();
            if (!credit[p].isZero()) out << " H" << p << " " << credit[p].toString();
        }
        return out.str();
    }
};

struct Line {
    std::int32_t apunte = 0;
    std::int32_t entry = 0;
    Date date;
    std::string account;
    std::int16_t department = 0;
    Currency debit;
    Currency credit;
    std::int16_t mark = 0;
};

/// The accumulation rules, written here independently of the library.
class BalanceModel {
  public:
    explicit BalanceModel(std::vector<std::int16_t> levels) : levels_(std::move(levels)) {}

    /// The intended change of one call to every row it touches.
    void apply(std::map<Key, Columns>& target, bool add, Date date, const std::string& account,
               std::int16_t department, Currency debit, Currency credit, Kind kind) const {
        for (const std::string& row : rowsOf(account)) {
            for (int table : {-1, static_cast<int>(department)}) {
                Columns& columns = target[{row, table}];
                auto [column, delta] = change(add, date, debit, credit, kind);
                *column(columns) += delta;
            }
        }
    }

    /// Follows one call the library makes: which rows it creates (with their level) and the
    /// value a created row stores where it differs from the intended change.
    void observe(bool add, const std::string& account, std::int16_t department, Currency debit,
                 Currency credit, Kind kind) {
        std::int32_t level = levelOf(account);
        for (const std::string& row : rowsOf(account)) {
            for (int table : {-1, static_cast<int>(department)}) {
                Key key{row, table};
                if (levels_by_row_.count(key)) continue;
                levels_by_row_[key] = level;
                bool creditOnly = debit.isZero();
                if (kind != Kind::Ordinary && creditOnly) {
                    Currency value = signedValue(add, debit, credit, kind);
                    Columns& ghost = ghosts_[key];
                    Currency twice = value + value;
                    if (kind == Kind::Opening) {
                        ghost.opening += twice;
                    } else {
                        ghost.closing += twice;
                    }
                }
            }
        }
    }

    /// A lasting difference between the balances and the lines, added on purpose.
    void addGhost(bool add, Date date, const std::string& account, std::int16_t department,
                  Currency debit, Currency credit, Kind kind) {
        apply(ghosts_, add, date, account, department, debit, credit, kind);
    }

    const std::map<Key, Columns>& ghosts() const { return ghosts_; }
    const std::map<Key, std::int32_t>& levels() const { return levels_by_row_; }

    std::int32_t levelOf(const std::string& account) const {
        for (std::size_t i = 0; i <= levels_.size(); ++i) {
            std::size_t length = i < levels_.size() ? static_cast<std::size_t>(levels_[i]) : 0;
            if (account.size() == length) return static_cast<std::int32_t>(i + 1);
        }
        return 0;
    }

  private:
    std::vector<std::string> rowsOf(const std::string& account) const {
        std::vector<std::string> rows{account};
        for (std::size_t i = 0; i + 1 < levels_.size(); ++i) {
            rows.push_back(account.substr(0, static_cast<std::size_t>(levels_[i])));
        }
        return rows;
    }

    static Currency signedValue(bool add, Currency debit, Currency credit, Kind kind) {
        Currency amount = debit.isZero() ? credit : debit;
        bool negate = kind == Kind::Closing ? add : !add;
        return negate ? -amount : amount;
    }

    static std::pair<std::function<Currency*(Columns&)>, Currency> change(bool add, Date date,
                                                                          Currency debit,
                                                                          Currency credit,
                                                                          Kind kind) {
        Currency value = signedValue(add, debit, credit, kind);
        bool isDebit = !debit.isZero();
        int period = date.month();
        switch (kind) {
            case Kind::Ordinary:
                if (isDebit) return {[period](Columns& c) { return &c.debit[period]; }, value};
                return {[period](Columns& c) { return &c.credit[period]; }, value};
            case Kind::Opening:
                return {[](Columns& c) { return &c.opening; }, isDebit ? value : -value};
            case Kind::Closing:
                return {[](Columns& c) { return &c.closing; }, isDebit ? value : -value};
        }
        return {nullptr, Currency()};
    }

    std::vector<std::int16_t> levels_;
    std::map<Key, Columns> ghosts_;
    std::map<Key, std::int32_t> levels_by_row_;
};

struct Entry {
    std::int32_t number = 0;
    Date date;
    Kind kind = Kind::Ordinary;
};

class BalanceInvariantTest : public JournalTest {
  protected:
    void SetUp() override {
        JournalTest::SetUp();
        model_ = std::make_unique<BalanceModel>(context_->levelLengths);
    }

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

    Kind kindOf(std::int32_t number) {
        for (const Entry& entry : entries_) {
            if (entry.number == number) return entry.kind;
        }
        return Kind::Ordinary;
    }
    const Entry* randomEntry(bool ordinaryOnly) {
        std::vector<const Entry*> candidates;
        for (const Entry& entry : entries_) {
            if (!ordinaryOnly || entry.kind == Kind::Ordinary) candidates.push_back(&entry);
        }
        if (candidates.empty()) return nullptr;
        return candidates[static_cast<std::size_t>(pick(static_cast<int>(candidates.size())))];
    }

    std::vector<Line> lines(const std::string& condition = "") {
        db::Recordset rows;
        rows.Open(
            "SELECT Apunte, Cod_Asiento, Fecha_Asiento, Cuenta, Dpto, Debe, Haber, Punteo "
            "FROM Movimientos WHERE Cod_Empresa = 1 AND Cod_Ejercicio = 2026" +
                condition + " ORDER BY Apunte",
            connection_);
        std::vector<Line> found;
        for (; !rows.Eof(); rows.MoveNext()) {
            found.push_back({rows.Fields("Apunte").toLong(), rows.Fields("Cod_Asiento").toLong(),
                             rows.Fields("Fecha_Asiento").toDate(), rows.Fields("Cuenta").toText(),
                             rows.Fields("Dpto").toInteger(), rows.Fields("Debe").toCurrency(),
                             rows.Fields("Haber").toCurrency(), rows.Fields("Punteo").toInteger()});
        }
        return found;
    }

    /// The library accumulating `line` at `date` (the date only chooses the period, which
    /// does not decide which rows exist).
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

    void observe(bool add, Date, const Line& line, Kind kind) {
        model_->observe(add, line.account, line.department, line.debit, line.credit, kind);
    }

    // --- operations -------------------------------------------------------------------------

    void createEntry() {
        auto entry = bound<clsAsiento>();
        entry->Fecha(randomDate());
        entry->Usuario(7);
        ASSERT_TRUE(entry->Insertar());
        entries_.push_back({entry->Codigo(), entry->Fecha(), Kind::Ordinary});
    }

    void createOpeningOrClosing() {
        bool opening = chance(50);
        Date date = opening ? context_->firstDay : context_->lastDay;
        std::int32_t number = opening ? 0 : 999999;
        Kind kind = opening ? Kind::Opening : Kind::Closing;
        // The replaced entry's lines go without their balances being taken out.
        for (const Line& line : lines(" AND Cod_Asiento = " + std::to_string(number))) {
            model_->addGhost(true, line.date, line.account, line.department, line.debit,
                             line.credit, kind);
        }
        auto entry = bound<clsAsiento>();
        entry->Fecha(date);
        entry->Cierre(true);
        entry->Usuario(7);
        ASSERT_TRUE(entry->Insertar());
        ASSERT_EQ(entry->Codigo(), number);
        std::erase_if(entries_, [&](const Entry& e) { return e.number == number; });
        entries_.push_back({number, date, kind});
    }

    void insertLine() {
        const Entry* entry = randomEntry(false);
        if (!entry) return createEntry();
        Line line{0,
                  entry->number,
                  entry->date,
                  randomAccount(),
                  static_cast<std::int16_t>(pick(4)),
                  Currency(),
                  Currency(),
                  static_cast<std::int16_t>(pick(2))};
        (chance(50) ? line.debit : line.credit) = randomAmount();
        if (chance(3)) line.credit = randomAmount();  // both sides: only the debit counts
        auto mov = bound<clsMov>();
        mov->Asiento(line.entry);
        mov->Cuenta(line.account);
        mov->Fecha_Asiento(line.date);
        mov->Fecha(line.date);
        mov->Dpto(line.department);
        mov->Debe(line.debit);
        mov->Haber(line.credit);
        mov->Punteo(line.mark);
        mov->Concepto("Linea aleatoria");
        ASSERT_TRUE(mov->Insertar());
        observe(true, line.date, line, entry->kind);
    }

    void modifyLine() {
        auto line = randomLine();
        if (!line) return insertLine();
        const Line stored = *line;
        Kind kind = kindOf(stored.entry);
        Line changed = stored;
        changed.account = chance(60) ? randomAccount() : stored.account;
        changed.department = static_cast<std::int16_t>(pick(4));
        changed.debit = Currency();
        changed.credit = Currency();
        (chance(50) ? changed.debit : changed.credit) = randomAmount();
        Date objectDate = chance(25) ? randomDate() : stored.date;

        auto mov = bound<clsMov>();
        mov->Apunte(stored.apunte);
        mov->Asiento(stored.entry);
        mov->Cuenta(changed.account);
        mov->Fecha_Asiento(objectDate);
        mov->Fecha(objectDate);
        mov->Dpto(changed.department);
        mov->Debe(changed.debit);
        mov->Haber(changed.credit);
        ASSERT_TRUE(mov->Modificar());
        observe(false, stored.date, stored, kind);
        observe(true, objectDate, changed, kind);
        // The row keeps its stored entry date while the amounts went to the object's.
        model_->addGhost(true, objectDate, changed.account, changed.department, changed.debit,
                         changed.credit, kind);
        model_->addGhost(false, stored.date, changed.account, changed.department, changed.debit,
                         changed.credit, kind);
    }

    void deleteLine() {
        auto line = randomLine();
        if (!line) return;
        const Line stored = *line;
        auto mov = bound<clsMov>();
        mov->Apunte(stored.apunte);
        mov->Asiento(stored.entry);
        ASSERT_TRUE(mov->Eliminar());
        observe(false, stored.date, stored, kindOf(stored.entry));
    }

    void annulEntry() {
        const Entry* chosen = randomEntry(false);
        if (!chosen) return;
        Entry entry = *chosen;
        auto header = bound<clsAsiento>();
        header->Codigo(entry.number);
        header->Fecha(entry.date);
        header->Usuario(9);
        for (const Line& line : lines(" AND Cod_Asiento = " + std::to_string(entry.number))) {
            observe(false, line.date, line, entry.kind);
        }
        ASSERT_TRUE(header->Eliminar());
        std::erase_if(entries_, [&](const Entry& e) { return e.number == entry.number; });
    }

    void duplicateEntry() {
        const Entry* source = randomEntry(false);
        const Entry* target = randomEntry(true);
        if (!source || !target) return;
        auto copied = lines(" AND Cod_Asiento = " + std::to_string(source->number));
        // Copies are posted through Insertar, which refuses accounts of another length.
        for (const Line& line : copied) {
            if (line.account.size() != 8) return;
        }
        auto mov = bound<clsMov>();
        ASSERT_TRUE(mov->Duplicar_Asiento(source->number, target->number));
        for (const Line& line : copied) observe(true, target->date, line, Kind::Ordinary);
    }

    void renumberEntry() {
        const Entry* from = randomEntry(true);
        const Entry* to = randomEntry(true);
        if (!from || !to || from->number == to->number) return;
        auto moved = lines(" AND Cod_Asiento = " + std::to_string(from->number));
        auto mov = bound<clsMov>();
        mov->Asiento(to->number);  // the balance moves read the kind of entry from here
        ASSERT_TRUE(mov->Cambiar_Asiento(from->number, to->number));
        for (const Line& line : moved) {
            observe(false, line.date, line, Kind::Ordinary);
            observe(true, to->date, line, Kind::Ordinary);
        }
    }

    void reassignAccounts() {
        std::string first = randomAccount();
        std::string last = randomAccount();
        if (last < first) std::swap(first, last);
        // Now and then a destination whose length matches no level of the chart.
        std::string destination = chance(15) ? "4300001" : randomAccount();
        Date from = randomDate();
        Date to = randomDate();
        if (to < from) std::swap(from, to);
        std::int16_t mark = static_cast<std::int16_t>(pick(4));

        std::vector<Line> selected;
        for (const Line& line : lines()) {
            bool inRange = line.account >= first && line.account <= last && line.date >= from &&
                           line.date <= to;
            bool marked = mark == 1 ? line.mark != 0 : mark == 2 ? line.mark == 0 : true;
            if (inRange && marked) selected.push_back(line);
        }
        auto mov = bound<clsMov>();
        ASSERT_TRUE(mov->Cambiar_Cuenta(first, last, destination, from, to, mark));
        for (const Line& line : selected) {
            Kind kind = kindOf(line.entry);
            observe(false, line.date, line, kind);
            Line moved = line;
            moved.account = destination;
            observe(true, line.date, moved, kind);
        }
    }

    // --- the invariant ----------------------------------------------------------------------

    std::map<Key, Columns> stored() {
        std::map<Key, Columns> found;
        for (const bool departments : {false, true}) {
            std::string columns = "Cuenta, Nivel, Apertura, Cierre";
            for (int p = 1; p <= 12; ++p) {
                columns += ", D" + std::to_string(p) + ", H" + std::to_string(p);
            }
            db::Recordset rows;
            rows.Open("SELECT " + columns +
                          (departments ? ", Dpto FROM Acumulados_Dpto" : " FROM Acumulados"),
                      connection_);
            for (; !rows.Eof(); rows.MoveNext()) {
                Key key{rows.Fields("Cuenta").toText(),
                        departments ? rows.Fields("Dpto").toInteger() : -1};
                Columns& c = found[key];
                c.level = rows.Fields("Nivel").toInteger();
                c.opening = rows.Fields("Apertura").toCurrency();
                c.closing = rows.Fields("Cierre").toCurrency();
                for (int p = 1; p <= 12; ++p) {
                    c.debit[p] = rows.Fields("D" + std::to_string(p)).toCurrency();
                    c.credit[p] = rows.Fields("H" + std::to_string(p)).toCurrency();
                }
            }
        }
        return found;
    }

    std::map<Key, Columns> recomputed() {
        std::map<std::int32_t, Kind> kinds;
        db::Recordset headers;
        headers.Open("SELECT Codigo, Cierre, Fecha FROM Asientos", connection_);
        for (; !headers.Eof(); headers.MoveNext()) {
            bool closing =
                !headers.Fields("Cierre").isNull() && headers.Fields("Cierre").toBoolean();
            kinds[headers.Fields("Codigo").toLong()] =
                !closing                                                 ? Kind::Ordinary
                : headers.Fields("Fecha").toDate() == context_->firstDay ? Kind::Opening
                                                                         : Kind::Closing;
        }
        std::map<Key, Columns> expected = model_->ghosts();
        for (const Line& line : lines()) {
            auto kind = kinds.find(line.entry);
            model_->apply(expected, true, line.date, line.account, line.department, line.debit,
                          line.credit, kind == kinds.end() ? Kind::Ordinary : kind->second);
        }
        return expected;
    }

    void checkInvariant(int operation) {
        auto actual = stored();
        auto expected = recomputed();
        const auto& levels = model_->levels();
        ASSERT_EQ(actual.size(), levels.size()) << "after operation " << operation;
        for (const auto& [key, columns] : actual) {
            auto level = levels.find(key);
            ASSERT_NE(level, levels.end()) << "unexpected row " << key.first << "/" << key.second;
            EXPECT_EQ(columns.level, level->second) << "Nivel of " << key.first << "/" << key.second
                                                    << " after operation " << operation;
            Columns want = expected.count(key) ? expected.at(key) : Columns{};
            want.level = level->second;
            ASSERT_TRUE(columns.sameAmounts(want))
                << "row " << key.first << "/" << key.second << " after operation " << operation
                << "\n  stored:     " << columns.describe()
                << "\n  recomputed: " << want.describe();
        }
        for (const auto& [key, columns] : expected) {
            if (!actual.count(key)) {
                ASSERT_TRUE(columns.sameAmounts(Columns{}))
                    << "missing row " << key.first << "/" << key.second;
            }
        }
    }

    std::unique_ptr<BalanceModel> model_;
    std::vector<Entry> entries_;
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
    // The run must have exercised every kind of operation and left real balances behind.
    for (const char* kind : {"entry", "opening/closing", "insert", "modify", "delete", "annul",
                             "duplicate", "renumber", "reassign"}) {
        EXPECT_GT(counts[kind], 10) << kind;
    }
    EXPECT_GT(lines().size(), 100u);
    EXPECT_TRUE(model_->levels().count({"4300001", -1})) << "no level-0 account was exercised";
}

}  // namespace
}  // namespace kvlnmov::testing

namespace kvlnmov::testing {
namespace {

// Amounts that a double cannot hold to the ten-thousandth are accumulated exactly, in the
// account's row and in every summary row, as debits, credits, and in the opening column.
TEST_F(JournalTest, HugeAmountsAccumulateToTheTenThousandth) {
    auto header = bound<clsAsiento>();
    header->Fecha(Date::ymd(2026, 3, 15));
    header->Insertar();
    const std::vector<std::string> amounts{"900719925474.0993", "123456789012345.6789",
                                           "400000000000000.0001", "0.0001"};
    Currency total;
    for (const std::string& text : amounts) {
        const Currency amount = *Currency::parse(text);
        total += amount;
        for (bool debit : {true, false}) {
            auto line = bound<clsMov>();
            line->Asiento(header->Codigo());
            line->Fecha_Asiento(Date::ymd(2026, 3, 15));
            line->Cuenta(debit ? "43000001" : "70000001");
            if (debit) {
                line->Debe(amount);
            } else {
                line->Haber(amount);
            }
            line->Insertar();
        }
    }
    for (const char* account : {"43000001", "4300", "430", "43", "4"}) {
        EXPECT_EQ(scalar(std::string("SELECT D3 FROM Acumulados WHERE Cuenta = '") + account + "'")
                      .toCurrency(),
                  total)
            << account;
    }
    EXPECT_EQ(scalar("SELECT H3 FROM Acumulados_Dpto WHERE Cuenta = '70000001' AND Dpto = 0")
                  .toCurrency(),
              total);
    EXPECT_EQ(total.toString(), "524357508937819.7784");
}

}  // namespace
}  // namespace kvlnmov::testing
