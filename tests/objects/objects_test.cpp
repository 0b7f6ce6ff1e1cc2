// The host's objects, used by the scripts beside this file, and what only other modules can ask of them.
#include "tests/support/host_test.h"

#include "kz/channel.h"
#include "kz/image.h"
#include "kz/item.h"
#include "kz/mesh.h"
#include "kz/result.h"
#include "kz/scene.h"

namespace {

class Objects : public testing::TestWithParam<const char*> {};

TEST_P(Objects, AreWhatTheirInterfacesSay) { CPluginHost().load().check("objects", GetParam()); }

INSTANTIATE_TEST_SUITE_P(, Objects, testing::Values("image", "kzu_objects", "mesh", "scene"));

// A script cannot pass them.
TEST_F(HostTest, NullVectorsAndMatricesAreRefused) {
    const ServiceOf<CKzUser_SceneService> scenes(host().application());
    CKzLoc_Unknown scene, item, write, mesh, image;
    std::int32_t type = 0;
    ASSERT_EQ(scenes->Create("test", scene.out()), KZe_OK);
    ASSERT_EQ(scenes->ItemTypeLookup("locator", &type), KZe_OK);
    ASSERT_EQ(CKzUser_Scene(scene.raw()).ItemAdd(type, item.out()), KZe_OK);
    ASSERT_EQ(CKzUser_Scene(scene.raw()).WriteChannels(nullptr, 0, write.out()), KZe_OK);
    ASSERT_EQ(ServiceOf<CKzUser_MeshService>(host().application())->Create(mesh.out()), KZe_OK);
    ASSERT_EQ(ServiceOf<CKzUser_ImageService>(host().application())->Create(1, 1, KZiIMG_FORMAT_GREY, 0, image.out()),
              KZe_OK);
    EXPECT_EQ(scenes->SetLocatorPosition(item.raw(), nullptr, 0, nullptr), KZe_INVALIDARG);
    EXPECT_EQ(CKzUser_ChannelWrite(write.raw()).Vector(item.raw(), INT32_MAX, nullptr), KZe_INVALIDARG);
    EXPECT_EQ(CKzUser_Mesh(mesh.raw()).MergeWithTransform(mesh.raw(), nullptr, 0), KZe_INVALIDARG);
    EXPECT_EQ(CKzUser_ImageWrite(image.raw()).Fill(nullptr, 1), KZe_INVALIDARG);
}

}  // namespace
