// The scenario runner reports exactly what failed, and refuses files it cannot trust.

#include "kvlnmov/scenario/scenario_runner.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "kvlnmov/core/library.h"

namespace kvlnmov::scenario {
namespace {

class ScenarioRunnerTest : public ::testing::Test {
  protected:
    void SetUp() override {
        char pattern[] = "/tmp/kvlnmov-scenarios-XXXXXX";
        ASSERT_NE(mkdtemp(pattern), nullptr);
        folder_ = pattern;
    }
    void TearDown() override {
        resetLibrary();
        std::filesystem::remove_all(folder_);
    }

    void write(const std::string& name, const std::string& steps, const std::string& extra = "") {
        std::ofstream(folder_ / name)
            << R"({"name": ")" << name
            << R"(", "context": {"Cod_Empresa": 1, "Cod_Ejercicio": 2026,)"
            << R"( "FechaInicio": "2026-01-01", "FechaFin": "2026-12-31"})" << extra
            << R"(, "steps": [)" << steps << "]}";
    }

    int run(std::string& out, std::string& err) {
        std::ostringstream outText;
        std::ostringstream errText;
        int code = runAll({folder_}, outText, errText);
        out = outText.str();
        err = errText.str();
        return code;
    }

    std::filesystem::path folder_;
};

const char* kInsert =
    R"({"new": "c", "class": "clsConcepto"}, {"set": "c", "props": {"Codigo": "A", "Nombre": "Uno"}},)";

TEST_F(ScenarioRunnerTest, PassingScenariosAreListedWithTheSummary) {
    write("a.json", std::string(kInsert) + R"({"call": "c", "method": "Insertar", "returns": true,
        "sql_count": 2, "msgboxes": [], "yields": 0},
        {"query": "SELECT Codigo, Nombre FROM Conceptos", "rows": [["A", "Uno"]]})");
    std::string out;
    std::string err;
    EXPECT_EQ(run(out, err), 0);
    EXPECT_EQ(out, "ok  a.json\n1 passed, 0 failed\n");
    EXPECT_EQ(err, "");
}

TEST_F(ScenarioRunnerTest, AWrongExpectationFailsWithThePlaceAndTheDifference) {
    write("a.json",
          std::string(kInsert) + R"({"call": "c", "method": "Insertar", "returns": true})");
    write("b.json", std::string(kInsert) + R"({"call": "c", "method": "Insertar",
        "sql": ["SELECT Codigo FROM Conceptos WHERE Codigo ='A'", "INSERT INTO Conceptos"]})");
    write("c.json", std::string(kInsert) + R"({"call": "c", "method": "Insertar"},
        {"query": "SELECT Nombre FROM Conceptos", "rows": [["Dos"]]})");
    write("d.json", std::string(kInsert) + R"({"call": "c", "method": "Insertar",
        "error": {"number": 1000}})");
    std::string out;
    std::string err;
    EXPECT_EQ(run(out, err), 1);
    EXPECT_NE(out.find("ok  a.json\n"), std::string::npos) << out;
    EXPECT_NE(out.find("FAIL b.json: step 2 (call c.Insertar): sql[1]: expected \"INSERT INTO "
                       "Conceptos\", sent \"INSERT INTO Conceptos (Codigo, Nombre, Debe, "
                       "Automatico, Impuestos, M347) VALUES ('A', 'Uno', 0, 0, 0, 0)\"\n"),
              std::string::npos)
        << out;
    EXPECT_NE(out.find("FAIL c.json: step 3 (query): row 0 column Nombre: expected \"Dos\", got "
                       "\"Uno\"\n"),
              std::string::npos)
        << out;
    EXPECT_NE(out.find("FAIL d.json: step 2 (call c.Insertar): expected the error "
                       "{\"number\":1000} but none was raised\n"),
              std::string::npos)
        << out;
    EXPECT_NE(out.find("1 passed, 3 failed\n"), std::string::npos) << out;
}

TEST_F(ScenarioRunnerTest, FilesThatAreNotValidScenariosAreRefused) {
    write("typo.json", R"({"new": "c", "class": "clsConcepto"}, {"call": "c", "metod": "Cargar"})");
    write("context.json", R"({"new": "c", "class": "clsConcepto"})", R"(, "exercise": 2026)");
    std::ofstream(folder_ / "broken.json") << "{";
    std::string out;
    std::string err;
    EXPECT_EQ(run(out, err), 2);
    EXPECT_NE(err.find("typo.json, step 1: unknown key \"metod\""), std::string::npos) << err;
    EXPECT_NE(err.find("context.json: unknown key \"exercise\""), std::string::npos) << err;
    EXPECT_NE(err.find("broken.json: not valid JSON"), std::string::npos) << err;
    EXPECT_EQ(out, "0 passed, 0 failed\n");
}

}  // namespace
}  // namespace kvlnmov::scenario
