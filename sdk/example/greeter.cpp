// A plug-in in C++ with one server: the command "greet", which writes a line to the host's log.
#include "kz/command.h"
#include "kz/log.h"
#include "kz/module.h"

#include "kz/base/object_output.h"
#include "kz/result.h"

#include <string_view>

namespace {

class Greet final : public CKzImpl_Command {
public:
    KzResult cmd_Execute(std::uint32_t /*flags*/) override {
        CKzUser_LogService log;
        kzTakeService(log);
        CKzUser_Log subsystem;
        CKzLoc_Unknown entry;
        kzObtain(subsystem, [&](IKzUnknown** found) { return log.SubSystemLookup("greeter", found); });
        kzObtain(entry, [&](IKzUnknown** made) { return log.CreateEntry(KZe_OK, "Hello from C++", made); });
        return subsystem.AddEntry(entry.raw());
    }
};

// The factory of all commands "greet": what each of them offers, and how it is made and freed.
CKzPolymorph<Greet>& greetPolymorph() {
    static CKzPolymorph<Greet> polymorph;
    if (polymorph.recordCount() == 0) polymorph.append(kzMakeRecord<CKzIfc_Command<Greet>>());
    return polymorph;
}

// The module: what it serves, and what it knows of its host.
class Greeter final : public CKzImpl_Module,
                      public CKzImpl_TagDescription,
                      public CKzImpl_NeedContext,
                      public CKzGlobalCache {
public:
    KzResult mod_Generate(const char* name, const KzGuid* iid, IKzUnknown** object) override {
        if (name != std::string_view("greet") || *iid != KZu_COMMAND) return KZe_NOTFOUND;
        *object = greetPolymorph().spawn(iid);
        return *object != nullptr ? KZe_OK : KZe_FAILED;
    }
    std::uint32_t tag_Count() override { return 1; }
    KzResult tag_Describe(std::uint32_t index, KzTagRecord* record) override {
        if (index != 0) return KZe_OUTOFBOUNDS;
        *record = {"server", "greet", &KZu_COMMAND};
        return KZe_OK;
    }
    KzResult need_SetContext(IKzUnknown* application) override { return setApplication(application), KZe_OK; }
};

// The module object lives from the first reference to the last, and lets go of the host with it.
CKzPolymorph<Greeter>& greeterPolymorph() {
    static CKzPolymorph<Greeter> polymorph;
    if (polymorph.recordCount() == 0) {
        polymorph.append(kzMakeRecord<CKzIfc_Module<Greeter>>());
        polymorph.append(kzMakeRecord<CKzIfc_TagDescription<Greeter>>());
        polymorph.append(kzMakeRecord<CKzIfc_NeedContext<Greeter>>());
    }
    return polymorph;
}

}  // namespace

extern "C" __attribute__((visibility("default"))) IKzUnknown* _IKzModule_Create() { return greeterPolymorph().spawn(); }
