// A script's argument string and its trailing lines: what is cut, and that nothing else is.
#include "fuzz/fuzzer.h"

#include "script/interpreter_script.h"

#include <algorithm>

namespace {

std::string without(const std::string& text, const char* characters) {
    std::string rest = text;
    std::erase_if(rest, [&](char c) { return std::string_view(characters).find(c) != std::string_view::npos; });
    return rest;
}

void checkSplitting(const std::string& text) {
    const std::vector<std::string> tokens = Python_Script::splitArguments(text.c_str());
    std::string joined;
    std::size_t from = 0;
    for (const std::string& token : tokens) {
        expect(!token.empty(), "empty tokens are dropped");
        from = text.find(token, from);
        expect(from != std::string::npos, "tokens stand in the text, in order");
        from += token.size();
        joined += token;
    }
    expect(without(joined, " \"") == without(text, " \""), "nothing but blanks and quotes goes");
    if (text.find('"') == std::string::npos) expect(joined == without(text, " "), "without quotes all blanks separate");
}

void checkTrimming(const std::string& text) {
    std::string trimmed = text;
    Python_Script::trimTrailingLines(trimmed);
    expect(text.starts_with(trimmed), "only the end is cut");
    for (std::size_t at = trimmed.size(); at < text.size();) {
        const std::size_t code = text.find_first_not_of(" \t\n\v\f\r", at);
        if (code == std::string::npos) break;
        expect(text[code] == '#', "what is cut is blank or a comment");
        at = std::min(text.find('\n', code), text.size());
    }
    std::string again = trimmed;
    Python_Script::trimTrailingLines(again);
    expect(again == trimmed, "a second time cuts nothing");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string text(reinterpret_cast<const char*>(data), size);
    text.resize(std::min(text.find('\0'), text.size()));  // both come as C strings
    checkSplitting(text);
    checkTrimming(text);
    return 0;
}
