// Start-up: what it sets up, what it survives, and what it reports when it fails.
#include "host/core/service_registry.h"
#include "host/state/call_watch.h"
#include "host/state/import_paths.h"
#include "host/state/path_aliases.h"

#include "tests/support/child.h"
#include "tests/support/host_test.h"

#include "kz/file.h"
#include "kz/log.h"
#include "kz/platform.h"
#include "kz/result.h"

#include <clocale>
#include <csignal>

using namespace kzhost;

namespace {

using Cause = std::function<void(CPluginHost&)>;

struct Fault {
    const char* name;
    Cause cause;
    std::string answer;  // to the console line 1+1
    std::string log;
};

void check(const std::vector<Fault>& table) {
    for (const Fault& fault : table)
        kzInChild(fault.name, [&] {
            CPluginHost host;
            fault.cause(host.load());
            CTestSession session(host);
            EXPECT_EQ(session.run("1+1\n"), fault.answer);
            EXPECT_EQ(host.log("python"), fault.log);
            // The answer stays the same: start-up is not tried again.
            host.host.calls().heal();
            EXPECT_EQ(session.run("1+1\n"), fault.answer);
            EXPECT_EQ(kzSucceeded(host.run("pass").code), fault.answer == "= 2\n");
        });
}

Cause failing(const char* operation, KzResult code, int times = CCallWatch::always) {
    return [=](CPluginHost& host) { host.host.failOperation(operation, code, times); };
}

Cause without(const KzGuid& service) {
    return [&service](CPluginHost& host) { host.host.services().remove(service); };
}

// Puts the file into a folder "PATH/NAME" of its own, which comes first on the import path.
Cause shadowed(const CTestFolder& folder, const char* name, const char* file, const char* text) {
    return [=, &folder](CPluginHost& host) {
        folder.write(std::string(name) + "/" + file, text);
        host.host.importPaths().set({folder.path() + "/" + name});
    };
}

constexpr const char* good = "= 2\n";

}  // namespace

TEST(StartupTest, SurvivesWhatIsNotNeeded) {
    const CTestFolder folder;
    const char* servers = "kzserv/__init__.py";
    const auto heading = [&](const std::string& text, int line) {
        return "[00000002] importing servers (kzserv) failed\n" + text + "\n .. " + folder.path() + "/servers/" +
               servers + ": " + std::to_string(line) + "\n .. <string>: 1\n";
    };
    check({{"nothing", [](CPluginHost&) {}, good, ""},
           {"short buffers", failing("File.ToLocalAlias", KZe_SHORTBUFFER, 3), good, ""},
           {"no program name", failing("File.FileSystemPath", KZe_NOTFOUND), good, "error getting executable name\n"},
           {"import paths that fail", failing("Platform.ImportPathByIndex", KZe_NOACCESS), good, ""},
           {"no subsystem", failing("Log.SubSystemLookup", KZe_FAILED), good, ""},
           {"no entries", failing("Log.CreateEntry", KZe_FAILED), good, ""},
           {"no log", without(KZu_LOGSERVICE), good, ""},
           {"a broken site", shadowed(folder, "a", "site.py", "raise ValueError('site')"), good,
            "[80000018] 'site' module failed to import\n[80000000] Unhandled exception \"ValueError\"; site\n .. " +
                folder.path() + "/a/site.py: 1\n"},
           {"servers that fail", shadowed(folder, "servers", servers, "1/0"), good,
            heading("[80000000] Unhandled exception \"ZeroDivisionError\"; integer division or modulo by zero", 1)},
           {"servers that leave", shadowed(folder, "servers", servers, "import sys\nsys.exit(1)"), good,
            heading("sys.exit() exception", 2)},
           {"servers that fail without a text",
            shadowed(folder, "servers", servers, "class Mute(Exception):\n  def __str__(self): 1/0\nraise Mute"), good,
            heading("[80000000] Unhandled exception \"Mute\"", 3)},
           {"a broken kzu", shadowed(folder, "b", "kzu/__init__.py", ""), good,
            "kzu.object failed to import\n[80000000] Unhandled exception \"ImportError\"; No module named object\n"}});
}

