// The host's objects: the scripts beside this file use them, and here are the calls that only other modules can make.
#include "tests/sdk/described.h"
#include "tests/support/host_test.h"

#include "host/core/service_registry.h"
#include "host/state/text.h"

#include "kz/action.h"
#include "kz/audio.h"
#include "kz/block_io.h"
#include "kz/channel.h"
#include "kz/color_mapping.h"
#include "kz/command.h"
#include "kz/dialog.h"
#include "kz/dir_cache.h"
#include "kz/envelope.h"
#include "kz/host.h"
#include "kz/image.h"
#include "kz/image_processing.h"
#include "kz/item.h"
#include "kz/listener.h"
#include "kz/log.h"
#include "kz/mesh.h"
#include "kz/message.h"
#include "kz/packet.h"
#include "kz/persist.h"
#include "kz/preset_browser.h"
#include "kz/result.h"
#include "kz/scene.h"
#include "kz/selection.h"
#include "kz/thread.h"
#include "kz/value.h"

#include <deque>
#include <map>
#include <set>

using namespace kzhost;

namespace {

class ObjectsTest : public testing::TestWithParam<const char*> {};

TEST_P(ObjectsTest, AreWhatTheirInterfacesSay) { CPluginHost().load().check("objects", GetParam()); }

INSTANTIATE_TEST_SUITE_P(, ObjectsTest,
                         testing::Values("animation", "calculations", "drops", "files", "filters", "folders", "harm",
                                         "hints", "image", "interviews", "kzu_objects", "layers", "listeners", "looks",
                                         "mesh", "operations", "packages", "packets", "presets", "references",
                                         "repeats", "replacements", "scene", "selection", "shapes", "solids", "sound",
                                         "threads", "trees", "values"));

// Everything that the host hands out, and its services, by name.
class HostObjects {
public:
    explicit HostObjects(CKzHost& host) {
        IKzUnknown* application = host.application();
        for (const std::string& name : host.services().names())
            *add(name + " service") = host.services().make(*host.services().find(name));
        const ServiceOf<CKzUser_CommandService> commands(application);
        const ServiceOf<CKzUser_LogService> log(application);
        const ServiceOf<CKzUser_SceneService> scenes(application);
        const ServiceOf<CKzUser_StdDialogService> dialogs(application);
        const ServiceOf<CKzUser_ValueService> values(application);
        std::int32_t type = 0;
        scenes->ItemTypeLookup("mesh", &type);
        scenes->Create("test", add("scene"));
        const CKzUser_Scene scene(last());
        scene.Channels(nullptr, 0, add("channel reader"));
        scene.Assets(add("scene assets"));
        scene.WriteChannels(nullptr, 0, add("channel writer"));
        scene.ActionByIndex(0, add("action clip"));
        scene.ItemAdd(type, add("item"));
        const CKzUser_Item item(last());
        item.ChannelByIndex(0, add("item channel"));
        item.ChannelAdd("own", "float", add("new channel"));
        scene.Contents(add("contents"));
        scenes->CreateCollection(add("collection"));
        ServiceOf<CKzUser_ListenerService>(application)->PortByName("session", add("listener port"));
        ServiceOf<CKzUser_LayerService>(application)->Scan(0, add("layer scan"));
        ServiceOf<CKzUser_SelectionService>(application)->State(nullptr, add("selection state"));
        const ServiceOf<CKzUser_PacketService> packets(application);
        for (std::uint32_t i = 0; i < packets->PacketCount(nullptr); ++i) {
            const char* name = nullptr;
            packets->PacketByIndex(nullptr, i, &name);
            packets->Lookup(name, add(name));
        }
        scenes->ItemTypeLookup("group", &type);
        scene.ItemAdd(type, add("group"));
        ServiceOf<CKzUser_MeshService>(application)->Create(add("mesh"));
        const CKzUser_Mesh mesh(last());
        mesh.Points(add("point"));
        mesh.Polygons(add("polygon"));
        mesh.Edges(add("edge"));
        mesh.Maps(add("map"));
        ServiceOf<CKzUser_ImageService>(application)->Create(1, 1, KZiIMG_FORMAT_GREY, 0, add("image"));
        ServiceOf<CKzUser_ImageService>(application)->Create(1, 1, KZiIMG_FORMAT_INDEX, 0, add("index image"));
        ServiceOf<CKzUser_ImageService>(application)->CreateLayered(1, 1, KZiIMG_FORMAT_GREY, add("layered image"));
        ServiceOf<CKzUser_AudioAnimService>(application)->CreateAudio(add("sound"));
        const ServiceOf<CKzUser_ImageProcessingService> processing(application);
        processing->Create(add("image processing"));
        IKzUnknown* const settings = last();
        processing->Read(settings, add("image processing reader"));
        scenes->CreateEnvelope(0, add("envelope"));
        CKzUser_Envelope(last()).Keys(add("keyframe"));
        for (const char* walker : {"Curve", "EvaluationStack", "GroupEnumerator", "PathStep", "TransformScan"})
            scenes->CreateWalker(walker, add(walker));
        scenes->CreateMatrix(add("matrix"));
        scenes->CreateQuaternion(add("quaternion"));
        ServiceOf<CKzUser_PersistenceService>(application)->Begin("test", 0, add("persistent entry"));
        ServiceOf<CKzUser_PresetBrowserService>(application)->TypeByIndex(0, add("preset type"));
        values->CreateValue("float", add("value"));
        values->CreateValueArray("float", add("values"));
        values->ScriptQuery(add("query"));
        ServiceOf<CKzUser_MessageService>(application)->Allocate(add("message"));
        commands->Spawn(0, "user.value", add("command"));
        IKzUnknown* const command = last();
        ServiceOf<CKzUser_IOService>(application)->CreateOptions(command, add("options"));
        commands->Help("user.value", add("help"));
        ServiceOf<CKzUser_ColorMappingService>(application)->Mapping("linear", "sRGB", 0, add("colour mapping"));
        ServiceOf<CKzUser_DirCacheService>(application)->Lookup("/", add("directory entry"));
        scene.ActionAdd("pose", KZiACTIONCLIP_TYPE_POSE, add("pose action"));
        scene.ItemLookup("pose", add("pose"));
        log->SubSystemLookup("test", add("log"));
        log->CreateEntry(KZe_INFO, "test", add("log entry"));
        dialogs->MonitorAllocate("test", add("monitor"));
        ServiceOf<CKzUser_ThreadService>(application)->CreateGroup(add("thread group"));
        ServiceOf<CKzUser_ThreadService>(application)->CreateMutex(add("mutex"));
        commands->ExecuteString(0, "user.value size type:float value:1", nullptr);
        for (const char* type : {"attrsequence", "buffer", "intrange", "stringtag", "uservalue", "valuereference"})
            ServiceOf<CKzUser_HostService>(application)->SpawnServer(type, "size", add(type));
        ServiceOf<CKzUser_HostService>(application)->SpawnServer("uihints", "", add("hints"));
        ServiceOf<CKzUser_HostService>(application)->SpawnServer("colormodel", "hsv", add("color model"));
        packets->CreateType(nullptr, add("vector type"));
        const CKzUser_VectorType packetType(last());
        packetType.Create(add("vector stack"));
        packetType.CreateList(packetType.raw(), add("vector list"));
    }

