// The module on the reference host, in which commands, their values and monitors follow a test's script, and tables of
// Python code that runs there.
#pragma once

#include "module/py_lock.h"
#include "tests/support/plugin_host.h"
#include "tests/support/python_text.h"

#include "kz/result.h"
#include "kz/value.h"

#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

using Strings = std::vector<std::string>;

// What the host does. Each case starts with a fresh one.
struct FakeScript {
    std::map<std::string, KzResult> fails;  // operation -> result code; with OK it succeeds without an output

    std::int32_t toggleState = 0;
    KzResult messageCode = 0;
    std::string messageText = "it broke";

    std::uint32_t valueType = KZiVALUE_TYPE_INTEGER;
    std::string valueTypeName = "integer";
    std::vector<double> numbers;
    std::vector<std::string> texts;
    std::uint32_t badElement = 0xFFFFFFFFU;  // the index of the element that cannot be read
    bool hasHints = false;

    std::function<void()> onExecute;  // runs when the command is executed
    std::function<void()> onMonitor;  // runs first in every call to a monitor
};

class FakeHost : public CPluginHost {
public:
    FakeHost();

    FakeScript script;
    Strings calls;  // the operations of the scripted objects with their relevant arguments, in order
    bool called(const std::string& call) const;
    // Begins a case: replaces the script by a fresh one with the given change.
    void set(const std::function<void(FakeScript&)>& change = nullptr);

    // Records the call. Throws the code with which the operation is to fail, if any.
    void enter(const char* operation, const std::string& arguments = {});
};

// Changes of a script: the operation fails, or succeeds without an output.
inline auto fails(const char* operation, KzResult code = KZe_FAILED) {
    return [=](FakeScript& script) { script.fails[operation] = code; };
}
inline auto handsOutNothing(const char* operation) { return fails(operation, KZe_OK); }

struct Case {
    Case(std::string asked, std::string answer) : Case(std::move(asked), nullptr, std::move(answer)) {}
    Case(std::string asked, std::function<void(FakeScript&)> change, std::string answer)
        : source(std::move(asked)), setUp(std::move(change)), expected(std::move(answer)) {}
    std::string source;  // an expression, or statements that leave their result in `r`
    std::function<void(FakeScript&)> setUp;
    std::string expected;  // the result's repr, or "ExceptionType: text"
};

// Holds the interpreter lock throughout. Every evaluation also checks for leaks.
class PythonTest : public testing::Test {
protected:
    PythonTest();
    ~PythonTest() override;

    // Names with the builtins and kz.
    static CPyRef newNames();
    // The outcome of the source, as in Case. Fails the test if the source leaves an exception, a host object or a
    // reference behind.
    static std::string outcome(const std::string& source);
    // The trace lines of the source.
    Strings linesOf(const char* source);
    // Runs each case three times, between the given texts and on a fresh script.
    void check(const std::vector<Case>& cases, const std::string& before = {}, const std::string& after = {});

    FakeHost host;
    TraceLines traced;

private:
    std::optional<CPyLock> m_lock;
    std::optional<COutputScope> m_scope;
};
