// A C++ program linked against the shared library alone: the C++ API is in it too (every
// layer linked whole), and the C interface and the C++ registry see the same classes.

#include <cstdio>
#include <string>

#include "kvlnmov/db/open.h"
#include "kvlnmov/db/recordset.h"
#include "kvlnmov/frame/currency.h"
#include "kvlnmov/kvlnmov.h"
#include "kvlnmov/registration/registry.h"

namespace {

int failures = 0;

void check(bool condition, const char* what) {
    if (!condition) {
        ++failures;
        std::fprintf(stderr, "cpp_user: check failed: %s\n", what);
    }
}

}  // namespace

int main() {
    auto connection = kvlnmov::db::openConnection("Provider=SQLite;Data Source=:memory:");
    connection->createCompanySchema();
    connection->Execute("INSERT INTO Conceptos (Codigo, Nombre) VALUES ('VTA', 'Venta')");
    kvlnmov::db::Recordset rows;
    rows.Open("SELECT Nombre FROM Conceptos", connection);
    check(rows.Fields(0).toText() == "Venta", "a row read through the C++ API");

    check(kvlnmov::registration::CreateObject("KVLNMOV.clsMov")->className() == "clsMov",
          "an object created by the C++ registry");
    check(kvlnmov::Currency::parse("1210.55")->raw() == 12105500, "a C++ value type");

    kvlnmov_object* line = nullptr;
    check(kvlnmov_create("KVLNMOV.clsMov", &line, nullptr) == KVLNMOV_OK,
          "the same class through the C interface");
    kvlnmov_release(line);
    std::printf("cpp_user: %d failed\n", failures);
    return failures == 0 ? 0 : 1;
}
