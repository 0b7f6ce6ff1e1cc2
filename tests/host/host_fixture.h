// A host for one test, which must leave nothing alive.
#pragma once

#include "host/kz_host.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

// A service of the given host, not of the module that the program might be.
template <class User> class ServiceOf : public User {
public:
    explicit ServiceOf(IKzUnknown* application) { this->set(application); }
};

class HostTest : public testing::Test {
protected:
    void TearDown() override {
        m_host.reset();
        EXPECT_EQ(kzLiveInstanceCount(), 0U) << kzLiveInstanceNames();
    }
    CKzHost& host() { return *m_host; }
    void restart() {
        m_host.reset();
        m_host = std::make_unique<CKzHost>();
    }

private:
    std::unique_ptr<CKzHost> m_host = std::make_unique<CKzHost>();
};

// A folder of its own, gone at the end.
class TemporaryFolder {
public:
    TemporaryFolder() {
        std::string name = (std::filesystem::temp_directory_path() / "kzhost").string() + std::string(6, 'X');
        m_path = mkdtemp(name.data());
    }
    ~TemporaryFolder() { std::filesystem::remove_all(m_path); }
    std::string path(const std::string& name = {}) const { return name.empty() ? m_path : m_path + "/" + name; }
    std::string write(const std::string& name, const std::string& content) const {
        std::ofstream(path(name), std::ios::binary) << content;
        return path(name);
    }

private:
    std::string m_path;
};

// What an operation writes into a caller's buffer.
template <class Operation> std::string textOf(Operation&& operation, std::size_t size = 4096) {
    std::string text(size, '\0');
    const KzResult code = operation(text.data(), static_cast<std::uint32_t>(size));
    return kzFailed(code) ? kzCodeName(code) : text.c_str();
}
