// kz.Service and kz.Monitor.
#include "scripted_host.h"

#include "host/core/log_store.h"
#include "module/runtime.h"

using namespace kzhost;

namespace {

const std::string noInterface = "RuntimeError: service 'command' has no script interface.";
const std::string queryFailed = "RuntimeError: query failed on service 'command' for attribute 'names'.";
const std::string badSteps = "RuntimeError: Monitor steps must be greater than 0";

}  // namespace

class ServiceTest : public PythonTest {};

TEST_F(ServiceTest, ConstructionFindsTheQueryInterface) {
    check({{"kz.Service('command').name()", "'command'"},
           {"kz.Service('nobody')", "NameError: service 'nobody' not found."},
           {"kz.Service('command')", fails("Application.ServiceByName"), "NameError: service 'command' not found."},
           {"kz.Service('command')", handsOutNothing("Application.ServiceByName"),
            "NameError: service 'command' not found."},
           {"kz.Service('thread')", "RuntimeError: service 'thread' has no script interface."},
           {"kz.Service('command')", fails("ServiceExtension.ScriptQuery"), noInterface},
           {"kz.Service('command')", handsOutNothing("ServiceExtension.ScriptQuery"), noInterface},
           {"kz.Service()", "TypeError: function takes exactly 1 argument (0 given)"},
           {"kz.Service.__new__(kz.Service).name()", "None"},
           {"kz.Service.__new__(kz.Service).select()", "RuntimeError: no active service interface."},
           {"kz.Service.__new__(kz.Service).queryN('x')", "RuntimeError: no active service interface."},
           // After a failed second construction it has the new name and no interface.
           {"s = kz.Service('command')\ntry: s.__init__('nobody')\nexcept NameError: pass\nr = s.name()", "'nobody'"},
           {"s = kz.Service('command')\ntry: s.__init__('nobody')\nexcept NameError: pass\ns.query('names')",
            "RuntimeError: no active service interface."}});
}

TEST_F(ServiceTest, SelectsAndQueries) {
    for (const char* name : {"one", "two"}) host.host.log().write(name, KZe_INFO, "a");
    host.host.log().write("two", KZe_INFO, "b");
    const std::string asked = "s = kz.Service('log')\ns.select('lines', ";
    check({{"kz.Service('command').select('exists', 'b')", "None"},
           {"kz.Service('command').select('a')", fails("ScriptQuery.Select"),
            "RuntimeError: select failed on service 'command' for 'a'."},
           {"kz.Service('command').select(1)", "TypeError: argument 1 must be string, not int"},
           {"s = kz.Service('host'); s.select('servers', 'visitor'); r = [s.query(), s.query1(), s.queryN()]",
            "[None, None, ()]"},
           {asked + "'one')\nr = [s.query(), s.query1(), s.queryN()]", "['a', 'a', ('a',)]"},
           {asked + "'two')\nr = [s.query('lines'), s.query1(), s.queryN()]", "[('a', 'b'), 'a', ('a', 'b')]"},
           {"kz.Service('command').query('nonsense')",
            "RuntimeError: query failed on service 'command' for attribute 'nonsense'."},
           {"kz.Service('command').query('names')", fails("ScriptQuery.Lookup"), queryFailed},
           {"kz.Service('command').query('names')", fails("ScriptQuery.TypeName"), queryFailed},
           {"kz.Service('command').query('names')", fails("CreateQueryObject"), queryFailed},
           {"kz.Service('recorded')", fails("RecordedService"), "NameError: service 'recorded' not found."},
           {"kz.Service('recorded')", handsOutNothing("RecordedService"), "NameError: service 'recorded' not found."},
           {"kz.Service('recorded')", fails("RecordedQuery"),
            "RuntimeError: service 'recorded' has no script interface."},
           {"kz.Service('command').query('names')", handsOutNothing("CreateQueryObject"), queryFailed},
           {"kz.Service('command').query('names')", fails("ScriptQuery.Query"), queryFailed}});
    host.set();
    EXPECT_EQ(outcome("s = kz.Service('recorded'); s.select(); s.select('a'); s.select('a', 'b'); r = s.query()"),
              "None");
    EXPECT_EQ(host.calls, (Strings{"RecordedService", "RecordedQuery", "Select(,null)", "Select(a,null)", "Select(a,b)",
                                   "QueryLookup", "QueryTypeName(3)", "CreateQueryObject(integer)", "Query(3)"}));
}

