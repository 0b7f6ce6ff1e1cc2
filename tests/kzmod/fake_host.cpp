// The test's own commands, values, monitors and queries.
#include "fake_host.h"

#include "host/core/message.h"
#include "host/core/values.h"
#include "host/state/call_watch.h"
#include "host/state/text.h"
#include "tests/support/host_test.h"

#include "kz/application.h"
#include "kz/command.h"
#include "kz/dialog.h"

#include <algorithm>
#include <cstring>

namespace {

FakeHost* theHost = nullptr;
FakeScript& script() { return theHost->script; }

std::string str(const char* text) { return text != nullptr ? text : "null"; }
std::string str(std::uint32_t number) { return std::to_string(number); }

KzResult note(const char* operation, const std::string& arguments = {}) {
    return theHost->enter(operation, arguments), KZe_OK;
}
// As note, and hands out an object. What an operation that is going to fail leaves in its output nobody may touch.
template <class Ref>
KzResult hand(const Ref& object, IKzUnknown** out, const char* operation, const std::string& arguments = {}) {
    if (kzFailed(script().fails[operation])) *out = reinterpret_cast<IKzUnknown*>(1);
    theHost->enter(operation, arguments);
    return object.give(out);
}
template <class Class> KzResult give(IKzUnknown** out, const char* operation, const std::string& arguments = {}) {
    return hand(CHostRef<Class>::make(), out, operation, arguments);
}

constexpr KzTextValueHint hintTable[] = {{1, "one"}, {2, "two"}, {0, nullptr}};

struct Command final : CHosted<"test command", Command, CKzIfc_Command, CKzIfc_Attributes> {
    KzResult cmd_Name(const char** name) override { return note("Name"), *name = "test.command", KZe_OK; }
    KzResult cmd_Execute(std::uint32_t flags) override {
        note("Execute", str(flags));
        if (script().onExecute) script().onExecute();
        return KZe_OK;
    }
    KzResult cmd_Message(IKzUnknown** out) override {
        const auto message = CHostRef<CMessage>::make();
        message->msg_SetCode(script().messageCode);
        message->msg_SetMessage("pythonintr", "exit_msg", 0);
        message->msg_SetArgumentString(1, script().messageText.c_str());
        return hand(message, out, "Message");
    }
    KzResult attr_Hints(std::uint32_t index, const KzTextValueHint** hints) override {
        return note("Hints", str(index)), *hints = script().hasHints ? hintTable : nullptr, KZe_OK;
    }
};

KzResult elementCode(std::uint32_t index) { return index == script().badElement ? KZe_NOTREADY : KZe_OK; }

struct Values final : CHosted<"test values", Values, CKzIfc_ValueArray> {
    KzResult va_Type(std::uint32_t* type) override { return note("Type"), *type = script().valueType, KZe_OK; }
    KzResult va_TypeName(const char** name) override {
        return note("TypeName"), *name = script().valueTypeName.c_str(), KZe_OK;
    }
    std::uint32_t va_Count() override {
        return static_cast<std::uint32_t>(std::max(script().numbers.size(), script().texts.size()));
    }
    KzResult va_GetInt(std::uint32_t index, std::int32_t* value) override {
        return *value = static_cast<std::int32_t>(script().numbers.at(index)), elementCode(index);
    }
    KzResult va_GetFloat(std::uint32_t index, double* value) override {
        return *value = script().numbers.at(index), elementCode(index);
    }
    KzResult va_GetString(std::uint32_t index, char* buffer, std::uint32_t length) override {
        const KzResult code = elementCode(index);
        return kzFailed(code) ? code : kzFillText(script().texts.at(index), buffer, length);
    }
};

struct Monitor final : CHosted<"test monitor", Monitor, CKzIfc_Monitor> {
    KzResult mon_Initialize(std::uint32_t count) override { return step("Initialize", str(count)); }
    KzResult mon_Increment(std::uint32_t count) override { return step("Increment", str(count)); }
    static KzResult step(const char* operation, const std::string& arguments) {
        if (script().onMonitor) script().onMonitor();
        return note(operation, arguments);
    }
};

struct Services final : CHosted<"test services", Services, CKzIfc_CommandService, CKzIfc_StdDialogService,
                                CKzIfc_ApplicationService, CKzIfc_ServiceExtension, CKzIfc_ScriptQuery> {
    KzResult commandservice_Lookup(const char* name, std::uint32_t* tag) override {
        return note("Lookup", name), *tag = 77, KZe_OK;
    }
    KzResult commandservice_Spawn(std::uint32_t tag, const char* name, IKzUnknown** out) override {
        return give<Command>(out, "Spawn", str(tag) + "," + str(name));
    }
    KzResult commandservice_SpawnFromString(const char* args, std::uint32_t*, std::int32_t*,
                                            IKzUnknown** out) override {
        return give<Command>(out, "SpawnFromString", args);
    }
    KzResult commandservice_GetToggleArgState(IKzUnknown*, std::int32_t* state, IKzUnknown** value) override {
        return *state = script().toggleState, give<Values>(value, "GetToggleArgState");
    }
    KzResult commandservice_ProcessStringFlags(std::uint32_t flags, const char* text, std::uint32_t* newFlags,
                                               const char** rest) override {
        m_rest = text + std::strspn(text, "!?");
        *newFlags = 0x22;
        return note("ProcessStringFlags", str(flags) + "," + text), *rest = m_rest.c_str(), KZe_OK;
    }
    KzResult commandservice_IsImplicitScript(const char* text) override {
        m_rest = "gone";  // the text handed out before lives no longer than this
        const bool isScript = text[0] == '@';
        return note("IsImplicitScript"), isScript ? KZe_OK : KZe_FALSE;
    }
    KzResult commandservice_SpawnImplicitScript(const char* text, IKzUnknown** out) override {
        return give<Command>(out, "SpawnImplicitScript", text);
    }
    KzResult commandservice_ParseArgString(IKzUnknown*, std::uint32_t flags, const char* args) override {
        return note("ParseArgString", str(flags) + "," + args);
    }
    KzResult commandservice_ParseAttribObject(IKzUnknown*, std::uint32_t flags, IKzUnknown* object) override {
        const CKzUser_Attributes attributes(object);
        std::string all = str(flags);
        for (std::uint32_t index = 0; index < attributes.Count(); ++index) {
            const char* name = nullptr;
            char text[64] = "";
            attributes.Name(index, &name);
            attributes.GetString(index, text, sizeof text);
            all += std::string(",") + name + "=" + text;
        }
        return note("ParseAttribObject", all);
    }
    KzResult commandservice_QueryArgString(IKzUnknown*, std::uint32_t flags, const char* args, std::int32_t includes,
                                           IKzUnknown** out, std::uint32_t* index) override {
        *index = 5;
        if (std::strchr(args, '?') == nullptr) return KZe_CMD_NO_QUERY_MARKED;
        return give<Values>(out, "QueryArgString", str(flags) + "," + args + "," + std::to_string(includes));
    }
    KzResult commandservice_CreateQueryObject(const char* type, IKzUnknown** out) override {
        return hand(CHostRef<CValueArray>::make(type), out, "CreateQueryObject", type);
    }
    KzResult stddialogservice_MonitorAllocate(const char* title, IKzUnknown** out) override {
        return give<Monitor>(out, "MonitorAllocate", title);
    }
    KzResult stddialogservice_MonitorReleaseObj(IKzUnknown*) override { return Monitor::step("MonitorReleaseObj", {}); }
    KzResult applicationservice_ServiceByName(const char* name, IKzUnknown** out) override {
        if (std::strcmp(name, "recorded") == 0) return give<Services>(out, "RecordedService");
        return ServiceOf<CKzUser_ApplicationService>(theHost->application.host)->ServiceByName(name, out);
    }
    KzResult ser_ScriptQuery(IKzUnknown** out) override { return give<Services>(out, "RecordedQuery"); }
    KzResult sq_Select(const char* attribute, const char* which) override {
        return note("Select", str(attribute) + "," + str(which));
    }
    KzResult sq_Lookup(const char* name, std::uint32_t* index) override {
        return note("QueryLookup", name), *index = 3, KZe_OK;
    }
    KzResult sq_TypeName(std::uint32_t index, const char** name) override {
        return note("QueryTypeName", str(index)), *name = "integer", KZe_OK;
    }
    KzResult sq_Query(std::uint32_t index, IKzUnknown*) override { return note("Query", str(index)); }

private:
    std::string m_rest;
};

}  // namespace

FakeHost::FakeHost() {
    theHost = this;
    application.own = [services = CHostRef<Services>::make()](const KzGuid& iid, void** object) {
        return kzSucceeded(services.raw()->QueryInterface(&iid, object)) ? kzOk : kzNotFound;
    };
    adopt(_IKzModule_Create());
}

bool FakeHost::called(const std::string& call) const {
    return std::find(calls.begin(), calls.end(), call) != calls.end();
}

void FakeHost::set(const std::function<void(FakeScript&)>& change) {
    script = {};
    if (change) change(script);
    calls.clear();
    host.calls().heal();
    for (const auto& [operation, code] : script.fails) host.failOperation(operation, code);
}

void FakeHost::enter(const char* operation, const std::string& arguments) {
    calls.push_back(arguments.empty() ? operation : std::string(operation) + "(" + arguments + ")");
    host.calls().enter(operation);
}
