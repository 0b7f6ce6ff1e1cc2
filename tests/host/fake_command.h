// A module that offers one command, "fake.add", which takes its arguments as numbers only.
#pragma once

#include "kz/base/global_cache.h"
#include "kz/command.h"
#include "kz/module.h"
#include "kz/result.h"
#include "kz/value.h"

#include <cstring>

struct FakeCommand : CKzImpl_Command, CKzImpl_Attributes {
    inline static int theSum = 0;
    inline static KzResult theCode = 0;

    KzResult cmd_Execute(std::uint32_t /*flags*/) override {
        theSum = values[0] + values[1];
        return theCode;
    }
    KzResult cmd_Query(std::uint32_t /*index*/, IKzUnknown* array) override {
        return CKzUser_ValueArray(array).AddInt(theSum);
    }
    std::uint32_t attr_Count() override { return 2; }
    KzResult attr_Name(std::uint32_t index, const char** name) override {
        *name = index == 0 ? "left" : "right";
        return KZe_OK;
    }
    KzResult attr_TypeName(std::uint32_t /*index*/, const char** type) override {
        *type = "integer";
        return KZe_OK;
    }
    KzResult attr_SetInt(std::uint32_t index, std::int32_t value) override {
        values[index] = value;
        return KZe_OK;
    }
    KzResult attr_SetFlt(std::uint32_t /*index*/, double /*value*/) override { return KZe_INVALIDARG; }
    int values[2] = {0, 0};
};

class FakeCommandModule : public CKzImpl_Module, public CKzImpl_TagDescription {
public:
    FakeCommandModule() {
        m_polymorph.append(kzMakeRecord<CKzIfc_Module<FakeCommandModule>>(KZu_MODULE));
        m_polymorph.append(kzMakeRecord<CKzIfc_TagDescription<FakeCommandModule>>(KZu_TAGDESCRIPTION));
        m_commands.append(kzMakeRecord<CKzIfc_Command<FakeCommand>>(KZu_COMMAND));
        m_commands.append(kzMakeRecord<CKzIfc_Attributes<FakeCommand>>(KZu_ATTRIBUTES));
        *m_self.out() = m_polymorph.spawn();
    }
    IKzUnknown* object() const { return m_self.raw(); }
    void release() { m_self.clear(); }

    KzResult mod_Generate(const char* name, const KzGuid* iid, IKzUnknown** made) override {
        if (std::strcmp(name, "fake.add") != 0 || *iid != KZu_COMMAND) return KZe_NOTFOUND;
        *made = m_commands.spawn(iid);
        return KZe_OK;
    }
    std::uint32_t tag_Count() override { return 1; }
    KzResult tag_Describe(std::uint32_t /*index*/, KzTagRecord* record) override {
        *record = {"server", "fake.add", &KZu_COMMAND};
        return KZe_OK;
    }

private:
    CKzStaticPolymorph m_polymorph{this};
    CKzPolymorph<FakeCommand> m_commands;
    CKzLoc_Unknown m_self;
};
