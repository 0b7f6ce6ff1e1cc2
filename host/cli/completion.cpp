// What may stand where somebody presses Tab in the console.
#include "host/cli/completion.h"

#include "host/cli/command_completion.h"
#include "host/cli/line_session.h"
#include "host/core/command_dispatcher.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <filesystem>
#include <optional>

namespace kzhost {

namespace {

using Words = std::vector<std::string>;

bool isNamePart(char c) { return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_'; }
bool isPathPart(char c) { return isNamePart(c) || c == '.'; }

// The name, with dots, that ends the text.
std::string lastPath(std::string_view text) {
    std::size_t start = text.size();
    while (start > 0 && isPathPart(text[start - 1])) --start;
    return std::string(text.substr(start));
}

struct OpenCall {
    std::string function;
    std::size_t argument = 0;
};

// What the end of a text is inside of.
struct Place {
    char quote = '\0';
    std::size_t string = 0;  // where the open string begins, behind its quote
    std::vector<OpenCall> calls;

    bool isInString() const { return quote != '\0'; }
    // Null outside of calls, and inside of brackets that belong to none.
    const OpenCall* call() const { return calls.empty() || calls.back().function.empty() ? nullptr : &calls.back(); }
};

void readCode(Place& place, std::string_view text, std::size_t at) {
    switch (text[at]) {
    case '\'':
    case '"':
        place.quote = text[at];
        place.string = at + 1;
        break;
    case '(': place.calls.push_back({lastPath(text.substr(0, at))}); break;
    case '[':
    case '{': place.calls.emplace_back(); break;
    case ')':
    case ']':
    case '}':
        if (!place.calls.empty()) place.calls.pop_back();
        break;
    case ',':
        if (!place.calls.empty()) ++place.calls.back().argument;
        break;
    default: break;
    }
}

Place placeOfEnd(std::string_view text) {
    Place place;
    for (std::size_t at = 0; at < text.size(); ++at) {
        if (!place.isInString()) readCode(place, text, at);
        else if (text[at] == '\\') ++at;
        else if (text[at] == place.quote) place.quote = '\0';
    }
    return place;
}

// What a function says about itself: its signature, and what stands between the brackets for each argument.
struct Signature {
    std::string shown;
    Words parameters;
};

std::string trimmed(std::string_view text) {
    const std::size_t start = std::min(text.find_first_not_of(" \t\n"), text.size());
    const std::size_t end = text.find_last_not_of(" \t\n") + 1;
    return std::string(text.substr(start, std::max(end, start) - start));
}

Words splitParameters(std::string_view line) {
    const std::size_t open = line.find('('), close = line.rfind(')');
    if (open == std::string_view::npos || close == std::string_view::npos || close < open) return {};
    Words parameters;
    std::string_view rest = line.substr(open + 1, close - open - 1);
    for (std::size_t comma = 0; comma != std::string_view::npos && !trimmed(rest).empty();) {
        comma = rest.find(',');
        parameters.push_back(trimmed(rest.substr(0, comma)));
        if (comma != std::string_view::npos) rest.remove_prefix(comma + 1);
    }
    return parameters;
}

// What the interpreter says of a name: nothing of what is neither a function nor a constant; the value of a constant; a
// function's documentation, with the names of its arguments behind if a script defines it. That of a wrapper method begins
// with its signature, in which an argument names its family of constants.
constexpr const char* question =
    "(lambda f: [__import__('kzserv.description', fromlist=['']).documentation(f)] + [n for g in [getattr(f, "
    "'im_func', "
    "f)] if hasattr(g, 'func_code') for n in "
    "g.func_code.co_varnames[:g.func_code.co_argcount]] if callable(f) else ['= ' + repr(f)] if isinstance(f, (int, "
    "long, float, str)) else [])";

// The documentation of functions that no wrapper is behind says what they are for.
std::optional<Signature> signatureOf(CLineSession& session, const std::string& function) {
    const auto answer = session.ask(question + ("(" + function + ")"));
    if (!answer || answer->empty()) return std::nullopt;
    const std::string text = trimmed(answer->front());
    const std::string first = text.substr(0, text.find('\n'));
    if (answer->size() > 1) {
        Words names(answer->begin() + 1, answer->end());
        if (names.front() == "self") names.erase(names.begin());
        const std::string shown = fmt::format("{}({})", function, fmt::join(names, ", "));
        return Signature{first.empty() ? shown : shown + "\n" + first, std::move(names)};
    }
    if (text.empty()) return std::nullopt;
    const std::size_t second = std::min(text.find_first_not_of(" \t\n", first.size()), text.size());
    const std::string more = text.substr(second, text.find('\n', second) - second);
    const std::string shown = text.starts_with("= ") ? function + " " + first : first;
    return Signature{more.empty() ? shown : shown + "\n" + more, splitParameters(first)};
}

// The names in the description of the current argument: its own, its type, its family of constants.
Words namesIn(std::string_view text) {
    Words names;
    for (std::size_t at = 0; at < text.size(); ++at) {
        if (!isNamePart(text[at])) continue;
        const std::size_t start = at;
        while (at < text.size() && isNamePart(text[at])) ++at;
        names.emplace_back(text.substr(start, at - start));
    }
    return names;
}

bool namesFile(const Words& names) {
    constexpr std::array<std::string_view, 9> words = {"path",   "file",      "filename",  "filepath", "dir",
                                                       "folder", "directory", "localpath", "pathname"};
    return std::ranges::any_of(names, [&](std::string name) {
        std::ranges::transform(name, name.begin(), [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
        return std::ranges::find(words, name) != words.end();
    });
}

bool opensFile(const std::string& function) {
    constexpr std::array<std::string_view, 3> functions = {"open", "file", "execfile"};
    return std::ranges::find(functions, function.substr(function.rfind('.') + 1)) != functions.end();
}

Words filesLike(const std::string& typed) {
    namespace fs = std::filesystem;
    const std::string folder = typed.substr(0, typed.rfind('/') + 1), stem = typed.substr(folder.size());
    Words files;
    std::error_code error;
    for (fs::directory_iterator each(folder.empty() ? fs::path(".") : fs::path(folder), error), end;
         !error && each != end; each.increment(error)) {
        const std::string name = each->path().filename().string();
        std::error_code unknown;
        if (!name.starts_with(stem) || (stem.empty() && name.starts_with('.'))) continue;
        files.push_back(folder + name + (each->is_directory(unknown) ? "/" : ""));
    }
    std::ranges::sort(files);
    return files;
}

class CCompleter {
public:
    // The lines before belong to the same line of the program.
    CCompleter(CLineSession& session, CKzHost& host, const std::string& before, const std::string& line)
        : m_session(session), m_host(host), m_line(line), m_word(lastPath(line)), m_before(before.size()),
          m_place(placeOfEnd(before + line)) {
        if (m_place.call() == nullptr) return;
        if (auto signature = signatureOf(session, m_place.call()->function)) m_signature = std::move(*signature);
        if (m_place.call()->argument < m_signature.parameters.size())
            m_names = namesIn(m_signature.parameters[m_place.call()->argument]);
    }

    Completion complete() {
        m_completion.start = m_line.size() - m_word.size();
        if (m_place.isInString()) completeText();
        else completeName();
        return std::move(m_completion);
    }

private:
    void take(const Words& names, const std::string& prefix, const std::string& stem) {
        for (const std::string& name : names)
            if (name.starts_with(stem)) m_completion.words.push_back(prefix + name);
    }
    void completeText();
    void completeName();
    void addConstants();
    void addNames();

    CLineSession& m_session;
    CKzHost& m_host;
    std::string m_line;
    std::string m_word;
    std::size_t m_before;
    Place m_place;
    Signature m_signature;
    Words m_names;
    Completion m_completion;
};

void CCompleter::completeText() {
    const std::size_t start = std::max(m_place.string, m_before) - m_before;
    const std::string typed = m_line.substr(start);
    if (namesFile(m_names) || (m_place.call() != nullptr && opensFile(m_place.call()->function))) {
        m_completion.start = start;
        m_completion.words = filesLike(typed);
    } else if (m_place.string >= m_before) {
        m_completion = kzCompleteCommand(m_host.commands(), typed, m_place.quote);
        m_completion.start += start;
    }
}

void CCompleter::completeName() {
    addConstants();
    if (m_word.empty() && m_place.call() != nullptr) {
        m_completion.note = m_signature.shown;
        return;
    }
    addNames();
    if (m_completion.words.size() == 1 && m_completion.words.front() == m_word)
        if (const auto signature = signatureOf(m_session, m_word)) m_completion.note = signature->shown;
}

void CCompleter::addConstants() {
    if (m_names.empty() || m_word.find('.') != std::string::npos) return;
    const std::string families = fmt::format("'{}_'", fmt::join(m_names, "_', '"));
    const auto constants =
        m_session.ask("[n for n in dir(__import__('kz').symbol) if n.startswith((" + families + ",))]");
    if (constants) take(*constants, "kz.symbol.", m_word);
}

void CCompleter::addNames() {
    const std::size_t dot = m_word.rfind('.');
    const std::string object = m_word.substr(0, dot == std::string::npos ? 0 : dot);
    const auto names = m_session.ask(
        object.empty() ? "sorted(set(globals().keys() + dir(__builtins__) + __import__('keyword').kwlist))"
                       : "dir(" + object + ")");
    if (!names) return;
    Words shown = *names;
    if (m_word.empty() || m_word.ends_with('.')) std::erase_if(shown, [](const auto& name) { return name[0] == '_'; });
    take(shown, object.empty() ? "" : object + ".", m_word.substr(object.empty() ? 0 : dot + 1));
}

}  // namespace

Completion kzComplete(CLineSession& session, CKzHost& host, const std::string& line) {
    return CCompleter(session, host, session.openText(), line).complete();
}

}  // namespace kzhost
