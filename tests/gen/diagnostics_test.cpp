// What the generator says to faulty descriptions: text, line and column of every error.
#include <gtest/gtest.h>

#include "tests/gen/describe.h"

namespace kzgen {

namespace {

struct Faulty {
    std::string input;
    std::string errors;
};

// Each error without its file and the word "error": "LINE:COLUMN FOUND | EXPECTED".
std::string expectedText(const std::string& errors) {
    std::string text;
    for (size_t at = 0; at < errors.size();) {
        const size_t end = std::min(errors.find('\n', at), errors.size());
        const std::string line = errors.substr(at, end - at);
        const size_t blank = line.find(' ');
        const size_t bar = line.find(" | ");
        text += "t.idl:" + line.substr(0, blank) + ": error: found " + line.substr(blank + 1, bar - blank - 1) +
                ", expected " + line.substr(bar + 3) + "\n";
        at = end + 1;
    }
    return text;
}

void expectErrors(const std::vector<Faulty>& table) {
    for (const Faulty& faulty : table)
        EXPECT_EQ(Described(faulty.input).errors(), expectedText(faulty.errors)) << faulty.input;
}

std::string adapter(const std::string& methods) { return interfaceOf(methods, ", adapter(\"pre\")"); }

const std::string guidA = R"(uuid("11111111-0000-0000-0000-000000000000"))";
const std::string guidB = R"(uuid("22222222-0000-0000-0000-000000000000"))";

}  // namespace

TEST(Diagnostics, AGoodDescriptionHasNone) {
    EXPECT_EQ(Described(interfaceOf("  result A(int count, double[count] w, float[3] c, pointer<const KzGuid> g,\n"
                                    "           out text name, out float[] samples);\n"
                                    "  object<I> B(object<Unknown> any, blocks b);\n"))
                  .errors(),
              "");
}

TEST(Diagnostics, Words) {
    expectErrors({
        {"const s_A = \"open;\n", "3:13 a text without its closing quote | '\"' on the same line\n"
                                  "4:1 the end of the file | ';'"},
        {R"(const s_A = "a\qb";)", R"(3:15 the escape '\q' | one of \" \\ \n \t)"},
        {"const i_A = 'EXE';", "3:13 'EXE' | a code of four characters such as 'EXEC'"},
        {"const i_A = 1; # no", "3:16 '#' | a name, a number, a text or punctuation\n"
                                "3:18 'no' | 'interface', 'service', 'const', 'code' or 'error'"},
        {"// caf\xC3\xA9\n;",
         "3:7 byte 0xC3 | characters of ASCII\n4:1 ';' | 'interface', 'service', 'const', 'code' or 'error'"},
        {"const s_A = \"\xFF\" ;\nconst i_B = '\x01xxx';",
         "3:14 byte 0xFF | characters of ASCII\n4:14 byte 0x01 | characters of ASCII"},
        {R"("a\n";)", R"(3:1 the text "a\x0A" | 'interface', 'service', 'const', 'code' or 'error')"},
        {"\tconst i_A = 1;", "3:1 byte 0x09 | blanks for indentation"},
        {"// " + std::string(120, 'x') + "\nconst i_A = 1;", "3:121 a line of 123 columns | at most 120"},
    });
}

TEST(Diagnostics, Declarations) {
    expectErrors({
        {"konst i_A = 1;", "3:1 'konst' | 'interface', 'service', 'const', 'code' or 'error' (did you mean 'const'?)"},
        {"const i_A 1;", "3:11 the number 1 | '='"},
        {"const i_A = 1\nconst i_B = 2;\nconst i_B = 3;",
         "4:1 'const' | ';'\n5:7 constant 'i_B' again | a name of its own (t.idl:4:7 has it)"},
        {"[nowrap] const i_A = 1;", "3:2 attribute 'nowrap' | attributes on interfaces, services and methods alone"},
        {"// I.\ninterface I { };", "4:11 'I' without an identity | [uuid(\"...\")], as 'kzgen mint I' makes it"},
        {"// I.\n[uuid(\"1234\")] interface I { };", "4:7 '1234' | 8-4-4-4-12 hexadecimal digits"},
        {"[" + guidA + "] interface I { };", "3:58 interface 'I' without a summary | a comment directly above"},
        {"// I.\n[" + guidA + ", servr(\"x\"), server, nowrap(1), nowrap, nowrap] interface I { };",
         "4:48 attribute 'servr' | one of uuid, server, symbol, adapter, nowrap (did you mean 'server'?)\n"
         "4:60 'server' without a value | server(\"TEXT\")\n"
         "4:75 the number 1 | 'nowrap' without a value\n"
         "4:87 attribute 'nowrap' again | it once"},
        {interfaceOf("", ", symbol(\"low\")"), "5:11 symbol 'low' | upper-case letters, digits and '_'"},
        {"// S.\n[" + guidA + ", adapter(\"s\")]\nservice S { };",
         "5:9 service 'S' with an adapter | adapters on interfaces alone"},
        {"// S.\n[" + guidA + "] interface storage { };",
         "4:58 interface 'storage' | a name that the SDK does not define itself"},
    });
}

TEST(Diagnostics, NamesThatAreTakenTellWhere) {
    expectErrors({
        {"// I.\n[" + guidA + "] interface I { };\n// I.\n[" + guidA + "]\ninterface I { };",
         "6:7 identity 11111111-0000-0000-0000-000000000000 again | one of its own (t.idl:4:7 has it)\n"
         "7:11 interface 'I' again | a name of its own (t.idl:4:58 has it)\n"
         "7:11 constant 'u_I' again | a name of its own (t.idl:4:58 has it)"},
        {"// S.\n[" + guidA + "] service S { };\n// I.\n[" + guidB + "]\ninterface SService { };",
         "7:11 interface 'SService' again | a name of its own (t.idl:4:56 has it)\n"
         "7:11 constant 'u_SSERVICE' again | a name of its own (t.idl:4:56 has it)"},
        {interfaceOf("  void A();\n  void A();\n  void B(int x, int x);\n"),
         "7:8 method 'A' again | a name of its own (t.idl:6:8 has it)\n"
         "8:21 parameter 'x' again | a name of its own (t.idl:8:14 has it)"},
        {"code A = 1;\nerror A = 2;", "4:7 result code 'A' again | a name of its own (t.idl:3:6 has it)"},
        {"code A = 1;\nconst e_A = 1;", "3:6 constant 'e_A' again | a name of its own (t.idl:4:7 has it)"},
        {"// A.\n[" + guidA + ", adapter(\"b\")] interface A { void Run(); };\n// B.\n[" + guidB +
             "]\ninterface B { void Run(); };",
         "7:20 'b_Run' | a name of its own (t.idl:4:81 has it)"},
        {"// A.\n[" + guidA + ", adapter(\"p\")] interface A { void Run(); };\n// B.\n[" + guidB +
             ", adapter(\"p\")]\ninterface B { void Run(); };",
         ""},
    });
}

TEST(Diagnostics, Methods) {
    expectErrors({
        {interfaceOf("  result A(flot x);\n"), "6:12 'flot' | a kind (did you mean 'float'?)"},
        {interfaceOf("  result A(bite[] x);\n"), "6:12 'bite[]' | the element of an array (did you mean 'byte'?)"},
        {interfaceOf("  reslt A();\n"), "6:3 'reslt' | a kind (did you mean 'result'?)"},
        {interfaceOf("  vector3 A();\n"), "6:3 'vector3' | a kind that can stand to be returned"},
        {interfaceOf("  void A(bool b, text t, out guid g, out int[] i);\n"),
         "6:10 'bool' | a kind that can stand as an input\n6:18 'text' | a kind that can stand as an input\n"
         "6:30 'guid' | a kind that can stand as an output\n6:42 'int[]' | a kind that can stand as an output"},
        {interfaceOf("  void A(out int a, int b);\n"),
         "6:21 input 'b' behind an output | all inputs before all outputs"},
        {interfaceOf("  void A(object<J> a);\n"), "6:10 object<J> | the name of an interface (did you mean 'I'?)"},
        {interfaceOf("  void A(int<I> a);\n"), "6:10 'int<' | 'object<' or 'pointer<'"},
        {interfaceOf("  void A(float[m] a, int n, float[0] b, float[f] c, float f, out float[3] d);\n"),
         "6:10 length 'm' | a number above 0 or an integer input\n"
         "6:29 length '0' | a number above 0 or an integer input\n"
         "6:41 length 'f' | a number above 0 or an integer input\n"
         "6:66 length '3' of an output | '[]'"},
        {interfaceOf("  void delete(int class);\n  void print();\n"),
         "6:8 method 'delete' | a name that neither language keeps for itself\n"
         "6:19 parameter 'class' | a name that C++ leaves free\n"
         "7:8 method 'print' | a name that neither language keeps for itself"},
        {interfaceOf("  [inert] void A();\n"),
         "6:16 'inert' or 'required' on 'A' | it only where the interface has an adapter"},
    });
}

TEST(Diagnostics, Adapters) {
    const std::string kind = "a kind that can be forwarded to Python, or [inert(NOTIMPL)]";
    expectErrors({
        {adapter("  result A(matrix4 m, out bounds b);\n"),
         "6:12 matrix4 input 'm' of an adapter | " + kind + "\n6:27 bounds output 'b' of an adapter | " + kind},
        {adapter("  result A(vector2 v, out float[] f);\n"),
         "6:12 vector2 input 'v' of an adapter | " + kind + "\n6:27 float[] output 'f' of an adapter | " + kind},
        {adapter("  [inert(NOTIMPL)] result A(matrix4 m, out bounds b);\n  [inert] void B(matrix4 m);\n"
                 "  [inert(0)] result C(guid g);\n  [inert(0)] int D();\n"),
         ""},
        {adapter("  [inert(NOTIMPL)] int A();\n  [inert(0)] void B();\n  [inert] int C();\n  [inert(1)] int D();\n"
                 "  [inert, required] void E();\n"),
         "6:24 inert(NOTIMPL) on 'A' | it where the method returns 'result'\n"
         "7:19 inert(0) on 'B' | 'inert' where the method returns 'void'\n"
         "8:15 inert without a value on 'C' | inert(NOTIMPL) or inert(0) where the method returns something\n"
         "9:10 the number 1 | NOTIMPL or 0\n"
         "10:26 'required' on the inert method 'E' | one of the two"},
        {interfaceOf("  void A();\n", ", adapter(\"\")"), "6:8 forwarded method 'A' | a prefix, or an inert method"},
        {interfaceOf("", ", adapter(\"a-b\")"), "5:11 adapter prefix 'a-b' | letters, digits and '_'"},
    });
}

TEST(Diagnostics, Constants) {
    expectErrors({
        {"const X = 1;",
         "3:7 constant 'X' | a name of a family: u_ a_ s_ i_ f_ m_ v_ e_, or s i f m v a d and a capital"},
        {"const eX = 1;", "3:7 constant 'eX' | 'error' for a header's own result code"},
        {"const sX = 1;", "3:7 an integer as the value of 'sX' | a text, as the family 's' has"},
        {"const iX = \"1\";", "3:7 a text as the value of 'iX' | an integer, as the family 'i' has"},
        {"const v_X = 1;", "3:7 an integer as the value of 'v_X' | a real number with a point, as the family 'v_' has"},
        {"const vX = 1.0;", "3:7 a real number as the value of 'vX' | an integer, as the family 'v' has"},
        {"const u_X = \"1\";", "3:7 a text as the value of 'u_X' | uuid(\"...\"), as the family 'u_' has"},
        {"const u_X = uuid(\"1\");", "3:18 '1' | 8-4-4-4-12 hexadecimal digits"},
        {"const iX = 0x1G;", "3:12 the number 0x1G | a decimal or hexadecimal integer of at most 63 bits"},
        {"const iX = 9223372036854775808;",
         "3:12 the number 9223372036854775808 | a decimal or hexadecimal integer of at most 63 bits"},
        {"const dX = 1e5;", "3:12 the number 1e5 | a real number with a point, such as 0.5"},
        {"code X = 0x100000000;", "3:10 the number 0x100000000 | an unsigned value of 32 bits"},
        {"error X = -1;", "3:11 the number -1 | an unsigned value of 32 bits"},
    });
}

TEST(Diagnostics, OneRunReportsEverythingThatItCanReach) {
    expectErrors(
        {{"const i_A = ;\n" + interfaceOf("  result (;\n  void A(int);\n  void B(int a b);\n  void C(flot x);\n") +
              "code X = ;\nconst sX = 1;",
          "3:13 ';' | a number, a text, a four-character code or uuid(\"...\")\n"
          "7:10 '(' | the method's name\n"
          "8:13 ')' | the parameter's name\n"
          "9:16 'b' | ',' or ')'\n"
          "10:10 'flot' | a kind (did you mean 'float'?)\n"
          "12:10 ';' | the code's value\n"
          "13:7 an integer as the value of 'sX' | a text, as the family 's' has"}});
}

TEST(Diagnostics, AnInterfaceThatIsNeverClosedEndsTheFile) {
    expectErrors({{"// I.\n[" + guidA + "] interface I {\n  void A();\n", "6:1 the end of the file | a method or '}'"},
                  {"// I.\n[" + guidA + "] interface I {\n  void A(", "5:10 the end of the file | a kind\n"
                                                                      "5:10 the end of the file | a method or '}'"}});
}

}  // namespace kzgen
