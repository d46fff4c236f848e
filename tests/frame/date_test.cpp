#include "kvlnmov/frame/date.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>

#include "kvlnmov/frame/error.h"

namespace kvlnmov {
namespace {

void expectError(std::int32_t number, const std::function<void()>& action) {
    try {
        action();
        ADD_FAILURE() << "expected error " << number;
    } catch (const Error& error) {
        EXPECT_EQ(error.number(), number);
    }
}

struct DayCase {
    int year, month, day;
    std::int32_t serial;
    const char* iso;
};

TEST(DateSerial, CountsDaysFromTheZeroDate) {
    const DayCase cases[] = {
        {1899, 12, 30, 0, "1899-12-30"},       {1899, 12, 29, -1, "1899-12-29"},
        {1900, 1, 1, 2, "1900-01-01"},         {1900, 3, 1, 61, "1900-03-01"},
        {2000, 2, 29, 36585, "2000-02-29"},    {2024, 2, 29, 45351, "2024-02-29"},
        {2024, 3, 1, 45352, "2024-03-01"},     {2024, 12, 31, 45657, "2024-12-31"},
        {2025, 1, 1, 45658, "2025-01-01"},     {2026, 2, 28, 46081, "2026-02-28"},
        {2026, 3, 1, 46082, "2026-03-01"},     {2026, 3, 15, 46096, "2026-03-15"},
        {1600, 2, 29, -109512, "1600-02-29"},  {100, 1, 1, -657434, "0100-01-01"},
        {9999, 12, 31, 2958465, "9999-12-31"},
    };
    for (const auto& c : cases) {
        Date date = Date::ymd(c.year, c.month, c.day);
        EXPECT_EQ(date.serial(), c.serial) << c.iso;
        EXPECT_EQ(date.toIso(), c.iso);
        Date back = Date::fromSerial(c.serial);
        EXPECT_EQ(back.year(), c.year) << c.iso;
        EXPECT_EQ(back.month(), c.month) << c.iso;
        EXPECT_EQ(back.day(), c.day) << c.iso;
        EXPECT_EQ(Date::parseIso(c.iso), date);
    }
}

TEST(DateSerial, RejectsInvalidDays) {
    const int cases[][3] = {{2026, 2, 29}, {2024, 2, 30},  {1900, 2, 29}, {2100, 2, 29},
                            {2026, 4, 31}, {2026, 13, 1},  {2026, 0, 1},  {2026, 1, 0},
                            {2026, 1, 32}, {2026, 1, 257}, {0, 1, 1},     {99, 12, 31},
                            {10000, 1, 1}};
    for (const auto& c : cases) {
        EXPECT_FALSE(Date::fromYmd(c[0], c[1], c[2]).has_value())
            << c[0] << '-' << c[1] << '-' << c[2];
        expectError(errc::kInvalidProcedureCall, [&] { Date::ymd(c[0], c[1], c[2]); });
    }
    expectError(errc::kOverflow, [] { Date::fromSerial(2958466); });
    expectError(errc::kOverflow, [] { Date::fromSerial(-657435); });
    expectError(errc::kInvalidProcedureCall, [] { Date().withTime(24, 0, 0); });
    expectError(errc::kInvalidProcedureCall, [] { Date().withTime(0, 60, 0); });
}

TEST(DateSerial, CrossesMonthAndYearBoundaries) {
    Date lastOfYear = Date::ymd(2025, 12, 31);
    EXPECT_EQ(Date::fromSerial(lastOfYear.serial() + 1), Date::ymd(2026, 1, 1));
    EXPECT_EQ(Date::fromSerial(Date::ymd(2024, 2, 28).serial() + 1).toIso(), "2024-02-29");
    EXPECT_EQ(Date::fromSerial(Date::ymd(2026, 2, 28).serial() + 1).toIso(), "2026-03-01");
    EXPECT_EQ(Date::fromSerial(Date::ymd(2026, 4, 30).serial() + 1).toIso(), "2026-05-01");
    // A time of day past midnight carries into the next day.
    EXPECT_EQ(Date::fromSerial(46096, 86400000 + 1000).toIso(), "2026-03-16 00:00:01");
}

TEST(DateDouble, FractionIsTheTimeOfDayOnBothSidesOfZero) {
    struct Case {
        double value;
        const char* iso;
    };
    const Case cases[] = {
        {46096.75, "2026-03-15 18:00:00"},
        {2.5, "1900-01-01 12:00:00"},
        {-1.25, "1899-12-29 06:00:00"},
        {-2.5, "1899-12-28 12:00:00"},
        {0.0, "1899-12-30"},
        {-1.0, "1899-12-29"},
        {1.99999999999, "1900-01-01"},
        {-1.99999999999, "1899-12-28"},
        {46096.729166666664, "2026-03-15 17:30:00"},
    };
    for (const auto& c : cases) {
        Date date = Date::fromDouble(c.value);
        EXPECT_EQ(date.toIso(), c.iso) << c.value;
    }
    for (double value : {46096.75, 2.5, -1.25, -2.5, 0.0, -657434.0, 2958465.5}) {
        EXPECT_EQ(Date::fromDouble(value).toDouble(), value);
    }
    // Before the first day and after the last: Overflow.
    for (double value : {2958466.0, -657435.0, 1e12, std::nan("")}) {
        expectError(errc::kOverflow, [&] { Date::fromDouble(value); });
    }
}

TEST(DateText, IsoFormsWithAndWithoutTime) {
    Date day = Date::ymd(2026, 3, 15);
    EXPECT_EQ(day.toIso(), "2026-03-15");
    EXPECT_EQ(day.withTime(17, 30, 0).toIso(), "2026-03-15 17:30:00");
    EXPECT_EQ(day.withTime(17, 30, 0, 123).toIso(), "2026-03-15 17:30:00.123");
    EXPECT_EQ(day.withTime(0, 0, 0, 5).toIso(), "2026-03-15 00:00:00.005");

    const std::pair<const char*, const char*> valid[] = {
        {"2026-03-15T17:30:00", "2026-03-15 17:30:00"},
        {"2026-03-15 17:30", "2026-03-15 17:30:00"},
        {"2026-03-15 17:30:00.123", "2026-03-15 17:30:00.123"},
        {"2026-03-15 17:30:00.5", "2026-03-15 17:30:00.500"},
        {"2026-03-15 00:00:00", "2026-03-15"},
    };
    for (const auto& [text, iso] : valid) {
        auto date = Date::parseIso(text);
        ASSERT_TRUE(date.has_value()) << text;
        EXPECT_EQ(date->toIso(), iso);
    }
    for (const char* text : {"2026-3-15", "2026-02-30", "2026-03-15 24:00", "2026-03-15x",
                             " 2026-03-15", "2026-03-15 17:3", "15/03/2026", ""}) {
        EXPECT_FALSE(Date::parseIso(text).has_value()) << text;
    }
}

TEST(DateText, ShortDateFollowsThePattern) {
    Date day = Date::ymd(2026, 3, 5);
    const std::pair<const char*, const char*> cases[] = {
        {"dd/mm/yyyy", "05/03/2026"}, {"d/m/yyyy", "5/3/2026"}, {"mm/dd/yyyy", "03/05/2026"},
        {"yyyy-mm-dd", "2026-03-05"}, {"dd/mm/yy", "05/03/26"}, {"dd.MM.yyyy", "05.03.2026"},
    };
    for (const auto& [pattern, text] : cases) {
        Regional settings{pattern, ',', '.'};
        EXPECT_EQ(day.toShortDate(settings), text) << pattern;
        EXPECT_EQ(day.toText(settings), text) << pattern;
        EXPECT_EQ(day.withTime(17, 30, 0, 250).toText(settings), std::string(text) + " 17:30:00");
        EXPECT_EQ(Date::parseRegional(text, settings), day) << pattern;
    }
    Regional spanish;
    EXPECT_EQ(Date::ymd(2026, 12, 25).withTime(9, 5, 7).toText(spanish), "25/12/2026 09:05:07");
    EXPECT_EQ(Date::ymd(100, 1, 1).toText(spanish), "01/01/0100");
}

TEST(DateText, ParsesTheRegionalShortForm) {
    Regional spanish;
    struct Case {
        const char* text;
        const char* iso;
    };
    const Case cases[] = {
        {"15/03/2026", "2026-03-15"},
        {"5/3/2026", "2026-03-05"},
        {"  05/03/26  ", "2026-03-05"},
        {"1/1/29", "2029-01-01"},
        {"1/1/30", "1930-01-01"},
        {"31/12/99", "1999-12-31"},
        {"1/1/00", "2000-01-01"},
        {"29/02/2024", "2024-02-29"},
        {"15/03/2026 17:30", "2026-03-15 17:30:00"},
        {"15/03/2026 7:05:09", "2026-03-15 07:05:09"},
        {"15/03/2026  17:30:00.123 ", "2026-03-15 17:30:00.123"},
        {"15/03/2026 0:00", "2026-03-15"},
    };
    for (const auto& c : cases) {
        auto date = Date::parseRegional(c.text, spanish);
        ASSERT_TRUE(date.has_value()) << c.text;
        EXPECT_EQ(date->toIso(), c.iso) << c.text;
    }
    for (const char* text :
         {"31/02/2026", "29/02/2026", "15/13/2026", "0/1/2026", "15-03-2026", "15/03/202",
          "15/03/20261", "15/03", "", "   ", "15/03/2026x", "15/03/2026 17", "15/03/2026 25:00",
          "15/03/2026 17:60", "15/03/2026 17:30:00.1234", "2026-03-15", "15/03/2026T17:30"}) {
        EXPECT_FALSE(Date::parseRegional(text, spanish).has_value()) << '"' << text << '"';
    }
    Regional american{"mm/dd/yyyy", '.', ','};
    EXPECT_EQ(Date::parseRegional("03/15/2026", american), Date::ymd(2026, 3, 15));
    EXPECT_FALSE(Date::parseRegional("15/03/2026", american).has_value());
}

TEST(DateClock, NowIsALocalDateWithinTheRange) {
    Date today = Date::today();
    Date now = Date::now();
    EXPECT_FALSE(today.hasTime());
    // The day may have turned between the two calls.
    EXPECT_TRUE(now.serial() == today.serial() || now.serial() == today.serial() + 1);
    EXPECT_GE(now.year(), 2024);
    EXPECT_EQ(Date::parseIso(now.toIso()), now);
}

}  // namespace
}  // namespace kvlnmov
