// Walking a tree that a module serves, which may lie, never end or raise: whatever it does wrong is named, with the row.
#pragma once

#include "kz/tree.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kzhost {

// Where a row is: from the root, the index of each node among the children of the one before it.
using TreePath = std::vector<std::uint32_t>;
// As commands write it: "0/2/1".
std::string kzTreePathText(const TreePath& path);

struct TreeColumn {
    std::string name, title, icon;  // the name is the one that no translation changes
    std::int32_t width = 0, justification = KZiTREE_JUSTIFY_LEFT;
};

// Which rows are wanted.
struct TreeWish {
    TreePath below;                    // rows below that one; empty for the whole tree
    std::uint32_t depth = UINT32_MAX;  // how many levels
    bool shownOnly = false;            // only what a view shows while some branches are collapsed
    std::string filter;                // what a user has typed in the search field; empty for all rows
};

// A position in a tree of its own, if the tree can spawn one; otherwise the tree itself, which is moved.
class CTreePosition {
public:
    // The name is that of the server. Each operation throws a CommandTextError with the name, the operation and the row.
    CTreePosition(std::string name, IKzUnknown* tree);

    const CKzUser_Tree& tree() const { return m_tree; }
    const CKzUser_TreeView& view() const { return m_view; }
    const TreePath& path() const { return m_path; }  // of the current child, after any of the movements below

    void toRow(const TreePath& path);
    // As commands write it: indexes as "0/2/1", or else the path that the tree itself gives the node.
    void toRow(const std::string& text);
    // False if no row was selected last.
    bool toPrimary();
    // Calls `take` at each row, in their order, a parent before what is below it.
    using Take = std::function<void()>;
    void walk(const TreeWish& wish, const Take& take);

    // The operations of the current child. Nothing where the tree does not show that.
    std::optional<std::uint32_t> state() const;
    void setState(std::uint32_t state) const;
    bool isDivider() const { return (state().value_or(0) & KZfTREE_STATE_DIVIDER) != 0; }
    template <class Operation> std::optional<std::string> text(const char* name, const Operation& operation) const {
        const char* text = nullptr;
        if (!shows(operation(&text), name)) return {};
        return std::string(text != nullptr ? text : "");
    }
    std::optional<std::string> cell(std::int32_t column) const;
    std::vector<TreeColumn> columns() const;
    // By its name, title or number; -1, for the row as a whole, for an empty text.
    std::int32_t columnOf(const std::string& text) const;
    // False if the tree does not show that; throws any other failure.
    bool shows(KzResult code, const char* operation) const;
    void demand(KzResult code, const char* operation) const;
    [[noreturn]] void refuse(KzResult code, const std::string& what) const;

private:
    std::uint32_t childCount() const;
    void down();
    void up(std::uint32_t count);
    void climb();
    void toNode(const std::string& path);
    void visit(const TreeWish& wish, const Take& take, std::uint32_t depth, std::uint32_t parent);
    bool matches(const TreeWish& wish) const;
    bool canMatch(const TreeWish& wish) const;

    const std::string m_name;
    CKzUser_Tree m_tree;
    CKzUser_TreeView m_view;
    TreePath m_path;
    std::uint32_t m_rows = 0;
};

// The identity by which trees know the view of this host's commands.
extern const char* const kzTreeViewIdentity;

}  // namespace kzhost
