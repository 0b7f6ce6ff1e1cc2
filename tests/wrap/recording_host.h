// A host of recording objects with Python started in it, and the scripts that drive them.
#pragma once

#include "module/py_lock.h"
#include "module/py_ref.h"
#include "tests/support/plugin_host.h"

#include <gtest/gtest.h>

#include <map>
#include <optional>
#include <string>

// Holds the interpreter lock throughout.
class RecordingTest : public testing::Test {
protected:
    RecordingTest();

    // Runs a function of a script beside this file. What it finds wrong it reports itself; what it returns is a
    // dictionary of counts. No host object may be left.
    std::map<std::string, long> run(const char* script, const char* function);

private:
    static std::map<std::string, long> call(const char* script, const char* function);

    CPluginHost m_host;
    std::optional<CPyLock> m_lock;
};
