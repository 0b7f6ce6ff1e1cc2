// The command that runs a mesh operation of a module, from one state of it to another.
#include "host/commands/mesh_commands.h"

#include "host/commands/builtin_command.h"
#include "host/core/command_text.h"
#include "host/core/module_table.h"
#include "host/core/object.h"
#include "host/core/refusal.h"
#include "host/document/transform_values.h"
#include "host/objects/open_scenes.h"
#include "host/objects/scene.h"

#include "kz/command.h"
#include "kz/result.h"
#include "kz/value.h"

#include "kz/mesh.h"
#include "kz/mesh_operation.h"
#include "kz/transform.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace kzhost {

namespace {

constexpr ArgumentRow meshOperateArguments[] = {
    {"operation", KZsTYPE_STRING, kzQueryable, "the mesh operation's server name; queried, all of them"},
    {"item", KZsTYPE_STRING, kzOptional, "the mesh item of the current scene; the first one when it is left out"},
    {"time", KZsTYPE_TIME, kzOptional,
     "when the operation is told the item's place, in seconds; 0 when it is left out"},
    {"until", KZsTYPE_TIME, kzOptional, "goes on from the state at that first time to the state at this one"},
    {"weight", KZsTYPE_FLOAT, kzOptional, "goes on to a blend of both states; 0 is the first and 1 the second"},
};

Texts queryOperations(CModuleTable& modules, CBuiltinCommand& /*command*/, std::uint32_t /*index*/) {
    Texts texts;
    for (const KzServer& server : modules.servers(KZa_MESHOPERATION)) texts.push_back(server.name);
    return texts;
}

CHostRef<CItem> meshItem(OpenScenes& open, CBuiltinCommand& command) {
    const auto& scenes = open.list;
    if (scenes.empty()) throw CommandTextError{KZe_NOTFOUND, "there is no scene, and so no mesh"};
    const std::int32_t type = kzFindItemType(KZsITYPE_MESH)->number;
    const std::string name = command.text("item");
    CKzLoc_Unknown item;
    const KzResult code = name.empty() ? scenes.back()->scene_ItemByIndex(type, 0, item.out())
                                       : scenes.back()->scene_ItemLookup(name.c_str(), item.out());
    if (kzFailed(code) || !kzOwn<CItem>(item.raw())->item_TestType(type))
        throw CommandTextError{KZe_NOTFOUND, name.empty()
                                                 ? "the current scene has no mesh item"
                                                 : "argument \"item\": there is no mesh item \"" + name + "\""};
    return kzOwn<CItem>(item.raw());
}

bool hasTag(const KzTags& tags, std::string_view name) {
    const auto tag = std::ranges::find(tags, name, &std::pair<std::string, std::string>::first);
    return tag != tags.end() && tag->second == "1";
}

// The first kind of elements that the operation works on.
std::int32_t elementsOf(const KzTags& tags) {
    constexpr std::pair<const char*, std::int32_t> kinds[] = {
        {"vertex", KZiMESHELT_POINT}, {"edge", KZiMESHELT_EDGE}, {"polygon", KZiMESHELT_POLYGON}};
    const auto tag = std::ranges::find(tags, KZsTAG_MESHOP_SELECTION, &std::pair<std::string, std::string>::first);
    const std::string first = tag != tags.end() ? tag->second.substr(0, tag->second.find(' ')) : std::string();
    for (const auto& [name, kind] : kinds)
        if (first == name) return kind;
    return KZiMESHELT_POINT;
}

// One state of an operation, which lives no longer than the command.
struct OperationState {
    CKzLoc_Unknown object;
    CKzUser_MeshOperation operation;

    explicit OperationState(const KzServer& server) : operation(CModuleTable::spawn(server, object).raw()) {
        if (!operation) throw KZe_NOINTERFACE;
    }
    // Throws why the operation does not know where the mesh is.
    void place(const KzTags& tags, const CItem& item, double time) const;
};

void OperationState::place(const KzTags& tags, const CItem& item, double time) const {
    if (!hasTag(tags, KZsTAG_MESHOP_TRANSFORM)) return;
    const KzMatrix4 world = kzWorldMatrix(item, time);
    const auto axis = [&](int row) { return KzVector3{{world.m[row][0], world.m[row][1], world.m[row][2]}}; };
    const RotationAndScale parts = kzRotationAndScale(kzMatrixOfRows(axis(0), axis(1), axis(2)));
    const KzVector3 position = axis(3), rotation = kzEulerOfRotation(parts.rotation, KZiROTORDER_XYZ);
    kzDemandGiven(operation.SetTransform(&position, &rotation, &parts.scale));
}

// The times of the states, and where between them the mesh ends.
struct OperationSpan {
    double time = 0;
    std::optional<double> until, weight;
};

OperationSpan spanOf(const CBuiltinCommand& command) {
    const OperationSpan span{command.number("time").value_or(0), command.number("until"), command.number("weight")};
    for (const auto& [name, time] : {std::pair{"time", span.time}, std::pair{"until", span.until.value_or(0)}})
        if (!std::isfinite(time))
            kzRefuse(KZe_INVALIDARG, "argument \"" + std::string(name) + "\": it has to be a finite number of seconds");
    if (span.weight && !span.until)
        kzRefuse(KZe_INVALIDARG, "argument \"weight\": it needs \"until\", the time of the second state");
    if (span.weight && !(*span.weight >= 0 && *span.weight <= 1))
        kzRefuse(KZe_INVALIDARG, "argument \"weight\": it has to be from 0 to 1");
    return span;
}

// Evaluates the states of one operation on one mesh.
class COperationRun {
public:
    COperationRun(const KzServer& server, CHostRef<CItem> item)
        : m_server(server), m_tags(CModuleTable::tagsOf(server)), m_elements(elementsOf(m_tags)),
          m_item(std::move(item)), m_mesh(m_item->mesh()), m_before(m_mesh->data) {}

