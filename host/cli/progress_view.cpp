// Shows monitors.
#include "host/cli/progress_view.h"

#include <fmt/format.h>

namespace kzhost {

namespace {

constexpr int barWidth = 40;

int percentOf(const MonitorState& state) {
    return state.steps == 0 ? 0 : static_cast<int>(state.done * 100 / state.steps);
}

}  // namespace

// Drawn again only when it would look different; a pipe gets one line for each quarter.
void CProgressView::operator()(const MonitorState& state) {
    if (state.steps == 0 && !m_isOpen) return;
    const int percent = percentOf(state);
    const int step = m_isTerminal ? percent : percent / 25;
    if (state.ended) {
        if (m_isTerminal && m_isOpen) fmt::print(m_file, "\n");
        m_isOpen = false;
        m_shown = -1;
    } else if (step != m_shown) {
        m_shown = step;
        m_isOpen = true;
        if (m_isTerminal)
            fmt::print(m_file, "\r{} [{:<{}}] {:3}%", state.title,
                       std::string(static_cast<std::size_t>(percent * barWidth / 100), '#'), barWidth, percent);
        else fmt::print(m_file, "{}: {}% ({} of {})\n", state.title, percent, state.done, state.steps);
    }
    std::fflush(m_file);
}

}  // namespace kzhost
