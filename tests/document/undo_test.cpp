// Random edits of every kind, undone and made again: each step must come back to the very document that it left.
#include "host/document/duplicate.h"
#include "host/document/edit.h"
#include "host/document/graphs.h"

#include "kz/result.h"
#include "kz/scene_graph.h"
#include "kz/selection.h"
#include "kz/undo.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <random>
#include <string>
#include <vector>

using namespace kzhost;

namespace {

std::string describe(const Item* item) { return item != nullptr ? item->ident : "-"; }

std::string describe(const KzCell& cell) {
    const auto write = [](const auto& value) -> std::string {
        if constexpr (std::is_same_v<std::decay_t<decltype(value)>, KzColor>)
            return fmt::format("{} {} {}", value[0], value[1], value[2]);
        else return fmt::format("{}", value);
    };
    return std::visit(write, cell);
}

std::string describeLinks(const Item& item) {
    std::string text;
    for (const auto& [graph, links] : item.links) {
        text += " " + graph;
        for (const Item* other : links.forward) text += ">" + describe(other);
        for (const Item* other : links.reverse) text += "<" + describe(other);
    }
    for (const auto& link : item.outputs) {
        text +=
            fmt::format(" {}:{}", link->sourceChannel->name, describe(link->target) + "." + link->targetChannel->name);
        for (const auto& [name, value] : link->attributes) text += fmt::format("[{}={}]", name, value);
    }
    for (const ChannelMember& member : item.channelMembers)
        text += " has " + describe(member.item) + "." + member.channel->name;
    for (const auto& link : item.inputs) text += " from " + describe(link->source) + "." + link->sourceChannel->name;
    return text;
}

// Everything that a document holds, in its orders.
std::string describe(const CDocument& document) {
    std::string text = document.filename();
    document.each(KZiITYPE_ANY, [&](const Item& item) {
        text += fmt::format("\n{} {} \"{}\" \"{}\" {} flags {} parent {}", item.ident, item.type.name, item.name,
                            item.uniqueName, item.serial, item.flags, describe(item.parent));
        text += fmt::format(" source {} instances", describe(item.source));
        for (const Item* each : item.instances) text += " " + describe(each);
        text += " children";
        item.children.each([&](const Item& child) { text += " " + describe(&child); });
        for (const auto& [code, tag] : item.tags) text += fmt::format(" #{}={}", code, tag);
        for (const auto& channel : item.userChannels) text += fmt::format(" +{}:{}", channel->name, channel->flags);
        for (std::size_t i = 0; i < item.channelCount(); ++i)
            if (const auto state = item.values.find(item.channelAt(i)); state != item.values.end())
                text += fmt::format(" {}={}", item.channelAt(i)->name, describe(*state->second.value));
        text += describeLinks(item);
        EXPECT_EQ(document.byName(item.uniqueName), &item);
        EXPECT_EQ(document.byIdent(item.ident), &item);
    });
    text += "\nroots";
    document.roots().each([&](const Item& item) { text += " " + describe(&item); });
    text += "\nselected";
    const PacketList& selected = document.workspace().selection().list(KZi_SELTYP_ITEM);
    selected.each([&](const PacketRef& packet) { text += " " + describe(packet->item.lock().get()); });
    return text;
}

class CRandomEdits {
public:
    explicit CRandomEdits(unsigned seed) : m_random(seed) {
        for (const char* type : {"mesh", "locator", "camera", "group", "folder"})
            m_types.push_back(kzFindItemType(type));
    }

    CWorkspace& workspace() { return *m_workspace; }
    CDocument& document() { return *m_document; }

    void edit() {
        CEdit edit(*m_workspace);
        const Edit operation = edits[below(std::size(edits))];
        (this->*operation)(edit);
        edit.commit();
    }
    std::size_t below(std::size_t count) { return std::uniform_int_distribution<std::size_t>(0, count - 1)(m_random); }

private:
    using Edit = void (CRandomEdits::*)(CEdit&);
    static const Edit edits[16];

