// Parsing, executing and querying commands by their strings.
#pragma once

#include "host/core/command_arguments.h"
#include "host/core/command_registry.h"

#include "kz/command.h"

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace kzhost {

class CScriptRunner;
class CPathAliases;

// Why the command has ended with that code, as its message says.
std::string kzFailureOf(const CKzUser_Command& command, KzResult code);

class CCommandDispatcher {
public:
    CCommandDispatcher(std::shared_ptr<CCommandRegistry> registry, std::shared_ptr<CPathAliases> files,
                       std::shared_ptr<CScriptRunner> scripts)
        : m_registry(std::move(registry)), m_files(std::move(files)), m_scripts(std::move(scripts)) {}

    const CCommandRegistry& registry() const { return *m_registry; }

    // Spawns the command of a whole string without marks and sets its arguments. Returns the argument marked for a query.
    std::optional<std::uint32_t> parse(std::string_view text, CKzUser_Command& command) const;

    // True for "@file args", for the aliased path of a script file followed by its arguments, and for an alias of either.
    bool isScript(std::string_view text) const;
    CKzUser_Command& spawnScript(std::string_view text, CKzUser_Command& command) const;
    // The command, or the script, of that name or string. Throws CommandTextError.
    CKzUser_Command& spawn(std::string_view text, CKzUser_Command& command) const;

    // The flags set by the marks in front of the string and of the definitions of its aliases, and the string without its
    // marks.
    MarkedCommand stripMarks(std::uint32_t flags, std::string_view text) const;

    // Parses and runs a whole string, marks included. The answers are those of a query.
    struct Outcome {
        KzResult code = 0;
        std::string message;
        std::vector<std::string> answers;
        bool isQuery = false;
    };
    Outcome perform(std::string_view text, std::uint32_t flags) const;

    // Logs what is wrong with a command string and returns the code. The command, where there is one, has it as its
    // message.
    KzResult report(const std::string& name, const CommandTextError& error, IKzUnknown* command = nullptr) const;

private:
    CValueTypeRegistry& types() const;
    std::string scriptOf(std::string_view text, std::string_view* rest = nullptr) const;
    Outcome performCommand(const MarkedCommand& marked) const;

    std::shared_ptr<CCommandRegistry> m_registry;
    std::shared_ptr<CPathAliases> m_files;
    std::shared_ptr<CScriptRunner> m_scripts;
};

}  // namespace kzhost
