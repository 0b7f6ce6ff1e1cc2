// Folders of descriptions: what headers.txt and the files say of each other.
#include <gtest/gtest.h>

#include "tests/gen/folder.h"

namespace kzgen {

TEST(Folder, ListAndFilesMustAgree) {
    const Folder folder({{"headers.txt", "# The headers.\none\n\nmissing\none\ntwo three\nall\n"},
                         {"one.idl", "// One.\nheader other;\n"},
                         {"stray.idl", "// Stray.\nheader stray;\n"}});
    EXPECT_EQ(folder.errors(Completeness::Whole),
              "headers.txt:1:1: error: found no line for the file 'stray.idl', expected every header listed\n"
              "headers.txt:4:1: error: found header 'missing', expected a file 'missing.idl'\n"
              "headers.txt:5:1: error: found header 'one' again, expected each header once\n"
              "headers.txt:6:1: error: found 'three' behind 'two', expected one header a line\n"
              "headers.txt:7:1: error: found header 'all', expected a name that no file about all headers has\n"
              "one.idl:2:8: error: found header 'other', expected 'one', as the file is called\n");
}

TEST(Folder, NamesAreUniqueAndKnownAcrossHeaders) {
    const std::string guid = "[uuid(\"00000000-0000-0000-0000-00000000000";
    const Folder folder(
        {{"headers.txt", "one\ntwo\n"},
         {"one.idl", "// One.\nheader one;\n\n// A.\n" + guid + "1\")]\ninterface A { void X(object<B> b); };\n"},
         {"two.idl", "// Two.\nheader two;\n\n// B.\n" + guid +
                         "2\")]\ninterface B { };\n"
                         "// A.\n" +
                         guid + "3\")]\ninterface A { };\n"}});
    EXPECT_EQ(folder.errors(Completeness::Whole),
              "two.idl:9:11: error: found interface 'A' again, expected a name of its own (one.idl:6:11 has it)\n"
              "two.idl:9:11: error: found constant 'u_A' again, expected a name of its own (one.idl:6:11 has it)\n");
}

TEST(Folder, WorkInProgressMayLackHeaders) {
    const Folder folder({{"headers.txt", "one\nlater\n"},
                         {"one.idl", "// One.\nheader one;\n\n// A.\n[uuid(\"00000000-0000-0000-0000-000000000001\")]\n"
                                     "interface A { void X(object<Later> b); };\n"}});
    EXPECT_EQ(folder.errors(Completeness::Partial), "");
    EXPECT_EQ(folder.errors(Completeness::Whole),
              "headers.txt:2:1: error: found header 'later', expected a file 'later.idl'\n"
              "one.idl:6:22: error: found object<Later>, expected the name of an interface\n");
}

TEST(Folder, WithoutAList) {
    EXPECT_EQ(Folder().errors(Completeness::Whole),
              "headers.txt:1:1: error: found no such file, expected the list of headers\n");
}

}  // namespace kzgen
