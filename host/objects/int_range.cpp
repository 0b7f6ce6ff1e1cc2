// Sets of integers that are written as ranges. A set is kept as its runs of consecutive members, so that large spans cost no
// more than small ones; a span with a step has a run for each member.
#include "host/objects/int_range.h"

#include "host/core/object.h"
#include "host/core/reasons.h"
#include "host/state/text.h"

#include "kz/object.h"
#include "kz/result.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <iterator>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace kzhost {

namespace {

constexpr std::int64_t mostRuns = 1'000'000;  // what a step may make of a range without exhausting the memory

// Runs by their first member, with the last. They neither touch nor overlap.
class CIntegerSet {
public:
    void add(std::int64_t first, std::int64_t last) {
        auto next = m_runs.upper_bound(first);
        if (next != m_runs.begin() && std::prev(next)->second >= first - 1) --next;
        while (next != m_runs.end() && next->first <= last + 1) {
            first = std::min(first, next->first);
            last = std::max(last, next->second);
            next = m_runs.erase(next);
        }
        m_runs.emplace_hint(next, first, last);
    }
    void remove(std::int64_t first, std::int64_t last) {
        auto next = m_runs.upper_bound(first);
        if (next != m_runs.begin() && std::prev(next)->second >= first) --next;
        while (next != m_runs.end() && next->first <= last) {
            const auto [from, to] = *next;
            next = m_runs.erase(next);
            if (from < first) m_runs.emplace(from, first - 1);
            if (to > last) m_runs.emplace(last + 1, to);
        }
    }
    bool has(std::int64_t member) const {
        const auto next = m_runs.upper_bound(member);
        return next != m_runs.begin() && std::prev(next)->second >= member;
    }
    // The smallest member that is at least that.
    std::optional<std::int64_t> from(std::int64_t least) const {
        const auto next = m_runs.upper_bound(least);
        if (next != m_runs.begin() && std::prev(next)->second >= least) return least;
        return next != m_runs.end() ? std::optional(next->first) : std::nullopt;
    }
    const std::map<std::int64_t, std::int64_t>& runs() const { return m_runs; }

private:
    std::map<std::int64_t, std::int64_t> m_runs;
};

bool isMember(std::int64_t value) { return value >= KZiINTRANGE_LOWEST && value <= KZiINTRANGE_HIGHEST; }

// Why a span is none that a set with so many runs takes; null for a sound one.
const char* faultOfSpan(std::int64_t first, std::int64_t last, std::int64_t step, std::size_t runs) {
    if (step <= 0) return "a step is 1 or more";
    if (last < first) return "the last member is below the first";
    if (!isMember(first) || !isMember(last)) return "members are -2147483647 to 2147483647";
    if (step > 1 && (last - first) / step + static_cast<std::int64_t>(runs) >= mostRuns)
        return "a range has at most 1000000 members that are not consecutive";
    return nullptr;
}

// A sound span.
void addSpan(CIntegerSet& set, std::int64_t first, std::int64_t last, std::int64_t step) {
    if (step == 1) return set.add(first, last);
    set.add(first, first);
    for (std::int64_t each = first; step <= last - each; set.add(each, each)) each += step;
}

// Reads "1-10,12,20-30:2", with negative numbers as in "-5--1".
class CRangeReader {
public:
    CRangeReader(std::string_view text, std::uint32_t flags) : m_text(text), m_flags(flags) {}

    // Throws INVALIDARG for a text that is no range.
    void read(CIntegerSet& set) {
        while (m_at < m_text.size()) {
            const std::size_t end = std::min(m_text.find(',', m_at), m_text.size());
            const std::string_view part = m_text.substr(m_at, end - m_at);
            m_at = end + 1;
            if (!isBlank(part) && !readPart(part, set) && (m_flags & KZfINTRANGE_LENIENT) == 0)
                throw kzBecause(KZe_INVALIDARG, "IntRange.Parse", [&] {
                    return kzIsNot(part, (m_flags & KZfINTRANGE_STEPS) != 0 ? "a number or range, as 7, 1-10 or 1-10:2"
                                                                            : "a number or range, as 7 or 1-10");
                });
        }
    }

private:
    static bool isBlank(std::string_view part) { return part.find_first_not_of(" \t") == std::string_view::npos; }
    static void skipBlanks(std::string_view& part) {
        part.remove_prefix(std::min(part.find_first_not_of(" \t"), part.size()));
    }
    static bool take(std::string_view& part, char mark) {
        skipBlanks(part);
        if (!part.starts_with(mark)) return false;
        part.remove_prefix(1);
        return true;
    }
    static bool takeNumber(std::string_view& part, std::int64_t& number) {
        skipBlanks(part);
        const auto [end, error] = std::from_chars(part.data(), part.data() + part.size(), number);
        if (error != std::errc()) return false;
        part.remove_prefix(static_cast<std::size_t>(end - part.data()));
        return true;
    }
    bool readPart(std::string_view part, CIntegerSet& set) const {
        std::int64_t first = 0, last = 0, step = 1;
        if (!takeNumber(part, first)) return false;
        last = first;
        const bool isSpan = take(part, '-');
        if (isSpan && !takeNumber(part, last)) return false;
        if (isSpan && (m_flags & KZfINTRANGE_STEPS) != 0 && take(part, ':') && !takeNumber(part, step)) return false;
        if (!isBlank(part) || faultOfSpan(first, last, step, set.runs().size()) != nullptr) return false;
        addSpan(set, first, last, step);
        return true;
    }

