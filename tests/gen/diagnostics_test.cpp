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
    EXPECT_EQ(Described(interfaceOf("  [again] result A(int count, double[count] w, float[3*Size(g)] c, uint g,\n"
                                    "           out text name, out float[many] samples, out int many);\n"
                                    "  result T(data[Sizes[key]] a, uint key, out float[\"as the host has it\"] b);\n"
                                    "  uint Size(uint of);\n"
                                    "  object<I> B(object<Unknown> any, blocks b);\n") +
                        "const iONE = 1;\nconst iTWO = 2;\n// Sizes.\ntable Sizes { iONE = 4; iTWO = 8; };\n")
                  .errors(),
              "");
}

TEST(Diagnostics, Words) {
    expectErrors(
        {{"const s_A = \"open;\n", "3:13 a text without its closing quote | '\"' on the same line\n"
                                   "4:1 the end of the file | ';'"},
         {R"(const s_A = "a\qb";)", R"(3:15 the escape '\q' | one of \" \\ \n \t)"},
         {"const i_A = 'EXE';", "3:13 'EXE' | a code of four characters such as 'EXEC'"},
         {"const i_A = 1; # no", "3:16 '#' | a name, a number, a text or punctuation\n"
                                 "3:18 'no' | 'interface', 'service', 'const', 'code', 'error' or 'table'"},
         {"// caf\xC3\xA9\n;",
          "3:7 byte 0xC3 | characters of ASCII\n4:1 ';' | 'interface', 'service', 'const', 'code', 'error' or 'table'"},
         {"const s_A = \"\xFF\" ;\nconst i_B = '\x01xxx';",
          "3:14 byte 0xFF | characters of ASCII\n4:14 byte 0x01 | characters of ASCII"},
         {R"("a\n";)", R"(3:1 the text "a\x0A" | 'interface', 'service', 'const', 'code', 'error' or 'table')"},
         {"\tconst i_A = 1;", "3:1 byte 0x09 | blanks for indentation"},
         {"// a \\ b\\\nconst i_A = 1;\n// \\n is\r\nconst s_B = \"a?\?/b\"; // ?\?= ???\nconst s_C = \"\r\";",
          "3:6 a backslash at the end of a word | a comment that C++ does not continue\n"
          "3:9 a backslash at the end of a word | a comment that C++ does not continue\n"
          "6:15 the trigraph '?\?/' | characters that C++ leaves as they are\n"
          "6:25 the trigraph '?\?=' | characters that C++ leaves as they are\n"
          "7:14 byte 0x0D | characters of ASCII"},
         {"// " + std::string(120, 'x') + "\nconst i_A = 1;", "3:121 a line of 123 columns | at most 120"}});
}

TEST(Diagnostics, Declarations) {
    expectErrors(
        {{"konst i_A = 1;",
          "3:1 'konst' | 'interface', 'service', 'const', 'code', 'error' or 'table' (did you mean 'const'?)"},
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
         {interfaceOf("", ", symbol(\"low\")"), "5:11 symbol 'low' | upper-case letters, digits and single '_'"},
         {"// S.\n[" + guidA + ", adapter(\"s\")]\nservice S { };",
          "5:9 service 'S' with an adapter | adapters on interfaces alone"}});
}

