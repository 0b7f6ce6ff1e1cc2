// The history of changes.
#include "host/document/undo_history.h"

#include "kz/undo.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace kzhost {

namespace {

bool has(std::uint32_t flags, std::int32_t flag) { return (flags & static_cast<std::uint32_t>(flag)) != 0; }

void append(ChangeList& target, ChangeList&& changes) {
    target.insert(target.end(), std::make_move_iterator(changes.begin()), std::make_move_iterator(changes.end()));
}

}  // namespace

std::size_t UndoStep::memory() const {
    std::size_t bytes = sizeof *this;
    for (const auto& change : changes) bytes += change->memory();
    return bytes;
}

void CUndoHistory::record(ChangeList changes) {
    if (changes.empty()) return;
    if (isSuspended()) {
        clear(Direction::reverse);
        clear(Direction::forward);
        m_open.clear();
        for (Block& block : m_blocks) block.first = 0;
    } else if (inBlock()) {
        append(m_open, std::move(changes));
    } else {
        add({{}, 0, std::move(changes)});
    }
}

void CUndoHistory::beginBlock(std::string name, std::uint32_t flags) {
    m_blocks.push_back({std::move(name), flags, m_open.size()});
}

bool CUndoHistory::endBlock() {
    Block block = std::move(m_blocks.back());
    m_blocks.pop_back();
    if (inBlock()) return false;
    if (m_open.empty() && has(block.flags, KZfUNDO_BLOCK_NOEMPTY)) return false;
    return add({std::move(block.name), block.flags, std::exchange(m_open, {})});
}

ChangeList CUndoHistory::discardBlock() {
    const auto first = m_open.begin() + static_cast<std::ptrdiff_t>(m_blocks.back().first);
    ChangeList changes(std::make_move_iterator(first), std::make_move_iterator(m_open.end()));
    m_open.erase(first, m_open.end());
    m_blocks.pop_back();
    return changes;
}

void CUndoHistory::suspend(bool on) {
    if (on) ++m_suspensions;
    else if (m_suspensions > 0) --m_suspensions;
}

// A new step ends what could have been redone.
bool CUndoHistory::add(UndoStep step) {
    m_redo.clear();
    m_bytes += step.memory();
    const bool joins = !m_undo.empty() && (has(step.flags, KZfUNDO_BLOCK_HIDDEN) ||
                                           (has(step.flags, KZfUNDO_BLOCK_MERGE) && m_undo.back().name == step.name));
    if (joins) append(m_undo.back().changes, std::move(step.changes));
    else m_undo.push_back(std::move(step));
    trim();
    return true;
}

void CUndoHistory::trim() {
    while (m_undo.size() > m_maxSteps || (m_bytes > m_maxBytes && m_undo.size() > 1)) {
        m_bytes -= std::min(m_bytes, m_undo.front().memory());
        m_undo.pop_front();
    }
}

std::optional<UndoStep> CUndoHistory::take(Direction direction) {
    Steps& steps = side(direction);
    if (steps.empty()) return {};
    UndoStep step = std::move(steps.back());
    steps.pop_back();
    if (direction == Direction::reverse) m_bytes -= std::min(m_bytes, step.memory());
    return step;
}

void CUndoHistory::put(Direction direction, UndoStep step) {
    if (direction == Direction::reverse) m_bytes += step.memory();
    side(direction).push_back(std::move(step));
}

void CUndoHistory::clear(Direction direction) {
    side(direction).clear();
    if (direction == Direction::reverse) m_bytes = 0;
}

const UndoStep* CUndoHistory::step(Direction direction, std::size_t index) const {
    const Steps& steps = side(direction);
    return index < steps.size() ? &steps[steps.size() - 1 - index] : nullptr;
}

void CUndoHistory::forget(const CDocument& document) {
    const auto isOf = [&](const auto& change) { return change->document() == &document; };
    for (Steps* steps : {&m_undo, &m_redo})
        for (UndoStep& step : *steps) {
            const std::size_t dropped = std::erase_if(step.changes, isOf);
            if (dropped != 0 && step.changes.empty()) step.name.clear();
        }
    for (Steps* steps : {&m_undo, &m_redo})
        std::erase_if(*steps, [](const UndoStep& step) { return step.changes.empty() && step.name.empty(); });
    // The places at which open blocks begin move with what goes.
    for (std::size_t i = m_open.size(); i-- > 0;) {
        if (!isOf(m_open[i])) continue;
        m_open.erase(m_open.begin() + static_cast<std::ptrdiff_t>(i));
        for (Block& block : m_blocks)
            if (block.first > i) --block.first;
    }
}

void CUndoHistory::setLimits(std::size_t steps, std::size_t bytes) {
    m_maxSteps = steps;
    m_maxBytes = bytes;
    trim();
}

}  // namespace kzhost
