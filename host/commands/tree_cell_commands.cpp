// Commands for single cells of trees that modules serve: what they show, editing, clicks and drags.
#include "host/commands/tree_commands.h"

#include "host/core/command_dispatcher.h"
#include "host/core/command_text.h"
#include "host/core/reasons.h"
#include "host/core/refusal.h"
#include "host/objects/drops.h"
#include "host/objects/tree_position.h"
#include "host/objects/tree_views.h"
#include "host/state/command_state.h"

#include "kz/base/object_output.h"
#include "kz/command.h"
#include "kz/drop.h"
#include "kz/result.h"
#include "kz/value.h"

#include <fmt/format.h>

#include <algorithm>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>

namespace kzhost {

namespace {

constexpr std::uint32_t mostBadges = 1000;  // of one cell
constexpr const char* rowMeaning = "the row: indexes as 0/2/1, or a path of the tree's own";
constexpr const char* columnMeaning = "by its name, title or index; the row as a whole when it is left out";

constexpr ArgumentRow treeCellArguments[] = {
    {"name", KZsTYPE_STRING, kzQueryable, kzTreeMeaning},
    {"row", KZsTYPE_STRING, 0, rowMeaning},
    {"column", KZsTYPE_STRING, kzOptional, columnMeaning},
    {"value", KZsTYPE_STRING, kzQueryable, "what the cell becomes, by its own command; queried, what it shows"},
    {"batch", KZsTYPE_BOOLEAN, kzOptional, "changes the cells of all selected rows at once"},
    {"room", KZsTYPE_INTEGER, kzOptional, "pixels for the queried icon; 16 when it is left out"},
    {"region", KZsTYPE_STRING, kzOptional, "a region whose key mappings may apply, for \"inside\""},
    {"flag", KZsTYPE_STRING, kzTreeAnswer, "what the cell is like: editable, button, bold, italic, warning"},
    {"icon", KZsTYPE_STRING, kzTreeAnswer, "the icon"},
    {"badge", KZsTYPE_STRING, kzTreeAnswer, "the small icons, from the left"},
    {"tip", KZsTYPE_STRING, kzTreeAnswer, "what is shown while the mouse rests on the cell"},
    {"help", KZsTYPE_STRING, kzTreeAnswer, "the address of its help"},
    {"menu", KZsTYPE_STRING, kzTreeAnswer, "the form that a right click opens"},
    {"span", KZsTYPE_INTEGER, kzTreeAnswer, "how many columns its text may cover"},
    {"inside", KZsTYPE_BOOLEAN, kzTreeAnswer, "whether the cell belongs to the region"},
    {"command", KZsTYPE_STRING, kzTreeAnswer,
     "the command that edits the cell, or that of all selected rows with batch:1"},
};
constexpr ArgumentRow treeClickArguments[] = {
    {"name", KZsTYPE_STRING, kzQueryable, kzTreeMeaning},
    {"row", KZsTYPE_STRING, 0, rowMeaning},
    {"column", KZsTYPE_STRING, kzOptional, columnMeaning},
};
constexpr ArgumentRow treeDragArguments[] = {
    {"name", KZsTYPE_STRING, kzQueryable, kzTreeMeaning},
    {"row", KZsTYPE_STRING, 0, rowMeaning},
    {"target", KZsTYPE_STRING, 0, "the row on which it is dropped"},
    {"column", KZsTYPE_STRING, kzOptional, columnMeaning},
    {"targetTree", KZsTYPE_STRING, kzOptional, "the tree of that row; the same one when it is left out"},
    {"targetColumn", KZsTYPE_STRING, kzOptional, columnMeaning},
    {"type", KZsTYPE_STRING, kzOptional | kzQueryable,
     "what is dragged, where the row is of several types; queried, these types"},
    {"action", KZsTYPE_STRING, kzOptional | kzQueryable, "what to do with it; queried, what could be done there"},
};

constexpr TreeWord cellWords[] = {{KZfTREE_CELL_EDITABLE, "editable"},
                                  {KZfTREE_CELL_BUTTON, "button"},
                                  {KZfTREE_CELL_BOLD, "bold"},
                                  {KZfTREE_CELL_ITALIC, "italic"},
                                  {KZfTREE_CELL_WARNING, "warning"}};

// Weak, as the dispatcher has the commands.
struct CellCommands {
    std::weak_ptr<CCommandDispatcher> dispatcher;
};

// A cell of an open tree.
struct TreeCell {
    TreeCell(CTreeViews& trees, const std::string& name, const std::string& row, const std::string& columnText)
        : tree(trees.open(name)), at(tree->name(), tree->raw()) {
        at.toRow(row);
        column = at.columnOf(columnText);
        if (at.isDivider()) at.refuse(KZe_INVALIDARG, fmt::format("row {} is a divider, without cells", row));
    }
    std::string title() const { return fmt::format("row {} in column {}", kzTreePathText(at.path()), column); }

