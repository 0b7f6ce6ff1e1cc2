// Loaded modules and their servers.
#include "host/core/module_table.h"

#include "host/state/text.h"

#include "kz/base/object_output.h"
#include "kz/result.h"
#include "kz/tables.h"

#include <dlfcn.h>

#include <algorithm>
#include <filesystem>
#include <iterator>

namespace kzhost {

namespace {

KzResult generate(const KzServer& server, CKzLoc_Unknown& object) {
    return kzTakeOutput(
        object, [&](IKzUnknown** output) { return server.module.Generate(server.name.c_str(), &server.iid, output); });
}

KzTags readTags(IKzUnknown* object) {
    KzTags tags;
    const CKzUser_TagDescription description(object);
    const std::uint32_t count = description.Count();
    for (std::uint32_t index = 0; index < count; ++index) {
        KzTagRecord record{};
        if (kzSucceeded(description.Describe(index, &record)))
            tags.emplace_back(kzString(record.type), kzString(record.tag));
    }
    return tags;
}

bool isSame(const KzServer& one, const KzServer& other) { return one.name == other.name && one.iid == other.iid; }

std::string keyOf(std::string_view className, std::string_view name) {
    return std::string(className).append(1, '\n').append(name);
}

// Whether the module's list still has the server in its place.
bool isListed(const KzServer& server) {
    const CKzUser_TagDescription description(server.module.raw());
    KzTagRecord record{};
    return kzSucceeded(description.Describe(server.record, &record)) && kzString(record.type) == "server" &&
           record.info != nullptr && kzString(record.tag) == server.name && *record.info == server.iid;
}

}  // namespace

CLibrary::~CLibrary() {
    if (m_handle != nullptr && m_closes) dlclose(m_handle);
}

bool CLibrary::open(const std::string& path, std::string& why) {
    m_handle = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (m_handle == nullptr) why = kzString(dlerror());
    return m_handle != nullptr;
}

void* CLibrary::symbol(const char* name, std::string& why) const {
    void* address = dlsym(m_handle, name);
    if (address == nullptr) why = kzString(dlerror());
    return address;
}

KzServer& KzServer::operator=(const KzServer& other) {
    name = other.name;
    iid = other.iid;
    className = other.className;
    moduleName = other.moduleName;
    record = other.record;
    module.copy(other.module);
    return *this;
}

std::string kzClassNameOf(const KzGuid& iid) {
    for (const KzIdentityRow& row : kzIdentityRows)
        if (row.iid == iid) return kzString(row.server);
    return {};
}

void CModuleTable::Source::add(std::vector<KzServer> more) {
    for (KzServer& server : more) {
        index.try_emplace(keyOf(server.className, server.name), servers.size());
        servers.push_back(std::move(server));
    }
}

bool CModuleTable::load(const std::string& path, std::string& why) {
    const CKzLoc_Unknown application(m_application);
    auto library = std::make_unique<CLibrary>();
    if (m_closesLibraries) library->closeOnDestruction();
    if (!library->open(path, why)) return false;
    using Create = IKzUnknown* (*)();
    const auto create = reinterpret_cast<Create>(library->symbol("_IKzModule_Create", why));
    if (create == nullptr) return false;
    CKzLoc_Unknown object;
    *object.out() = create();
    if (!object) {
        why = path + ": the module could not be initialised";
        return false;
    }
    const std::string name = std::filesystem::path(path).stem().string();
    if (const KzResult code = adopt(name, path, object.raw(), application.raw()); kzFailed(code)) {
        why = path + ": the module refuses its host (" + kzCodeName(code) + ")";
        return false;
    }
    const std::lock_guard lock(m_lock);
    for (const auto& source : m_sources)
        if (source->path == path && !source->isInner) source->library = std::move(library);
    return true;
}

KzResult CModuleTable::adopt(const std::string& name, const std::string& path, IKzUnknown* object,
                             IKzUnknown* application) {
    auto source = std::make_shared<Source>();
    source->name = name;
    source->path = path;
    if (!source->module.set(object)) return KZe_NOINTERFACE;
    if (const CKzUser_NeedContext context(object); context)
        if (const KzResult code = context->SetContext(application); kzFailed(code)) return code;
    read(*source);
    {
        const std::lock_guard lock(m_lock);
        m_sources.push_back(source);
    }
    readInner(*source);
    if (m_whenListed) m_whenListed();
    return KZe_OK;
}

std::vector<KzServer> CModuleTable::describe(const Source& source, std::uint32_t from, std::uint32_t to) {
    std::vector<KzServer> list;
    const CKzUser_TagDescription description(source.module.raw());
    for (std::uint32_t index = from; index < to; ++index) {
        KzTagRecord record{};
        if (kzFailed(description.Describe(index, &record)) || kzString(record.type) != "server" ||
            record.info == nullptr)
            continue;
        KzServer server;
        server.name = kzString(record.tag);
        server.iid = *record.info;
        server.className = kzClassNameOf(server.iid);
        server.moduleName = source.name;
        server.record = index;
        server.module.copy(source.module);
        list.push_back(server);
    }
    return list;
}

// Asks the module without the lock, as it may call back.
void CModuleTable::read(Source& source) const {
    const std::uint32_t count = CKzUser_TagDescription(source.module.raw()).Count();
    std::vector<KzServer> list = describe(source, 0, count);
    const std::lock_guard lock(m_lock);
    ++m_changes;
    source.servers.clear();
    source.index.clear();
    source.add(std::move(list));
    source.records = count;
    source.isStale = false;
}

// False if the list has changed in any other way than growing at its end.
bool CModuleTable::readEnd(Source& source, std::vector<KzServer>& added) {
    const std::uint32_t count = CKzUser_TagDescription(source.module.raw()).Count();
    const std::uint32_t former = source.records;
    if (former == 0 || count <= former) return false;
    std::vector<KzServer> end = describe(source, former - 1, count);
    const std::lock_guard lock(m_lock);
    const bool hasGrown = source.records == former && !end.empty() && !source.servers.empty() &&
                          isSame(end.front(), source.servers.back());
    if (!hasGrown) return false;
    end.erase(end.begin());
    added.insert(added.end(), end.begin(), end.end());
    source.add(std::move(end));
    ++m_changes;
    source.records = count;
    source.isStale = true;
    return true;
}

void CModuleTable::refresh() const {
    std::vector<std::shared_ptr<Source>> stale;
    {
        const std::lock_guard lock(m_lock);
        std::copy_if(m_sources.begin(), m_sources.end(), std::back_inserter(stale),
                     [](const auto& source) { return source->isStale; });
    }
    for (const auto& source : stale) read(*source);
}

// A module may serve modules: sources of further servers, which may change at any time.
void CModuleTable::readInner(const Source& outer) {
    for (const KzServer& server : outer.servers) {
        if (server.iid != KZu_MODULE) continue;
        CKzLoc_Unknown object;
        if (kzFailed(generate(server, object))) continue;
        auto inner = std::make_shared<Source>();
        inner->name = server.name;
        inner->path = outer.path;
        inner->isInner = true;
        if (!inner->module.set(object.raw())) continue;
        read(*inner);
        const std::lock_guard lock(m_lock);
        m_sources.push_back(inner);
    }
}

KzResult CModuleTable::update(std::string_view name, std::vector<KzServer>& added) {
    std::vector<std::shared_ptr<Source>> sources;
    {
        const std::lock_guard lock(m_lock);
        for (const auto& source : m_sources)
            if (source->name == name) sources.push_back(source);
    }
    for (const auto& source : sources) {
        if (readEnd(*source, added)) continue;
        const std::vector<KzServer> former = source->servers;
        read(*source);
        const auto isNew = [&](const KzServer& server) {
            return std::none_of(former.begin(), former.end(),
                                [&](const KzServer& each) { return isSame(each, server); });
        };
        std::copy_if(source->servers.begin(), source->servers.end(), std::back_inserter(added), isNew);
    }
    return sources.empty() ? KZe_NOTFOUND : KZe_OK;
}

bool CModuleTable::remove(std::string_view pathOrName) {
    std::vector<std::shared_ptr<Source>> removal;
    {
        const std::lock_guard lock(m_lock);
        const auto outer = std::find_if(m_sources.begin(), m_sources.end(), [&](const auto& source) {
            return !source->isInner && (source->name == pathOrName || source->path == pathOrName);
        });
        if (outer == m_sources.end()) return false;
        const std::string path = (*outer)->path;
        const auto ours = [&](const auto& source) { return source->path == path; };
        std::copy_if(m_sources.begin(), m_sources.end(), std::back_inserter(removal), ours);
        std::erase_if(m_sources, ours);
        ++m_changes;
    }
    for (const auto& source : removal) source->servers.clear(), source->index.clear();
    while (!removal.empty()) removal.pop_back();  // the outer one was first in, so its object goes last
    if (m_whenListed) m_whenListed();
    return true;
}

void CModuleTable::clear() {
    for (;;) {
        std::string path;
        {
            const std::lock_guard lock(m_lock);
            const auto outer =
                std::find_if(m_sources.rbegin(), m_sources.rend(), [](const auto& each) { return !each->isInner; });
            if (outer == m_sources.rend()) return;
            path = (*outer)->path;
        }
        remove(path);
    }
}

std::vector<KzServer> CModuleTable::servers(std::string_view className) const {
    refresh();
    const std::lock_guard lock(m_lock);
    std::vector<KzServer> list;
    for (const auto& source : m_sources)
        for (const KzServer& server : source->servers)
            if (className.empty() || server.className == className) list.push_back(server);
    return list;
}

std::vector<std::string> CModuleTable::classNames() const {
    std::vector<std::string> names;
    for (const KzServer& server : servers())
        if (std::find(names.begin(), names.end(), server.className) == names.end()) names.push_back(server.className);
    return names;
}

std::optional<KzServer> CModuleTable::find(std::string_view className, std::string_view name) const {
    const std::string key = keyOf(className, name);
    auto found = match(key);
    if (!found || (found->isStale && !isListed(found->server))) {
        refresh();
        found = match(key);
    }
    return found ? std::optional(found->server) : std::nullopt;
}

std::optional<CModuleTable::Match> CModuleTable::match(const std::string& key) const {
    const std::lock_guard lock(m_lock);
    for (const auto& source : m_sources)
        if (const auto entry = source->index.find(key); entry != source->index.end())
            return Match{source->servers[entry->second], source->isStale};
    return {};
}

std::vector<std::pair<std::string, std::string>> CModuleTable::modules() const {
    const std::lock_guard lock(m_lock);
    std::vector<std::pair<std::string, std::string>> list;
    for (const auto& source : m_sources) list.emplace_back(source->name, source->path);
    return list;
}

std::uint64_t CModuleTable::changes() const {
    const std::lock_guard lock(m_lock);
    return m_changes;
}

CKzLoc_Unknown& CModuleTable::spawn(const KzServer& server, CKzLoc_Unknown& object) {
    if (const KzResult code = generate(server, object); kzFailed(code)) throw code;
    if (!object) throw KZe_FAILED;
    return object;
}

KzTags CModuleTable::tagsOf(const KzServer& server) {
    CKzLoc_Unknown tags;
    const auto getTags = [&](IKzUnknown** output) {
        return server.module.GetTags(server.name.c_str(), &server.iid, output);
    };
    if (kzSucceeded(kzTakeOutput(tags, getTags)) && tags) return readTags(tags.raw());
    try {
        CKzLoc_Unknown instance;
        return readTags(spawn(server, instance).raw());
    } catch (KzResult) {
        return {};
    }
}

}  // namespace kzhost
