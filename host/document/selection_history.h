// What was selected before: for each type the steps that led to its present selection, to go back and forth.
#pragma once

#include "host/document/ordered_set.h"

#include <cstdint>
#include <deque>
#include <map>
#include <memory>

namespace kzhost {

struct SelectionPacket;

// One packet that came or went; or, without a packet, what the whole list was before.
struct SelectionStep {
    std::shared_ptr<SelectionPacket> packet = {};
    bool adds = false;
    COrderedSet<std::shared_ptr<SelectionPacket>> list = {};
};

class CSelectionHistory {
public:
    static constexpr std::size_t most = 500;  // older steps are forgotten

    void note(std::int32_t type, SelectionStep step);
    // Takes steps until `reverse` has changed something; it gets the step, whether it goes back, and leaves what takes it the
    // other way. False if nothing has changed.
    template <class Reverse> bool move(std::int32_t type, bool isBack, const Reverse& reverse) {
        Line& line = m_lines[type];
        auto& from = isBack ? line.past : line.future;
        auto& to = isBack ? line.future : line.past;
        const Moving moving(*this);
        for (bool hasChanged = false; !from.empty();) {
            SelectionStep step = std::move(from.back());
            from.pop_back();
            hasChanged = reverse(step, isBack);
            to.push_back(std::move(step));
            if (hasChanged) return true;
        }
        return false;
    }
    // While one of these lives, what happens is no step.
    class Moving {
    public:
        explicit Moving(CSelectionHistory& history) : m_history(history) { ++m_history.m_moving; }
        Moving(const Moving&) = delete;
        Moving& operator=(const Moving&) = delete;
        ~Moving() { --m_history.m_moving; }

    private:
        CSelectionHistory& m_history;
    };
    bool isMoving() const noexcept { return m_moving > 0; }

private:
    struct Line {
        std::deque<SelectionStep> past, future;
    };
    std::map<std::int32_t, Line> m_lines;
    int m_moving = 0;
};

}  // namespace kzhost
