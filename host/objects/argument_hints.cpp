// The hints of one argument of a command, as an object.
#include "host/objects/argument_hints.h"

#include "host/core/command_dispatcher.h"
#include "host/core/reasons.h"
#include "host/core/ui_hints.h"
#include "host/state/text.h"

#include "kz/command.h"
#include "kz/result.h"

#include <vector>

namespace kzhost {

KzResult kzGiveHints(const CCommandDispatcher& commands, const std::string& name, IKzUnknown** hints) {
    if (name.empty()) return CHostRef<CUIHints>::make().give(hints);
    const std::size_t blank = name.find(' ');
    const std::string wanted = blank == std::string::npos ? std::string() : name.substr(blank + 1);
    const auto refuse = [&](const std::string& why) { return kzBecause(KZe_NOTFOUND, "UIHints", [&] { return why; }); };
    try {
        CKzUser_Command command;
        commands.spawn(name.substr(0, blank), command);
        const CCommandArguments arguments(*commands.registry().environment()->types, command.raw());
        std::vector<std::string> names;
        for (std::uint32_t index = 0; index < arguments.count(); ++index) {
            names.push_back(arguments.nameOf(index));
            if (names.back() == wanted) return kzAttributeHints(command.raw(), index).give(hints);
        }
        return refuse(kzThereIsNo("argument", wanted, names));
    } catch (const CommandTextError& error) {
        return refuse(error.text);
    }
}

}  // namespace kzhost
