// A host whose operations fail, one after the other: at the start, in scripts and console lines, when Python calls it and
// when it makes Python's servers, and at the end.
#include "tests/bare_host/bare_host.h"
#include "tests/prove/proof.h"
#include "tests/support/child.h"
#include "tests/support/folder.h"

#include <gtest/gtest.h>

#include <set>
#include <sys/mman.h>

namespace {

// What the plug-in does, and what it says of it.
struct Situation {
    const char* name;
    bool starts;  // Python has not run before
    std::string (*work)(CBareHost& host);
};

std::string coded(KzResult code) {
    char text[16];
    std::snprintf(text, sizeof text, "%08x", code);
    return text;
}

// Runs a statement in a script, which keeps what it raises.
template <const char* const& statement> std::string raised(CBareHost& host) {
    return coded(host.run(std::string("import kz, sys\ntry:\n    ") + statement +
                          "\n    sys.said = 'nothing'\n"
                          "except Exception as e: sys.said = '%s: %s' % (type(e).__name__, e)\n"));
}

std::string spawned(CBareHost& host) {
    CKzLoc_Unknown module, server;
    if (const KzResult code = host.spawn(KZu_MODULE, module); kzFailed(code)) return coded(code);
    return coded(CKzUser_Module(module.raw()).Generate("proof", &KZu_COMMAND, server.out()));
}

constexpr const char* eval = "kz.eval('a b')";
constexpr const char* query = "kz.eval('a ?')";
constexpr const char* implicit = "kz.eval('@a')";
constexpr const char* command = "kz.command('a', b=1)";
constexpr const char* toggle = "kz.queryToggle('a')";
constexpr const char* tested = "kz.test('a')";
constexpr const char* service = "kz.Service('a').query('b')";
constexpr const char* monitor = "kz.Monitor(2).step()";
constexpr const char* bless = "import kzifc; kz.bless(type('A', (kzifc.Command,), {}), 'blessed')";
constexpr const char* wrapped = "kz.service.Command().Lookup('x')";

const Situation situations[] = {
    {"start", true, [](CBareHost& host) { return coded(host.execute("1 + 1")); }},
    {"start by a script", true, [](CBareHost& host) { return coded(host.run("print 1")); }},
    {"script", false, [](CBareHost& host) { return coded(host.run("print 1")); }},
    {"failing script", false, [](CBareHost& host) { return coded(host.run("1/0")); }},
    {"console", false, [](CBareHost& host) { return coded(host.execute("'a'")); }},
    {"failing line", false, [](CBareHost& host) { return coded(host.execute("1/0")); }},
    {"kz.eval", false, raised<eval>},
    {"kz.eval of a query", false, raised<query>},
    {"kz.eval of a script", false, raised<implicit>},
    {"kz.command", false, raised<command>},
    {"kz.queryToggle", false, raised<toggle>},
    {"kz.test", false, raised<tested>},
    {"kz.Service", false, raised<service>},
    {"kz.Monitor", false, raised<monitor>},
    {"kz.bless", false, raised<bless>},
    {"a wrapper", false, raised<wrapped>},
    {"spawning", false, spawned},
    {"end", false, [](CBareHost& host) { return host.unload(), std::string("ended"); }},
};

// What a failure leads to; any other one makes no difference. "=" is the code of the failure, or FAILED for an exception,
// and an operation that succeeds without its output ends like one that fails where the last column says so.
struct Expectation {
    const char* situation;  // its name, or the start of several
    const char* operation;
    const char* outcome;
    bool withoutOutput;
};
const Expectation expectations[] = {
    {"", "Script.Buffer", "=", true},
    {"start", "Platform.ImportPathCount", "=", false},
    {"", "ValueArray.AddString", "80000000", false},
    {"start", "Command.CreateQueryObject", "80000000", true},
    {"console", "Command.CreateQueryObject", "80000000", true},
    {"kz.", "Command.ProcessStringFlags", "RuntimeError: error processing command prefix flags", false},
    {"kz.eval", "Command.QueryArgString", "RuntimeError: command argument parsing failed", true},
    {"kz.eval", "Command.SpawnImplicitScript", "RuntimeError: error spawning script", true},
    {"kz.eval", "Command.Spawn", "RuntimeError: command could not be found", true},
    {"kz.eval", "Command.IsImplicitScript", "RuntimeError: internal: could not get value type", false},
    {"kz.", "Command.Message", "SystemError: error return without exception set", true},
    {"kz.command", "Command.Lookup", "RuntimeError: command:a not found", false},
    {"kz.command", "Command.Spawn", "RuntimeError: command:a could not spawn command", true},
    {"kz.command", "Command.ParseAttribObject", "RuntimeError: command:a could not parse argument list.", false},
    {"kz.test", "Command.GetToggleArgState", "RuntimeError: could not query toggle argument", false},
    {"kz.test", "Command.SpawnFromString", "RuntimeError: error in command string", true},
    {"kz.Service", "Application.ServiceByName", "NameError: service 'a' not found.", true},
    {"kz.Service", "ServiceExtension.ScriptQuery", "RuntimeError: service 'a' has no script interface.", true},
    {"kz.Service", "Command.CreateQueryObject", "RuntimeError: query failed on service 'a' for attribute 'b'.", true},
    {"kz.Service", "ScriptQuery.", "RuntimeError: query failed on service 'a' for attribute 'b'.", false},
    {"kz.Monitor", "Monitor.Initialize", "RuntimeError: Error initializing monitor", false},
    {"kz.Monitor", "Monitor.Increment", "RuntimeError: Error incrementing monitor", false},
    {"kz.bless", "GUID.Global", "LookupError: not found", false},
    {"spawning", "GUID.Global", "80000017", false},
    {"a wrapper", "Command.Lookup", "Error: ", false},  // one for each code, which the wrappers' tests know
};

std::string expected(const std::string& situation, const std::string& operation, KzResult failure,
                     const std::string& otherwise) {
    for (const Expectation& each : expectations) {
        if (!situation.starts_with(each.situation) || !operation.starts_with(each.operation)) continue;
        if (failure == kzOk && !each.withoutOutput) return otherwise;
        return each.outcome[0] != '=' ? each.outcome : coded(kzFailed(failure) ? failure : KZe_FAILED);
    }
    return otherwise;
}

// Written by children.
struct Said {
    char text[4000] = "";
};

class RefusalTest : public testing::Test {
protected:
    ~RefusalTest() override { munmap(said, sizeof(Said)); }