    std::string_view m_text;
    std::uint32_t m_flags;
    std::size_t m_at = 0;
};

// Three or more single members at equal distances are a span with a step.
std::string textOfIntegers(const CIntegerSet& set) {
    const std::vector<std::pair<std::int64_t, std::int64_t>> runs(set.runs().begin(), set.runs().end());
    const auto isSingle = [&](std::size_t at) { return at < runs.size() && runs[at].first == runs[at].second; };
    std::string text;
    for (std::size_t at = 0; at < runs.size();) {
        const auto [first, last] = runs[at];
        std::size_t end = at + 1;
        const std::int64_t step = isSingle(at) && isSingle(at + 1) ? runs[at + 1].first - first : 0;
        while (step > 0 && isSingle(end) && runs[end].first - runs[end - 1].first == step) ++end;
        if (!text.empty()) text += ',';
        if (end - at >= 3) {
            text += fmt::format("{}-{}:{}", first, runs[end - 1].first, step);
            at = end;
            continue;
        }
        text += first == last ? fmt::format("{}", first) : fmt::format("{}-{}", first, last);
        ++at;
    }
    return text;
}

class CIntRange final : public CHosted<"integer range", CIntRange, CKzIfc_IntRange> {
public:
    std::uint32_t intrange_Count() override {
        const std::lock_guard lock(m_lock);
        std::uint64_t count = 0;
        for (const auto& [first, last] : m_set.runs()) count += static_cast<std::uint64_t>(last - first + 1);
        return static_cast<std::uint32_t>(count);  // all members there can be are fewer than 2^32
    }
    bool intrange_Test(std::int32_t value) override {
        const std::lock_guard lock(m_lock);
        return m_set.has(value);
    }
    KzResult intrange_Limits(std::int32_t* minimum, std::int32_t* maximum) override {
        const std::lock_guard lock(m_lock);
        if (m_set.runs().empty()) return KZe_NOTFOUND;
        *minimum = static_cast<std::int32_t>(m_set.runs().begin()->first);
        *maximum = static_cast<std::int32_t>(m_set.runs().rbegin()->second);
        return KZe_OK;
    }
    KzResult intrange_Next(std::int32_t after, std::int32_t* value) override {
        const std::lock_guard lock(m_lock);
        const auto next = m_set.from(std::int64_t{after} + 1);
        if (!next) return KZe_NOTFOUND;
        *value = static_cast<std::int32_t>(*next);
        return KZe_OK;
    }
    KzResult intrange_AddSpan(std::int32_t first, std::int32_t last, std::uint32_t step) override {
        if (const char* why = faultOfSpan(first, last, step, runCount()))
            return kzBecause(KZe_INVALIDARG, "IntRange.AddSpan",
                             [&] { return fmt::format("{}-{}:{}: {}", first, last, step, why); });
        const std::lock_guard lock(m_lock);
        addSpan(m_set, first, last, step);
        return KZe_OK;
    }
    KzResult intrange_RemoveSpan(std::int32_t first, std::int32_t last) override {
        if (last < first)
            return kzBecause(KZe_INVALIDARG, "IntRange.RemoveSpan",
                             [&] { return fmt::format("{}-{}: the last member is below the first", first, last); });
        const std::lock_guard lock(m_lock);
        m_set.remove(first, last);
        return KZe_OK;
    }
    KzResult intrange_Parse(const char* text, std::uint32_t flags) override {
        CIntegerSet set;
        if ((flags & KZfINTRANGE_MERGE) != 0) {
            const std::lock_guard lock(m_lock);
            set = m_set;
        }
        CRangeReader(kzTextOf(text), flags).read(set);
        const std::lock_guard lock(m_lock);
        m_set = std::move(set);
        return KZe_OK;
    }
    KzResult intrange_Text(char* text, std::uint32_t length) override {
        const std::lock_guard lock(m_lock);
        return kzFillText(textOfIntegers(m_set), text, length);
    }
    KzResult intrange_Values(std::uint32_t count, std::int32_t* values, std::uint32_t* written) override {
        if (count > 0 && values == nullptr) return noArray("IntRange.Values");
        const std::lock_guard lock(m_lock);
        *written = 0;
        for (const auto& [first, last] : m_set.runs())
            for (std::int64_t each = first; each <= last && *written < count; ++each)
                values[(*written)++] = static_cast<std::int32_t>(each);
        return KZe_OK;
    }
    KzResult intrange_SetValues(std::uint32_t count, std::int32_t* values) override {
        if (count > 0 && values == nullptr) return noArray("IntRange.SetValues");
        CIntegerSet set;
        for (std::uint32_t at = 0; at < count; ++at) {
            if (!isMember(values[at]))
                return kzBecause(KZe_INVALIDARG, "IntRange.SetValues", [&] {
                    return fmt::format("{} is no member: those are -2147483647 to 2147483647", values[at]);
                });
            set.add(values[at], values[at]);
        }
        const std::lock_guard lock(m_lock);
        m_set = std::move(set);
        return KZe_OK;
    }

private:
    static KzResult noArray(const char* place) {
        return kzBecause(KZe_INVALIDARG, place, [] { return "there is no array of members"; });
    }
    std::size_t runCount() {
        const std::lock_guard lock(m_lock);
        return m_set.runs().size();
    }

    std::mutex m_lock;
    CIntegerSet m_set;
};

}  // namespace

IKzUnknown* kzMakeIntRange() { return kzMakeObject<CIntRange>(); }

}  // namespace kzhost
