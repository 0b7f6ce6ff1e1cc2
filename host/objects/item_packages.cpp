// The instances of packages: begun when items come, ended when they go.
#include "host/objects/item_packages.h"

#include "host/core/reasons.h"
#include "host/core/refusal.h"
#include "host/objects/attached_object.h"
#include "host/objects/block_stream.h"
#include "host/state/text.h"

#include "kz/result.h"
#include "kz/undo.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

namespace kzhost {

namespace {

using Kind = DocumentEvent::Kind;
using Part = ServedItem::Part;

thread_local CPackageLoad* theLoad = nullptr;

void explain(KzResult code, const Package& package, const ServedItem& served, const char* operation) {
    kzBecause(code, "Package", [&] {
        const CReading reading(served.object->workspace());
        return fmt::format("{} of the package \"{}\" ended with {} for the item \"{}\"", operation, package.name,
                           kzCodeName(code), served.item->uniqueName);
    });
}

// Attaches the instances one after the other. Throws the code of the one that fails.
void attach(ServedItem& served, const std::vector<PackageRef>& packages, IKzUnknown* source) {
    for (const PackageRef& package : packages) {
        Part& part = served.parts.emplace_back();
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
        explain(code, *package, served, operation);
        throw code;
    }
}

template <class Call> void eachInstance(const ServedItem& served, const Call& call) {
    for (const Part& part : served.parts) call(part.instance);
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

std::vector<ServedItemRef> CItemPackages::all(const std::function<bool(const Item&)>& isWanted) const {
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
    const auto packages = m_types.of(item->type);
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
        const std::lock_guard guard(m_lock);
        m_items.emplace(item.get(), served);
    } catch (KzResult thrown) {
        code = thrown;
    }
    if (kzFailed(code)) end(*served);
    const CReading reading(served->object->workspace());
    item->modules.refusal = kzFailed(code) ? code : KZe_OK;
    item->modules.hadInstance |= kzSucceeded(code);
    return kzSucceeded(code) ? served : nullptr;
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
        served.parts.back().instance.Cleanup();
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
        if (kzFailed(part->instance.SynthName(&name)) || kzTextOf(name).empty()) continue;
        served.hasName = true;
        return served.object->workspace().setModuleName(*served.item, name);
    }
}

void CItemPackages::readData(ServedItem& served, const RenamedItems& renamed) const {
    for (Part& part : served.parts) {
        StreamContent content;
        {
            const auto item = served.object->readKept();
            const auto data = item->modules.data.find(part.package->name);
            if (!part.io || data == item->modules.data.end()) continue;
            content = {data->second.version, data->second.bytes};
        }
        const auto find = [object = served.object, renamed](const char* ident) -> IKzUnknown* {
            const auto item = object->read();
            const auto entry = renamed.find(ident);
            IKzUnknown* found = nullptr;
            kzGiveItem(item->document.byIdent(entry != renamed.end() ? entry->second : ident), &found);
            return found;
        };
        const auto stream = CHostRef<CBlockRead>::make(std::move(content), find);
        std::uint32_t ident = 0, bytes = 0;
        KzResult code = stream->blockread_Open(&ident, &bytes);
        if (kzSucceeded(code)) code = part.io.Read(stream.raw());
        part.keepsOldData = kzFailed(code);
        if (part.keepsOldData) explain(code, *part.package, served, "Read");
    }
}

// Whoever fails to write keeps what it had written before.
void CItemPackages::collectData(const ServedItem& served) {
    for (const Part& part : served.parts) {
        if (!part.io || part.keepsOldData) continue;
        const auto stream = CHostRef<CBlockWrite>::make(part.package->version);
        stream->blockwrite_Open(KZi_PTAG_ITEM_DATA);
        const double empty = stream->blockwrite_Position();
        const KzResult code = part.io.Write(stream.raw());
        const bool isEmpty = stream->blockwrite_Position() == empty;
        std::string bytes = stream->finish();
        if (kzFailed(code)) {
            if (code != KZe_NOTIMPL) explain(code, *part.package, served, "Write");
            continue;
        }
        const auto item = served.object->readKept();
        if (isEmpty) item->modules.data.erase(part.package->name);
        else item->modules.data[part.package->name] = {part.package->version, std::move(bytes)};
    }
}

void CItemPackages::collectData(const CDocument& document) const {
    for (const auto& each : of(document)) collectData(*each);
}

void CItemPackages::collectData(const CItem& top) const {
    for (const auto& each : below(top)) collectData(*each);
}

KzResult CItemPackages::instance(const CItem& item, std::string_view type, IKzUnknown** object) const {
    const auto served = find(&*item.read());
    if (served == nullptr) return KZe_NOTFOUND;
    const std::string wanted(type);
    for (auto part = served->parts.rbegin(); part != served->parts.rend(); ++part)
        if (part->package->name == wanted || part->package->object.TestInterface(wanted.c_str())) {
            *object = part->instance.raw();
            (*object)->AddRef();
            return KZe_OK;
        }
    return KZe_NOTFOUND;
}

std::optional<std::string> CItemPackages::whoKeeps(const CItem& item) const {
    for (const auto& each : below(item))
        for (const Part& part : each->parts) {
            bool isAllowed = true;
            if (kzSucceeded(part.instance.AllowRemove(&isAllowed)) && !isAllowed) return part.package->name;
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
            count = document.count(each->type->number);
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

KzResult kzAddItem(CWorkspace& workspace, const std::function<Item&(CEdit&)>& add, IKzUnknown** out) {
    CItemPackages* packages = kzItemPackages(workspace);
    const bool isServed = packages != nullptr && !packages->types().empty();
    const std::size_t depth = workspace.blockDepth();
    if (isServed) workspace.beginBlock({}, KZfUNDO_BLOCK_NOEMPTY);
    struct Blocks {
        CWorkspace& workspace;
        std::size_t depth;
        ~Blocks() { workspace.endBlocksAbove(depth); }
    } const blocks{workspace, depth};
    ItemRef added;
    {
        CEdit edit(workspace);
        added = add(edit).shared_from_this();
        edit.commit();
    }
    KzResult refusal = KZe_OK;
    {
        const CReading reading(workspace);
        std::vector<const Item*> open{added.get()};
        for (std::size_t i = 0; isServed && i < open.size() && kzSucceeded(refusal); ++i) {
            refusal = open[i]->modules.refusal;
            open[i]->children.each([&](const Item& child) { open.push_back(&child); });
        }
        if (kzSucceeded(refusal)) return kzGiveItem(added.get(), out);
    }
    if (workspace.blockDepth() == depth + 1) workspace.discardBlock();
    if (added->isPresent) {  // the history is suspended
        CEdit edit(workspace);
        edit.remove(*added);
        edit.commit();
    }
    return refusal;
}

}  // namespace kzhost
