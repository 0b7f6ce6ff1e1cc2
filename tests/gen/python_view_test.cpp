// Signatures and values as Python documents them.
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

TEST(PythonViewTest, SignaturesAsDocumentation) {
    const Described described(interfaceOf(std::string(methods)) +
                              "// H.\n[uuid(\"00000000-0000-0000-0000-000000000001\"), nowrap] interface Hidden { };");
    ASSERT_EQ(described.errors(), "");
    std::string text = "\n";
    for (const Method& method : described.model.headers[0].interfaces[0].methods)
        text += docString(described.model, method) + "\n";
    EXPECT_EQ(text, documentation);
}

TEST(PythonViewTest, SignaturesAsTheDescriptionHasThem) {
    const Described described(interfaceOf(R"(
        result A(object<I> other, uint flags : fA | fB, out object o);
        int B(data[Size(n) * 4] d, int n, out text t : sT) : fA;
        uint Size(int n);
        void C(byte["unknown"] b);)"_lines) +
                              R"(const fA = 1; const fB = 2; const sT = "";)");
    ASSERT_EQ(described.errors(), "");
    std::string text;
    for (const Method& method : described.model.headers[0].interfaces[0].methods)
        text += signature(method, method.name) + "\n";
    EXPECT_EQ(text, R"(
        A(other: I, flags: uint of fA | fB) -> o: object
        B(d: data[Size(n) * 4], n: int) -> (int of fA, t: text of sT)
        Size(n: int) -> uint
        C(b: byte[]))"_lines);
}

TEST(PythonViewTest, ConstantsAsLiterals) {
    const Described described(R"(
        const sA = "it's \"so\"\n"; const iB = -5; const fC = 0x80000000;
        const i_D = 'EXEN'; const e_E = 0x8480000CL; const dF = 1.5e-3;
        // For I.A.
        const u_G = uuid("FB552E5F-746E-4d74-885C-40A931B82B84"); const iH = 7L;)"_lines +
                              interfaceOf("  void A();\n"));
    ASSERT_EQ(described.errors(), "");
    std::string literals;
    for (const Constant& constant : described.model.headers[0].constants)
        literals += constant.name + " " + pythonLiteral(constant.value) + "\n";
    EXPECT_EQ(literals, R"(
        sA 'it\'s "so"\n'
        iB -5
        fC 0x80000000
        i_D 0x4558454E
        e_E 0x8480000CL
        dF 1.5e-3
        u_G 'FB552E5F-746E-4d74-885C-40A931B82B84'
        iH 7L)"_lines);
}

TEST(SummaryTest, IsTheBlockAboveAndTheCommentBehind) {
    const Described described(interfaceOf(R"(
        // Above,
        // in two lines.
        void A();   // Behind,
                    // going on.
        void B();

        // Of nobody.

        void C();
        void D(int a,
               int b);   // After the last line.)"_lines));
    std::string summaries;
    for (const Method& method : described.model.headers[0].interfaces[0].methods)
        summaries += method.name + ": " + method.summary + "\n";
    EXPECT_EQ(summaries, "A: Above, in two lines. Behind, going on.\nB: \nC: \nD: After the last line.\n");
    EXPECT_EQ(described.model.headers[0].summary, "A header.");
}

}  // namespace kzgen
