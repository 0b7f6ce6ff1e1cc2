// The keyword arguments of one kz.command call, and their factory.
#include "kzmod/arg_attrib.h"

#include "module/checks.h"

#include "kz/base/forever.h"
#include "kz/base/global_cache.h"
#include "kz/result.h"

#include <cstring>

namespace {

constexpr const char* spawnerName = "pyArgAttrib";

// Found under its name by every call but the first.
CKzGenericPolymorph* factory() {
    CKzGlobalCache* cache = kzNonNull(CKzGlobalCache::current());
    if (CKzGenericPolymorph* known = cache->findSpawner(spawnerName)) return known;
    static CKzForever<CKzPolymorph<CArgAttrib>> polymorph;
    if (polymorph->recordCount() == 0) {
        polymorph->nameOnce(spawnerName);
        polymorph->append(kzMakeRecord<CKzIfc_Attributes<CArgAttrib>>());
    }
    cache->addSpawner(spawnerName, &*polymorph);
    return &*polymorph;
}

// Required as it is: only an index greater than the count is out of bounds. A host that reads one past the end to see
// whether it has read everything relies on that; it gets an empty text.
std::string_view textAt(const std::vector<std::string>& texts, std::uint32_t index) {
    if (index > texts.size()) throw KZe_OUTOFBOUNDS;
    return index < texts.size() ? texts[index] : std::string_view("");
}

}  // namespace

KzResult CArgAttrib::attr_Name(std::uint32_t index, const char** name) {
    *name = textAt(names, index).data();
    return KZe_OK;
}

KzResult CArgAttrib::attr_GetString(std::uint32_t index, char* buffer, std::uint32_t length) {
    const std::string_view text = textAt(values, index);
    if (length <= text.size()) return KZe_SHORTBUFFER;
    std::memcpy(buffer, text.data(), text.size() + 1);
    return KZe_OK;
}

CArgAttrib& kzSpawnArguments(CKzLoc_Attributes& attributes) {
    CKzGenericPolymorph* polymorph = factory();
    kzTrue(attributes.take(polymorph->spawn(&KZu_ATTRIBUTES)));
    return *static_cast<CArgAttrib*>(kzNonNull(kzObjectOf(attributes.raw(), polymorph)));
}
