// Identities, values and methods that must never change, because other programs have compiled them in.
#include <gtest/gtest.h>

#include <algorithm>

#include <fmt/format.h>

#include "gen/python_view.h"
#include "tests/sdk/described.h"
#include "tests/sdk/required_names.h"

namespace kzgen {

namespace {

// The value of a name in kz.symbol, as Python writes it, or of a result code with either of its names.
std::string valueOf(const std::string& name) {
    for (const Header& header : described().headers) {
        for (const Constant& constant : header.constants)
            if (constant.name == name) return pythonLiteral(constant.value);
        for (const Code& code : header.codes)
            if (code.name == name || code.symbol() == name) return fmt::format("0x{:08X}", code.value);
        for (const Interface& each : header.interfaces) {
            if ("u_" + each.symbol == name) return pythonLiteral(each.guid);
            if (each.server && "a_" + each.symbol == name) return pythonLiteral(TextValue{*each.server});
        }
    }
    return "nothing";
}

// Each a list of words, NAME=VALUE.
constexpr std::string_view identities =
    "u_UNKNOWN='00000000-0000-0000-0000-0000000000C4' u_MODULE='4DB9C543-B192-4EDD-A65D-DD012FC27416' "
    "u_TAGDESCRIPTION='5582E0EE-D682-47BC-BF3D-FB14D59948C1' "
    "u_NEEDCONTEXT='7D30408C-74AB-4d87-B71C-C6280883863C' "
    "u_TEXTSCRIPTINTERPRETER='D612FFCE-4B94-4823-A0A7-CC7CA2DDC3D6' "
    "u_LINEINTERPRETER='8F7DF2BE-69A2-4E1C-A4E9-CB3BC3D534D5' "
    "u_THREADSERVICE='0A9D5B42-1DA6-42A4-8FC4-01FCCE939AC4' "
    "u_COMMANDSERVICE='9DB8BA65-8C36-45A7-B403-DF7BA59BA6C2' "
    "u_MESSAGESERVICE='86A69B5D-ACFA-11D9-B38C-000A956C2E10' "
    "u_STDDIALOGSERVICE='A78FA063-6C8D-471F-8981-6BAEFF62BEE3' "
    "u_VALUESERVICE='DD2C3059-2CD0-4C7D-860C-CF353CFB2F92' u_ACTIONCLIP='A312921B-41D2-4D2A-8678-C90EEA381FAE' "
    "u_EVALUATION='FB552E5F-746E-4d74-885C-40A931B82B84'";

constexpr std::string_view values =
    "a_ACTIONCLIP='actionclip' sITYPE_ACTIONPOSE='actionpose' sTYPE_ARRAY='+array' "
    "sPKG_ARRAY_DRAW_CHANNEL='array.drawChannel' iACTIONCLIP_TYPE_POSE=1 i_PTAG_EXEC_NME=0x4558454E "
    "fECHAN_FORCE=8 m_MESHMERGE_POLY_ALL=0x7FF000 vDCELIST_BOTH=3 v_PATHGEN_DIV_FINE=0.052 "
    "dICVAL_SCENE_MAX_FPS=1000.0 aSTATE_PLAYING=1 eEVAL_IDENTICAL=0x06500001 eEVAL_DIFFERENT=0x00000000 "
    "e_CMD_ARGUMENT_ALREADY_SET=0x8480000C OK=0x00000000 TRUE=0x00000000 FALSE=0x00000001 INFO=0x00000001 "
    "WARNING=0x00000002 FAILED=0x80000000 NOTIMPL=0x80000001 OUTOFMEMORY=0x80000002 INVALIDARG=0x80000003 "
    "NOINTERFACE=0x80000004 NOTSUPPORTED=0x80000005 ABORT=0x80000007 RENDER_ABORTING=0x80000007 "
    "NOACCESS=0x80000009 OUTOFBOUNDS=0x80000015 NOTFOUND=0x80000017 STARTUP=0x80000018 DISABLED=0x80000019 "
    "CKPTOVERFLOW=0x8000001A ALREADYEXISTS=0x8000001B NOTAVAILABLE=0x8000001C CRASH=0x8000001D "
    "SHORTBUFFER=0x8000001E RECOVERING=0x8000001F NOTREADY=0x80000020 MAINTHREADONLY=0x80000021 "
    "CMD_DISABLED=0x84800004 CMD_NO_QUERY_MARKED=0x8480000E SCRIPT_UNKNOWN=0x85600001 QUERY_ERROR=0x85700008 "
    "MSGDIALOG_YES=0x00000000 MSGDIALOG_NO=0x85000047 MSGDIALOG_CANCEL=0x85000049 "
    "FILEDIALOG_BADFORMAT=0x85000051 SC_UNDEFINED=0x0000FFFF";

// Name and Python format of every method, in order.
std::vector<std::string> formats(const Interface& each) {
    std::vector<std::string> all;
    for (const Method& method : each.methods) {
        std::string letters;
        for (const Parameter* input : method.inputs()) letters += info(input->type.kind).letter;
        all.push_back(method.name + "(" + letters + ")");
    }
    return all;
}

std::vector<std::string> names(const Interface& each) {
    std::vector<std::string> all;
    for (const Method& method : each.methods) all.push_back(method.name);
    return all;
}

struct Signature {
    const char* interface;
    bool service;
    const char* text;
};

// Methods that the plug-in itself calls or implements, and examples of each kind of signature.
constexpr Signature signatures[] = {
    {"Mesh", false, "MergeWithTransform(object other,matrix xfrm,integer flags)"},
    {"GeoCacheSurface", false, "(vector pos,matrix rot,vector scl) = GetXfrm(integer endpoint)"},
    {"GeoCacheSegment", false, "bounds bbox = GetBBox()"},
    {"GeoCacheSegment", false, "integer count = VertexFeatureCount(integer feature)"},
    {"HandleDraw", false, "(integer,vector sv) = Position(vector pos)"},
    {"View3Dport", true, "(integer,integer x,integer y) = Mouse()"},
    {"IO", true, "(boolean,BlockStore object) = OpenBlockStore(string filename,string format,integer flags)"},
    {"ParticleEvalFrame", false, "Sample(float time,integer type,data[] value)"},
    {"InputDeviceInstance", false, "(integer minimum,integer maximum) = AnalogMetrics(integer analog)"},
    {"TextScriptInterpreter", false, "Run(object script,integer flags,string args,object message)"},
    {"LineInterpreter", false, "string prompt = Prompt(integer continued)"},
    {"Command", true, "integer tag = Lookup(string name)"},
    {"Command", true, "Command object = Spawn(integer tag,string name)"},
    {"Command", true, "(integer newFlags,string rest) = ProcessStringFlags(integer flags,string text)"},
};

}  // namespace

TEST(FixedValuesTest, AreWhatOthersHaveCompiledIn) {
    for (const std::string_view list : {identities, values}) {
        for (const std::string& each : words(list)) {
            const std::string name = each.substr(0, each.find('='));
            EXPECT_EQ(name + "=" + valueOf(name), each);
        }
    }
}

TEST(FixedMethodsTest, StandInTheirOrder) {
    EXPECT_EQ(formats(describedInterface("Command")), words(required::commandMethods));
    EXPECT_EQ(names(describedInterface("CmdSysListener")), words(required::commandEvents));
    EXPECT_EQ(names(describedInterface("DTBBadgeOverride")), words(required::badgeMethods));
    EXPECT_EQ(names(describedInterface("TextScriptInterpreter")), words("ValidateHeader Compile Run"));
}

TEST(FixedMethodsTest, ReadTheSameInTheirDocumentation) {
    for (const Signature& signature : signatures) {
        std::vector<std::string> texts;
        for (const Method& method : describedInterface(signature.interface, signature.service).methods)
            texts.push_back(docString(described(), method));
        EXPECT_NE(std::find(texts.begin(), texts.end(), signature.text), texts.end())
            << signature.interface << ": " << signature.text;
    }
}

}  // namespace kzgen
