// Values of every type: texts in and out, arrays, hints.
#include "host/values.h"
#include "tests/support/host_test.h"

#include "kz/command.h"
#include "kz/result.h"

#include <cmath>
#include <numbers>

namespace {

TEST(ValueTypeTest, TextsAreReadAndRefused) {
    struct Case {
        const char* type;
        const char* text;
        std::optional<double> number;
    };
    constexpr double pi = std::numbers::pi;
    const Case cases[] = {
        {"integer", "12", 12},       {"integer", " -3 ", -3},
        {"integer", "+7", 7},        {"integer", "0x10", 16},
        {"integer", "1.5", {}},      {"integer", "", {}},
        {"integer", "12a", {}},      {"integer", "99999999999", {}},
        {"boolean", "true", 1},      {"boolean", "off", 0},
        {"boolean", "True", 1},      {"boolean", "2", {}},
        {"float", "1.5", 1.5},       {"float", "-2e-3", -0.002},
        {"float", "x", {}},          {"float", "", {}},
        {"angle", "1", 1},           {"angle", "90deg", pi / 2},
        {"angle", "90 deg", pi / 2}, {"angle", "2rad", 2},
        {"angle", "90m", {}},        {"distance", "2", 2},
        {"distance", "20mm", 0.02},  {"distance", "1m", 1},
        {"distance", "1ft", 0.3048}, {"distance", "mm", {}},
        {"percent", "50%", 0.5},     {"percent", "0.25", 0.25},
        {"percent", "%", {}},        {"time", "40ms", 0.04},
        {"time", "2min", 120},       {"time", "1s", 1},
    };
    for (const Case& each : cases) {
        const auto cell = kzParseCell(*kzFindType(each.type), each.text);
        ASSERT_EQ(cell.has_value(), each.number.has_value()) << each.type << " " << each.text;
        if (cell) {
            EXPECT_NEAR(*kzNumberOf(*cell), *each.number, 1e-12) << each.type << " " << each.text;
        }
    }
    EXPECT_EQ(std::get<KzColor>(*kzParseCell(*kzFindType("color"), " 1 0.5  0 ")), (KzColor{1, 0.5, 0}));
    for (const char* bad : {"1 2", "1 2 3 4", "a b c", ""}) EXPECT_FALSE(kzParseCell(*kzFindType("color"), bad)) << bad;
}

TEST(ValueTypeTest, EveryTypeReadsItsOwnText) {
    for (const KzValueType& type : kzValueTypes()) {
        KzCell cell = kzEmptyCell(type);
        if (type.storage == KZiVALUE_TYPE_FLOAT) cell = 0.1 + 0.2;
        if (type.storage == KZiVALUE_TYPE_INTEGER) cell = 1;
        if (type.storage == KZiVALUE_TYPE_OBJECT) cell = KzColor{0.1, 1.0 / 3, 2};
        if (type.storage == KZiVALUE_TYPE_STRING) cell = std::string("two words");
        EXPECT_EQ(kzParseCell(type, kzFormatCell(type, cell)), cell) << type.name;
        EXPECT_TRUE(kzParseCell(type, kzFormatCell(type, cell, true))) << type.name << ": what people see can be typed";
    }
}

class ValueTest : public HostTest {
protected:
    CKzUser_ValueArray array(const char* type) {
        const ServiceOf<CKzUser_CommandService> commands(host().application());
        CKzLoc_Unknown made;
        EXPECT_EQ(commands->CreateQueryObject(type, made.out()), KZe_OK) << type;
        return CKzUser_ValueArray(made.raw());
    }
};

TEST_F(ValueTest, ArraysOfEveryTypeKeepTheirBounds) {
    for (const KzValueType& type : kzValueTypes()) {
        const auto values = array(type.name);
        std::uint32_t storage = 0;
        EXPECT_EQ(values->Type(&storage), KZe_OK);
        EXPECT_EQ(storage, type.storage);
        CKzLoc_Unknown empty;
        EXPECT_EQ(values->AddEmptyValue(empty.out()), KZe_OK);
        EXPECT_EQ(values->Count(), 1U);
        char text[8];
        double number = 0;
        std::int32_t integer = 0;
        EXPECT_EQ(values->GetString(1, text, sizeof text), KZe_OUTOFBOUNDS);
        EXPECT_EQ(values->GetFloat(1, &number), KZe_OUTOFBOUNDS);
        EXPECT_EQ(values->GetInt(1, &integer), KZe_OUTOFBOUNDS);
        EXPECT_EQ(values->Remove(1), KZe_OUTOFBOUNDS);
        EXPECT_EQ(values->Remove(0), KZe_OK);
        EXPECT_EQ(values->Count(), 0U);
    }
    CKzLoc_Unknown none;
    EXPECT_EQ(ServiceOf<CKzUser_CommandService>(host().application())->CreateQueryObject("nothing", none.out()),
              KZe_NOTFOUND);
}

TEST_F(ValueTest, ArraysSortAndFind) {
    const auto values = array("integer");
    for (const int value : {3, 1, 2}) values->AddInt(value);
    EXPECT_EQ(values->AddString("four"), KZe_INVALIDARG);
    EXPECT_EQ(values->AddFloat(1e300), KZe_INVALIDARG);
    EXPECT_EQ(values->Sort(1), KZe_OK);
    std::uint32_t index = 9;
    EXPECT_EQ(values->Lookup("1", &index), KZe_OK);
    EXPECT_EQ(index, 2U);
    EXPECT_EQ(values->Lookup("8", &index), KZe_NOTFOUND);
}

TEST_F(ValueTest, HintsNameIntegers) {
    const ServiceOf<CKzUser_ValueService> service(host().application());
    constexpr KzTextValueHint hints[] = {{0, "none"}, {1, "linear"}, {7, "smooth"}, {0, nullptr}};
    char text[16] = "old";
    EXPECT_EQ(service->TextHintEncode(7, hints, text, sizeof text), KZe_OK);
    EXPECT_STREQ(text, "smooth");
    EXPECT_EQ(service->TextHintEncode(5, hints, text, sizeof text), KZe_OK_NO_CHOICES);
    EXPECT_STREQ(text, "");
    EXPECT_EQ(service->TextHintEncode(5, nullptr, text, sizeof text), KZe_OK_NO_CHOICES);
    const std::tuple<const char*, KzResult, int> cases[] = {
        {"linear", KZe_OK, 1},   {"Linear", KZe_OK_INEXACT_MATCH, 1}, {"7", KZe_OK_INEXACT_MATCH, 7},
        {"5", KZe_NOTFOUND, -1}, {"lin", KZe_NOTFOUND, -1},           {"", KZe_NOTFOUND, -1}};
    for (const auto& [word, code, expected] : cases) {
        std::int32_t value = -1;
        EXPECT_EQ(service->TextHintDecode(word, hints, &value), code) << word;
        EXPECT_EQ(value, expected) << word;
    }
}

TEST_F(ValueTest, ValuesConvertWithoutLosingAnything) {
    const ServiceOf<CKzUser_ValueService> service(host().application());
    CKzLoc_Unknown from;
    CKzLoc_Unknown to;
    ASSERT_EQ(service->CreateValue("float", from.out()), KZe_OK);
    ASSERT_EQ(service->CreateValue("string", to.out()), KZe_OK);
    CKzUser_Value(from.raw()).SetFlt(0.1 + 0.2);
    EXPECT_EQ(service->Convert(from.raw(), to.raw()), KZe_OK);
    EXPECT_EQ(service->Convert(to.raw(), from.raw()), KZe_OK);
    double number = 0;
    CKzUser_Value(from.raw()).GetFlt(&number);
    EXPECT_EQ(number, 0.1 + 0.2);
    EXPECT_EQ(service->Convert(nullptr, to.raw()), KZe_INVALIDARG);
    EXPECT_EQ(CKzUser_Value(from.raw()).SetString("no number"), KZe_INVALIDARG);
}

}  // namespace
