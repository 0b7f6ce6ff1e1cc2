// Hosts for one test, without modules or with the plug-in, which must leave nothing alive.
#include "host/state/text.h"

#pragma once

#include "tests/support/plugin_host.h"

#include <gtest/gtest.h>

using namespace kzhost;

// A service of this host, not of the module that is linked to the program.
template <class User> class ServiceOf : public User {
public:
    explicit ServiceOf(IKzUnknown* application) { this->set(application); }
};

class HostTest : public testing::Test {
protected:
    void TearDown() override { m_host.reset(); }
    CKzHost& host() { return m_host->host; }
    void load() { m_host->load(); }
    // Objects that were taken from the host before stay valid.
    void restart() {
        m_host->nothingAlive.isExpected = false;
        m_host.reset();
        m_host = std::make_unique<CPluginHost>();
    }

private:
    std::unique_ptr<CPluginHost> m_host = std::make_unique<CPluginHost>();
};

// The plug-in in a host, and a console, for one test.
class PluginTest : public testing::Test {
protected:
    CPluginHost host;
    CTestSession session{host.load()};
};

// The text that an operation writes into a caller's buffer.
template <class Operation> std::string textOf(Operation&& operation, std::size_t size = 4096) {
    std::string text(size, '\0');
    const KzResult code = operation(text.data(), static_cast<std::uint32_t>(size));
    return kzFailed(code) ? kzCodeName(code) : text.substr(0, text.find('\0'));
}
