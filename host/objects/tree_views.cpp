// Views of trees that modules serve.
#include "host/objects/tree_views.h"

#include "host/core/command_text.h"
#include "host/core/listener_table.h"
#include "host/core/module_table.h"
#include "host/core/notifier_table.h"
#include "host/core/reasons.h"
#include "host/core/refusal.h"
#include "host/state/function_ref.h"
#include "host/state/text.h"

#include "kz/command.h"
#include "kz/listener.h"
#include "kz/result.h"

#include <fmt/format.h>

#include <algorithm>
#include <optional>
#include <sstream>
#include <utility>

namespace kzhost {

namespace {

// What trees tell, for all who listen. It outlives the view if the tree keeps it, and the host if the module does.
class CTreeEar final : public CHosted<"tree ear", CTreeEar, CKzIfc_TreeListener> {
public:
    CTreeEar(std::string name, std::weak_ptr<CListenerTable> listeners)
        : m_name(std::move(name)), m_listeners(std::move(listeners)) {}

    void tlis_NewShape() override { tell(&IKzTreeListener::NewShape); }
    void tlis_NewAttributes() override { tell(&IKzTreeListener::NewAttributes); }
    void tlis_NewPosition() override { tell(&IKzTreeListener::NewPosition); }
    void tlis_ColumnsChanged() override { tell(&IKzTreeListener::ColumnsChanged); }
    void tlis_NodeAdded(IKzUnknown* parent, std::uint32_t index) override {
        tellOfNode("TreeListener.NodeAdded", &IKzTreeListener::NodeAdded, parent, index);
    }
    void tlis_NodeRemoved(IKzUnknown* parent, std::uint32_t index) override {
        tellOfNode("TreeListener.NodeRemoved", &IKzTreeListener::NodeRemoved, parent, index);
    }

private:
    void tell(void (IKzTreeListener::*what)()) const {
        if (const auto listeners = m_listeners.lock())
            kzTellOfTrees(*listeners, [&](IKzTreeListener& each) { (each.*what)(); });
    }
    // Listeners in Python take no null.
    void tellOfNode(const char* place, void (IKzTreeListener::*what)(IKzUnknown*, std::uint32_t), IKzUnknown* parent,
                    std::uint32_t index) const {
        const CKzUser_Tree tree(parent);
        if (!tree) {
            kzBecause(KZe_INVALIDARG, place,
                      [&] { return "the tree \"" + m_name + "\" names a parent that is no Tree"; });
            return;
        }
        if (const auto listeners = m_listeners.lock())
            kzTellOfTrees(*listeners, [&](IKzTreeListener& each) { (each.*what)(tree.raw(), index); });
    }

    const std::string m_name;
    const std::weak_ptr<CListenerTable> m_listeners;
};

// The client of a notifier that makes a view refresh.
class CTreeRefresh final : public CHosted<"tree refresh", CTreeRefresh, CKzIfc_CommandEvent> {
public:
    explicit CTreeRefresh(std::weak_ptr<CListenerTable> listeners) : m_listeners(std::move(listeners)) {}

