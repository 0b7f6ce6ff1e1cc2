// What packages of modules add to items: an instance for each item of their types, from its creation or loading to its
// removal, with data of its own.
#pragma once

#include "host/document/edit.h"
#include "host/document/item_keeper.h"
#include "host/objects/item.h"
#include "host/objects/package_types.h"

#include "kz/block_io.h"

#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace kzhost {

// Identifiers that an import has replaced, by what they are in the file.
using RenamedItems = std::unordered_map<std::string, std::string>;

// An item with the instances of its packages, the basic ones first.
struct ServedItem {
    struct Part {
        PackageRef package;
        CKzUser_PackageInstance instance;
        CKzUser_StreamIO io;        // empty if it has no data of its own
        bool keepsOldData = false;  // which it could not read
    };
    ItemRef item;
    CHostRef<CItem> object;
    std::deque<Part> parts;
    bool isDoomed = false;
    bool hasName = false;  // one of the parts names the item
};
using ServedItemRef = std::shared_ptr<ServedItem>;

// Packages are always called without the lock of the documents. An instance that fails is named in the log: a new item is then
// not made at all, while one that is loaded or comes back keeps its channels and data without it.
class CItemPackages final : public ItemKeeper {
public:
    explicit CItemPackages(std::shared_ptr<CModuleTable> modules) : m_types(std::move(modules)) {}

    CPackageTypes& types() noexcept { return m_types; }
    void tell(const DocumentEvent& event) override;
    void closing(CDocument& document) override;
    // Ends all instances, before their modules go.
    void clear();

    // The instance of the package of that name, or of the one that says that its instances have that interface.
    KzResult instance(const CItem& item, std::string_view type, IKzUnknown** object) const;
    // The package that does not allow the item or one below it to be removed.
    std::optional<std::string> whoKeeps(const CItem& item) const;
    // The items that instances have made inside these, those below included.
    std::vector<CHostRef<CItem>> madeInside(const CItem& item) const;
    // Has the instances write their data to the items: all of the document, or those of an item and of what is below it.
    void collectData(const CDocument& document) const;
    void collectData(const CItem& top) const;

    // Null for an item without instances.
    ServedItemRef find(const Item* item) const;
    // The items of the document that have instances, in the order of their creation.
    std::vector<ServedItemRef> of(const CDocument& document) const;

private:
    friend class CPackageLoad;

    std::vector<ServedItemRef> all(const std::function<bool(const Item&)>& isWanted) const;
    std::vector<ServedItemRef> below(const CItem& top) const;
    // Null if a package refuses the item, or the item has none. An item without a source is its own.
    ServedItemRef begin(const ItemRef& item, CHostRef<CItem> source);
    void added(const ItemRef& item, std::uint32_t flags);
    void readData(ServedItem& served, const RenamedItems& renamed) const;
    static void collectData(const ServedItem& served);
    static void refreshName(ServedItem& served);
    static void end(ServedItem& served);
    void postLoad(CDocument& document);

    CPackageTypes m_types;
    mutable std::mutex m_lock;  // taken below that of the documents, and never held while a package is called
    std::unordered_map<const Item*, ServedItemRef> m_items;
};

// Null in a workspace without packages.
CItemPackages* kzItemPackages(const CWorkspace& workspace);
// Makes the types of new packages known, before types are looked up. The lock must not be held.
void kzUpdateItemTypes(const CWorkspace& workspace);

// Adds items as one step. If a package refuses one of them, none is added, and its code is returned.
KzResult kzAddItem(CWorkspace& workspace, const std::function<Item&(CEdit&)>& add, IKzUnknown** out);

// While it lives, items that are added to the document by this thread come from a file.
class CPackageLoad {
public:
    enum class Kind {
        whole,   // the items are read as they were saved; their instances begin with `finish`
        loader,  // somebody makes them one by one
    };
    CPackageLoad(CDocument& document, Kind kind);
    CPackageLoad(const CPackageLoad&) = delete;
    CPackageLoad& operator=(const CPackageLoad&) = delete;
    ~CPackageLoad();
    // Everything is there. Of a new document, nobody has been told what was added.
    void finish(bool isNew, const RenamedItems& renamed = {});

private:
    friend class CItemPackages;

    CDocument& m_document;
    const Kind m_kind;
    CPackageLoad* const m_outer;
    CItemPackages* const m_packages;
    std::vector<ItemRef> m_items;
};

}  // namespace kzhost
