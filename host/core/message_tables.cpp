// The host's message tables, and the meanings of result codes.
#include "host/core/message_tables.h"

#include "host/core/message.h"
#include "host/state/text.h"

#include "kz/command.h"
#include "kz/result.h"
#include "kz/value.h"

#include <fmt/format.h>

namespace kzhost {

namespace {

struct TextRow {
    std::string_view table;
    std::string_view key;
    std::string_view text;
};

constexpr TextRow texts[] = {
    {"pythonintr", "exception", "Python exception: %1"},
    {"pythonintr", "script_err", "The script stopped on an error: %1"},
    {"pythonintr", "exit_code", "The script ended with code %1"},
    {"pythonintr", "exit_code_msg", "The script ended with code %1: %2"},
    {"pythonintr", "exit_msg", "The script ended: %1"},
    {"commands", "failed", "%1: %2"},
    {"commands", "said", "%1"},
};

struct MeaningRow {
    KzResult code;
    std::string_view meaning;
};

constexpr MeaningRow meanings[] = {
    {KZe_OK, "no error"},
    {KZe_INFO, "information"},
    {KZe_WARNING, "warning"},
    {KZe_SKIP, "skipped"},
    {KZe_FAILED, "the operation failed"},
    {KZe_NOTIMPL, "not implemented"},
    {KZe_OUTOFMEMORY, "out of memory"},
    {KZe_INVALIDARG, "an argument is not valid"},
    {KZe_NOINTERFACE, "the object has no such interface"},
    {KZe_NOTSUPPORTED, "not supported"},
    {KZe_ABORT, "stopped by the user"},
    {KZe_NOACCESS, "access is denied"},
    {KZe_OUTOFBOUNDS, "an index is out of bounds"},
    {KZe_NOTFOUND, "not found"},
    {KZe_STARTUP, "start-up failed"},
    {KZe_DISABLED, "disabled"},
    {KZe_ALREADYEXISTS, "it exists already"},
    {KZe_NOTAVAILABLE, "not available"},
    {KZe_SHORTBUFFER, "the buffer is too short"},
    {KZe_NOTREADY, "not ready"},
    {KZe_MAINTHREADONLY, "this works on the main thread only"},
    {KZe_SCRIPT_UNKNOWN, "no interpreter knows the script"},
    {KZe_SCRIPT_ERROR, "the script has an error"},
    {KZe_QUERY_UNKNOWN_SERVICE, "there is no such script service"},
    {KZe_QUERY_UNKNOWN_ATTRIBUTE, "the script service has no such attribute"},
    {KZe_QUERY_NEED_SELECTION, "something has to be selected first"},
    {KZe_QUERY_SELECT_FAILED, "the selection names nothing that is there"},
    {KZe_CMD_UNKNOWN_COMMAND, "there is no such command"},
    {KZe_CMD_UNKNOWN_ARGUMENT, "the command has no such argument"},
    {KZe_CMD_NOT_AVAILABLE, "the command is not available"},
    {KZe_CMD_DISABLED, "the command is disabled"},
    {KZe_CMD_MISSING_ARGS, "a required argument is missing"},
    {KZe_CMD_TOO_MANY_ARGUMENTS, "there are more arguments than the command takes"},
    {KZe_CMD_UNBALANCED_BRACES, "a brace or quote is not closed"},
    {KZe_CMD_ERROR_ARG_MISSING_VALUE, "an argument has no value"},
    {KZe_CMD_HAS_NO_ARGUMENTS, "the command has no arguments"},
    {KZe_CMD_ARGUMENT_ALREADY_SET, "an argument is given twice"},
    {KZe_CMD_ARGUMENT_NOT_QUERYABLE, "the argument cannot be queried"},
    {KZe_CMD_NO_QUERY_MARKED, "no argument is marked for a query"},
    {KZe_CMD_TOO_MANY_QUERIES_MARKED, "more than one argument is marked for a query"},
    {KZe_CMD_NOT_EXECUTABLE, "the command cannot be executed"},
    {KZe_CMD_ALREADY_EXISTS, "there is a command of that name already"},
    {KZe_CMD_NOT_ALIASED, "there is no such alias"},
    {KZe_CMD_BAD_DEFINITION, "the definition is not a command"},
};

// Arguments are inserted verbatim: a percent sign in an argument has no meaning.
std::string filledIn(std::string_view text, IKzMessage& message) {
    std::string filled;
    for (std::size_t at = 0; at < text.size(); ++at) {
        const bool names = text[at] == '%' && at + 1 < text.size() && text[at + 1] >= '1' && text[at + 1] <= '9';
        if (names) filled += kzMessageArgument(message, static_cast<std::uint32_t>(text[++at] - '0'));
        else filled += text[at];
    }
    return filled;
}

std::string asTheyAre(const std::string& table, const std::string& key, IKzMessage& message) {
    std::string text = table + ":" + key;
    for (std::uint32_t index = 1; index <= kzMessageArguments; ++index)
        if (const std::string argument = kzMessageArgument(message, index); !argument.empty())
            text += " \"" + argument + "\"";
    return text;
}

}  // namespace

std::optional<std::string_view> CMessageTables::find(std::string_view table, std::string_view key) {
    for (const TextRow& row : texts)
        if (row.table == table && row.key == key) return row.text;
    return {};
}

std::string CMessageTables::codeText(KzResult code) {
    for (const MeaningRow& row : meanings)
        if (row.code == code) return std::string(row.meaning);
    const std::string name = kzCodeName(code);
    return fmt::format("{} {}", kzFailed(code) ? "error" : "result", name);
}

std::string CMessageTables::reasonOf(IKzMessage& message, KzResult code) {
    const bool isEmpty = kzMessageText(message, &IKzMessage::Key).empty() && kzSucceeded(message.Code());
    return isEmpty ? codeText(code) : textOf(message);
}

std::string CMessageTables::textOf(IKzMessage& message) {
    const std::string table = kzMessageText(message, &IKzMessage::Table);
    const std::string key = kzMessageText(message, &IKzMessage::Key);
    if (key.empty()) return codeText(message.Code());
    const auto text = find(table, key);
    return text ? filledIn(*text, message) : asTheyAre(table, key, message);
}

}  // namespace kzhost
