// kzhost run: one script from start to exit status.
#include "host/cli/run_script.h"

#include "host/cli/debugger.h"
#include "host/cli/interrupt.h"
#include "host/cli/program.h"
#include "host/cli/scene_verbs.h"
#include "host/cli/script_end.h"
#include "host/core/message_tables.h"
#include "host/core/module_table.h"
#include "host/core/scripts.h"
#include "host/state/property_table.h"
#include "host/state/text.h"

#include "kz/result.h"

#include <fmt/format.h>

#include <filesystem>

namespace kzhost {

namespace {

bool wasInterrupted(const ScriptEnd& end) {
    const bool signalled = CInterruptScope::takeInterrupt();
    return end.outcome.kind == ScriptOutcome::Kind::interrupted || (signalled && end.code == KZe_ABORT);
}

int statusOf(const std::string& path, const ScriptEnd& end) {
    if (wasInterrupted(end)) return exitInterrupted;
    if (end.outcome.kind == ScriptOutcome::Kind::exit) return kzStatusOfExit(path, end.outcome);
    if (kzFailed(end.code)) {
        const std::string message = end.isTold ? end.message : CMessageTables::codeText(end.code);
        if (end.outcome.kind != ScriptOutcome::Kind::reported)
            CProgram::say(fmt::format("{}: 0x{:08x} {}: {}", path, end.code, kzCodeName(end.code), message));
        return exitFailed;
    }
    if (end.isTold) CProgram::say(path + ": " + end.message);
    return kzStatusOfCode(path, end.code);
}

// The name of the server that accepts the script. If no server of a module does, all interpreters are started, because
// they may add servers.
std::string interpreterName(CProgram& program, const CScript& script) {
    CKzHost& host = program.host();
    CKzLoc_Unknown interpreter;
    auto server = host.scripts().interpreterFor(script, interpreter);
    if (!server) {
        program.wakeInterpreters();
        server = host.scripts().interpreterFor(script, interpreter);
    }
    return server ? server->name : std::string();
}

}  // namespace

int kzRunScript(CProgram& program, const std::string& file, const std::vector<std::string>& arguments) {
    std::string problem;
    // A debugger knows the files by their whole paths.
    const bool isDebugged = program.options().debugPort && file != "-";
    const std::string path = isDebugged ? std::filesystem::absolute(file).lexically_normal().string() : file;
    const auto script = kzReadScript(path, problem);
    if (!script) {
        CProgram::say(path + ": " + problem);
        return exitUsage;
    }
    program.setJob(path, arguments);
    std::vector<std::string> words = arguments;
    words.insert(words.begin(), path);
    script->setWords(std::move(words));
    if (const int status = program.start(); status != exitOk) return status;
    CKzHost& host = program.host();
    const std::string interpreter = interpreterName(program, *script);
    if (interpreter.empty()) {
        CProgram::say(path + ": no interpreter takes this script; its name should end in .py, or its first line should "
                             "be a comment that names the interpreter, as #python");
        return exitUsage;
    }
    host.properties().set("script.interrupt", "signal");
    if (!program.wakeInterpreter(interpreter)) {
        CProgram::say(path + ": the interpreter \"" + interpreter + "\" failed to start");
        return exitNoInterpreter;
    }
    if (const int status = kzWaitForDebugger(program); status != exitOk) return status;
    if (!program.options().scene.empty() && !kzOpenSceneFile(program, program.options().scene)) return exitFailed;
    const CInterruptScope interrupts;
    if (CStopWatch::isProgramStopped()) return exitInterrupted;
    return statusOf(path, program.host().run(script, 0, kzJoinArguments(arguments, problem)));
}

}  // namespace kzhost
