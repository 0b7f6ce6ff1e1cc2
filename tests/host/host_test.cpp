// The host's services: what scripts see of them is checked by the script beside this file; here stands what only C++
// can do or see.
#include "tests/support/host_test.h"
#include "host/cli/progress_view.h"
#include "host/core/log_store.h"
#include "host/core/module_table.h"
#include "host/core/reasons.h"
#include "host/core/service_registry.h"
#include "host/state/hosted.h"
#include "host/state/path_aliases.h"
#include "host/state/text.h"
#include "tests/support/threads.h"

#include "kz/application.h"
#include "kz/command.h"
#include "kz/dialog.h"
#include "kz/file.h"
#include "kz/guid.h"
#include "kz/host.h"
#include "kz/log.h"
#include "kz/message.h"
#include "kz/methods.h"
#include "kz/module.h"
#include "kz/result.h"
#include "kz/value.h"
#include "kz_paths.h"

#include <fmt/ranges.h>

#include <deque>
#include <iterator>
#include <set>
#include <sstream>

using namespace kzhost;

namespace {

TEST(ServicesTest, AnswerScriptsAsTheirInterfacesSay) { CPluginHost().load().check("host", "services"); }
TEST(ServicesTest, OfFilesAndTheRestAnswerToo) { CPluginHost().load().check("host", "more_services"); }

TEST(ServicesTest, TakeWhatModulesServeForTheirOwn) {
    CPluginHost host;
    host.nothingAlive.isExpected = false;  // what a method in Python returns is never freed
    host.load().check("host", "served");
}

// A method without a result code that no class defines would answer 0 or false, and nobody could tell that from an answer.
TEST(HostedTest, MethodsWithoutAResultCodeComputeTheirAnswer) {
    std::set<std::string> missing;
    const auto wordsOf = [](const char* text) {
        std::istringstream stream(text);
        return std::vector<std::string>(std::istream_iterator<std::string>(stream), {});
    };
    for (const HostedInterface* each = kzHostedInterfaces(); each != nullptr; each = each->next) {
        const auto* row = std::find_if(std::begin(kzMethodsRows), std::end(kzMethodsRows),
                                       [&](const KzMethodsRow& candidate) { return candidate.iid == each->iid; });
        ASSERT_NE(row, std::end(kzMethodsRows));
        const auto methods = wordsOf(row->methods), plain = wordsOf(row->plain);
        for (std::size_t at = 0; at < methods.size(); ++at)
            if (!each->overrides[at] && std::find(plain.begin(), plain.end(), methods[at]) != plain.end())
                missing.insert(std::string(row->name) + "." + methods[at]);
    }
    EXPECT_EQ(missing, std::set<std::string>());
}

TEST_F(HostTest, ReasonsThatAreNotWrittenAreCounted) {
    const ServiceOf<CKzUser_GUIDService> guids(host().application());
    const KzGuid* iid = nullptr;
    for (int attempt = 0; attempt < 1000; ++attempt)
        EXPECT_EQ(guids->LookupName(("no " + std::to_string(attempt)).c_str(), &iid), KZe_NOTFOUND);
    host().reasons().writeCounts();
    const auto lines = host().log().lines("objects");
    ASSERT_LT(lines.size(), 20U);
    EXPECT_EQ(lines.front().text, "GUID.LookupName: there is no server class \"no 0\"");
    EXPECT_EQ(lines.back().text, "GUID.LookupName: failed " + std::to_string(1001 - lines.size()) + " more times");
}

TEST_F(HostTest, MonitorsReportTheirStepsAndEnd) {
    std::string seen;
    host().monitors().setViewer([&](const MonitorState& state) {
        seen += std::to_string(state.done) + "/" + std::to_string(state.steps) + (state.ended ? "." : " ");
    });
    const ServiceOf<CKzUser_StdDialogService> dialogs(host().application());
    CKzLoc_Unknown made;
    EXPECT_EQ(dialogs->MonitorAllocate("Progress", made.out()), KZe_OK);
    const CKzUser_Monitor work(made.raw());
    EXPECT_EQ(work->Initialize(4), KZe_OK);
    EXPECT_EQ(work->Increment(1), KZe_OK);
    EXPECT_EQ(work->Increment(9), KZe_OK) << "more than announced";
    EXPECT_EQ(work->Increment(static_cast<std::uint32_t>(-1)), KZe_INVALIDARG);
    CMonitorBoard::abortAll();
    EXPECT_EQ(work->Increment(1), KZe_ABORT);
    EXPECT_EQ(dialogs->MonitorReleaseObj(work.raw()), KZe_OK);
    EXPECT_EQ(seen, "0/4 1/4 4/4 4/4 4/4.");
}

// A task of 1000 steps that takes 18 seconds, with another inside at its end.
TEST(ProgressViewTest, ShowsATaskForEachMonitor) {
    const auto shown = [](bool isTerminal) {
        CProgressView::Time now{};
        std::vector<std::string> all;
        CProgressView view({isTerminal, [&](auto bars) { all.push_back(fmt::format("{}\n", fmt::join(bars, "|"))); },
                            [&](const std::string& line) { all.push_back(line); }, [&] { return now; }});
        MonitorState load{"Load", 1000, 0}, part{"\x1b[HPart", 2, 1};
        for (; load.done < 1000; ++load.done, now += std::chrono::milliseconds(18)) view(load);
        view(part);
        view(load);
        for (MonitorState* state : {&part, &load}) {
            state->ended = true;
            view(*state);
        }
        return all;
    };
    EXPECT_EQ(fmt::format("{}", fmt::join(shown(false), "")),
              "Load: 27% (278 of 1000)\nLoad: 55% (556 of 1000)\nLoad: 83% (834 of 1000)\nLoad: 100% (1000 of 1000)\n");
    const std::vector<std::string> bars = shown(true);
    ASSERT_EQ(bars.size(), 100U + 2 + 3) << "it is drawn only when it changes";
    const std::string whole = "Load [" + std::string(40, '#') + "] 100%";
    EXPECT_EQ(bars[101], whole + "| [HPart [" + std::string(20, '#') + std::string(20, ' ') + "]  50%\n");
    EXPECT_EQ(fmt::format("{}", fmt::join(bars.begin() + 102, bars.end(), "")), whole + "\n\n" + whole + "\n");
}

TEST_F(HostTest, AShortBufferIsSaidAndNeverOverrun) {
    const CTestFolder folder;
    const std::string whole = folder.path();
    host().files().setAlias("kit", whole);
    const ServiceOf<CKzUser_FileService> files(host().application());
    for (std::size_t size = 0; size <= whole.size() + 1; ++size) {
        std::string buffer(whole.size() + 8, '#');
        const KzResult code = files->ToLocalAlias("kit:", buffer.data(), static_cast<std::uint32_t>(size));
        EXPECT_EQ(code, size > whole.size() ? KZe_OK : KZe_SHORTBUFFER) << size;
        EXPECT_EQ(buffer.substr(size), std::string(buffer.size() - size, '#')) << size;
        if (size > 0) {
            EXPECT_STREQ(buffer.c_str(), whole.substr(0, size - 1).c_str());
        }
    }
    char cut[4] = "";
    EXPECT_EQ(kzFillText("ab\xC3\xA9", cut, sizeof cut), KZe_SHORTBUFFER);
    EXPECT_STREQ(cut, "ab") << "a character must not be cut in two";
    const ServiceOf<CKzUser_ValueService> values(host().application());
    EXPECT_EQ(values->TextHintEncode(5, nullptr, cut, sizeof cut), KZe_OK_NO_CHOICES);
    EXPECT_STREQ(cut, "") << "no hints";
}

TEST(TextTest, CodesHaveNamesAndMarkupGoes) {
    EXPECT_EQ(kzCodeName(0x89999999U), "89999999");
    EXPECT_EQ(kzCodeOfName("NOTFOUND"), 0x80000017U);
    EXPECT_EQ(kzCodeOfName("nothing"), std::nullopt);
    EXPECT_EQ(kzWithoutMarkup("\x03(f:FONT_ITALIC) kz\x03(f:FONT_DEFAULT)"), " kz");
    const std::string unmarked = std::string("a\x03") + "b \x03(open";
    EXPECT_EQ(kzWithoutMarkup(unmarked), unmarked);
}

CKzUser_LogEntry entryOf(const CKzUser_LogService& log, const char* text) {
    CKzLoc_Unknown made;
    EXPECT_EQ(log->CreateEntry(KZe_INFO, text, made.out()), KZe_OK);
    return CKzUser_LogEntry(made.raw());
}

TEST_F(HostTest, AnEntryThatNobodyPlacedIsNotLost) {
    const ServiceOf<CKzUser_LogService> service(host().application());
    std::string heard;
    host().log().addSink([&](const LogLine& line) { heard += "[" + line.subsystem + "]" + line.text; });
    host().log().clear();  // clears the entries but not the listeners
    { const auto lost = entryOf(service, "lost"); }
    EXPECT_EQ(heard, "[]lost");
    host().log().limits.bytes = 12;
    for (const char* kept : {"1.", "1.22.", "1.22.333.", "333.55555.", "longer than all that is kept."}) {
        const std::string text = kept;
        host().log().write("short", KZe_INFO, text.substr(text.rfind('.', text.size() - 2) + 1));
        std::string all;
        for (const LogLine& line : host().log().lines("short")) all += line.text;
        EXPECT_EQ(all, kept) << "the oldest go first";
    }
    host().failOperation("Log.SubSystemLookup", KZe_FAILED, 1);
    CKzLoc_Unknown none;
    for (const KzResult code : {KZe_FAILED, KZe_OK}) EXPECT_EQ(service->SubSystemLookup("python", none.out()), code);
}

TEST_F(HostTest, ThreadsMayWriteAtOnceAndEntriesOutliveTheirHost) {
    onThreads(4, 500, [this](int) { host().log().write("python", KZe_INFO, "text"); });
    EXPECT_EQ(host().log().lines("python").size(), 2000U);
    const auto kept = entryOf(ServiceOf<CKzUser_LogService>(host().application()), "kept");
    restart();
    const char* text = nullptr;
    EXPECT_EQ(kept->Desc(&text), KZe_OK);
    EXPECT_STREQ(text, "kept");
    EXPECT_EQ(kept->AddEntry(kept.raw()), KZe_NOTAVAILABLE);
}

TEST_F(HostTest, TheApplicationAnswersEveryServiceAndNothingElse) {
    {
        const ServiceOf<CKzUser_ApplicationService> application(host().application());
        for (const std::string& name : host().services().names()) {
            CKzLoc_Unknown byName, byIid;
            EXPECT_EQ(application->ServiceByName(name.c_str(), byName.out()), KZe_OK) << name;
            void* found = nullptr;
            EXPECT_EQ(application->QueryInterface(host().services().find(name), &found), KZe_OK) << name;
            *byIid.out() = static_cast<IKzUnknown*>(found);
        }
        CKzLoc_Unknown none;
        EXPECT_EQ(application->ServiceByName("nothing", none.out()), KZe_NOTFOUND);
        void* found = nullptr;
        EXPECT_EQ(application->QueryInterface(&KZu_MESSAGE, &found), KZe_NOINTERFACE);
    }
    restart();
    host().services().remove(KZu_LOGSERVICE);
    EXPECT_FALSE(ServiceOf<CKzUser_LogService>(host().application()));
    const char* value = nullptr;
    EXPECT_EQ(ServiceOf<CKzUser_ApplicationService>(host().application()).Property("a", &value), KZe_NOTFOUND);
}

// Its list also has entries that are no servers, and it may refuse its host.
class OddModule final
    : public CHosted<"odd module", OddModule, CKzIfc_Module, CKzIfc_TagDescription, CKzIfc_NeedContext> {
public:
    explicit OddModule(KzResult code) : m_code(code) {}
    std::uint32_t tag_Count() override { return 2; }
    KzResult tag_Describe(std::uint32_t index, KzTagRecord* record) override {
        *record =
            index == 0 ? KzTagRecord{"note", "no server", &KZu_COMMAND} : KzTagRecord{"server", "odd", &KZu_COMMAND};
        return KZe_OK;
    }
    KzResult need_SetContext(IKzUnknown* /*application*/) override { return m_code; }
    // The output of a failed operation is no reference.
    KzResult mod_Generate(const char* /*name*/, const KzGuid* /*iid*/, IKzUnknown** object) override {
        return *object = self, KZe_NOTIMPL;
    }
    KzResult mod_GetTags(const char* name, const KzGuid* iid, IKzUnknown** tags) override {
        return mod_Generate(name, iid, tags);
    }
    IKzUnknown* self = nullptr;

private:
    KzResult m_code;
};

TEST_F(HostTest, OfAModuleTheServersAreTakenInAndOfOneThatRefusesNothing) {
    CHostRef<OddModule> module;
    for (const KzResult code : {KZe_NOTREADY, KZe_OK}) {
        module = CHostRef<OddModule>::make(code);
        EXPECT_EQ(host().adopt("odd", module.raw()), code);
        EXPECT_EQ(host().modules().servers().size(), code == KZe_OK ? 1U : 0U);
    }
    module->self = module.raw();
    const std::uint32_t references = module.raw()->AddRef();
    CKzLoc_Unknown made;
    EXPECT_EQ(ServiceOf<CKzUser_HostService>(host().application())->SpawnServer("command", "odd", made.out()),
              KZe_NOTIMPL)
        << "the module's own code";
    EXPECT_TRUE(CModuleTable::tagsOf(host().modules().servers().front()).empty());
    EXPECT_EQ(module.raw()->AddRef(), references + 1) << "a reference that was never given was released";
    for (int count = 0; count < 2; ++count) module.raw()->Release();
    std::string why;
    EXPECT_FALSE(host().load("/no/such/module.so", why));
    EXPECT_NE(why.find("/no/such/module.so"), std::string::npos) << why;
}

// Counts how often it is asked for a server of its list.
class GrowingModule final : public CHosted<"growing module", GrowingModule, CKzIfc_Module, CKzIfc_TagDescription> {
public:
    std::uint32_t tag_Count() override { return static_cast<std::uint32_t>(names.size()); }
    KzResult tag_Describe(std::uint32_t index, KzTagRecord* record) override {
        ++asked;
        *record = {"server", names[index].c_str(), &KZu_COMMAND};
        return KZe_OK;
    }
    std::deque<std::string> names = {"first"};
    int asked = 0;
};

TEST_F(HostTest, AListOfServersThatGrowsIsReadFromItsEnd) {
    const auto module = CHostRef<GrowingModule>::make();
    EXPECT_EQ(host().adopt("growing", module.raw()), KZe_OK);
    const ServiceOf<CKzUser_HostService> service(host().application());
    module->asked = 0;
    for (int index = 0; index < 1000; ++index) {
        module->names.push_back("s" + std::to_string(index));
        EXPECT_EQ(service->ModuleUpdate("growing"), KZe_OK);
    }
    EXPECT_EQ(module->asked, 2000);
    EXPECT_TRUE(service->IsServer("command", "s999"));
    // Any other change of the list is noticed when a server is requested.
    const auto names = [&] {
        service->ModuleUpdate("growing");
        std::string all;
        for (const KzServer& server : host().modules().servers("command")) all += server.name + " ";
        return all;
    };
    for (const char* text : {"a b ", "c b d ", "x y z w ", ""}) {
        std::istringstream words(text);
        module->names = {std::istream_iterator<std::string>(words), {}};
        EXPECT_EQ(names(), text);
    }
}

// The module as it is shipped: loaded, read, unloaded, and its library closed.
TEST_F(HostTest, TheShippedModuleLoadsAndLeavesNothingBehind) {
    host().modules().closeLibraries();
    load();
    EXPECT_TRUE(host().modules().find("textscriptinterpreter", "python"));
    EXPECT_TRUE(host().modules().find("lineinterpreter", "python"));
    host().unload();
    EXPECT_TRUE(host().modules().servers().empty());
}

}  // namespace
