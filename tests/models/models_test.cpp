// Foreign models: what Assimp's own tool counts in them is here after loading, and the rest is refused with a reason.
#include "host/core/log_store.h"
#include "host/document/document.h"
#include "host/document/transform_values.h"
#include "host/objects/item.h"
#include "host/objects/moved_files.h"
#include "host/objects/scene.h"
#include "host/objects/scene_files.h"
#include "host/state/path_aliases.h"
#include "host/state/text.h"
#include "tests/support/host_test.h"

#include "kz/base/object_output.h"
#include "kz/channel.h"
#include "kz/clip.h"
#include "kz/command.h"
#include "kz/lighting.h"
#include "kz/loader.h"
#include "kz/log.h"
#include "kz/material.h"
#include "kz/mesh.h"
#include "kz/module.h"
#include "kz/render_item.h"
#include "kz/scene.h"
#include "kz/texture.h"
#include "kz_paths.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <fstream>
#include <set>
#include <tuple>
#include <vector>

namespace {

const std::string models = "/usr/share/assimp/models/";

std::int32_t typeNamed(const char* name) { return kzFindItemType(std::string_view(name))->number; }

class ModelsTest : public HostTest {
protected:
    ModelsTest() { host().files().setAlias("program", KZ_BUILD_DIR); }
    void SetUp() override {
        if (!std::filesystem::exists(models)) GTEST_SKIP() << "assimp-testmodels is not installed";
    }
    void join(bool isJoined) {
        const ServiceOf<CKzUser_CommandService> commands(host().application());
        const std::string text = std::string("user.value import.joinPoints ") + (isJoined ? "true" : "false");
        ASSERT_EQ(commands->ExecuteString(0, (text + " type:boolean").c_str(), nullptr), KZe_OK);
    }
    template <class Look> void load(const std::string& path, Look look) {
        const auto scene = host().sceneFiles().load(path, nullptr);
        {
            const CReading reading(scene->document().workspace());
            look(scene->document());
        }
        EXPECT_EQ(ServiceOf<CKzUser_SceneService>(host().application())->Close(scene.raw()), KZe_OK);
    }
};

template <class Value> std::size_t countOfDifferent(std::vector<Value> values) {
    std::sort(values.begin(), values.end());
    return static_cast<std::size_t>(std::unique(values.begin(), values.end()) - values.begin());
}

struct Facts {
    std::size_t meshes = 0, materials = 0, cameras = 0, lights = 0, points = 0, faces = 0, loose = 0;
    KzBounds box{{{HUGE_VAL, HUGE_VAL, HUGE_VAL}}, {{-HUGE_VAL, -HUGE_VAL, -HUGE_VAL}}};

