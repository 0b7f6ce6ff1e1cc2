// Every command by its name: the host's own, those that modules serve, and aliases.
#pragma once

#include "host/core/command_environment.h"

#include "kz/command.h"

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace kzhost {

class CModuleTable;
struct KzServer;

// A command string with its aliases replaced by what they stand for.
struct CommandDefinition {
    std::uint32_t flags = 0;             // with those that marks in front of the definitions set
    std::string text;                    // the string, or the definition of the innermost alias
    std::vector<std::string> arguments;  // what follows each alias, that of the string itself first
};

class CCommandRegistry {
public:
    CCommandRegistry(CommandEnvironmentPtr environment, std::shared_ptr<CModuleTable> modules)
        : m_environment(std::move(environment)), m_modules(std::move(modules)) {}

    // Adds a built-in command. `make` returns a new object with that tag and one reference.
    using Make = std::function<IKzUnknown*(std::uint32_t tag)>;
    void add(const std::string& name, Make make) { m_builtin[name] = std::move(make); }

    // For lists: without commands that are hidden.
    std::vector<std::string> names() const;
    bool has(const std::string& name) const;
    bool isBuiltin(std::string_view name) const { return m_builtin.find(name) != m_builtin.end(); }

    // Both notify the listeners. False if the name is taken already or cannot be called, or is no alias.
    bool addAlias(const std::string& alias, const std::string& definition) const;
    bool removeAlias(const std::string& alias) const;
    std::optional<std::string> alias(const std::string& name) const;

    // The string without marks of a command. An alias that leads back to itself stays in the text.
    CommandDefinition resolve(std::uint32_t flags, std::string_view text) const;

    // A new command of that name, or of that command string's first word, with the arguments of its aliases. Throws
    // CommandTextError. Sets `query` to the argument that an alias marks for a query.
    CKzUser_Command& spawn(std::string_view text, CKzUser_Command& command,
                           std::optional<std::uint32_t>* query = nullptr) const;

    const CommandEnvironmentPtr& environment() const { return m_environment; }

private:
    void make(const std::string& name, CKzUser_Command& command) const;
    bool isHidden(const KzServer& server) const;

    CommandEnvironmentPtr m_environment;
    std::shared_ptr<CModuleTable> m_modules;
    std::map<std::string, Make, std::less<>> m_builtin;
    // Whether served commands are hidden, which only an instance says, until the modules' servers change.
    mutable std::mutex m_lock;
    mutable std::map<std::string, bool> m_hidden;
    mutable std::uint64_t m_hiddenAsOf = 0;
};

}  // namespace kzhost
