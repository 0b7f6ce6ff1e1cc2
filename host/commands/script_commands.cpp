// The command that runs a script file.
#include "host/commands/script_commands.h"

#include "host/commands/builtin_command.h"
#include "host/core/scripts.h"
#include "host/state/command_state.h"
#include "host/state/path_aliases.h"

#include "kz/command.h"
#include "kz/result.h"
#include "kz/value.h"

#include <string>

namespace kzhost {

namespace {

constexpr ArgumentRow scriptRunArguments[] = {
    {KZsARG_SCRIPT_FILENAME, KZsTYPE_FILEPATH, 0, "the script's file, as scripts:test.py"},
    {KZsARG_SCRIPT_ARGS, KZsTYPE_STRING, kzOptional, "the script's arguments"},
};

void runScript(CPathAliases& files, CScriptRunner& scripts, CBuiltinCommand& command) {
    const std::string name = command.text(KZsARG_SCRIPT_FILENAME);
    const auto path = kzFindScript(files, name);
    if (!path) kzRefuse(KZe_NOTFOUND, "argument \"fileName\": there is no script \"" + name + "\"");
    std::string problem;
    const auto script = kzReadScript(*path, problem);
    if (!script) kzRefuse(KZe_SCRIPT_ERROR, "argument \"fileName\": " + *path + ": " + problem);
    const KzResult code = scripts.run(script, command.environment().state->flags(),
                                      command.text(KZsARG_SCRIPT_ARGS).c_str(), command.run().message().raw());
    if (kzFailed(code)) throw code;
}

}  // namespace

void kzAddScriptCommands(CCommandRegistry& registry, const std::shared_ptr<CPathAliases>& files,
                         const std::shared_ptr<CScriptRunner>& scripts) {
    kzAddCommands(registry, {
                                {KZsCMD_SCRIPT_RUN, "Run Script", "runs a script file", KZfCMD_UI | KZfCMD_SCRIPT,
                                 scriptRunArguments, kzWith(runScript, files, scripts)},
                            });
}

}  // namespace kzhost
