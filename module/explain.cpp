// Writes the reasons for failures to the event log, each once, and counts their repetitions.
#include "module/explain.h"

#include "module/output.h"
#include "module/pending_exception.h"

#include "kz/base/boundary.h"
#include "kz/base/forever.h"
#include "kz/result.h"

#include <map>

namespace {

constexpr std::size_t mostReasons = 500;  // bounds the memory that texts take which differ each time

CKzForever<std::map<std::string, std::size_t>> theRepeats;  // by line: how often it occurred after the first time

void note(const std::string& line) {
    auto& repeats = *theRepeats;
    if (const auto entry = repeats.find(line); entry != repeats.end()) {
        ++entry->second;
        return;
    }
    if (repeats.size() > mostReasons) return;
    if (repeats.size() == mostReasons) {
        repeats.emplace("", 0);
        kzLog("no further reasons are written, because there are too many different ones", KZe_WARNING);
        return;
    }
    repeats.emplace(line, 0);
    kzLog(kzVisible(line).c_str(), KZe_WARNING);
}

}  // namespace

void kzExplain(const std::string& place, const std::string& reason) noexcept {
    const CPendingException pending;  // log listeners may be written in Python
    kzValueBoundary([&] { note(place + ": " + reason); });
}

void kzTellRepeatedReasons() noexcept {
    kzValueBoundary([] {
        std::map<std::string, std::size_t> repeats;
        repeats.swap(*theRepeats);
        for (const auto& [line, count] : repeats)
            if (count > 0)
                kzLog((kzVisible(line) + " (" + std::to_string(count) + " more times)").c_str(), KZe_WARNING);
    });
}
