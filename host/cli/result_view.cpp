// The results of a line on the screen.
#include "host/cli/result_view.h"

#include "host/cli/standard_streams.h"

#include <algorithm>
#include <string_view>
#include <sys/ioctl.h>
#include <unistd.h>

namespace kzhost {

namespace {

struct Screen {
    std::size_t rows = 0;
    std::size_t columns = 0;
};

// Empty if there is none.
Screen screenSize() {
    winsize size{};
    if (isatty(STDOUT_FILENO) == 0 || ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_row == 0 ||
        size.ws_col == 0)
        return {};
    return {size.ws_row, size.ws_col};
}

// The part of a line that takes one row of the screen, if each character takes a column.
std::size_t rowLength(std::string_view line, std::size_t columns) {
    std::size_t at = 0, width = 0;
    for (; at < line.size(); ++at)
        if ((static_cast<unsigned char>(line[at]) & 0xC0U) != 0x80U && ++width > columns) break;
    return at;
}

void addRows(std::vector<std::string>& rows, std::string_view text, std::size_t columns) {
    for (std::size_t feed = 0; feed != std::string_view::npos;) {
        feed = text.find('\n');
        std::string_view line = text.substr(0, feed);
        text.remove_prefix(feed == std::string_view::npos ? 0 : feed + 1);
        do {
            const std::size_t length = rowLength(line, columns);
            rows.emplace_back(line.substr(0, length)) += length == line.size() ? "\n" : "";
            line.remove_prefix(length);
        } while (!line.empty());
    }
}

}  // namespace

void CResultView::show(const std::vector<std::string>& results) {
    m_rest.clear();
    const Screen screen = m_stops ? screenSize() : Screen();
    for (const std::string& text : results) {
        if (screen.rows == 0) CStandardStreams::get().out(text + "\n");
        else addRows(m_rest, text, screen.columns);
    }
    std::ranges::reverse(m_rest);
    if (!m_rest.empty()) showScreenful();
}

bool CResultView::showMore() {
    if (m_rest.empty()) return false;
    showScreenful();
    return true;
}

// The prompt and the word about the rest take two rows.
void CResultView::showScreenful() {
    const std::size_t rows = std::max<std::size_t>(screenSize().rows, 4) - 2;
    std::string text;
    for (std::size_t row = 0; row < rows && !m_rest.empty(); ++row) {
        text += m_rest.back();
        m_rest.pop_back();
    }
    CStandardStreams::get().out(text);
    if (m_rest.empty()) return;
    CStandardStreams::get().print("{}... {} more lines: Enter shows the next ones, print _ the whole value\n",
                                  text.ends_with('\n') ? "" : "\n", m_rest.size());
}

}  // namespace kzhost
