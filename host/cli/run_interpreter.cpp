// kzhost as an interpreter.
#include "host/cli/run_interpreter.h"

#include "host/cli/program.h"
#include "host/core/module_table.h"
#include "host/core/scripts.h"
#include "host/state/path_aliases.h"
#include "host/state/text.h"

#include "kz/script.h"

#include <cstdio>
#include <cstdlib>
#include <unistd.h>

namespace kzhost {

namespace {

const CProgram* theProgram = nullptr;  // while the interpreter runs

// Runs when the interpreter itself ends the process, as it does for SystemExit.
void failForLeaks(int status, void* /*unused*/) {
    if (status != exitOk || theProgram == nullptr || !theProgram->hasLeaks()) return;
    std::fflush(nullptr);
    _exit(exitFailed);
}

}  // namespace

int kzRunInterpreter(CProgram& program, const std::vector<std::string>& words) {
    program.setJob("", words);
    if (const int status = program.start(); status != exitOk) return status;
    if (program.options().watch.leaks == "error") on_exit(failForLeaks, nullptr);
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
        theProgram = &program;
        const KzResult code = main->Main(commandLine.raw(), &status);
        theProgram = nullptr;
        if (kzFailed(code)) throw code;
        return status;
    }
    CProgram::say("no interpreter of the module can run by itself");
    return exitNoInterpreter;
}

}  // namespace kzhost
