// The keyword arguments of one kz.command call, and their polymorph.
#include "kzmod/arg_attrib.h"

#include "module/checks.h"

#include "kz/base/forever.h"
#include "kz/base/global_cache.h"
#include "kz/result.h"

#include <cstring>

namespace {

constexpr const char* spawnerName = "pyArgAttrib";

// Registered as a spawner by the first call.
CKzGenericPolymorph* argumentPolymorph() {
    CKzGlobalCache* cache = kzNonNull(CKzGlobalCache::current());
    if (CKzGenericPolymorph* registered = cache->findSpawner(spawnerName)) return registered;
    static CKzForever<CKzPolymorph<CArgAttrib>> polymorph;
    if (polymorph->recordCount() == 0) {
        polymorph->nameOnce(spawnerName);
        polymorph->append(kzMakeRecord<CKzIfc_Attributes<CArgAttrib>>());
    }
    cache->addSpawner(spawnerName, &*polymorph);
    return &*polymorph;
}

// Required behaviour: only an index greater than the count is out of bounds. Hosts rely on it when they read one past the
// end to see whether they have read everything; they get an empty text there.
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
    CKzGenericPolymorph* polymorph = argumentPolymorph();
    kzTrue(attributes.take(polymorph->spawn(&KZu_ATTRIBUTES)));
    return *static_cast<CArgAttrib*>(kzNonNull(kzObjectOf(attributes.raw(), polymorph)));
}
