// kz.eval, kz.eval1 and kz.evalN, which execute or query a command string.
#include "kzmod/command.h"
#include "kzmod/functions.h"
#include "kzmod/value_conversion.h"
#include "module/runtime.h"

#include "kz/base/global_cache.h"
#include "kz/result.h"

namespace {

constexpr const char* cannotParse = "command argument parsing failed";

// The steps of one call, after its arguments have been parsed.
class CEvaluation {
public:
    CEvaluation(CCall& call, KzShape shape) : m_call(call), m_shape(shape) { kzTakeService(m_service); }

    PyObject* run(const char* text, std::uint32_t flags) {
        const char* rest = nullptr;
        KzResult code = m_service.ProcessStringFlags(flags, text, &m_flags, &rest);
        if (kzFailed(code) || rest == nullptr) return refuse("error processing command prefix flags", code);
        m_text = rest;  // copied: the host's own text lives only until its next call
        // FALSE, a success code, also means no.
        const KzResult isScript = m_service.IsImplicitScript(m_text.c_str());
        if (kzSucceeded(isScript) && isScript != KZe_FALSE) return runScript();
        code = kzObtain(m_command, [&](IKzUnknown** object) { return m_service.Spawn(0, m_text.c_str(), object); });
        return kzSucceeded(code) ? query() : refuse("command could not be found", code);
    }

private:
    PyObject* refuse(const char* text, KzResult code) {
        kzBlame(m_call, m_command, code);
        return m_call.fail(text);
    }

    PyObject* execute() {
        if (!kzExecuteCommand(m_call, m_command, m_flags)) return nullptr;
        Py_RETURN_NONE;
    }

    PyObject* runScript() {
        const KzResult code = kzObtain(
            m_command, [&](IKzUnknown** object) { return m_service.SpawnImplicitScript(m_text.c_str(), object); });
        return kzSucceeded(code) ? execute() : refuse("error spawning script", code);
    }

    PyObject* query() {
        CKzUser_ValueArray values;
        std::uint32_t index = 0;
        const KzResult code = kzObtain(values, [&](IKzUnknown** object) {
            return m_service.QueryArgString(m_command.raw(), m_flags, m_text.c_str(), 1, object, &index);
        });
        if (code == KZe_CMD_NO_QUERY_MARKED) return parseAndExecute();
        if (kzFailed(code)) return refuse(cannotParse, code);
        // The attributes object owns the hints, so it has to live until the values are converted.
        const CKzUser_Attributes attributes(m_command.raw());
        const KzTextValueHint* hints = nullptr;
        if (kzFailed(attributes.Hints(index, &hints))) hints = nullptr;
        return kzConvertValues(m_call, values, hints, m_shape);
    }

    PyObject* parseAndExecute() {
        const std::size_t blank = m_text.find(' ');
        if (blank == std::string::npos) return execute();
        const KzResult code = m_service.ParseArgString(m_command.raw(), m_flags, m_text.c_str() + blank);
        return kzSucceeded(code) ? execute() : refuse(cannotParse, code);
    }

    CCall& m_call;
    KzShape m_shape;
    CKzUser_CommandService m_service;
    CKzUser_Command m_command;
    std::string m_text;
    std::uint32_t m_flags = 0;
};

PyObject* evaluate(PyObject* args, KzShape shape) noexcept {
    return kzCall("execute/query", [&](CCall& call) -> PyObject* {
        const char* text = nullptr;
        unsigned int flags = PythonRuntime::running().executionFlags;
        if (PyArg_ParseTuple(args, "s|I", &text, &flags) == 0) {
            call.trace("failed: expected string argument");
            return kzParseFailed();
        }
        call.setLabel(text);
        return CEvaluation(call, shape).run(text, flags);
    });
}

}  // namespace

PyObject* kzEvalFunction(PyObject* /*self*/, PyObject* args) { return evaluate(args, KzShape::natural); }
PyObject* kzEval1Function(PyObject* /*self*/, PyObject* args) { return evaluate(args, KzShape::single); }
PyObject* kzEvalNFunction(PyObject* /*self*/, PyObject* args) { return evaluate(args, KzShape::tuple); }
