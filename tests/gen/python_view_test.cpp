// How signatures and values read in Python.
#include <gtest/gtest.h>

#include "gen/python_view.h"
#include "tests/gen/describe.h"

namespace kzgen {

namespace {

constexpr std::string_view methods = R"(
  result VertexFeatureCount(int feature, out uint count);
  int Mouse(out int x, out int y);
  result GetBBox(out bounds bbox);
  uint Position(vector3 pos, out fvector3 sv);
  bool Open(string name, float f, double d, out object<I> store);
  void Sample(float time, uint type, data[4] value);
  result Merge(object<I> other, matrix4 xfrm, size flags);
  object<I> Plain();
  object<Hidden> NoType();
  result Objects(out object<Unknown> a, out object b);
  id Rest(guid g, id i, pointer<KzX> p, uint[1] u, int[4] n, hints h, blocks b, quaternion q);
  result Outs(out text t, out float[2] f, out uint[2] u, out hints h, out pointer p);
)";

constexpr std::string_view documentation = R"(
integer count = VertexFeatureCount(integer feature)
(integer,integer x,integer y) = Mouse()
bounds bbox = GetBBox()
(integer,vector sv) = Position(vector pos)
(boolean,I object) = Open(string name,float f,float d)
Sample(float time,integer type,data[] value)
Merge(object other,matrix xfrm,integer flags)
I object = Plain()
Unknown object = NoType()
(Unknown object,object) = Objects()
id = Rest(string g,id i,pointer p,unsigned[] u,int[] n,hints h,blocks b,quaternion q)
(string t,float[] f,unsigned[] u,hints h,pointer p) = Outs()
)";

}  // namespace

TEST(PythonView, SignaturesAsDocumentation) {
    const Described described(interfaceOf(std::string(methods)) +
                              "// H.\n[uuid(\"00000000-0000-0000-0000-000000000001\"), nowrap] interface Hidden { };");
    ASSERT_EQ(described.errors(), "");
    std::string text = "\n";
    for (const Method& method : described.model.headers[0].interfaces[0].methods)
        text += docString(described.model, method) + "\n";
    EXPECT_EQ(text, documentation);
}

TEST(PythonView, SignaturesAsTheDescriptionHasThem) {
    const Described described(interfaceOf("  result A(object<I> other, uint flags : fA | fB, out object o);\n"
                                          "  int B(data[Size(n) * 4] d, int n, out text t : sT) : fA;\n"
                                          "  uint Size(int n);\n  void C(byte[\"unknown\"] b);\n") +
                              "const fA = 1;\nconst fB = 2;\nconst sT = \"\";\n");
    ASSERT_EQ(described.errors(), "");
    std::string text;
    for (const Method& method : described.model.headers[0].interfaces[0].methods)
        text += signature(method, method.name) + "\n";
    EXPECT_EQ(text, "A(other: I, flags: uint of fA | fB) -> o: object\n"
                    "B(d: data[Size(n) * 4], n: int) -> (int of fA, t: text of sT)\n"
                    "Size(n: int) -> uint\nC(b: byte[])\n");
}

TEST(PythonView, ConstantsAsLiterals) {
    const Described described(
        "const sA = \"it's \\\"so\\\"\\n\";\nconst iB = -5;\nconst fC = 0x80000000;\n"
        "const i_D = 'EXEN';\nconst e_E = 0x8480000CL;\nconst dF = 1.5e-3;\n"
        "// For I.A.\nconst u_G = uuid(\"FB552E5F-746E-4d74-885C-40A931B82B84\");\nconst iH = 7L;\n" +
        interfaceOf("  void A();\n"));
    ASSERT_EQ(described.errors(), "");
    std::string literals;
    for (const Constant& constant : described.model.headers[0].constants)
        literals += constant.name + " " + pythonLiteral(constant.value) + "\n";
    EXPECT_EQ(literals, R"(sA 'it\'s "so"\n'
iB -5
fC 0x80000000
i_D 0x4558454E
e_E 0x8480000CL
dF 1.5e-3
u_G 'FB552E5F-746E-4d74-885C-40A931B82B84'
iH 7L
)");
}

TEST(Summary, IsTheBlockAboveAndTheCommentBehind) {
    const Described described(interfaceOf("  // Above,\n  // in two lines.\n  void A();   // Behind,\n"
                                          "              // going on.\n  void B();\n\n  // Of nobody.\n\n  void C();\n"
                                          "  void D(int a,\n         int b);   // After the last line.\n"));
    std::string summaries;
    for (const Method& method : described.model.headers[0].interfaces[0].methods)
        summaries += method.name + ": " + method.summary + "\n";
    EXPECT_EQ(summaries, "A: Above, in two lines. Behind, going on.\nB: \nC: \nD: After the last line.\n");
    EXPECT_EQ(described.model.headers[0].summary, "A header.");
}

}  // namespace kzgen
