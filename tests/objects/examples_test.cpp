// The example scripts that work on objects: what they print, and the file that one of them writes.
#include "tests/support/kzhost_run.h"

#include <algorithm>
#include <sstream>

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
          "there is no value type \"nonsense\"; there are integer, boolean, "})
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

std::size_t countOf(const std::string& text, const std::string& part) {
    std::size_t count = 0;
    for (std::size_t at = 0; (at = text.find(part, at)) != std::string::npos; at += part.size()) ++count;
    return count;
}

class FarmTest : public KzHostTest {
protected:
    // Stands for kzhost in the first job of an asset: it fails, or its worker is killed, before or after the
    // result is written. One asset never ends. The parent is Dask's worker, or the shell of a job of GNU parallel.
    static constexpr const char* faulty = "#!/bin/sh\necho \"$4\" >>FOLDER/jobs\nfirst() { mkdir \"$4.seen\"; }\n"
                                          "case $4 in\n*again*) first \"$@\" && exit 75 ;;\n"
                                          "*before*) first \"$@\" && kill -9 $PPID && exit ;;\n"
                                          "*after*) first \"$@\" && PROGRAM \"$@\" && kill -9 $PPID && exit ;;\n"
                                          "*hangs*) exec sleep 60 ;;\nesac\nexec PROGRAM \"$@\"\n";

    FarmTest() {
        std::filesystem::create_directory(path("assets"));
        const std::string closed = R"({"points": [[0,0,0],[1,0,0],[0,1,0],[0,0,1]],)"
                                   R"( "polygons": [[0,2,1],[0,1,3],[1,2,3],[2,0,3]]})";
        for (const auto& [name, wanted] : jobs) write("assets/" + name + ".mesh", closed);
        write("assets/open.mesh", R"({"points": [[0,0,0],[1,0,0],[0,1,0]], "polygons": [[0,2,1]]})");
        std::string text = faulty;
        for (std::size_t at = 0; (at = text.find("PROGRAM")) != std::string::npos;) text.replace(at, 7, program);
        std::filesystem::permissions(write("faulty", text), std::filesystem::perms::owner_all);
        setenv("HOME", path("home").c_str(), 1);
    }
    int farm(const std::string& command) const {
        const int status = std::system((command + " >" + path("out") + " 2>" + path("err") + " </dev/null").c_str());
        return WEXITSTATUS(status);
    }
    // One line for each asset nevertheless, and as many jobs as it needed.
    void expectAll() const {
        EXPECT_NE(contents("out").find("6 files: 4 good, 1 with faults, 1 without a result\n"), std::string::npos)
            << contents("out") << contents("err");
        const std::string report = contents("results/report.jsonl"), started = contents("jobs");
        EXPECT_EQ(countOf(report, "\n"), jobs.size() + 1) << report;
        for (const auto& [name, wanted] : jobs) {
            EXPECT_EQ(countOf(report, name + ".mesh\""), 1U) << name << report;
            EXPECT_GE(countOf(started, name + ".mesh\n"), wanted) << name;
        }
        std::filesystem::directory_iterator files(path("results"));
        EXPECT_EQ(
            std::count_if(begin(files), end(files), [](const auto& f) { return f.path().extension() == ".result"; }),
            5);
    }

    const std::vector<std::pair<std::string, std::size_t>> jobs = {
        {"a good", 1}, {"again", 2}, {"before", 2}, {"after", 2}, {"hangs", 3}};
    const std::string farms = KZ_SOURCE_DIR "/examples/farm/";
};

TEST_F(FarmTest, GnuParallelLosesNothingAndDoesNothingTwice) {
    if (std::system("parallel --version >/dev/null 2>&1") != 0) GTEST_SKIP() << "GNU parallel is not installed";
    const std::string command = farms + "run_parallel.sh " + path("assets") + " " + path("results") + " --jobs 3";
    EXPECT_EQ(farm("KZ_FARM_SECONDS=3 KZHOST=" + path("faulty") + " " + command), 1);
    expectAll();
    const std::string before = contents("results/report.jsonl");
    EXPECT_EQ(farm(std::string("KZHOST=") + program + " " + command), 3) << contents("err");
    const std::string after = contents("results/report.jsonl");
    std::istringstream lines(before);  // existing results are kept
    for (std::string line; std::getline(lines, line);)
        EXPECT_EQ(countOf(after, line), line.find("hangs") == std::string::npos ? 1U : 0U) << line;
    EXPECT_EQ(countOf(after, "null"), 0U);
}

TEST_F(FarmTest, DaskLosesNothingAndDoesNothingTwice) {
    const std::string python = KZ_SOURCE_DIR "/build/dask/bin/python";
    if (!std::filesystem::exists(python)) GTEST_SKIP() << "Dask is not installed";
    EXPECT_EQ(farm("cd " + path() + " && " + python + " " + farms +
                   "run_dask.py assets results --workers 3 --seconds 3 " + "--kzhost " + path("faulty")),
              1);
    expectAll();
}

}  // namespace
