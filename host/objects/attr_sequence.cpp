// Numbered sequences of attribute sets, and texts under four-character codes.
#include "host/objects/attr_sequence.h"

#include "host/core/object.h"
#include "host/core/reasons.h"
#include "host/state/text.h"

#include "kz/command.h"
#include "kz/object.h"
#include "kz/result.h"
#include "kz/value.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace kzhost {

namespace {

// The sets are shared, so that releasing one, which may run its owner's code, happens outside the lock.
class CAttrSequence final : public CHosted<"attribute sequence", CAttrSequence, CKzIfc_AttrSequence> {
public:
    std::uint32_t attrsequence_Count() override {
        const std::lock_guard lock(m_lock);
        return static_cast<std::uint32_t>(m_sets.size());
    }
    KzResult attrsequence_ByIndex(std::uint32_t index, IKzUnknown** attributes) override {
        return at("AttrSequence.ByIndex", index)->get(attributes);
    }
    KzResult attrsequence_Insert(std::int32_t index, IKzUnknown* attributes) override;
    KzResult attrsequence_Reorder(std::uint32_t count, std::int32_t* order) override;
    KzResult attrsequence_Remove(std::uint32_t index) override;
    KzResult attrsequence_Move(std::uint32_t from, std::uint32_t to) override;
    KzResult attrsequence_Current(std::uint32_t* index, IKzUnknown** attributes) override {
        std::shared_ptr<CKzUser_Attributes> set;
        {
            const std::lock_guard lock(m_lock);
            if (m_sets.empty()) return KZe_NOTFOUND;
            *index = static_cast<std::uint32_t>(m_current);
            set = m_sets[m_current];
        }
        return set->get(attributes);
    }
    KzResult attrsequence_SetCurrent(std::uint32_t index) override {
        at("AttrSequence.SetCurrent", index);
        const std::lock_guard lock(m_lock);
        m_current = std::min<std::size_t>(index, m_sets.empty() ? 0 : m_sets.size() - 1);
        return KZe_OK;
    }

private:
    using Set = std::shared_ptr<CKzUser_Attributes>;

    // Throws OUTOFBOUNDS.
    Set at(const char* place, std::uint32_t index) {
        std::size_t count = 0;
        {
            const std::lock_guard lock(m_lock);
            count = m_sets.size();
            if (index < count) return m_sets[index];
        }
        throw outside(place, index, count);
    }
    static KzResult outside(const char* place, std::int64_t index, std::size_t count) {
        return kzBecause(KZe_OUTOFBOUNDS, place,
                         [&] { return fmt::format("there is no set {}; the sequence has {}", index, count); });
    }

