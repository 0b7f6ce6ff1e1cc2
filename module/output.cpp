// The stack of output sinks.
#include "module/output.h"

#include "module/lock_state.h"
#include "module/root_output.h"

#include "kz/base/boundary.h"
#include "kz/base/forever.h"

#include <algorithm>
#include <cstdio>
#include <deque>
#include <utility>

namespace {

using Sink = std::shared_ptr<COutput>;

CKzForever<std::deque<Sink>> theStack;
bool theTraceFlag = false;
KzFlushHook theFlushHook = nullptr;
bool theFlushing = false;

// RAII guard for one call of a sink by this thread. It keeps the sink alive, which may be popped meanwhile.
class Telling {
public:
    explicit Telling(Sink sink) : m_sink(std::move(sink)), m_outer(std::exchange(t_innermost, this)) {}
    ~Telling() { t_innermost = m_outer; }
    Telling(const Telling&) = delete;
    Telling& operator=(const Telling&) = delete;

    // How many calls of the sink, or of any sink at all, this thread is inside.
    static int count(const COutput* sink = nullptr) noexcept {
        int calls = 0;
        for (const Telling* each = t_innermost; each != nullptr; each = each->m_outer)
            if (sink == nullptr || each->m_sink.get() == sink) ++calls;
        return calls;
    }

private:
    static inline thread_local const Telling* t_innermost = nullptr;
    Sink m_sink;
    const Telling* m_outer;
};

// A sink may push another one that pushes another one, and so on. Beyond this depth only the bottom sink is used.
constexpr int mostNested = 8;

void flushHeldText() noexcept {
    if (theFlushHook == nullptr || theFlushing) return;
    theFlushing = true;  // the hook itself writes
    theFlushHook();
    theFlushing = false;
}

std::deque<Sink>& stack() {
    if (theStack->empty()) {
        theStack->push_back(std::make_shared<CRootOutput>());
        theStack->back()->attach(nullptr);
    }
    return *theStack;
}

// Null if it keeps failing. One nested call is allowed, because a log listener may write, and a host does not notify
// listeners of what they write themselves.
Sink bottom() {
    const Sink& root = stack().front();
    return Telling::count(root.get()) < 2 ? root : nullptr;
}

Sink nextToTell() {
    const std::deque<Sink>& sinks = stack();
    if (Telling::count() >= mostNested) return bottom();
    const auto isFree = [](const Sink& each) { return Telling::count(each.get()) == 0; };
    const auto sink = std::find_if(sinks.rbegin(), sinks.rend(), isFree);
    return sink != sinks.rend() ? *sink : bottom();
}

// A failed report must not make the caller fail.
template <class Action> void tell(Sink (*choose)(), const char* text, Action&& action) noexcept {
    flushHeldText();
    try {
        Sink sink = choose();
        if (sink == nullptr) {
            std::fprintf(stderr, "%s\n", text);
            return;
        }
        COutput& target = *sink;
        const Telling telling(std::move(sink));
        action(target);
    } catch (KzResult) {
    } catch (const std::exception&) {
    }
}

template <class Action> KzPassResult pass(Action&& action) noexcept {
    KzPassResult result;
    kzValueBoundary([&] {
        Sink sink = CLockState::isHeld() ? nextToTell() : nullptr;
        IKzTextOutput* stream = sink != nullptr ? sink->stream() : nullptr;
        if (stream == nullptr) return;
        const Telling telling(std::move(sink));
        result = {true, action(*stream), 0};
        if (kzFailed(result.code)) result.failure = stream->Failure();
    });
    return result;
}

// For threads without the interpreter lock, which must not touch the stack: during a start that fails, an unload that
// gives up, or when a console is created after Python has ended.
void writeDirectly(const char* origin, const char* text, KzResult code) noexcept {
    kzValueBoundary([=] { CRootOutput().writeFrom(origin, text, code); });
}

}  // namespace

COutputScope::COutputScope(Sink sink) : m_sink(std::move(sink)) {
    flushHeldText();
    m_sink->attach(stack().back());
    theStack->push_back(m_sink);
}

// The sink is not always on top: scripts on several threads push and pop in any order.
COutputScope::~COutputScope() {
    flushHeldText();
    const auto place = std::find(theStack->begin(), theStack->end(), m_sink);
    if (place == theStack->end()) return;
    const auto above = theStack->erase(place);
    if (above != theStack->end()) (*above)->attach(*std::prev(above));
}

void kzWrite(const char* text, KzResult code) noexcept { kzWriteFrom(kzFromModule, text, code); }

void kzWriteFrom(const char* origin, const char* text, KzResult code) noexcept {
    if (!CLockState::isHeld()) return writeDirectly(origin, text, code);
    tell(nextToTell, text, [=](COutput& sink) { sink.writeFrom(origin, text, code); });
}

KzPassResult kzPass(const char* origin, std::string_view text, KzResult level) noexcept {
    return pass([=](IKzTextOutput& stream) { return stream.Write(origin, level, text.size(), text.data()); });
}

KzPassResult kzPassOn(const char* origin) noexcept {
    return pass([=](IKzTextOutput& stream) { return stream.Flush(origin); });
}

void kzLog(const char* text, KzResult code) noexcept {
    if (!CLockState::isHeld()) return writeDirectly(kzFromModule, text, code);
    tell(bottom, text, [=](COutput& sink) { sink.write(text, code); });
}

void kzTrace(const char* name, const char* message, KzResult code) noexcept {
    if (!theTraceFlag) return;
    tell(nextToTell, message, [=](COutput& sink) { sink.trace(name, message, code); });
}

std::string kzVisible(std::string text) {
    constexpr std::string_view escape = "\\x00";
    for (std::size_t at = text.find('\0'); at != std::string::npos; at = text.find('\0', at + escape.size()))
        text.replace(at, 1, escape);
    return text;
}

bool kzTracing() noexcept { return theTraceFlag; }
void kzSetTracing(bool on) noexcept { theTraceFlag = on; }
void kzSetFlushHook(KzFlushHook hook) noexcept { theFlushHook = hook; }

void kzReleaseOutput() noexcept {
    theFlushHook = nullptr;
    theStack->clear();
}
