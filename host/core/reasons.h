// The reasons for failures of the host's objects. The caller gets a code; the log gets one line that says what was asked
// for and what there is: "Item.ChannelLookup: there is no channel "X"; there are pos.X, pos.Y, ...".
#pragma once

#include "host/state/function_ref.h"

#include "kz/base/types.h"

#include <cstddef>
#include <iterator>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace kzhost {

class CLogStore;
// The reasons that one host has logged. A script that probes in a loop must not flood the log, so each reason is written
// once, each place writes a few different reasons, and the rest are counted until the host ends.
class CReasonBook {
public:
    // Opens a book for that log. Failures go to the latest book that is still alive.
    static std::shared_ptr<CReasonBook> open(std::shared_ptr<CLogStore> log);

    void tell(const char* place, CFunctionRef<std::string()> reason);
    // Writes the counts of failures without a line, and resets them.
    void writeCounts();

private:
    explicit CReasonBook(std::shared_ptr<CLogStore> log) : m_log(std::move(log)) {}

    struct Place {
        std::vector<std::string> texts;
        std::uint64_t failures = 0;
    };
    std::shared_ptr<CLogStore> m_log;
    std::mutex m_lock;
    std::map<std::string, Place, std::less<>> m_places;
};

// Logs the reason in the running host and returns the code, for the caller to return or throw. `place` is a literal that
// names the operation; `reason` is called only if a line is written.
KzResult kzBecause(KzResult code, const char* place, CFunctionRef<std::string()> reason) noexcept;

// "there is no channel "X"; there are A, B, C, ... (20 in all)"
std::string kzThereIsNo(std::string_view kind, std::string_view name, const std::vector<std::string>& names);
// As above, for anything with names: `nameOf` is called with each element.
template <class Range, class NameOf>
std::string kzThereIsNo(std::string_view kind, std::string_view name, const Range& range, const NameOf& nameOf) {
    std::vector<std::string> names;
    if constexpr (requires { std::size(range); }) names.reserve(std::size(range));
    for (const auto& each : range) names.emplace_back(nameOf(each));
    return kzThereIsNo(kind, name, names);
}
// ""twelve" is not an integer, as 12 or -3"
std::string kzIsNot(std::string_view text, std::string_view expected);

}  // namespace kzhost
