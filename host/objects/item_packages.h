// What packages of modules add to items: an instance for each item of their types, from its creation or loading to its
// removal, with data of its own.
#pragma once

#include "host/document/edit.h"
#include "host/document/item_keeper.h"
#include "host/objects/item.h"
#include "host/objects/package_types.h"
#include "host/state/function_ref.h"

#include "kz/block_io.h"

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

// An item with the instances of its packages, the basic ones first. Other threads may be walking through the parts, so an
// item that gets another package or loses one is replaced by a new one of these, which shares the rest.
struct ServedItem {
    struct Part {
        PackageRef package;
        CKzUser_PackageInstance instance;
        CKzUser_StreamIO io;  // empty if it has no data of its own
        std::shared_ptr<ModuleState::Data> data;
        bool keepsOldData = false;  // which it could not read
    };
    ItemRef item;
    CHostRef<CItem> object;
    std::vector<std::shared_ptr<Part>> parts;
    bool isDoomed = false;
    bool hasName = false;  // one of the parts names the item
};
using ServedItemRef = std::shared_ptr<ServedItem>;

// Logs how an operation of the package ended for the item.
void kzExplainPackage(KzResult code, const Package& package, const ServedItem& served, const char* operation);

// Packages are always called without the lock of the documents. An instance that fails is named in the log: a new item is then
// not made at all, while one that is loaded or comes back keeps its channels and data without it.
class CItemPackages final : public ItemKeeper {
public:
    explicit CItemPackages(std::shared_ptr<CModuleTable> modules) : m_types(std::move(modules)) {}

    CPackageTypes& types() noexcept { return m_types; }
    const CPackageTypes& types() const noexcept { return m_types; }
    void tell(const DocumentEvent& event) override;
    void closing(CDocument& document) override;
    // Ends all instances, before their modules go.
    void clear();

    // The instance of the package of that name, or of the one that says that its instances have that interface.
    KzResult instance(const CItem& item, std::string_view type, IKzUnknown** object) const;
    // The interface of the last instance that has it. NOTFOUND if none does.
    KzResult offered(const CItem& item, const KzGuid& iid, IKzUnknown** object) const;
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

    std::vector<ServedItemRef> all(CFunctionRef<bool(const Item&)> isWanted) const;
    std::vector<ServedItemRef> below(const CItem& top) const;
    // Null if a package refuses the item, or the item has none. An item without a source is its own.
    ServedItemRef begin(const ItemRef& item, CHostRef<CItem> source);
    void added(const ItemRef& item, std::uint32_t flags);
    void packageAdded(const ItemRef& item, const std::string& name);
    void packageRemoved(const ItemRef& item, const std::string& name);
    std::vector<PackageRef> packagesOf(const Item& item) const;
    static void findData(const ServedItem& served);
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

// A change of items as one step. If `refusal` then tells a failure, all of it is taken back, and the code is returned.
struct ItemChange {
    std::function<void(CEdit&)> make;
    std::function<KzResult()> refusal;     // of a package that was called meanwhile
    std::function<void(CEdit&)> takeBack;  // where there is no step to take back: does nothing to what is gone already
};
KzResult kzChangeItems(CWorkspace& workspace, const ItemChange& change);
// The code with which a package has refused one of these items or one below them.
KzResult kzRefusalOf(std::vector<const Item*> items);
// The items, and behind them those that their packages say go along with them.
std::vector<CHostRef<CItem>> kzWithCompanions(const CWorkspace& workspace, std::vector<CHostRef<CItem>> items,
                                              std::uint32_t purpose);
// Adds items as one step. If a package refuses one of them, none is added, and its code is returned.
KzResult kzAddItem(CWorkspace& workspace, CFunctionRef<Item&(CEdit&)> add, IKzUnknown** out);

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
