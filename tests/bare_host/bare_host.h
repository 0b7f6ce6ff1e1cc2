// A host in one object: every service and every object that the plug-in asks for is an interface of it. It does next to
// nothing, except to fail where a test says so.
#pragma once

#include "kz/all.h"
#include "kz_paths.h"
#include "tests/support/lines.h"

#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <vector>

// The implementation bases of the interfaces, and their records.
template <class Self, template <class> class... Interfaces>
class CImplements : public Interfaces<Self>::Implementation... {
protected:
    static void appendTo(CKzGenericPolymorph& polymorph) { (polymorph.append(kzMakeRecord<Interfaces<Self>>()), ...); }
};

// What a failing operation leaves in its object output: using it ignores the failure.
class CTrap final : public IKzUnknown {
public:
    KzResult QueryInterface(const KzGuid*, void**) override { return ++touches, kzNoInterface; }
    std::uint32_t AddRef() override { return ++touches; }
    std::uint32_t Release() override { return ++touches; }
    std::uint32_t touches = 0;
};

class CBareHost;

// The application object. A host may delete it whenever it ends, so a later call ends the process with status 9.
class CBareApplication final : public IKzUnknown {
public:
    KzResult QueryInterface(const KzGuid* iid, void** object) override;
    std::uint32_t AddRef() override { return 1; }
    std::uint32_t Release() override;
    CBareHost* host = nullptr;
    bool isGone = false;
};

using BareInterfaces = CImplements<CBareHost, CKzIfc_ApplicationService, CKzIfc_LogService, CKzIfc_Log, CKzIfc_LogEntry,
                                   CKzIfc_FileService, CKzIfc_PlatformService, CKzIfc_CommandService, CKzIfc_Command,
                                   CKzIfc_StdDialogService, CKzIfc_Monitor, CKzIfc_GUIDService, CKzIfc_HostService,
                                   CKzIfc_ServiceExtension, CKzIfc_ScriptQuery, CKzIfc_Script, CKzIfc_LineExecution,
                                   CKzIfc_Message, CKzIfc_ValueArray>;

class CBareHost final : public BareInterfaces {
public:
    CBareHost();
    ~CBareHost() override { module.clear(); }

    // The plug-in of the build tree, or a copy of it; false when it has no module object for this host or refuses it.
    bool load(const char* plugin = KZ_BUILD_DIR "/plugins/kzPython2.so");
    void unload();
    void* library = nullptr;
    CKzLoc_Unknown module;
    KzResult refusal = kzOk;  // the module's answer to its host

    // One of the plug-in's servers.
    KzResult spawn(const KzGuid& iid, CKzLoc_Unknown& server) const;
    KzResult run(const std::string& script);
    KzResult execute(const char* line);  // in a console of its own
    std::string log() const;
    bool hasLogged(const std::string& part) const { return log().find(part) != std::string::npos; }

    CBareApplication application;
    std::map<std::string, std::string> aliases;  // "scripts:" and its path
    std::vector<std::string> importPaths;
    std::string failing;  // an operation, as "Log.CreateEntry": it fails and leaves the trap in its object output
    KzResult failure = KZe_NOACCESS;  // with OK it succeeds without an output, and with FALSE it throws an exception
    CTrap trap;
    std::function<void(const std::string& operation)> whenCalled;
    // Asked before the host's own interfaces.
    std::function<KzResult(const KzGuid& iid, void** object)> own;
    std::uint32_t references() noexcept;  // to the host's one object
    IKzUnknown& self() noexcept { return *m_self.raw(); }

