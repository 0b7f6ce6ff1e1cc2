// What is stored for channels over time: the actions of a document, and the values and keys that each has.
//
// Every scene has four actions: "scene" has the values without time, "setup" the pose that animation starts from,
// "animation" the keys, and "edit" changes that are not keyed yet. Further ones are items: clips, which are mixed into the
// animation while they are active, and poses, which are applied by hand.
#pragma once

#include "host/document/edit.h"
#include "host/document/envelope.h"

#include "kz/action.h"
#include "kz/channel.h"

#include <array>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kzhost {

inline constexpr std::array<const char*, 4> kzSceneActions = {KZs_ACTIONLAYER_EDIT, KZs_ACTIONLAYER_ANIM,
                                                              KZs_ACTIONLAYER_SETUP, KZs_ACTIONLAYER_STATIC};
// Whether the action is one of those that every scene has. Other actions are called by their items' identifiers.
bool kzIsSceneAction(std::string_view action);
// The items of the added actions, in order of creation.
std::vector<Item*> kzActionItems(const CDocument& document);
// The action of that name, as ActionValue calls it; nothing if there is none.
std::optional<std::string> kzFindAction(const CDocument& document, std::string_view name);
// Whether it takes keys: poses, "edit" and "scene" have one value for each channel.
bool kzTakesKeys(const CDocument& document, std::string_view action);
// An iACTIONCLIP_TYPE.
std::int32_t kzActionType(const CDocument& document, std::string_view action);

// What the action says of the channel; null if nothing. The values of "scene" are not among these, its gradients are.
const ActionValue* kzActionValue(const Item& item, const ChannelInfo& channel, std::string_view action);
std::shared_ptr<const EnvelopeData> kzCurveOf(const Item& item, const ChannelInfo& channel, std::string_view action);
// The action that has the channel's keys; null if it has none.
const ActionValue* kzKeyedAction(const Item& item, const ChannelInfo& channel);
// Where writes go that name no action, and where keys go.
std::string kzCurrentAction(const Item& item, const ChannelInfo& channel, double time);
std::string kzKeyAction(const ChannelInfo& channel, std::string_view action);

// A number as a cell of the channel: within its range, and whole where the channel is.
std::optional<KzCell> kzFit(const ChannelInfo& channel, double number);
// A value at a time, as all actions together have it, or as one has it; `source` becomes an iCHANSOURCE. Drivers and
// modifiers play no part. The time iCHANTIME_SETUP stands for the setup.
KzCell kzStoredCell(const Item& item, const ChannelInfo& channel, double time, std::uint32_t* source = nullptr);
KzCell kzStoredCell(const Item& item, const ChannelInfo& channel, double time, std::string_view action);

// How the keys of a channel have changed.
struct KeyChange {
    DocumentEvent::Kind kind = DocumentEvent::Kind::envelope;  // or keyAdded, keyRemoved, keyMoved
    double time = 0, oldTime = 0;
};

// Sets what the action says; without a value and a curve, it says nothing from then on.
void kzSetAction(Item& item, const ChannelInfo& channel, ActionValue value, CEdit& edit);
// As above, and listeners hear how the keys changed. A value that was not keyed yet goes.
void kzSetCurve(Item& item, const ChannelInfo& channel, std::string_view action,
                std::shared_ptr<const EnvelopeData> curve, KeyChange change, CEdit& edit);
// An envelope that suits the channel, without keys.
EnvelopeData kzNewCurve(const ChannelInfo& channel);

// A matrix is stored as the text of its sixteen numbers.
KzCell kzCellOfMatrix(const KzMatrix4& matrix);
std::optional<KzMatrix4> kzMatrixOfCell(const KzCell& cell);

}  // namespace kzhost
