// Commands for the choices that an argument of another command offers: what they are called, how they look, what choosing
// one does, which items a list of items has, and what becomes of a typed text. The hints of the argument's value answer.
#include "host/commands/choice_commands.h"

#include "host/commands/builtin_command.h"
#include "host/commands/document_targets.h"
#include "host/core/command_dispatcher.h"
#include "host/core/command_text.h"
#include "host/core/reasons.h"
#include "host/core/ui_hints.h"
#include "host/objects/item.h"
#include "host/state/text.h"

#include "kz/base/object_output.h"
#include "kz/command.h"
#include "kz/image.h"
#include "kz/item.h"
#include "kz/result.h"
#include "kz/ui_value_hints.h"
#include "kz/value.h"

#include <fmt/format.h>

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

namespace kzhost {

namespace {

constexpr std::uint32_t asked = KZfCMDARG_READONLY | kzOptional | kzQueryable;
constexpr ArgumentRow choiceArguments[] = {
    {"command", KZsTYPE_STRING, 0, "the command"},
    {"argument", KZsTYPE_STRING, 0, "its argument"},
    {"choice", KZsTYPE_STRING, kzOptional | kzQueryable, "what is chosen; queried, the words of all choices"},
    {"label", KZsTYPE_STRING, asked, "queried, how users read each of them"},
    {"category", KZsTYPE_STRING, asked, "queried, the submenu that all of them are in"},
    {"icon", KZsTYPE_STRING, asked, "queried, the icon of each, or the size of its picture, as 20x20"},
    {"action", KZsTYPE_STRING, asked, "queried, the command that each runs instead of setting the value"},
    {"item", KZsTYPE_STRING, asked, "queried, the items of the current scene that the list has"},
    {"detail", KZsTYPE_STRING, asked, "queried, the text beside each of these items"},
    {"text", KZsTYPE_STRING, kzOptional, "what a user types"},
    {"allowed", KZsTYPE_STRING, asked, "queried, what becomes of the typed text"},
};

// An argument of another command, and what is known of its value.
struct HintedArgument {
    CKzUser_Command command;
    std::uint32_t index = 0;
    CKzUser_UIValueHints hints;
    std::uint32_t flags = 0;

    bool announces(std::uint32_t flag) const { return (flags & flag) != 0; }
};

void takeArgument(const CCommandDispatcher& dispatcher, CBuiltinCommand& command, HintedArgument& hinted) {
    const std::string name = command.text("command"), argument = command.text("argument");
    dispatcher.registry().spawn(name, hinted.command);
    const CCommandArguments arguments(*command.environment().types, hinted.command.raw());
    std::vector<std::string> names;
    for (std::uint32_t index = 0; index < arguments.count(); ++index) names.push_back(arguments.nameOf(index));
    const auto place = std::ranges::find(names, argument);
    if (place == names.end())
        kzRefuse(KZe_CMD_UNKNOWN_ARGUMENT, "argument \"argument\": " + kzThereIsNo("argument", argument, names));
    hinted.index = static_cast<std::uint32_t>(place - names.begin());
    kzTakeValueHints(hinted.command.raw(), hinted.index, hinted.hints);
    if (hinted.hints) hinted.flags = hinted.hints.Flags();
}

// The choices as they are numbered by who offers them. Lines and headings are no choices.
struct Choice {
    std::uint32_t index;
    std::string word;
};

std::vector<Choice> choicesOf(const HintedArgument& hinted) {
    std::vector<Choice> choices;
    if (!hinted.announces(KZfVALHINT_POPUPS)) return choices;
    const std::uint32_t count = std::min(hinted.hints.PopCount(), kzMostChoicesAsked);
    for (std::uint32_t index = 0; index < count; ++index) {
        HintChoice choice;
        choice.value = kzAnswer([&](const char** text) { return hinted.hints.PopInternalName(index, text); });
        choice.flags = hinted.hints.PopFlags(index);
        if (choice.isOffered()) choices.push_back({index, std::move(choice.value)});
    }
    return choices;
}

std::string labelOf(const HintedArgument& hinted, const Choice& choice) {
    const std::string label = kzAnswer([&](const char** text) { return hinted.hints.PopUserName(choice.index, text); });
    return label.empty() ? choice.word : label;
}

// The name of an icon goes before a picture. A picture whose size makes no sense is none.
std::string iconOf(const HintedArgument& hinted, const Choice& choice) {
    if (!hinted.announces(KZfVALHINT_POPUP_ICONS)) return {};
    std::string name = kzAnswer([&](const char** text) { return hinted.hints.PopIconResource(choice.index, text); });
    if (!name.empty()) return name;
    CKzLoc_Unknown object;
    if (kzFailed(kzTakeOutput(object, [&](IKzUnknown** output) {
            return hinted.hints.PopIconImage(choice.index, KZi_POPICON_MEDIUM, KZi_POPICON_MEDIUM, output);
        })))
        return {};
    const CKzUser_Image image(object.raw());
    std::int32_t width = 0, height = 0;
    if (!image || kzFailed(image.Size(&width, &height)) || width < 1 || height < 1) {
        kzBecause(KZe_INVALIDARG, "UIValueHints.PopIconImage", [&] {
            return fmt::format("the picture of the choice \"{}\" is no image of at least one pixel", choice.word);
        });
        return {};
    }
    return fmt::format("{}x{}", width, height);
}

std::string actionOf(const HintedArgument& hinted, const Choice& choice) {
    return kzAnswer([&](const char** text) { return hinted.hints.PopCommand(choice.index, text); });
}

// No lock is held while the hints are asked, so that they may look at the scene.
std::vector<CHostRef<CItem>> itemsOf(OpenScenes& scenes, const HintedArgument& hinted) {
    std::vector<CHostRef<CItem>> items;
    if (!hinted.announces(KZfVALHINT_ITEMS)) return items;
    const CHostRef<CScene> scene = kzCurrentScene(scenes);
    {
        const CReading reading(*scenes.workspace);
        scene->document().each(KZiITYPE_ANY, [&](Item& item) { items.push_back(kzObjectOf(item)); });
    }
    std::erase_if(items, [&](const CHostRef<CItem>& item) { return kzFailed(hinted.hints.ItemTest(item.raw())); });
    return items;
}

struct ItemText {
    std::string name, detail;
};

// Without details of its own, an item is called as everywhere.
std::vector<ItemText> itemTextsOf(OpenScenes& scenes, const HintedArgument& hinted) {
    std::vector<ItemText> texts;
    if (hinted.announces(KZfVALHINT_ITEMS_NONE)) texts.push_back({"(none)", {}});
    for (const CHostRef<CItem>& item : itemsOf(scenes, hinted)) {
        const char *name = nullptr, *detail = nullptr;
        const bool isKnown = hinted.announces(KZfVALHINT_ITEM_DETAILS) &&
                             kzSucceeded(hinted.hints.ItemDetails(item.raw(), &name, &detail));
        ItemText text = isKnown ? ItemText{kzString(name), kzString(detail)} : ItemText{};
        if (text.name.empty()) {
            const char* shown = nullptr;
            if (kzFailed(item->item_UniqueName(&shown))) continue;  // it has been removed meanwhile
            text.name = kzString(shown);
        }
        texts.push_back(std::move(text));
    }
    return texts;
}

std::string allowedText(CBuiltinCommand& command, const HintedArgument& hinted) {
    try {
        const HintValues values = kzAttributeHints(hinted.command.raw(), hinted.index)->values();
        return kzAllowedText(hinted.command.raw(), hinted.index, values, command.text("text"));
    } catch (const std::string& refusal) {
        kzRefuse(KZe_INVALIDARG, "argument \"text\": " + refusal);
    }
}

template <class Range, class TextOf> Texts textsOf(const Range& range, const TextOf& textOf) {
    Texts texts;
    for (const auto& each : range) texts.push_back(textOf(each));
    return texts;
}

struct ChoiceParts {
    std::weak_ptr<CCommandDispatcher> dispatcher;  // which owns the registry, and that the commands
    std::shared_ptr<OpenScenes> scenes;

