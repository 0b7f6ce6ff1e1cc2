// The example scripts that work on objects: what they print, and the file that one of them writes.
#include "kz_paths.h"
#include "tests/support/host_test.h"

#include <cstdio>
#include <sys/wait.h>

namespace {

struct Ended {
    int status = -1;
    std::string text;
};

Ended runCommand(const std::string& command) {
    Ended ended;
    FILE* pipe = popen((command + " 2>&1").c_str(), "r");
    char part[4096];
    for (std::size_t count = 0; (count = fread(part, 1, sizeof part, pipe)) > 0;) ended.text.append(part, count);
    ended.status = WEXITSTATUS(pclose(pipe));
    return ended;
}

Ended runExample(const std::string& name, const std::string& argument = {}) {
    return runCommand("'" KZ_BUILD_DIR "/bin/kzhost' run '" KZ_SOURCE_DIR "/examples/" + name + ".py' " + argument);
}

// Reads the PNG file by its chunks alone and prints some pixels of it.
constexpr const char* decoder = R"py(
import struct, sys, zlib
data = open(sys.argv[1], "rb").read()
assert data[:8] == b"\x89PNG\r\n\x1a\n"
at, packed = 8, b""
while at < len(data):
    length, kind = struct.unpack(">I4s", data[at:at + 8])
    body = data[at + 8:at + 8 + length]
    assert zlib.crc32(kind + body) == struct.unpack(">I", data[at + 8 + length:at + 12 + length])[0]
    if kind == b"IHDR": width, height, depth, color = struct.unpack(">IIBB", body[:10])
    if kind == b"IDAT": packed += body
    at += 12 + length
assert (depth, color) == (8, 2)
raw, lines, before = zlib.decompress(packed), [], bytes(width * 3)
for y in range(height):
    mode, line = raw[y * (width * 3 + 1)], bytearray(raw[y * (width * 3 + 1) + 1:(y + 1) * (width * 3 + 1)])
    for i in range(len(line)):
        a, b, c = line[i - 3] if i > 2 else 0, before[i], before[i - 3] if i > 2 else 0
        paeth = min((abs(b - c), 0, a), (abs(a - c), 1, b), (abs(a + b - 2 * c), 2, c))[2]
        line[i] = (line[i] + (0, a, b, (a + b) // 2, paeth)[mode]) & 255
    lines.append(line)
    before = line
for x, y in ((0, 0), (10, 5), (63, 23), (0, 47), (24, 28), (39, 43)):
    print(width, height, x, y, *lines[y][x * 3:x * 3 + 3])
)py";

TEST(ExamplesTest, MeshesAreBuiltAndMeasured) {
    const Ended ended = runExample("mesh");
    EXPECT_EQ(ended.status, 0);
    EXPECT_EQ(ended.text, "points 8, edges 12, polygons 6\n"
                          "area 10, volume 2\n"
                          "after the merge: points 16, polygons 12\n"
                          "bounds (0.0, 0.0, 0.0) to (7.0, 1.0, 1.0)\n"
                          "weights 4, from 0 to 0.75\n"
                          "refused: not found\n"
                          "normal of the last polygon: (-1.0, 0.0, 0.0)\n");
}

TEST(ExamplesTest, CommandsAreRunAndAsked) {
    const Ended ended = runExample("commands", "mine");
    EXPECT_EQ(ended.status, 0);
    for (const char* line :
         {"natural, one, tuple: 4.0 4.0 (4.0,)", "by keywords: wide", "radians: 1.5708", "degrees: 90.0",
          "toggle: True on", "toggle: False off", "Its parts: ('from', 'commands')", "our own arguments: ('mine',)",
          "there is no value type \"nonsense\" (84800016)", "Progress: 100% (4 of 4)"})
        EXPECT_NE(ended.text.find(line), std::string::npos) << line << "\nin\n" << ended.text;
}

TEST(ExamplesTest, ImagesArePaintedAndSaved) {
    const CTestFolder folder;
    const std::string image = folder.path("painted.png");
    const Ended ended = runExample("image", image);
    EXPECT_EQ(ended.status, 0);
    EXPECT_EQ(ended.text, "size 64 x 48\ndifference after reading the file again: 0\n");
    const Ended pixels = runCommand("python3 " + folder.write("decode.py", decoder) + " " + image);
    EXPECT_EQ(pixels.text, "64 48 0 0 0 0 255\n"
                           "64 48 10 5 40 40 215\n"
                           "64 48 63 23 252 184 3\n"
                           "64 48 0 47 26 26 102\n"
                           "64 48 24 28 255 255 255\n"
                           "64 48 39 43 255 255 255\n");
    EXPECT_EQ(runExample("image").text, ended.text) << "without an argument it cleans up after itself";
}

TEST(ExamplesTest, ScenesAreBuiltAndRead) {
    const Ended ended = runExample("scene");
    EXPECT_EQ(ended.status, 0);
    EXPECT_EQ(ended.text, "items: ['Arm'] ['Tool', 'Tool (2)']\n"
                          "Tool is below Arm\n"
                          "turned by 1.5708, visible: off\n"
                          "speed stays 25.0\n"
                          "tool in the world: (10.0, 2.0, 0.0)\n"
                          "angle of its axis: 90 degrees\n"
                          "valid after the removal: False\n");
}

}  // namespace