    std::mutex m_lock;
    std::vector<Set> m_sets;
    std::size_t m_current = 0;  // follows its set
};

KzResult CAttrSequence::attrsequence_Insert(std::int32_t index, IKzUnknown* attributes) {
    auto set = std::make_shared<CKzUser_Attributes>(attributes);
    if (!*set)
        return kzBecause(KZe_INVALIDARG, "AttrSequence.Insert",
                         [] { return "what is to be inserted is no object with the interface Attributes"; });
    std::size_t count = 0;
    {
        const std::lock_guard lock(m_lock);
        count = m_sets.size();
        const bool isLast = index == KZiATTRSEQ_APPEND;
        if (isLast || (index >= 0 && static_cast<std::size_t>(index) <= count)) {
            const std::size_t place = isLast ? count : static_cast<std::size_t>(index);
            m_sets.insert(m_sets.begin() + static_cast<std::ptrdiff_t>(place), std::move(set));
            if (count > 0 && place <= m_current) ++m_current;
            return KZe_OK;
        }
    }
    return outside("AttrSequence.Insert", index, count);
}

KzResult CAttrSequence::attrsequence_Reorder(std::uint32_t count, std::int32_t* order) {
    {
        const std::lock_guard lock(m_lock);
        std::vector<bool> isUsed(m_sets.size());
        bool isSound = count == m_sets.size() && (count == 0 || order != nullptr);
        for (std::uint32_t at = 0; isSound && at < count; ++at) {
            isSound = order[at] >= 0 && static_cast<std::uint32_t>(order[at]) < count && !isUsed[order[at]];
            if (isSound) isUsed[order[at]] = true;
        }
        if (isSound) {
            std::vector<Set> sorted(count);
            std::size_t current = m_current;
            for (std::uint32_t at = 0; at < count; ++at) {
                sorted[at] = m_sets[order[at]];
                if (static_cast<std::size_t>(order[at]) == m_current) current = at;
            }
            m_sets.swap(sorted);
            m_current = current;
            return KZe_OK;
        }
    }
    return kzBecause(KZe_INVALIDARG, "AttrSequence.Reorder", [&] {
        return fmt::format("an order of {} sets names each index from 0 to {} once", attrsequence_Count(),
                           static_cast<std::int64_t>(attrsequence_Count()) - 1);
    });
}

KzResult CAttrSequence::attrsequence_Remove(std::uint32_t index) {
    Set removed;  // released without the lock
    std::size_t count = 0;
    {
        const std::lock_guard lock(m_lock);
        count = m_sets.size();
        if (index < count) {
            removed = std::move(m_sets[index]);
            m_sets.erase(m_sets.begin() + index);
            if (m_current > index || m_current == m_sets.size()) m_current -= m_current > 0 ? 1 : 0;
            return KZe_OK;
        }
    }
    return outside("AttrSequence.Remove", index, count);
}

KzResult CAttrSequence::attrsequence_Move(std::uint32_t from, std::uint32_t to) {
    std::size_t count = 0;
    {
        const std::lock_guard lock(m_lock);
        count = m_sets.size();
        if (from < count && to < count) {
            const auto first = m_sets.begin();
            if (from < to) std::rotate(first + from, first + from + 1, first + to + 1);
            else std::rotate(first + to, first + from, first + from + 1);
            if (m_current == from) m_current = to;
            else if (from < m_current && m_current <= to) --m_current;
            else if (to <= m_current && m_current < from) ++m_current;
            return KZe_OK;
        }
    }
    return outside("AttrSequence.Move", std::max(from, to), count);
}

// A null text removes the tag. Tags are in the order of their codes.
class CStringTags final : public CHosted<"string tags", CStringTags, CKzIfc_StringTag> {
public:
    KzResult stag_Get(std::uint32_t type, const char** text) override {
        const std::lock_guard lock(m_lock);
        const auto tag = m_tags.find(type);
        if (tag == m_tags.end()) return KZe_NOTFOUND;
        *text = kzLend(tag->second);
        return KZe_OK;
    }
    KzResult stag_Set(std::uint32_t type, const char* text) override {
        const std::lock_guard lock(m_lock);
        if (text != nullptr) m_tags.insert_or_assign(type, text);
        else m_tags.erase(type);
        return KZe_OK;
    }
    std::uint32_t stag_Count() override {
        const std::lock_guard lock(m_lock);
        return static_cast<std::uint32_t>(m_tags.size());
    }
    KzResult stag_ByIndex(std::uint32_t index, std::uint32_t* type, const char** text) override {
        const std::lock_guard lock(m_lock);
        if (index >= m_tags.size()) return KZe_OUTOFBOUNDS;
        const auto tag = std::next(m_tags.begin(), index);
        *type = tag->first;
        *text = kzLend(tag->second);
        return KZe_OK;
    }

private:
    std::mutex m_lock;
    std::map<std::uint32_t, std::string> m_tags;
};

}  // namespace

IKzUnknown* kzMakeAttrSequence() { return kzMakeObject<CAttrSequence>(); }
IKzUnknown* kzMakeStringTags() { return kzMakeObject<CStringTags>(); }

}  // namespace kzhost