    explicit Facts(CDocument& document) {
        materials = document.count(typeNamed(KZsITYPE_MATERIAL));
        cameras = document.count(typeNamed(KZsITYPE_CAMERA));
        lights = document.count(typeNamed(KZsITYPE_LIGHT));
        document.each(typeNamed(KZsITYPE_MESH), [&](Item& item) {
            const Item& owner = item.shapeOwner();
            const CMeshData& mesh = *kzMeshOf(owner);
            const KzMatrix4 place = kzWorldMatrix(*kzObjectOf(item), 0);
            const bool isShown = (item.flags & KZfITEM_VISIBLE) != 0;
            for (const MeshPoint& point : mesh.points)
                if (isShown) kzExtend(box, kzPlace(point.position, place));
            if (&owner != &item) return;
            ++meshes;
            points += mesh.points.size();
            faces += mesh.polygons.size();
            std::vector<KzElementId> used;
            for (const MeshPolygon& polygon : mesh.polygons)
                used.insert(used.end(), polygon.points.begin(), polygon.points.end());
            loose += mesh.points.size() - countOfDifferent(std::move(used));
        });
    }
};

// How many places the points of all meshes are at, those of each mesh by themselves.
std::size_t places(CDocument& document) {
    std::size_t count = 0;
    document.each(typeNamed(KZsITYPE_MESH), [&](Item& item) {
        if (&item.shapeOwner() != &item) return;
        std::vector<std::array<double, 3>> positions;
        for (const MeshPoint& point : kzMeshOf(item)->points)
            positions.push_back({point.position.v[0], point.position.v[1], point.position.v[2]});
        count += countOfDifferent(std::move(positions));
    });
    return count;
}

void expectBox(const KzBounds& box, const nlohmann::json& expected) {
    double size = 0;
    for (int axis = 0; axis < 3; ++axis) size = std::max({size, std::abs(box.min.v[axis]), std::abs(box.max.v[axis])});
    for (std::size_t axis = 0; axis < 3; ++axis) {
        EXPECT_NEAR(box.min.v[axis], expected[0][axis].get<double>(), 1e-5 * size);
        EXPECT_NEAR(box.max.v[axis], expected[1][axis].get<double>(), 1e-5 * size);
    }
}

TEST_F(ModelsTest, HaveWhatAnotherProgramCounts) {
    const auto rows = nlohmann::json::parse(std::ifstream(KZ_SOURCE_DIR "/tests/models/models.json"));
    join(false);
    for (const auto& [name, row] : rows.items()) {
        SCOPED_TRACE(name);
        const std::size_t lines = host().log().lines(KZsLOG_FILES).size();
        try {
            load(models + name, [&row = row](CDocument& document) {
                if (row.is_null()) return;
                const Facts facts(document);
                EXPECT_EQ((std::vector{facts.meshes, facts.materials, facts.cameras, facts.lights, facts.points}),
                          (std::vector<std::size_t>(row.begin(), row.begin() + 5)));
                // A face with one corner is a point that no polygon has.
                EXPECT_EQ(facts.faces + (facts.faces < row[5] ? facts.loose : 0), row[5]);
                if (!row[6].is_null() && std::isfinite(facts.box.min.v[0])) expectBox(facts.box, row[6]);
            });
        } catch (KzResult code) {
            EXPECT_TRUE(row.is_null()) << kzCodeName(code);
            EXPECT_TRUE(code == KZe_NOTSUPPORTED || code == KZe_FAILED) << kzCodeName(code);
            const auto log = host().log().lines(KZsLOG_FILES);
            ASSERT_EQ(log.size(), lines + 1);
            EXPECT_TRUE(log.back().text.starts_with(models + name + ": ")) << log.back().text;
        }
    }
}

// Joining leaves one point at each place, and changes nothing else.
TEST_F(ModelsTest, AreJoinedWherePointsMeet) {
    for (const char* name : {"OBJ/spider.obj", "PLY/Wuson.ply", "STL/Spider_binary.stl", "FBX/spider.fbx",
                             "COB/dwarf.cob", "glTF2/BoxTextured-glTF/BoxTextured.gltf"}) {
        SCOPED_TRACE(name);
        std::optional<Facts> apart, joined;
        std::size_t wanted = 0;
        for (auto* facts : {&apart, &joined}) {
            join(facts == &joined);
            load(models + name, [&](CDocument& document) {
                facts->emplace(document);
                if (facts == &apart) wanted = places(document);
            });
        }
        EXPECT_LT(joined->points, apart->points);
        EXPECT_EQ(joined->points, wanted);
        EXPECT_EQ(joined->faces, apart->faces);
        EXPECT_EQ(kzLength(joined->box.min - apart->box.min) + kzLength(joined->box.max - apart->box.max), 0);
    }
}

// What the scene has, for an independent reader of what was written.
nlohmann::json describe(CDocument& document) {
    const Facts facts(document);
    nlohmann::json scene{{"triangles", 0}, {"area", 0.0}, {"nodes", nlohmann::json::object()}};
    scene["box"] = {std::vector(facts.box.min.v, facts.box.min.v + 3),
                    std::vector(facts.box.max.v, facts.box.max.v + 3)};
    std::size_t triangles = 0;
    double area = 0;
    document.each(typeNamed(KZsITYPE_LOCATORSUPER), [&](Item& item) {
        const KzMatrix4 world = kzWorldMatrix(*kzObjectOf(item), 0);
        KzMatrix4 local = world;
        if (item.parent != nullptr) local = world * *kzInverse(kzWorldMatrix(*kzObjectOf(*item.parent), 0));
        std::set<std::string> materials;
        if (const CMeshData* data = kzMeshOf(item.shapeOwner())) {
            CMeshData mesh = *data;
            for (MeshPoint& point : mesh.points) point.position = kzPlace(point.position, world);
            for (const MeshPolygon& polygon : mesh.polygons) {
                triangles += polygon.points.size() - 2;
                area += mesh.areaOf(polygon);
                const auto tag = polygon.tags.find(KZi_PTAG_SURFACE);
                materials.insert(tag != polygon.tags.end() ? tag->second : std::string());
            }
        }
        scene["nodes"][item.uniqueName] = {item.parent != nullptr ? item.parent->uniqueName : "",
                                           std::vector(&local.m[0][0], &local.m[0][0] + 16), materials.size()};
    });
    scene["triangles"] = triangles;
    scene["area"] = area;
    return scene;
}

TEST_F(ModelsTest, AreReadByOthersAsTheyWereWritten) {
    const std::string python = KZ_SOURCE_DIR "/build/models/bin/python";
    if (!std::filesystem::exists(python)) GTEST_SKIP() << "trimesh and pygltflib for Python 3 are not installed";
    for (const char* name : {"OBJ/spider.obj", "OBJ/WusonOBJ.obj", "Collada/duck.dae", "FBX/phong_cube.fbx",
                             "glTF2/2CylinderEngine-glTF-Binary/2CylinderEngine.glb", "Collada/teapots.DAE"}) {
        SCOPED_TRACE(name);
        const CTestFolder folder;
        const auto scene = host().sceneFiles().load(models + name, nullptr);
        {
            const CReading reading(scene->document().workspace());
            folder.write("scene.json", describe(scene->document()).dump());
        }
        for (const char* kind : {"gltf", "glb", "obj", "ply", "stl"})
            EXPECT_EQ(host().sceneFiles().save(*scene, folder.path() + "/scene." + kind, ""), KZe_OK) << kind;
        EXPECT_EQ(ServiceOf<CKzUser_SceneService>(host().application())->Close(scene.raw()), KZe_OK);
        const std::string command = python + " " KZ_SOURCE_DIR "/tests/models/check_written.py " + folder.path();
        EXPECT_EQ(WEXITSTATUS(std::system((command + " >" + folder.path() + "/out 2>/dev/null").c_str())), 0);
        EXPECT_EQ(contentsOf(folder.path() + "/out"), "the same\n");
    }
}

// A module in C++ that loads scenes of one texture each, and knows where the textures are.
class LineLoader final : public CHosted<"line loader", LineLoader, CKzIfc_Loader> {
public:
    KzResult load_Recognize(const char* path, IKzUnknown* info) override {
        if (!std::string_view(path).ends_with(".line")) return KZe_NOTFOUND;
        return CKzUser_LoaderInfo(info).SetClass(KZsFILECLASS_SCENE);
    }
    KzResult load_LoadObject(const char* path, IKzUnknown* /*info*/, IKzUnknown* /*monitor*/,
                             IKzUnknown* target) override {
        CKzUser_Scene scene;
        CKzUser_Item item;
        CKzUser_ChannelWrite write;
        kzObtain(scene, [&](IKzUnknown** out) { return CKzUser_SceneLoaderTarget(target).Scene(out); });
        kzObtain(item, [&](IKzUnknown** out) { return scene.ItemAdd(typeNamed(KZsITYPE_VIDEOSTILL), out); });
        kzObtain(write, [&](IKzUnknown** out) { return scene.WriteChannels(nullptr, 0, out); });
        std::string text = contentsOf(path);
        if (text.empty()) return KZe_ABORT;
        return write.StringByName(item.raw(), KZsICHAN_VIDEOSTILL_FILENAME, text.c_str());
    }
};

class Finder final : public CHosted<"finder", Finder, CKzIfc_FileRedirect> {
public:
    KzResult fileredirect_Locate(const char* path, const char* /*fileClass*/, char* found, std::uint32_t length,
                                 std::uint32_t* how) override {
        if (std::string_view(path) != "/gone/a.png") return KZe_NOTFOUND;
        *how = KZeREMAP_DIRECT;
        return kzFillText(KZ_SOURCE_DIR "/tests/objects/pictures/rgb16.png", found, length);
    }
};

class LineModule final : public CHosted<"line module", LineModule, CKzIfc_Module, CKzIfc_TagDescription> {
public:
    std::uint32_t tag_Count() override { return 2; }
    KzResult tag_Describe(std::uint32_t index, KzTagRecord* record) override {
        *record = index == 0 ? KzTagRecord{"server", "line", &KZu_LOADER}
                             : KzTagRecord{"server", "finder", &KZu_FILEREDIRECT};
        return KZe_OK;
    }
    KzResult mod_Generate(const char* /*name*/, const KzGuid* iid, IKzUnknown** object) override {
        return *iid == KZu_LOADER ? CHostRef<LineLoader>::make().give(object) : CHostRef<Finder>::make().give(object);
    }
};

TEST_F(ModelsTest, OfModulesInCppAreLoadedWithTheFilesThatTheyName) {
    ASSERT_EQ(host().adopt("lines", CHostRef<LineModule>::make().raw()), KZe_OK);
    const CTestFolder folder;
    const std::pair<const char*, std::string> rows[] = {
        {"/gone/a.png", KZ_SOURCE_DIR "/tests/objects/pictures/rgb16.png"}, {"/gone/b.png", "/gone/b.png"}};
    for (const auto& [written, found] : rows)
        load(folder.write("a.line", written), [&found = found](CDocument& document) {
            const auto files = kzFileChannels(document);
            ASSERT_EQ(files.size(), 1U);
            EXPECT_EQ(files.front().path, found);
            EXPECT_FALSE(document.isModified());
        });
    const auto log = host().log().lines(KZsLOG_FILES);
    EXPECT_EQ(log.back().text, folder.path() + "/a.line: the file /gone/b.png is missing");
    folder.write("a.line", "");
    EXPECT_THROW(host().sceneFiles().load(folder.path() + "/a.line", nullptr), KzResult);
}

// Whatever a file does to its reader, and whoever is missing, the host has a reason in its log.
TEST_F(ModelsTest, SurviveTheirReader) {
    const CTestFolder folder;
    const std::string big = folder.write("big.obj", ""),
                      model = folder.write("a.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n");
    std::filesystem::resize_file(big, (std::uintmax_t{1} << 30U) + 1);
    const auto program = [&](const std::string& text) {
        const std::string path = folder.write("lib/kzModels", text);
        std::filesystem::permissions(path, std::filesystem::perms::owner_all);
        host().files().setAlias("program", folder.path());
    };
    const std::tuple<std::string, std::string, KzResult, std::string> rows[] = {
        {"", big, KZe_FAILED, "the file is larger than 1 GiB"},
        {"#!/bin/sh\nkill -SEGV $$\n", model, KZe_FAILED, "its reader or writer crashed: Segmentation fault"},
        {"#!/bin/sh\nhead -c 1000 /dev/zero | tr '\\0' '\\377'\n", model, KZe_FAILED, "the model is not whole"},
        {"#!/bin/sh\nexec printf half\n", model, KZe_FAILED, "the model is not whole"},
        {"#!/bin/sh\necho wrong >&2; exit 1\n", model, KZe_FAILED, "wrong"},
        {"#!/bin/sh\nexit 2\n", model, KZe_NOTSUPPORTED, "no loader of scenes recognises the file"}};
    for (const auto& [text, path, code, reason] : rows) {
        if (!text.empty()) program(text);
        KzResult found = KZe_OK;
        try {
            host().sceneFiles().load(path, nullptr);
        } catch (KzResult thrown) {
            found = thrown;
        }
        EXPECT_EQ(found, code) << text;
        EXPECT_NE(host().log().lines(KZsLOG_FILES).back().text.find(path + ": " + reason), std::string::npos)
            << host().log().lines(KZsLOG_FILES).back().text;
    }
    std::filesystem::remove(folder.path() + "/lib/kzModels");
    EXPECT_THROW(host().sceneFiles().load(model, nullptr), KzResult);
    EXPECT_NE(host().log().lines("objects").back().text.find("install the package kzpython2-models"),
              std::string::npos);
}

}  // namespace
