// kzhost as an interpreter.
#include "host/cli/run_interpreter.h"

#include "host/cli/program.h"
#include "host/core/module_table.h"
#include "host/core/scripts.h"
#include "host/state/path_aliases.h"
#include "host/state/text.h"

#include "kz/script.h"

namespace kzhost {

int kzRunInterpreter(CProgram& program, const std::vector<std::string>& words) {
    if (const int status = program.start(); status != exitOk) return status;
    const auto commandLine = CHostRef<CScript>::make("the command line", "");
    // The full path, from which the interpreter finds its library and which becomes sys.executable.
    std::vector<std::string> all = {CPathAliases::programPath()};
    all.insert(all.end(), words.begin(), words.end());
    commandLine->setWords(std::move(all));
    for (const KzServer& server : program.host().modules().servers(KZa_TEXTSCRIPTINTERPRETER)) {
        CKzLoc_Unknown interpreter;
        const CKzUser_InterpreterProgram main(CModuleTable::spawn(server, interpreter).raw());
        if (!main) continue;
        int status = exitFailed;
        if (const KzResult code = main->Main(commandLine.raw(), &status); kzFailed(code)) throw code;
        return status;
    }
    CProgram::say("no interpreter of the module can run by itself");
    return exitNoInterpreter;
}

}  // namespace kzhost
