// Every command by its name: the host's own, those that modules serve, and aliases.
#pragma once

#include "host/core/command_environment.h"

#include "kz/command.h"

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace kzhost {

class CModuleTable;

class CCommandRegistry {
public:
    CCommandRegistry(CommandEnvironmentPtr environment, std::shared_ptr<CModuleTable> modules)
        : m_environment(std::move(environment)), m_modules(std::move(modules)) {}

    // Adds a built-in command. `make` returns a new object with that tag and one reference.
    using Make = std::function<IKzUnknown*(std::uint32_t tag)>;
    void add(const std::string& name, Make make) { m_builtin[name] = std::move(make); }

    std::vector<std::string> names() const;
    bool has(const std::string& name) const;

    // Both notify the listeners. False if the name is taken already, or is no alias.
    bool addAlias(const std::string& alias, const std::string& definition) const;
    bool removeAlias(const std::string& alias) const;
    std::optional<std::string> alias(const std::string& name) const;

    // A new command of that name, or of that command string's first word. Throws CommandTextError.
    CKzUser_Command& spawn(std::string_view text, CKzUser_Command& command) const;

    const CommandEnvironmentPtr& environment() const { return m_environment; }

private:
    void make(const std::string& name, CKzUser_Command& command) const;

    CommandEnvironmentPtr m_environment;
    std::shared_ptr<CModuleTable> m_modules;
    std::map<std::string, Make, std::less<>> m_builtin;
};

}  // namespace kzhost
