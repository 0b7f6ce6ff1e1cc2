// The reference host with the plug-in in it, and short ways to run scripts and console lines and to read the log.
#pragma once

#include "host/core/object.h"
#include "host/kz_host.h"
#include "tests/support/folder.h"
#include "tests/support/lines.h"

#include "kz/script.h"

#include <functional>
#include <string>
#include <vector>

using namespace kzhost;

// The plug-in that is linked to the test.
extern "C" IKzUnknown* _IKzModule_Create();

// A console as the plug-in sees it, which records what it receives.
class CTestConsole final : public CHosted<"test console", CTestConsole, CKzIfc_LineExecution> {
public:
    KzResult lin_Results(IKzUnknown* values) override;
    KzResult lin_Info(const char* text) override;

    std::vector<std::string> lines;    // what was printed, in order
    std::vector<std::string> results;  // the values of the last result
    int resultCount = 0;
    std::function<void()> whenTold;  // runs with each line, inside the call
};

// Where Python makes temporary files meanwhile; they go with it.
class CTemporaryFiles {
public:
    CTemporaryFiles() { setenv("TMPDIR", m_folder.path().c_str(), 1); }
    ~CTemporaryFiles() { setenv("TMPDIR", std::filesystem::path(m_folder.path()).parent_path().c_str(), 1); }
    CTemporaryFiles(const CTemporaryFiles&) = delete;
    CTemporaryFiles& operator=(const CTemporaryFiles&) = delete;

private:
    CTestFolder m_folder;
};

// Checks in its destructor that no object of the host is alive, unless the test expects that.
struct CNothingAlive {
    ~CNothingAlive();
    bool isExpected = true;
};

// The host as an adopted module sees it: the test may provide services of its own.
class CTestApplication final : public IKzUnknown {
public:
    KzResult QueryInterface(const KzGuid* iid, void** object) override {
        const KzResult code = own ? own(*iid, object) : kzNotFound;
        return code == kzNotFound ? host->QueryInterface(iid, object) : code;
    }
    std::uint32_t AddRef() override { return 1; }
    std::uint32_t Release() override { return 1; }

    std::function<KzResult(const KzGuid& iid, void** object)> own;  // with NOTFOUND the host is asked
    IKzUnknown* host = nullptr;
};

class CPluginHost {
public:
    CNothingAlive nothingAlive;  // the last to go
    CTemporaryFiles temporaryFiles;

    // A host with the kit of the build tree and no plug-in yet.
    CPluginHost();

    // Loads the plug-in of the build tree as a host does.
    CPluginHost& load();
    // Adopts the plug-in that is linked to the test.
    CPluginHost& adopt(IKzUnknown* module);

    CTestApplication application;
    CKzHost host;

    // Runs a text as the script "test.py" and returns how it ended.
    ScriptEnd run(const std::string& text, const std::string& args = {});
    // As above, and returns the new entries of the log subsystem "scripts".
    std::string output(const std::string& text, const std::string& args = {});

    // Runs the checks of a Python module in a folder of the tests, and fails the test if one of them does.
    void check(const std::string& folder, const std::string& module);

    // The log of a subsystem, one line each: two blanks for each level of depth, the entry's code unless it is 1, and
    // its text.
    std::string log(const std::string& subsystem) const;
    void clearLog();

    // Objects that are alive, by name, without those of the log and the services, which the host keeps.
    static std::string alive();

    // A new instance of one of the plug-in's servers ("lineinterpreter"); empty on failure.
    CKzLoc_Unknown& spawn(const char* className, CKzLoc_Unknown& object);
};

// A console session, which returns the output of lines as one text.
class CTestSession {
public:
    explicit CTestSession(CPluginHost& host);

    KzResult execute(const std::string& line);
    // Runs each line. Returns what was printed and, after "= ", the results; a failure code comes last.
    std::string run(const std::string& lines);
    std::string prompt(bool continued = false) const;
    void reset() const { m_interpreter->Reset(); }
    explicit operator bool() const { return static_cast<bool>(m_interpreter); }

    CHostRef<CTestConsole> console = CHostRef<CTestConsole>::make();

private:
    CKzUser_LineInterpreter m_interpreter;
};
