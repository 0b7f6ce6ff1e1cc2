// Text that modules print, as it was written, and whoever shows it.
#pragma once

#include "kz/base/types.h"

#include <functional>
#include <mutex>
#include <string_view>

namespace kzhost {

// Who wrote a text or an entry of the log. `host` stands for whoever does not say.
enum class TextOrigin { host, module, report, startup, script, output, error };

TextOrigin kzOriginOf(std::string_view name) noexcept;
std::string_view kzOriginName(TextOrigin origin) noexcept;

struct TextPiece {
    TextOrigin origin = TextOrigin::output;
    KzResult level = 0;
    std::string_view text;  // without an end of its own
    bool isFlush = false;   // no text: what came before is to be seen now
};

// Where nobody shows text it is only kept in the log.
class CTextBoard {
public:
    // Answers the system's number of why the text could not be written, or 0.
    using Viewer = std::function<int(const TextPiece&)>;
    void setViewer(Viewer viewer) { m_viewer = std::move(viewer); }
    int show(const TextPiece& piece) const { return m_viewer ? m_viewer(piece) : 0; }

private:
    Viewer m_viewer;  // set before anything runs
};

}  // namespace kzhost

using namespace kzhost;  // for the sources outside of the namespace
