// The event log: places, order, limits and what happens to entries that nobody placed.
#include "tests/support/host_test.h"

#include "kz/listener.h"
#include "kz/result.h"

#include <thread>

namespace {

class LogTest : public HostTest {
protected:
    LogTest() { m_service.set(host().application()); }
    void TearDown() override {
        m_service.clear();
        HostTest::TearDown();
    }
    CKzUser_LogEntry entry(const char* text, KzResult level = KZe_INFO) {
        CKzLoc_Unknown made;
        EXPECT_EQ(m_service->CreateEntry(level, text, made.out()), KZe_OK);
        return CKzUser_LogEntry(made.raw());
    }
    CKzUser_Log subsystem(const char* name) {
        CKzLoc_Unknown found;
        EXPECT_EQ(m_service->SubSystemLookup(name, found.out()), KZe_OK);
        return CKzUser_Log(found.raw());
    }
    std::string shape() {
        std::string all;
        for (const LogLine& line : host().log().lines())
            all += line.subsystem + std::string(line.depth, '>') + line.text + " ";
        return all;
    }
    CKzUser_LogService m_service;
};

TEST_F(LogTest, EntriesArriveWithTheirChildrenInOrder) {
    std::string heard;
    host().log().addSink([&](const LogLine& line) { heard += std::to_string(line.depth) + line.text; });
    const auto top = entry("top");
    const auto early = entry("early");
    const auto below = entry("below");
    const auto late = entry("late");
    EXPECT_EQ(early->AddEntry(below.raw()), KZe_OK);
    EXPECT_EQ(top->AddEntry(early.raw()), KZe_OK);
    EXPECT_EQ(heard, "") << "nothing has a place yet";
    EXPECT_EQ(subsystem("scripts")->AddEntry(top.raw()), KZe_OK);
    EXPECT_EQ(top->AddEntry(late.raw()), KZe_OK);
    EXPECT_EQ(heard, "0top1early2below1late");
    EXPECT_EQ(shape(), "scriptstop scripts>early scripts>>below scripts>late ");

    EXPECT_EQ(top->AddEntry(late.raw()), KZe_ALREADYEXISTS);
    EXPECT_EQ(top->AddEntry(m_service.raw()), KZe_INVALIDARG);
    EXPECT_EQ(top->AddEntry(nullptr), KZe_INVALIDARG);
    CKzLoc_Unknown parent;
    EXPECT_EQ(below->Parent(parent.out()), KZe_OK);
    const char* text = nullptr;
    EXPECT_EQ(CKzUser_LogEntry(parent.raw())->Desc(&text), KZe_OK);
    EXPECT_STREQ(text, "early");
    EXPECT_EQ(top->Parent(parent.out()), KZe_NOTFOUND);
}

TEST_F(LogTest, AnEntryCannotStandBelowItself) {
    const auto outer = entry("outer");
    const auto inner = entry("inner");
    EXPECT_EQ(outer->AddEntry(inner.raw()), KZe_OK);
    EXPECT_EQ(inner->AddEntry(outer.raw()), KZe_INVALIDARG);
    EXPECT_EQ(outer->AddEntry(outer.raw()), KZe_INVALIDARG);
}

TEST_F(LogTest, AnEntryThatNobodyPlacedIsNotLost) {
    std::string heard;
    host().log().addSink([&](const LogLine& line) { heard += "[" + line.subsystem + "]" + line.text; });
    host().failOperation("Log.SubSystemLookup", KZe_FAILED, 1);
    CKzLoc_Unknown none;
    EXPECT_EQ(m_service->SubSystemLookup("python", none.out()), KZe_FAILED);
    { const auto lost = entry("lost"); }
    EXPECT_EQ(heard, "[]lost");
    EXPECT_EQ(m_service->SubSystemLookup("python", none.out()), KZe_OK) << "the failure was for one call";
}

TEST_F(LogTest, AFullLogDropsTheOldest) {
    m_service->SetMaxEntries(3);
    const auto log = subsystem("python");
    for (const char* text : {"a", "b", "c", "d", "e"}) log->AddEntry(entry(text).raw());
    EXPECT_EQ(shape(), "pythonc pythond pythone ");
    std::uint32_t dropped = 0;
    EXPECT_EQ(log->DroppedCount(&dropped), KZe_OK);
    EXPECT_EQ(dropped, 2U);
}

TEST_F(LogTest, ThreadsMayWriteAtOnceAndEntriesOutliveTheirHost) {
    {
        std::vector<std::jthread> threads;
        for (int index = 0; index < 4; ++index)
            threads.emplace_back([this] {
                for (int count = 0; count < 500; ++count) host().log().write("python", KZe_INFO, "text");
            });
    }
    EXPECT_EQ(host().log().lines("python").size(), 2000U);
    auto kept = entry("kept");
    m_service.clear();
    restart();
    const char* text = nullptr;
    EXPECT_EQ(kept->Desc(&text), KZe_OK);
    EXPECT_STREQ(text, "kept");
    EXPECT_EQ(kept->AddEntry(kept.raw()), KZe_NOTAVAILABLE);
    kept.clear();
}

// A listener that writes to the log itself.
struct Chatter : CKzImpl_LogListener {
    void logevent_EntryAdded(IKzUnknown* /*subsystem*/, IKzUnknown* added) override {
        const char* text = nullptr;
        if (CKzUser_LogEntry(added).Desc(&text) == KZe_OK) heard += text;
        if (log != nullptr) log->write("chatter", KZe_INFO, "echo");
    }
    std::string heard;
    CLogStore* log = nullptr;
};

TEST_F(LogTest, AListenerMayWriteWithoutHearingItself) {
    Chatter chatter;
    chatter.log = &host().log();
    CKzStaticPolymorph polymorph(&chatter);
    polymorph.append(kzMakeRecord<CKzIfc_LogListener<Chatter>>(KZu_LOGLISTENER));
    const ServiceOf<CKzUser_ListenerService> listeners(host().application());
    CKzLoc_Unknown object;
    *object.out() = polymorph.spawn();
    EXPECT_EQ(listeners->AddListener(object.raw()), KZe_OK);
    EXPECT_EQ(listeners->ListenerCount("loglistener"), 1U);
    host().log().write("python", KZe_INFO, "one");
    EXPECT_EQ(chatter.heard, "one");
    EXPECT_EQ(shape(), "pythonone chatterecho ");
    EXPECT_EQ(listeners->RemoveListener(object.raw()), KZe_OK);
    EXPECT_EQ(listeners->RemoveListener(object.raw()), KZe_NOTFOUND);
    EXPECT_EQ(listeners->AddListener(listeners.raw()), KZe_INVALIDARG) << "it listens to nothing";
}

}  // namespace
