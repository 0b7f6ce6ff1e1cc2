// The whole module in the test's process, on the reference host.
#pragma once

#include "module/error_report.h"
#include "module/py_lock.h"
#include "tests/support/plugin_host.h"

#include "kz/command.h"
#include "kz/module.h"
#include "kz/result.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using TestLog = std::vector<std::pair<std::string, KzResult>>;  // text and level of each entry

// Python's names start with kz and the marked base classes `Command` and `Others[name]`, one for each adapter.
class ServingTest : public testing::Test {
protected:
    ServingTest();
    ~ServingTest() override;

    // Runs statements; the text "Type: message" of what they raise, or nothing.
    std::string run(const std::string& source) const;
    // The value of an expression, as str().
    std::string value(const std::string& expression) const;
    // Binds a name in Python to a new wrapper of a host object.
    void name(const char* name, IKzUnknown* object) const;
    // A new instance of a blessed command; null when it could not be spawned.
    IKzUnknown* spawn(const char* name, const KzGuid& iid = KZu_COMMAND) const;
    // Blesses a class derived from Command with this body, under a new name, and spawns it. `Blessed` is the
    // class, `it` in Python the instance.
    CKzUser_Command command(const std::string& body) const;
    // The entries that the module has logged since the last call.
    TestLog told();
    // The module server "python".
    IKzModule& server() const { return *static_cast<IKzModule*>(m_server.raw()); }
    // Ends Python.
    void unload();

    CPluginHost host;

private:
    CKzLoc_Unknown m_server;
    PyObject* m_names = nullptr;
    std::string m_alive;
    std::size_t m_told = 0;
};