    void cevt_Event(std::uint32_t flags) override {
        const bool isShown = (flags & ~(KZfNOTIFY_VALUE | KZfNOTIFY_LABEL | KZfNOTIFY_DISABLE)) == 0;
        const auto what = isShown ? &IKzTreeListener::NewAttributes : &IKzTreeListener::NewShape;
        if (const auto listeners = m_listeners.lock())
            kzTellOfTrees(*listeners, [&](IKzTreeListener& each) { (each.*what)(); });
    }

private:
    const std::weak_ptr<CListenerTable> m_listeners;
};

// What each view answers about its state. A view need not keep one.
bool keepsState(KzResult code) { return code != KZe_NOTFOUND && code != KZe_NOTIMPL; }

}  // namespace

void kzTellOfTrees(CListenerTable& listeners, CFunctionRef<void(IKzTreeListener&)> tell) {
    thread_local bool isTelling = false;
    if (std::exchange(isTelling, true)) return;
    struct End {
        ~End() { isTelling = false; }
    } const end;
    listeners.each<CKzLoc_TreeListener>(tell);
}

COpenTree::COpenTree(std::string name, IKzUnknown* tree, std::shared_ptr<CListenerTable> listeners)
    : m_name(std::move(name)), m_tree(tree), m_listeners(std::move(listeners)) {
    const CKzUser_ListenerPort port(tree);
    if (!port) return;
    m_ear.hold(kzMakeObject<CTreeEar>(m_name, m_listeners));
    const KzResult code = port.AddListener(m_ear.raw());
    if (kzSucceeded(code)) return;
    m_ear.clear();
    if (kzRefuses(code))
        kzBecause(code, "ListenerPort.AddListener",
                  [&] { return fmt::format("the tree \"{}\" takes no listener: {}", m_name, kzCodeName(code)); });
}

void COpenTree::follow(CNotifierTable& notifiers, const std::string& notifier) {
    CKzLoc_Unknown object;
    KzResult code = notifiers.lookup(notifier, {}, object.out());
    if (!m_client) m_client.hold(kzMakeObject<CTreeRefresh>(m_listeners));
    if (kzSucceeded(code)) code = CKzUser_Notifier(object.raw()).AddClient(m_client.raw());
    if (kzSucceeded(code)) m_notifiers.emplace_back().set(object.raw());
    else
        kzBecause(code, "TreeView", [&] {
            return fmt::format("the tree \"{}\" cannot follow the notifier \"{}\" of its tag {}: {}", m_name, notifier,
                               KZsTAG_TREE_NOTIFIER, kzCodeName(code));
        });
}

COpenTree::~COpenTree() {
    for (const CKzLoc_Unknown& each : m_notifiers) CKzUser_Notifier(each.raw()).RemoveClient(m_client.raw());
    if (m_ear) CKzUser_ListenerPort(m_tree.raw()).RemoveListener(m_ear.raw());
}

void COpenTree::changed(void (IKzTreeListener::*what)()) const {
    if (!m_ear) kzTellOfTrees(*m_listeners, [&](IKzTreeListener& each) { (each.*what)(); });
}

std::vector<std::string> CTreeViews::names() const {
    std::vector<std::string> names;
    for (const char* kind : {KZa_TREE, KZa_TREEVIEW})
        for (const KzServer& server : m_modules->servers(kind))
            if (std::ranges::find(names, server.name) == names.end()) names.push_back(server.name);
    return names;
}

std::vector<std::string> CTreeViews::openNames() const {
    const std::lock_guard lock(m_lock);
    std::vector<std::string> names;
    for (const auto& [name, tree] : m_open) names.push_back(name);
    return names;
}

OpenTreeRef CTreeViews::find(const std::string& name) const {
    const std::lock_guard lock(m_lock);
    const auto place = m_open.find(name);
    return place != m_open.end() ? place->second : nullptr;
}

OpenTreeRef CTreeViews::make(const std::string& name) const {
    auto server = m_modules->find(KZa_TREE, name);
    if (!server) server = m_modules->find(KZa_TREEVIEW, name);
    if (!server) throw CommandTextError{KZe_NOTFOUND, "argument \"name\": " + kzThereIsNo("tree", name, names())};
    CKzLoc_Unknown object;
    try {
        CModuleTable::spawn(*server, object);
    } catch (KzResult code) {
        throw CommandTextError{code, fmt::format("the tree \"{}\" cannot be made: {}", name, kzCodeName(code))};
    }
    if (!CKzUser_Tree(object.raw()) || !CKzUser_TreeView(object.raw()))
        throw CommandTextError{KZe_NOINTERFACE, fmt::format("the tree \"{}\" is not both a Tree and a TreeView", name)};
    auto tree = std::make_shared<COpenTree>(name, object.raw(), m_listeners);
    for (const auto& [tag, value] : CModuleTable::tagsOf(*server)) {
        if (tag != KZsTAG_TREE_NOTIFIER) continue;
        std::istringstream words(value);
        for (std::string notifier; words >> notifier;) tree->follow(*m_notifiers, notifier);
    }
    return tree;
}

OpenTreeRef CTreeViews::open(const std::string& name) {
    if (OpenTreeRef known = find(name)) return known;
    OpenTreeRef made = make(name);
    {
        const std::lock_guard lock(m_lock);
        const auto [place, isNew] = m_open.emplace(name, made);
        if (!isNew) return place->second;  // another thread was faster
    }
    const KzResult code = CKzUser_TreeView(made->raw()).RestoreState(name.c_str());
    if (kzFailed(code) && keepsState(code))
        kzBecause(code, "TreeView.RestoreState",
                  [&] { return fmt::format("the tree \"{}\" ended with {}", name, kzCodeName(code)); });
    return made;
}

void CTreeViews::close(const std::string& name) {
    OpenTreeRef closed;  // outlives the lock
    {
        const std::lock_guard lock(m_lock);
        if (auto node = m_open.extract(name)) closed = std::move(node.mapped());
    }
    if (closed == nullptr)
        throw CommandTextError{KZe_NOTFOUND, "argument \"name\": " + kzThereIsNo("open tree", name, openNames())};
    const KzResult code = CKzUser_TreeView(closed->raw()).StoreState(name.c_str());
    if (kzFailed(code) && keepsState(code))
        throw CommandTextError{code, fmt::format("the tree \"{}\": StoreState ended with {}", name, kzCodeName(code))};
}

void CTreeViews::closeAll() {
    for (const std::string& name : openNames()) {
        try {
            close(name);
        } catch (const CommandTextError& error) {
            kzBecause(error.code, "TreeView.StoreState", [&] { return error.text; });
        }
    }
}

}  // namespace kzhost
