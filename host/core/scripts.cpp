// Script files and how they are run.
#include "host/core/scripts.h"

#include "host/core/log_store.h"
#include "host/core/message.h"
#include "host/core/message_tables.h"
#include "host/core/module_table.h"
#include "host/core/notifier_table.h"
#include "host/core/reasons.h"
#include "host/core/undo_blocks.h"
#include "host/state/path_aliases.h"
#include "host/state/text.h"

#include "kz/result.h"

#include <fmt/format.h>

#include <fnmatch.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <sstream>

namespace kzhost {

namespace fs = std::filesystem;

namespace {

constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";

bool isAscii(std::string_view text) {
    return std::all_of(text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

// CR LF and a lone CR end a line as LF does. The mark goes where it says nothing: in a text of ASCII only; elsewhere it
// tells the interpreter the encoding.
std::string normalised(std::string_view raw) {
    if (raw.starts_with(byteOrderMark) && isAscii(raw.substr(byteOrderMark.size())))
        raw.remove_prefix(byteOrderMark.size());
    std::string text;
    text.reserve(raw.size());
    for (std::size_t at = 0; at < raw.size(); ++at) {
        if (raw[at] != '\r') text += raw[at];
        else if (at + 1 == raw.size() || raw[at + 1] != '\n') text += '\n';
    }
    return text;
}

constexpr std::string_view standardInput = "-";

std::optional<std::string> readAll(const std::string& path, std::string& problem) {
    if (path == standardInput) return std::string(std::istreambuf_iterator<char>(std::cin), {});
    std::error_code error;
    if (!fs::exists(path, error)) problem = "there is no such file";
    else if (fs::is_directory(path, error)) problem = "this is a folder, not a script";
    if (!problem.empty()) return {};
    std::ifstream stream(path, std::ios::binary);
    std::ostringstream all;
    if (stream && stream.peek() != std::ifstream::traits_type::eof()) all << stream.rdbuf();
    if (!stream.is_open() || stream.bad()) {
        problem = std::string("it cannot be read: ") + std::generic_category().message(errno);
        return {};
    }
    return all.str();
}

std::string lineOfOffset(std::string_view text, std::size_t offset) {
    return std::to_string(1 + std::count(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(offset), '\n'));
}

// What stands for the script's first line where that line says nothing: the script's own other header, or "#python" for a
// file that matches the file pattern of the server "python".
std::string otherHeader(const KzServer& server, const CScript& script) {
    if (!script.otherHeader().empty()) return script.otherHeader();
    for (const auto& [type, value] : CModuleTable::tagsOf(server))
        if (type == "loader.dosPattern" && fnmatch(value.c_str(), fs::path(script.path()).filename().c_str(), 0) == 0)
            return "#" + server.name;
    return {};
}

bool takes(IKzTextScriptInterpreter& interpreter, const std::string& header) {
    return !header.empty() && interpreter.ValidateHeader(header.c_str()) == KZe_OK;
}

}  // namespace

CScript::CScript(std::string path, std::string text, std::string otherHeader)
    : m_path(std::move(path)), m_name(fs::path(m_path).filename().string()), m_text(std::move(text)),
      m_otherHeader(std::move(otherHeader)) {
    std::istringstream lines(m_text);
    for (std::string line; std::getline(lines, line);) m_lines.push_back(line);
}

KzResult CScript::wordlist_ByIndex(std::uint32_t index, const char** word) {
    if (index >= m_words.size()) return KZe_OUTOFBOUNDS;
    *word = m_words[index].c_str();
    return KZe_OK;
}

KzResult CScript::scr_Hash(const char** name) {
    *name = m_path.c_str();
    return KZe_OK;
}

KzResult CScript::scr_UserName(const char** name) {
    *name = m_name.c_str();
    return KZe_OK;
}

KzResult CScript::scr_Buffer(const char** text) {
    *text = m_text.c_str();
    return KZe_OK;
}

KzResult CScript::scr_Length(std::uint32_t* bytes) {
    *bytes = static_cast<std::uint32_t>(m_text.size());
    return KZe_OK;
}

KzResult CScript::scr_LineCount(std::uint32_t* count) {
    *count = static_cast<std::uint32_t>(m_lines.size());
    return KZe_OK;
}

KzResult CScript::scr_LineByIndex(std::uint32_t index, const char** line) {
    if (index >= m_lines.size()) return KZe_OUTOFBOUNDS;
    *line = m_lines[index].c_str();
    return KZe_OK;
}

KzResult CScript::scr_Flags(std::uint32_t* flags) {
    *flags = 0;
    return KZe_OK;
}

CHostRef<CScript> kzReadScript(const std::string& path, std::string& problem) {
    const auto raw = readAll(path, problem);
    if (!raw) return {};
    if (const std::size_t zero = raw->find('\0'); zero != std::string::npos) {
        problem = "this is not a text: line " + lineOfOffset(*raw, zero) + " contains a NUL byte";
        return {};
    }
    if (path != standardInput) return CHostRef<CScript>::make(path, normalised(*raw));
    return CHostRef<CScript>::make("<stdin>", normalised(*raw), KZsSCRIPTHEADER_PYTHON);
}

std::optional<std::string> kzFindScript(const CPathAliases& files, const std::string& name) {
    if (name.empty()) return {};
    auto path = files.resolve(name);
    if (!path) path = files.resolve("scripts:" + name);
    return path;
}

std::string kzJoinArguments(const std::vector<std::string>& arguments, std::string& problem) {
    std::string joined;
    for (std::size_t index = 0; index < arguments.size(); ++index) {
        const std::string& argument = arguments[index];
        const auto say = [&](std::string_view what) { problem = fmt::format("argument {}{}", index + 1, what); };
        const bool blanks = argument.find(' ') != std::string::npos;
        if (argument.empty()) say(" is empty, which cannot be passed to a script");
        else if (argument.find('"') != std::string::npos && (blanks || argument.front() == '"'))
            say(fmt::format(
                " ({}) has a double quote beside a blank or at its start, and there is no way to escape it: "
                "leave out the quotes or the blanks",
                argument));
        joined += (index > 0 ? " " : "") + (blanks ? '"' + argument + '"' : argument);
    }
    return joined;
}

std::size_t CScriptRunner::depth() const {
    const std::lock_guard lock(m_lock);
    return m_running;
}

// One that cannot be made takes no script, and keeps no other from it.
std::optional<KzServer> CScriptRunner::interpreterFor(const CScript& script, CKzLoc_Unknown& interpreter) const {
    const std::string first = script.header();
    for (const KzServer& server : m_modules->servers(KZa_TEXTSCRIPTINTERPRETER)) {
        const KzResult code = kzBoundary([&] {
            CModuleTable::spawn(server, interpreter);
            return KZe_OK;
        });
        if (kzFailed(code)) {
            m_log->write("scripts", code,
                         "the interpreter \"" + server.name + "\" cannot be made: " + CMessageTables::codeText(code));
            continue;
        }
        const CKzUser_TextScriptInterpreter held(interpreter.raw());
        const bool isComment = first.starts_with('#');
        if (held && ((isComment && takes(*held.ptr(), first)) || takes(*held.ptr(), otherHeader(server, script))))
            return server;
    }
    interpreter.clear();
    return {};
}

KzResult CScriptRunner::run(const CHostRef<CScript>& script, std::uint32_t flags, const char* args,
                            IKzUnknown* message) {
    CKzLoc_Unknown interpreter;
    const auto server = interpreterFor(*script, interpreter);
    const CKzUser_TextScriptInterpreter held(interpreter.raw());
    if (!held)
        return kzBecause(KZe_SCRIPT_UNKNOWN, "Script.Run", [&] {
            return kzThereIsNo("interpreter for", script->path(), m_modules->servers(KZa_TEXTSCRIPTINTERPRETER),
                               [](const auto& each) { return each.name; });
        });
    const auto all = m_modules->servers(KZa_TEXTSCRIPTINTERPRETER);
    const auto own =
        std::find_if(all.begin(), all.end(), [&](const KzServer& each) { return each.name == server->name; });
    script->setInterpreter(static_cast<std::uint32_t>(own - all.begin()));
    count(true);
    // An interpreter in Python is never given a null object.
    const auto unheard = message == nullptr ? CHostRef<CMessage>::make() : CHostRef<CMessage>();
    const CUndoBlock blocks(m_undo.get(), UndoKind::untouched, {});  // closes what the script leaves open
    const KzResult code = held->Run(script.raw(), flags, args, message != nullptr ? message : unheard.raw());
    count(false);
    return code;
}

void CScriptRunner::count(bool begins) {
    {
        const std::lock_guard lock(m_lock);
        if (begins) ++m_running;
        else if (m_running > 0) --m_running;
    }
    m_notifiers->tell(KZsNOTIFIER_RUNNING, {}, KZfNOTIFY_REFRESH);
}

void CScriptRunner::clear() {
    const std::lock_guard lock(m_lock);
    m_running = 0;
}

}  // namespace kzhost
