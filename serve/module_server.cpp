// The module server, and the tags of its servers.
#include "serve/module_server.h"

#include "module/checks.h"
#include "module/explain.h"
#include "module/py_lock.h"
#include "serve/reasons.h"
#include "serve/server_list.h"
#include "wrap/dict_pairs.h"
#include "wrap/dict_texts.h"

#include "kz/base/forever.h"
#include "kz/result.h"

namespace Python_Module {

namespace {

constexpr const char* dictionaryName = "dict-as-tags";

// Hands out pairs of texts as tags. The texts live as long as the object.
class CDictionary final : public CDictPairs, public CKzImpl_TagDescription {
public:
    std::uint32_t tag_Count() override { return count(); }
    KzResult tag_Describe(std::uint32_t index, KzTagRecord* record) override {
        if (index >= count()) return KZe_OUTOFBOUNDS;
        if (record == nullptr) return KZe_INVALIDARG;
        *record = {names[index].c_str(), values[index].c_str(), nullptr};
        return KZe_OK;
    }
};

class CDictionaryPolymorph final : public CKzPolymorph<CDictionary> {
public:
    CDictionaryPolymorph() { append(kzMakeRecord<CKzIfc_TagDescription<CDictionary>>()); }
};

CDictionaryPolymorph& dictionaries() {
    static CKzForever<CDictionaryPolymorph> thePolymorph;
    return *thePolymorph;
}

class CModule final : public CKzImpl_Module, public CKzImpl_TagDescription {
public:
    KzResult mod_Generate(const char* name, const KzGuid* iid, IKzUnknown** object) override {
        if (name == nullptr || iid == nullptr || object == nullptr) return KZe_INVALIDARG;
        *object = nullptr;
        const CPyLock lock;
        *object = CServerList::instance().spawn(find(name, *iid));
        return KZe_OK;
    }

    KzResult mod_GetTags(const char* name, const KzGuid* iid, IKzUnknown** tags) override {
        if (name == nullptr || iid == nullptr || tags == nullptr) return KZe_INVALIDARG;
        *tags = nullptr;
        const CPyLock lock;
        CKzLoc_Unknown dictionary;
        dictionary.take(dictionaries().spawn());
        auto* pairs = static_cast<CDictionary*>(kzNonNull(kzObjectOf(dictionary.raw(), &dictionaries())));
        fill(*pairs, CServerList::instance().at(find(name, *iid)));
        return dictionary.get(tags);
    }

    std::uint32_t tag_Count() override { return CServerList::instance().count(); }
    KzResult tag_Describe(std::uint32_t index, KzTagRecord* record) override {
        if (index >= tag_Count()) return KZe_OUTOFBOUNDS;
        if (record == nullptr) return KZe_INVALIDARG;
        const CServerData& server = CServerList::instance().at(index);
        *record = {"server", server.name.c_str(), server.type};
        return KZe_OK;
    }

private:
    static std::uint32_t find(const char* name, const KzGuid& iid) {
        const KzGuid* type = kzServerType(iid);
        const auto index = type != nullptr ? CServerList::instance().find(name, type) : std::nullopt;
        if (!index) throw KZe_NOTFOUND;
        return *index;
    }

    static void fill(CDictionary& pairs, const CServerData& server) {
        try {
            kzTextsOfDict(server.tags, pairs.names, pairs.values);
        } catch (...) {
            kzValueBoundary([&] {
                kzExplain("the tags of the server \"" + server.name + "\"",
                          "they are lost, because a key or a value has no str() form: " + kzPendingReason());
            });
            PyErr_Clear();
            throw;
        }
    }
};

class CModulePolymorph final : public CKzPolymorph<CModule> {
public:
    CModulePolymorph() {
        append(kzMakeRecord<CKzIfc_Module<CModule>>());
        append(kzMakeRecord<CKzIfc_TagDescription<CModule>>());
    }
};

}  // namespace

void registerDictionary(CKzThisModule& module) {
    dictionaries().nameOnce(dictionaryName);
    module.addSpawner(dictionaryName, &dictionaries());
}

void registerServer(CKzThisModule& module) {
    static CKzForever<CModulePolymorph> polymorph;
    module.addServer("python", &*polymorph);
}

}  // namespace Python_Module
