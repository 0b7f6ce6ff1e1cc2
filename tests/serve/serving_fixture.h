// The whole module in the test's process, on a host that knows every interface, keeps its log and counts updates.
#pragma once

#include "module/error_report.h"
#include "module/py_lock.h"

#include "kz/command.h"
#include "kz/module.h"
#include "kz/result.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

// What the module told the host.
struct HostRecord {
    std::vector<std::pair<std::string, KzResult>> log;  // text and level of each entry
    std::vector<std::string> updates;                   // modules to be read again
};
HostRecord& hostRecord();

// The module's first interface, with the host's application set; made on the first call. Borrowed.
IKzUnknown* loadedModule();
// Releases it, and with it Python.
void unloadModule();
// The module server "python".
IKzModule& moduleServer();

// Python's names start with kz and the marked base classes `Command` and `Others[name]`, one for each adapter.
class ServingTest : public testing::Test {
protected:
    ServingTest();
    ~ServingTest() override;

    // Runs statements; the text "Type: message" of what they raise, or nothing.
    static std::string run(const std::string& source);
    // The value of an expression, as str().
    static std::string value(const std::string& expression);
    // Gives a host object a name in Python, in a wrapper of its own.
    static void name(const char* name, IKzUnknown* object);
    // A new instance of a blessed command; null when it could not be spawned.
    static IKzUnknown* spawn(const char* name, const KzGuid& iid = KZu_COMMAND);
    // Blesses a class derived from Command whose body is given, and spawns it under a name of its own. `Blessed` is the
    // class, `it` in Python the instance.
    static CKzUser_Command command(const std::string& body);

    static std::vector<std::pair<std::string, KzResult>>& log() { return hostRecord().log; }

private:
    std::uint32_t m_alive;
};
