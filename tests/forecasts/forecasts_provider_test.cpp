// Forecast operations against answers the embedded database cannot be made to give: no new
// identity after an insert, and more changed rows than a 16-bit count holds.

#include <gtest/gtest.h>

#include <functional>
#include <ostream>
#include <string>

#include "forecasts/scripted_provider.h"
#include "kvlnmov/db/open.h"
#include "kvlnmov/db/recordset.h"
#include "kvlnmov/forecasts/cls_prev_cobros.h"
#include "kvlnmov/forecasts/cls_prev_pagos.h"
#include "kvlnmov/forecasts/cls_pvivas_ap.h"
#include "support/test_connection.h"

namespace kvlnmov::testing {
namespace {

const std::string kIdentityQuery = "SELECT ISNULL(@@IDENTITY, 0) AS Id";

struct InsertCase {
    std::string name;
    /// Presets the object's number to 5, inserts, and returns the number it then holds.
    std::function<std::int32_t(ScriptedProviderTest&)> insert;
    std::string source;
    std::string description;
};

void PrintTo(const InsertCase& c, std::ostream* out) { *out << c.name; }

class ForecastIdentityTest : public ScriptedProviderTest,
                             public ::testing::WithParamInterface<InsertCase> {
  public:
    template <class T>
    static std::int32_t insertWithPreset(ScriptedProviderTest& test) {
        auto object = test.bound<T>();
        object->Apunte(5);
        struct Keep {
            std::shared_ptr<T> object;
            ~Keep() { lastNumber = object->Apunte(); }
        } keep{object};
        object->Insertar();
        return object->Apunte();
    }
    /// The number the last inserted object held afterwards, raised or not.
    static inline std::int32_t lastNumber = -1;
};

// The number is cleared before the identity is read, so a provider that answers 0 or no row
// at all makes the insert fail even when the object held a number before.
TEST_P(ForecastIdentityTest, NoIdentityFromTheProviderFailsTheInsert) {
    const InsertCase& c = GetParam();
    for (const auto& answer : {std::vector<std::int32_t>{0}, std::vector<std::int32_t>{}}) {
        provider_->received.clear();
        provider_->queryRows = answer;
        const Error error = raisedBy([&] { c.insert(*this); });
        EXPECT_EQ(error.number(), 1000);
        EXPECT_EQ(error.source(), c.source);
        EXPECT_EQ(error.description(), c.description);
        ASSERT_EQ(provider_->received.size(), 2u) << "the row stays written, nothing else runs";
        EXPECT_EQ(provider_->received[1], kIdentityQuery);
    }
}

// A failing identity query leaves the number cleared, not the one held before the insert.
TEST_P(ForecastIdentityTest, AFailingIdentityQueryLeavesNoNumber) {
    const InsertCase& c = GetParam();
    provider_->queryRows = {41};
    provider_->injectFault({kIdentityQuery, 1, errc::kTimeout, "Query timeout expired"});
    std::int32_t number = -1;
    const Error error = raisedBy([&] { number = c.insert(*this); });
    EXPECT_EQ(error.number(), errc::kTimeout);
    EXPECT_EQ(error.source(), c.source);
    EXPECT_EQ(number, -1);  // the insert raised
    EXPECT_EQ(lastNumber, 0);
}

TEST_P(ForecastIdentityTest, TheNewIdentityBecomesTheNumber) {
    provider_->queryRows = {41};
    EXPECT_EQ(GetParam().insert(*this), 41);
}

INSTANTIATE_TEST_SUITE_P(
    Inserts, ForecastIdentityTest,
    ::testing::Values(
        InsertCase{"Payments", &ForecastIdentityTest::insertWithPreset<clsPrevPagos>,
                   "clsPrevPagos:Insertar", "Error. No se ha insertado la previsión."},
        InsertCase{"Collections", &ForecastIdentityTest::insertWithPreset<clsPrevCobros>,
                   "PrevCobro::Insertar", "Error. No se ha insertado la previsión."},
        InsertCase{"OpeningItems", &ForecastIdentityTest::insertWithPreset<clsPVivasAp>,
                   "PVivas_Ap::Insertar", "Error. No se ha insertado la partida."}),
    [](const auto& info) { return info.param.name; });

// A payment forecast of an entry writes its link row only after a number came back.
TEST_F(ScriptedProviderTest, PaymentOfAnEntryWithoutIdentityWritesNoLinkRow) {
    provider_->queryRows = {0};
    auto payment = bound<clsPrevPagos>();
    payment->Asiento(5);
    payment->ApunteMov(12);
    payment->Cod_EjercicioMov(2026);
    raisedBy([&] { payment->Insertar(); });
    ASSERT_EQ(provider_->received.size(), 2u);
    EXPECT_TRUE(provider_->received[0].starts_with("INSERT INTO Previsiones_Pago ("));
}

struct CountCase {
    std::string name;
    std::function<std::int16_t(clsPrevPagos&)> call;
    std::string source;
};

void PrintTo(const CountCase& c, std::ostream* out) { *out << c.name; }

class RangeCountTest : public ScriptedProviderTest,
                       public ::testing::WithParamInterface<CountCase> {};

const Date kFirst = Date::ymd(2026, 1, 1);
const Date kLast = Date::ymd(2026, 12, 31);

// The affected-rows figure is received into a 16-bit integer: the largest count passes, one
// more overflows and reaches the caller under the operation's source.
TEST_P(RangeCountTest, TheCountIsASixteenBitInteger) {
    auto payments = bound<clsPrevPagos>();
    provider_->affectedRows = 32767;
    EXPECT_EQ(GetParam().call(*payments), 32767);
    provider_->affectedRows = 32768;
    const Error error = raisedBy([&] { GetParam().call(*payments); });
    EXPECT_EQ(error.number(), errc::kOverflow);
    EXPECT_EQ(error.source(), GetParam().source);
}

INSTANTIATE_TEST_SUITE_P(
    RangeOperations, RangeCountTest,
    ::testing::Values(
        CountCase{
            "Cambiar_Vto",
            [](clsPrevPagos& p) { return p.Cambiar_Vto("4", "5", kFirst, kLast, kLast, 0, ""); },
            "clsPrevPagos:Cambiar_Vtos"},
        CountCase{
            "Cambiar_Banco",
            [](clsPrevPagos& p) { return p.Cambiar_Banco("4", "5", kFirst, kLast, 0, "", "B"); },
            "clsPrevPagos:Cambiar_Vtos"},
        CountCase{"Cambiar_Estado2",
                  [](clsPrevPagos& p) {
                      return p.Cambiar_Estado2("4", "5", kFirst, kLast, 0, "", "", true);
                  },
                  "clsPrevPagos:Cambiar_Estado"},
        CountCase{"Cambiar_EstadoByID",
                  [](clsPrevPagos& p) { return p.Cambiar_EstadoByID(1, false); },
                  "clsPrevPagos:Cambiar_EstadoByID"},
        CountCase{"Cambiar_BancoByID", [](clsPrevPagos& p) { return p.Cambiar_BancoByID(1, "B"); },
                  "clsPrevPagos:Cambiar_BancoByID"}),
    [](const auto& info) { return info.param.name; });

// A collection forecast belongs to the exercise the context has when it is inserted, and a
// later change of exercise neither moves it nor hides it from its number.
TEST(CollectionExercise, TakenFromTheContextAtInsertion) {
    resetLibrary();
    auto connection = kvlnmov::testing::openFreshDatabase();
    connection->createCompanySchema();
    auto context = std::make_shared<SettableContext>();
    context->company = 4;
    context->exercise = 2026;
    auto collection = std::make_shared<clsPrevCobros>();
    collection->Conexion(connection);
    collection->cEmpresa(context);
    collection->Cuenta("43000001");
    ASSERT_TRUE(collection->Insertar());
    context->exercise = 2027;
    collection->Cuenta("43000002");
    ASSERT_TRUE(collection->Insertar());
    collection->Cuenta("otra");
    ASSERT_TRUE(collection->Cargar(std::nullopt));
    EXPECT_EQ(collection->Cuenta(), "43000002");

    db::Recordset rows;
    rows.Open(
        "SELECT Apunte, Cod_Empresa, Cod_Ejercicio, Cuenta FROM Previsiones_Cobro ORDER BY Apunte",
        connection);
    std::vector<std::string> seen;
    for (; !rows.Eof(); rows.MoveNext()) {
        seen.push_back(rows.Fields("Apunte").toText() + " " + rows.Fields("Cod_Empresa").toText() +
                       " " + rows.Fields("Cod_Ejercicio").toText() + " " +
                       rows.Fields("Cuenta").toText());
    }
    EXPECT_EQ(seen, (std::vector<std::string>{"1 4 2026 43000001", "2 4 2027 43000002"}));
    rows.Close();
    resetLibrary();
}

}  // namespace
}  // namespace kvlnmov::testing
