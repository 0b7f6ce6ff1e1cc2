// Changes documents. An edit holds the lock; what it has done is reversed when it goes without a commit, so that an
// operation is made as a whole or not at all. Arguments must be valid: who offers an operation to others checks them first.
#pragma once

#include "host/document/workspace.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace kzhost {

class CEdit final : public CChanges {
public:
    // Throws NOTREADY while steps are undone or redone.
    explicit CEdit(CWorkspace& workspace);
    ~CEdit();
    // Records what was done.
    void commit();
    // Ends the making of a document: what was done to it is no step of the history, has nobody to hear of it, and leaves
    // nothing to be saved.
    void commitLoaded(CDocument& document);

    // A new item, as the last root. Without an identifier it gets a new one.
    Item& add(CDocument& document, const ItemType& type, std::string ident = {});
    // With everything below it and all links to these.
    void remove(Item& item);
    // Null makes it a root. Past the end, it becomes the last.
    void place(Item& item, Item* parent, std::size_t position);
    // The number tells the item from others of its name, if it is free; 0 takes the first that is.
    void rename(Item& item, std::string name, std::uint32_t number = 0);
    // Without a text, the tag goes.
    void setTag(Item& item, std::uint32_t code, std::optional<std::string> text);
    void setFlags(Item& item, std::uint32_t flags);
    void setSource(Item& item, Item* source);

    void setChannel(Item& item, const ChannelInfo& channel, ChannelState state);
    void setValue(Item& item, const ChannelInfo& channel, std::optional<KzCell> value);
    const ChannelInfo& addChannel(Item& item, ChannelInfo channel);
    void removeChannel(Item& item, const ChannelInfo& channel);
    // The item has not got that package, nor any of the channels. Removing one takes its channels and data along.
    void addPackage(Item& item, const std::string& name, const std::vector<ChannelInfo>& channels);
    void removePackage(Item& item, const std::string& name);
    // Changes the description of a user channel.
    void describeChannel(Item& item, const ChannelInfo& channel, ChannelInfo description);

    // Positions are among the links of each end; past the end, the link becomes the last.
    static constexpr std::size_t last = SIZE_MAX;
    void link(std::string graph, Item& source, std::size_t sourceIndex, Item& target, std::size_t targetIndex);
    // To those places among the other links.
    void moveLink(const std::string& graph, Item& source, std::size_t sourceIndex, Item& target,
                  std::size_t targetIndex);
    void unlink(const std::string& graph, Item& source, Item& target);
    void unlinkAll(const std::string& graph, Item& item);
    ChannelLink& linkChannels(Item& source, const ChannelInfo& sourceChannel, Item& target,
                              const ChannelInfo& targetChannel, std::size_t targetIndex = last);
    void unlinkChannels(ChannelLink& link);
    // A channel joins or leaves a group.
    void addMember(Item& group, Item& item, const ChannelInfo& channel);
    void removeMember(Item& group, Item& item, const ChannelInfo& channel);
    void setAttribute(ChannelLink& link, const std::string& name, std::optional<std::string> value);

    void setFilename(CDocument& document, std::string path);

private:
    void run(std::unique_ptr<CChange> change) override;
    DocumentEvents& events() override { return m_workspace.m_events; }
    void removeOne(Item& item);
    void detach(Item& instance);

    CWorkspace::CHold m_hold;
    CWorkspace& m_workspace;
    ChangeList m_changes;
    std::size_t m_firstEvent;
};

// What listeners must hear before an item is removed. The lock must be held.
DocumentEvents kzRemoving(Item& item);

}  // namespace kzhost
