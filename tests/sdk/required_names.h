// What the description must hold, name by name: other programs rely on these names, and scripts in the field too.
// Each is a list of words.
#pragma once

#include <string_view>

namespace required {

// The types of kz.object. With an adapter, its prefix and how many operations it forwards follow, and behind a "+" how many
// it answers by itself; "-" is before those that have an adapter alone.
inline constexpr std::string_view interfaces =
    "ActionClip ActionLayerPacketTranslation ActionListener:actl:3 AddChannel AddDropAction AdjustTool "
    "AnimListener:animevent:7 AppActiveListener:activeevent:1 -ApplicationAbout:about:3 -ApplicationClient:app:27 "
    "-AssemblyAlias:alias:3+1 AsyncMonitorInfo:amonsys:10 AsyncMonitorSystem Attributes:attr:13 AttributesUI:atrui:3 "
    "AttrSequence Audio:audio:12+1 AudioDevice AudioHandle AudioLoaderTarget AudioWrite:audiow:5+1 "
    "AutoSaveListener:asl:1 BagGenerator BasePathAddDest BlockRead BlockStore BlockWrite Buffer:buff:19+2 "
    "CacheData:cache:1 CenterPacketTranslation ChannelDest:chand:2 ChannelDropPreview:chandp:1 ChannelGraph "
    "ChannelModifier -ChannelModItem:cmod:3+1 -ChannelModManager:cman:2 -ChannelModOperator:cmop:1 ChannelModSetup "
    "ChannelPacketTranslation ChannelRead ChannelUI:cui:9 ChannelWrite ClipDest:locd:3 CmdSysListener:cmdsysevent:20 "
    "Color:color:4 ColorDialog:colordlg:1 ColorMapping:cmap:7+3 ColorMappingModule:cmapmod:1 ColorModel:colm:11 "
    "ColorPreDest:colpd:3 Command:cmd:44 CommandDBHelp CommandEvent:cevt:1 -CompShader:csh:6+4 Curve:curve:19 "
    "CurveGroup:cgrp:3 -CustomMaterial:cmt:13+4 CustomPane CustomView:customview:4 Deformation:deform:4+1 "
    "Deformer:dinf:7+2 DirBrowserBasePathEntryDest DirCacheEntry DirCacheFileMetrics:dcfilemetrics:3 "
    "DirCacheGridPosDest DirCacheManualOrderDest DirCacheSynthetic:dcsyn:2 DirCacheSyntheticEntry:dcsyne:11 "
    "DirEntryThumbAsync:detasync:3 DrawingOverride:drov:6+1 Drop:drop:4 DropPreviewDefault DTBBadgeOverride:dtbbo:7 "
    "DTBDropPreview DTBGroupSortOverride:gso:2 Edge EdgePacketTranslation ElementAxisPacket ElementCenterPacket "
    "Envelope EvalModifier:eval:3 Evaluation EvaluationStack EventGuide EventTranslatePacket ExternalRender:rend:6+1 "
    "ExternalRenderBufferQueue ExternalRenderNotifier:ntf:1+1 Factory:fac:7+1 Falloff:fall:3+1 FalloffPacket "
    "-FileDialogClient:filedlg:8 FileRedirect FileReference FileSysDest Force:force:5+2 FormDeleteEntryDest "
    "FormEntryDest FormEntryDropPreview FrameBuffer:fbuf:95+5 FrameWindow GeoCacheSegment GeoCacheSurface GLImage "
    "GLMaterial GLShadingListener:gls:3 GLViewport GLViewportClient:glclient:6 GradientFilter:grfilt:4 GroupDeformer "
    "GroupDest:grpd:2 GroupEnumerator GroupItem GroupMemberChanDest:grpmcd:3 GroupMemberItemDest:grpmid:3 HandleDraw "
    "Image:img:4 -ImageBlockCodec::0+3 ImageFilter:imf:5 ImageFilterMetrics::0+2 ImageLevelSample:level:4+1 "
    "ImageLoaderTarget ImageMonitor:imon:12 ImageProcessing ImageProcessingListener:improl:2 ImageProcessingRead "
    "ImageSegment:imgs:2 ImageWrite:imgw:5 IndexImage IndexImageWrite InputDeviceInstance:indevinst:11 "
    "InputDevices:indev:3 Instanceable:instable:3 InstanceAssets:instass:5 Interviewer:intrv:4 IntRange Item "
    "ItemChannel ItemCollection ItemGraph ItemInfluence:iinf:4 ItemListType:ilt:3 ItemPacketTranslation "
    "ItemReplacement:itemrep:4 ItemTypeDest:ityped:2 Keyframe Kit LayeredImage:limg:10 LayeredImageWrite:limgw:5 "
    "LayerScan Lighting LightSample LineExecution:lin:5 LineInterpreter:lin:3 LinkPacketTranslation "
    "ListenerPort:lport:2 Loader:load:5 LoaderInfo:linf:4 LocatorDest:locd:2 Log LogEntry LogInfoBlock:lb:4 "
    "LogListener:logevent:7 Matrix MergedDirCacheEntry MergedFileSysDest Mesh MeshBlend MeshDest:meshd:3 "
    "MeshElementGroup:eltgrp:6 MeshFilter:mfilt:3 MeshFilterBBox:mfbbox:1 MeshFilterBlend MeshFilterIdent "
    "MeshInfluence:minf:6 MeshLayerPreDest:mlpd:3 -MeshListener:ml:2 MeshMap -MeshMetaData:meta:3 MeshOpDest:locd:4+1 "
    "MeshOperation:mop:7 MeshTracker MeshXtraData Message:msg:11 Modifier:mod:7 Module:mod:2 Monitor:mon:2 "
    "-Movie:mov:5 NavigationListener:nav:7 NeedContext:need:1 NodePacketTranslation Notifier:noti:5 Object:obj:5 "
    "Package:pkg:5 PackageInstance:pins:11 PacketEffect:pfx:5 PaintBrushPacket PaintInkPacket PaintNozzlePacket "
    "ParticleCoOperator:pcoi:4 ParticleEvalFrame ParticleFilter:pfilt:7+1 ParticleGeneratorPacket:partgen:4+3 "
    "ParticleItem:prti:2 PathGeneratorPacket:pathgen:11+2 PathStep Pattern PersistenceClient:cc:3 PersistentEntry "
    "PivotPacketTranslation Point PointCacheItem:pcache:4 Polygon PolygonEdit PolygonPacketTranslation PolygonSlice "
    "PoseItem PresetBrowserSource PresetDo:pdo:2 PresetLoaderTarget PresetMetrics:pmet:6 PresetPathPacketTranslation "
    "PresetType:ptyp:10 Preview PreviewNotifier::0+1 Profile1DPreDest:p1pd:9+1 Profile2DPreDest:p2pd:8 "
    "ProjDirOverride:pdo:1 ProxyOptions Quaternion Raycast RaycastPacket Raymarch:rmrch:3+2 RenderBucket RenderCache "
    "-RenderCacheListener:rli:9 RenderJob:rjob:38+2 RenderProgressListener:rndprog:2 RenderStats ReplicatorEnumerator "
    "Saver:sav:2 Scene SceneAssets SceneContents SceneEvalListener:sel:3 SceneGraph SceneItemListener:sil:30 "
    "SceneItemPreDest:sipd:5 SceneLoaderTarget ScenePacketTranslation SceneSubset:scnsub:2 SchemaDest:schmd:8 "
    "SchematicConnection:schm:18 SchematicGroup SchematicNode SchematicNodeChannel SchematicNodeConnection "
    "Script:scr:10 ScriptLineEvent:slev:2 ScriptManager:scman:10 ScriptQuery:sq:4 SelectionListener:selevent:5 "
    "SelectionOperation:selop:6 SelectionState SelectionType:seltyp:5 -ServiceExtension:ser:1 SessionListener:sesl:7 "
    "Shader ShaderDest:locd:3 ShaderPreDest:spd:6 ShaderSlice ShapeDraw SharedWork:share:3 SimulationListener "
    "SimulationModifier:sim:6 SolidDrill StackFilter:filt:4 storage StreamIO:io:2 StringConversion:str:2 "
    "StringConversionNice:nicestr:2 StringTag:stag:4 StrokeDraw Subdivision:subdiv:36+2 Subject2Packet "
    "Surface:surf:7+1 SurfaceBin:surfbin:2 SurfaceItem:isurf:3 SymmetryPacket Tableau TableauElement "
    "TableauInstance:tins:5 TableauLight:tlgt:7+1 -TableauListener:tli:3 TableauProxy:tpro:5 TableauShader:tsha:2 "
    "TableauSource:tsrc:7 TableauSurface:tsrf:7 TableauVertex TableauVolume:tvol:9 TagDescription:tag:1+1 "
    "TextEncoding TextScriptInterpreter:tsi:3 TextureEffect:tfx:4 TexturePacket ThreadGroup ThreadJob:job:1 "
    "ThreadMutex ThreadRangeWorker:rngw:1 ThreadSlot ThreadSlotClient:tsc:1+1 TileImage:tileimg:6 Tool:tool:10 "
    "ToolModel:tmod:18 ToolOperation:top:3 TransformScan Tree:tree:11 TreeListener:tlis:6 TreeView:treeview:31 "
    "TriangleGroup TriangleSoup:soup:5 TriangleSurface UIHints UIHintsRead UIValueHints:uiv:18 Undo:undo:2 Unknown "
    "UserValue UserValueListener:uvl:4 Value:val:13 ValueArray:va:19 ValueConversion:conv:2 ValueMath:math:5 "
    "ValueReference -ValueTexture:vtx:6+3 Variation:var:6 VectorCanvas:canvas:3 "
    "VectorKnotPacketTranslation:knottrans:4+2 VectorList VectorListener:vtl:7 -VectorPacket:vpkt:10+2 "
    "VectorPath:path:8 VectorPathPacketTranslation:pathtrans:5 VectorShape:shape:6 "
    "VectorShapePacketTranslation:shapetrans:4 VectorStack VectorType VertexPacketTranslation VideoClipItem:vclip:2+1 "
    "View View3D ViewItem3D:vitm:9 ViewObject:viewobj:6 VirtualDevice:vdev:8 VirtualModel:vmodel:8 Visitor:vis:1 "
    "VMapPacketTranslation Voxel:voxel:6+2 Waterfall:wfall:5 WeightMapDeformerItem:wmd:2 WorkList:work:4";

// The types of kz.service.
inline constexpr std::string_view services =
    "Application AudioAnim Cache ChannelUI ColorMapping Command Deformer DirCache Drop File GUID Host IO Image "
    "ImageMonitor ImageProcessing InputMap Interviewer Layer Listener Log Mesh Message Network Nodal NotifySys Packet "
    "Particle Persistence Platform PresetBrowser PresetDestination PresetPackage Preview Render RenderCache Scene "
    "ScriptSys Selection Shader StdDialog Tableau TextEncoding Thread Undo Value ValueHUD Variation VertexFeature "
    "View3Dport";

// The names in kz.result.
inline constexpr std::string_view resultCodes =
    "ABORT ALREADYEXISTS CKPTOVERFLOW CMD_ACTION_COMPLETED CMD_ALL_ARGUMENTS_HIDDEN CMD_ALREADY_EXISTS "
    "CMD_ALREADY_REFIRING CMD_ARGUMENT_ALREADY_SET CMD_ARGUMENT_NOT_QUERYABLE CMD_BAD_DEFINITION "
    "CMD_BAD_DIALOG_FORMAT CMD_DATATYPE_UNAVAILABLE CMD_DIFFERENT_TYPES CMD_DISABLED CMD_ERROR_ARG_MISSING_VALUE "
    "CMD_ERROR_SETTING_DATATYPE CMD_EXPECTED_OPENING_BRACE CMD_HAS_NO_ARGUMENTS CMD_ILLEGAL_DURING_INITIALIZATION "
    "CMD_ILLEGAL_REFIRE_BEGIN CMD_ILLEGAL_REFIRE_END CMD_INVALID_ON_PROTO CMD_MISSING_ARGS CMD_NOT_ALIASED "
    "CMD_NOT_AVAILABLE CMD_NOT_EXECUTABLE CMD_NO_QUERY_MARKED CMD_QUERY_MISMATCHED_DATATYPES "
    "CMD_REQUIRES_USER_INTERACTION CMD_SANDBOXED CMD_SANDBOX_GLOBAL CMD_SANDBOX_NOT_COMPATIBLE CMD_SANDBOX_ONLY "
    "CMD_TOO_MANY_ARGUMENTS CMD_TOO_MANY_QUERIES_MARKED CMD_UNBALANCED_BRACES CMD_UNDOS_LOCKED_OUT "
    "CMD_UNKNOWN_ARGUMENT CMD_UNKNOWN_COMMAND CMD_VARIABLE_DATATYPES_PENDING CMD_VARIABLE_DATATYPES_SET CRASH "
    "DEFORM_AUTO_COLOR DEFORM_DIFFERENT DEFORM_IDENTICAL DEFORM_NEWOFFSET DEFORM_NEWWEIGHT DISABLED EVAL_DIFFERENT "
    "EVAL_IDENTICAL FAILED FALSE FILEDIALOG_BADCLASS FILEDIALOG_BADFORMAT FILE_REMAP GEO_SIZE_LIMIT GRAPH_CYCLIC "
    "INCOMPATIBLE_SCENE INFINITE_BOUND INFO INPUTMAP_BAD_COMBO INPUTMAP_COMBO_GLOBALLY_MAPPED INPUTMAP_EVENT_FOUND "
    "INPUTMAP_EVENT_GLOBALLY_MAPPED INPUTMAP_REGION_FOUND INPUTMAP_UNKNOWN_EVENT INPUTMAP_UNKNOWN_REGION "
    "INPUTMAP_UNMAPPED INVALIDARG IO_ERROR IO_NEEDGL IO_PARTIALSTRING IO_SHORTREAD IO_TRUNCATED LOG_DEBUG "
    "MAINTHREADONLY MSGDIALOG_AS_OKCANCEL MSGDIALOG_AS_SAVEOK MSGDIALOG_AS_YESNO MSGDIALOG_AS_YESNOALL "
    "MSGDIALOG_AS_YESNOCANCEL MSGDIALOG_AS_YESNOTOALL MSGDIALOG_AS_YESTOALLCANCEL MSGDIALOG_CANCEL MSGDIALOG_EMPTY "
    "MSGDIALOG_INVALID MSGDIALOG_NO MSGDIALOG_NOTOALL MSGDIALOG_OK MSGDIALOG_YES MSGDIALOG_YESTOALL NOACCESS "
    "NOINTERFACE NOTAVAILABLE NOTFOUND NOTIMPL NOTREADY NOTSUPPORTED OK OK_INEXACT_MATCH OK_NO_CHOICES OUTOFBOUNDS "
    "OUTOFMEMORY PARTICLE_KILL PRESET_ALREADY_APPLIED QUERY_ERROR QUERY_MISMATCHED_SELECTION QUERY_MISMATCHED_TYPE "
    "QUERY_NEED_SELECTION QUERY_NOT_APPLICABLE_TO_SELECTED QUERY_SELECT_FAILED QUERY_SERVICE_UNAVAILABLE "
    "QUERY_UNKNOWN_ATTRIBUTE QUERY_UNKNOWN_SERVICE RECOVERING REF_BADID REF_BADPTR REF_DUPLICATE REMAP_BASENAME "
    "REMAP_DIRECT REMAP_PATH REMAP_PATTERN RENDER_ABORTING RENDER_BAKE_TARGET RENDER_EMBREE_CONTEXT "
    "RENDER_EMBREE_LAUNCH RENDER_EMBREE_SCENE RENDER_IDLE RENDER_INVALID_DENOISER RENDER_IN_PROGRESS "
    "RENDER_NOT_RENDERING RENDER_NO_JOB RENDER_NO_MFP_WITH_WB2D RENDER_NO_PROGRESS_IMAGE RENDER_NO_VISIBLE_OUTPUTS "
    "RENDER_OPTIX_CONTEXT RENDER_OPTIX_LAUNCH RENDER_OPTIX_SCENE RENDER_RENDERING RENDER_USE_OUTPUT_ITEMS "
    "RENDER_WITHOUT_SAVING SCRIPT_ALREADY_EXISTS SCRIPT_ERROR SCRIPT_LINEISCOMMENT SCRIPT_NOT_ENOUGH_ARGS "
    "SCRIPT_OPAQUE SCRIPT_READONLY SCRIPT_RECOGNIZED_INVALID SCRIPT_TOO_MANY_ARGS SCRIPT_UNKNOWN SCRIPT_WARNING "
    "SC_ANAGLYPH_GRAYSCALE SC_ANAGLYPH_RED_BLUE_LS SC_ANAGLYPH_RED_CYAN SC_ANAGLYPH_RED_CYAN_HALF "
    "SC_ANAGLYPH_RED_CYAN_OPT SC_DROPDOWN_COUNT SC_LAST_ANAGLYPH_MODE SC_LAST_SIDE_BY_SIDE_MODE SC_NO_COMPOSITE "
    "SC_SIDE_BY_SIDE SC_SIDE_BY_SIDE_CROSSED SC_SIDE_BY_SIDE_CROSSED_FULL SC_SIDE_BY_SIDE_FULL_WIDTH SC_UNDEFINED "
    "SHORTBUFFER SKIP STARTUP TBLXSURF_ADAPTIVE TRUE VALUE_UNKNOWN_EXOTYPE WARNING";

// A command's methods with the arguments that Python gets, as they follow each other.
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

// What a badge of the preset browser asks.
inline constexpr std::string_view badgeMethods =
    "BadgesSupported BadgeIsAlwaysVisible BadgeOverride BadgeTooltip BadgeStarRatingOverride BadgeAction "
    "BadgeStarRatingAction";

}  // namespace required
