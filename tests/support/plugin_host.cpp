// The reference host with the plug-in in it.
#include "tests/support/plugin_host.h"

#include "host/core/log_store.h"
#include "host/core/module_table.h"
#include "host/core/scripts.h"
#include "host/state/path_aliases.h"
#include "host/state/text.h"

#include "kz/result.h"
#include "kz/value.h"
#include "kz_paths.h"

#include <gtest/gtest.h>

#include <regex>

using namespace kzhost;

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

CNothingAlive::~CNothingAlive() { EXPECT_EQ(isExpected ? kzLiveInstanceCount() : 0, 0U) << kzLiveInstanceNames(); }

CPluginHost::CPluginHost() {
    host.files().setAlias("program", KZ_BUILD_DIR);
    host.files().setAlias("kit_Python2_7", KZ_BUILD_DIR "/kit/Python2_7");
}

CPluginHost& CPluginHost::load() {
    std::string why;
    EXPECT_TRUE(host.load(KZ_BUILD_DIR "/plugins/kzPython2.so", why)) << why;
    return *this;
}

CPluginHost& CPluginHost::adopt(IKzUnknown* module) {
    application.host = host.application();
    EXPECT_EQ(host.modules().adopt("kzPython2", "kzPython2", module, &application), kzOk);
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

void CPluginHost::check(const std::string& folder, const std::string& module) {
    run("import sys\nsys.dont_write_bytecode = True\nsys.path += ['" KZ_SOURCE_DIR "/tests/support', '" KZ_SOURCE_DIR
        "/tests/" +
        folder + "']\nimport checks, " + module + "\nchecks.run(" + module + ")");
    const std::string told = log("scripts");
    EXPECT_TRUE(std::regex_search(told, std::regex("\n  [1-9][0-9]* checks, 0 failed\n$"))) << told << log("python");
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

void CPluginHost::clearLog() { host.log().clear(); }

std::string CPluginHost::alive() {
    return std::regex_replace(kzLiveInstanceNames(), std::regex("log [a-z]* x[0-9]* |[A-Za-z]* service x[0-9]* "), "");
}

CKzLoc_Unknown& CPluginHost::spawn(const char* className, CKzLoc_Unknown& object) {
    const auto server = host.modules().find(className, "python");
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
    EXPECT_EQ(m_interpreter->Prompt(0, nullptr), KZe_INVALIDARG);
    return text != nullptr ? text : "";
}
