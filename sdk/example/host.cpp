// A whole host on one page: host KIT SCRIPT MODULE... loads the modules, runs a Python script in them and unloads them.
#include "kz/all.h"
#include "kz/base/object_output.h"
#include "kz/base/text_output.h"
#include "kz/tables.h"

#include <dlfcn.h>

#include <cstdio>
#include <fstream>
#include <iostream>
#include <iterator>
#include <list>

// Derives from the base of each interface, and makes the records by which their slots are found.
template <class Self, template <class> class... Interfaces> struct Implements : Interfaces<Self>::Implementation... {
    static void fill(CKzGenericPolymorph& polymorph) { (polymorph.append(kzMakeRecord<Interfaces<Self>>()), ...); }
};

// What the host hands out for a module's command. A caller learns from its message how it ended.
class Command final : public Implements<Command, CKzIfc_Command, CKzIfc_Message> {
public:
    KzResult cmd_Execute(std::uint32_t flags) override { return m_code = inner.Execute(flags); }
    KzResult cmd_Message(IKzUnknown** message) override { return self->AddRef(), *message = self, kzOk; }
    std::uint32_t msg_Code() override { return m_code; }

    CKzUser_Command inner;
    IKzUnknown* self = nullptr;  // borrowed, or it would keep itself

private:
    KzResult m_code = kzOk;
};

class CommandFactory final : public CKzPolymorph<Command> {
public:
    CommandFactory() { Command::fill(*this); }
    void spawned(void* object, IKzUnknown* slot) override { static_cast<Command*>(object)->self = slot; }
};

class Host;
using HostInterfaces = Implements<Host, CKzIfc_FileService, CKzIfc_PlatformService, CKzIfc_LogService,
                                  CKzIfc_TextOutput, CKzIfc_Log, CKzIfc_LogEntry, CKzIfc_GUIDService,
                                  CKzIfc_HostService, CKzIfc_CommandService, CKzIfc_Script, CKzIfc_Message>;

// One object is the application, every service of it, and all that the services hand out.
class Host final : public HostInterfaces {
public:
    explicit Host(std::string kit) : m_kit(std::move(kit)) {
        fill(m_polymorph);
        *m_self.out() = m_polymorph.spawn();
    }

    bool load(const char* path) {
        void* library = dlopen(path, RTLD_NOW | RTLD_LOCAL);
        void* entry = library != nullptr ? dlsym(library, "_IKzModule_Create") : nullptr;
        if (entry == nullptr) return std::cerr << dlerror() << "\n", false;
        CKzLoc_Unknown module;
        *module.out() = reinterpret_cast<IKzUnknown* (*)()>(entry)();
        // Before anything else: the module finds every service through the application.
        const CKzUser_NeedContext context(module.raw());
        if (!module || (context && kzFailed(context.SetContext(m_self.raw())))) return false;
        m_modules.emplace_back(module.raw());
        // The plug-in serves the classes that Python code blesses through a module of its own.
        CKzUser_Module blessed;
        const auto generate = [&](IKzUnknown** out) { return m_modules.back().Generate("python", &KZu_MODULE, out); };
        if (kzSucceeded(kzObtain(blessed, generate))) m_modules.emplace_back(blessed.raw());
        return true;
    }

    KzResult spawn(const char* name, const KzGuid& iid, IKzUnknown** server) const {
        for (const CKzUser_Module& module : m_modules)
            if (kzSucceeded(module.Generate(name, &iid, server))) return kzOk;
        return KZe_NOTFOUND;
    }

    KzResult run(const char* path) {
        m_path = path;
        std::ifstream file(path);
        m_text.assign(std::istreambuf_iterator<char>(file), {});
        CKzUser_TextScriptInterpreter python;
        const KzResult code =
            kzObtain(python, [&](IKzUnknown** server) { return spawn("python", KZu_TEXTSCRIPTINTERPRETER, server); });
        return kzSucceeded(code) ? python.Run(m_self.raw(), 0xFFFFFFFF, "", m_self.raw()) : code;
    }

