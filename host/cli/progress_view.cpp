// Shows monitors.
#include "host/cli/progress_view.h"

#include <fmt/format.h>

#include <algorithm>

namespace kzhost {

namespace {

constexpr int barWidth = 40;
constexpr std::chrono::seconds betweenLines{5};

int percentOf(const MonitorState& state) {
    return state.steps == 0 ? 0 : static_cast<int>(state.done * 100 / state.steps);
}

// Replaces control characters, because a title must not move the cursor.
std::string titleOf(const MonitorState& state) {
    std::string title = state.title;
    std::ranges::replace_if(
        title, [](unsigned char c) { return c < ' ' || c == 0x7F; }, ' ');
    return title;
}

std::string barOf(const MonitorState& state) {
    const int percent = percentOf(state);
    return fmt::format("{} [{:<{}}] {:3}%", titleOf(state),
                       std::string(static_cast<std::size_t>(percent * barWidth / 100), '#'), barWidth, percent);
}

std::string lineOf(const MonitorState& state) {
    return fmt::format("{}: {}% ({} of {})\n", titleOf(state), percentOf(state), state.done, state.steps);
}

}  // namespace

void CProgressView::operator()(const MonitorState& state) {
    if (state.ended) end(state);
    else if (state.steps != 0) step(state);
}

CProgressView::Row& CProgressView::rowOf(const MonitorState& state) {
    const auto row = std::ranges::find(m_rows, &state, &Row::monitor);
    return row != m_rows.end() ? *row : m_rows.emplace_back(Row{&state, "", m_place.now()});
}

// The bars are redrawn only when they change.
void CProgressView::step(const MonitorState& state) {
    Row& row = rowOf(state);
    if (m_place.isTerminal) {
        if (std::string bar = barOf(state); bar != row.text) {
            row.text = std::move(bar);
            showBars();
        }
    } else if (const Time now = m_place.now(); now - row.lastLine >= betweenLines) {
        row.text = lineOf(state);
        row.lastLine = now;
        row.hasLine = true;
        m_place.writeLine(row.text);
    }
}

// The bar of the outermost task remains as a line of text; those of nested tasks disappear. Without a terminal, a task
// that has written lines also writes its last state.
void CProgressView::end(const MonitorState& state) {
    const auto place = std::ranges::find(m_rows, &state, &Row::monitor);
    if (place == m_rows.end()) return;
    const Row row = *place;
    m_rows.erase(place);
    if (m_place.isTerminal) {
        showBars();
        if (m_rows.empty()) m_place.writeLine(row.text + "\n");
    } else if (row.hasLine && lineOf(state) != row.text) m_place.writeLine(lineOf(state));
}

void CProgressView::showBars() const {
    std::vector<std::string> bars;
    for (const Row& row : m_rows) bars.push_back(row.text);
    m_place.showBars(std::move(bars));
}

}  // namespace kzhost
