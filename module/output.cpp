// The stack of output sinks.
#include "module/output.h"

#include "module/root_output.h"

#include <deque>
#include <memory>

namespace {

std::deque<COutput*> theStack;
std::unique_ptr<CRootOutput> theRoot;
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
    if (theStack.empty()) {
        theRoot = std::make_unique<CRootOutput>();
        theStack.push_back(theRoot.get());
        theRoot->attach(nullptr);
    }
    return *theStack.back();
}

// Reporting must not fail what is being reported.
template <class Action> void quietly(Action&& action) noexcept {
    try {
        action();
    } catch (KzResult) {
    } catch (const std::exception&) {
    }
}

}  // namespace

COutputScope::COutputScope(COutput& sink) {
    flushHeldText();
    sink.attach(&top());
    theStack.push_back(&sink);
}

COutputScope::~COutputScope() {
    flushHeldText();
    if (!theStack.empty()) theStack.pop_back();
}

void kzWrite(const char* text, KzResult code) noexcept {
    flushHeldText();
    quietly([&] { top().write(text, code); });
}

void kzTrace(const char* name, const char* message, KzResult code) noexcept {
    if (!theTraceFlag) return;
    flushHeldText();
    quietly([&] { top().trace(name, message, code); });
}

bool kzTracing() noexcept { return theTraceFlag; }
void kzSetTracing(bool on) noexcept { theTraceFlag = on; }
void kzSetFlushHook(KzFlushHook hook) noexcept { theFlushHook = hook; }

void kzReleaseOutput() noexcept {
    theFlushHook = nullptr;
    theStack.clear();
    theRoot.reset();
}
