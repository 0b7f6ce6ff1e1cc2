// Memory that runs out while Python is called through an adapter of each signature, and while a scene is loaded.
#include "loopback_call.h"

#include "kz_paths.h"
#include "tests/bare_host/short_memory.h"
#include "tests/prove/proof.h"
#include "tests/prove/scarcity.h"

#include <filesystem>
#include <set>

namespace {

class ScarceTest : public LoopbackTest {
protected:
    void SetUp() override {
        if (!CShortMemory::works()) GTEST_SKIP() << "the sanitizer has the allocator";
    }

    CScarcity scarcity{"loopback_test", kzProofLength(8, 3000)};
};

TEST_F(ScarceTest, AdaptersOfEachSignature) {
    const auto most = static_cast<std::size_t>(kzProofLength(12, 100000));
    std::set<std::string> signatures;
    for (const LoopbackRow& row : loopbackRows()) {
        if (row.name[0] == '\0' || signatures.size() == most || !signatures.insert(row.signature).second) continue;
        CKzLoc_Unknown server;
        serve(row.interfaceName, true, server);
        Call call(row, &there);
        run(call.typed() ? "typed = True" : "typed = False");
        for (const bool raises : {false, true}) {
            answer(raises ? "fail(KeyError)" : "lambda: " + call.good());
            call.run(server.raw());  // what is made once is there now
            scarcity.exhaust(row.name, [&](const CScarcity::Scarcely& scarcely) {
                LoopbackWord word = {.integer = KZe_OUTOFMEMORY};
                scarcely([&] { word = call.run(server.raw()); });
                const bool isTold = !raises || !call.returnsCode() || kzFailed(code(word));
                const LoopbackWord again = call.run(server.raw());
                return isTold && (!call.returnsCode() || code(again) == (raises ? KZe_NOTFOUND : KZe_OK));
            });
        }
    }
    scarcity.tellFigures("an adapter of each signature");
}

TEST_F(ScarceTest, LoadingAScene) {
    const CTestFolder folder;
    const std::string path = folder.path("rig.kzscene");
    std::filesystem::copy_file(KZ_SOURCE_DIR "/fuzz/seeds/scene/rig", path);
    const auto load = [this] { return run("load()"); };
    EXPECT_EQ(run("scenes = kz.service.Scene()\ndef load(): scenes.Close(scenes.Load('" + path + "', None))"), "");
    EXPECT_EQ(load(), "");
    scarcity.exhaust("loading a scene", [&](const CScarcity::Scarcely& scarcely) {
        std::string said = "MemoryError";
        scarcely([&] { said = load(); });
        // A stream of the library takes a lack of memory for a file that cannot be read, the interpreter's parser
        // for a wrong syntax, and an exception may be left without name and text.
        const std::set<std::string> texts = {"", ": ", "RuntimeError: bad result: FAILED"};
        const std::string again = load();
        if (again.empty() &&
            (texts.contains(said) || said.starts_with("MemoryError") || said.starts_with("SyntaxError")))
            return true;
        std::fprintf(stderr, "it ended with \"%s\", and then with \"%s\"\n", said.c_str(), again.c_str());
        return false;
    });
    scarcity.tellFigures("loading a scene");
    run("del scenes, load");
}

}  // namespace