    // Not the scene's own item; it makes one if there is none.
    Item& any(CEdit& edit) {
        const std::size_t count = m_document->count(KZiITYPE_ANY);
        return count > 1 ? *m_document->at(KZiITYPE_ANY, 1 + below(count - 1))
                         : edit.add(*m_document, *m_types.front());
    }
    std::string name() { return std::string(1, static_cast<char>('a' + below(4))) + (below(9) == 0 ? " (2)" : ""); }
    const ChannelInfo& channelOf(Item& item) {
        const ChannelInfo* found = nullptr;
        while (found == nullptr || found->type == nullptr) found = item.channelAt(below(item.channelCount()));
        return *found;
    }
    void ensureChannel(Item& item, CEdit& edit) {
        if (item.channelCount() == 0) addChannel(item, edit);
    }
    void addChannel(Item& item, CEdit& edit) {
        const std::string wanted = "user" + std::to_string(below(5));
        if (item.findChannel(wanted) >= 0) return;
        ChannelInfo channel;
        channel.name = wanted;
        channel.type = kzFindType("float");
        channel.initial = 0.0;
        channel.flags = KZfCHAN_USER;
        edit.addChannel(item, channel);
    }

    void add(CEdit& edit) { edit.add(*m_document, *m_types[below(m_types.size())]); }
    void remove(CEdit& edit) { edit.remove(any(edit)); }
    void place(CEdit& edit) {
        Item& item = any(edit);
        Item& parent = any(edit);
        const bool isBelow = &parent == &item || item.isAbove(parent);
        edit.place(item, isBelow ? nullptr : &parent, below(5));
    }
    void rename(CEdit& edit) { edit.rename(any(edit), below(5) == 0 ? "" : name()); }
    void tag(CEdit& edit) {
        std::optional<std::string> text;
        if (below(3) != 0) text = name();
        edit.setTag(any(edit), static_cast<std::uint32_t>(below(3)), text);
    }
    void flags(CEdit& edit) { edit.setFlags(any(edit), static_cast<std::uint32_t>(below(64))); }
    void source(CEdit& edit) {
        Item& item = any(edit);
        Item* source = below(3) == 0 ? nullptr : &any(edit);
        for (const Item* each = source; each != nullptr; each = each->source)
            if (each == &item || &each->type != &item.type) return;
        edit.setSource(item, source);
    }
    void member(CEdit& edit) {
        Item& group = any(edit);
        Item& item = any(edit);
        ensureChannel(item, edit);
        if (!group.channelMembers.empty() && below(2) == 0)
            edit.removeMember(group, *group.channelMembers[0].item, *group.channelMembers[0].channel);
        const ChannelInfo& channel = channelOf(item);
        const auto& members = group.channelMembers;
        if (std::find(members.begin(), members.end(), ChannelMember{&item, &channel}) == members.end())
            edit.addMember(group, item, channel);
    }
    void select(CEdit& edit) {
        CSelection& selection = m_workspace->selection();
        const auto packet = selection.packet({.kind = PacketKind::item, .item = any(edit).shared_from_this()});
        if (selection.list(KZi_SELTYP_ITEM).has(*packet)) selection.remove(KZi_SELTYP_ITEM, packet, edit);
        else if (below(9) == 0) selection.replace(KZi_SELTYP_ITEM, {}, edit);
        else selection.add(KZi_SELTYP_ITEM, packet, edit);
    }
    void value(CEdit& edit) {
        Item& item = any(edit);
        ensureChannel(item, edit);
        if (item.channelCount() == 0) return;
        const ChannelInfo& channel = channelOf(item);
        edit.setValue(item, channel,
                      below(4) == 0 ? std::nullopt : kzCellOf(*channel.type, static_cast<double>(below(2))));
    }
    void addChannel(CEdit& edit) { addChannel(any(edit), edit); }
    void removeChannel(CEdit& edit) {
        Item& item = any(edit);
        if (!item.userChannels.empty()) edit.removeChannel(item, *item.userChannels[below(item.userChannels.size())]);
    }
    void link(CEdit& edit) {
        Item& source = any(edit);
        Item& target = any(edit);
        const GraphInfo& graph = *kzFindGraph(below(2) == 0 ? KZsGRAPH_GROUPS : KZsGRAPH_SCHEMATIC);
        const auto& links = kzLinksOf(source, graph.name).forward;
        const bool isLinked = std::find(links.begin(), links.end(), &target) != links.end();
        if (isLinked && below(2) == 0) edit.moveLink(graph.name, source, below(3), target, below(3));
        else if (isLinked) edit.unlink(graph.name, source, target);
        else if (!kzWouldClose(source, target, graph)) edit.link(graph.name, source, below(3), target, below(3));
    }
    void linkChannels(CEdit& edit) {
        Item& source = any(edit);
        Item& target = any(edit);
        ensureChannel(source, edit);
        ensureChannel(target, edit);
        const ChannelInfo& output = channelOf(source);
        const ChannelInfo& input = channelOf(target);
        if (kzChannelsWouldClose(source, output, target, input)) return;
        edit.linkChannels(source, output, target, input);
        edit.setAttribute(*source.outputs.back(), name(), name());
    }
    void unlinkChannels(CEdit& edit) {
        Item& item = any(edit);
        if (!item.inputs.empty()) edit.unlinkChannels(*item.inputs[below(item.inputs.size())]);
    }
    void duplicate(CEdit& edit) {
        if (m_document->count(KZiITYPE_ANY) < 60) kzDuplicate(any(edit), below(2) == 0, edit);
        else edit.setFilename(*m_document, name());
    }

