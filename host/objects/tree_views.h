// Views of trees that modules serve, as a host with a window has them: opened once, kept, and closed. Commands use them.
#pragma once

#include "host/core/object.h"
#include "host/state/function_ref.h"

#include "kz/tree.h"

#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace kzhost {

class CListenerTable;
class CModuleTable;
class CNotifierTable;

// Tells the listeners of trees. What one of them changes meanwhile is not announced: that would never end.
void kzTellOfTrees(CListenerTable& listeners, CFunctionRef<void(IKzTreeListener&)> tell);

// A tree that is open. It has taken the host's listener if it tells of changes itself.
class COpenTree {
public:
    COpenTree(std::string name, IKzUnknown* tree, std::shared_ptr<CListenerTable> listeners);
    // From now on that notifier says, too, that the tree has changed.
    void follow(CNotifierTable& notifiers, const std::string& notifier);
    COpenTree(const COpenTree&) = delete;
    COpenTree& operator=(const COpenTree&) = delete;
    ~COpenTree();

    const std::string& name() const { return m_name; }
    IKzUnknown* raw() const { return m_tree.raw(); }
    // After the host itself has changed something in it: tells of that unless the tree does.
    void changed(void (IKzTreeListener::*what)()) const;

private:
    const std::string m_name;
    CKzUser_Tree m_tree;
    const std::shared_ptr<CListenerTable> m_listeners;
    CKzLoc_Unknown m_ear;  // empty if the tree does not take it
    CKzLoc_Unknown m_client;
    std::deque<CKzLoc_Unknown> m_notifiers;  // which have the client
};
using OpenTreeRef = std::shared_ptr<COpenTree>;

class CTreeViews {
public:
    CTreeViews(std::shared_ptr<CModuleTable> modules, std::shared_ptr<CListenerTable> listeners,
               std::shared_ptr<CNotifierTable> notifiers)
        : m_modules(std::move(modules)), m_listeners(std::move(listeners)), m_notifiers(std::move(notifiers)) {}

    // The server names of all trees. One without a view cannot be opened.
    std::vector<std::string> names() const;
    std::vector<std::string> openNames() const;
    // Opens the view, and lets it restore its state, if that was not done before. Throws a CommandTextError.
    OpenTreeRef open(const std::string& name);
    // The view keeps its state. Throws a CommandTextError if it is not open, or cannot keep it; closed it is in any case.
    void close(const std::string& name);
    // Before the modules go.
    void closeAll();

private:
    OpenTreeRef make(const std::string& name) const;
    OpenTreeRef find(const std::string& name) const;

    std::shared_ptr<CModuleTable> m_modules;
    std::shared_ptr<CListenerTable> m_listeners;
    std::shared_ptr<CNotifierTable> m_notifiers;
    mutable std::mutex m_lock;
    std::map<std::string, OpenTreeRef> m_open;
};

}  // namespace kzhost
