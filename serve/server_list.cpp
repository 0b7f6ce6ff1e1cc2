// The list of blessed servers.
#include "serve/server_list.h"

#include "module/checks.h"
#include "module/output.h"
#include "module/py_lock.h"
#include "wrap/result_codes.h"

#include "kz/base/forever.h"
#include "kz/guid.h"
#include "kz/result.h"

#include <deque>
#include <map>
#include <mutex>
#include <string_view>
#include <tuple>

namespace {

// The GUID service, fetched once.
class CGuids {
public:
    CKzUser_GUIDService& service() {
        const std::lock_guard lock(m_lock);
        if (!m_service) kzTakeService(m_service);
        return m_service;
    }
    void release() noexcept {
        const std::lock_guard lock(m_lock);
        m_service.clear();
    }

private:
    std::mutex m_lock;
    CKzUser_GUIDService m_service;
};

CKzForever<CGuids> theGuids;

PyObject* newInstance(const CKzPythonPolymorph& polymorph) {
    PyObject* instance = polymorph.makeInstance();
    if (instance != nullptr) return instance;
    polymorph.explainSilentFailure();
    kzResultOfPending();
    throw KZe_FAILED;
}

}  // namespace

struct CServerList::State {
    // The key of the index, ordered by name and then by type. The name points into an entry, or to the text looked for.
    struct NameAndType {
        std::string_view name;
        KzGuid type;
        bool operator<(const NameAndType& other) const noexcept {
            if (const int order = name.compare(other.name); order != 0) return order < 0;
            const auto fields = [](const KzGuid& guid) { return std::tie(guid.data1, guid.data2, guid.data3); };
            if (fields(type) != fields(other.type)) return fields(type) < fields(other.type);
            return std::memcmp(type.data4, other.type.data4, sizeof type.data4) < 0;
        }
    };

    mutable std::mutex lock;
    std::deque<CServerData> servers;
    std::map<NameAndType, std::uint32_t> index;
};

CServerList::CServerList() : m_state(*new State()) {}

// Constructed at load, because unload must not allocate memory.
static CKzForever<CServerList> theList;

CServerList& CServerList::instance() { return *theList; }

void CServerList::add(const char* name, const KzGuid* type, CKzPythonPolymorph& polymorph, PyObject* tags) {
    kzTrue(!find(name, type));
    const std::lock_guard lock(m_state.lock);
    const CServerData& server = m_state.servers.emplace_back(CServerData{name, type, &polymorph, CPyRef(tags)});
    m_state.index[{server.name, *type}] = static_cast<std::uint32_t>(m_state.servers.size() - 1);
}

std::uint32_t CServerList::count() const {
    const std::lock_guard lock(m_state.lock);
    return static_cast<std::uint32_t>(m_state.servers.size());
}

const CServerData& CServerList::at(std::uint32_t index) const {
    const std::lock_guard lock(m_state.lock);
    return m_state.servers.at(index);
}

std::optional<std::uint32_t> CServerList::find(const char* name, const KzGuid* type) const {
    const std::lock_guard lock(m_state.lock);
    const auto entry = m_state.index.find({name, *type});
    if (entry == m_state.index.end()) return std::nullopt;
    return entry->second;
}

IKzUnknown* CServerList::spawn(std::uint32_t index) const {
    const CServerData& server = at(index);
    const CPyLock lock(server.name.c_str());
    kzSetQuiet(false);
    KzResult code = KZe_FAILED;
    try {
        const CPyRefNull instance(newInstance(*server.polymorph));
        return kzNonNull(server.polymorph->spawnFor(instance));
    } catch (...) {
        code = kzCodeOfException();
    }
    kzWrite(("Spawning Python server failed: " + server.name).c_str(), code);
    throw code;
}

void CServerList::releaseTags() {
    for (CServerData& server : m_state.servers) server.tags = Py_None;
}

const KzGuid* kzServerType(const KzGuid& iid) { return static_cast<const KzGuid*>(theGuids->service().Global(&iid)); }

KzGuid kzGuidOfText(const char* text) {
    KzGuid iid{};
    kzTrue(kzSucceeded(theGuids->service().FromText(text, &iid)));
    return iid;
}

void kzReleaseServerServices() noexcept { theGuids->release(); }
