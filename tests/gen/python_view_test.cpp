// How signatures and values read in Python.
#include <gtest/gtest.h>

#include "gen/python_view.h"
#include "tests/gen/describe.h"

namespace kzgen {

namespace {

struct Seen {
    std::string declaration;
    std::string doc;
    std::string parse;
};

std::string join(const std::vector<Seen>& table) {
    std::string methods;
    for (const Seen& row : table) methods += "  " + row.declaration + "\n";
    return methods;
}

}  // namespace

TEST(PythonView, SignaturesAsDocumentationAndFormat) {
    const std::vector<Seen> table = {
        {"result VertexFeatureCount(int feature, out uint count);",
         "integer count = VertexFeatureCount(integer feature)", "i"},
        {"int Mouse(out int x, out int y);", "(integer,integer x,integer y) = Mouse()", ""},
        {"result GetBBox(out bounds bbox);", "bounds bbox = GetBBox()", ""},
        {"uint Position(vector3 pos, out fvector3 sv);", "(integer,vector sv) = Position(vector pos)", "O"},
        {"result GetXfrm(size endpoint, out vector3 pos, out matrix3 rot, out vector2 scl);",
         "(vector pos,matrix rot,vector scl) = GetXfrm(integer endpoint)", "n"},
        {"bool Open(string name, float f, double d, out object<I> store);",
         "(boolean,I object) = Open(string name,float f,float d)", "zfd"},
        {"void Sample(float time, uint type, data[4] value);", "Sample(float time,integer type,data[] value)", "fIO"},
        {"result Merge(object<I> other, matrix4 xfrm, uint flags);", "Merge(object other,matrix xfrm,integer flags)",
         "OOI"},
        {"object<I> Plain();", "I object = Plain()", ""},
        {"object<Hidden> NoType();", "Unknown object = NoType()", ""},
        {"result Objects(out object<Unknown> a, out object b);", "(Unknown object,object) = Objects()", ""},
        {"id Rest(guid g, id i, pointer<KzX> p, uint[1] u, int[4] n, hints h, blocks b, quaternion q);",
         "id = Rest(string g,id i,pointer p,unsigned[] u,int[] n,hints h,blocks b,quaternion q)", "OnnOOOOO"},
        {"result Outs(out text t, out float[2] f, out uint[2] u, out hints h, out pointer p);",
         "(string t,float[] f,unsigned[] u,hints h,pointer p) = Outs()", ""}};
    const Described described(interfaceOf(join(table)) + "// H.\n[uuid(\"00000000-0000-0000-0000-000000000001\"), "
                                                         "nowrap] interface Hidden { };");
    ASSERT_EQ(described.errors(), "");
    const std::vector<Method>& methods = described.model.headers[0].interfaces[0].methods;
    ASSERT_EQ(methods.size(), table.size());
    for (size_t i = 0; i < table.size(); ++i) {
        EXPECT_EQ(docString(described.model, methods[i]), table[i].doc);
        EXPECT_EQ(parseFormat(methods[i]), table[i].parse) << table[i].doc;
    }
}

TEST(PythonView, AdaptersHandOverATupleUnderThePrefixedName) {
    const Described described(interfaceOf("  result Nothing();\n"
                                          "  result All(int a, uint b, size c, double d, float e, string f, object g,\n"
                                          "             vector3 h, fvector3 i, id j, pointer k, byte[1] l);\n"
                                          "  [inert(NOTIMPL)] result Never(matrix4 m);\n",
                                          ", adapter(\"pre\")"));
    ASSERT_EQ(described.errors(), "");
    const Interface& interface = described.model.headers[0].interfaces[0];
    EXPECT_EQ(buildFormat(interface.methods[0]), "()");
    EXPECT_EQ(buildFormat(interface.methods[1]), "(iIndfzOOOnnO)");
    EXPECT_EQ(pythonMethodName(interface, interface.methods[1]), "pre_All");
    EXPECT_EQ(pythonMethodName(interface, interface.methods[2]), "");
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