    std::mt19937 m_random;
    std::shared_ptr<CWorkspace> m_workspace = std::make_shared<CWorkspace>();
    std::shared_ptr<CDocument> m_document = m_workspace->open("test");
    std::vector<const ItemType*> m_types;
};

const CRandomEdits::Edit CRandomEdits::edits[16] = {
    &CRandomEdits::add,           &CRandomEdits::remove,         &CRandomEdits::place,        &CRandomEdits::rename,
    &CRandomEdits::tag,           &CRandomEdits::flags,          &CRandomEdits::source,       &CRandomEdits::value,
    &CRandomEdits::addChannel,    &CRandomEdits::link,           &CRandomEdits::linkChannels, &CRandomEdits::duplicate,
    &CRandomEdits::removeChannel, &CRandomEdits::unlinkChannels, &CRandomEdits::member,       &CRandomEdits::select};

TEST(UndoTest, ComesBackToEveryState) {
    CRandomEdits edits(1);
    CWorkspace& workspace = edits.workspace();
    workspace.setLimits(20'000, std::size_t{1} << 32);
    constexpr std::size_t count = 10'000, every = 50;
    std::vector<std::string> states{describe(edits.document())};
    for (std::size_t i = 1; i <= count; ++i) {
        edits.edit();
        if (workspace.stepCount(Direction::reverse) < i) workspace.beginBlock("nothing", 0), workspace.endBlock();
        if (i % every == 0) states.push_back(describe(edits.document()));
    }
    ASSERT_EQ(workspace.stepCount(Direction::reverse), count);
    const std::string end = states.back();
    for (std::size_t i = states.size() - 1; i-- > 0;) {
        workspace.undo(every);
        ASSERT_EQ(describe(edits.document()), states[i]) << "after undoing down to step " << i * every;
    }
    EXPECT_FALSE(edits.document().isModified());
    for (std::size_t i = 1; i < states.size(); ++i) {
        workspace.redo(every);
        ASSERT_EQ(describe(edits.document()), states[i]) << "after redoing up to step " << i * every;
    }
    EXPECT_TRUE(edits.document().isModified());
}

TEST(UndoTest, AnEditThatIsNotCommittedNeverWas) {
    CRandomEdits edits(2);
    for (int i = 0; i < 200; ++i) edits.edit();
    CWorkspace& workspace = edits.workspace();
    const std::string before = describe(edits.document());
    const std::size_t steps = workspace.stepCount(Direction::reverse);
    {
        CEdit edit(workspace);
        Item& item = edit.add(edits.document(), *kzFindItemType("mesh"));
        edit.rename(item, "a");
        while (edits.document().count(KZiITYPE_ANY) > 1) edit.remove(*edits.document().at(KZiITYPE_ANY, 1));
    }
    EXPECT_EQ(describe(edits.document()), before);
    EXPECT_EQ(workspace.stepCount(Direction::reverse), steps);
}

// A change of somebody else's, which notes what is asked of it and may edit the document meanwhile.
class CNotedChange final : public CChange {
public:
    CNotedChange(std::string& calls, std::function<void()> meanwhile)
        : CChange(nullptr), m_calls(calls), m_meanwhile(std::move(meanwhile)) {}
    void apply(Direction direction, DocumentEvents& /*events*/) override {
        m_calls += direction == Direction::forward ? "forward " : "reverse ";
        m_meanwhile();
    }
    bool isForeign() const override { return true; }

private:
    std::string& m_calls;
    std::function<void()> m_meanwhile;
};

KzResult codeOf(const std::function<void()>& call) {
    try {
        call();
        return KZe_OK;
    } catch (KzResult code) {
        return code;
    }
}

TEST(UndoTest, BlocksAreStepsAsTheirFlagsSay) {
    const auto workspace = std::make_shared<CWorkspace>();
    const auto document = workspace->open("test");
    const auto add = [&] {
        CEdit edit(*workspace);
        edit.add(*document, *kzFindItemType("mesh"));
        edit.commit();
    };
    const auto block = [&](const char* name, std::uint32_t flags, int items) {
        workspace->beginBlock(name, flags);
        for (int i = 0; i < items; ++i) add();
        workspace->endBlock();
    };
    const auto steps = [&] { return workspace->stepCount(Direction::reverse); };
    const auto items = [&] { return document->count(KZiITYPE_ANY) - 1; };

    block("two", 0, 2);
    block("none", KZfUNDO_BLOCK_NOEMPTY, 0);
    EXPECT_EQ(steps(), 1U);
    block("drag", KZfUNDO_BLOCK_MERGE, 1);
    block("drag", KZfUNDO_BLOCK_MERGE, 1);
    EXPECT_EQ(steps(), 2U);
    block("quiet", KZfUNDO_BLOCK_HIDDEN, 1);
    EXPECT_EQ(steps(), 2U);
    EXPECT_EQ(workspace->stepName(Direction::reverse, 0), "drag");
    workspace->undo(1);
    EXPECT_EQ(items(), 2U);

    workspace->beginBlock("outer", 0);
    add();
    workspace->beginBlock("inner", 0);
    add();
    EXPECT_EQ(codeOf([&] { workspace->undo(1); }), KZe_NOTAVAILABLE);
    workspace->discardBlock();
    EXPECT_EQ(items(), 3U);
    workspace->endBlocksAbove(0);
    EXPECT_EQ(codeOf([&] { workspace->endBlock(); }), KZe_NOTAVAILABLE);
    EXPECT_EQ(codeOf([&] { workspace->redo(1); }), KZe_NOTAVAILABLE);  // a new step ended what was undone
    EXPECT_EQ(codeOf([&] { workspace->undo(3); }), KZe_NOTAVAILABLE);
    EXPECT_EQ(codeOf([&] { workspace->stepName(Direction::reverse, 2); }), KZe_OUTOFBOUNDS);

    workspace->suspend(true);
    EXPECT_EQ(workspace->state(), static_cast<std::uint32_t>(KZiUNDO_STATE_SUSPENDED));
    EXPECT_EQ(steps(), 2U);
    add();  // no older step fits what is there now
    workspace->suspend(false);
    EXPECT_EQ(steps(), 0U);
    EXPECT_EQ(items(), 4U);

    workspace->setLimits(3, std::size_t{1} << 30);
    for (int i = 0; i < 9; ++i) add();
    EXPECT_EQ(steps(), 3U);
    workspace->close(*document);
    EXPECT_EQ(steps(), 0U);
}

TEST(UndoTest, ForeignChangesAreCalledInTurn) {
    const auto workspace = std::make_shared<CWorkspace>();
    const auto document = workspace->open("test");
    const auto add = [&] {
        CEdit edit(*workspace);
        edit.add(*document, *kzFindItemType("mesh"));
        edit.commit();
    };
    std::string calls, told;
    workspace->setSink([&](const DocumentEvent& event) {
        if (event.kind == DocumentEvent::Kind::itemAdded) told += "added ";
        if (event.kind == DocumentEvent::Kind::itemRemoved) told += "removed ";
        if (event.kind != DocumentEvent::Kind::itemRemoving) return;
        told += event.item->isPresent ? "removing " : "gone ";
        EXPECT_EQ(codeOf(add), KZe_NOTREADY);  // who hears of it first may not change anything yet
    });
    workspace->beginBlock("both", 0);
    workspace->make(std::make_unique<CNotedChange>(calls, [] {}));
    add();
    workspace->record(std::make_unique<CNotedChange>(calls, add));  // changes the document when it is undone
    workspace->endBlock();
    EXPECT_EQ(calls, "forward ");
    EXPECT_EQ(told, "added ");
    workspace->undo(1);
    EXPECT_EQ(calls, "forward reverse reverse ");
    EXPECT_EQ(told, "added added removing removed ");
    workspace->redo(1);
    EXPECT_EQ(calls, "forward reverse reverse forward forward ");
    EXPECT_EQ(workspace->stepCount(Direction::reverse), 1U);
    // A block that cannot be discarded keeps what was done in it, and the history goes on.
    workspace->beginBlock("broken", 0);
    add();
    workspace->record(std::make_unique<CNotedChange>(calls, [] { throw KZe_FAILED; }));
    EXPECT_EQ(codeOf([&] { workspace->discardBlock(); }), KZe_FAILED);
    EXPECT_EQ(document->count(KZiITYPE_ANY), 5U);
    EXPECT_FALSE(workspace->isUndoing());
    add();
    EXPECT_EQ(workspace->stepCount(Direction::reverse), 3U);
}

}  // namespace