    KzResult applicationservice_ServiceByName(const char*, IKzUnknown** out) override {
        return give("Application.ServiceByName", out);
    }
    KzResult logservice_SubSystemLookup(const char*, IKzUnknown** out) override {
        return give("Log.SubSystemLookup", out);
    }
    KzResult logservice_CreateEntry(std::uint32_t level, const char* text, IKzUnknown** entry) override;
    KzResult log_AddEntry(IKzUnknown*) override { return enter("LogSystem.AddEntry"), kzOk; }
    KzResult logentry_AddEntry(IKzUnknown*) override { return enter("LogEntry.AddEntry"), kzOk; }
    KzResult fileservice_ToLocalAlias(const char* path, char* local, std::uint32_t length) override;
    KzResult platformservice_ImportPathCount(std::uint32_t* count) override {
        return enter("Platform.ImportPathCount"), *count = static_cast<std::uint32_t>(importPaths.size()), kzOk;
    }
    KzResult platformservice_ImportPathByIndex(std::uint32_t index, const char** path) override {
        return *path = text("Platform.ImportPathByIndex", importPaths[index].c_str()), kzOk;
    }
    KzResult commandservice_ProcessStringFlags(std::uint32_t, const char* text, std::uint32_t* flags,
                                               const char** rest) override {
        return enter("Command.ProcessStringFlags"), *flags = 0, *rest = text, kzOk;
    }
    KzResult commandservice_Lookup(const char*, std::uint32_t* tag) override {
        return enter("Command.Lookup"), *tag = 1, kzOk;
    }
    KzResult commandservice_Spawn(std::uint32_t, const char*, IKzUnknown** out) override {
        return give("Command.Spawn", out);
    }
    KzResult commandservice_SpawnFromString(const char*, std::uint32_t*, std::int32_t*, IKzUnknown** out) override {
        return give("Command.SpawnFromString", out);
    }
    KzResult commandservice_SpawnImplicitScript(const char*, IKzUnknown** out) override {
        return give("Command.SpawnImplicitScript", out);
    }
    KzResult commandservice_IsImplicitScript(const char* text) override {
        return enter("Command.IsImplicitScript"), text[0] == '@' ? kzOk : KZe_NOTFOUND;
    }
    KzResult commandservice_GetToggleArgState(IKzUnknown*, std::int32_t* state, IKzUnknown** out) override {
        return *state = 1, give("Command.GetToggleArgState", out);
    }
    KzResult commandservice_QueryArgString(IKzUnknown*, std::uint32_t, const char*, std::int32_t, IKzUnknown** out,
                                           std::uint32_t* index) override {
        return *index = 0, give("Command.QueryArgString", out);
    }
    KzResult commandservice_CreateQueryObject(const char*, IKzUnknown** out) override {
        return give("Command.CreateQueryObject", out);
    }
    KzResult commandservice_ParseAttribObject(IKzUnknown*, std::uint32_t, IKzUnknown*) override {
        return enter("Command.ParseAttribObject"), kzOk;
    }
    KzResult cmd_Execute(std::uint32_t) override { return enter("Command.Execute"), kzOk; }
    KzResult cmd_Message(IKzUnknown** out) override { return give("Command.Message", out); }
    KzResult stddialogservice_MonitorAllocate(const char*, IKzUnknown** out) override {
        return give("Dialog.MonitorAllocate", out);
    }
    KzResult stddialogservice_MonitorReleaseObj(IKzUnknown*) override;
    KzResult mon_Initialize(std::uint32_t) override { return enter("Monitor.Initialize"), kzOk; }
    KzResult mon_Increment(std::uint32_t) override { return enter("Monitor.Increment"), kzOk; }
    void* guidservice_Global(const KzGuid* iid) override;
    KzResult hostservice_ModuleUpdate(const char*) override { return enter("Host.ModuleUpdate"), kzOk; }
    KzResult ser_ScriptQuery(IKzUnknown** out) override { return give("ServiceExtension.ScriptQuery", out); }
    KzResult sq_Lookup(const char*, std::uint32_t* index) override {
        return enter("ScriptQuery.Lookup"), *index = 0, kzOk;
    }
    KzResult sq_TypeName(std::uint32_t, const char** type) override {
        return *type = text("ScriptQuery.TypeName", "string"), kzOk;
    }
    KzResult sq_Query(std::uint32_t, IKzUnknown*) override { return enter("ScriptQuery.Query"), kzOk; }
    KzResult scr_Hash(const char** name) override { return *name = text("Script.Hash", "bare.py"), kzOk; }
    KzResult scr_Buffer(const char** buffer) override;
    KzResult lin_Results(IKzUnknown*) override { return enter("Console.Results"), kzOk; }
    KzResult lin_Info(const char* text) override { return enter("Console.Info"), note(text), kzOk; }
    KzResult msg_SetMessage(const char*, const char*, std::uint32_t) override {
        return enter("Message.SetMessage"), kzOk;
    }
    KzResult va_AddString(const char* text) override {
        return enter("ValueArray.AddString"), note(std::string("= ") + text), kzOk;
    }
    KzResult va_GetValue(std::uint32_t, IKzUnknown** out) override { return give("ValueArray.GetValue", out); }

private:
    void enter(const char* operation);
    const char* text(const char* operation, const char* text);
    KzResult give(const char* operation, IKzUnknown** object);
    void note(const std::string& line);

    CKzStaticPolymorph m_polymorph{this};
    CKzLoc_Unknown m_self;
    mutable std::mutex m_lock;
    std::string m_log;
};

inline const std::string kzBareKit = KZ_BUILD_DIR "/kit/Python2_7/";
