// Start-up, whatever the process and the user's environment are like.
#include "tests/bare_host/bare_host.h"
#include "tests/support/child.h"
#include "tests/support/folder.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <dlfcn.h>
#include <filesystem>

TEST(StartTest, IsRefusedWherePythonRunsAlready) {
    for (const bool holdsLock : {false, true})
        kzInChild(holdsLock ? "a thread of that Python" : "another thread", [=] {
            CBareHost host;
            ASSERT_TRUE(host.load());
            const auto call = [&](const char* name) { reinterpret_cast<void (*)()>(dlsym(host.library, name))(); };
            call("Py_Initialize");
            call("PyEval_InitThreads");
            if (!holdsLock) call("PyEval_SaveThread");
            EXPECT_EQ(host.execute("1"), KZe_NOTAVAILABLE);
            EXPECT_EQ(host.run("1"), KZe_NOTAVAILABLE);
            EXPECT_TRUE(host.hasLogged("Python runs in this process already")) << host.log();
            EXPECT_TRUE(host.hasLogged("Python subsystem failed to start"));
            host.module.clear();
            EXPECT_EQ(host.references(), 1U);
            EXPECT_NE(reinterpret_cast<int (*)()>(dlsym(host.library, "Py_IsInitialized"))(), 0);
        });
}

TEST(StartTest, SurvivesTheUsersEnvironment) {
    const CTestFolder folder;
    folder.write("foreign/codecs.py", "raise ValueError('foreign')\n");
    folder.write("foreign/friend.py", "word = 'friend'\n");
    folder.write("leaving/encodings/__init__.py", "import os; os._exit(3)\n");
    for (const char* name : {"codecs.py", "encodings/__init__.py", "os.py", "site.py"})
        folder.write(std::string("python3/") + name, "def f(*, a=None): pass\n");
    folder.write("python3/only3.py", "word = 3\n");
    folder.write("mine/package/__init__.py", "word = 'mine'\n");
    const std::string all = folder.path("foreign") + ":" + folder.path("leaving") + ":" + folder.path("python3") + ":" +
                            folder.path("mine");
    const struct {
        const char* variable;
        std::string value;
        const char* line;       // a console line
        const char* answer;     // in the log
        const char* complaint;  // in the log, with the variable's name; null for none
    } table[] = {
        {"PYTHONHASHSEED", "abc", "1 + 1", "= 2\n", "PYTHONHASHSEED: \"abc\" is ignored"},
        {"PYTHONHASHSEED", "4294967296", "1 + 1", "= 2\n", "PYTHONHASHSEED: \"4294967296\" is ignored"},
        {"PYTHONHASHSEED", "random", "__import__('sys').flags.hash_randomization", "= 1\n", nullptr},
        {"PYTHONHASHSEED", "77", "hash('a') == -4766264447219163441", "= ", nullptr},
        {"PYTHONPATH", all, "__import__('package').word", "= mine\n", "foreign\" comes after the standard library"},
        {"PYTHONPATH", all, "__import__('friend').word", "= friend\n", "PYTHONPATH: "},
        {"PYTHONPATH", all, "__import__('json').dumps(u'a'.encode('utf-8'))", "= \"a\"\n", "python3\" is ignored"},
        {"PYTHONPATH", all, "__import__('only3').word", "No module named only3", "leaving\" comes after"},
        {"PYTHONPATH", folder.path("mine"), "__import__('os').environ['PYTHONPATH'][-4:]", "= mine\n", nullptr},
        {"PYTHONPATH", kzBareKit + "extra64/Python/lib/python2.7", "1 + 1", "= 2\n", nullptr},
        {"PYTHONHOME", "/nowhere", "1 + 1", "= 2\n", nullptr},  // the kit's home comes first
        {"PYTHONIOENCODING", "nonsense", "1 + 1", "= 2\n", nullptr},
        {"PYTHONSTARTUP", folder.path("foreign/codecs.py"), "1 + 1", "= 2\n", nullptr},
        {"PYTHONINSPECT", "1", "1 + 1", "= 2\n", nullptr}};
    for (const auto& row : table)
        kzInChild((std::string(row.variable) + "=" + row.value + " " + row.line).c_str(), [&] {
            setenv(row.variable, row.value.c_str(), 1);
            CBareHost host;
            ASSERT_TRUE(host.load());
            host.execute(row.line);
            EXPECT_TRUE(host.hasLogged(row.answer)) << host.log();
            EXPECT_EQ(host.log().find(row.variable) == std::string::npos, row.complaint == nullptr) << host.log();
            EXPECT_TRUE(host.hasLogged(row.complaint != nullptr ? row.complaint : "")) << host.log();
            EXPECT_EQ(std::getenv(row.variable), row.value);
        });
    kzInChild("no home of the host's", [&] {
        setenv("PYTHONHOME", folder.path("foreign").c_str(), 1);
        CBareHost host;
        host.aliases.clear();
        ASSERT_TRUE(host.load());
        host.execute("1 + 1");
        EXPECT_TRUE(host.hasLogged("= 2\n")) << host.log();
        EXPECT_TRUE(host.hasLogged("PYTHONHOME: \"" + folder.path("foreign") + "\" is ignored")) << host.log();
    });
}

