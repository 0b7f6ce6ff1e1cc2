// Dialogs that ask for the arguments of a command.
#include "host/core/argument_dialog.h"

#include "host/core/command_arguments.h"
#include "host/core/command_text.h"
#include "host/core/refusal.h"
#include "host/core/ui_hints.h"
#include "host/state/dialog_board.h"
#include "host/state/text.h"

#include "kz/command.h"
#include "kz/result.h"

#include <fmt/format.h>

#include <algorithm>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

namespace kzhost {

namespace {

constexpr int mostTries = 10;  // for one answer, so that an endless pipe cannot keep the dialog open

class CArgumentDialog {
public:
    CArgumentDialog(const CDialogBoard& board, CCommandArguments& arguments) : m_board(board), m_arguments(arguments) {}

    // A command with a dialog of its own needs no other. An answer may enable an argument that was skipped, so each search
    // for the next argument starts from the beginning.
    KzResult run() {
        const CKzUser_Command& command = m_arguments.command();
        if (const KzResult code = command.Interact(); code != KZe_NOTIMPL) return code;
        if (const KzResult code = command.DialogInit(); kzRefuses(code)) return code;
        m_arguments.forget();
        std::vector<std::uint32_t> waiting = order();
        for (;;) {
            m_arguments.forget();  // what the command has just heard may change all arguments
            const auto next =
                std::find_if(waiting.begin(), waiting.end(), [this](std::uint32_t each) { return canAsk(each); });
            if (next == waiting.end()) return KZe_OK;
            const std::uint32_t index = *next;
            waiting.erase(next);
            if (const KzResult code = ask(index); kzFailed(code)) return code;
        }
    }

private:
    // The order that the command asks for: names, and a mark that stands for all other arguments.
    std::vector<std::uint32_t> order() const {
        const CKzUser_Command& command = m_arguments.command();
        const std::string format = kzAnswer([&](const char** text) { return command.DialogFormatting(text); });
        std::istringstream words(format.empty() ? KZs_DLGFMT_SKIP : format);
        std::vector<std::uint32_t> named;
        std::optional<std::size_t> others;
        for (std::string word; words >> word;)
            if (word == KZs_DLGFMT_SKIP) others = named.size();
            else appendIf(named, [&](std::uint32_t index) { return m_arguments.nameOf(index) == word; });
        std::vector<std::uint32_t> unnamed = named;
        appendIf(unnamed, [](std::uint32_t) { return true; });
        if (others)
            named.insert(named.begin() + static_cast<std::ptrdiff_t>(*others),
                         unnamed.begin() + static_cast<std::ptrdiff_t>(named.size()), unnamed.end());
        return named;
    }

    template <class Test> void appendIf(std::vector<std::uint32_t>& indices, const Test& test) const {
        const std::uint32_t count = m_arguments.count();
        for (std::uint32_t index = 0; index < count; ++index)
            if (std::find(indices.begin(), indices.end(), index) == indices.end() && test(index))
                indices.push_back(index);
    }

    bool canAsk(std::uint32_t index) const {
        constexpr std::uint32_t neverShown = KZfCMDARG_HIDDEN | KZfCMDARG_READONLY | KZfCMDARG_CANT_ADD_TO_DLG;
        if ((m_arguments.flagsOf(index) & neverShown) != 0 || !m_arguments.isEnabled(index)) return false;
        return !hintsOf(index)->uihintsread_HasFlag(KZfUIHINT_HIDDEN | KZfUIHINT_READONLY);
    }

    CHostRef<CUIHints> hintsOf(std::uint32_t index) const {
        return kzAttributeHints(m_arguments.attributes().raw(), index);
    }

    // What the hints say goes before what the command says in general.
    static void addHints(const HintValues& hints, DialogQuestion& question) {
        if (hints.label) question.argument = *hints.label;
        if (question.description.empty()) question.description = hints.tooltip.value_or("");
        std::string words;
        for (const HintChoice& choice : hints.choices)
            if (choice.isOffered()) words += " " + choice.value;
        if (!words.empty()) question.expected = "one of" + words;
        if ((hints.flags & KZfUIHINT_MIN) != 0) question.expected += fmt::format(", from {}", hints.minimum);
        if ((hints.flags & KZfUIHINT_MAX) != 0) question.expected += fmt::format(", up to {}", hints.maximum);
        if ((hints.flags & KZfUIHINT_PASSWORD) != 0) question.isSecret = true;
    }

    DialogQuestion questionOf(std::uint32_t index, const HintValues& hints) const {
        const CKzUser_Command& command = m_arguments.command();
        DialogQuestion question;
        question.command = kzAnswer([&](const char** text) { return command.UserName(text); });
        question.argument = kzAnswer([&](const char** text) { return command.ArgUserName(index, text); });
        if (question.argument.empty()) question.argument = m_arguments.nameOf(index);
        question.description = kzAnswer([&](const char** text) { return command.ArgDesc(index, text); });
        question.expected = m_arguments.expected(index);
        const std::string example = kzAnswer([&](const char** text) { return command.ArgExample(index, text); });
        if (!example.empty()) question.expected += ", as " + example;
        question.isSecret = m_arguments.isSecret(index);
        addHints(hints, question);
        if (!question.isSecret) question.present = m_arguments.shown(index);
        else if (m_arguments.isSet(index)) question.present = "***";
        return question;
    }

    KzResult ask(std::uint32_t index) {
        constexpr const char* noPassword = "that password is not allowed";
        const HintValues hints = hintsOf(index)->values();
        DialogQuestion question = questionOf(index, hints);
        for (int tries = 1;; ++tries) {
            const auto answer = m_board.ask(question);
            if (!answer) throw CommandTextError{KZe_ABORT, "the dialog was cancelled"};
            if (answer->empty()) return KZe_OK;
            try {
                const std::string typed = *answer == "{}" ? "" : *answer;
                m_arguments.answer(index, kzAllowedText(m_arguments.attributes().raw(), index, hints, typed));
            } catch (const std::string& refusal) {
                question.problem = question.isSecret ? noPassword : refusal;
                if (tries == mostTries) throw CommandTextError{KZe_CMD_ERROR_SETTING_DATATYPE, question.problem};
                continue;
            } catch (CommandTextError& error) {
                // Only the hints say that it is secret, so the text may have what was typed.
                if (question.isSecret && !m_arguments.isSecret(index)) error.text = noPassword;
                if (tries == mostTries) throw;
                question.problem = error.text;
                continue;
            }
            const KzResult code = m_arguments.command().DialogArgChange(index);
            return kzRefuses(code) ? code : KZe_OK;
        }
    }

    const CDialogBoard& m_board;
    CCommandArguments& m_arguments;
};

}  // namespace

bool kzWantsDialog(const CCommandArguments& arguments, std::uint32_t flags) {
    if ((flags & KZfCMD_EXEC_NODIALOG) != 0) return false;
    return (flags & KZfCMD_EXEC_FORCEDIALOG) != 0 ||
           ((flags & KZfCMD_EXEC_SHOWDIALOG) != 0 && arguments.missing().has_value());
}

KzResult kzAskArguments(const CDialogBoard& board, CCommandArguments& arguments) {
    return CArgumentDialog(board, arguments).run();
}

}  // namespace kzhost
