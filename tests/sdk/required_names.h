// Methods that the description must hold in this order: other programs have compiled it in.
// Each is a list of words.
#pragma once

#include <string_view>

namespace required {

// A command's methods in their order, with the arguments that Python gets.
inline constexpr std::string_view commandMethods =
    "Tag() Name() UserName() ButtonName() Desc() Tooltip() Help() Example() Icon() Flags() PostExecFlags() "
    "PostExecBehaviorFlags() PostExecHints() SandboxGUID() Message() Enable(O) ContainedEnable() Interact() "
    "PreExecute() Execute(I) ToggleArg() ArgFlags(I) ArgClear(I) ArgResetAll() ArgSetDatatypes() ArgUserName(I) "
    "ArgDesc(I) ArgExample(I) ArgType(I) ArgTypeUserName(I) ArgTypeDesc(I) ArgOptionUserName(II) ArgOptionDesc(II) "
    "DialogInit() DialogArgChange(I) ArgEnable(I) ArgParseString(Iz) Copy(O) Query(IO) NotifyAddClient(iO) "
    "NotifyRemoveClient(O) DialogFormatting() IconImage(ii) ArgOptionIconName(II)";

// The events of the command system.
inline constexpr std::string_view commandEvents =
    "SystemReady UndoLockout CommandAdded AliasAdded AliasRemoved ExecutePre ExecuteResult ExecutePost BlockBegin "
    "BlockEnd BlockEndedPostMode RefireBegin RefireEnd RefiringNext PostModeBegin PostModeEnd PostModeRestart "
    "PostModeUndoNext UserUndo UserRedo";

// The methods of a badge of the preset browser.
inline constexpr std::string_view badgeMethods =
    "BadgesSupported BadgeIsAlwaysVisible BadgeOverride BadgeTooltip BadgeStarRatingOverride BadgeAction "
    "BadgeStarRatingAction";

}  // namespace required