// The current folder is nobody's path, though the empty path that stands for no folder could be taken for it.
TEST(StartTest, RunsNothingOfTheCurrentFolder) {
    const CTestFolder folder;
    const std::string mark = folder.path("ran");
    const std::string touch = "open('" + mark + "', 'a').close()\n";
    folder.write("here/run.pth", "import os; " + touch);
    folder.write("here/servers/here.py", touch);
    folder.write("here/codecs.py", touch);
    folder.write("here/kzserv.py", touch);
    for (const char* scripts : {"unknown", "empty"})
        kzInChild(scripts, [&] {
            std::filesystem::current_path(folder.path("here"));
            CBareHost host;
            if (scripts[0] == 'e') host.aliases["scripts:"] = host.aliases["module:"] = "";
            host.importPaths = {""};
            ASSERT_TRUE(host.load());
            EXPECT_EQ(host.run(R"(
                import sys, os, site
                assert '' not in sys.path and os.getcwd() not in sys.path, sys.path
                assert site.USER_BASE == site.USER_SITE == ''
                assert site.makepath('a')[0] == os.path.abspath('a'))"_lines),
                      kzOk)
                << host.log();
            EXPECT_FALSE(std::filesystem::exists(mark));
        });
    kzInChild("a site of its own", [&] {
        CBareHost host;
        folder.write("own/site.py", "calls = []\ndef addsitedir(path): calls.append(path)\n");
        host.importPaths = {folder.path("own")};
        ASSERT_TRUE(host.load());
        EXPECT_EQ(host.run("import site; assert site.calls == [''], site.calls\n"), kzOk) << host.log();
    });
}

// The object output of a failed operation is neither used nor released.
TEST(FailureTest, MakesNoOutputOfTheHostCount) {
    const std::pair<const char*, const char*> table[] = {
        {"Log.SubSystemLookup", "print 1"},
        {"Log.CreateEntry", "print 1"},
        {"Log.SubSystemLookup", "kz.service.Log().SubSystemLookup('scripts')"},
        {"Log.CreateEntry", "kz.service.Log().CreateEntry(1, 'text')"},
        {"Application.ServiceByName", "kz.Service('a')"},
        {"ServiceExtension.ScriptQuery", "kz.Service('a')"},
        {"Command.CreateQueryObject", "kz.Service('a').query('b')"},
        {"Command.Spawn", "kz.eval('a')"},
        {"Command.Spawn", "kz.command('a')"},
        {"Command.SpawnImplicitScript", "kz.eval('@a')"},
        {"Command.QueryArgString", "kz.eval('a ?')"},
        {"Command.Message", "kz.command('a')"},
        {"Command.SpawnFromString", "kz.queryToggle('a')"},
        {"Command.SpawnFromString", "kz.test('a')"},
        {"Command.GetToggleArgState", "kz.test('a')"},
        {"Dialog.MonitorAllocate", "kz.Monitor(2).step()"},
        {"ValueArray.GetValue", "kz.service.Command().CreateQueryObject('string').GetValue(0)"},
    };
    for (const auto& [operation, statement] : table)
        kzInChild((std::string(operation) + " in " + statement).c_str(),
                  [operation = operation, statement = statement] {
                      CBareHost host;
                      ASSERT_TRUE(host.load());
                      host.execute("import kz");
                      bool isCalled = false;
                      host.whenCalled = [&](const std::string& called) { isCalled = isCalled || called == operation; };
                      host.failing = operation;
                      host.run(std::string("import kz\n") + statement);
                      host.execute(statement);
                      EXPECT_TRUE(isCalled);
                      EXPECT_EQ(host.trap.touches, 0U);
                      host.failing.clear();
                      host.unload();
                      EXPECT_EQ(host.references(), 1U);
                  });
}
