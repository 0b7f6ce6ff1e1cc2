// kzhost scene info and scene convert.
#include "host/cli/scene_verbs.h"

#include "host/cli/program.h"
#include "host/cli/standard_streams.h"
#include "host/core/log_store.h"
#include "host/core/object.h"
#include "host/document/item_types.h"
#include "host/objects/mesh_data.h"
#include "host/objects/scene_files.h"
#include "host/state/path_aliases.h"
#include "host/state/text.h"

#include "kz/mesh.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <cmath>
#include <limits>
#include <map>

namespace kzhost {

namespace {

// Standard error already has the reason, from the log.
int fileFailed(const std::string& path, KzResult code) {
    CProgram::say(fmt::format("{}: {}", path, kzCodeName(code)));
    return exitFailed;
}

// What a scene holds, and the box around all points of its meshes in the world.
struct SceneFacts {
    std::map<std::string, std::size_t> types;
    std::size_t points = 0, polygons = 0;
    double low[3], high[3];

    explicit SceneFacts(const CDocument& document) {
        std::fill(std::begin(low), std::end(low), std::numeric_limits<double>::infinity());
        std::fill(std::begin(high), std::end(high), -std::numeric_limits<double>::infinity());
        const CReading reading(document.workspace());
        document.each(KZiITYPE_ANY, [&](Item& item) {
            if (&item != document.root()) ++types[item.type.name];
            if (const CMeshData* mesh = kzMeshOf(item.shapeOwner())) addMesh(item, *mesh);
        });
    }
    void addMesh(Item& item, const CMeshData& mesh) {
        points += mesh.points.size();
        polygons += mesh.polygons.size();
        const KzMatrix4 place = kzWorldMatrix(*kzObjectOf(item), 0);
        for (const MeshPoint& point : mesh.points) {
            const KzVector3 world = kzPlace(point.position, place);
            for (int axis = 0; axis < 3; ++axis) {
                low[axis] = std::min(low[axis], world.v[axis]);
                high[axis] = std::max(high[axis], world.v[axis]);
            }
        }
    }
};

void show(const std::string& path, const SceneFacts& facts) {
    CStandardStreams& out = CStandardStreams::get();
    out.print("{}\n", path);
    for (const auto& [type, count] : facts.types) out.print("  {} {}\n", count, type);
    out.print("  {} points, {} polygons\n", facts.points, facts.polygons);
    if (facts.points == 0) return;
    out.print("  from {} {} {} to {} {} {} m\n", facts.low[0], facts.low[1], facts.low[2], facts.high[0], facts.high[1],
              facts.high[2]);
}

}  // namespace

bool kzOpenSceneFile(CProgram& program, const std::string& path) {
    try {
        program.host().sceneFiles().load(program.host().files().place(path.c_str()), nullptr);
        return true;
    } catch (KzResult code) {
        fileFailed(path, code);
        return false;
    }
}

CSceneVerbs::CSceneVerbs(CLI::App& app)
    : m_scene(app.add_subcommand("scene", "Show what is in a scene file, or write it in another format")),
      m_info(m_scene->add_subcommand("info", "Count items, points and polygons, and measure the scene")),
      m_convert(m_scene->add_subcommand("convert", "Read a scene file and write another")) {
    m_scene->require_subcommand(1);
    m_info->add_option("FILE", m_from, "The scene to read")->required();
    m_convert->add_option("FROM", m_from, "The scene to read")->required();
    m_convert->add_option("TO", m_to, "The file to write; its extension names the format")->required();
    m_convert->add_option("--format", m_format, "The name of the format or of a saver")->type_name("NAME");
}

bool CSceneVerbs::parsed() const { return m_scene->parsed(); }

int CSceneVerbs::run(CProgram& program) const {
    if (const int status = program.start(); status != exitOk) return status;
    program.wakeInterpreters();
    CHostRef<CScene> scene;
    try {
        scene = program.host().sceneFiles().load(program.host().files().place(m_from.c_str()), nullptr);
    } catch (KzResult code) {
        return fileFailed(m_from, code);
    }
    if (m_convert->parsed()) try {
            const std::string target = program.host().files().place(m_to.c_str());
            const KzResult code = program.host().sceneFiles().save(*scene, target, m_format);
            if (kzFailed(code)) return fileFailed(m_to, code);
        } catch (KzResult code) {
            return fileFailed(m_to, code);
        }
    show(m_convert->parsed() ? m_to : m_from, SceneFacts(scene->document()));
    return exitOk;
}

}  // namespace kzhost