    // Calls `use` for each interface of each object that the description knows.
    template <class Use> void each(const Use& use) {
        for (auto& [name, object] : m_objects)
            for (const kzgen::Interface* ifc : kzgen::describedInterfaces()) {
                void* found = nullptr;
                const auto iid = kzGuidOfText(ifc->guid.text);
                if (kzFailed(object.raw()->QueryInterface(&*iid, &found))) continue;
                use(name, *ifc, static_cast<IKzUnknown*>(found));
                static_cast<IKzUnknown*>(found)->Release();
            }
    }

private:
    IKzUnknown** add(const std::string& name) {
        Named& named = m_objects.emplace_back();
        named.name = name;
        return named.object.out();
    }
    IKzUnknown* last() { return m_objects.back().object.raw(); }

    struct Named {
        std::string name;
        CKzLoc_Unknown object;
    };
    std::deque<Named> m_objects;
};

// Calls an operation with zeros and null pointers only. Surplus arguments do no harm.
KzResult callWithNulls(IKzUnknown* object, std::size_t method) {
    constexpr std::size_t unknownMethods = 3;
    using Operation = KzResult (*)(IKzUnknown*, void*, void*, void*, void*, void*, void*, void*, void*);
    void** operations = *reinterpret_cast<void***>(object);
    const auto operation = reinterpret_cast<Operation>(operations[unknownMethods + method]);
    return operation(object, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
}

bool isRequiredInput(const kzgen::Parameter& parameter) {
    using kzgen::Kind;
    static const std::set<Kind> kinds = {Kind::Object, Kind::Guid, Kind::Vector3, Kind::FVector3, Kind::Matrix4};
    return !parameter.output && kinds.contains(parameter.type.kind);
}

// Scripts never pass a null pointer for an output, but other modules may.
TEST_F(HostTest, NullIsRefusedByEveryOperationThatNeedsMore) {
    const std::set<std::string> mayBeNull = {"Command.Enable",    "Command.ExecuteString",
                                             "Item.SetParent",    "LayeredImageWrite.SetLayerMask",
                                             "Listener.FirePort", "ScriptSys.RunText"};
    std::map<std::string, std::string> wrong;
    std::size_t checked = 0;
    HostObjects(host()).each([&](const std::string& name, const kzgen::Interface& ifc, IKzUnknown* object) {
        for (std::size_t i = 0; i < ifc.methods.size(); ++i) {
            const kzgen::Method& method = ifc.methods[i];
            const std::string title = ifc.name + "." + method.name;
            const bool needsPlace = !method.outputs().empty() && method.inert == kzgen::Inert::No;
            const bool needsInput = std::any_of(method.parameters.begin(), method.parameters.end(), isRequiredInput);
            if (!needsPlace && !needsInput) continue;
            const KzResult code = callWithNulls(object, i);
            if (method.returns.kind != kzgen::Kind::Result) continue;
            ++checked;
            const bool isRefused = code == KZe_NOTIMPL || code == KZe_NOTAVAILABLE;  // whatever the arguments
            const bool isFine = code == KZe_INVALIDARG || (!needsPlace && (isRefused || mayBeNull.contains(title)));
            if (!isFine) wrong[title] = kzCodeName(code) + " of " + name;
        }
    });
    for (const auto& [title, code] : wrong) ADD_FAILURE() << title << ": " << code;
    EXPECT_GT(checked, 300U);
}

}  // namespace
