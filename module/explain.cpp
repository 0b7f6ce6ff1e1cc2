// Reasons in the event log, each written once and then counted.
#include "module/explain.h"

#include "module/output.h"
#include "module/pending_exception.h"

#include "kz/base/boundary.h"
#include "kz/base/forever.h"
#include "kz/result.h"

#include <map>

namespace {

constexpr std::size_t mostReasons = 500;  // a text that differs each time must not fill the memory

CKzForever<std::map<std::string, std::size_t>> theRepeats;  // how often each line occurred beyond the first time

void note(const std::string& line) {
    auto& known = *theRepeats;
    if (const auto found = known.find(line); found != known.end()) {
        ++found->second;
        return;
    }
    if (known.size() > mostReasons) return;
    if (known.size() == mostReasons) {
        known.emplace("", 0);
        kzLog("further reasons are not told: there are too many different ones", KZe_WARNING);
        return;
    }
    known.emplace(line, 0);
    kzLog(kzVisible(line).c_str(), KZe_WARNING);
}

}  // namespace

void kzExplain(const std::string& place, const std::string& reason) noexcept {
    const CPendingException pending;  // who listens to the log may be written in Python
    kzValueBoundary([&] { note(place + ": " + reason); });
}

void kzTellRepeatedReasons() noexcept {
    kzValueBoundary([] {
        std::map<std::string, std::size_t> told;
        told.swap(*theRepeats);
        for (const auto& [line, count] : told)
            if (count > 0)
                kzLog((kzVisible(line) + " (" + std::to_string(count) + " more times)").c_str(), KZe_WARNING);
    });
}
