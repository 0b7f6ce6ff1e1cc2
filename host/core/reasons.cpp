// The reasons for failures of the host's objects.
#include "host/core/reasons.h"

#include "host/core/log_store.h"
#include "host/core/reason_delay.h"
#include "host/core/reason_memory.h"
#include "host/state/function_ref.h"

#include "kz/result.h"

#include <fmt/format.h>

#include <algorithm>

namespace kzhost {

namespace {

constexpr const char* subsystem = "objects";
constexpr std::size_t mostReasons = 8;      // written by one place
constexpr std::uint64_t mostFailures = 64;  // after which a place writes no new reasons
constexpr std::size_t mostNames = 12;

// Objects do not know their host and may outlive it. These are the books of all running hosts, the latest last. Never
// destroyed, as objects may be called while the process exits.
struct OpenBooks {
    std::mutex lock;
    std::vector<std::weak_ptr<CReasonBook>> books;
};
OpenBooks& openBooks() {
    static auto* open = new OpenBooks();
    return *open;
}

std::shared_ptr<CReasonBook> latestBook() {
    OpenBooks& open = openBooks();
    const std::lock_guard lock(open.lock);
    for (std::size_t at = open.books.size(); at > 0; --at)
        if (auto book = open.books[at - 1].lock()) return book;
    return nullptr;
}

struct WaitingReason {
    std::shared_ptr<CLogStore> log;
    std::string text;
};
std::vector<WaitingReason>& waiting() {
    thread_local std::vector<WaitingReason> reasons;
    return reasons;
}

}  // namespace

thread_local constinit int theReasonDelays = 0;
thread_local constinit bool theReasonsWait = false;

void kzTellReasons() noexcept {
    theReasonsWait = false;
    for (const WaitingReason& each : std::exchange(waiting(), {})) try {
            each.log->write(subsystem, KZe_INFO, each.text);
        } catch (...) {  // the codes are what counts
        }
}

std::shared_ptr<CReasonBook> CReasonBook::open(std::shared_ptr<CLogStore> log) {
    std::shared_ptr<CReasonBook> book(new CReasonBook(std::move(log)));
    OpenBooks& open = openBooks();
    const std::lock_guard lock(open.lock);
    std::erase_if(open.books, [](const auto& each) { return each.expired(); });
    open.books.push_back(book);
    return book;
}

// A full place formats no text. The log is written without the lock, as its listeners may fail and get here, too.
void CReasonBook::tell(const char* place, CFunctionRef<std::string()> reason) {
    {
        const std::lock_guard lock(m_lock);
        Place& failed = m_places[place];
        if (failed.texts.size() >= mostReasons || failed.failures >= mostFailures) {
            ++failed.failures;
            return;
        }
    }
    std::string text = reason();
    {
        const std::lock_guard lock(m_lock);
        Place& failed = m_places[place];
        ++failed.failures;
        if (std::find(failed.texts.begin(), failed.texts.end(), text) != failed.texts.end()) return;
        failed.texts.push_back(text);
    }
    text = fmt::format("{}: {}", place, text);
    if (theReasonDelays == 0) return m_log->write(subsystem, KZe_INFO, text);
    waiting().push_back({m_log, std::move(text)});
    theReasonsWait = true;
}

void CReasonBook::writeCounts() {
    std::map<std::string, Place, std::less<>> places;
    {
        const std::lock_guard lock(m_lock);
        places.swap(m_places);
    }
    for (const auto& [name, place] : places)
        if (const std::uint64_t more = place.failures - place.texts.size(); more > 0)
            m_log->write(subsystem, KZe_INFO,
                         fmt::format("{}: failed {} more time{}", name, more, more == 1 ? "" : "s"));
}

KzResult kzBecause(KzResult code, const char* place, CFunctionRef<std::string()> reason) noexcept {
    try {
        if (const auto book = latestBook()) book->tell(place, reason);
        if (CReasonMemory::isOpen()) CReasonMemory::keep(code, reason());  // at last, as listeners of the log may fail
    } catch (...) {                                                        // the code is what counts
    }
    return code;
}

std::string kzThereIsNo(std::string_view kind, std::string_view name, const std::vector<std::string>& names) {
    const std::string shown = fmt::format("there is no {} \"{}\"; there are ", kind, name);
    if (names.empty()) return shown + "none";
    const auto end = names.begin() + static_cast<std::ptrdiff_t>(std::min(names.size(), mostNames));
    return fmt::format("{}{}{}", shown, fmt::join(names.begin(), end, ", "),
                       end == names.end() ? "" : fmt::format(", ... ({} in all)", names.size()));
}

std::string kzIsNot(std::string_view text, std::string_view expected) {
    return fmt::format("\"{}\" is not {}", text, expected);
}

}  // namespace kzhost
