// Sinks that fail, write and push other sinks while they are being called.
#include "host/core/log_store.h"
#include "module/output.h"
#include "module/py_lock.h"
#include "tests/support/host_test.h"

#include "kz/result.h"

using namespace kzhost;

namespace {

class Sink : public COutput {
public:
    Sink(std::string& heard, std::string name, std::function<void()> whenTold)
        : m_heard(heard), m_name(std::move(name)), m_whenTold(std::move(whenTold)) {}
    void trace(const char* /*name*/, const char* message, KzResult code) override { write(message, code); }
    void write(const char* text, KzResult /*code*/) override {
        m_heard += m_name + "<" + text + " ";
        m_whenTold();
        m_heard += ">" + m_name + " ";
    }

private:
    std::string& m_heard;
    std::string m_name;
    std::function<void()> m_whenTold;
};

class SinksTest : public testing::Test {
protected:
    SinksTest() {
        host.adopt(_IKzModule_Create());
        m_lock.emplace();
    }
    ~SinksTest() override { m_lock.reset(); }

    auto sink(const char* name, std::function<void()> whenTold) {
        return std::make_shared<Sink>(heard, name, std::move(whenTold));
    }
    static auto writes(const char* text) {
        return [text] { kzWrite(text, 1); };
    }

    CPluginHost host;
    std::string heard;

private:
    std::optional<CPyLock> m_lock;
};

}  // namespace

TEST_F(SinksTest, PassWhatTheyWriteWhileTheyAreToldToTheSinkBelow) {
    const COutputScope lower(sink("lower", writes("c")));
    const COutputScope upper(sink("upper", [] {
        kzWrite("b", 1);
        kzSetTracing(true);
        kzTrace("name", "t", 1);
        kzSetTracing(false);
        throw KZe_FAILED;  // later texts still arrive
    }));
    kzWrite("a", 1);
    EXPECT_EQ(heard, "upper<a lower<b >lower lower<t >lower ");
    EXPECT_EQ(host.log("python"), "c\nc\n");
}

TEST_F(SinksTest, EndHoweverDeepTheyPushOthers) {
    std::function<void()> nest;
    nest = [&] {
        const COutputScope another(sink("s", nest));
        kzWrite("x", 1);
    };
    nest();
    EXPECT_EQ(std::count(heard.begin(), heard.end(), '<'), 8);
    EXPECT_EQ(host.log("python"), "x\n");
}

// A host that notifies listeners even of what they write themselves.
TEST_F(SinksTest, BelowTheLogIsStandardError) {
    int told = 0;
    host.host.log().addSink([&](const LogLine& line) {
        if (line.subsystem == "python" && ++told < 100) kzWrite("again", 1);
    });
    testing::internal::CaptureStderr();
    for (const auto write : {kzWrite, kzLog}) write("first", 1);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "again\nagain\n");
    EXPECT_EQ(host.log("python"), "first\nagain\nfirst\nagain\n");
}

TEST_F(SinksTest, LiveUntilTheyHaveBeenTold) {
    std::optional<COutputScope> scope;
    std::weak_ptr<Sink> kept;
    {
        auto made = sink("s", [&] {
            scope.reset();
            EXPECT_FALSE(kept.expired());
            kzWrite("after", 1);
        });
        kept = made;
        scope.emplace(std::move(made));
    }
    kzWrite("x", 1);
    EXPECT_EQ(heard, "s<x >s ");
    EXPECT_EQ(host.log("python"), "after\n");
    EXPECT_TRUE(kept.expired());
}
