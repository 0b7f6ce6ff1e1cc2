// Giving arguments to any command, the host's or a module's, through its interfaces alone.
#pragma once

#include "host/core/command_text.h"
#include "host/core/value_type_registry.h"

#include "kz/command.h"

#include <optional>

namespace kzhost {

class CCommandArguments {
public:
    // Throws CommandTextError when the command takes no arguments but some are to be given.
    CCommandArguments(CValueTypeRegistry& types, IKzUnknown* command);

    // Gives the arguments of a command string; returns the one that is marked for a query. Throws CommandTextError.
    std::optional<std::uint32_t> assign(const std::vector<ArgumentText>& arguments);
    // Gives one argument what a user answered. Throws CommandTextError.
    void answer(std::uint32_t index, const std::string& text);
    void assignByName(const std::string& name, const std::string& value);
    // How the command is written with the arguments that it has.
    std::string write(const std::string& name) const;

    const CKzUser_Command& command() const { return m_command; }
    const CKzUser_Attributes& attributes() const { return m_attributes; }
    // How many arguments there are. Throws CommandTextError for a number that cannot be meant.
    std::uint32_t count() const;
    std::string nameOf(std::uint32_t index) const;
    // What kind of value the argument takes, as "an integer".
    std::string expected(std::uint32_t index) const;
    std::uint32_t flagsOf(std::uint32_t index) const;  // 0 when the command does not say
    bool isSet(std::uint32_t index) const { return (flagsOf(index) & KZfCMDARG_VALUE_SET) != 0; }
    bool isEnabled(std::uint32_t index) const { return !kzFailed(enabledCode(index)); }
    // The first argument that has to be given, and can be, but is not.
    std::optional<std::uint32_t> missing() const;
    // Throws CommandTextError when there is one.
    void requireGiven() const;
    // Throws CommandTextError when an argument was given that is disabled as things are.
    void requireEnabled() const;

private:
    KzResult enabledCode(std::uint32_t index) const;
    std::uint32_t find(const std::string& name) const;
    std::uint32_t placeOf(const ArgumentText& argument, std::vector<bool>& given) const;
    void set(std::uint32_t index, const std::string& value);
    KzResult put(std::uint32_t index, const std::string& text);
    void give(std::uint32_t index, const std::string& text, KzResult code);
    const KzValueType* typeOf(std::uint32_t index) const;  // null when nobody knows it
    // The choices of an argument of that type, which may be null; null when it is no choice.
    const KzTextValueHint* choicesOf(std::uint32_t index, const KzValueType* type) const;
    std::string toggled(std::uint32_t index, const std::string& value);

    CValueTypeRegistry& m_types;
    CKzUser_Command m_command;
    CKzUser_Attributes m_attributes;
};

// The texts of the values that a command answers for one argument.
std::vector<std::string> kzQueryTexts(CValueTypeRegistry& types, const CKzUser_Command& command, std::uint32_t index,
                                      IKzUnknown** array = nullptr);

// The text of an attribute's value; empty when it has none.
std::string kzAttributeText(const CKzUser_Attributes& attributes, std::uint32_t index);

}  // namespace kzhost
