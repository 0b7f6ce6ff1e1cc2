// The GUID service: the names of the SDK's identifiers.
#include "host/services/guid_service.h"

#include "host/core/object.h"
#include "host/core/reasons.h"
#include "host/core/service_base.h"
#include "host/state/text.h"

#include "kz/guid.h"
#include "kz/result.h"
#include "kz/tables.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace kzhost {

namespace {

const KzIdentityRow* findRow(const KzGuid* iid) {
    if (iid == nullptr) return nullptr;
    const auto match = std::find_if(std::begin(kzIdentityRows), std::end(kzIdentityRows),
                                    [iid](const KzIdentityRow& row) { return row.iid == *iid; });
    return match != std::end(kzIdentityRows) ? match : nullptr;
}

class CGuidService final : public CHosted<"GUID service", CGuidService, CKzIfc_GUIDService>, CServiceBase {
public:
    using CServiceBase::CServiceBase;

    KzResult guidservice_ClassName(const KzGuid* iid, const char** name) override {
        enter("GUID.ClassName");
        const KzIdentityRow* row = findRow(iid);
        if (row == nullptr || row->server == nullptr) return KZe_NOTFOUND;
        *name = row->server;
        return KZe_OK;
    }
    KzResult guidservice_LookupName(const char* name, const KzGuid** iid) override {
        enter("GUID.LookupName");
        for (const KzIdentityRow& row : kzIdentityRows) {
            if (row.server == nullptr || kzTextOf(name) != row.server) continue;
            *iid = &row.iid;
            return KZe_OK;
        }
        return kzBecause(KZe_NOTFOUND, "GUID.LookupName",
                         [&] { return "there is no server class \"" + kzString(name) + "\""; });
    }
    KzResult guidservice_FromText(const char* text, KzGuid* iid) override {
        enter("GUID.FromText");
        const auto parsed = kzGuidOfText(kzTextOf(text));
        if (!parsed)
            return kzBecause(KZe_INVALIDARG, "GUID.FromText",
                             [&] { return kzIsNot(kzTextOf(text), "8-4-4-4-12 hexadecimal digits"); });
        *iid = *parsed;
        return KZe_OK;
    }
    KzResult guidservice_ToText(const KzGuid* iid, char* buffer, std::uint32_t length) override {
        enter("GUID.ToText");
        return iid != nullptr ? kzFillText(kzGuidText(*iid), buffer, length) : KZe_INVALIDARG;
    }
    void* guidservice_Global(const KzGuid* iid) override {
        enter("GUID.Global");
        const KzIdentityRow* row = findRow(iid);
        // The interface has a non-const pointer, though nobody may change an identifier.
        return row != nullptr ? const_cast<KzGuid*>(&row->iid) : nullptr;
    }
    bool guidservice_IsKnown(const KzGuid* iid) override {
        enter("GUID.IsKnown");
        return findRow(iid) != nullptr;
    }
    KzResult guidservice_KnownCount(std::uint32_t* count) override {
        enter("GUID.KnownCount");
        *count = static_cast<std::uint32_t>(std::size(kzIdentityRows));
        return KZe_OK;
    }
    KzResult guidservice_KnownByIndex(std::uint32_t index, const KzGuid** iid) override {
        enter("GUID.KnownByIndex");
        if (index >= std::size(kzIdentityRows)) return KZe_OUTOFBOUNDS;
        *iid = &kzIdentityRows[index].iid;
        return KZe_OK;
    }
};

}  // namespace

decltype(kzMakeGuidService) kzMakeGuidService = kzMakeService<CGuidService>;

}  // namespace kzhost