    // A failure leaves the mesh as it was.
    void run(const OperationSpan& span) {
        const OperationState first(m_server);
        first.place(m_tags, *m_item, span.time);
        try {
            evaluate(first);
            if (span.until) follow(first, span);
        } catch (...) {
            restore();
            throw;
        }
    }

private:
    void evaluate(const OperationState& state) const {
        kzDemand(state.operation.Evaluate(m_mesh.raw(), m_elements, KZiMESHOP_MODE_FREEZE));
    }
    void restore() const {
        m_mesh->data.assign(m_before);  // serial numbers go on, so that whoever keeps one notices
        m_mesh->data.changed(~0U);
    }
    void follow(const OperationState& first, const OperationSpan& span) const;
    void update(const OperationState& last, const OperationState& next) const;
    bool reEvaluate(const OperationState& state) const;

    const KzServer& m_server;
    KzTags m_tags;
    std::int32_t m_elements;
    CHostRef<CItem> m_item;
    CHostRef<CMesh> m_mesh;
    CMeshData m_before;
};

void COperationRun::follow(const OperationState& first, const OperationSpan& span) const {
    const OperationState second(m_server);
    second.place(m_tags, *m_item, *span.until);
    if (!span.weight) return update(first, second);
    const OperationState between(m_server);
    const KzResult code =
        between.operation.Blend(first.object.raw(), second.object.raw(), static_cast<float>(*span.weight));
    if (code == KZe_NOTIMPL)
        kzRefuse(code, "argument \"weight\": the mesh operation \"" + m_server.name + "\" does not blend its states");
    kzDemand(code);
    update(first, between);
}

// Keeps as much of the last state's mesh as the next one says.
void COperationRun::update(const OperationState& last, const OperationState& next) const {
    const std::int32_t kept = next.operation.Compare(last.object.raw());
    if (kept < KZiMESHOP_COMPARE_IDENTICAL || kept > KZiMESHOP_COMPARE_DIFFERENT)
        kzRefuse(KZe_FAILED, "the mesh operation \"" + m_server.name + "\" has compared its states with " +
                                 std::to_string(kept) + "; it has to answer 0, 1 or 2");
    if (kept != KZiMESHOP_COMPARE_DIFFERENT) kzDemandGiven(next.operation.Convert(last.object.raw()));
    if (kept == KZiMESHOP_COMPARE_IDENTICAL || (kept == KZiMESHOP_COMPARE_COMPATIBLE && reEvaluate(next))) return;
    restore();
    evaluate(next);
}

// False if the operation can only be evaluated as a whole.
bool COperationRun::reEvaluate(const OperationState& state) const {
    constexpr std::uint32_t fixed = KZfMESHEDIT_POINTS | KZfMESHEDIT_POLYGONS | KZfMESHEDIT_VERTICES;
    const std::uint32_t serial = m_mesh->data.serial(fixed);
    const KzResult code = state.operation.ReEvaluate(m_mesh.raw(), m_elements);
    if (code == KZe_NOTIMPL) return false;
    kzDemand(code);
    if (m_mesh->data.serial(fixed) != serial)
        kzRefuse(KZe_FAILED, "the mesh operation \"" + m_server.name +
                                 "\" has added or removed elements when it was evaluated again; it may only change " +
                                 "positions and map values then");
    return true;
}

void operateMesh(CModuleTable& modules, OpenScenes& scenes, CBuiltinCommand& command) {
    const std::string name = command.text("operation");
    const auto server = modules.find(KZa_MESHOPERATION, name);
    if (!server)
        throw CommandTextError{KZe_NOTFOUND, "argument \"operation\": there is no mesh operation \"" + name + "\""};
    const OperationSpan span = spanOf(command);
    COperationRun(*server, meshItem(scenes, command)).run(span);
}

}  // namespace

void kzAddMeshCommands(CCommandRegistry& registry, const std::shared_ptr<CModuleTable>& modules,
                       const std::shared_ptr<OpenScenes>& scenes) {
    kzAddCommands(registry,
                  {
                      {"mesh.operate", "Operate on Mesh", "runs a mesh operation on a mesh of the current scene",
                       KZfCMD_UNDO | KZfCMD_MODEL, meshOperateArguments, kzWith(operateMesh, modules, scenes),
                       kzWith(queryOperations, modules)},
                  });
}

}  // namespace kzhost
