// Loading the plug-in: twice, and into a host of another description.
#include "tests/bare_host/bare_host.h"
#include "tests/support/child.h"
#include "tests/support/folder.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <dlfcn.h>
#include <fstream>

TEST(load, is_refused_a_second_time_with_a_reason) {
    const CTestFolder folder;
    kzInChild("loaded again", [&] {
        CBareHost first;
        ASSERT_TRUE(first.load());
        first.execute("1");
        first.unload();
        ASSERT_NE(std::freopen(folder.path("errors").c_str(), "w", stderr), nullptr);
        CBareHost second;
        EXPECT_FALSE(second.load());
        EXPECT_NE(second.library, nullptr);
        EXPECT_FALSE(second.module);
        std::fflush(stderr);
        std::string line;
        std::getline(std::ifstream(folder.path("errors")), line);
        EXPECT_EQ(line,
                  "kzPython2: the module has been unloaded in this process, and Python cannot start twice in one");
    });
}
