// The module object and its table of servers.
#include "module/this_module.h"

#include "module/gate.h"
#include "module/output.h"
#include "module/runtime.h"

#include "kz/base/boundary.h"
#include "kz/base/description.h"
#include "kz/base/forever.h"
#include "kz/result.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

CServerTable::Reallocate theReallocate = std::realloc;
constexpr std::uint32_t growth = 20;

template <class Entry> bool resize(Entry*& entries, std::uint32_t capacity) noexcept {
    auto* grown = static_cast<Entry*>(theReallocate(entries, capacity * sizeof(Entry)));
    if (grown != nullptr) entries = grown;
    return grown != nullptr;
}

}  // namespace

void CServerTable::setReallocate(Reallocate reallocate) noexcept {
    theReallocate = reallocate != nullptr ? reallocate : std::realloc;
}

CServerTable::~CServerTable() {
    std::free(m_polymorphs);
    std::free(m_names);
    std::free(m_classIds);
}

void CServerTable::grow() {
    const std::uint32_t capacity = m_capacity + growth;
    if (!resize(m_polymorphs, capacity) || !resize(m_names, capacity) || !resize(m_classIds, capacity)) {
        m_count = 0;
        throw KZe_OUTOFMEMORY;
    }
    m_capacity = capacity;
}

void CServerTable::add(const char* name, CKzGenericPolymorph* polymorph) {
    if (m_count == m_capacity) grow();
    polymorph->nameOnce(name);
    m_polymorphs[m_count] = polymorph;
    m_names[m_count] = name;
    m_classIds[m_count] = polymorph->firstInterface();
    ++m_count;
}

CKzThisModule::CKzThisModule() {
    append(kzMakeRecord<CKzIfc_Module<CKzThisModule>>());
    append(kzMakeRecord<CKzIfc_TagDescription<CKzThisModule>>());
    append(kzMakeRecord<CKzIfc_NeedContext<CKzThisModule>>());
    nameOnce("module");
}

CKzThisModule& CKzThisModule::instance() {
    static CKzForever<CKzThisModule> theModule;
    return *theModule;
}

IKzUnknown* CKzThisModule::create(std::span<const Registration> registrations) noexcept {
    if (m_state == shutDown) {
        // The host has not passed its log yet, so standard error is the best place.
        std::fputs("kzPython2: the module has been unloaded in this process, and Python cannot start twice in one\n",
                   stderr);
        return nullptr;
    }
    return kzValueBoundary([&]() -> IKzUnknown* {
        if (m_firstCall) {
            m_servers.clear();  // of what an earlier, failed attempt has left
            for (const Registration registration : registrations) registration(*this);
            runInitialisers();
            m_state = initialised;
            m_firstCall = false;
        }
        return spawn();
    });
}

void CKzThisModule::addServer(const char* name, CKzGenericPolymorph* polymorph) { m_servers.add(name, polymorph); }

KzResult CKzThisModule::mod_Generate(const char* name, const KzGuid* iid, IKzUnknown** object) {
    if (name == nullptr || iid == nullptr || object == nullptr) return KZe_INVALIDARG;
    *object = nullptr;
    for (std::uint32_t index = 0; index < m_servers.count(); ++index) {
        const KzGuid* classId = m_servers.classId(index);
        if (classId == nullptr || *classId != *iid || std::strcmp(m_servers.name(index), name) != 0) continue;
        *object = m_servers.polymorph(index)->spawn(iid);
        return *object != nullptr ? KZe_OK : KZe_FAILED;
    }
    return KZe_NOTFOUND;
}

KzResult CKzThisModule::tag_Describe(std::uint32_t index, KzTagRecord* record) {
    if (index >= m_servers.count()) return KZe_OUTOFBOUNDS;
    if (record == nullptr) return KZe_INVALIDARG;
    *record = {"server", m_servers.name(index), m_servers.classId(index)};
    return KZe_OK;
}

KzResult CKzThisModule::need_SetContext(IKzUnknown* application) {
    const std::string why = kzWhyUnfit(application);
    setApplication(application);
    if (why.empty() && !m_isUnfit) return KZe_OK;
    m_isUnfit = true;
    CGate::close();
    kzLog(("the module refuses its host: " + why).c_str(), KZe_NOTSUPPORTED);
    setApplication(nullptr);
    return KZe_NOTSUPPORTED;
}

void CKzThisModule::freeObject(void* /*object*/) noexcept {
    if (hasInstances() || m_state != initialised) return;
    const bool hasEnded = PythonRuntime::stop();
    m_state = shutDown;
    if (hasEnded) destroyCache();  // otherwise the threads inside still use the host
}
