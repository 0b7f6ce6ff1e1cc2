// New channels, as AddChannel objects describe them: those of an item, or of a type that is being declared.
#pragma once

#include "host/core/object.h"
#include "host/document/item_types.h"
#include "host/state/function_ref.h"

#include "kz/channel.h"

#include <string>
#include <vector>

namespace kzhost {

// Where new channels go. Each operation throws what is wrong.
class NewChannels {
public:
    NewChannels() = default;
    NewChannels(const NewChannels&) = delete;
    NewChannels& operator=(const NewChannels&) = delete;
    virtual ~NewChannels() = default;

    virtual void add(ChannelInfo channel) = 0;
    virtual ChannelInfo find(const std::string& name) const = 0;
    virtual void change(const std::string& name, CFunctionRef<void(ChannelInfo&)> change) = 0;
    // All of them or none.
    virtual void replace(const std::string& name, std::vector<ChannelInfo> channels) = 0;
};

// The channels of a type that is being declared.
class CTypeChannels final : public NewChannels {
public:
    CTypeChannels(const ItemType& base, std::string typeName) : m_base(base), m_typeName(std::move(typeName)) {}
    void add(ChannelInfo channel) override;
    ChannelInfo find(const std::string& name) const override { return const_cast<CTypeChannels*>(this)->at(name); }
    void change(const std::string& name, CFunctionRef<void(ChannelInfo&)> change) override { change(at(name)); }
    void replace(const std::string& name, std::vector<ChannelInfo> channels) override;
    // The channels so far. From now on every operation throws NOTAVAILABLE.
    std::vector<ChannelInfo> finish();

private:
    ChannelInfo& at(const std::string& name);
    void refuseTwice(const std::string& name) const;

    const ItemType& m_base;
    const std::string m_typeName;
    std::vector<ChannelInfo> m_channels;
    bool m_isOpen = true;
};

// Without a channel, NewChannel comes first.
IKzUnknown* kzMakeAddChannel(std::shared_ptr<NewChannels> channels, std::string channel);

}  // namespace kzhost
