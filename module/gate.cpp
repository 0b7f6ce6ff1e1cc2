// The count of the threads inside, and a fixed table that says who they are.
#include "module/gate.h"

#include "kz/base/forever.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdint>
#include <cstdio>
#include <fcntl.h>
#include <unistd.h>

namespace {

std::atomic<bool> theGateClosed{false};
std::atomic<std::uint32_t> theInside{0};

// One thread inside. An entering thread claims a free entry and frees it when it leaves, so nothing remains of a thread
// that has ended. Threads for which there is no entry left are only counted.
struct Visit {
    std::atomic<pid_t> thread{0};
    std::atomic<const char*> what{nullptr};
};
std::array<Visit, 64> theVisits;

struct Visitor {
    Visit* visit = nullptr;  // while inside
    pid_t thread = 0;
    std::uint32_t depth = 0;
};
KZ_THREAD_LOCAL thread_local Visitor t_visitor;

Visit* claim(Visitor& visitor) noexcept {
    if (visitor.thread == 0) visitor.thread = gettid();
    const auto first = static_cast<std::size_t>(visitor.thread);
    for (std::size_t step = 0; step < theVisits.size(); ++step) {
        Visit& visit = theVisits[(first + step) % theVisits.size()];
        pid_t nobody = 0;
        if (visit.thread.compare_exchange_strong(nobody, visitor.thread)) return &visit;
    }
    return nullptr;
}

// The system's name for a thread; empty if it has ended meanwhile.
void readName(pid_t thread, char (&name)[32]) noexcept {
    char path[64];
    std::snprintf(path, sizeof path, "/proc/self/task/%d/comm", thread);
    const int file = open(path, O_RDONLY | O_CLOEXEC);
    const ssize_t length = file >= 0 ? read(file, name, sizeof name - 1) : 0;
    if (file >= 0) ::close(file);
    name[length > 0 ? length - 1 : 0] = '\0';  // drops the line feed
}

}  // namespace

bool CGate::enter(const char* what) noexcept {
    Visitor& visitor = t_visitor;
    if (visitor.depth != 0) {
        ++visitor.depth;
        return true;
    }
    ++theInside;
    if (theGateClosed) {
        --theInside;
        return false;
    }
    visitor.depth = 1;
    visitor.visit = claim(visitor);
    rename(what);
    return true;
}

void CGate::leave() noexcept {
    Visitor& visitor = t_visitor;
    if (--visitor.depth != 0) return;
    if (visitor.visit != nullptr) visitor.visit->thread = 0;
    visitor.visit = nullptr;
    --theInside;
}

void CGate::rename(const char* what) noexcept {
    if (Visit* visit = t_visitor.visit) visit->what.store(what, std::memory_order_relaxed);
}

void CGate::close() noexcept { theGateClosed = true; }
bool CGate::isClosed() noexcept { return theGateClosed; }
bool CGate::isEmpty() noexcept { return theInside == 0; }
bool CGate::isInside() noexcept { return t_visitor.depth != 0; }

void CGate::describe(char* text, std::size_t size) noexcept {
    std::size_t end = 0;
    std::uint32_t named = 0;
    const auto add = [&](const char* format, auto... values) {
        const int length = std::snprintf(text + end, size - end, format, values...);
        if (length > 0) end = std::min(end + static_cast<std::size_t>(length), size - 1);
    };
    text[0] = '\0';
    for (const Visit& visit : theVisits) {
        const pid_t thread = visit.thread;
        const char* what = visit.what;
        if (thread == 0 || what == nullptr) continue;
        char name[32];
        readName(thread, name);
        add("%sthread %d \"%s\" (%s)", named++ != 0 ? ", " : "", thread, name, what);
    }
    if (const std::uint32_t inside = theInside; inside > named)
        add(named != 0 ? " and %u more" : "%u threads", inside - named);
}
