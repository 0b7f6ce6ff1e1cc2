// What may stand at the end of a command string.
#include "host/cli/command_completion.h"

#include "host/core/command_arguments.h"
#include "host/core/command_dispatcher.h"
#include "host/state/text.h"

#include "kz/command.h"
#include "kz/value.h"

#include <algorithm>
#include <optional>
#include <string_view>
#include <vector>

namespace kzhost {

namespace {

// Where the last argument begins, which may be empty or not yet closed.
std::size_t startOfLast(std::string_view text) {
    std::size_t start = 0;
    int depth = 0;
    bool isQuoted = false;
    for (std::size_t at = 0; at < text.size(); ++at) {
        if (text[at] == '"' && depth == 0) isQuoted = !isQuoted;
        if (isQuoted) continue;
        if (text[at] == '{') ++depth;
        if (text[at] == '}' && depth > 0) --depth;
        if (kzIsBlank(text[at]) && depth == 0) start = at + 1;
    }
    return start;
}

class CArgumentCompleter {
public:
    CArgumentCompleter(CValueTypeRegistry& types, IKzUnknown* command, std::string_view given, std::string_view last)
        : m_arguments(types, command), m_last(last) {
        m_arguments.assign(kzParseArguments(given));
        const std::size_t colon = last.find_first_of(":{\"");
        if (colon != std::string_view::npos && last[colon] == ':') m_name = last.substr(0, colon);
    }

    Completion complete() {
        Completion completion;
        completion.start = m_name ? m_name->size() + 1 : 0;
        std::string_view typed = m_last.substr(completion.start);
        if (!typed.empty() && (typed.front() == '{' || typed.front() == '"')) typed.remove_prefix(1);
        const auto index = argument();
        if (!index) return completion;
        for (const std::string& value : values(*index))
            if (value.starts_with(typed)) completion.words.push_back(kzWriteArgument("x", value).substr(2));
        if (!m_name) addNames(typed, completion);
        if (completion.words.empty() && typed.empty()) completion.note = describe(*index);
        return completion;
    }

private:
    bool isOpen(std::uint32_t index) const {
        return (m_arguments.flagsOf(index) & (KZfCMDARG_READONLY | KZfCMDARG_VALUE_SET)) == 0;
    }
    // The one that is named, or else the first that has no value yet.
    std::optional<std::uint32_t> argument() const {
        for (std::uint32_t index = 0; index < m_arguments.count(); ++index)
            if (m_name ? m_arguments.nameOf(index) == *m_name : isOpen(index)) return index;
        return {};
    }
    std::vector<std::string> values(std::uint32_t index) const {
        std::vector<std::string> words;
        const KzTextValueHint* hints = nullptr;
        if (kzSucceeded(m_arguments.attributes().Hints(index, &hints)))
            for (; hints->text != nullptr; ++hints) words.emplace_back(hints->text);
        const bool isText = kzAnswer([&](const char** name) {
                                return m_arguments.attributes().TypeName(index, name);
                            }) == KZsTYPE_STRING;
        if (!words.empty() || !isText || (m_arguments.flagsOf(index) & KZfCMDARG_QUERY) == 0) return words;
        return m_arguments.query(index);
    }
    void addNames(std::string_view typed, Completion& completion) const {
        for (std::uint32_t index = 0; index < m_arguments.count(); ++index)
            if (const std::string name = m_arguments.nameOf(index); isOpen(index) && name.starts_with(typed))
                completion.words.push_back(name + ":");
    }
    std::string describe(std::uint32_t index) const {
        return m_arguments.nameOf(index) + ": " +
               kzAnswer([&](const char** text) { return m_arguments.command().ArgDesc(index, text); });
    }

    CCommandArguments m_arguments;
    std::string_view m_last;
    std::optional<std::string_view> m_name;
};

Completion argumentsLike(const CCommandDispatcher& commands, const std::string& text, std::size_t last) {
    const CCommandRegistry& registry = commands.registry();
    const std::string_view whole(text);
    std::string_view given;
    const std::string name = kzFirstWord(whole.substr(0, last), &given);
    if (!registry.isBuiltin(name)) return {};
    try {
        CKzUser_Command command;
        registry.spawn(name, command);
        return CArgumentCompleter(*registry.environment()->types, command.raw(), given, whole.substr(last)).complete();
    } catch (const CommandTextError&) {
        return {};  // what stands before is wrong
    } catch (KzResult) {
        return {};
    }
}

}  // namespace

Completion kzCompleteCommand(const CCommandDispatcher& commands, const std::string& text, char quote) {
    const std::size_t last = startOfLast(text);
    Completion completion;
    if (last > 0) {
        completion = argumentsLike(commands, text, last);
    } else {
        completion.words = commands.registry().names();
        std::erase_if(completion.words, [&](const std::string& name) { return !name.starts_with(text); });
    }
    completion.start += last;
    std::erase_if(completion.words, [&](const std::string& word) { return word.find(quote) != std::string::npos; });
    return completion;
}

}  // namespace kzhost