TEST(Diagnostics, NamesThatAreTakenTellWhere) {
    expectErrors({{"// I.\n[" + guidA + "] interface I { };\n// I.\n[" + guidA + "]\ninterface I { };",
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
                  {"code A = 1;\nconst e_A = 1L;", "3:6 constant 'e_A' again | a name of its own (t.idl:4:7 has it)"},
                  {"// A.\n[" + guidA + ", adapter(\"b\")] interface A { void Run(); };\n// B.\n[" + guidB +
                       "]\ninterface B { void Run(); };",
                   "7:20 'b_Run' | a name of its own (t.idl:4:81 has it)"},
                  {"// A.\n[" + guidA + ", adapter(\"p\")] interface A { void Run(); };\n// B.\n[" + guidB +
                       ", adapter(\"p\")]\ninterface B { void Run(); };",
                   ""}});
}

TEST(Diagnostics, Methods) {
    expectErrors(
        {{interfaceOf("  result A(flot x);\n"), "6:12 'flot' | a kind (did you mean 'float'?)"},
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
         {interfaceOf("  [again] void A(out text t);\n  [again] result B();\n"),
          "6:16 'again' on 'A' | it only where a 'text' is an output and 'result' can say that it did not fit\n"
          "7:18 'again' on 'B' | it only where a 'text' is an output and 'result' can say that it did not fit"},
         {interfaceOf("  [inert] void A();\n"),
          "6:16 'inert' or 'required' on 'A' | it only where the interface has an adapter"}});
}

TEST(Diagnostics, Adapters) {
    const std::string kind = "a kind that can be forwarded to Python, or [inert(NOTIMPL)]";
    expectErrors(
        {{adapter("  result A(matrix4 m, out bounds b);\n"),
          "6:12 matrix4 input 'm' of an adapter | " + kind + "\n6:27 bounds output 'b' of an adapter | " + kind},
         {adapter("  result A(vector2 v, out float[1] f);\n"),
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
         {interfaceOf("", ", adapter(\"a-b\")"),
          "5:11 adapter prefix 'a-b' | a letter, then letters, digits and single '_'"},
         {adapter("  uint Size();\n  void A(float[Size()] a);\n  result B(out float[Size()] a);\n"),
          "7:16 length 'Size' of a forwarded method | an input that says it, as a method in Python is not asked\n"
          "8:16 float[] output 'a' of an adapter | " +
              kind},
         {adapter("  int Many(int a, int b, int c, int d, int e, int f, int g, int h, int i, int j, int k, int l,\n"
                  "           int m, int n, int o, int p, int q);\n"),
          "6:7 17 inputs and 1 outputs | at most 16 and 12 of a forwarded method"}});
}

TEST(Diagnostics, Constants) {
    const std::string guidC = R"(uuid("33333333-0000-0000-0000-000000000000"))";
    const std::string taker =
        " | a comment above it that names the method which takes or answers it, as Interface.Method";
    expectErrors(
        {{"const X = 1;",
          "3:7 constant 'X' | a name of a family: u_ a_ s_ i_ f_ m_ v_ e_, or s i f m v a d and a capital"},
         {"const eX = 1;", "3:7 constant 'eX' | 'error' for a header's own result code"},
         {"const sX = 1;", "3:7 an integer as the value of 'sX' | a text, as the family 's' has"},
         {"const iX = \"1\";", "3:7 a text as the value of 'iX' | an integer, as the family 'i' has"},
         {"const v_X = 1;",
          "3:7 an integer as the value of 'v_X' | a real number with a point, as the family 'v_' has"},
         {"const vX = 1.0;", "3:7 a real number as the value of 'vX' | an integer, as the family 'v' has"},
         {"// For I.A.\nconst u_X = \"1\";\n" + interfaceOf("  void A();\n"),
          "4:7 a text as the value of 'u_X' | uuid(\"...\"), as the family 'u_' has"},
         {"// For I.A.\nconst u_X = uuid(\"1\");\n" + interfaceOf("  void A();\n"),
          "4:18 '1' | 8-4-4-4-12 hexadecimal digits"},
         {"const iX = 1;\nconst u_X = " + guidA + ";\nconst u_Y = " + guidB + ";\n\n// For I.B.\nconst u_Z = " + guidC +
              ";\n" + interfaceOf("  void A();\n"),
          "4:7 identity 'u_X' of no method" + taker + "\n8:7 identity 'u_Z' of no method" + taker},
         {"const iX = 0x1G;", "3:12 the number 0x1G | a decimal or hexadecimal integer of at most 63 bits"},
         {"const iX = 9223372036854775808;",
          "3:12 the number 9223372036854775808 | a decimal or hexadecimal integer of at most 63 bits"},
         {"const iX = 0755;\nconst dX = 1.0e999;", "3:12 the number 0755 | an integer without leading zeros\n"
                                                   "4:12 the number 1.0e999 | a real number with a point, such as 0.5"},
         {"const e_X = 0x100000000L;\nconst e_Y = 5;",
          "3:7 an integer as the value of 'e_X' | an unsigned value of 32 bits with an L, as the family 'e_' has\n"
          "4:7 an integer as the value of 'e_Y' | an unsigned value of 32 bits with an L, as the family 'e_' has"},
         {"const dX = 1e5;", "3:12 the number 1e5 | a real number with a point, such as 0.5"},
         {"code X = 0x100000000;", "3:10 the number 0x100000000 | an unsigned value of 32 bits"},
         {"error X = -1;", "3:11 the number -1 | an unsigned value of 32 bits"}});
}

// Each name means something else in a language that it goes to, or in what is generated around it.
TEST(Diagnostics, NamesThatALanguageKeepsForItself) {
    for (const char* name : {"delete", "print", "exec", "set", "__eq__", "__peekobj__", "_Private", "None", "True",
                             "NULL", "EOF", "AddRef", "With_score", "lower"})
        EXPECT_EQ(Described(interfaceOf("  void " + std::string(name) + "();\n")).errors(),
                  expectedText("6:8 method '" + std::string(name) +
                               "' | a capital, then letters and digits, that make no word of C++ or Python"));
    for (const char* name : {"print", "storage", "object", "None", "NotImplementedError", "Unknown", "__init__"})
        EXPECT_EQ(Described("// I.\n[" + guidA + ", symbol(\"X\")] interface " + name + " { };").errors(),
                  expectedText("4:71 interface '" + std::string(name) +
                               "' | a capital, then letters and digits, that make no name of Python or the SDK"));
    for (const char* name : {"class", "errno", "kzValue", "Capital", "_under", "with_score", "char8_t"})
        EXPECT_EQ(Described(interfaceOf("  void A(int " + std::string(name) + ");\n")).errors(),
                  expectedText("6:14 parameter '" + std::string(name) +
                               "' | a small letter, then letters and digits, that make no word of C++"));
    expectErrors({{interfaceOf("  result A(uint nameLength, out text name);\n"),
                   "6:38 parameter 'nameLength' again | a name of its own (t.idl:6:17 has it)"},
                  {"const i__A = 1;\ncode B_ = 1;", "3:7 'i__A' | a name without '__' or '_' at its end\n"
                                                    "4:6 'e_B_' | a name without '__' or '_' at its end"}});
}

TEST(Diagnostics, Lengths) {
    const std::string input = " | a number above 0 or an integer input";
    const std::string number = " | a decimal number above 0, without leading zeros";
    const std::string asked = " | a method of this interface that takes them and returns an integer alone";
    expectErrors(
        {{interfaceOf("  void A(float[m] a, int n, float[0] b, float[f] c, float f, float[010*0x4] d);\n"),
          "6:16 length 'm'" + input + "\n6:35 length '0'" + number + "\n6:47 length 'f'" + input +
              "\n6:68 length '010'" + number + "\n6:72 length '0x4'" + number},
         {interfaceOf(
              "  void A(float[] a, byte[\"\"] b, float[65536*65536] c, float[n] d, out int n, out uint[f] e);\n"),
          "6:10 array 'a' without a length | one between the brackets, or in quotes the reason why there is none\n"
          "6:21 array 'b' without a length | one between the brackets, or in quotes the reason why there is none\n"
          "6:45 a length of more than 31 bits | a smaller one\n6:61 length 'n'" +
              input + "\n6:87 length 'f' | an integer parameter"},
         {interfaceOf("  void A(float[None(n)] a, int n, float[Size()] b, float[Name(n)] c, float[Size(m)] d, id m);\n"
                      "  uint Size(uint of);\n  string Name(int of);\n  void B(float[Size(n)] a, out uint n);\n"),
          "6:16 length 'None' with 1 arguments" + asked + "\n6:41 length 'Size' with 0 arguments" + asked +
              "\n6:58 length 'Name' with 1 arguments" + asked +
              "\n6:76 'm' for 'Size' | an input of the kind that it takes\n"
              "9:16 'n' for 'Size' | an input of the kind that it takes"},
         {interfaceOf("  void A(data[Sizes[n]] a, int n, data[T[m]] b);\n") +
              "const iONE = 1;\nconst iUNE = 1;\nconst sTWO = \"\";\n"
              "// T.\ntable T { iONE = 1; iUNE = 2; sTWO = 3; iNONE = 4; };\ntable t { };",
          "6:15 table 'Sizes' | a table of this header\n6:40 length 'm'" + input +
              "\n12:21 the value of 'iUNE' again | each value once (t.idl:12:11 has it)\n"
              "12:31 'sTWO' | an integer constant of this header\n12:41 'iNONE' | an integer constant of this header\n"
              "13:7 table 't' without a summary | a comment directly above\n"
              "13:7 table 't' | a capital, then letters and digits\n13:7 table 't' without rows | CONSTANT = SIZE; in "
              "it"},
         {"// T.\ntable T { iA = 0; iB 3; };",
          "4:11 'iA' | an integer constant of this header\n4:16 the number 0 | a size above 0\n"
          "4:22 the number 3 | '='"}});
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
