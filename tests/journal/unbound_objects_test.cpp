// An object without a connection or a context fails like a failing statement: the writers of
// journal lines and entry headers retry it six times, yielding each time, before the runtime's
// object error reaches the caller under the operation's source.

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>

#include "kvlnmov/core/context.h"
#include "kvlnmov/core/library.h"
#include "support/library_fixture.h"
#include "kvlnmov/journal/cls_asiento.h"
#include "kvlnmov/journal/cls_mov.h"
#include "support/rows.h"

namespace kvlnmov::testing {
namespace {

struct UnboundCase {
    std::string operation;
    std::function<void(bool bindContext)> call;
    std::string source;
};

void PrintTo(const UnboundCase& c, std::ostream* out) { *out << c.operation; }

std::shared_ptr<SettableContext> context() {
    auto held = std::make_shared<SettableContext>();
    held->firstDay = Date::ymd(2026, 1, 1);
    held->lastDay = Date::ymd(2026, 12, 31);
    return held;
}

template <class T>
std::shared_ptr<T> unbound(bool bindContext) {
    auto object = std::make_shared<T>();
    if (bindContext) object->cEmpresa(context());
    return object;
}

std::shared_ptr<clsMov> line(bool bindContext) {
    auto object = unbound<clsMov>(bindContext);
    object->Fecha_Asiento(Date::ymd(2026, 3, 15));
    object->Fecha(Date::ymd(2026, 3, 15));
    object->Cuenta("43000001");
    object->Asiento(1);
    object->Apunte(1);
    return object;
}

std::shared_ptr<clsAsiento> header(bool bindContext) {
    auto object = unbound<clsAsiento>(bindContext);
    object->Fecha(Date::ymd(2026, 3, 15));
    object->Codigo(1);
    return object;
}

class UnboundObjectTest : public testing::LibraryFixture<::testing::TestWithParam<UnboundCase>> {};

TEST_P(UnboundObjectTest, IsRetriedLikeAFailingStatementThenRaised) {
    // No context (the first thing the operation reads), then no connection.
    for (bool bindContext : {false, true}) {
        SCOPED_TRACE(bindContext ? "no connection" : "no context");
        ui->yields = 0;
        const Error error = errorOf([&] { GetParam().call(bindContext); });
        EXPECT_EQ(error.number(), errc::kObjectRequired);
        EXPECT_EQ(error.description(), "Object variable or With block variable not set");
        EXPECT_EQ(error.source(), GetParam().source);
        EXPECT_EQ(ui->yields, 6);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Writers, UnboundObjectTest,
    ::testing::Values(
        UnboundCase{"Insertar", [](bool c) { line(c)->Insertar(); }, "clsMov::Insertar"},
        UnboundCase{"Modificar", [](bool c) { line(c)->Modificar(); }, "clsMov::Modificar"},
        UnboundCase{"Eliminar", [](bool c) { line(c)->Eliminar(); }, "clsMov::Eliminar"},
        UnboundCase{"Puntear", [](bool c) { line(c)->Puntear(); }, "clsMov::Puntear"},
        UnboundCase{"Modificar_Concepto", [](bool c) { line(c)->Modificar_Concepto(); },
                    "clsMov::Modificar_Concepto"},
        UnboundCase{"Acumulados",
                    [](bool c) {
                        line(c)->Acumulados(true, Date::ymd(2026, 3, 15), "43000001", 0,
                                            Currency::fromUnits(1), Currency());
                    },
                    "clsMov::Acumulados"},
        UnboundCase{"AsientoInsertar", [](bool c) { header(c)->Insertar(); },
                    "clsAsiento:Insertar"},
        UnboundCase{"AsientoEliminar", [](bool c) { header(c)->Eliminar(); },
                    "clsAsiento:Eliminar"},
        UnboundCase{"AsientoBloqueo", [](bool c) { header(c)->Bloqueo(true, 3); },
                    "clsAsiento:Bloqueo"}),
    [](const auto& info) { return info.param.operation; });

}  // namespace
}  // namespace kvlnmov::testing
