// Part of a test in a process of its own.
#include "tests/support/child.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <sys/wait.h>
#include <unistd.h>

extern "C" __attribute__((weak)) void __lsan_disable();

namespace {

int statusOfChild(const char* name, const std::function<void()>& body) {
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        const testing::ScopedTrace trace(__FILE__, __LINE__, name);
        body();
        std::fflush(nullptr);
        std::exit(testing::Test::HasFailure() ? 1 : 0);
    }
    int status = -1;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    return status;
}

}  // namespace

void kzInChild(const char* name, const std::function<void()>& body) {
    const int status = statusOfChild(name, body);
    EXPECT_EQ(status, 0) << name << (WIFSIGNALED(status) ? ": ended by a signal" : ": failed");
}

void kzInChildKilledBy(int signal, const char* name, const std::function<void()>& body) {
    const int status = statusOfChild(name, body);
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == signal) << name << ": status " << status;
}

void kzEndsWithLiveObjects() {
    if (__lsan_disable != nullptr) __lsan_disable();
}