class MonitorTest : public PythonTest {
protected:
    int calls(const std::string& name) {
        return static_cast<int>(std::count(host.calls.begin(), host.calls.end(), name));
    }
};

TEST_F(MonitorTest, CountsSteps) {
    check({{"kz.Monitor() and None", "None"},
           {"kz.Monitor(0) and None", fails("Initialize"), "None"},
           {"kz.Monitor(3) and None", "None"},
           {"kz.Monitor(-1)", badSteps},
           {"kz.Monitor(3)", fails("Initialize"), "RuntimeError: Error initializing monitor"},
           {"kz.Monitor().init(2)", "None"},
           {"kz.Monitor().init()", badSteps},
           {"kz.Monitor().init('x')", badSteps},
           {"kz.Monitor().init(2)", fails("Initialize"), "RuntimeError: Error initializing monitor"},
           {"kz.Monitor().step()", "None"},
           {"kz.Monitor().step(5)", fails("Increment"), "RuntimeError: Error incrementing monitor"},
           {"kz.Monitor(3).step(5)", fails("MonitorAllocate"), "None"},
           {"kz.Monitor(3).init(5)", handsOutNothing("MonitorAllocate"), "None"},
           {"kz.Monitor.__new__(kz.Monitor).step()", "None"},
           {"m = kz.Monitor(1); m.__init__(2); r = m.step()", "None"},
           // An argument that is not a number: the step counts, and the error stays pending.
           {"kz.Monitor().step('x')", "result with TypeError: an integer is required"},
           {"kz.Monitor().step('x')", fails("Increment"), "RuntimeError: Error incrementing monitor"}});
    EXPECT_TRUE(PythonRuntime::running().monitors.isAlone());
    host.set();
    outcome("m = kz.Monitor(7); m.step(); m.step(5); r = None");
    EXPECT_EQ(host.calls, (Strings{"MonitorAllocate(Progress)", "Initialize(7)", "Increment(1)", "Increment(5)",
                                   "MonitorReleaseObj"}));
}

TEST_F(MonitorTest, AParseErrorStaysSetOnAMonitorThatWasMade) {
    EXPECT_EQ(outcome("kz.Monitor('x')").substr(0, 21), "result with TypeError");
    EXPECT_EQ(calls("MonitorAllocate(Progress)"), 1);
    EXPECT_EQ(calls("MonitorReleaseObj"), 1);
}

TEST_F(MonitorTest, ReleasingAllLeavesThemEmpty) {
    const CPyRef names = newNames();
    const auto run = [&](const char* source) { EXPECT_EQ(runPython(source, names), "") << source; };
    MainInterpreter& interpreter = PythonRuntime::running();
    run("ms = [kz.Monitor(2) for i in range(3)]");
    EXPECT_FALSE(interpreter.monitors.isAlone());
    // The host runs code that ends one monitor while another is being given back.
    host.script.onMonitor = [&] {
        host.script.onMonitor = nullptr;
        run("del ms[1]");
    };
    interpreter.releaseMonitors();
    EXPECT_TRUE(interpreter.monitors.isAlone());
    EXPECT_EQ(calls("MonitorReleaseObj"), 3);
    host.calls.clear();
    run("for m in ms: m.init(3); m.step()");
    run("del m, ms[:]");
    EXPECT_TRUE(host.calls.empty()) << "they hold no monitor any more";
}

TEST_F(MonitorTest, TheHostMayTakeAMonitorAwayInTheMiddleOfAStep) {
    host.script.onMonitor = [this] {
        host.script.onMonitor = nullptr;
        PythonRuntime::running().releaseMonitors();
    };
    EXPECT_EQ(outcome("kz.Monitor().step()"), "None");
    EXPECT_EQ(calls("MonitorReleaseObj"), 1);
}
