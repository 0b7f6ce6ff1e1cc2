// Python with the module's own functions and types, on the scripted host.
#pragma once

#include "fake_host.h"

#include "module/py_lock.h"
#include "tests/support/python_text.h"

#include <gtest/gtest.h>

#include <optional>

// What a case may ask of the host: that the operation fails, or that it succeeds and hands out nothing.
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

// Holds the interpreter lock throughout. A test body checks nothing of leaks itself: every evaluation does.
class PythonTest : public testing::Test {
protected:
    PythonTest();
    ~PythonTest() override;

    // The outcome of the source, as in Case. Fails the test when it leaves anything behind: an exception, a host object,
    // a reference.
    static std::string outcome(const std::string& source);
    // What is traced meanwhile.
    std::vector<std::string> linesOf(const char* source);
    // Runs each case between the given texts on a fresh script, three times over, and compares.
    void check(const std::vector<Case>& cases, const std::string& before = {}, const std::string& after = {});

    FakeHost host;
    TraceLines traced;

private:
    std::optional<CPyLock> m_lock;
    std::optional<COutputScope> m_scope;
};
