// Walking a tree that a module serves.
#include "host/objects/tree_position.h"

#include "host/core/command_text.h"
#include "host/core/reasons.h"
#include "host/core/refusal.h"
#include "host/state/text.h"

#include "kz/base/object_output.h"
#include "kz/result.h"

#include <fmt/format.h>

#include <charconv>
#include <system_error>
#include <utility>

namespace kzhost {

namespace {

// A tree without an end must not exhaust the host's memory or stack.
constexpr std::size_t deepestTree = 256;
constexpr std::uint32_t mostTreeRows = 1000000;
constexpr std::uint32_t mostTreeColumns = 1000;

}  // namespace

const char* const kzTreeViewIdentity = "5B6C0A3E-7D0E-4E0C-9C53-1F7B64D6B2A1";

std::string kzTreePathText(const TreePath& path) {
    std::string text;
    for (const std::uint32_t index : path) text += (text.empty() ? "" : "/") + std::to_string(index);
    return text;
}

CTreePosition::CTreePosition(std::string name, IKzUnknown* tree) : m_name(std::move(name)), m_tree(tree) {
    if (!m_tree) refuse(KZe_NOINTERFACE, "the server is no Tree");
    const bool hasView = bool(CKzUser_TreeView(tree));
    CKzLoc_Unknown spawned;
    const KzResult code =
        kzTakeOutput(spawned, [&](IKzUnknown** out) { return m_tree.Spawn(KZiTREE_SPAWN_ROOT, out); });
    if (kzRefuses(code)) demand(code, "Spawn");
    if (kzSucceeded(code)) {
        if (!m_tree.set(spawned.raw())) refuse(KZe_NOINTERFACE, "what Spawn answers is no Tree");
        if (!m_view.set(spawned.raw()) && hasView) refuse(KZe_NOINTERFACE, "what Spawn answers is no TreeView");
    } else {
        m_view.set(tree);
    }
}

void CTreePosition::refuse(KzResult code, const std::string& what) const {
    throw CommandTextError{code, fmt::format("the tree \"{}\": {}", m_name, what)};
}

void CTreePosition::demand(KzResult code, const char* operation) const {
    if (kzSucceeded(code)) return;
    const std::string row = m_path.empty() ? std::string("the root") : "row " + kzTreePathText(m_path);
    refuse(code, fmt::format("{} at {} ended with {}", operation, row, kzCodeName(code)));
}

bool CTreePosition::shows(KzResult code, const char* operation) const {
    if (code == KZe_NOTIMPL || code == KZe_NOTFOUND) return false;
    demand(code, operation);
    return true;
}

std::uint32_t CTreePosition::childCount() const {
    const std::uint32_t count = m_tree.Count();
    if (count > mostTreeRows)
        refuse(KZe_OUTOFBOUNDS,
               fmt::format("Count says that there are {} rows below {}; {} is the most", count,
                           m_path.empty() ? "the root" : "row " + kzTreePathText(m_path), mostTreeRows));
    return count;
}

// To the current child, whose own current child nobody knows yet.
void CTreePosition::down() {
    if (m_path.size() >= deepestTree) refuse(KZe_OUTOFBOUNDS, fmt::format("it has more than {} levels", deepestTree));
    demand(m_tree.ToChild(), "ToChild");
}

// Back to the node with that many children, from one of them.
void CTreePosition::up(std::uint32_t count) {
    demand(m_tree.ToParent(), "ToParent");
    if (const std::uint32_t now = m_tree.Count(); now != count)
        refuse(KZe_FAILED, fmt::format("ToParent from row {} comes to a node with {} children in place of {}",
                                       kzTreePathText(m_path), now, count));
}

void CTreePosition::toRow(const TreePath& path) {
    m_path.clear();
    demand(m_tree.ToRoot(), "ToRoot");
    for (const std::uint32_t index : path) {
        if (!m_path.empty()) down();
        const std::uint32_t count = childCount();
        if (index >= count) {
            const std::string parent = m_path.empty() ? "the root" : "row " + kzTreePathText(m_path);
            m_path.push_back(index);
            refuse(KZe_NOTFOUND,
                   fmt::format("there is no row {}; {} has {} children", kzTreePathText(m_path), parent, count));
        }
        m_path.push_back(index);
        demand(m_tree.SetCurrent(index), "SetCurrent");
    }
}

void CTreePosition::toRow(const std::string& text) {
    TreePath path;
    for (const char *at = text.data(), *const end = at + text.size(); at < end; ++at) {
        std::uint32_t index = 0;
        const auto read = std::from_chars(at, end, index);
        const bool isIndex = read.ec == std::errc() && (read.ptr == end || (*read.ptr == '/' && read.ptr + 1 < end));
        if (!isIndex) return toNode(text);
        path.push_back(index);
        at = read.ptr;
    }
    if (path.empty()) refuse(KZe_INVALIDARG, "an empty text names no row; rows are indexes as 0/2/1");
    toRow(path);
}

// From a node to its place as the current child of its parent, and to the path there.
void CTreePosition::climb() {
    m_path.clear();
    TreePath reversed;
    while (!m_tree.IsRoot()) {
        if (reversed.size() >= deepestTree)
            refuse(KZe_OUTOFBOUNDS, fmt::format("after {} times ToParent, there is still no root", deepestTree));
        demand(m_tree.ToParent(), "ToParent");
        reversed.push_back(m_tree.Current());
    }
    if (!reversed.empty()) toRow(TreePath(reversed.rbegin(), reversed.rend()));
}

void CTreePosition::toNode(const std::string& path) {
    const KzResult code = m_view.ToNode(path.c_str());
    if (code == KZe_NOTFOUND || code == KZe_NOTIMPL)
        refuse(KZe_NOTFOUND,
               fmt::format("there is no row \"{}\"; rows are indexes as 0/2/1, or what ToNode takes", path));
    demand(code, "ToNode");
    climb();
    if (m_path.empty()) refuse(KZe_INVALIDARG, fmt::format("\"{}\" is the root, which is no row", path));
}

bool CTreePosition::toPrimary() {
    if (!shows(m_view.ToPrimary(), "ToPrimary")) return false;
    climb();
    return !m_path.empty();
}

void CTreePosition::walk(const TreeWish& wish, const Take& take) {
    if (!wish.filter.empty() && (m_view.TreeViewOptions() & KZfTREE_VIEW_FILTER) == 0)
        refuse(KZe_NOTAVAILABLE, "it has no search field, and so no filter");
    toRow(wish.below);
    std::uint32_t parent = KZfTREE_STATE_EXPANDED | KZfTREE_STATE_EXPANDED_ATTR;
    if (!wish.below.empty()) {
        if (m_tree.ChildIsLeaf()) return;
        down();
    }
    m_rows = 0;
    visit(wish, take, 0, parent);
}

// The children of the node at which it stands. Nobody can collapse a branch that has no state.
void CTreePosition::visit(const TreeWish& wish, const Take& take, std::uint32_t depth, std::uint32_t parent) {
    const std::uint32_t count = childCount();
    for (std::uint32_t index = 0; index < count; ++index) {
        m_path.push_back(index);
        if (++m_rows > mostTreeRows) refuse(KZe_OUTOFBOUNDS, fmt::format("it has more than {} rows", mostTreeRows));
        demand(m_tree.SetCurrent(index), "SetCurrent");
        std::uint32_t own = KZfTREE_STATE_EXPANDED | KZfTREE_STATE_EXPANDED_ATTR;
        bool isShown = true;
        if (wish.shownOnly) {
            own = state().value_or(own);
            const bool isAttribute = (own & KZfTREE_STATE_ATTRIBUTE) != 0;
            isShown = (own & KZfTREE_STATE_HIDDEN) == 0 &&
                      (parent & (isAttribute ? KZfTREE_STATE_EXPANDED_ATTR : KZfTREE_STATE_EXPANDED)) != 0;
        }
        if (isShown && matches(wish)) take();
        const bool isOpen = isShown && (own & (KZfTREE_STATE_EXPANDED | KZfTREE_STATE_EXPANDED_ATTR)) != 0;
        if (isOpen && depth + 1 < wish.depth && !m_tree.ChildIsLeaf() && canMatch(wish)) {
            down();
            visit(wish, take, depth + 1, own);
            up(count);
        }
        m_path.pop_back();
    }
}

bool CTreePosition::matches(const TreeWish& wish) const {
    if (wish.filter.empty()) return true;
    bool isShown = false;
    demand(m_view.Filter(wish.filter.c_str(), &isShown), "Filter");
    return isShown;
}

bool CTreePosition::canMatch(const TreeWish& wish) const {
    if (wish.filter.empty()) return true;
    bool isPossible = true;
    return !shows(m_view.CanFilter(wish.filter.c_str(), &isPossible), "CanFilter") || isPossible;
}

std::optional<std::uint32_t> CTreePosition::state() const {
    std::uint32_t state = 0;
    if (!shows(m_tree.ItemState(kzTreeViewIdentity, &state), "ItemState")) return {};
    return state;
}

void CTreePosition::setState(std::uint32_t state) const {
    demand(m_tree.SetItemState(kzTreeViewIdentity, state), "SetItemState");
}

std::optional<std::string> CTreePosition::cell(std::int32_t column) const {
    return text("Name", [&](const char** name) { return m_view.Name(column, name); });
}

std::int32_t CTreePosition::columnOf(const std::string& text) const {
    if (text.empty() || text == "-1") return -1;
    const std::vector<TreeColumn> all = columns();
    std::vector<std::string> names;
    for (std::size_t index = 0; index < all.size(); ++index) {
        if (text == all[index].name || text == all[index].title || text == std::to_string(index))
            return static_cast<std::int32_t>(index);
        names.push_back(all[index].name.empty() ? all[index].title : all[index].name);
    }
    refuse(KZe_NOTFOUND, kzThereIsNo("column", text, names));
}

std::vector<TreeColumn> CTreePosition::columns() const {
    const std::uint32_t count = m_view ? m_view.ColumnCount() : 0;
    if (count > mostTreeColumns)
        refuse(KZe_OUTOFBOUNDS,
               fmt::format("ColumnCount says that there are {} columns; {} is the most", count, mostTreeColumns));
    std::vector<TreeColumn> columns(count);
    for (std::uint32_t index = 0; index < count; ++index) {
        TreeColumn& column = columns[index];
        const auto at = static_cast<std::int32_t>(index);
        const auto asked = [&](const char* name, const auto& ask) { return text(name, ask).value_or(""); };
        std::int32_t width = 0, justification = KZiTREE_JUSTIFY_LEFT;
        if (const auto title =
                text("ColumnByIndex", [&](const char** name) { return m_view.ColumnByIndex(index, name, &width); })) {
            column.title = *title;
            column.width = width;
        }
        column.name =
            asked("ColumnInternalName", [&](const char** name) { return m_view.ColumnInternalName(at, name); });
        column.icon =
            asked("ColumnIconResource", [&](const char** icon) { return m_view.ColumnIconResource(at, icon); });
        if (shows(m_view.ColumnJustification(at, &justification), "ColumnJustification"))
            column.justification = justification;
    }
    return columns;
}

}  // namespace kzhost
