// The example scripts that work on objects: what they print, and the file that one of them writes.
#include "tests/support/kzhost_run.h"

namespace {

class ExamplesTest : public KzHostTest {
protected:
    Ended example(const std::string& name, const std::string& argument = "x") const {
        return run({"run", KZ_SOURCE_DIR "/examples/" + name + ".py", argument});
    }
};

// Prints some pixels of a PNG file.
constexpr const char* reader = R"(import kz
image = kz.service.Image().Load(kz.args()[0], None)
pixel = kz.Storage('b', 3)
for x, y in ((0, 0), (10, 5), (63, 23), (0, 47), (24, 28), (39, 43)):
    image.GetPixel(x, y, kz.symbol.iIMG_FORMAT_RGB24, pixel)
    print '%d %d' % image.Size(), x, y, pixel.get()
)";

TEST_F(ExamplesTest, MeshesAreBuiltAndMeasured) {
    expect(example("mesh"), 0,
           "points 8, edges 12, polygons 6\narea 10, volume 2\nafter the merge: points 16, polygons 12\n"
           "bounds (0.0, 0.0, 0.0) to (7.0, 1.0, 1.0)\nweights 4, from 0 to 0.75\nrefused: not found\n"
           "normal of the last polygon: (-1.0, 0.0, 0.0)\n");
}

TEST_F(ExamplesTest, CommandsAreRunAndAsked) {
    const Ended ended = example("commands", "mine");
    for (const char* line :
         {"natural, one, tuple: 4.0 4.0 (4.0,)", "by keywords: wide", "radians: 1.5708", "degrees: 90.0",
          "toggle: True on", "toggle: False off", "Its parts: ('from', 'commands')", "our own arguments: ('mine',)",
          "there is no value type \"nonsense\"; there are integer, boolean, ", "Progress: 100% (4 of 4)"})
        EXPECT_NE((ended.out + ended.error).find(line), std::string::npos) << line << ended.out << ended.error;
}

TEST_F(ExamplesTest, ImagesArePaintedAndSaved) {
    const std::string text = "size 64 x 48\ndifference after reading the file again: 0\n";
    EXPECT_EQ(example("image", path("painted.png")).out, text);
    expect(run({"run", write("reader.py", reader), path("painted.png")}), 0,
           "64 48 0 0 (0, 0, 255)\n64 48 10 5 (40, 40, 215)\n64 48 63 23 (252, 184, 3)\n64 48 0 47 (26, 26, 102)\n"
           "64 48 24 28 (255, 255, 255)\n64 48 39 43 (255, 255, 255)\n");
    EXPECT_EQ(run({"run", KZ_SOURCE_DIR "/examples/image.py"}).out, text) << "without an argument it cleans up";
}

TEST_F(ExamplesTest, ScenesAreBuiltAndRead) {
    expect(example("scene"), 0,
           "items: ['Arm'] ['Tool', 'Tool (2)']\nTool is below Arm\nturned by 1.5708, visible: off\n"
           "speed stays 25.0\ntool in the world: (10.0, 2.0, 0.0)\nangle of its axis: 90 degrees\n"
           "valid after the removal: False\n");
}

}  // namespace
