// The instances of packages: begun when items come, ended when they go.
#include "host/objects/item_packages.h"

#include "host/core/reasons.h"
#include "host/core/refusal.h"
#include "host/objects/attached_object.h"
#include "host/state/function_ref.h"
#include "host/state/text.h"

#include "kz/result.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

namespace kzhost {

namespace {

using Kind = DocumentEvent::Kind;
using Part = ServedItem::Part;

thread_local CPackageLoad* theLoad = nullptr;

// Attaches the instances one after the other. Throws the code of the one that fails.
void attach(ServedItem& served, const std::vector<PackageRef>& packages, IKzUnknown* source) {
    for (const PackageRef& package : packages) {
        Part& part = *served.parts.emplace_back(std::make_shared<Part>());
        part.package = package;
        CKzLoc_Unknown object;
        const char* operation = "Attach";
        KzResult code = package->object.Attach(object.out());
        if (kzSucceeded(code) && !part.instance.set(object.raw())) code = KZe_NOINTERFACE;
        if (kzSucceeded(code)) {
            part.io.set(object.raw());
            operation = "Initialize";
            code = part.instance.Initialize(served.object.raw(), source);
            if (!kzRefuses(code)) continue;
        }
        if (!part.instance) served.parts.pop_back();
        kzExplainPackage(code, *package, served, operation);
        throw code;
    }
}

bool hasPackage(const Item& item, const std::string& name) {
    return std::ranges::find(item.packages, name) != item.packages.end();
}

template <class Call> void eachInstance(const ServedItem& served, const Call& call) {
    for (const auto& part : served.parts) call(part->instance);
}

// Calls `use(scene)` unless the document has been closed.
template <class Use> void withScene(CDocument& document, const Use& use) {
    CKzLoc_Unknown scene;
    {
        const CReading reading(document.workspace());
        if (!document.isOpen()) return;
        static_cast<const AttachedObject&>(*document.object).give(scene.out());
    }
    use(scene.raw());
}

}  // namespace

CItemPackages* kzItemPackages(const CWorkspace& workspace) {
    return static_cast<CItemPackages*>(workspace.itemKeeper().get());
}

void kzUpdateItemTypes(const CWorkspace& workspace) {
    if (CItemPackages* packages = kzItemPackages(workspace)) packages->types().update();
}

ServedItemRef CItemPackages::find(const Item* item) const {
    const std::lock_guard guard(m_lock);
    const auto entry = m_items.find(item);
    return entry != m_items.end() ? entry->second : nullptr;
}

std::vector<ServedItemRef> CItemPackages::all(CFunctionRef<bool(const Item&)> isWanted) const {
    std::vector<ServedItemRef> found;
    const std::lock_guard guard(m_lock);
    for (const auto& [item, served] : m_items)
        if (isWanted(*item)) found.push_back(served);
    std::ranges::sort(found, {}, [](const ServedItemRef& each) { return each->item->serial; });
    return found;
}

std::vector<ServedItemRef> CItemPackages::of(const CDocument& document) const {
    if (m_types.empty()) return {};
    return all([&](const Item& item) { return &item.document == &document; });
}

std::vector<ServedItemRef> CItemPackages::below(const CItem& top) const {
    if (m_types.empty()) return {};
    const auto reading = top.readKept();
    return all([&](const Item& item) { return &item == &*reading || reading->isAbove(item); });
}

// The item may leave its scene while its packages are called.
ServedItemRef CItemPackages::begin(const ItemRef& item, CHostRef<CItem> source) {
    const auto packages = packagesOf(*item);
    if (packages.empty() || find(item.get()) != nullptr) return nullptr;
    auto served = std::make_shared<ServedItem>();
    {
        const CReading reading(item->document.workspace());
        if (!item->isPresent) return nullptr;
        served->item = item;
        served->object = kzObjectOf(*item);
        if (!source) source = served->object;
    }
    KzResult code = KZe_OK;
    try {
        attach(*served, packages, source.raw());
        const CReading reading(served->object->workspace());
        if (!item->isPresent) throw KZe_NOTAVAILABLE;
        findData(*served);
        const std::lock_guard guard(m_lock);
        m_items.emplace(item.get(), served);
    } catch (KzResult thrown) {
        code = thrown;
    }
    if (kzFailed(code)) end(*served);
    const CReading reading(served->object->workspace());
    item->modules.refusal = kzFailed(code) ? code : KZe_OK;
    item->modules.hadInstance |= kzSucceeded(code);
    if (kzSucceeded(code)) item->modules.hadPackages.insert(item->packages.begin(), item->packages.end());
    return kzSucceeded(code) ? served : nullptr;
}

// Those of its type, and then those that it has been given.
std::vector<PackageRef> CItemPackages::packagesOf(const Item& item) const {
    auto packages = m_types.of(item.type);
    const CReading reading(item.document.workspace());
    for (const std::string& name : item.packages)
        if (PackageRef guest = m_types.find(name); guest != nullptr && guest->type == nullptr)
            packages.push_back(std::move(guest));
    return packages;
}

void CItemPackages::packageAdded(const ItemRef& item, const std::string& name) {
    const PackageRef package = m_types.find(name);
    if (package == nullptr || package->type != nullptr) return;
    const auto former = find(item.get());
    const auto isThere = [&](const auto& part) { return part->package->name == name; };
    if (former != nullptr && std::ranges::any_of(former->parts, isThere)) return;
    auto served = former != nullptr ? std::make_shared<ServedItem>(*former) : std::make_shared<ServedItem>();
    bool comesBack = false;
    {
        const CReading reading(item->document.workspace());
        if (!item->isPresent || !hasPackage(*item, name)) return;
        served->item = item;
        served->object = kzObjectOf(*item);
        comesBack = !item->modules.hadPackages.insert(name).second;
    }
    ServedItem added{.item = item, .object = served->object, .parts = {}};
    KzResult code = KZe_OK;
    try {
        attach(added, {package}, served->object.raw());
        const CReading reading(item->document.workspace());
        if (!item->isPresent || !hasPackage(*item, name)) throw KZe_NOTAVAILABLE;
        findData(added);
    } catch (KzResult thrown) {
        code = thrown;
    }
    if (kzFailed(code)) end(added);
    {
        const CReading reading(item->document.workspace());
        item->modules.refusal = kzFailed(code) ? code : KZe_OK;
        if (kzFailed(code)) return;
        served->parts.push_back(added.parts.front());
        const std::lock_guard guard(m_lock);
        m_items[item.get()] = served;
    }
    std::optional<CUnchanged> unchanged;
    if (comesBack) unchanged.emplace();
    readData(added, {});
    eachInstance(added, [&](const auto& each) { each.Newborn(added.object.raw(), comesBack ? KZfNEWBORN_UNDO : 0); });
    refreshName(*served);
    withScene(item->document,
              [&](IKzUnknown* scene) { eachInstance(added, [&](const auto& each) { each.AddedTo(scene); }); });
}

void CItemPackages::packageRemoved(const ItemRef& item, const std::string& name) {
    const auto former = find(item.get());
    if (former == nullptr) return;
    auto served = std::make_shared<ServedItem>(*former);
    const auto isGone = [&](const auto& part) { return part->package->name == name; };
    const auto gone = std::ranges::find_if(served->parts, isGone);
    if (gone == served->parts.end()) return;
    ServedItem removed{.item = item, .object = served->object, .parts = {*gone}};
    served->parts.erase(gone);
    {
        const std::lock_guard guard(m_lock);
        if (served->parts.empty()) m_items.erase(item.get());
        else m_items[item.get()] = served;
    }
    collectData(removed);
    end(removed);
}

// What comes back by undoing has its channels already, and a change now would end what can be redone.
void CItemPackages::added(const ItemRef& item, std::uint32_t flags) {
    CHostRef<CItem> original;
    std::optional<CUnchanged> unchanged;
    {
        const CReading reading(item->document.workspace());
        const bool comesBack = item->modules.hadInstance;
        ItemRef source = item->source != nullptr ? item->source->shared_from_this() : item->modules.original.lock();
        if (comesBack || (source != nullptr && !source->isPresent)) source = nullptr;
        if (source != nullptr) {
            original = kzObjectOf(*source);
            flags |= source.get() == item->source ? KZfNEWBORN_INSTANCE : KZfNEWBORN_COPY;
        }
        if (comesBack) {
            flags |= KZfNEWBORN_UNDO;
            unchanged.emplace();
        }
    }
    const auto served = begin(item, original);
    if (served == nullptr) return;
    readData(*served, {});
    if (!original) original = served->object;
    eachInstance(*served, [&](const auto& each) { each.Newborn(original.raw(), flags); });
    refreshName(*served);
    withScene(item->document,
              [&](IKzUnknown* scene) { eachInstance(*served, [&](const auto& each) { each.AddedTo(scene); }); });
}

void CItemPackages::tell(const DocumentEvent& event) {
    if (m_types.empty()) return;
    CPackageLoad* load = theLoad != nullptr && &theLoad->m_document == event.document ? theLoad : nullptr;
    if (event.kind == Kind::itemAdded) {
        if (load != nullptr && load->m_kind == CPackageLoad::Kind::whole) load->m_items.push_back(event.item);
        else added(event.item, load != nullptr ? KZfNEWBORN_IMPORT : 0);
        return;
    }
    if (event.kind == Kind::packageAdded) return packageAdded(event.item, event.text);
    if (event.kind == Kind::packageRemoved) return packageRemoved(event.item, event.text);
    const auto served = find(event.kind == Kind::itemRemoved ? event.other.get() : event.item.get());
    if (served == nullptr) return;
    switch (event.kind) {
    case Kind::itemRemoving:
        collectData(*served);
        served->isDoomed = true;
        return eachInstance(*served, [](const auto& each) { each.Doomed(); });
    case Kind::itemRemoved: {
        {
            const std::lock_guard guard(m_lock);
            m_items.erase(event.other.get());
        }
        if (!served->isDoomed) collectData(*served);
        return end(*served);
    }
    case Kind::channelValue:
        if (served->hasName) refreshName(*served);
        return;
    case Kind::renamed:
        if (!event.text.empty()) refreshName(*served);  // the name may have gone
        return;
    default: return;
    }
}

void CItemPackages::closing(CDocument& document) {
    const auto items = of(document);
    {
        const std::lock_guard guard(m_lock);
        for (const auto& each : items) m_items.erase(each->item.get());
    }
    for (const auto& each : items) end(*each);
}

void CItemPackages::clear() {
    const auto items = all([](const Item&) { return true; });
    {
        const std::lock_guard guard(m_lock);
        m_items.clear();
    }
    for (const auto& each : items) end(*each);
    m_types.clear();
}

void CItemPackages::end(ServedItem& served) {
    while (!served.parts.empty()) {
        served.parts.back()->instance.Cleanup();
        served.parts.pop_back();
    }
}

// A name that changes a channel, which asks for the name, must not go on for ever.
void CItemPackages::refreshName(ServedItem& served) {
    thread_local bool isNaming = false;
    if (isNaming || !served.object->item_IsValid() || !served.object->read()->name.empty()) return;
    struct Naming {
        Naming() { isNaming = true; }
        ~Naming() { isNaming = false; }
    } const naming;
    for (auto part = served.parts.rbegin(); part != served.parts.rend(); ++part) {
        const char* name = nullptr;
        if (kzFailed((*part)->instance.SynthName(&name)) || kzTextOf(name).empty()) continue;
        served.hasName = true;
        return served.object->workspace().setModuleName(*served.item, name);
    }
}

KzResult CItemPackages::instance(const CItem& item, std::string_view type, IKzUnknown** object) const {
    const auto served = find(&*item.read());
    if (served == nullptr) return KZe_NOTFOUND;
    const std::string wanted(type);
    for (auto part = served->parts.rbegin(); part != served->parts.rend(); ++part)
        if ((*part)->package->name == wanted || (*part)->package->object.TestInterface(wanted.c_str())) {
            *object = (*part)->instance.raw();
            (*object)->AddRef();
            return KZe_OK;
        }
    return KZe_NOTFOUND;
}

KzResult CItemPackages::offered(const CItem& item, const KzGuid& iid, IKzUnknown** object) const {
    const auto served = find(&*item.read());
    if (served == nullptr) return KZe_NOTFOUND;
    for (auto part = served->parts.rbegin(); part != served->parts.rend(); ++part)
        if (kzSucceeded((*part)->instance.raw()->QueryInterface(&iid, reinterpret_cast<void**>(object)))) return KZe_OK;
    return KZe_NOTFOUND;
}

std::optional<std::string> CItemPackages::whoKeeps(const CItem& item) const {
    for (const auto& each : below(item))
        for (const auto& part : each->parts) {
            bool isAllowed = true;
            if (kzSucceeded(part->instance.AllowRemove(&isAllowed)) && !isAllowed) return part->package->name;
        }
    return {};
}

std::vector<CHostRef<CItem>> CItemPackages::madeInside(const CItem& item) const {
    std::vector<CHostRef<CItem>> made;
    for (const auto& each : below(item))
        eachInstance(*each, [&](const CKzUser_PackageInstance& instance) {
            std::uint32_t count = 0;
            if (kzFailed(instance.SubCount(&count))) return;
            for (std::uint32_t i = 0; i < count; ++i) {
                CKzLoc_Unknown sub;
                if (kzFailed(instance.SubByIndex(i, sub.out()))) break;
                if (auto own = CHostRef<CItem>::of(sub.raw())) made.push_back(std::move(own));
            }
        });
    return made;
}

void CItemPackages::postLoad(CDocument& document) {
    for (const PackageRef& each : m_types.all()) {
        std::size_t count = 0;
        {
            const CReading reading(document.workspace());
            if (each->type != nullptr) count = document.count(each->type->number);
            else
                document.each(KZiITYPE_ANY, [&](const Item& item) { count += hasPackage(item, each->name) ? 1U : 0U; });
        }
        if (count == 0) continue;
        KzResult code = KZe_OK;
        withScene(document, [&](IKzUnknown* scene) { code = each->object.PostLoad(scene); });
        if (kzRefuses(code))
            kzBecause(code, "Package", [&] {
                return fmt::format("PostLoad of the package \"{}\" ended with {}", each->name, kzCodeName(code));
            });
    }
}

CPackageLoad::CPackageLoad(CDocument& document, Kind kind)
    : m_document(document), m_kind(kind), m_outer(theLoad), m_packages(kzItemPackages(document.workspace())) {
    if (m_packages != nullptr) theLoad = this;
}

CPackageLoad::~CPackageLoad() {
    if (theLoad == this) theLoad = m_outer;
}

void CPackageLoad::finish(bool isNew, const RenamedItems& renamed) {
    if (m_packages == nullptr || m_packages->m_types.empty()) return;
    theLoad = m_outer;
    if (isNew && m_kind == Kind::whole) {
        const CReading reading(m_document.workspace());
        m_document.each(KZiITYPE_ANY, [&](Item& item) { m_items.push_back(item.shared_from_this()); });
    }
    std::vector<ServedItemRef> begun;
    for (const ItemRef& item : m_items)
        if (auto served = m_packages->begin(item, {})) {
            eachInstance(*served, [](const auto& each) { each.Loading(); });
            m_packages->readData(*served, renamed);
            begun.push_back(std::move(served));
        }
    for (const auto& each : begun) eachInstance(*each, [](const auto& instance) { instance.AfterLoad(); });
    m_packages->postLoad(m_document);
    for (const auto& each : begun) {
        if (!each->object->item_IsValid()) continue;
        CItemPackages::refreshName(*each);
        withScene(m_document, [&](IKzUnknown* scene) {
            eachInstance(*each, [&](const auto& instance) { instance.AddedTo(scene); });
        });
    }
}

}  // namespace kzhost