TEST(StartupTest, SaysWhatFailed) {
    const CTestFolder folder;
    const auto said = [](const std::string& why) { return why + "\n[80000018] Python subsystem failed to start\n"; };
    check({{"no file service", without(KZu_FILESERVICE), "code 80000000\n", said("[80000000] error thrown on startup")},
           {"no platform service", without(KZu_PLATFORMSERVICE), "code 80000000\n",
            said("[80000000] init failed: getting import paths")},
           {"no import paths", failing("Platform.ImportPathCount", KZe_NOACCESS), "code 80000009\n",
            said("[80000009] init failed: getting import paths")},
           {"a site without folders", shadowed(folder, "a", "site.py", "addsitedir = None"), "code 80000000\n",
            said("[80000000] init failed: importing kzu")}});
}

TEST(StartupTest, OrdersTheImportPaths) {
    CPluginHost host;
    const CTestFolder folder;
    for (const char* name : {"P", "Q", "R"}) host.host.importPaths().add(folder.path() + "/" + name);
    host.load();
    folder.write("module/Scripts/x.py", "");
    const std::string part(250, 'n');
    const std::string longName = part + "/" + part + "/" + part;  // longer than the first buffer
    folder.write(longName + "/x.py", "");
    host.host.files().setAlias("module", folder.path() + "/module");
    host.host.files().setAlias("scripts", folder.path() + "/" + longName);
    CTestSession session(host);
    const std::string kit = host.host.files().expand("kit_Python2_7:extra64/Python").value_or("");
    EXPECT_EQ(session.run("import sys, site\n[p.replace('" + folder.path() + "', '') for p in sys.path[:5]]\n"),
              "= /module/Scripts /P /Q /R " + kit + "/Scripts\n");
    EXPECT_EQ(session.run("site.USER_SITE == site.USER_BASE == '" + folder.path() + "/" + longName + "'\n"),
              "= True\n");
    EXPECT_EQ(session.run("site.USER_SITE in sys.path, sys.prefix\n"), "= True " + kit + "\n");
}

TEST(StartupTest, LeavesTheProcessAsItWas) {
    std::setlocale(LC_ALL, "C");
    std::signal(SIGUSR1, SIG_IGN);
    struct sigaction before[NSIG] = {};
    for (int number = 1; number < NSIG; ++number) sigaction(number, nullptr, &before[number]);
    const auto unchanged = [&](const char* when) {
        for (int number = 1; number < NSIG; ++number) {
            struct sigaction now {};
            if (sigaction(number, nullptr, &now) != 0) continue;
            EXPECT_EQ(now.sa_handler, before[number].sa_handler) << when << ": signal " << number;
        }
        EXPECT_STREQ(std::setlocale(LC_ALL, nullptr), "C") << when;
    };
    {
        CPluginHost host;
        host.load();
        unchanged("after loading");
        CTestSession session(host);
        unchanged("after start-up");
        session.run("import signal, threading, locale, socket\n");
        unchanged("after imports");
        session.run("signal.signal(signal.SIGUSR2, lambda *a: None)\n"
                    "signal.signal(signal.SIGINT, signal.default_int_handler)\n");
    }
    unchanged("after unload");
    kzInChildKilledBy(SIGINT, "an interrupt after unload", [] { std::raise(SIGINT); });
}

TEST(StartupTest, LetsExtensionModulesFindTheInterpreter) {
    CPluginHost host;
    CTestSession session(host.load());
    for (const char* name : {"_json", "ctypes", "ssl", "sqlite3", "decimal", "bz2", "xml.etree.cElementTree"})
        EXPECT_EQ(session.run(std::string("import ") + name + "\n"), "") << name;
    EXPECT_EQ(session.run("import json\njson.loads('[1, 2]')\n"), "= 1 2\n");
    EXPECT_EQ(session.run("import sqlite3\nsqlite3.connect(':memory:').execute('select 6*7').fetchone()\n"), "= 42\n");
}
