// Folders of descriptions that are not complete. Faults within them are in faulty/.
#include <gtest/gtest.h>

#include "tests/gen/folder.h"
#include "tests/support/lines.h"

namespace kzgen {

TEST(FolderTest, WorkInProgressMayLackHeaders) {
    const Folder folder({{"headers.txt", "one\nlater\n"}, {"one.idl", R"(
        // One.
        header one;
        // A.
        [uuid("00000000-0000-0000-0000-000000000001")]
        interface A { void X(object<Later> b); };)"_lines}});
    EXPECT_EQ(folder.errors(Completeness::Partial), "");
    EXPECT_EQ(folder.errors(Completeness::Whole),
              "headers.txt:2:1: error: found header 'later', expected a file 'later.idl'\n"
              "one.idl:5:22: error: found object<Later>, expected the name of an interface\n");
}

TEST(FolderTest, WithoutAList) {
    EXPECT_EQ(Folder().errors(Completeness::Whole),
              "headers.txt:1:1: error: found no such file, expected the list of headers\n");
}

}  // namespace kzgen
