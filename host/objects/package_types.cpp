// The types of items that packages of modules add.
#include "host/objects/package_types.h"

#include "host/core/reasons.h"
#include "host/document/described_types.h"
#include "host/objects/add_channel.h"
#include "host/state/text.h"

#include "kz/result.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <iterator>
#include <sstream>
#include <utility>

namespace kzhost {

namespace {

// Says why there is no type for the package.
template <class Reason> void refuse(KzResult code, const KzServer& server, const Reason& reason) {
    kzBecause(code, "Package", [&] {
        return fmt::format("the package \"{}\" adds no item type: {}", server.name, std::string(reason()));
    });
}

// The same package may have been there before: for an earlier host, or in a module that was loaded again.
const ItemType* typeFor(const KzServer& server, ItemTypeDeclaration declaration, const ItemType& base) {
    CItemTypeTable& table = kzItemTypeTable();
    if (const ItemType* known = table.find(declaration.name)) {
        if (kzIsDescribedBy(*known, declaration, base)) return known;
        refuse(KZe_ALREADYEXISTS, server, [&] {
            return table.isOwn(*known) ? "there is a type of that name"
                                       : "there was a type of that name with other channels, which stays until the end";
        });
        return nullptr;
    }
    try {
        return &table.add(std::move(declaration));
    } catch (KzResult code) {
        refuse(code, server, [&] { return kzCodeName(code); });
        return nullptr;
    }
}

// Null, with the reason in the log, if its channels cannot be set up. They are left in the declaration.
std::shared_ptr<Package> makePackage(const KzServer& server, const ItemType& base, ItemTypeDeclaration& declaration) {
    auto package = std::make_shared<Package>();
    const auto channels = std::make_shared<CTypeChannels>(base, server.name);
    KzResult code = KZe_OK;
    try {
        CKzLoc_Unknown object, added;
        if (!package->object.set(CModuleTable::spawn(server, object).raw())) throw KZe_NOINTERFACE;
        *added.out() = kzMakeAddChannel(channels, {});
        code = package->object.SetupChannels(added.raw());
    } catch (KzResult thrown) {
        code = thrown;
    }
    declaration.channels = channels->finish();
    if (kzFailed(code) && code != KZe_NOTIMPL) {
        refuse(code, server, [&] { return "SetupChannels ended with " + kzCodeName(code); });
        return nullptr;
    }
    const auto version = declaration.tags.find(KZs_PKGTAG_VERSION);
    if (version != declaration.tags.end())
        std::from_chars(version->second.data(), version->second.data() + version->second.size(), package->version);
    package->name = server.name;
    return package;
}

}  // namespace

// Packages that are based on each other come in any order.
void CPackageTypes::update() {
    const std::uint64_t changes = m_modules->changes();
    std::vector<KzServer> servers;
    {
        const std::lock_guard guard(m_lock);
        if (m_seen == changes) return;
    }
    servers = m_modules->servers(KZa_PACKAGE);
    for (bool isGrowing = true; isGrowing && !servers.empty();)
        isGrowing = std::erase_if(servers, [&](const KzServer& server) { return declare(server); }) > 0;
    for (const KzServer& server : servers) {
        const KzTags tags = CModuleTable::tagsOf(server);
        auto tag = std::ranges::find(tags, KZs_PKGTAG_TARGET, &std::pair<std::string, std::string>::first);
        if (tag == tags.end())
            tag = std::ranges::find(tags, KZs_PKGTAG_SUPERTYPE, &std::pair<std::string, std::string>::first);
        refuse(KZe_NOTFOUND, server, [&] {
            return kzThereIsNo("item type", tag != tags.end() ? tag->second : "", kzItemTypes(),
                               [](const ItemType& each) { return each.name; });
        });
    }
    const std::lock_guard guard(m_lock);
    m_seen = changes;
}

bool CPackageTypes::declare(const KzServer& server) {
    {
        const std::lock_guard guard(m_lock);
        if (m_packages.contains(server.name) || !m_inWork.insert(server.name).second) return true;
    }
    struct Work {
        CPackageTypes& types;
        const std::string& name;
        ~Work() {
            const std::lock_guard guard(types.m_lock);
            types.m_inWork.erase(name);
        }
    } const work{*this, server.name};
    ItemTypeDeclaration declaration{.name = server.name, .base = KZsITYPE_ANY, .channels = {}, .tags = {}};
    for (auto& [name, text] : CModuleTable::tagsOf(server)) declaration.tags[name] = text;
    if (declaration.tags.contains(KZs_PKGTAG_TARGET)) return declareGuest(server, std::move(declaration));
    if (const auto tag = declaration.tags.find(KZs_PKGTAG_SUPERTYPE); tag != declaration.tags.end())
        declaration.base = tag->second;
    const ItemType* base = kzFindItemType(declaration.base);
    if (base == nullptr) return false;
    auto package = makePackage(server, *base, declaration);
    if (package == nullptr) return true;
    package->type = typeFor(server, std::move(declaration), *base);
    if (package->type != nullptr) add(server.name, std::move(package));
    return true;
}

bool CPackageTypes::declareGuest(const KzServer& server, ItemTypeDeclaration declaration) {
    std::istringstream targets(declaration.tags.at(KZs_PKGTAG_TARGET));
    std::set<std::string, std::less<>> names{std::istream_iterator<std::string>(targets), {}};
    for (const std::string& name : names)
        if (kzFindItemType(name) == nullptr) return false;
    auto package = makePackage(server, *kzFindItemType(KZiITYPE_ANY), declaration);
    if (package == nullptr) return true;
    package->channels = std::move(declaration.channels);
    package->targets = std::move(names);
    package->isAutomatic = declaration.tags.contains(KZs_PKGTAG_AUTOADD);
    add(server.name, std::move(package));
    return true;
}

void CPackageTypes::add(const std::string& name, std::shared_ptr<Package> package) {
    const std::lock_guard guard(m_lock);
    m_packages.emplace(name, std::move(package));
    m_isEmpty = false;
}

bool Package::takes(const ItemType& item) const {
    for (const ItemType* each = &item; each != nullptr; each = each->super)
        if (targets.contains(std::string_view(each->name))) return true;
    return false;
}

std::vector<PackageRef> CPackageTypes::automatic(const ItemType& type) const {
    std::vector<PackageRef> packages;
    if (m_isEmpty) return packages;
    const std::lock_guard guard(m_lock);
    for (const auto& [name, each] : m_packages)
        if (each->isAutomatic && each->takes(type)) packages.push_back(each);
    return packages;
}

std::vector<PackageRef> CPackageTypes::of(const ItemType& type) const {
    std::vector<PackageRef> packages;
    if (m_isEmpty) return packages;
    const std::lock_guard guard(m_lock);
    for (const ItemType* each = &type; each != nullptr; each = each->super)
        if (const auto entry = m_packages.find(std::string_view(each->name));
            entry != m_packages.end() && entry->second->type == each)
            packages.push_back(entry->second);
    std::ranges::reverse(packages);
    return packages;
}

PackageRef CPackageTypes::find(std::string_view name) const {
    const std::lock_guard guard(m_lock);
    const auto entry = m_packages.find(name);
    return entry != m_packages.end() ? entry->second : nullptr;
}

std::vector<PackageRef> CPackageTypes::all() const {
    std::vector<PackageRef> packages;
    const std::lock_guard guard(m_lock);
    for (const auto& [name, package] : m_packages) packages.push_back(package);
    return packages;
}

void CPackageTypes::clear() {
    std::map<std::string, PackageRef, std::less<>> packages;
    const std::lock_guard guard(m_lock);
    packages.swap(m_packages);
    m_isEmpty = true;
}

}  // namespace kzhost
