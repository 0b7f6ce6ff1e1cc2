// Script files, which interpreter takes them, and how they are run.
#pragma once

#include "host/core/object.h"

#include "kz/script.h"

#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace kzhost {

class CLogStore;
class CModuleTable;
class CNotifierTable;
class CPathAliases;
class CUndoBlocks;
struct KzServer;

// A script with its text: line ends are line feeds whatever the file has.
class CScript final : public CHosted<"script", CScript, CKzIfc_Script, CKzIfc_WordList> {
public:
    // The other header is for a text that came from no file, whose first line may say nothing.
    CScript(std::string path, std::string text, std::string otherHeader = {});

    KzResult scr_Hash(const char** name) override;
    KzResult scr_UserName(const char** name) override;
    KzResult scr_Buffer(const char** text) override;
    KzResult scr_Length(std::uint32_t* bytes) override;
    KzResult scr_LineCount(std::uint32_t* count) override;
    KzResult scr_LineByIndex(std::uint32_t index, const char** line) override;
    std::uint32_t scr_Interpreter() override { return m_interpreter; }
    KzResult scr_FilePath(const char** path) override { return scr_Hash(path); }
    KzResult scr_Flags(std::uint32_t* flags) override;

    std::uint32_t wordlist_Count() override { return static_cast<std::uint32_t>(m_words.size()); }
    KzResult wordlist_ByIndex(std::uint32_t index, const char** word) override;

    const std::string& path() const { return m_path; }
    std::string header() const { return m_lines.empty() ? std::string() : m_lines.front(); }
    const std::string& otherHeader() const { return m_otherHeader; }
    void setInterpreter(std::uint32_t index) { m_interpreter = index; }
    // What it is started with, its own name first.
    void setWords(std::vector<std::string> words) { m_words = std::move(words); }

private:
    std::string m_path;
    std::string m_name;
    std::string m_text;
    std::string m_otherHeader;
    std::vector<std::string> m_lines;
    std::vector<std::string> m_words;
    std::uint32_t m_interpreter = 0xFFFFFFFF;  // none before it runs
};

// Reads a script file, or standard input where the path is "-"; empty, with a full sentence in `problem`, when it cannot be read or holds no text.
CHostRef<CScript> kzReadScript(const std::string& path, std::string& problem);

// The file of a script: by its path, with an alias or without, or by its name in the user's script folder.
std::optional<std::string> kzFindScript(const CPathAliases& files, const std::string& name);

// The arguments as one string, which an interpreter takes apart at blanks; double quotes hold blanks together. There is
// no escape, so some arguments cannot be said: then `problem` says which, and only the script's words hold them.
std::string kzJoinArguments(const std::vector<std::string>& arguments, std::string& problem);

// Runs scripts, and knows how many run inside each other now.
class CScriptRunner {
public:
    CScriptRunner(std::shared_ptr<CModuleTable> modules, std::shared_ptr<CLogStore> log,
                  std::shared_ptr<CUndoBlocks> undo, std::shared_ptr<CNotifierTable> notifiers)
        : m_modules(std::move(modules)), m_log(std::move(log)), m_undo(std::move(undo)),
          m_notifiers(std::move(notifiers)) {}

    std::size_t depth() const;
    // The server that takes the script, and an instance of it; neither when none does.
    std::optional<KzServer> interpreterFor(const CScript& script, CKzLoc_Unknown& interpreter) const;
    KzResult run(const CHostRef<CScript>& script, std::uint32_t flags, const char* args, IKzUnknown* message);
    void clear();

private:
    void count(bool begins);

    std::shared_ptr<CModuleTable> m_modules;
    std::shared_ptr<CLogStore> m_log;
    std::shared_ptr<CUndoBlocks> m_undo;
    std::shared_ptr<CNotifierTable> m_notifiers;
    mutable std::mutex m_lock;
    std::size_t m_running = 0;
};

}  // namespace kzhost
