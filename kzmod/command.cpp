// Executing a command, and kz.command.
#include "kzmod/command.h"

#include "kzmod/arg_attrib.h"
#include "kzmod/functions.h"
#include "module/checks.h"
#include "module/output.h"
#include "module/py_lock.h"
#include "module/runtime.h"
#include "wrap/dict_texts.h"

#include "kz/base/global_cache.h"
#include "kz/base/text.h"
#include "kz/message.h"
#include "kz/result.h"

namespace {

// The alert flags that hosts expect for arguments from a script's attributes object.
constexpr std::uint32_t scriptAlertFlags = 9;

std::string labelOf(const CKzUser_Command& command) {
    const char* name = nullptr;
    if (kzFailed(command.Name(&name)) || name == nullptr) return "kz.command(unknown)";
    return std::string("kz.command(") + name + ")";
}

std::string messageText(IKzUnknown* message) {
    CKzUser_MessageService messages;
    kzTakeService(messages);
    std::string text;
    kzReadText(text, [&](char* buffer, std::uint32_t length) { return messages.MessageText(message, buffer, length); });
    return text;
}

// With the first 199 bytes of the message's text.
std::string failureText(const std::string& text, KzResult code) {
    char digits[16];
    std::snprintf(digits, sizeof digits, "%08x", code);
    return "command failed: " + text.substr(0, 199) + " (" + digits + ")";
}

// The steps of one kz.command call.
class CCommandCall {
public:
    explicit CCommandCall(CCall& call) : m_call(call) { kzTakeService(m_service); }

    PyObject* run(PyObject* args, PyObject* keywords) {
        if (!takeName(args) || !spawn() || !parse(keywords)) return m_call.fail(m_error);
        if (!kzExecuteCommand(m_call, m_command, m_flags)) return nullptr;
        Py_RETURN_NONE;
    }

private:
    bool refuse(const char* phrase, KzResult code = KZe_OK) {
        m_error += phrase;
        kzBlame(m_call, m_command, code);
        return false;
    }

    // Runs a conversion to text. If it fails, its exception is set aside until everything has been released.
    template <class Body> auto convert(Body&& body) {
        try {
            return body();
        } catch (KzResult) {
            m_call.keepPending();
            throw;
        }
    }

    bool takeName(PyObject* args) {
        const Py_ssize_t count = PyTuple_Check(args) ? PyTuple_GET_SIZE(args) : 0;
        if (count < 1) return refuse("missing required command name");
        if (count > 1) return refuse("extra positional arguments");
        const std::string text = convert([&] { return kzStrictStringOf(PyTuple_GET_ITEM(args, 0)); });
        const char* rest = nullptr;
        const std::uint32_t flags = PythonRuntime::running().executionFlags;
        const KzResult code = m_service.ProcessStringFlags(flags, text.c_str(), &m_flags, &rest);
        if (kzFailed(code) || rest == nullptr) return refuse("error processing command prefix flags", code);
        m_name = rest;  // copied: the host's own text lives only until its next call
        m_label = "kz.command(" + m_name + ")";
        m_call.setLabel(m_label.c_str());
        m_error = "command:" + m_name + " ";
        return true;
    }

    bool spawn() {
        std::uint32_t tag = 0;
        KzResult code = m_service.Lookup(m_name.c_str(), &tag);
        if (kzFailed(code) || tag == 0) return refuse("not found", kzFailed(code) ? code : KZe_NOTFOUND);
        code = kzObtain(m_command, [&](IKzUnknown** object) { return m_service.Spawn(tag, nullptr, object); });
        return kzSucceeded(code) || refuse("could not spawn command", code);
    }

    bool parse(PyObject* keywords) {
        CArgAttrib& arguments = kzSpawnArguments(m_attributes);
        convert([&] { kzTextsOfDict(keywords, arguments.names, arguments.values); });
        const KzResult code = m_service.ParseAttribObject(m_command.raw(), scriptAlertFlags, m_attributes.raw());
        return kzSucceeded(code) || refuse("could not parse argument list.", code);
    }

    CCall& m_call;
    CKzUser_CommandService m_service;
    CKzUser_Command m_command;
    CKzLoc_Attributes m_attributes;
    std::string m_name;
    std::string m_label;
    std::string m_error;
    std::uint32_t m_flags = 0;
};

}  // namespace

void kzBlame(CCall& call, const CKzUser_Command& command, KzResult code) {
    CKzUser_Message message;
    const bool isTold = command && kzFailed(code) &&
                        kzSucceeded(kzObtain(message, [&](IKzUnknown** object) { return command.Message(object); })) &&
                        kzFailed(message.Code());
    call.blame(code, isTold ? messageText(message.raw()) : kzResultName(code));
}

bool kzExecuteCommand(CCall& call, const CKzUser_Command& command, std::uint32_t flags) {
    {
        const CPyLock lock;      // the command may be implemented in Python
        command.Execute(flags);  // its message says how it went, not this code
    }
    const std::string label = kzTracing() ? labelOf(command) : std::string();
    CKzUser_Message message;
    if (kzFailed(kzObtain(message, [&](IKzUnknown** object) { return command.Message(object); }))) {
        // Required behaviour: no exception is raised here, so callers get the interpreter's own error for that.
        call.traceAs(label.c_str(), "internal error: could not get get message object");
        return false;
    }
    const KzResult code = message.Code();
    if (kzSucceeded(code)) return true;
    std::string text = messageText(message.raw());
    call.failAs(label.c_str(), failureText(text, code));
    call.blame(code, std::move(text));
    return false;
}

PyObject* kzCommandFunction(PyObject* /*self*/, PyObject* args, PyObject* keywords) {
    return kzCall("kz.command", [&](CCall& call) { return CCommandCall(call).run(args, keywords); });
}
