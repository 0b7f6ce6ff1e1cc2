// Memory that runs out, at each allocation in turn, for that one or from then on: whatever the plug-in is doing, it ends with
// a code or a MemoryError, and works afterwards.
#include "tests/bare_host/bare_host.h"
#include "tests/bare_host/short_memory.h"
#include "tests/prove/proof.h"
#include "tests/prove/scarcity.h"
#include "tests/support/folder.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string_view>

namespace {

struct Work {
    const char* name;
    bool starts;  // Python has not run before
    KzResult (*run)(CBareHost& host, CKzLoc_Unknown& server);
};

template <const char* const& script> KzResult scripted(CBareHost& host, CKzLoc_Unknown& /*server*/) {
    return host.run(script);
}

constexpr const char* plain = "a = [str(i) for i in range(20)]; print len(a)";
constexpr const char* text = "import kz; kz.service.Log().SubSystemLookup('scripts')";
constexpr const char* failing = "import kz\ntry: kz.service.Log().CreateEntry('x', 'y')\nexcept TypeError: pass";
constexpr const char* storage = "import kz; kz.Storage('d', 100).set(range(100))";
constexpr const char* command = "import kz; kz.command('a', b=1)";
constexpr const char* monitor = "import kz; kz.Monitor(2).step()";
constexpr const char* bless = "import kz, kzifc; kz.bless(type('A', (kzifc.Command,), {}), 'blessed', {'a': 1})";
constexpr const char* serve = "import kz, kzifc; kz.object.Unknown(type('A', (kzifc.Command,), {})())";

const Work works[] = {
    {"start", true, [](CBareHost& host, CKzLoc_Unknown&) { return host.execute("1"); }},
    {"console line", false, [](CBareHost& host, CKzLoc_Unknown&) { return host.execute("'a' * 3"); }},
    {"script", false, scripted<plain>},
    {"wrapper", false, scripted<text>},
    {"failing wrapper", false, scripted<failing>},
    {"storage", false, scripted<storage>},
    {"command", false, scripted<command>},
    {"monitor", false, scripted<monitor>},
    {"blessing", false, scripted<bless>},
    {"serving", false, scripted<serve>},
    {"adapter", false, [](CBareHost&, CKzLoc_Unknown& server) { return CKzUser_Command(server.raw())->ArgClear(3); }},
    {"adapter with an answer", false,
     [](CBareHost&, CKzLoc_Unknown& server) {
         const char* name = nullptr;
         return CKzUser_Command(server.raw())->Name(&name);
     }},
    {"spawning", false,
     [](CBareHost& host, CKzLoc_Unknown&) {
         CKzLoc_Unknown module, made;
         if (const KzResult code = host.spawn(KZu_MODULE, module); kzFailed(code)) return code;
         return CKzUser_Module(module.raw()).Generate("proof", &KZu_COMMAND, made.out());
     }},
};

class MemoryTest : public testing::Test {
protected:
    bool live(const Work& work, const CScarcity::Scarcely& scarcely) const {
        CBareHost host;
        host.importPaths = {folder.path()};
        CKzLoc_Unknown module, server;
        if (!host.load()) return false;
        if (!work.starts) {
            host.run("import kz, kz.object, kz.service, kzifc");
            host.spawn(KZu_MODULE, module);
            if (kzFailed(CKzUser_Module(module.raw()).Generate("proof", &KZu_COMMAND, server.out()))) return false;
            work.run(host, server);  // what is made once is there now
        }
        const bool isThrough = scarcely([&] { work.run(host, server); });
        // A start that failed is not tried again.
        const bool works =
            work.starts ? isThrough <= kzSucceeded(host.execute("1")) : kzSucceeded(host.execute("print 1"));
        module.clear();
        server.clear();
        host.unload();
        if (works && host.references() == 1) return true;
        std::fprintf(stderr, "afterwards: %d, %u references\n%s\n", works, host.references(), host.log().c_str());
        return false;
    }

    CTestFolder folder;
};

}  // namespace

TEST_F(MemoryTest, MayRunOutAnywhere) {
    if (!CShortMemory::works()) GTEST_SKIP() << "the sanitizer has the allocator";
    folder.write("servers/proof.py", R"(
        import kz, kzifc
        class Proof(kzifc.Command):
          def cmd_Name(self): return 'name'
          def cmd_ArgClear(self, index): self.kept = [index, str(index)]
        kz.bless(Proof, 'proof'))"_lines);
    CScarcity scarcity("kzPython2", kzProofLength(8, 3000));
    const char* only = std::getenv("KZ_PROVE_WORK");  // the name of one of them
    for (const Work& work : works)
        if (only == nullptr || work.name == std::string_view(only))
            scarcity.exhaust(work.name, [&](const CScarcity::Scarcely& scarcely) { return live(work, scarcely); });
    scarcity.tellFigures("what a host does");
}
