// The numbering procedures CON_DevAsiento and CON_DevMovApunte.

#include <algorithm>
#include <set>
#include <thread>

#include "provider_fixture.h"

namespace kvlnmov::db::testing {
namespace {

class ProceduresTest : public ProviderTest {
  protected:
    void insertEntry(std::int32_t code, int exercise = 2026) {
        db->Execute("INSERT INTO Asientos (Cod_Empresa, Cod_Ejercicio, Codigo, Fecha) VALUES (1, " +
                    std::to_string(exercise) + ", " + std::to_string(code) + ", '01/01/2026')");
    }
    void insertLine(std::int32_t line, int exercise = 2026) {
        db->Execute(
            "INSERT INTO Movimientos (Cod_Empresa, Cod_Ejercicio, Cod_Asiento, Apunte) "
            "VALUES (1, " +
            std::to_string(exercise) + ", 1, " + std::to_string(line) + ")");
    }
    Rows counters() {
        return query(db,
                     "SELECT Cod_Ejercicio, Mes, Dia, cAsiento FROM Contador_Asientos ORDER "
                     "BY Cod_Ejercicio, Mes, Dia");
    }
    static std::vector<Variant> counter(int exercise, int month, int day, std::int32_t last) {
        return {i16(exercise), u8(month), u8(day), last};
    }
};

TEST_F(ProceduresTest, EntryNumbersOfEachScheme) {
    struct Case {
        const char* what;
        int month;
        int day;
        int scheme;
        std::vector<std::int32_t> numbers;  ///< given by successive calls
    };
    const std::vector<Case> cases{
        {"scheme 0 counts the exercise", 3, 15, 0, {1, 2, 3}},
        {"scheme 1: month, day, three digits", 3, 15, 1, {315001, 315002}},
        {"scheme 1, another day", 12, 31, 1, {1231001}},
        {"scheme 2: month, day, four digits", 1, 1, 2, {1010001, 1010002}},
        {"scheme 2 late in the year", 12, 31, 2, {12310001}},
        {"an unknown scheme gives no number", 3, 15, 7, {0, 0}},
    };
    for (const Case& c : cases) {
        for (std::int32_t expected : c.numbers)
            EXPECT_EQ(nextEntryNumber(db, 1, 2026, c.month, c.day, c.scheme), expected) << c.what;
    }
    EXPECT_EQ(counters(), (Rows{counter(2026, 0, 0, 3), counter(2026, 1, 1, 1010002),
                                counter(2026, 3, 15, 315002), counter(2026, 12, 31, 12310001)}));
    // Another company or exercise has its own counters.
    EXPECT_EQ(nextEntryNumber(db, 2, 2026, 3, 15, 1), 315001);
    EXPECT_EQ(nextEntryNumber(db, 1, 2027, 3, 15, 0), 1);
}

TEST_F(ProceduresTest, EntryNumbersSkipReservedValuesAndExistingEntries) {
    struct Case {
        const char* what;
        std::vector<std::int32_t> existing;  ///< Asientos.Codigo already there
        int scheme;
        std::int32_t counter;  ///< cAsiento before the call; -1 for no counter row
        std::int32_t expected;
    };
    const std::vector<Case> cases{
        {"opening and closing entries are not counted", {0, 999999}, 0, -1, 1},
        {"never below the highest ordinary entry", {0, 41, 999999}, 0, -1, 42},
        {"the counter wins when higher", {41}, 0, 50, 51},
        {"999999 is skipped", {}, 0, 999998, 1000000},
        {"scheme 1 ignores the day's reserved numbers", {315000, 315999}, 1, -1, 315001},
        {"scheme 1 continues after the day's entries", {315007, 316001}, 1, -1, 315008},
        {"scheme 1 ignores other days", {316500}, 1, 315003, 315004},
        {"scheme 1 day used up", {}, 1, 315998, 0},
        {"scheme 1 day used up by entries", {315998}, 1, -1, 0},
        {"scheme 2 continues after the day's entries", {3150009, 3159999}, 2, -1, 3150010},
        {"scheme 2 day used up", {}, 2, 3159998, 0},
        {"a counter stepped back gives the number again", {}, 1, 315000, 315001},
    };
    for (const Case& c : cases) {
        db->Execute("DELETE FROM Asientos");
        db->Execute("DELETE FROM Contador_Asientos");
        for (std::int32_t code : c.existing) insertEntry(code);
        const int month = c.scheme == 0 ? 0 : 3;
        const int day = c.scheme == 0 ? 0 : 15;
        if (c.counter >= 0) {
            db->Execute(
                "INSERT INTO Contador_Asientos (Cod_Empresa, Cod_Ejercicio, Mes, Dia, "
                "cAsiento) VALUES (1, 2026, " +
                std::to_string(month) + ", " + std::to_string(day) + ", " +
                std::to_string(c.counter) + ")");
        }
        EXPECT_EQ(nextEntryNumber(db, 1, 2026, 3, 15, c.scheme), c.expected) << c.what;
        // The counter keeps the number given; an exhausted day leaves it as it was.
        const Rows expectedCounter = c.expected != 0  ? Rows{counter(2026, month, day, c.expected)}
                                     : c.counter >= 0 ? Rows{counter(2026, month, day, c.counter)}
                                                      : Rows{};
        EXPECT_EQ(counters(), expectedCounter) << c.what;
    }
}

TEST_F(ProceduresTest, LineNumbersAreNeverGivenTwice) {
    EXPECT_EQ(nextLineNumber(db, 1, 2026), 1);
    EXPECT_EQ(nextLineNumber(db, 1, 2026), 2);
    insertLine(2);
    insertLine(10);  // a line numbered outside the counter
    EXPECT_EQ(nextLineNumber(db, 1, 2026), 11);
    insertLine(11);
    db->Execute("DELETE FROM Movimientos WHERE Apunte = 11");
    EXPECT_EQ(nextLineNumber(db, 1, 2026), 12);
    EXPECT_EQ(nextLineNumber(db, 1, 2027), 1);
    EXPECT_EQ(query(db,
                    "SELECT Cod_Ejercicio, cApunte FROM Contador_Apuntes ORDER BY "
                    "Cod_Ejercicio"),
              (Rows{{i16(2026), std::int32_t(12)}, {i16(2027), std::int32_t(1)}}));
}

TEST_F(ProceduresTest, BadCallsRaiseServerErrors) {
    Command unknown;
    unknown.CommandType(CommandType::StoredProc);
    unknown.CommandText("CON_Nada");
    unknown.ActiveConnection(db);
    Error error = errorOf([&] { unknown.Execute(); });
    EXPECT_EQ(error.number(), -2147217900);
    EXPECT_EQ(error.source(), kProvider);
    EXPECT_EQ(error.description(), "Could not find stored procedure 'CON_Nada'.");

    Command missing;
    missing.CommandType(CommandType::StoredProc);
    missing.CommandText("CON_DevMovApunte");
    missing.Parameters().Append(Command::CreateParameter("Cod_Empresa", DataType::SmallInt,
                                                         ParameterDirection::Input, 0, i16(1)));
    missing.Parameters().Append(
        Command::CreateParameter("Apunte", DataType::Integer, ParameterDirection::Output));
    missing.ActiveConnection(db);
    error = errorOf([&] { missing.Execute(); });
    EXPECT_EQ(error.number(), -2147217904);
    EXPECT_EQ(error.description(),
              "Procedure or function 'CON_DevMovApunte' expects parameter '@Cod_Ejercicio', "
              "which was not supplied.");
    EXPECT_TRUE(query(db, "SELECT cApunte FROM Contador_Apuntes").empty());
}

// Takes `count` line numbers on its own connection.
std::vector<std::int32_t> takeLineNumbers(const std::string& connectionString, int count) {
    const ConnectionRef connection = openConnection(connectionString);
    std::vector<std::int32_t> numbers;
    for (int i = 0; i < count; ++i) numbers.push_back(nextLineNumber(connection, 1, 2026));
    return numbers;
}

void expectDistinct(const std::vector<std::int32_t>& numbers, std::size_t count) {
    const std::set<std::int32_t> distinct(numbers.begin(), numbers.end());
    EXPECT_EQ(numbers.size(), count);
    EXPECT_EQ(distinct.size(), count);
    EXPECT_EQ(*distinct.begin(), 1);
    EXPECT_EQ(*distinct.rbegin(), static_cast<std::int32_t>(count));
}

TEST_F(ProceduresTest, TwoThreadsWithTheirOwnConnectionsGetDistinctLineNumbers) {
    std::vector<std::int32_t> first;
    std::vector<std::int32_t> second;
    std::thread a([&] { first = takeLineNumbers(connectionString(), 1000); });
    std::thread b([&] { second = takeLineNumbers(connectionString(), 1000); });
    a.join();
    b.join();
    first.insert(first.end(), second.begin(), second.end());
    expectDistinct(first, 2000);
}

}  // namespace
}  // namespace kvlnmov::db::testing
