// The text script interpreter server.
#include "script/script_interpreter.h"

#include "module/py_lock.h"
#include "module/stop.h"
#include "script/interpreter_script.h"
#include "script/script_surroundings.h"
#include "script/static_tags.h"

#include "kz/base/forever.h"
#include "kz/result.h"
#include "kz/script.h"

#include <cstring>

namespace Python_Script {

namespace {

constexpr KzTagRecord tags[] = {
    {"server.username", "Python Scripts", nullptr},
    {"loader.dosPattern", "*.py", nullptr},
    {"saver.dosType", "PY", nullptr},
};

class CInterpreter : public CKzImpl_TextScriptInterpreter,
                     public CStaticTags<tags>,
                     public CKzImpl_InterpreterProgram,
                     public CKzImpl_InterpreterStop {
public:
    KzResult interpreterprogram_Main(IKzUnknown* words, std::int32_t* status) override;
    KzResult interpreterstop_Prepare() override;
    KzResult interpreterstop_Stop() override;
    KzResult tsi_ValidateHeader(const char* header) override;
    KzResult tsi_Run(IKzUnknown* script, std::uint32_t flags, const char* args, IKzUnknown* message) override;
};

KzResult CInterpreter::tsi_ValidateHeader(const char* header) {
    return header != nullptr && std::strstr(header, "python") != nullptr ? KZe_OK : KZe_SCRIPT_UNKNOWN;
}

// The script's path or, without one, its user name.
std::string identify(IKzScript& script) {
    const char* path = nullptr;
    if (kzSucceeded(script.Hash(&path)) && path != nullptr) return path;
    const char* name = nullptr;
    return kzSucceeded(script.UserName(&name)) && name != nullptr ? name : "";
}

// The text without its trailing idle lines, or the unchanged text if there is no memory for a copy.
class CTrimmedText {
public:
    explicit CTrimmedText(const char* text) : m_text(text) {
        try {
            m_copy = text;
        } catch (const std::bad_alloc&) {
            return;
        }
        trimTrailingLines(m_copy);
        m_text = m_copy.c_str();
    }
    const char* get() const noexcept { return m_text; }

private:
    std::string m_copy;
    const char* m_text;
};

KzResult CInterpreter::tsi_Run(IKzUnknown* script, std::uint32_t flags, const char* args, IKzUnknown* message) {
    CKzLoc_Script typedScript;
    CKzLoc_Message typedMessage;
    typedMessage.set(message);
    if (!typedScript.set(script)) return KZe_INVALIDARG;
    const std::string name = identify(*typedScript.ptr());
    const char* source = nullptr;
    if (const KzResult code = typedScript->Buffer(&source); kzFailed(code)) return code;
    if (source == nullptr) return KZe_FAILED;  // a script that nobody has run must not count as one that ended well
    const CTrimmedText text(source);

    CPyLock lock("a script");
    kzSetQuiet(false);
    const CStoppableRun stoppable;
    CInterpreterScript run(name, flags);
    run.prepare(typedMessage.ptr(), args);
    return run.execute(text.get(), wordsOf(script));
}

KzResult CInterpreter::interpreterprogram_Main(IKzUnknown* words, std::int32_t* status) {
    const std::vector<std::string> all = wordsOf(words);
    if (all.empty()) return KZe_INVALIDARG;
    const COutputScope output(std::make_shared<CScriptOutput>("python"));
    *status = PythonRuntime::runProgram(all);
    return KZe_OK;
}

KzResult CInterpreter::interpreterstop_Prepare() {
    CStopper::prepare();
    return KZe_OK;
}

KzResult CInterpreter::interpreterstop_Stop() { return CStopper::request() ? KZe_OK : KZe_NOTAVAILABLE; }

}  // namespace

void registerServer(CKzThisModule& module) {
    static CKzForever<CKzPolymorph<CInterpreter>> polymorph;
    if (polymorph->recordCount() == 0) {  // a failed initialisation may have come this far
        polymorph->append(kzMakeRecord<CKzIfc_TextScriptInterpreter<CInterpreter>>());
        polymorph->append(kzMakeRecord<CKzIfc_TagDescription<CInterpreter>>());
        polymorph->append(kzMakeRecord<CKzIfc_InterpreterProgram<CInterpreter>>());
        polymorph->append(kzMakeRecord<CKzIfc_InterpreterStop<CInterpreter>>());
    }
    module.addServer("python", &*polymorph);
}

}  // namespace Python_Script
