// What this binary's description is, and how it compares with a host's.
#include "kz/base/description.h"

#include "kz/base/object.h"
#include "kz/result.h"
#include "kz/tables.h"

namespace {

class CKzLoc_Description : public CKzLocalize<IKzDescription> {
public:
    const KzGuid& guid() const override { return KZu_DESCRIPTION; }
};

}  // namespace

KzResult CKzImpl_Description::description_Hash(const char** hash) {
    if (hash == nullptr) return KZe_INVALIDARG;
    *hash = kzDescriptionHash;
    return kzOk;
}

KzResult CKzImpl_Description::description_Signature(const KzGuid* iid, std::uint64_t* signature) {
    if (iid == nullptr || signature == nullptr) return KZe_INVALIDARG;
    for (const KzIdentityRow& row : kzIdentityRows)
        if (row.iid == *iid) return *signature = row.signature, kzOk;
    return kzNotFound;
}

std::string kzWhyUnfit(IKzUnknown* application) {
    constexpr std::uint32_t mostNames = 5;
    CKzLoc_Description host;
    const char* hash = nullptr;
    if (!host.set(application) || kzFailed(host->Hash(&hash)) || hash == nullptr) return {};
    const std::string hostHash = hash;  // copied: the host's text may live only until the next call
    if (hostHash == kzDescriptionHash) return {};
    std::string names;
    std::uint32_t count = 0;
    for (const KzIdentityRow& row : kzIdentityRows) {
        std::uint64_t signature = 0;
        if (kzFailed(host->Signature(&row.iid, &signature)) || signature == row.signature) continue;
        if (++count <= mostNames) names += (count > 1 ? ", " : "") + std::string(row.name);
    }
    if (count == 0) return {};
    if (count > mostNames) names += " and " + std::to_string(count - mostNames) + " more";
    return "the host's SDK description is " + hostHash + ", this module's is " + kzDescriptionHash +
           "; interfaces that differ: " + names;
}
