// The text that modules print, and the callback that shows it.
#pragma once

#include "kz/base/types.h"

#include <functional>
#include <mutex>
#include <string_view>

namespace kzhost {

// The origin of a text or of a log entry; `host` if it does not name one.
enum class TextOrigin { host, module, report, startup, script, output, error, leaks, replay };

TextOrigin kzOriginOf(std::string_view name) noexcept;
std::string_view kzOriginName(TextOrigin origin) noexcept;

struct TextPiece {
    TextOrigin origin = TextOrigin::output;
    KzResult level = 0;
    std::string_view text;  // not NUL-terminated
    bool isFlush = false;   // no text: show everything that came before
};

// Without a viewer, text is only kept in the log.
class CTextBoard {
public:
    // Returns the errno of a failed write, or 0.
    using Viewer = std::function<int(const TextPiece&)>;
    void setViewer(Viewer viewer) { m_viewer = std::move(viewer); }
    int show(const TextPiece& piece) const { return m_viewer ? m_viewer(piece) : 0; }

private:
    Viewer m_viewer;  // set before anything runs
};

}  // namespace kzhost
