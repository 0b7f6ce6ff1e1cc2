// The stack of output sinks.
#include "module/output.h"

#include "module/py_lock.h"
#include "module/root_output.h"

#include "kz/base/forever.h"

#include <algorithm>
#include <deque>
#include <memory>

namespace {

CKzForever<std::deque<COutput*>> theStack;
CKzForever<std::unique_ptr<CRootOutput>> theRoot;
bool theTraceFlag = false;
KzFlushHook theFlushHook = nullptr;
bool theFlushing = false;

void flushHeldText() noexcept {
    if (theFlushHook == nullptr || theFlushing) return;
    theFlushing = true;  // the hook itself writes
    theFlushHook();
    theFlushing = false;
}

COutput& top() {
    if (theStack->empty()) {
        *theRoot = std::make_unique<CRootOutput>();
        theStack->push_back(theRoot->get());
        (*theRoot)->attach(nullptr);
    }
    return *theStack->back();
}

// Reporting must not fail what is being reported.
template <class Action> void quietly(Action&& action) noexcept {
    try {
        action();
    } catch (KzResult) {
    } catch (const std::exception&) {
    }
}

// For a thread without the interpreter lock, which must not touch the stack: a start that fails, an unload that gives up,
// a console that is made when Python is gone.
void writeDirectly(const char* text, KzResult code) noexcept {
    quietly([=] { CRootOutput().write(text, code); });
}

}  // namespace

COutputScope::COutputScope(COutput& sink) : m_sink(sink) {
    flushHeldText();
    sink.attach(&top());
    theStack->push_back(&sink);
}

// Not simply the top: where scripts run on several threads, another's sink may have come to stand on this one.
COutputScope::~COutputScope() {
    flushHeldText();
    const auto place = std::find(theStack->rbegin(), theStack->rend(), &m_sink);
    if (place == theStack->rend()) return;
    const auto above = theStack->erase(std::prev(place.base()));
    if (above != theStack->end()) (*above)->attach(*std::prev(above));
}

void kzWrite(const char* text, KzResult code) noexcept {
    if (!CPyLock::isHeld()) return writeDirectly(text, code);
    flushHeldText();
    quietly([&] { top().write(text, code); });
}

void kzLog(const char* text, KzResult code) noexcept {
    if (!CPyLock::isHeld()) return writeDirectly(text, code);
    flushHeldText();
    quietly([&] {
        top();
        (*theRoot)->write(text, code);
    });
}

void kzTrace(const char* name, const char* message, KzResult code) noexcept {
    if (!theTraceFlag) return;
    flushHeldText();
    quietly([&] { top().trace(name, message, code); });
}

std::string kzVisible(std::string text) {
    constexpr std::string_view shown = "\\x00";
    for (std::size_t at = text.find('\0'); at != std::string::npos; at = text.find('\0', at + shown.size()))
        text.replace(at, 1, shown);
    return text;
}

bool kzTracing() noexcept { return theTraceFlag; }
void kzSetTracing(bool on) noexcept { theTraceFlag = on; }
void kzSetFlushHook(KzFlushHook hook) noexcept { theFlushHook = hook; }

void kzReleaseOutput() noexcept {
    theFlushHook = nullptr;
    theStack->clear();
    theRoot->reset();
}
