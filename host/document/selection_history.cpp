// What was selected before.
#include "host/document/selection_history.h"

#include <utility>

namespace kzhost {

namespace {

constexpr std::size_t mostPackets = 100'000;  // in the lists of one type

}  // namespace

void CSelectionHistory::note(std::int32_t type, SelectionStep step) {
    if (isMoving()) return;
    Line& line = m_lines[type];
    line.future.clear();
    std::size_t packets = step.list.size();
    line.past.push_back(std::move(step));
    if (line.past.size() > most) line.past.pop_front();
    if (packets == 0) return;
    packets = 0;
    for (const SelectionStep& each : line.past) packets += each.list.size();
    for (; packets > mostPackets && line.past.size() > 1; line.past.pop_front())
        packets -= line.past.front().list.size();
}

}  // namespace kzhost