    std::shared_ptr<CCommandDispatcher> commands() const {
        auto found = dispatcher.lock();
        if (found == nullptr) throw KZe_NOTAVAILABLE;
        return found;
    }
};

Texts queryChoices(const ChoiceParts& parts, CBuiltinCommand& command, std::uint32_t index) {
    HintedArgument hinted;
    takeArgument(*parts.commands(), command, hinted);
    const std::string_view wanted = choiceArguments[index].name;
    if (wanted == "category")
        return {!hinted.announces(KZfVALHINT_POPUPS) ? std::string() : kzAnswer([&](const char** text) {
            return hinted.hints.PopCategory(text);
        })};
    if (wanted == "allowed") return {allowedText(command, hinted)};
    if (wanted == "item" || wanted == "detail")
        return textsOf(itemTextsOf(*parts.scenes, hinted),
                       [&](const ItemText& each) { return wanted == "item" ? each.name : each.detail; });
    return textsOf(choicesOf(hinted), [&](const Choice& each) {
        if (wanted == "label") return labelOf(hinted, each);
        if (wanted == "icon") return iconOf(hinted, each);
        return wanted == "action" ? actionOf(hinted, each) : each.word;
    });
}

// A choice with a command of its own runs that in place of the argument's command.
void choose(const ChoiceParts& parts, CBuiltinCommand& command) {
    const auto dispatcher = parts.commands();
    HintedArgument hinted;
    takeArgument(*dispatcher, command, hinted);
    if (!command.has("choice")) kzRefuse(KZe_CMD_MISSING_ARGS, "argument \"choice\" is missing");
    const std::string word = command.text("choice");
    const std::vector<Choice> choices = choicesOf(hinted);
    const auto choice = std::ranges::find(choices, word, &Choice::word);
    if (choice == choices.end())
        kzRefuse(KZe_INVALIDARG, "argument \"choice\": " + kzThereIsNo("choice", word, choices,
                                                                       [](const Choice& each) { return each.word; }));
    if (const std::string action = actionOf(hinted, *choice); !action.empty()) {
        const auto outcome = dispatcher->perform(action, KZfCMD_EXEC_NODIALOG);
        if (kzFailed(outcome.code)) kzRefuse(outcome.code, outcome.message);
        return;
    }
    CCommandArguments(*command.environment().types, hinted.command.raw()).assignByName(command.text("argument"), word);
    const KzResult code = hinted.command.Execute(KZfCMD_EXEC_NODIALOG);
    if (kzFailed(code)) kzRefuse(code, kzFailureOf(hinted.command, code));
}

}  // namespace

void kzAddChoiceCommands(CCommandRegistry& registry, const std::shared_ptr<CCommandDispatcher>& dispatcher,
                         const std::shared_ptr<OpenScenes>& scenes) {
    const ChoiceParts parts{dispatcher, scenes};
    kzAddCommands(
        registry,
        {{"command.choices", "Choices of an Argument", "makes one of the choices that an argument offers", KZfCMD_UI,
          choiceArguments, [parts](CBuiltinCommand& command) { choose(parts, command); },
          [parts](CBuiltinCommand& command, std::uint32_t index) { return queryChoices(parts, command, index); }}});
}

}  // namespace kzhost
