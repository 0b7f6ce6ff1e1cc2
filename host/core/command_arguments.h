// Sets the arguments of any command, the host's or a module's, through its interfaces alone. Each question to a module's
// command may run a method in Python, so what cannot have changed is not asked twice.
#pragma once

#include "host/core/command_text.h"
#include "host/core/value_type_registry.h"

#include "kz/command.h"

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace kzhost {

class CCommandArguments {
public:
    // Throws INVALIDARG when the object is no command.
    CCommandArguments(CValueTypeRegistry& types, IKzUnknown* command);

    // Sets the arguments of a command string, or those of an alias, and returns the one marked for a query. Throws
    // CommandTextError.
    std::optional<std::uint32_t> assign(const std::vector<ArgumentText>& arguments);
    std::optional<std::uint32_t> preset(const std::vector<ArgumentText>& arguments);
    // Queries one argument and returns the answers as texts. Throws CommandTextError with the command's reason.
    std::vector<std::string> query(std::uint32_t index, IKzUnknown** array = nullptr) const;
    // Sets one argument to what a user typed. Throws CommandTextError.
    void answer(std::uint32_t index, const std::string& text);
    void assignByName(const std::string& name, const std::string& value);
    // The command string that sets the same arguments again, but for passwords.
    std::string write(const std::string& name) const;

    const CKzUser_Command& command() const { return m_command; }
    const CKzUser_Attributes& attributes() const { return m_attributes; }
    // The number of arguments. Throws CommandTextError for a nonsensical number.
    std::uint32_t count() const;
    std::string nameOf(std::uint32_t index) const;
    // The word for the number of a choice, as a query answers it. Any other text stays as it is.
    std::string wordOf(std::uint32_t index, const std::string& answer) const;
    // The argument's value for people: the word of a choice, or a number in the present system of units.
    std::string shown(std::uint32_t index) const;
    // The kind of value that the argument takes, such as "an integer".
    std::string expected(std::uint32_t index) const;
    // 0 when the command does not say.
    std::uint32_t flagsOf(std::uint32_t index) const { return givenFlags(index).value_or(0); }
    // The number of arguments and their flags are asked for once, until a value is set here, or the command has had an
    // opportunity to change them and `forget` is called.
    void forget();
    bool isSecret(std::uint32_t index) const { return (flagsOf(index) & KZfCMDARG_PASSWORD) != 0; }
    bool isSet(std::uint32_t index) const { return (flagsOf(index) & KZfCMDARG_VALUE_SET) != 0; }
    bool isEnabled(std::uint32_t index) const { return !kzFailed(enabledCode(index)); }
    // The first required argument that is enabled and not set.
    std::optional<std::uint32_t> missing() const;
    // Throws CommandTextError if an argument is missing.
    void requireGiven() const;
    // Throws CommandTextError if an argument is set that is disabled now.
    void requireEnabled() const;

private:
    std::optional<std::uint32_t> givenFlags(std::uint32_t index) const;
    KzResult enabledCode(std::uint32_t index) const;
    std::uint32_t find(const std::string& name) const;
    std::optional<std::uint32_t> assign(const std::vector<ArgumentText>& arguments, std::vector<bool>& isAssigned);
    std::uint32_t placeOf(const ArgumentText& argument, std::vector<bool>& isAssigned) const;
    void requireSettable(std::uint32_t index, const std::string& text);
    void set(std::uint32_t index, const std::string& text);
    KzResult put(std::uint32_t index, const std::string& text);
    void give(std::uint32_t index, const std::string& text, KzResult code);
    const KzValueType* typeOf(std::uint32_t index) const;  // null for an unknown type
    // The choices of an argument of that type, which may be null. Null if it offers none.
    const KzTextValueHint* choicesOf(std::uint32_t index, const KzValueType* type) const;
    // The argument's text, which sets it again.
    std::string exactText(std::uint32_t index) const;
    std::string toggled(std::uint32_t index, const std::string& value);

    CValueTypeRegistry& m_types;
    CKzUser_Command m_command;
    CKzUser_Attributes m_attributes;
    mutable std::optional<std::uint32_t> m_count;
    mutable std::map<std::uint32_t, std::optional<std::uint32_t>> m_flags;
};

// The text of an attribute's value; empty when it has none. Throws CommandTextError for one that is too long.
std::string kzAttributeText(const CKzUser_Attributes& attributes, std::uint32_t index);

}  // namespace kzhost
