// Output of the generator for a tiny description, and how files are written.
#include <gtest/gtest.h>

#include "gen/emit.h"
#include "gen/emit_tables.h"
#include "kz_paths.h"
#include "tests/gen/describe.h"
#include "tests/gen/folder.h"

namespace kzgen {

namespace {

namespace fs = std::filesystem;

const fs::path tiny = fs::path(KZ_SOURCE_DIR) / "tests/gen/tiny";

Model loadTiny() {
    Diagnostics diagnostics;
    Model model = load(tiny, Completeness::Whole, diagnostics);
    EXPECT_EQ(diagnostics.text(), "");
    return model;
}

}  // namespace

TEST(Emit, AnUnchangedFileKeepsItsDate) {
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

TEST(Emit, WhatCannotBeWrittenIsSaid) {
    const Folder folder(Files{{"file", ""}});
    Output output(folder.path() / "file");
    EXPECT_THROW(output.write("below", "text"), std::exception);
}

TEST(Emit, TheReferenceLeadsFromTheIndexToEveryName) {
    const Folder folder;
    Output output(folder.path());
    emitDocs(loadTiny(), output);
    const std::string entries = contentsOf(folder.path() / "entries.js");
    const std::string page = contentsOf(folder.path() / "tiny.html");
    std::size_t links = 0;
    for (std::size_t at = entries.find("tiny.html#"); at != std::string::npos;
         at = entries.find("tiny.html#", at + 1)) {
        const std::size_t start = at + std::string("tiny.html#").size();
        const std::string anchor = entries.substr(start, entries.find('"', start) - start);
        EXPECT_NE(page.find("id=\"" + anchor + "\""), std::string::npos) << anchor;
        ++links;
    }
    EXPECT_EQ(links, 36U);
    for (const char* text : {"string text = Name(integer index,pointer record)", "thg_Changed(other, color)",
                             "color holds 3 elements", "a &lt; b &amp; c", "How a thing is made.", "and never stops"}) {
        EXPECT_NE(page.find(text), std::string::npos) << text;
    }
    EXPECT_NE(contentsOf(folder.path() / "index.html").find("tiny.html#TinyService"), std::string::npos);
}

TEST(Emit, ASignatureStandsForTheMethodsAlone) {
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
