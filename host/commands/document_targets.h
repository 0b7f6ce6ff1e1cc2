// What the commands for documents act on: the current scene, and the items and channels that their arguments name.
#pragma once

#include "host/commands/builtin_command.h"
#include "host/objects/open_scenes.h"

namespace kzhost {

// What the rows of such commands share: the flags of what changes the scene, and the arguments that name an item and one of its
// channels.
inline constexpr std::uint32_t kzChangesScene = KZfCMD_UNDO | KZfCMD_MODEL;
inline constexpr ArgumentRow kzItemRow = {"item", KZsTYPE_STRING, kzQueryable,
                                          "the item, by name or identifier; queried, all of the current scene"};
inline constexpr ArgumentRow kzChannelRow = {"channel", KZsTYPE_STRING, kzQueryable,
                                             "the channel; queried, all of the item"};

// Each throws a CommandTextError that names the argument and what there is.
CHostRef<CScene> kzCurrentScene(OpenScenes& scenes);
// By its name as shown, or else by its identifier.
CHostRef<CItem> kzItemArgument(OpenScenes& scenes, CBuiltinCommand& command, const char* argument);
// As above; the main layer when it is left out. A layer is a mesh item.
CHostRef<CItem> kzLayerArgument(OpenScenes& scenes, CBuiltinCommand& command, const char* argument);
std::int32_t kzChannelArgument(const CHostRef<CItem>& item, CBuiltinCommand& command, const char* argument);
// Ends the command if an operation fails, for the reason that the operation gave, if it gave one.
void kzDemand(KzResult code, const char* what);

// For queries: the names of all items of the current scene; empty without one.
Texts kzItemNames(OpenScenes& scenes);
Texts kzChannelNames(const CHostRef<CItem>& item);

}  // namespace kzhost
