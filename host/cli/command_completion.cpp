// What may stand at the end of a command string.
#include "host/cli/command_completion.h"

#include "host/core/command_arguments.h"
#include "host/core/command_dispatcher.h"
#include "host/core/partial_arguments.h"
#include "host/core/ui_hints.h"
#include "host/state/text.h"

#include "kz/command.h"
#include "kz/value.h"

#include <algorithm>
#include <string_view>
#include <vector>

namespace kzhost {

namespace {

class CArgumentCompleter {
public:
    CArgumentCompleter(CValueTypeRegistry& types, IKzUnknown* command, std::string_view text)
        : m_arguments(types, command), m_partial(kzPartialArgument(m_arguments, text)),
          m_typed(text.substr(m_partial.value)) {
        if (m_typed.starts_with('{') || m_typed.starts_with('"')) m_typed.remove_prefix(1);
    }

    Completion complete() {
        Completion completion;
        completion.start = m_partial.value;
        if (!m_partial.index) return completion;
        for (const std::string& value : values(*m_partial.index))
            if (value.starts_with(m_typed)) completion.words.push_back(kzWriteArgument("x", value).substr(2));
        if (!m_partial.isNamed) addNames(completion);
        if (completion.words.empty() && m_typed.empty()) completion.note = describe(*m_partial.index);
        return completion;
    }

private:
    std::vector<std::string> values(std::uint32_t index) const {
        std::vector<std::string> words;
        const KzTextValueHint* hints = nullptr;
        if (kzSucceeded(m_arguments.attributes().Hints(index, &hints)))
            for (; hints->text != nullptr; ++hints) words.emplace_back(hints->text);
        for (const HintChoice& choice : kzAttributeHints(m_arguments.attributes().raw(), index)->values().choices)
            if (choice.isOffered()) words.push_back(choice.value);
        const bool isText = kzAnswer([&](const char** name) {
                                return m_arguments.attributes().TypeName(index, name);
                            }) == KZsTYPE_STRING;
        if (!words.empty() || !isText || (m_arguments.flagsOf(index) & KZfCMDARG_QUERY) == 0) return words;
        return m_arguments.query(index);
    }
    void addNames(Completion& completion) const {
        for (std::uint32_t index = 0; index < m_arguments.count(); ++index) {
            const std::string name = m_arguments.nameOf(index);
            const bool isOpen = (m_arguments.flagsOf(index) & (KZfCMDARG_READONLY | KZfCMDARG_VALUE_SET)) == 0;
            if (isOpen && name.starts_with(m_typed)) completion.words.push_back(name + ":");
        }
    }
    std::string describe(std::uint32_t index) const {
        return m_arguments.nameOf(index) + ": " +
               kzAnswer([&](const char** text) { return m_arguments.command().ArgDesc(index, text); });
    }

    CCommandArguments m_arguments;
    PartialArgument m_partial;
    std::string_view m_typed;
};

Completion argumentsOf(const CCommandDispatcher& commands, const std::string& text) {
    const CCommandRegistry& registry = commands.registry();
    std::string_view given;
    const std::string name = kzFirstWord(text, &given);
    if (!registry.isBuiltin(name)) return {};
    try {
        CKzUser_Command command;
        registry.spawn(name, command);
        auto completion = CArgumentCompleter(*registry.environment()->types, command.raw(), given).complete();
        completion.start += text.size() - given.size();
        return completion;
    } catch (const CommandTextError&) {
        return {};  // what stands before is wrong
    } catch (KzResult) {
        return {};
    }
}

}  // namespace

Completion kzCompleteCommand(const CCommandDispatcher& commands, const std::string& text, char quote) {
    Completion completion;
    if (kzStartOfLastArgument(text) > 0) {
        completion = argumentsOf(commands, text);
    } else {
        completion.words = commands.registry().names();
        std::erase_if(completion.words, [&](const std::string& name) { return !name.starts_with(text); });
    }
    std::erase_if(completion.words, [&](const std::string& word) { return word.find(quote) != std::string::npos; });
    return completion;
}

}  // namespace kzhost
