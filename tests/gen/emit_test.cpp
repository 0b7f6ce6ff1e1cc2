// How the generator writes files, and what its tables say.
#include <gtest/gtest.h>

#include "gen/emit.h"
#include "gen/emit_tables.h"
#include "tests/gen/describe.h"
#include "tests/gen/folder.h"

namespace kzgen {

namespace fs = std::filesystem;

TEST(EmitTest, AnUnchangedFileKeepsItsDate) {
    const Folder folder({{"same", "text"}, {"other", "text"}});
    const auto longAgo = fs::file_time_type::clock::now() - std::chrono::hours(1);
    fs::last_write_time(folder.path() / "same", longAgo);
    fs::last_write_time(folder.path() / "other", longAgo);
    Output output(folder.path());
    output.write("same", "text");
    output.write("other", "texts");
    EXPECT_EQ(fs::last_write_time(folder.path() / "same"), longAgo);
    EXPECT_NE(fs::last_write_time(folder.path() / "other"), longAgo);
    EXPECT_EQ(contentsOf(folder.path() / "other"), "texts");
}

TEST(EmitTest, WhatCannotBeWrittenIsSaid) {
    const Folder folder(Files{{"file", ""}});
    Output output(folder.path() / "file");
    EXPECT_THROW(output.write("below", "text"), std::exception);
}

TEST(EmitTest, ASignatureStandsForTheMethodsAlone) {
    const auto row = [](const std::string& methods) {
        const Described described(interfaceOf(methods));
        EXPECT_EQ(described.errors(), "");
        const Folder folder;
        Output output(folder.path());
        emitTables(described.model, output);
        const std::string text = contentsOf(folder.path() / "kz/tables.h");
        return text.substr(text.find("\"I\""), 60);
    };
    const std::string first = row("  result A(int x);\n  result B();\n");
    EXPECT_EQ(row("  // What it does.\n  result A(int x);   // and how\n  result B();\n"), first);
    for (const char* other : {"  result B();\n  result A(int x);\n", "  result A(uint x);\n  result B();\n",
                              "  result A(int y);\n  result B();\n", "  result A(out int x);\n  result B();\n",
                              "  result A(int x);\n  uint B();\n", "  result A(int x);\n  result C();\n",
                              "  result A(int x);\n  result B();\n  result C();\n"})
        EXPECT_NE(row(other), first) << other;
}

}  // namespace kzgen
