// Script files, which interpreter takes them, and how they are run.
#pragma once

#include "host/core/object.h"

#include "kz/script.h"

#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

class CLogStore;
class CModuleTable;
class CPathAliases;
struct KzServer;

// A script with its text: line ends are line feeds whatever the file has.
class CScript final : public CHosted<"script", CScript, CKzIfc_Script> {
public:
    CScript(std::string path, std::string text);

    KzResult scr_Hash(const char** name) override;
    KzResult scr_UserName(const char** name) override;
    KzResult scr_Buffer(const char** text) override;
    KzResult scr_Length(std::uint32_t* bytes) override;
    KzResult scr_LineCount(std::uint32_t* count) override;
    KzResult scr_LineByIndex(std::uint32_t index, const char** line) override;
    KzResult scr_FilePath(const char** path) override { return scr_Hash(path); }
    KzResult scr_Flags(std::uint32_t* flags) override;

    const std::string& path() const { return m_path; }
    std::string header() const { return m_lines.empty() ? std::string() : m_lines.front(); }

private:
    std::string m_path;
    std::string m_name;
    std::string m_text;
    std::vector<std::string> m_lines;
};

// Reads a script file; empty, with a full sentence in `problem`, when it cannot be read or holds no text.
CHostRef<CScript> kzReadScript(const std::string& path, std::string& problem);

// The file of a script: by its path, with an alias or without, or by its name in the user's script folder.
std::optional<std::string> kzFindScript(const CPathAliases& files, const std::string& name);

// The arguments as one string, which an interpreter takes apart at blanks; double quotes hold blanks together. There is
// no escape, so some arguments cannot be said: then nothing, with a full sentence in `problem`.
std::optional<std::string> kzJoinArguments(const std::vector<std::string>& arguments, std::string& problem);

// Scripts that run now, the innermost last.
class CScriptRunner {
public:
    CScriptRunner(std::shared_ptr<CModuleTable> modules, std::shared_ptr<CLogStore> log)
        : m_modules(std::move(modules)), m_log(std::move(log)) {}

    std::size_t depth() const;
    // The server that takes the script, and an instance of it; neither when none does.
    std::optional<KzServer> interpreterFor(const CScript& script, CKzLoc_Unknown& interpreter) const;
    KzResult run(const CHostRef<CScript>& script, std::uint32_t flags, const char* args, IKzUnknown* message);
    // Whether a line of the log is the heading under which a script inside another one reports: the first line while
    // it runs, with its name. Asked once for each line, in order.
    bool takesAsHeading(const std::string& text);
    void clear();

private:
    struct Running {
        std::string name;
        bool hasHeading = false;
    };
    std::shared_ptr<CModuleTable> m_modules;
    std::shared_ptr<CLogStore> m_log;
    mutable std::mutex m_lock;
    std::vector<Running> m_running;
};