    OpenTreeRef tree;
    CTreePosition at;
    std::int32_t column = -1;
};

TreeCell treeCellOf(CTreeViews& trees, CBuiltinCommand& command) {
    return {trees, command.text("name"), command.text("row"), command.text("column")};
}

std::string quotedValue(const std::string& value) {
    std::string text = "\"";
    for (const char each : value) text.append(each == '"' ? 2 : 1, each);
    return text + "\"";
}

// Puts the value in place of the query marks. False if there are none.
bool fillIn(std::string& text, const std::string& value) {
    std::string_view rest;
    kzFirstWord(text, &rest);
    const std::size_t start = text.size() - rest.size();
    const auto arguments = kzParseArguments(rest);
    std::string filled;
    std::size_t copied = 0;
    for (std::size_t index = 0; index < arguments.size(); ++index) {
        if (!arguments[index].isQuery) continue;
        const bool isLast = index + 1 == arguments.size();
        const std::size_t mark = text.rfind('?', isLast ? text.size() : start + arguments[index + 1].at - 2);
        filled += text.substr(copied, mark - copied) + quotedValue(value);
        copied = mark + 1;
    }
    const bool isFilled = copied > 0;
    text = filled + text.substr(copied);
    return isFilled;
}

// The command of a cell, or of all selected rows. Empty where there is none.
std::string commandOf(const TreeCell& cell, bool isBatch) {
    const auto& view = cell.at.view();
    const auto text =
        isBatch ? cell.at.text("BatchCommand", [&](const char** out) { return view.BatchCommand(cell.column, out); })
                : cell.at.text("CellCommand", [&](const char** out) { return view.CellCommand(cell.column, out); });
    return text.value_or("");
}

// Runs it. A command that fails says why itself.
void runCellCommand(const CellCommands& commands, CBuiltinCommand& command, const TreeCell& cell,
                    const std::string& text) {
    const auto dispatcher = commands.dispatcher.lock();
    if (dispatcher == nullptr) throw KZe_NOTAVAILABLE;
    const auto outcome = dispatcher->perform(text, command.environment().state->flags());
    if (kzFailed(outcome.code))
        cell.at.refuse(outcome.code, fmt::format("the command of {} failed: {}", cell.title(), outcome.message));
    cell.tree->changed(&IKzTreeListener::NewAttributes);
}

void editTreeCell(CTreeViews& trees, const CellCommands& commands, CBuiltinCommand& command) {
    const TreeCell cell = treeCellOf(trees, command);
    const bool isBatch = command.flag("batch");
    if ((cell.at.view().CellFlags(cell.column) & KZfTREE_CELL_EDITABLE) == 0)
        cell.at.refuse(KZe_NOTAVAILABLE, cell.title() + " cannot be edited");
    std::string text = commandOf(cell, isBatch);
    const char* operation = isBatch ? "BatchCommand" : "CellCommand";
    if (text.empty()) cell.at.refuse(KZe_NOTAVAILABLE, fmt::format("{} has no {}", cell.title(), operation));
    if (!fillIn(text, command.text("value")))
        cell.at.refuse(KZe_INVALIDARG, fmt::format("{} of {} is \"{}\", without a ? where the value goes", operation,
                                                   cell.title(), text));
    runCellCommand(commands, command, cell, text);
}

// As a single click: it selects the row, where rows can be selected, and runs the command of a button.
void clickTreeCell(CTreeViews& trees, const CellCommands& commands, CBuiltinCommand& command) {
    const TreeCell cell = treeCellOf(trees, command);
    const KzResult code = cell.at.view().Select(KZiTREE_SELECT_PRIMARY);
    if (kzRefuses(code)) cell.at.demand(code, "Select");
    cell.tree->changed(&IKzTreeListener::NewAttributes);
    if ((cell.at.view().CellFlags(cell.column) & KZfTREE_CELL_BUTTON) == 0) return;
    const std::string text = commandOf(cell, false);
    if (text.empty()) cell.at.refuse(KZe_NOTAVAILABLE, fmt::format("the button {} has no CellCommand", cell.title()));
    std::string filled = text;
    if (fillIn(filled, {}))
        cell.at.refuse(KZe_INVALIDARG, fmt::format("the command \"{}\" of the button {} asks for a value; tree.cell "
                                                   "gives it one",
                                                   text, cell.title()));
    runCellCommand(commands, command, cell, text);
}

// The small icons. Nobody has as many as the limit, so a server that never answers NOTFOUND is wrong.
Texts badgesOf(const TreeCell& cell) {
    Texts texts;
    for (std::uint32_t index = 0; index <= mostBadges; ++index) {
        auto text =
            cell.at.text("Badge", [&](const char** out) { return cell.at.view().Badge(cell.column, index, out); });
        if (!text) return texts;
        texts.push_back(std::move(*text));
    }
    cell.at.refuse(KZe_OUTOFBOUNDS, fmt::format("{} has more than {} badges", cell.title(), mostBadges));
}

Texts textOrNone(std::optional<std::string> text) { return text ? Texts{std::move(*text)} : Texts(); }

Texts queryTreeCell(CTreeViews& trees, CBuiltinCommand& command, std::uint32_t index) {
    if (index == 0) return trees.names();
    const std::string_view what = treeCellArguments[index].name;
    const TreeCell cell = treeCellOf(trees, command);
    const CTreePosition& at = cell.at;
    const std::int32_t column = cell.column;
    const auto show = [&](const char* name, KzResult (CKzUser_TreeView::*ask)(std::int32_t, const char**) const) {
        return textOrNone(at.text(name, [&](const char** out) { return (at.view().*ask)(column, out); }));
    };
    if (what == "value") return show("Name", &CKzUser_TreeView::Name);
    if (what == "tip") return show("ToolTip", &CKzUser_TreeView::ToolTip);
    if (what == "help") return show("HelpURL", &CKzUser_TreeView::HelpURL);
    if (what == "menu") return show("PopupMenu", &CKzUser_TreeView::PopupMenu);
    if (what == "badge") return badgesOf(cell);
    if (what == "command") {
        std::string text = commandOf(cell, command.flag("batch"));
        return text.empty() ? Texts() : Texts{std::move(text)};
    }
    if (what == "icon") {
        const std::int32_t room = command.integer("room").value_or(16);
        if (room < 1) kzRefuse(KZe_INVALIDARG, fmt::format("argument \"room\": it is 1 or more, not {}", room));
        return textOrNone(
            at.text("IconResource", [&](const char** out) { return at.view().IconResource(column, room, out); }));
    }
    if (what == "span") {
        std::uint32_t columns = 1;
        return {std::to_string(at.shows(at.view().CellSpan(column, &columns), "CellSpan") ? columns : 1)};
    }
    if (what == "inside") {
        bool isInside = false;
        if (!command.has("region")) kzRefuse(KZe_CMD_MISSING_ARGS, "argument \"region\" is missing");
        const std::string region = command.text("region");
        if (!at.shows(at.view().IsInputRegion(column, region.c_str(), &isInside), "IsInputRegion")) return {"0"};
        return {isInside ? "1" : "0"};
    }
    return kzTreeWords(cellWords, at.view().CellFlags(column));
}

// The types as which a cell can be dragged.
Texts dragTypes(const TreeCell& cell) {
    const CKzUser_TreeView& view = cell.at.view();
    std::istringstream words(
        cell.at
            .text("SupportedDragDropSourceTypes",
                  [&](const char** out) { return view.SupportedDragDropSourceTypes(cell.column, out); })
            .value_or(""));
    Texts types;
    for (std::string type; words >> type;) {
        bool isDraggable = false;
        const KzResult code = view.DragDropSourceType(cell.column, type.c_str(), &isDraggable);
        if (cell.at.shows(code, "DragDropSourceType") && isDraggable) types.push_back(type);
    }
    return types;
}

struct TreeDrag {
    TreeDrag(CTreeViews& trees, CBuiltinCommand& command)
        : source(treeCellOf(trees, command)),
          target(trees, command.text(command.has("targetTree") ? "targetTree" : "name"), command.text("target"),
                 command.text("targetColumn")) {}

