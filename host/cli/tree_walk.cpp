// Walking trees that modules serve.
#include "host/cli/tree_walk.h"

#include "host/state/text.h"

#include "kz/result.h"
#include "kz/tree.h"

namespace kzhost {

namespace {

// An infinite tree must not exhaust the host's memory or stack.
constexpr std::uint32_t deepest = 256;
constexpr std::uint32_t mostRows = 1000000;
constexpr std::uint32_t mostColumns = 1000;

void need(KzResult code) {
    if (kzFailed(code)) throw code;
}

class CTreeWalk {
public:
    CTreeWalk(IKzUnknown* tree, const std::function<void(const TreeRow&)>& take)
        : m_tree(tree), m_view(tree), m_take(take), m_columns(m_view ? m_view.ColumnCount() : 0) {
        if (!m_tree) throw KZe_NOINTERFACE;
        if (m_columns > mostColumns) throw KZe_OUTOFBOUNDS;
    }

    void run() {
        need(m_tree.ToRoot());
        children(0);
    }

private:
    void children(std::uint32_t depth) {
        if (depth > deepest) throw KZe_OUTOFBOUNDS;
        const std::uint32_t count = m_tree.Count();
        for (std::uint32_t index = 0; index < count; ++index) {
            need(m_tree.SetCurrent(index));
            tell(depth);
            if (m_tree.ChildIsLeaf()) continue;
            need(m_tree.ToChild());
            children(depth + 1);
            need(m_tree.ToParent());
        }
    }

    void tell(std::uint32_t depth) {
        if (++m_rows > mostRows) throw KZe_OUTOFBOUNDS;
        TreeRow row{depth, {}};
        for (std::uint32_t column = 0; column < m_columns; ++column) {
            const char* text = nullptr;
            const KzResult code = m_view.Name(static_cast<std::int32_t>(column), &text);
            row.cells.emplace_back(kzSucceeded(code) ? kzTextOf(text) : std::string_view());
        }
        if (row.cells.empty()) row.cells.push_back(std::to_string(m_tree.Current()));
        m_take(row);
    }

    CKzUser_Tree m_tree;
    CKzUser_TreeView m_view;
    const std::function<void(const TreeRow&)>& m_take;
    std::uint32_t m_columns;
    std::uint32_t m_rows = 0;
};

}  // namespace

void kzWalkTree(IKzUnknown* tree, const std::function<void(const TreeRow&)>& take) { CTreeWalk(tree, take).run(); }

}  // namespace kzhost
