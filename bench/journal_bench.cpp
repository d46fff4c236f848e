// Throughput of the journal's hot paths on the embedded database: posting a line (its
// statements, the line number and the balances at every level), translating a statement
// whose shape is cached, and reading a 450-line entry through a recordset.

#include <benchmark/benchmark.h>

#include <memory>

#include "kvlnmov/db/open.h"
#include "kvlnmov/db/recordset.h"
#include "kvlnmov/core/company_seed.h"
#include "kvlnmov/core/context.h"
#include "kvlnmov/core/library.h"
#include "kvlnmov/journal/cls_asiento.h"
#include "kvlnmov/journal/cls_mov.h"

namespace {

using namespace kvlnmov;

struct Company {
    db::ConnectionRef connection;
    std::shared_ptr<SettableContext> context;
    std::int32_t entry = 0;
};

Company openCompany() {
    resetLibrary();
    Company company;
    company.connection = db::openConnection("Provider=SQLite;Data Source=:memory:");
    seedCompany(*company.connection, CompanySeed{});
    company.context = std::make_shared<SettableContext>();
    company.context->exercise = 2026;
    company.context->firstDay = Date::ymd(2026, 1, 1);
    company.context->lastDay = Date::ymd(2026, 12, 31);
    auto header = std::make_shared<clsAsiento>();
    header->Conexion(company.connection);
    header->cEmpresa(company.context);
    header->Fecha(Date::ymd(2026, 3, 15));
    header->Insertar();
    company.entry = header->Codigo();
    return company;
}

void PostLine(benchmark::State& state) {
    Company company = openCompany();
    auto line = std::make_shared<clsMov>();
    line->cEmpresa(company.context);
    line->Asiento(company.entry);
    line->Fecha_Asiento(Date::ymd(2026, 3, 15));
    std::int64_t posted = 0;
    for (auto _ : state) {
        line->Cuenta(posted % 2 ? "43000001" : "70000001");
        line->Debe(Currency::fromRaw(1000000 + posted));
        line->Insertar();
        ++posted;
    }
    state.SetItemsProcessed(posted);
}
BENCHMARK(PostLine);

void UpdateBalance(benchmark::State& state) {
    Company company = openCompany();
    company.connection->Execute(
        "INSERT INTO Acumulados (Cod_Empresa, Cod_Ejercicio, Cuenta, Nivel) VALUES (1, 2026, "
        "'43000001', 5)");
    std::int64_t amount = 1;
    for (auto _ : state) {
        company.connection->Execute("UPDATE Acumulados SET D3 = D3 + (" + std::to_string(amount++) +
                                    ".25) WHERE Cod_Empresa =1 AND Cod_Ejercicio =2026 AND "
                                    "Cuenta ='43000001'");
    }
    state.SetItemsProcessed(amount - 1);
}
BENCHMARK(UpdateBalance);

void ReadEntry(benchmark::State& state) {
    Company company = openCompany();
    auto line = std::make_shared<clsMov>();
    line->cEmpresa(company.context);
    line->Asiento(company.entry);
    line->Fecha_Asiento(Date::ymd(2026, 3, 15));
    line->Cuenta("43000001");
    line->Debe(Currency::fromUnits(1));
    for (int i = 0; i < 450; ++i) line->Insertar();
    for (auto _ : state) {
        db::Recordset rows;
        rows.Open(
            "SELECT a.Apunte, a.Cuenta, a.Debe, a.Haber, b.Fecha FROM Movimientos a "
            "INNER JOIN Asientos b ON a.Cod_Empresa = b.Cod_Empresa AND a.Cod_Ejercicio = "
            "b.Cod_Ejercicio AND a.Cod_Asiento = b.Codigo WHERE a.Cod_Asiento =" +
                std::to_string(company.entry) + " ORDER BY a.Apunte",
            company.connection);
        Currency total;
        for (; !rows.Eof(); rows.MoveNext()) total += rows.Fields("Debe").toCurrency();
        benchmark::DoNotOptimize(total);
    }
    state.SetItemsProcessed(state.iterations() * 450);
}
BENCHMARK(ReadEntry);

}  // namespace

BENCHMARK_MAIN();
