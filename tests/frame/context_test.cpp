// The settable context (the scenario files and the journal tests run on it): what it answers
// past the ends of what it was given.

#include "kvlnmov/core/context.h"

#include <gtest/gtest.h>

namespace kvlnmov {
namespace {

TEST(SettableContextTest, AnswersPastTheEndsOfWhatItHolds) {
    SettableContext context;
    context.exercise = 2026;
    context.firstDay = Date::ymd(2026, 1, 1);
    context.lastDay = Date::ymd(2026, 12, 31);
    EXPECT_EQ(context.Niveles(), 5);
    EXPECT_EQ(context.LongitudNivel(4), 8);
    EXPECT_EQ(context.LongitudNivel(5), 0);  // past the last level
    EXPECT_EQ(context.LongitudNivel(-1), 0);
    EXPECT_EQ(context.LongitudCuenta(), 8);

    context.exercises.push_back({2025, Date::ymd(2025, 1, 1), Date::ymd(2025, 12, 31)});
    EXPECT_EQ(context.EjercicioFecha(Date::ymd(2025, 6, 30)), 2025);
    EXPECT_EQ(context.EjercicioFecha(Date::ymd(2026, 12, 31).withTime(23, 0, 0)), 2026);
    EXPECT_EQ(context.EjercicioFecha(Date::ymd(2030, 2, 1)), 2030);  // the date's year

    EXPECT_EQ(context.PeriodoMes(3), 3);
    context.periodOfMonth = {7, 8, 9, 10, 11, 12, 1, 2, 3, 4, 5, 6};
    EXPECT_EQ(context.PeriodoMes(7), 1);
    EXPECT_EQ(context.PeriodoMes(6), 12);

    context.values["UsuarioActual"] = Variant("7");
    EXPECT_EQ(context.Valor("usuarioactual"), Variant("7"));
    EXPECT_TRUE(context.Valor("ODBCNombre").isEmpty());
}

}  // namespace
}  // namespace kvlnmov
