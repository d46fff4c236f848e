#include "kvlnmov/frame/currency.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <functional>
#include <limits>

#include "kvlnmov/frame/error.h"

namespace kvlnmov {
namespace {

constexpr std::int64_t kMaxRaw = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t kMinRaw = std::numeric_limits<std::int64_t>::min();

void expectOverflow(const std::function<void()>& action) {
    try {
        action();
        ADD_FAILURE() << "expected Overflow";
    } catch (const Error& error) {
        EXPECT_EQ(error.number(), errc::kOverflow);
        EXPECT_EQ(error.description(), "Overflow");
    }
}

struct ParseCase {
    const char* text;
    char separator;
    std::int64_t raw;
    const char* canonical;  // toString of the parsed amount
};

TEST(CurrencyParse, ReadsExactDigitsAndWritesTheShortestText) {
    const ParseCase cases[] = {
        {"100", '.', 1000000, "100"},
        {"-1234.5", '.', -12345000, "-1234.5"},
        {"+0.0001", '.', 1, "0.0001"},
        {".5", '.', 5000, "0.5"},
        {"-0.5", '.', -5000, "-0.5"},
        {"1234,56", ',', 12345600, "1234.56"},
        {"0", '.', 0, "0"},
        {"-0", '.', 0, "0"},
        {"007.2500", '.', 72500, "7.25"},
        {"922337203685477.5807", '.', kMaxRaw, "922337203685477.5807"},
        {"-922337203685477.5808", '.', kMinRaw, "-922337203685477.5808"},
        // More than four decimals: halves to even on the fourth.
        {"0.00005", '.', 0, "0"},
        {"0.00015", '.', 2, "0.0002"},
        {"0.00025", '.', 2, "0.0002"},
        {"0.000250001", '.', 3, "0.0003"},
        {"-0.00015", '.', -2, "-0.0002"},
        {"1.23456", '.', 12346, "1.2346"},
        {"1.99999", '.', 20000, "2"},
    };
    for (const auto& c : cases) {
        auto amount = Currency::parse(c.text, c.separator);
        ASSERT_TRUE(amount.has_value()) << c.text;
        EXPECT_EQ(amount->raw(), c.raw) << c.text;
        EXPECT_EQ(amount->toString(), c.canonical) << c.text;
        EXPECT_EQ(Currency::parse(amount->toString()), amount) << "round trip of " << c.text;
    }
}

TEST(CurrencyParse, RejectsAnythingButPlainDigits) {
    const std::pair<const char*, char> cases[] = {
        {"", '.'},
        {" 1", '.'},
        {"1 ", '.'},
        {"1e3", '.'},
        {"1.000,5", ','},
        {"1,5", '.'},
        {"-", '.'},
        {".", '.'},
        {"abc", '.'},
        {"1.2.3", '.'},
        {"--1", '.'},
        {"1-", '.'},
        {"922337203685477.5808", '.'},
        {"-922337203685477.58086", '.'},
        {"99999999999999999999", '.'},
    };
    for (const auto& [text, separator] : cases) {
        EXPECT_FALSE(Currency::parse(text, separator).has_value()) << '"' << text << '"';
    }
}

TEST(CurrencyText, UsesTheRegionalDecimalSeparator) {
    Regional spanish;
    Regional english{"mm/dd/yyyy", '.', ','};
    EXPECT_EQ(Currency::fromRaw(-12345000).toText(spanish), "-1234,5");
    EXPECT_EQ(Currency::fromRaw(12345678900).toText(spanish), "1234567,89");
    EXPECT_EQ(Currency::fromRaw(12345000).toText(english), "1234.5");
    EXPECT_EQ(Currency::fromUnits(100).toText(spanish), "100");
}

TEST(CurrencyFromDouble, RoundsToTheNearestTenThousandthHalvesToEven) {
    const std::pair<double, std::int64_t> cases[] = {
        {0.1, 1000},
        {0.3, 3000},
        {1.0 / 3, 3333},
        {2.0 / 3, 6667},
        {0.00005, 0},
        {0.00015, 2},
        {0.00025, 2},
        {0.00035, 4},
        {-0.00015, -2},
        {2.5, 25000},
        {1234.56789, 12345679},
        {-1234.5, -12345000},
        {1e-300, 0},
        {0.0, 0},
        {922337203685477.0, 9223372036854770000},
        {123456789.1234, 1234567891234},
    };
    for (const auto& [value, raw] : cases) {
        EXPECT_EQ(Currency::fromDouble(value).raw(), raw) << value;
    }
}

TEST(CurrencyFromDouble, OverflowsOutsideTheRangeAndForNonNumbers) {
    for (double value : {1e15, -1e15, 922337203685478.0, 1e300, std::nan(""), HUGE_VAL}) {
        expectOverflow([&] { Currency::fromDouble(value); });
    }
}

TEST(CurrencyArithmetic, AddingATenthAMillionTimesIsExact) {
    Currency tenth = Currency::fromDouble(0.1);
    Currency sum;
    for (int i = 0; i < 1000000; ++i) sum += tenth;
    EXPECT_EQ(sum, Currency::fromUnits(100000));
    EXPECT_EQ(sum.toString(), "100000");
    for (int i = 0; i < 999999; ++i) sum -= tenth;
    EXPECT_EQ(sum, tenth);
}

TEST(CurrencyArithmetic, OperationsAndComparisons) {
    Currency a = Currency::fromRaw(15000);  // 1.5
    Currency b = Currency::fromRaw(-2500);  // -0.25
    EXPECT_EQ((a + b).raw(), 12500);
    EXPECT_EQ((a - b).raw(), 17500);
    EXPECT_EQ((b * 3).raw(), -7500);
    EXPECT_EQ((-a).raw(), -15000);
    EXPECT_EQ(b.abs().raw(), 2500);
    EXPECT_LT(b, a);
    EXPECT_GT(a, Currency::fromUnits(1));
    EXPECT_TRUE(Currency().isZero());
    EXPECT_EQ(a.toDouble(), 1.5);
    EXPECT_EQ(Currency::fromRaw(12345).toDouble(), 1.2345);
    EXPECT_EQ(Currency::fromRaw(kMaxRaw).toDouble(), 922337203685477.5807);
}

TEST(CurrencyArithmetic, LeavingTheRangeOverflows) {
    Currency max = Currency::fromRaw(kMaxRaw);
    Currency min = Currency::fromRaw(kMinRaw);
    Currency tiny = Currency::fromRaw(1);
    expectOverflow([&] { (void)(max + tiny); });
    expectOverflow([&] { (void)(min - tiny); });
    expectOverflow([&] { max += tiny; });
    expectOverflow([&] { (void)-min; });
    expectOverflow([&] { (void)min.abs(); });
    expectOverflow([&] { (void)(max * 2); });
    expectOverflow([&] { (void)(min * -1); });
    expectOverflow([&] { Currency::fromUnits(922337203685478); });
    expectOverflow([&] { Currency::fromUnits(-922337203685478); });
    EXPECT_EQ(Currency::fromUnits(922337203685477).raw(), 9223372036854770000);
    EXPECT_EQ((max - max + min).raw(), kMinRaw);
    EXPECT_EQ(max, Currency::fromRaw(kMaxRaw)) << "a failed += leaves the amount unchanged";
}

}  // namespace
}  // namespace kvlnmov