    // Python ends with the last reference to its module.
    void unload() {
        while (!m_modules.empty()) m_modules.pop_back();
    }

    KzResult fileservice_ToLocalAlias(const char* path, char* local, std::uint32_t length) override {
        std::string text = path;
        if (!text.starts_with("kit_Python2_7:")) return KZe_NOTFOUND;
        text.replace(0, text.find(':') + 1, m_kit + "/");
        if (text.size() >= length) return KZe_SHORTBUFFER;
        return std::memcpy(local, text.c_str(), text.size() + 1), kzOk;
    }
    KzResult platformservice_ImportPathCount(std::uint32_t* count) override { return *count = 0, kzOk; }
    KzResult logservice_SubSystemLookup(const char*, IKzUnknown** log) override { return m_self.get(log); }
    KzResult logservice_CreateEntry(std::uint32_t level, const char* text, IKzUnknown** entry) override {
        m_last = level == KZe_INFO ? "" : text + std::string("\n");  // a notice is not shown
        return m_self.get(entry);
    }
    KzResult log_AddEntry(IKzUnknown*) override { return std::clog << m_last, kzOk; }
    KzResult logentry_AddEntry(IKzUnknown*) override { return kzOk; }
    KzResult textoutput_Write(const char*, std::uint32_t, std::uint64_t size, const void* text) override {
        return std::fwrite(text, 1, size, stdout) == size ? kzOk : KZe_FAILED;
    }
    KzResult textoutput_Flush(const char*) override { return std::fflush(stdout) == 0 ? kzOk : KZe_FAILED; }
    std::int32_t textoutput_Failure() override { return 0; }
    void* guidservice_Global(const KzGuid* iid) override {
        for (const KzIdentityRow& row : kzIdentityRows)
            if (row.iid == *iid) return const_cast<KzGuid*>(&row.iid);
        return nullptr;
    }
    KzResult hostservice_ModuleUpdate(const char*) override { return kzOk; }
    KzResult commandservice_ProcessStringFlags(std::uint32_t flags, const char* text, std::uint32_t* left,
                                               const char** rest) override {
        return *left = flags, *rest = text, kzOk;
    }
    KzResult commandservice_IsImplicitScript(const char*) override { return KZe_NOTFOUND; }
    KzResult commandservice_Spawn(std::uint32_t, const char* text, IKzUnknown** command) override {
        const std::string name(text, std::strcspn(text, " "));
        CKzUser_Command inner;
        const KzResult code =
            kzObtain(inner, [&](IKzUnknown** server) { return spawn(name.c_str(), KZu_COMMAND, server); });
        if (kzFailed(code)) return code;
        *command = m_commands.spawn();
        static_cast<Command*>(kzObjectOf(*command, &m_commands))->inner.set(inner.raw());
        return kzOk;
    }
    KzResult commandservice_QueryArgString(IKzUnknown*, std::uint32_t, const char*, std::int32_t, IKzUnknown**,
                                           std::uint32_t*) override {
        return KZe_CMD_NO_QUERY_MARKED;
    }
    KzResult scr_Hash(const char** name) override { return *name = m_path.c_str(), kzOk; }
    KzResult scr_Buffer(const char** text) override { return *text = m_text.c_str(), kzOk; }
    KzResult msg_SetMessage(const char*, const char*, std::uint32_t) override { return kzOk; }
    KzResult msg_SetArgumentString(std::uint32_t, const char* text) override { return std::clog << text << "\n", kzOk; }

private:
    std::string m_kit, m_path, m_text, m_last;
    CKzStaticPolymorph m_polymorph{this};
    CKzLoc_Unknown m_self;
    CommandFactory m_commands;
    std::list<CKzUser_Module> m_modules;
};

int main(int count, char** words) {
    if (count < 4) return std::cerr << "usage: host KIT SCRIPT MODULE...\n", 2;
    Host host(words[1]);
    for (int index = 3; index < count; ++index)
        if (!host.load(words[index])) return std::cerr << words[index] << ": not a module for this host\n", 3;
    const KzResult code = host.run(words[2]);
    host.unload();
    return kzFailed(code) ? 1 : 0;
}
