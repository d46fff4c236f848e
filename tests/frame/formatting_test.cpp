// Funciones and the writers of values into SQL text.

#include <gtest/gtest.h>

#include <limits>

#include "kvlnmov/core/context.h"
#include "kvlnmov/core/funciones.h"
#include "kvlnmov/core/library.h"
#include "kvlnmov/frame/regional.h"
#include "kvlnmov/core/sql_text.h"

namespace kvlnmov {
namespace {

class FormattingTest : public ::testing::Test {
  protected:
    void SetUp() override {
        resetLibrary();
        setRegional(Regional{});
    }
    void TearDown() override {
        setRegional(Regional{});
        resetLibrary();
    }
};

TEST_F(FormattingTest, NumeroSqlWritesTheShortestExactText) {
    struct Case {
        double value;
        const char* text;
    };
    for (const Case& c :
         {Case{100, "100"}, Case{-1234.5, "-1234.5"}, Case{0.0001, "0.0001"}, Case{0, "0"},
          Case{-0.0, "0"}, Case{0.1, "0.1"}, Case{1e20, "100000000000000000000"},
          Case{-0.5, "-0.5"}, Case{922337203685477.5, "922337203685477.5"},
          Case{1234.5678, "1234.5678"}}) {
        EXPECT_EQ(funciones().NumeroSQL(c.value), c.text) << c.value;
    }
    EXPECT_THROW(funciones().NumeroSQL(std::numeric_limits<double>::infinity()), Error);
}

TEST_F(FormattingTest, FormatoNumeroUsesTheRegionalSeparators) {
    struct Case {
        double value;
        int decimals;
        const char* text;
    };
    for (const Case& c :
         {Case{1234.5, 2, "1.234,50"}, Case{-1234.567, 2, "-1.234,57"}, Case{0.005, 2, "0,01"},
          Case{2.675, 2, "2,68"}, Case{999.995, 2, "1.000,00"}, Case{-0.001, 2, "0,00"},
          Case{1234567.891, 0, "1.234.568"}, Case{10, 2, "10,00"}, Case{0, 2, "0,00"}}) {
        EXPECT_EQ(funciones().FormatoNumero(c.value, c.decimals), c.text) << c.value;
    }
    EXPECT_EQ(funciones().FormatoNumero(Currency::fromRaw(-123456789), 2), "-12.345,68");
    setRegional(Regional{"mm/dd/yyyy", '.', ','});
    EXPECT_EQ(funciones().FormatoNumero(1234.5, 2), "1,234.50");
}

TEST_F(FormattingTest, FechaSqlWritesTheRegionalShortDate) {
    EXPECT_EQ(funciones().FechaSQL("15/03/2026"), "15/03/2026");
    EXPECT_EQ(funciones().FechaSQL("5/3/2026 17:30:00"), "05/03/2026");
    EXPECT_EQ(funciones().FechaSQL("2026-03-15"), "15/03/2026");
    try {
        funciones().FechaSQL("no es fecha");
        FAIL() << "no error";
    } catch (const Error& error) {
        EXPECT_EQ(error.number(), errc::kTypeMismatch);
    }
}

TEST_F(FormattingTest, AmountsAreWrittenWithAPoint) {
    EXPECT_EQ(sql::amount(*Currency::parse("1234.5")), "1234.5");
    EXPECT_EQ(sql::amount(*Currency::parse("-0.0001")), "-0.0001");
    EXPECT_EQ(sql::amount(Currency()), "0");
    EXPECT_EQ(sql::number(*Currency::parse("1234.5")), "1234.5");
    EXPECT_EQ(sql::number(*Currency::parse("-100")), "-100");
}

TEST_F(FormattingTest, FlagsDatesAndTextsAsTheLibraryWritesThem) {
    EXPECT_EQ(sql::flag(true), "1");
    EXPECT_EQ(sql::flag(false), "0");
    Date withTime = Date::ymd(2026, 3, 15).withTime(17, 30, 0);
    EXPECT_EQ(sql::date(Date::ymd(2026, 3, 15)), "15/03/2026");
    EXPECT_EQ(sql::date(withTime), "15/03/2026 17:30:00");
    EXPECT_EQ(sql::normalizeDate(withTime), Date::ymd(2026, 3, 15));
    EXPECT_EQ(sql::text("O'Brien"), "O'Brien");
    EXPECT_EQ(sql::cut(std::string(70, 'x'), 60), std::string(60, 'x'));
    EXPECT_EQ(sql::cut("corto", 60), "corto");
    EXPECT_EQ(sql::cut("año señal", 3), "año");  // characters, not bytes
    EXPECT_EQ(sql::cut("ñ", 0), "");
}

TEST_F(FormattingTest, CurrentUserIsTheNumberOfTheLeadingDigits) {
    SettableContext context;
    struct Case {
        Variant value;
        std::int32_t user;
    };
    const Case cases[] = {{Variant("7"), 7},    {Variant("12abc"), 12},        {Variant("abc"), 0},
                          {Variant(" 42"), 42}, {Variant(std::int16_t{5}), 5}, {Variant(), 0},
                          {Variant(""), 0}};
    for (std::size_t i = 0; i < std::size(cases); ++i) {
        context.values["UsuarioActual"] = cases[i].value;
        EXPECT_EQ(sql::currentUser(context), cases[i].user) << "case " << i;
    }
}

}  // namespace
}  // namespace kvlnmov
