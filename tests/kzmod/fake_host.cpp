// The scripted host's services and objects.
#include "fake_host.h"

#include <algorithm>
#include <cstring>

namespace {

FakeHost& host() { return FakeHost::instance(); }
FakeScript& script() { return host().script; }

std::string str(const char* text) { return text != nullptr ? text : "null"; }

KzResult copyText(const std::string& text, char* buffer, std::uint32_t length) {
    if (length <= text.size()) return KZe_SHORTBUFFER;
    std::memcpy(buffer, text.c_str(), text.size() + 1);
    return KZe_OK;
}

// A polymorph around one object, with one interface.
template <class Ifc> class Served : public CKzStaticPolymorph {
public:
    Served(void* object, const KzGuid& iid) : CKzStaticPolymorph(object) { append(kzMakeRecord<Ifc>(iid)); }
};

struct Message : CKzImpl_Message {
    std::uint32_t msg_Code() override { return script().messageCode; }
} message;
Served<CKzIfc_Message<Message>> messages(&message, KZu_MESSAGE);

constexpr KzTextValueHint hintTable[] = {{1, "one"}, {2, "two"}, {0, nullptr}};

struct Command : CKzImpl_Command, CKzImpl_Attributes {
    KzResult cmd_Name(const char** name) override {
        *name = "test.command";
        return host().enter("Name");
    }
    KzResult cmd_Execute(std::uint32_t flags) override {
        const KzResult code = host().enter("Execute", std::to_string(flags));
        if (script().onExecute) script().onExecute();
        return code;
    }
    KzResult cmd_Message(IKzUnknown** out) override { return host().give("Message", {}, messages, out); }
    KzResult attr_Hints(std::uint32_t index, const KzTextValueHint** hints) override {
        *hints = script().hasHints ? hintTable : nullptr;
        return host().enter("Hints", std::to_string(index));
    }
} command;

class CommandPolymorph : public CKzStaticPolymorph {
public:
    CommandPolymorph() : CKzStaticPolymorph(&command) {
        append(kzMakeRecord<CKzIfc_Command<Command>>(KZu_COMMAND));
        append(kzMakeRecord<CKzIfc_Attributes<Command>>(KZu_ATTRIBUTES));
    }
} commands;

struct Values : CKzImpl_ValueArray {
    KzResult va_Type(std::uint32_t* type) override {
        *type = script().valueType;
        return host().enter("Type");
    }
    KzResult va_TypeName(const char** name) override {
        *name = script().valueTypeName.c_str();
        return host().enter("TypeName");
    }
    std::uint32_t va_Count() override {
        return static_cast<std::uint32_t>(std::max(script().numbers.size(), script().texts.size()));
    }
    KzResult element(std::uint32_t index) {
        return index == script().badElement ? KZe_NOTREADY : host().enter("Element");
    }
    KzResult va_GetInt(std::uint32_t index, std::int32_t* value) override {
        *value = static_cast<std::int32_t>(script().numbers.at(index));
        return element(index);
    }
    KzResult va_GetFloat(std::uint32_t index, double* value) override {
        *value = script().numbers.at(index);
        return element(index);
    }
    KzResult va_GetString(std::uint32_t index, char* buffer, std::uint32_t length) override {
        const KzResult code = element(index);
        return kzFailed(code) ? code : copyText(script().texts.at(index), buffer, length);
    }
} values;
Served<CKzIfc_ValueArray<Values>> valueArrays(&values, KZu_VALUEARRAY);

struct Monitor : CKzImpl_Monitor {
    KzResult mon_Initialize(std::uint32_t count) override { return step("Initialize", std::to_string(count)); }
    KzResult mon_Increment(std::uint32_t count) override { return step("Increment", std::to_string(count)); }
    static KzResult step(const char* operation, const std::string& arguments) {
        if (script().onMonitor) script().onMonitor();
        return host().enter(operation, arguments);
    }
} monitor;
Served<CKzIfc_Monitor<Monitor>> monitors(&monitor, KZu_MONITOR);

struct Query : CKzImpl_ScriptQuery {
    KzResult sq_Lookup(const char* name, std::uint32_t* index) override {
        *index = 3;
        return std::strcmp(name, script().queryName) == 0 ? host().enter("Lookup") : KZe_NOTFOUND;
    }
    KzResult sq_TypeName(std::uint32_t index, const char** type) override {
        *type = "integer";
        return host().enter("QueryTypeName", std::to_string(index));
    }
    KzResult sq_Select(const char* attribute, const char* which) override {
        return host().enter("Select", str(attribute) + "," + str(which));
    }
    KzResult sq_Query(std::uint32_t index, IKzUnknown* /*values*/) override {
        return host().enter("Query", std::to_string(index));
    }
} query;
Served<CKzIfc_ScriptQuery<Query>> queries(&query, KZu_SCRIPTQUERY);

struct Extension : CKzImpl_ServiceExtension {
    KzResult ser_ScriptQuery(IKzUnknown** out) override { return host().give("ScriptQuery", {}, queries, out); }
} extension;
Served<CKzIfc_ServiceExtension<Extension>> extensions(&extension, KZu_SERVICEEXTENSION);

// All services in one object, as the application answers for them.
struct Services : CKzImpl_ApplicationService,
                  CKzImpl_CommandService,
                  CKzImpl_FileService,
                  CKzImpl_MessageService,
                  CKzImpl_PlatformService,
                  CKzImpl_StdDialogService,
                  CKzImpl_ValueService {
    KzResult applicationservice_ServiceByName(const char* name, IKzUnknown** out) override {
        if (std::strcmp(name, "plain") == 0) return host().give("ServiceByName", name, messages, out);
        return std::strcmp(name, "scripted") == 0 ? host().give("ServiceByName", name, extensions, out) : KZe_NOTFOUND;
    }

    KzResult commandservice_Lookup(const char* name, std::uint32_t* tag) override {
        *tag = script().empty["Lookup"] ? 0 : 77;
        return host().enter("Lookup", name);
    }
    KzResult commandservice_Spawn(std::uint32_t tag, const char* name, IKzUnknown** out) override {
        return host().give("Spawn", std::to_string(tag) + "," + str(name), commands, out);
    }
    KzResult commandservice_SpawnFromString(const char* args, std::uint32_t*, std::int32_t*,
                                            IKzUnknown** out) override {
        return host().give("SpawnFromString", args, commands, out);
    }
    KzResult commandservice_GetToggleArgState(IKzUnknown*, std::int32_t* state, IKzUnknown** value) override {
        *state = script().toggleState;
        *value = valueArrays.spawn();
        return host().enter("GetToggleArgState");
    }
    KzResult commandservice_ProcessStringFlags(std::uint32_t flags, const char* text, std::uint32_t* newFlags,
                                               const char** rest) override {
        *newFlags = script().newFlags;
        m_rest = text + std::strspn(text, "!?");
        *rest = m_rest.c_str();
        return host().enter("ProcessStringFlags", std::to_string(flags) + "," + text);
    }
    KzResult commandservice_IsImplicitScript(const char* text) override {
        m_rest = "gone";  // the text handed out before lives no longer than this
        if (text[0] == '@') return host().enter("IsImplicitScript");
        return script().empty["IsImplicitScript"] ? KZe_NOTFOUND : KZe_FALSE;
    }
    KzResult commandservice_SpawnImplicitScript(const char* text, IKzUnknown** out) override {
        return host().give("SpawnImplicitScript", text, commands, out);
    }
    KzResult commandservice_ParseArgString(IKzUnknown*, std::uint32_t flags, const char* args) override {
        return host().enter("ParseArgString", std::to_string(flags) + "," + args);
    }
    KzResult commandservice_ParseAttribObject(IKzUnknown*, std::uint32_t flags, IKzUnknown* object) override {
        const CKzUser_Attributes attributes(object);
        std::string all = std::to_string(flags);
        for (std::uint32_t index = 0; index < attributes.Count(); ++index) {
            const char* name = nullptr;
            char text[64] = "";
            attributes.Name(index, &name);
            attributes.GetString(index, text, sizeof text);
            all += std::string(",") + name + "=" + text;
        }
        return host().enter("ParseAttribObject", all);
    }
    KzResult commandservice_QueryArgString(IKzUnknown*, std::uint32_t flags, const char* args, std::int32_t includes,
                                           IKzUnknown** out, std::uint32_t* index) override {
        *index = 5;
        if (std::strchr(args, '?') == nullptr) return KZe_CMD_NO_QUERY_MARKED;
        return host().give("QueryArgString", std::to_string(flags) + "," + args + "," + std::to_string(includes),
                           valueArrays, out);
    }
    KzResult commandservice_CreateQueryObject(const char* type, IKzUnknown** out) override {
        return host().give("CreateQueryObject", type, valueArrays, out);
    }

    KzResult messageservice_MessageText(IKzUnknown*, char* text, std::uint32_t length) override {
        const KzResult code = host().enter("MessageText");
        return kzFailed(code) ? code : copyText(script().messageText, text, length);
    }
    KzResult platformservice_ImportPathCount(std::uint32_t* count) override {
        *count = 0;
        return KZe_OK;
    }
    KzResult stddialogservice_MonitorAllocate(const char* title, IKzUnknown** out) override {
        return host().give("MonitorAllocate", title, monitors, out);
    }
    KzResult stddialogservice_MonitorReleaseObj(IKzUnknown*) override {
        if (script().onMonitor) script().onMonitor();
        return host().enter("MonitorReleaseObj");
    }
    KzResult valueservice_TextHintEncode(std::int32_t value, const KzTextValueHint* hints, char* text,
                                         std::uint32_t length) override {
        if (const KzResult code = host().enter("TextHintEncode"); kzFailed(code)) return code;
        for (; hints->text != nullptr; ++hints)
            if (hints->value == value) return copyText(hints->text, text, length);
        return KZe_OK_NO_CHOICES;
    }

private:
    std::string m_rest;
} services;

class Application : public CKzStaticPolymorph {
public:
    Application() : CKzStaticPolymorph(&services) {
        append(kzMakeRecord<CKzIfc_ApplicationService<Services>>(KZu_APPLICATIONSERVICE));
        append(kzMakeRecord<CKzIfc_CommandService<Services>>(KZu_COMMANDSERVICE));
        append(kzMakeRecord<CKzIfc_FileService<Services>>(KZu_FILESERVICE));
        append(kzMakeRecord<CKzIfc_MessageService<Services>>(KZu_MESSAGESERVICE));
        append(kzMakeRecord<CKzIfc_PlatformService<Services>>(KZu_PLATFORMSERVICE));
        append(kzMakeRecord<CKzIfc_StdDialogService<Services>>(KZu_STDDIALOGSERVICE));
        append(kzMakeRecord<CKzIfc_ValueService<Services>>(KZu_VALUESERVICE));
    }
} application;

}  // namespace

FakeHost& FakeHost::instance() {
    static auto* const theHost = new FakeHost();  // outlives Python
    return *theHost;
}

FakeHost::FakeHost() {
    CKzLoc_Unknown object;
    object.take(application.spawn());
    m_cache.setApplication(object.raw());
}

bool FakeHost::called(const std::string& call) const {
    return std::find(calls.begin(), calls.end(), call) != calls.end();
}

KzResult FakeHost::enter(const char* operation, const std::string& arguments) {
    calls.push_back(arguments.empty() ? operation : std::string(operation) + "(" + arguments + ")");
    const auto found = script.fails.find(operation);
    return found == script.fails.end() ? KZe_OK : found->second;
}

KzResult FakeHost::give(const char* operation, const std::string& arguments, CKzGenericPolymorph& polymorph,
                        IKzUnknown** out) {
    const KzResult code = enter(operation, arguments);
    if (kzSucceeded(code) && !script.empty[operation]) *out = polymorph.spawn();
    return code;
}
