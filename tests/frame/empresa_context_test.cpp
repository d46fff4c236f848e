// The context read from the company database.

#include "kvlnmov/core/empresa_context.h"

#include <gtest/gtest.h>

#include "support/test_connection.h"

namespace kvlnmov {
namespace {

class EmpresaContextTest : public ::testing::Test {
  protected:
    void SetUp() override {
        connection_ = database_.connect();
        connection_->createCompanySchema();
        connection_->Execute("INSERT INTO Empresas (Codigo, Nombre) VALUES (3, 'Empresa')");
    }

    void exercise(int code, const char* from, const char* to, const char* levels = "1,2,3,4,10",
                  int numbering = 0, int tax = 0) {
        connection_->Execute(
            "INSERT INTO Empresas_Ejercicios (Cod_Empresa, Cod_Ejercicio, Estado, FechaInicio, "
            "FechaFin, LongitudesNivel, TipoNumeracion, TipoImpuesto) VALUES (3, " +
            std::to_string(code) + ", 0, '" + from + "', '" + to + "', '" + levels + "', " +
            std::to_string(numbering) + ", " + std::to_string(tax) + ")");
    }

    static std::int32_t errorNumber(const std::function<void()>& make) {
        try {
            make();
        } catch (const Error& error) {
            return error.number();
        }
        return 0;
    }

    testing::TestDatabase database_;
    db::ConnectionRef connection_;
};

TEST_F(EmpresaContextTest, ReadsTheExerciseTheChartAndTheSettings) {
    exercise(2026, "01/07/2026", "30/06/2027", "1,2,3,4,10", 2, 1);
    EmpresaContext context(connection_, 3, 2026);
    EXPECT_EQ(context.FechaInicio(), Date::ymd(2026, 7, 1));
    EXPECT_EQ(context.FechaFin(), Date::ymd(2027, 6, 30));
    EXPECT_EQ(context.Niveles(), 5);
    EXPECT_EQ(context.LongitudNivel(4), 10);
    EXPECT_EQ(context.LongitudNivel(5), 0);
    EXPECT_EQ(context.LongitudCuenta(), 10);
    EXPECT_EQ(context.TipoNumeracion(), 2);
    EXPECT_EQ(context.TipoImpuesto(), 1);
    // Periods count from the exercise's first month.
    EXPECT_EQ(context.PeriodoMes(7), 1);
    EXPECT_EQ(context.PeriodoMes(12), 6);
    EXPECT_EQ(context.PeriodoMes(1), 7);
    EXPECT_EQ(context.PeriodoMes(6), 12);
}

TEST_F(EmpresaContextTest, FindsTheExerciseOfADate) {
    exercise(2025, "01/01/2025", "31/12/2025");
    exercise(2026, "01/01/2026", "31/12/2026");
    // An exercise from July to June, named after the year it starts in.
    exercise(2030, "01/07/2030", "30/06/2031");
    EmpresaContext context(connection_, 3, 2026);
    EXPECT_EQ(context.EjercicioFecha(Date::ymd(2025, 12, 31).withTime(18, 0, 0)), 2025);
    EXPECT_EQ(context.EjercicioFecha(Date::ymd(2026, 1, 1)), 2026);
    EXPECT_EQ(context.EjercicioFecha(Date::ymd(2031, 6, 30).withTime(23, 59, 0)), 2030);
    EXPECT_EQ(context.EjercicioFecha(Date::ymd(2031, 7, 1)), 2031);
    EXPECT_EQ(context.EjercicioFecha(Date::ymd(2032, 5, 5)), 2032);
    context.setValor("UsuarioActual", Variant("12"));
    EXPECT_EQ(context.Valor("usuarioactual"), Variant("12"));
    EXPECT_TRUE(context.Valor("ODBCNombre").isEmpty());
}

TEST_F(EmpresaContextTest, RefusesWhatTheDatabaseDoesNotHold) {
    exercise(2026, "01/01/2026", "31/12/2026", "1,2,2,8");
    EXPECT_EQ(errorNumber([&] { EmpresaContext(connection_, 3, 2026); }), errc::kCheck);
    EXPECT_EQ(errorNumber([&] { EmpresaContext(connection_, 3, 2024); }), errc::kCheck);
    EXPECT_EQ(errorNumber([&] { EmpresaContext(connection_, 9, 2026); }), errc::kCheck);
    EXPECT_EQ(EmpresaContext::singleCompanyExercise(connection_),
              std::make_pair(std::int16_t{3}, std::int16_t{2026}));
    exercise(2027, "01/01/2027", "31/12/2027");
    EXPECT_EQ(errorNumber([&] { EmpresaContext::singleCompanyExercise(connection_); }),
              errc::kCheck);
}

}  // namespace
}  // namespace kvlnmov
