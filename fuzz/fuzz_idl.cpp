// Descriptions as kzgen reads them: whatever is written there, it is refused with a place or everything is made from it.
#include "fuzz/fuzzer.h"

#include "gen/emit.h"
#include "gen/load.h"
#include "gen/parser.h"

#include <cstring>
#include <filesystem>
#include <unistd.h>

namespace {

using namespace kzgen;

// Where the emitters write: one folder a process, gone at its end.
class Folder {
public:
    Folder() : m_path(std::filesystem::temp_directory_path() / ("fuzz_idl_" + std::to_string(getpid()))) {}
    ~Folder() {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;
    const std::filesystem::path& path() const { return m_path; }

private:
    std::filesystem::path m_path;
};

bool namesPlace(const char* error) {
    char* end = nullptr;
    if (std::strncmp(error, "t.idl:", 6) != 0 || std::strtoul(error + 6, &end, 10) == 0 || *end != ':') return false;
    return std::strtoul(end + 1, &end, 10) != 0 && std::strncmp(end, ": error: ", 9) == 0;
}

// Every error is one line "t.idl:LINE:COLUMN: error: ...".
void checkErrors(const Diagnostics& diagnostics) {
    const std::string text = diagnostics.text();
    std::size_t lines = 0;
    for (std::size_t at = 0; at < text.size(); at = text.find('\n', at) + 1, ++lines) {
        expect(namesPlace(text.c_str() + at), "an error names its place");
        expect(text.find('\n', at) != std::string::npos, "an error ends its line");
    }
    expect(lines == diagnostics.count(), "an error is one line");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const Folder folder;
    Model model;
    Diagnostics diagnostics;
    const SourceFile& file =
        model.sources.emplace_back(SourceFile{"t.idl", std::string(reinterpret_cast<const char*>(data), size)});
    model.headers.push_back(parse(file, diagnostics));
    if (diagnostics.empty()) check(model, Completeness::Partial, diagnostics);
    checkErrors(diagnostics);
    if (!diagnostics.empty()) return 0;
    Output output(folder.path());
    for (const Part& part : parts()) part.emit(model, output);
    return 0;
}
