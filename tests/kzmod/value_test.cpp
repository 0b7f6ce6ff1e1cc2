// The answers of queries as Python objects: types, shapes, hints, angles and failures.
#include "scripted_host.h"

namespace {

auto array(std::uint32_t type, const char* typeName, std::vector<double> numbers, std::vector<std::string> texts = {}) {
    return [=](FakeScript& script) {
        script.valueType = type;
        script.valueTypeName = typeName;
        script.numbers = numbers;
        script.texts = texts;
    };
}
auto integers(std::vector<double> numbers) { return array(KZiVALUE_TYPE_INTEGER, "integer", std::move(numbers)); }
auto strings(std::vector<std::string> texts) { return array(KZiVALUE_TYPE_STRING, "string", {}, std::move(texts)); }

// Another setting on top.
template <class SetUp, class More> auto with(SetUp setUp, More more) {
    return [=](FakeScript& script) {
        setUp(script);
        more(script);
    };
}
auto badAt(std::uint32_t index) {
    return [=](FakeScript& script) { script.badElement = index; };
}
void hinted(FakeScript& script) { script.hasHints = true; }

}  // namespace

class ValuesTest : public PythonTest {};

TEST_F(ValuesTest, TakeTheShapeAskedFor) {
    check({
        {"[kz.eval('q ?'), kz.eval1('q ?'), kz.evalN('q ?')]", integers({}), "[None, None, ()]"},
        {"[kz.eval('q ?'), kz.eval1('q ?'), kz.evalN('q ?')]", integers({-5}), "[-5, -5, (-5,)]"},
        {"[kz.eval('q ?'), kz.eval1('q ?'), kz.evalN('q ?')]", integers({1, 2}), "[(1, 2), 1, (1, 2)]"},
        {"kz.eval('q ?')", array(KZiVALUE_TYPE_FLOAT, "float", {0.5, 2}), "(0.5, 2.0)"},
        {"kz.eval('q ?')", strings({"a", ""}), "('a', '')"},
        {"kz.eval('q ?')", array(KZiVALUE_TYPE_OBJECT, "whatever", {}, {"as text"}), "'as text'"},
        {"len(kz.eval('q ?'))", strings({std::string(100000, 'x')}), "100000"},
        {"kz.eval1('q ?')", with(integers({1, 2}), badAt(1)), "1"},  // the second is never read
    });
}

TEST_F(ValuesTest, HintsGiveIntegersTheirTexts) {
    check({{"kz.eval('q ?')", with(integers({1, 3, 2}), hinted), "('one', 3, 'two')"},
           {"kz.eval('q ?')", with(with(integers({1}), hinted), fails("Hints")), "1"},
           {"kz.eval('q ?')", with(with(integers({1}), hinted), fails("Value.TextHintEncode")), "None"},
           {"kz.eval('q ?')", with(array(KZiVALUE_TYPE_FLOAT, "float", {1}), hinted), "1.0"}});
}

TEST_F(ValuesTest, AnglesAreScaledByTheFixedFactor) {
    const auto quarter = array(KZiVALUE_TYPE_FLOAT, "angle", {1.5707963267948966});
    const char* inDegrees = "kz.setOption('queryAnglesAs', 'degrees') or kz.eval('q ?')";
    check({{"kz.eval('q ?')", quarter, "1.5707963267948966"},
           {inDegrees, quarter, "90.0000015352345"},
           {inDegrees, array(KZiVALUE_TYPE_FLOAT, "Angle", {1.0}), "1.0"},
           {inDegrees, array(KZiVALUE_TYPE_INTEGER, "angle", {1.0}), "1"},
           {"kz.setOption('queryAnglesAs', 'radians') or kz.eval('q ?')", quarter, "1.5707963267948966"}});
}

TEST_F(ValuesTest, FailuresDiscardEverything) {
    check({{"kz.eval('q ?')", fails("Type"), "RuntimeError: internal: could not get value type"},
           {"kz.eval('q ?')", fails("TypeName"), "RuntimeError: internal: could not get value type name."},
           {"kz.eval('q ?')", with(integers({1, 2}), badAt(1)), "RuntimeError: "},
           {"kz.eval('q ?')", with(array(KZiVALUE_TYPE_FLOAT, "float", {1, 2}), badAt(0)), "RuntimeError: "},
           {"kz.eval('q ?')", with(strings({"first", "second"}), badAt(1)), "RuntimeError: first"},
           {"kz.eval('q ?')", with(strings({"first", "second"}), badAt(0)), "RuntimeError: "}});
}

TEST_F(ValuesTest, TraceShowsNumbersAsCharacters) {
    const auto linesOf = [this](const std::function<void(FakeScript&)>& setUp) {
        host.set(setUp);
        return PythonTest::linesOf("kz.eval('q ?')");
    };
    EXPECT_EQ(linesOf(integers({65, 256 + 66})), (Strings{"kz.eval : A", "kz.eval \x01: B"}));
    EXPECT_EQ(linesOf(array(KZiVALUE_TYPE_FLOAT, "float", {67.9, 1e300})).at(0), "kz.eval : C");
    EXPECT_EQ(linesOf(strings({"text"})), (Strings{"kz.eval : text"}));
    EXPECT_EQ(linesOf(with(strings({"text", "next"}), badAt(1))),
              (Strings{"kz.eval : text", "kz.eval \x01: text", "kz.eval: internal error: could not get value"}));
    EXPECT_EQ(linesOf(fails("Type")), (Strings{"value_array: internal: could not get value type"}));
}
