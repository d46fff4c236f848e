#include "kvlnmov/frame/variant.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <vector>

#include "kvlnmov/frame/error.h"

namespace kvlnmov {
namespace {

class Thing : public Object {
  public:
    std::string className() const override { return "Thing"; }
};

/// Conversions read texts with the library-wide settings; every test starts from the default
/// (Spanish) ones and leaves them as it found them.
class VariantTest : public ::testing::Test {
  protected:
    void SetUp() override {
        saved_ = regional();
        setRegional(Regional{});
    }
    void TearDown() override { setRegional(saved_); }

  private:
    Regional saved_;
};

Variant currency(std::int64_t raw) { return Currency::fromRaw(raw); }
Variant i16(int value) { return static_cast<std::int16_t>(value); }
Variant i32(int value) { return static_cast<std::int32_t>(value); }
Variant u8(int value) { return static_cast<std::uint8_t>(value); }

using Conversion = std::function<void(const Variant&)>;

const std::vector<std::pair<const char*, Conversion>>& allConversions() {
    static const std::vector<std::pair<const char*, Conversion>> conversions = {
        {"CBool", [](const Variant& v) { v.toBoolean(); }},
        {"CByte", [](const Variant& v) { v.toByte(); }},
        {"CInt", [](const Variant& v) { v.toInteger(); }},
        {"CLng", [](const Variant& v) { v.toLong(); }},
        {"CCur", [](const Variant& v) { v.toCurrency(); }},
        {"CDbl", [](const Variant& v) { v.toDouble(); }},
        {"CDate", [](const Variant& v) { v.toDate(); }},
        {"CStr", [](const Variant& v) { v.toText(); }},
    };
    return conversions;
}

std::int32_t errorNumber(const std::function<void()>& action) {
    try {
        action();
    } catch (const Error& error) {
        return error.number();
    }
    return 0;
}

TEST_F(VariantTest, TypeNames) {
    const std::pair<Variant, const char*> cases[] = {
        {Variant(), "Empty"},
        {Variant::null(), "Null"},
        {Variant(true), "Boolean"},
        {u8(1), "Byte"},
        {i16(1), "Integer"},
        {i32(1), "Long"},
        {currency(1), "Currency"},
        {Variant(1.5), "Double"},
        {Variant(Date()), "Date"},
        {Variant("x"), "String"},
        {Variant(std::make_shared<Thing>()), "Object"},
    };
    for (const auto& [value, name] : cases) {
        EXPECT_EQ(typeName(value.type()), name);
    }
    EXPECT_TRUE(Variant(true).isNumeric());
    EXPECT_TRUE(currency(1).isNumeric());
    EXPECT_FALSE(Variant("1").isNumeric());
    EXPECT_FALSE(Variant(Date()).isNumeric());
    EXPECT_FALSE(Variant().isNumeric());
}

TEST_F(VariantTest, NullAndObjectsDoNotConvert) {
    Variant object(std::make_shared<Thing>());
    for (const auto& [name, convert] : allConversions()) {
        EXPECT_EQ(errorNumber([&] { convert(Variant::null()); }), errc::kInvalidUseOfNull) << name;
        EXPECT_EQ(errorNumber([&] { convert(object); }), errc::kTypeMismatch) << name;
    }
    EXPECT_EQ(errorNumber([] { Variant(3).toObject(); }), errc::kTypeMismatch);
    EXPECT_EQ(errorNumber([] { Variant::null().toObject(); }), errc::kTypeMismatch);
    auto thing = std::make_shared<Thing>();
    EXPECT_EQ(Variant(thing).toObject(), thing);
    EXPECT_EQ(Variant(ObjectRef()).toObject(), nullptr);
}

TEST_F(VariantTest, EmptyConvertsToTheZeroOfEachType) {
    Variant empty;
    EXPECT_FALSE(empty.toBoolean());
    EXPECT_EQ(empty.toByte(), 0);
    EXPECT_EQ(empty.toInteger(), 0);
    EXPECT_EQ(empty.toLong(), 0);
    EXPECT_EQ(empty.toCurrency(), Currency());
    EXPECT_EQ(empty.toDouble(), 0.0);
    EXPECT_EQ(empty.toDate(), Date());
    EXPECT_EQ(empty.toText(), "");
}

TEST_F(VariantTest, TextsThatAreNotNumbersMismatch) {
    for (const char* text : {"abc", "", "  ", "1,2,3", "12abc", "1e", "&H", "&HXYZ", "--1"}) {
        for (const auto& [name, convert] : allConversions()) {
            if (std::string_view(name) == "CStr") continue;
            EXPECT_EQ(errorNumber([&] { convert(Variant(text)); }), errc::kTypeMismatch)
                << name << "(\"" << text << "\")";
        }
    }
    // Numbers are not dates when written as text.
    EXPECT_EQ(errorNumber([] { Variant("46096").toDate(); }), errc::kTypeMismatch);
    EXPECT_EQ(errorNumber([] { Variant("31/02/2026").toDate(); }), errc::kTypeMismatch);
}

TEST_F(VariantTest, Booleans) {
    const std::pair<Variant, bool> cases[] = {
        {Variant(true), true},
        {Variant(false), false},
        {i16(0), false},
        {i32(-3), true},
        {u8(1), true},
        {Variant(0.0), false},
        {Variant(0.25), true},
        {currency(1), true},
        {currency(0), false},
        {Variant("true"), true},
        {Variant("FALSE"), false},
        {Variant(" True "), true},
        {Variant("0"), false},
        {Variant("2,5"), true},
        {Variant("-0,0"), false},
        {Variant(Date()), false},
        {Variant(Date::fromSerial(0, 1000)), true},
        {Variant(Date::fromSerial(2)), true},
    };
    for (const auto& [value, expected] : cases) {
        EXPECT_EQ(value.toBoolean(), expected) << value.toText();
    }
}

TEST_F(VariantTest, WholeNumbersRoundHalvesToEven) {
    struct Case {
        Variant value;
        std::int32_t expected;
    };
    const Case cases[] = {
        {Variant(2.5), 2},           {Variant(3.5), 4},
        {Variant(-2.5), -2},         {Variant(-3.5), -4},
        {Variant(0.5), 0},           {Variant(1.5), 2},
        {Variant(2.4999), 2},        {Variant(-0.4), 0},
        {currency(25000), 2},        {currency(35000), 4},
        {currency(-25000), -2},      {currency(-35001), -4},
        {currency(15001), 2},        {Variant(true), -1},
        {Variant(false), 0},         {u8(200), 200},
        {i16(-300), -300},           {Variant("1.234,5"), 1234},
        {Variant(" 12 "), 12},       {Variant("-7"), -7},
        {Variant("+3,5"), 4},        {Variant("1.5"), 15},
        {Variant("&HFF"), 255},      {Variant("&hff"), 255},
        {Variant("&HFFFFFFFF"), -1}, {Variant("1E3"), 1000},
        {Variant("2,5e1"), 25},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(c.value.toLong(), c.expected) << c.value.toText();
        EXPECT_EQ(c.value.toInteger(), c.expected) << c.value.toText();
    }
    EXPECT_EQ(Variant(Date::fromDouble(46096.5)).toLong(), 46096);
    EXPECT_EQ(Variant(Date::fromDouble(46096.75)).toLong(), 46097);
    EXPECT_EQ(Variant(254.5).toByte(), 254);
    EXPECT_EQ(Variant(-0.5).toByte(), 0);
    EXPECT_EQ(Variant(32766.5).toInteger(), 32766);
    EXPECT_EQ(Variant(-32768.5).toInteger(), -32768);
    EXPECT_EQ(Variant(2147483646.5).toLong(), 2147483646);
    EXPECT_EQ(Variant(i32(-2147483647 - 1)).toLong(), -2147483647 - 1);
}

TEST_F(VariantTest, OutOfRangeOverflows) {
    const std::pair<const char*, std::function<void()>> cases[] = {
        {"CByte(256)", [] { i16(256).toByte(); }},
        {"CByte(-1)", [] { i16(-1).toByte(); }},
        {"CByte(255.5)", [] { Variant(255.5).toByte(); }},
        {"CByte(True)", [] { Variant(true).toByte(); }},
        {"CInt(32767.5)", [] { Variant(32767.5).toInteger(); }},
        {"CInt(40000&)", [] { i32(40000).toInteger(); }},
        {"CInt(\"40000\")", [] { Variant("40000").toInteger(); }},
        {"CInt(-32769)", [] { Variant(-32769.0).toInteger(); }},
        {"CLng(2147483647.5)", [] { Variant(2147483647.5).toLong(); }},
        {"CLng(1e10 currency)", [] { currency(100000000000000).toLong(); }},
        {"CLng(&H1FFFFFFFF)", [] { Variant("&H1FFFFFFFF").toLong(); }},
        {"CLng(1E300)", [] { Variant(1e300).toLong(); }},
        {"CCur(1E20)", [] { Variant(1e20).toCurrency(); }},
        {"CCur(\"1E20\")", [] { Variant("1E20").toCurrency(); }},
        {"CCur(\"999999999999999999\")", [] { Variant("999999999999999999").toCurrency(); }},
        {"CDbl(\"1E400\")", [] { Variant("1E400").toDouble(); }},
        {"CDate(3000000)", [] { i32(3000000).toDate(); }},
        {"CDate(-1e6)", [] { Variant(-1e6).toDate(); }},
    };
    for (const auto& [name, action] : cases) {
        EXPECT_EQ(errorNumber(action), errc::kOverflow) << name;
    }
}

TEST_F(VariantTest, CurrencyConversionsAreExact) {
    const std::pair<Variant, std::int64_t> cases[] = {
        {Variant("1.234,5678"), 12345678},
        {Variant("0,00015"), 2},
        {Variant("0,00005"), 0},
        {Variant(" -12,5 "), -125000},
        {Variant("922.337.203.685.477,5807"), 9223372036854775807},
        {Variant("1E3"), 10000000},
        {Variant("&H10"), 160000},
        {Variant(0.1), 1000},
        {Variant(0.00015), 2},
        {i16(7), 70000},
        {i32(-2147483647 - 1), -21474836480000},
        {u8(255), 2550000},
        {Variant(true), -10000},
        {Variant(Date::fromDouble(2.5)), 25000},
        {currency(-12345), -12345},
    };
    for (const auto& [value, raw] : cases) {
        EXPECT_EQ(value.toCurrency().raw(), raw) << value.toText();
    }
}

TEST_F(VariantTest, Doubles) {
    const std::pair<Variant, double> cases[] = {
        {Variant("1.234,5"), 1234.5},  {Variant("1E+20"), 1e20},
        {Variant("-2,5e-3"), -0.0025}, {Variant("1e-400"), 0.0},
        {currency(12345), 1.2345},     {Variant(Date::fromDouble(-1.25)), -1.25},
        {Variant(true), -1.0},         {i16(-5), -5.0},
        {Variant("&HFFFF"), 65535.0},
    };
    for (const auto& [value, expected] : cases) {
        EXPECT_EQ(value.toDouble(), expected) << value.toText();
    }
}

TEST_F(VariantTest, Dates) {
    const std::pair<Variant, const char*> cases[] = {
        {Variant("15/03/2026"), "2026-03-15"},
        {Variant(" 5/3/26 17:30 "), "2026-03-05 17:30:00"},
        {Variant("2026-03-15 17:30:00"), "2026-03-15 17:30:00"},
        {Variant("2026-03-15"), "2026-03-15"},
        {Variant(46096.75), "2026-03-15 18:00:00"},
        {i32(2), "1900-01-01"},
        {currency(-12500), "1899-12-29 06:00:00"},
        {Variant(true), "1899-12-29"},
        {Variant(Date::ymd(2026, 3, 15)), "2026-03-15"},
    };
    for (const auto& [value, iso] : cases) {
        EXPECT_EQ(value.toDate().toIso(), iso) << value.toText();
    }
}

TEST_F(VariantTest, TextsInTheRegionalForm) {
    const std::pair<Variant, const char*> cases[] = {
        {Variant(true), "True"},
        {Variant(false), "False"},
        {u8(255), "255"},
        {i16(-5), "-5"},
        {i32(123456), "123456"},
        {currency(-12345000), "-1234,5"},
        {currency(1), "0,0001"},
        {Variant(0.1 + 0.2), "0,3"},
        {Variant(-1.5), "-1,5"},
        {Variant(100.0), "100"},
        {Variant(1.0 / 3), "0,333333333333333"},
        {Variant(2.0 / 3), "0,666666666666667"},
        {Variant(123456789012345.0), "123456789012345"},
        {Variant(1234567890123456.0), "1,23456789012346E+15"},
        {Variant(1e20), "1E+20"},
        {Variant(0.0001), "0,0001"},
        {Variant(0.00001), "1E-05"},
        {Variant(-0.0), "0"},
        {Variant(Date::ymd(2026, 3, 15)), "15/03/2026"},
        {Variant(Date::ymd(2026, 3, 15).withTime(17, 30, 0)), "15/03/2026 17:30:00"},
        {Variant("as is "), "as is "},
    };
    for (const auto& [value, text] : cases) {
        EXPECT_EQ(value.toText(), text);
    }
}

TEST_F(VariantTest, OtherRegionalSettings) {
    setRegional(Regional{"mm/dd/yyyy", '.', ','});
    EXPECT_EQ(Variant(1234.5).toText(), "1234.5");
    EXPECT_EQ(currency(12345000).toText(), "1234.5");
    EXPECT_EQ(Variant("1,234.5").toDouble(), 1234.5);
    EXPECT_EQ(Variant("1,234.5").toCurrency().raw(), 12345000);
    EXPECT_EQ(Variant("1.5").toInteger(), 2);
    EXPECT_EQ(Variant("03/15/2026").toDate(), Date::ymd(2026, 3, 15));
    EXPECT_EQ(Variant(Date::ymd(2026, 3, 5)).toText(), "03/05/2026");
    EXPECT_EQ(errorNumber([] { Variant("15/03/2026").toDate(); }), errc::kTypeMismatch);
}

}  // namespace
}  // namespace kvlnmov