    // The situation in a process of its own, in which an operation fails.
    std::string enact(const Situation& situation, const std::string& failing, KzResult failure,
                      std::set<std::string>* called = nullptr) {
        const std::string label = std::string(situation.name) + ", " + failing + " " + coded(failure);
        *said = {};
        kzInChild(label.c_str(), [&] {
            static CBareHost& host = *new CBareHost();  // for late callers, until the process has ended
            host.importPaths = {folder.path()};
            ASSERT_TRUE(host.load());
            if (!situation.starts) host.execute("import sys; sys.said = ''");
            std::string operations;
            host.whenCalled = [&](const std::string& operation) { operations += operation + "\n"; };
            host.failing = failing;
            host.failure = failure;
            std::string outcome = situation.work(host);
            host.failing.clear();
            host.whenCalled = nullptr;
            EXPECT_EQ(host.trap.touches, 0U);
            if (host.library != nullptr) {
                if (!situation.starts) {
                    EXPECT_EQ(host.run("import sys\nprint 'said', sys.said or '00000000'"), kzOk) << host.log();
                    const std::string log = host.log();
                    const auto at = log.rfind("said ") + 5;
                    if (const auto end = log.find('\n', at); outcome == coded(kzOk) && end > at)
                        outcome = log.substr(at, end - at);
                }
                host.unload();
            }
            EXPECT_EQ(host.references(), 1U);
            (outcome + "\n" + operations).copy(said->text, sizeof said->text - 1);
        });
        std::istringstream lines(said->text);
        std::string outcome;
        std::getline(lines, outcome);
        for (std::string operation; called != nullptr && std::getline(lines, operation);) called->insert(operation);
        return outcome;
    }

    CTestFolder folder;
    Said* said = new (mmap(nullptr, sizeof(Said), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0)) Said();
};

}  // namespace

TEST_F(RefusalTest, OfEachOperationIsToldAndNothingIsHeld) {
    folder.write("servers/proof.py", "import kz, kzifc\nclass Proof(kzifc.Command): pass\nkz.bless(Proof, 'proof')\n");
    const std::vector<KzResult> whole = {
        KZe_NOACCESS,    kzOk,           KZe_FALSE,    KZe_FAILED,       KZe_NOTIMPL,
        KZe_OUTOFMEMORY, KZe_INVALIDARG, KZe_NOTFOUND, KZe_NOTAVAILABLE, KZe_CMD_DISABLED};
    const std::vector<KzResult> failures(whole.begin(), whole.begin() + kzProofLength(2, 10));
    int cases = 0;
    std::string wrong;
    for (const Situation& situation : situations) {
        std::set<std::string> called;
        const std::string otherwise = enact(situation, "", kzOk, &called);
        for (const std::string& operation : called)
            for (const KzResult failure : failures) {
                const std::string outcome = enact(situation, operation, failure);
                const std::string wanted = expected(situation.name, operation, failure, otherwise);
                if (outcome != wanted &&
                    (wanted != "Error: " ||
                     outcome.find(wanted) == std::string::npos))  // told at the end: children inherit failures
                    wrong += std::string(situation.name) + ", " + operation + " " + coded(failure) + ": " + outcome +
                             " instead of " + wanted + "\n";
                ++cases;
            }
    }
    EXPECT_EQ(wrong, "");
    kzFigure("failures", cases);
}
