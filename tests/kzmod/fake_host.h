// A host that does what a test tells it: one application object with the services that the kz module asks for, and one
// object of each kind that they hand out. Every operation can be told to fail, or to succeed with nothing.
#pragma once

#include "kz/all.h"

#include <functional>
#include <map>
#include <string>
#include <vector>

// What the host is to do. A test sets up a fresh one for each case.
struct FakeScript {
    std::map<std::string, KzResult> fails;  // operation name -> code to answer
    std::map<std::string, bool> empty;      // operation name -> succeeds but hands out null

    std::uint32_t newFlags = 0x22;
    std::int32_t toggleState = 0;
    KzResult messageCode = 0;
    std::string messageText = "it broke";

    std::uint32_t valueType = KZiVALUE_TYPE_INTEGER;
    std::string valueTypeName = "integer";
    std::vector<double> numbers;
    std::vector<std::string> texts;
    std::uint32_t badElement = 0xFFFFFFFFU;  // the index at which elements cannot be read
    bool hasHints = false;
    const char* queryName = "colour";  // the attribute that the script service knows

    std::function<void()> onExecute;  // what the command does
    std::function<void()> onMonitor;  // what any call to a monitor does first
};

class FakeHost {
public:
    static FakeHost& instance();

    FakeScript script;
    std::vector<std::string> calls;  // operations with their telling arguments, in order
    // Whether one of the calls is exactly this.
    bool called(const std::string& call) const;

    // Notes the call; the code that the operation is to answer.
    KzResult enter(const char* operation, const std::string& arguments = {});
    // As enter, and hands out a new object of the polymorph on success.
    KzResult give(const char* operation, const std::string& arguments, CKzGenericPolymorph& polymorph,
                  IKzUnknown** out);

private:
    FakeHost();
    CKzGlobalCache m_cache;
};
