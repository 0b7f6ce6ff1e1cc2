// What readers and writers of channels have in common, and the envelopes of channels.
#pragma once

#include "host/document/evaluation.h"
#include "host/objects/scene.h"

#include <memory>
#include <string>
#include <string_view>

namespace kzhost {

class CChannelAccess {
public:
    // Without an action, what all actions together say. Throws INVALIDARG for a time that is not finite.
    CChannelAccess(CHostRef<CScene> scene, std::string action, double time);

protected:
    // The item under the lock. Throws INVALIDARG for an item of another scene.
    CItemReading at(IKzUnknown* item) const;
    std::int32_t named(IKzUnknown* item, const char* name) const;
    // A channel with a stored value; throws INVALIDARG for others.
    static const ChannelInfo& stored(const Item& item, std::int32_t channel);
    KzResult giveAction(const char** action) const;
    KzResult setTime(double time);
    double time() const { return m_time; }
    const std::string& action() const { return m_action; }
    CDocument& document() const { return m_scene->document(); }
    CWorkspace& workspace() const { return document().workspace(); }

private:
    CHostRef<CScene> m_scene;
    std::string m_action;
    double m_time;
};

// Throws a code, and logs the reason, if the channel cannot be written or takes no such value.
void kzCheckWrite(const ChannelInfo& channel, const KzCell& cell);
// As above, for keys: also if the channel or the action takes none.
void kzCheckKeys(const Item& item, const ChannelInfo& channel, std::string_view action);

// The envelope of a channel in one action, or that of a gradient. Its writes are changes of the document.
std::shared_ptr<EnvelopeHome> kzChannelEnvelope(CHostRef<CItem> item, const ChannelRef& channel, std::string action);
// The action whose envelope is meant when none is named: the one that has keys, or the one that takes them.
std::string kzEnvelopeAction(const Item& item, const ChannelInfo& channel, std::string_view action);
bool kzHasKeys(const Item& item, const ChannelInfo& channel, std::string_view action);

}  // namespace kzhost
