// The types of items that packages of modules add.
#pragma once

#include "host/core/module_table.h"
#include "host/document/item_types.h"

#include "kz/package.h"

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace kzhost {

// The object that answers for the items of a type.
struct Package {
    std::string name;
    std::uint32_t version = 0;
    const ItemType* type = nullptr;              // null for a guest: a package on items of other types
    std::vector<ChannelInfo> channels;           // of a guest
    std::set<std::string, std::less<>> targets;  // the types that take a guest
    bool isAutomatic = false;                    // every new item of these types has the guest
    CKzUser_Package object;

    bool takes(const ItemType& item) const;
};
using PackageRef = std::shared_ptr<const Package>;

class CPackageTypes {
public:
    explicit CPackageTypes(std::shared_ptr<CModuleTable> modules) : m_modules(std::move(modules)) {}

    // Declares the types of the packages that modules offer now. Whatever is wrong with one goes to the log, and it has no
    // type until the servers of modules change again. The lock of the documents must not be held.
    void update();
    // Declares that of one package. False, for now, if the type that it is based on is not there.
    bool declare(const KzServer& server);
    bool empty() const noexcept { return m_isEmpty; }
    // Of the type and of those that it is based on, the basic ones first.
    std::vector<PackageRef> of(const ItemType& type) const;
    // The guests that every new item of the type has.
    std::vector<PackageRef> automatic(const ItemType& type) const;
    // Null if there is none of that name.
    PackageRef find(std::string_view name) const;
    std::vector<PackageRef> all() const;
    // Releases the objects, before their modules go. The types stay.
    void clear();

private:
    bool declareGuest(const KzServer& server, ItemTypeDeclaration declaration);
    void add(const std::string& name, std::shared_ptr<Package> package);

    std::shared_ptr<CModuleTable> m_modules;
    mutable std::mutex m_lock;  // never held while a package is called
    std::map<std::string, PackageRef, std::less<>> m_packages;
    std::set<std::string, std::less<>> m_inWork;
    std::uint64_t m_seen = UINT64_MAX;  // the changes of the modules after which all were declared
    std::atomic<bool> m_isEmpty = true;
};

}  // namespace kzhost
