// The module on the reference host, where commands, their values and monitors do what a test tells them.
#pragma once

#include "tests/support/plugin_host.h"

#include "kz/result.h"
#include "kz/value.h"

#include <functional>
#include <map>
#include <string>
#include <vector>

// What the host is to do. A test sets up a fresh one for each case.
struct FakeScript {
    std::map<std::string, KzResult> fails;  // operation -> code to answer; with OK it succeeds and hands out nothing

    std::int32_t toggleState = 0;
    KzResult messageCode = 0;
    std::string messageText = "it broke";

    std::uint32_t valueType = KZiVALUE_TYPE_INTEGER;
    std::string valueTypeName = "integer";
    std::vector<double> numbers;
    std::vector<std::string> texts;
    std::uint32_t badElement = 0xFFFFFFFFU;  // the index at which elements cannot be read
    bool hasHints = false;

    std::function<void()> onExecute;  // what the command does
    std::function<void()> onMonitor;  // what any call to a monitor does first
};

class FakeHost : public CPluginHost {
public:
    FakeHost();

    FakeScript script;
    std::vector<std::string> calls;  // operations of the test's own objects with their telling arguments, in order
    // Whether one of the calls is exactly this.
    bool called(const std::string& call) const;
    // Begins a case, on a fresh script with that change.
    void set(const std::function<void(FakeScript&)>& change = nullptr);

    // Notes the call; throws what the operation is to answer instead.
    void enter(const char* operation, const std::string& arguments = {});
};