    TreeCell source, target;
    CDrops::DragRef drag;
    CKzLoc_Unknown destination;
};

void beginDrag(const CDrops& drops, CBuiltinCommand& command, TreeDrag& dragging) {
    const TreeCell& source = dragging.source;
    const TreeCell& target = dragging.target;
    const Texts types = dragTypes(source);
    if (types.empty()) source.at.refuse(KZe_NOTAVAILABLE, source.title() + " cannot be dragged");
    const std::string type = command.has("type") ? command.text("type") : types.front();
    if (std::ranges::find(types, type) == types.end())
        source.at.refuse(KZe_NOTFOUND, kzThereIsNo("type of what is dragged", type, types));
    CKzLoc_Unknown object;
    source.at.demand(kzObtain(object,
                              [&](IKzUnknown** out) {
                                  return source.at.view().DragDropSourceObject(source.column, type.c_str(), out);
                              }),
                     "DragDropSourceObject");
    const KzResult code = kzObtain(dragging.destination, [&](IKzUnknown** out) {
        return target.at.view().DragDropDestinationObject(target.column, out);
    });
    if (!target.at.shows(code, "DragDropDestinationObject"))
        target.at.refuse(KZe_NOTFOUND, "nothing can be dropped on " + target.title());
    dragging.drag = drops.begin(type, object.raw(), KZf_DROP_COPY | KZf_DROP_LINK);
}

void dragTreeRow(CTreeViews& trees, CDrops& drops, CBuiltinCommand& command) {
    const std::int32_t action = command.has("action") ? kzDropAction(command.text("action")) : KZi_DROPACTION_DEFAULT;
    if (command.has("action") && action == KZi_DROPACTION_DEFAULT)
        kzRefuse(KZe_INVALIDARG,
                 "argument \"action\": " +
                     kzIsNot(command.text("action"), "move, copy, link, replace, apply, load or a number"));
    TreeDrag dragging(trees, command);
    beginDrag(drops, command, dragging);
    drops.drop(*dragging.drag, dragging.destination.raw(), action);
    dragging.source.tree->changed(&IKzTreeListener::NewShape);
    if (dragging.target.tree != dragging.source.tree) dragging.target.tree->changed(&IKzTreeListener::NewShape);
}

Texts queryTreeDrag(CTreeViews& trees, CDrops& drops, CBuiltinCommand& command, std::uint32_t index) {
    if (index == 0) return trees.names();
    if (std::string_view(treeDragArguments[index].name) == "type") return dragTypes(treeCellOf(trees, command));
    TreeDrag dragging(trees, command);
    beginDrag(drops, command, dragging);
    Texts texts;
    for (const CDrops::Offer& offer : drops.offers(*dragging.drag, dragging.destination.raw()))
        for (const DropAction& each : offer.actions)
            if (std::string text = kzDropActionName(each.action); std::ranges::find(texts, text) == texts.end())
                texts.push_back(std::move(text));
    return texts;
}

Texts queryTreeNames(CTreeViews& trees, CBuiltinCommand& /*command*/, std::uint32_t /*index*/) { return trees.names(); }

}  // namespace

// A cell's command makes a step of its own, and a drop does, too.
void kzAddTreeCellCommands(CCommandRegistry& registry, const std::shared_ptr<CTreeViews>& trees,
                           const std::shared_ptr<CCommandDispatcher>& dispatcher,
                           const std::shared_ptr<CDrops>& drops) {
    const auto commands = std::make_shared<CellCommands>(CellCommands{dispatcher});
    kzAddCommands(
        registry,
        {
            {"tree.cell", "Cell of Tree", "edits a cell by its own command, and tells what it shows", KZfCMD_UI,
             treeCellArguments, kzWith(editTreeCell, trees, commands), kzWith(queryTreeCell, trees)},
            {"tree.click", "Click in Tree", "does what a click on a cell does", KZfCMD_UI, treeClickArguments,
             kzWith(clickTreeCell, trees, commands), kzWith(queryTreeNames, trees)},
            {"tree.drag", "Drag in Tree", "drags a row of a tree and drops it on another one",
             KZfCMD_UNDO | KZfCMD_MODEL, treeDragArguments, kzWith(dragTreeRow, trees, drops),
             kzWith(queryTreeDrag, trees, drops)},
        });
}

}  // namespace kzhost
