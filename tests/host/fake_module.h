// A module of the test's own: a script interpreter and a module server, without any library.
#pragma once

#include "kz/base/global_cache.h"
#include "kz/message.h"
#include "kz/module.h"
#include "kz/result.h"
#include "kz/script.h"

#include <cstring>
#include <string>
#include <vector>

// Takes texts that say "fake". What it was asked is kept for the test, and the test says what it answers.
struct FakeInterpreter : CKzImpl_TextScriptInterpreter, CKzImpl_TagDescription {
    inline static std::string theRun;
    inline static KzResult theResult = 0;
    inline static std::string theMessage;

    KzResult tsi_ValidateHeader(const char* header) override {
        return std::strstr(header, "fake") != nullptr ? KZe_OK : KZe_SCRIPT_UNKNOWN;
    }
    KzResult tsi_Run(IKzUnknown* script, std::uint32_t flags, const char* args, IKzUnknown* message) override {
        const char* name = nullptr;
        const char* text = nullptr;
        const CKzUser_Script held(script);
        held.Hash(&name);
        held.Buffer(&text);
        theRun = std::string(name) + "|" + text + "|" + std::to_string(flags) + "|" + (args != nullptr ? args : "null");
        const CKzUser_Message told(message);
        if (!theMessage.empty()) {
            told.SetMessage("pythonintr", "exit_msg", 0);
            told.SetArgumentString(1, theMessage.c_str());
        }
        return theResult;
    }
    std::uint32_t tag_Count() override { return 1; }
    KzResult tag_Describe(std::uint32_t /*index*/, KzTagRecord* record) override {
        *record = {"loader.dosPattern", "*.fake", nullptr};
        return KZe_OK;
    }
};

// Lists servers, one of them a module server whose list may grow.
class FakeModule : public CKzImpl_Module, public CKzImpl_TagDescription, public CKzImpl_NeedContext {
public:
    FakeModule() {
        m_polymorph.append(kzMakeRecord<CKzIfc_Module<FakeModule>>(KZu_MODULE));
        m_polymorph.append(kzMakeRecord<CKzIfc_TagDescription<FakeModule>>(KZu_TAGDESCRIPTION));
        m_polymorph.append(kzMakeRecord<CKzIfc_NeedContext<FakeModule>>(KZu_NEEDCONTEXT));
        m_polymorph.nameOnce("fake module");
        m_interpreters.append(kzMakeRecord<CKzIfc_TextScriptInterpreter<FakeInterpreter>>(KZu_TEXTSCRIPTINTERPRETER));
        m_interpreters.append(kzMakeRecord<CKzIfc_TagDescription<FakeInterpreter>>(KZu_TAGDESCRIPTION));
        m_interpreters.nameOnce("fake");
        *m_self.out() = m_polymorph.spawn();
    }
    IKzUnknown* object() const { return m_self.raw(); }
    void release() {
        m_application.clear();
        m_self.clear();
    }

    KzResult mod_Generate(const char* name, const KzGuid* iid, IKzUnknown** made) override {
        if (std::strcmp(name, "fake") != 0 || *iid != KZu_TEXTSCRIPTINTERPRETER) return KZe_NOTFOUND;
        *made = m_interpreters.spawn(iid);
        return KZe_OK;
    }
    std::uint32_t tag_Count() override { return static_cast<std::uint32_t>(records.size()); }
    KzResult tag_Describe(std::uint32_t index, KzTagRecord* record) override {
        if (index >= records.size()) return KZe_OUTOFBOUNDS;
        *record = records[index];
        return KZe_OK;
    }
    KzResult need_SetContext(IKzUnknown* application) override {
        m_application.set(application);
        return contextCode;
    }

    std::vector<KzTagRecord> records = {{"server", "fake", &KZu_TEXTSCRIPTINTERPRETER}};
    KzResult contextCode = KZe_OK;

private:
    CKzStaticPolymorph m_polymorph{this};
    CKzPolymorph<FakeInterpreter> m_interpreters;
    CKzLoc_Unknown m_self;
    CKzLoc_Unknown m_application;
};
