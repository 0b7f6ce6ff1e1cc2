// The reference host with the plug-in in it.
#include "tests/support/plugin_host.h"

#include "host/text.h"

#include "kz/value.h"
#include "kz_paths.h"

#include <gtest/gtest.h>

#include <fstream>

CTestFolder::CTestFolder() {
    std::string name = (std::filesystem::temp_directory_path() / "kztestXXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("no temporary folder");
    m_path = name;
}

CTestFolder::~CTestFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
}

std::string CTestFolder::write(const std::string& name, const std::string& text) const {
    const std::filesystem::path file = m_path / name;
    std::filesystem::create_directories(file.parent_path());
    std::ofstream(file, std::ios::binary) << text;
    // Python knows by the second which text it compiled: what it kept of an earlier one would pass for this one.
    std::filesystem::remove(file.string() + "c");
    return file.string();
}

CHostPolymorph<CTestConsole>& CTestConsole::polymorph() {
    static auto& made =
        kzHostClass<CTestConsole, CKzIfc_LineExecution<CTestConsole>>("test console", KZu_LINEEXECUTION);
    return made;
}

KzResult CTestConsole::lin_Results(IKzUnknown* values) {
    const CKzUser_ValueArray array(values);
    results.clear();
    ++resultCount;
    for (std::uint32_t index = 0; index < array.Count(); ++index) {
        char text[4096] = "";
        array.GetString(index, text, sizeof text);
        results.emplace_back(text);
    }
    return kzOk;
}

KzResult CTestConsole::lin_Info(const char* text) {
    lines.emplace_back(text);
    if (whenTold) whenTold();
    return kzOk;
}

CPluginHost::CPluginHost() { host.core().files.setAlias("kit_Python2_7", KZ_BUILD_DIR "/kit/Python2_7"); }

CPluginHost& CPluginHost::load() {
    std::string why;
    EXPECT_TRUE(host.load(KZ_BUILD_DIR "/plugins/kzPython2.so", why)) << why;
    return *this;
}

CPluginHost& CPluginHost::adopt(IKzUnknown* module) {
    EXPECT_EQ(host.adopt("kzPython2", module), kzOk);
    if (module != nullptr) module->Release();
    return *this;
}

ScriptEnd CPluginHost::run(const std::string& text, const std::string& args) {
    return host.run(CHostRef<CScript>::make("test.py", text), 0, args);
}

std::string CPluginHost::output(const std::string& text, const std::string& args) {
    clearLog();
    run(text, args);
    return log("scripts");
}

std::string CPluginHost::log(const std::string& subsystem) const {
    std::string text;
    for (const LogLine& line : host.log().lines(subsystem)) {
        text += std::string(std::size_t{2} * line.depth, ' ');
        if (line.level != 1) text += "[" + kzCodeDigits(line.level) + "] ";
        text += line.text + "\n";
    }
    return text;
}

CKzLoc_Unknown& CPluginHost::spawn(const char* className, CKzLoc_Unknown& object) {
    const auto server = host.core().modules.find(className, "python");
    EXPECT_TRUE(server.has_value()) << className;
    return server ? CModuleTable::spawn(*server, object) : object;
}

CTestSession::CTestSession(CPluginHost& host) {
    CKzLoc_Unknown object;
    m_interpreter.set(host.spawn(KZa_LINEINTERPRETER, object).raw());
}

KzResult CTestSession::execute(const std::string& line) { return m_interpreter->Execute(line.c_str(), console.raw()); }

std::string CTestSession::run(const std::string& lines) {
    std::string heard;
    std::size_t start = 0;
    while (start < lines.size()) {
        const std::size_t end = std::min(lines.find('\n', start), lines.size());
        console->lines.clear();
        console->resultCount = 0;
        const KzResult code = execute(lines.substr(start, end - start));
        for (const std::string& line : console->lines) heard += line + "\n";
        if (console->resultCount > 0) {
            heard += "=";
            for (const std::string& result : console->results) heard += " " + result;
            heard += "\n";
        }
        if (kzFailed(code)) heard += "code " + kzCodeDigits(code) + "\n";
        start = end + 1;
    }
    return heard;
}

std::string CTestSession::prompt(bool continued) const {
    const char* text = nullptr;
    EXPECT_EQ(m_interpreter->Prompt(continued ? 1 : 0, &text), kzOk);
    return text != nullptr ? text : "";
}
