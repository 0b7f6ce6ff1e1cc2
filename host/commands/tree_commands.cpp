// Commands that show the trees of modules, and select and expand their rows.
#include "host/commands/tree_commands.h"

#include "host/core/reasons.h"
#include "host/objects/tree_position.h"
#include "host/objects/tree_views.h"

#include "kz/command.h"
#include "kz/result.h"
#include "kz/value.h"

#include <fmt/format.h>

#include <functional>
#include <string>
#include <string_view>
#include <utility>

namespace kzhost {

namespace {

constexpr ArgumentRow treeListArguments[] = {
    {"name", KZsTYPE_STRING, kzQueryable, kzTreeMeaning},
    {"branch", KZsTYPE_STRING, kzOptional,
     "the row below which the rows are: indexes as 0/2, or a path of the tree's own; the whole tree when it is left "
     "out"},
    {"depth", KZsTYPE_INTEGER, kzOptional, "how many levels; all of them when it is left out"},
    {"shown", KZsTYPE_BOOLEAN, kzOptional, "only what a view shows while some branches are collapsed"},
    {"filter", KZsTYPE_STRING, kzOptional, "only the rows that the tree shows for this text in its search field"},
    {"column", KZsTYPE_STRING, kzOptional, "only the cells of this column, by its name, title or index"},
    {"row", KZsTYPE_STRING, kzTreeAnswer, "the rows: for each, its index and those of the branches above it, as 0/2/1"},
    {"line", KZsTYPE_STRING, kzTreeAnswer, "the rows as an outline, each cell after two blanks"},
    {"cell", KZsTYPE_STRING, kzTreeAnswer, "the cells, one row after the other"},
    {"state", KZsTYPE_STRING, kzTreeAnswer,
     "the rows with their states behind them: expanded, attributes, selected, contains (what is selected), hidden, "
     "greyed, "
     "attribute, divider, leaf"},
    {"primary", KZsTYPE_STRING, kzTreeAnswer, "the row that was selected last"},
    {"option", KZsTYPE_STRING, kzTreeAnswer,
     "what the view offers: dragsort, noheader, single, filter, alternate, noroot"},
};
constexpr ArgumentRow treeColumnArguments[] = {
    {"name", KZsTYPE_STRING, kzQueryable, kzTreeMeaning},
    {"column", KZsTYPE_STRING, kzTreeAnswer, "the names of the columns, which no translation changes"},
    {"title", KZsTYPE_STRING, kzTreeAnswer, "what users see above them"},
    {"icon", KZsTYPE_STRING, kzTreeAnswer, "the icons in place of the titles"},
    {"width", KZsTYPE_INTEGER, kzTreeAnswer, "pixels; negative in percent of the view"},
    {"justification", KZsTYPE_STRING, kzTreeAnswer, "left, center or right"},
    {"primary", KZsTYPE_INTEGER, kzTreeAnswer, "the index of the column with the branches"},
};
constexpr KzTextValueHint selectHints[] = {{KZiTREE_SELECT_PRIMARY, "primary"},
                                           {KZiTREE_SELECT_ADD, "add"},
                                           {KZiTREE_SELECT_REMOVE, "remove"},
                                           {KZiTREE_SELECT_CLEAR, "clear"},
                                           {0, nullptr}};
constexpr ArgumentRow treeSelectArguments[] = {
    {"name", KZsTYPE_STRING, kzQueryable, kzTreeMeaning},
    {"row", KZsTYPE_STRING, kzOptional | kzQueryable, "the row; queried, the selected ones"},
    {"mode", KZsTYPE_CHOICE, kzOptional, "primary, which selects that row alone; or add, remove, clear", selectHints},
};
constexpr ArgumentRow treeToggleArguments[] = {
    {"name", KZsTYPE_STRING, kzQueryable, kzTreeMeaning},
    {"row", KZsTYPE_STRING, 0, "the branch"},
    {"state", KZsTYPE_BOOLEAN, kzOptional | kzQueryable,
     "whether it is expanded; the other state when it is left out; queried, what it is"},
    {"attributes", KZsTYPE_BOOLEAN, kzOptional, "expands what the row has as attributes in place of its children"},
};
constexpr ArgumentRow treeCloseArguments[] = {
    {"name", KZsTYPE_STRING, kzQueryable, "the tree, by its server name; queried, all that are open"}};

constexpr TreeWord rowWords[] = {{KZfTREE_STATE_EXPANDED, "expanded"}, {KZfTREE_STATE_EXPANDED_ATTR, "attributes"},
                                 {KZfTREE_STATE_SELECTED, "selected"}, {KZfTREE_STATE_HIDDEN, "hidden"},
                                 {KZfTREE_STATE_GREYED, "greyed"},     {KZfTREE_STATE_ATTRIBUTE, "attribute"},
                                 {KZfTREE_STATE_DIVIDER, "divider"}};
constexpr TreeWord optionWords[] = {{KZfTREE_VIEW_DRAGSORT, "dragsort"},   {KZfTREE_VIEW_NOHEADER, "noheader"},
                                    {KZfTREE_VIEW_SINGLE, "single"},       {KZfTREE_VIEW_FILTER, "filter"},
                                    {KZfTREE_VIEW_ALTERNATE, "alternate"}, {KZfTREE_VIEW_NOROOT, "noroot"}};

// A row's states in the words that scripts see.
std::string stateLine(const CTreePosition& at) {
    std::uint32_t state = at.state().value_or(0);
    if (at.view().IsSelected()) state |= KZfTREE_STATE_SELECTED;
    const bool isLeaf = at.tree().ChildIsLeaf();
    std::string line = kzTreePathText(at.path()) + ":";
    for (const std::string& word : kzTreeWords(rowWords, state)) line += " " + word;
    if (!isLeaf && (state & KZfTREE_STATE_EXPANDED) == 0 && at.view().IsDescendantSelected()) line += " contains";
    return line + (isLeaf ? " leaf" : "");
}

TreeWish wishOf(CBuiltinCommand& command, CTreePosition& at) {
    TreeWish wish;
    if (command.has("branch")) {
        at.toRow(command.text("branch"));
        wish.below = at.path();
    }
    if (const auto depth = command.integer("depth")) {
        if (*depth < 1) kzRefuse(KZe_INVALIDARG, fmt::format("argument \"depth\": it is 1 or more, not {}", *depth));
        wish.depth = static_cast<std::uint32_t>(*depth);
    }
    wish.shownOnly = command.flag("shown");
    wish.filter = command.text("filter");
    return wish;
}

// What a row shows. A divider has no cells.
Texts cellsOf(const CTreePosition& at, std::int32_t column, std::size_t columnCount) {
    if (at.isDivider()) return {};
    if (column >= 0) return {at.cell(column).value_or("")};
    Texts cells;
    for (std::size_t index = 0; index < columnCount; ++index)
        cells.push_back(at.cell(static_cast<std::int32_t>(index)).value_or(""));
    return cells;
}

std::string outlineLine(const CTreePosition& at, std::size_t depth, const Texts& cells) {
    std::string line(2 * depth, ' ');
    for (const std::string& cell : cells) line += (&cell == cells.data() ? "" : "  ") + cell;
    return cells.empty() && at.isDivider() ? line + "--" : line;
}

Texts queryTreeList(CTreeViews& trees, CBuiltinCommand& command, std::uint32_t index) {
    if (index == 0) return trees.names();
    const std::string_view what = treeListArguments[index].name;
    const OpenTreeRef tree = trees.open(command.text("name"));
    CTreePosition at(tree->name(), tree->raw());
    if (what == "option") return kzTreeWords(optionWords, at.view().TreeViewOptions());
    if (what == "primary") return at.toPrimary() ? Texts{kzTreePathText(at.path())} : Texts();
    const TreeWish wish = wishOf(command, at);
    const std::int32_t column = at.columnOf(command.text("column"));
    const std::size_t columns = what == "line" || what == "cell" ? at.columns().size() : 0;
    Texts texts;
    at.walk(wish, [&] {
        if (what == "row") return texts.push_back(kzTreePathText(at.path()));
        if (what == "state") return texts.push_back(stateLine(at));
        Texts cells = cellsOf(at, column, columns);
        if (what == "line") return texts.push_back(outlineLine(at, at.path().size() - wish.below.size() - 1, cells));
        for (std::string& cell : cells) texts.push_back(std::move(cell));
    });
    return texts;
}

const char* justificationWord(const CTreePosition& at, const TreeColumn& column) {
    switch (column.justification) {
    case KZiTREE_JUSTIFY_LEFT: return "left";
    case KZiTREE_JUSTIFY_CENTER: return "center";
    case KZiTREE_JUSTIFY_RIGHT: return "right";
    default:
        at.refuse(KZe_INVALIDARG, fmt::format("ColumnJustification answers {} for \"{}\"", column.justification,
                                              column.name.empty() ? column.title : column.name));
    }
}

Texts queryTreeColumns(CTreeViews& trees, CBuiltinCommand& command, std::uint32_t index) {
    if (index == 0) return trees.names();
    const std::string_view what = treeColumnArguments[index].name;
    const OpenTreeRef tree = trees.open(command.text("name"));
    const CTreePosition at(tree->name(), tree->raw());
    const std::vector<TreeColumn> columns = at.columns();
    if (what == "primary") {
        const std::uint32_t primary = at.view().PrimaryColumnPosition();
        if (primary >= columns.size())
            at.refuse(KZe_OUTOFBOUNDS, fmt::format("PrimaryColumnPosition answers {}, but there are {} columns",
                                                   primary, columns.size()));
        return {std::to_string(primary)};
    }
    Texts texts;
    for (const TreeColumn& column : columns) {
        if (what == "column") texts.push_back(column.name);
        else if (what == "title") texts.push_back(column.title);
        else if (what == "icon") texts.push_back(column.icon);
        else if (what == "width") texts.push_back(std::to_string(column.width));
        else texts.emplace_back(justificationWord(at, column));
    }
    return texts;
}

Texts queryTreeSelection(CTreeViews& trees, CBuiltinCommand& command, std::uint32_t index) {
    if (index == 0) return trees.names();
    const OpenTreeRef tree = trees.open(command.text("name"));
    CTreePosition at(tree->name(), tree->raw());
    Texts texts;
    at.walk({}, [&] {
        if (at.view().IsSelected()) texts.push_back(kzTreePathText(at.path()));
    });
    return texts;
}

// Whether any row is selected besides that one.
bool hasOtherSelected(const OpenTreeRef& tree, const TreePath& path) {
    CTreePosition at(tree->name(), tree->raw());
    bool hasOther = false;
    at.walk({}, [&] { hasOther = hasOther || (at.path() != path && at.view().IsSelected()); });
    return hasOther;
}

void selectTreeRow(CTreeViews& trees, CBuiltinCommand& command) {
    const OpenTreeRef tree = trees.open(command.text("name"));
    CTreePosition at(tree->name(), tree->raw());
    const std::int32_t mode = command.integer("mode").value_or(KZiTREE_SELECT_PRIMARY);
    if (command.has("row")) {
        at.toRow(command.text("row"));
        if (at.isDivider()) at.refuse(KZe_INVALIDARG, "a divider cannot be selected");
    } else if (mode != KZiTREE_SELECT_CLEAR) {
        kzRefuse(KZe_CMD_MISSING_ARGS, "argument \"row\" is missing; only the mode clear needs none");
    }
    const bool isSingle = (at.view().TreeViewOptions() & KZfTREE_VIEW_SINGLE) != 0;
    if (mode == KZiTREE_SELECT_ADD && isSingle && hasOtherSelected(tree, at.path()))
        at.refuse(KZe_NOTAVAILABLE, "no more than one row can be selected, and another one is");
    at.demand(at.view().Select(static_cast<std::uint32_t>(mode)), "Select");
    tree->changed(&IKzTreeListener::NewAttributes);
}

std::uint32_t toggledBit(CBuiltinCommand& command) {
    return command.flag("attributes") ? KZfTREE_STATE_EXPANDED_ATTR : KZfTREE_STATE_EXPANDED;
}

// A tree that keeps no states cannot be collapsed.
std::uint32_t branchState(CTreePosition& at, CBuiltinCommand& command) {
    at.toRow(command.text("row"));
    const auto state = at.state();
    if (!state) at.refuse(KZe_NOTAVAILABLE, "its rows have no states, and so none can be expanded");
    return *state;
}

void toggleTreeRow(CTreeViews& trees, CBuiltinCommand& command) {
    const OpenTreeRef tree = trees.open(command.text("name"));
    CTreePosition at(tree->name(), tree->raw());
    const std::uint32_t state = branchState(at, command), bit = toggledBit(command);
    const bool isOn = command.has("state") ? command.flag("state") : (state & bit) == 0;
    if (isOn && at.tree().ChildIsLeaf())
        at.refuse(KZe_INVALIDARG, fmt::format("row {} has nothing below it to expand", kzTreePathText(at.path())));
    at.setState(isOn ? state | bit : state & ~bit);
    tree->changed(&IKzTreeListener::NewAttributes);
}

Texts queryTreeToggle(CTreeViews& trees, CBuiltinCommand& command, std::uint32_t index) {
    if (index == 0) return trees.names();
    const OpenTreeRef tree = trees.open(command.text("name"));
    CTreePosition at(tree->name(), tree->raw());
    return {(branchState(at, command) & toggledBit(command)) != 0 ? "1" : "0"};
}

void closeTree(CTreeViews& trees, CBuiltinCommand& command) { trees.close(command.text("name")); }

Texts queryOpenTrees(CTreeViews& trees, CBuiltinCommand& /*command*/, std::uint32_t /*index*/) {
    return trees.openNames();
}

}  // namespace

void kzAddTreeCommands(CCommandRegistry& registry, const std::shared_ptr<CTreeViews>& trees) {
    kzAddCommands(registry,
                  {
                      {"tree.list", "List Tree", "shows a tree that a module serves as a table or an outline",
                       KZfCMD_UI, treeListArguments, kzOnlyQueried, kzWith(queryTreeList, trees)},
                      {"tree.columns", "Columns of Tree", "tells of the columns of a tree", KZfCMD_UI,
                       treeColumnArguments, kzOnlyQueried, kzWith(queryTreeColumns, trees)},
                      {"tree.select", "Select in Tree", "selects a row, as a click on it does", KZfCMD_UI,
                       treeSelectArguments, kzWith(selectTreeRow, trees), kzWith(queryTreeSelection, trees)},
                      {"tree.toggle", "Expand in Tree", "expands or collapses a branch", KZfCMD_UI, treeToggleArguments,
                       kzWith(toggleTreeRow, trees), kzWith(queryTreeToggle, trees)},
                      {"tree.close", "Close Tree", "closes a tree that these commands have opened; it keeps its state",
                       KZfCMD_UI, treeCloseArguments, kzWith(closeTree, trees), kzWith(queryOpenTrees, trees)},
                  });
}

}  // namespace kzhost
