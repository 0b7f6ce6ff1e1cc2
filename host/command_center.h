// Finding, spawning, parsing, executing and querying commands by their strings.
#pragma once

#include "host/command_arguments.h"
#include "host/core.h"

#include "kz/command.h"
#include "kz/value.h"

class CCommandCenter {
public:
    explicit CCommandCenter(std::shared_ptr<CHostCore> core) : m_core(std::move(core)) {}

    // Every command by name: the host's, the modules', and aliases.
    std::vector<std::string> names() const;
    bool isCommand(const std::string& name) const;

    // Whoever listens is told. False when the name is taken already, or is no alias.
    bool addAlias(const std::string& alias, const std::string& definition) const;
    bool removeAlias(const std::string& alias) const;

    // A new command of that name, or of that command string's first word. Throws CommandTextError.
    CKzUser_Command& spawn(std::string_view text, CKzUser_Command& command) const;
    // A whole string without its marks: spawns and gives the arguments; what is marked for a query.
    std::optional<std::uint32_t> parse(std::string_view text, CKzUser_Command& command) const;

    // "@file args", or a script file's name with its alias, in front of its arguments.
    bool isScript(std::string_view text) const;
    CKzUser_Command& spawnScript(std::string_view text, CKzUser_Command& command) const;

    // Parses and runs a whole string, marks and all. The texts are a query's answer.
    struct Outcome {
        KzResult code = 0;
        std::string message;
        std::vector<std::string> answers;
        bool isQuery = false;
    };
    Outcome perform(std::string_view text, std::uint32_t flags) const;

    // Tells what was wrong with a string, in the log, and gives its code.
    KzResult report(const std::string& name, const CommandTextError& error) const;

private:
    std::string scriptOf(std::string_view text, std::string_view* rest = nullptr) const;
    Outcome performCommand(const MarkedCommand& marked) const;

    std::shared_ptr<CHostCore> m_core;
};
