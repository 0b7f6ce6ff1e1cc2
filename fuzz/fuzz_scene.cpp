// Scene files: whatever the text is, it is refused or read, and what was read is written as a text that reads the same.
#include "fuzz/fuzzer.h"

#include "host/objects/scene_file.h"

#include <optional>
#include <string>
#include <string_view>

using namespace kzhost;

namespace {

std::optional<std::string> readAndWritten(std::string_view text) {
    const auto workspace = std::make_shared<CWorkspace>();
    std::optional<std::string> written;
    try {
        const auto document = workspace->open(kzSceneName(text));
        CEdit edit(*workspace);
        kzReadScene(text, *document, edit, false);
        edit.commitLoaded(*document);
        written = kzWriteScene(*document);
        workspace->close(*document);
    } catch (const SceneFileError&) {
    }
    return written;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto written = readAndWritten({reinterpret_cast<const char*>(data), size});
    if (written) expect(readAndWritten(*written) == written, "what was written is read and written the same");
    return 0;
}
