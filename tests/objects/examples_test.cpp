// The examples and the guides do what their pages show, and the examples for farms lose nothing.
#include "tests/support/kzhost_run.h"

#include <algorithm>
#include <sstream>

namespace {

class GalleryTest : public KzHostTest {
protected:
    GalleryTest() {
        for (const char* folder : {"examples", "build"})
            std::filesystem::create_directory_symlink(std::string(KZ_SOURCE_DIR "/") + folder, path(folder));
        setenv("PATH", (KZ_BUILD_DIR "/bin:" + std::string(getenv("PATH"))).c_str(), 1);
    }

    // Runs the commands of the sections with (or without) numpy, and compares what they print and paint with the page.
    // Code with a title is written to the file of that name first.
    void runSections(bool withNumpy) {
        std::istringstream lines(page);
        const std::string opening = "```python title=\"";
        std::string section, pictures, command, shows;
        bool isCommand = false;
        int status = 0;
        const auto runCommand = [&] {
            if (!command.empty() && (section.find("numpy") != std::string::npos) == withNumpy)
                status = expectCommand(command, shows, status);
            command = shows = "";
        };
        for (std::string line; std::getline(lines, line);) {
            const std::size_t picture = line.find("](pictures/");
            if (line.starts_with("```")) runCommand();
            if (line.starts_with(opening)) {
                const std::string name = line.substr(opening.size(), line.rfind('"') - opening.size());
                std::filesystem::create_directories(std::filesystem::path(path(name)).parent_path());
                std::string code;
                while (std::getline(lines, line) && line != "```") code += line + "\n";
                write(name, code);
                continue;
            }
            EXPECT_TRUE(!line.starts_with("```") || line == "```" || line == "```console") << "nobody runs " << line;
            if (line.starts_with("## ")) section = "";
            section += line;
            if (line.starts_with("$ ")) runCommand();
            isCommand = line.starts_with("$ ") || (isCommand && command.ends_with("\\\n"));
            (isCommand ? command : shows) += line.substr(line.starts_with("$ ") ? 2 : 0) + "\n";
            if (picture != std::string::npos && (section.find("numpy") != std::string::npos) == withNumpy)
                pictures += "same('" + line.substr(picture + 11, line.find(')', picture) - picture - 11) + "')\n";
        }
        expect(run({"run", write("compare.py", m_compare + pictures)}), 0, "");
    }

private:
    // The command after one that ended with `former`.
    int expectCommand(const std::string& command, const std::string& shows, int former) const {
        write("command", "cd '" + path() + "'\n(exit " + std::to_string(former) + ")\n" + command);
        const std::string redirected = "bash " + path("command") + " </dev/null >" + path("out") + " 2>" + path("err");
        const int status = WEXITSTATUS(std::system(redirected.c_str()));
        EXPECT_TRUE(matches(contents("out"), shows)) << "$ " << command << "prints\n"
                                                     << contents("out") << "and not\n"
                                                     << shows << contents("err");
        return status;
    }
    // Three dots stand for any text.
    static bool matches(const std::string& text, const std::string& pattern) {
        const std::size_t dots = pattern.find("...");
        if (dots == std::string::npos) return text == pattern;
        if (!text.starts_with(pattern.substr(0, dots))) return false;
        for (std::size_t at = dots; at <= text.size(); ++at)
            if (matches(text.substr(at), pattern.substr(dots + 3))) return true;
        return false;
    }

    const std::string m_compare = R"(
        import kz
        images = kz.service.Image()
        def same(name):
            made, shown = [images.Load('FOLDER/' + folder + name, None)
                           for folder in ('', 'examples/pictures/')]
            if images.Compare(made, shown, 0)[0] > 0.005: print name, 'differs')"_lines;

protected:
    std::string page = contentsOf(KZ_SOURCE_DIR "/examples/README.md");
};

TEST_F(GalleryTest, ShowsWhatTheGuidesDo) {
    ignoreLeaks();  // of the validator
    std::vector<std::string> pages;
    for (const char* name : {"commands", "memory", "observing", "recording"})
        pages.push_back(KZ_SOURCE_DIR "/docs/" + std::string(name) + ".md");
    for (const auto& entry : std::filesystem::directory_iterator(KZ_SOURCE_DIR "/docs/guides"))
        pages.push_back(entry.path().string());
    for (const std::string& each : pages) {
        SCOPED_TRACE(each);
        page = contentsOf(each);
        runSections(false);
        if (std::filesystem::exists(path("tools"))) {
            for (const auto& server : std::filesystem::directory_iterator(path("tools/servers")))
                EXPECT_EQ(run({"validate", server.path().string(), "--level", highestLevel, "--rounds", "10"}).status,
                          0)
                    << contents("out");
        }
        std::filesystem::remove_all(path("tools"));  // the servers of one page
    }
}

TEST_F(GalleryTest, ShowsWhatTheExamplesPrintAndPaint) {
    for (const char* folder : {"", "/servers"})
        for (const auto& entry : std::filesystem::directory_iterator(std::string(KZ_SOURCE_DIR "/examples") + folder)) {
            const std::string name = std::filesystem::relative(entry, KZ_SOURCE_DIR "/examples").string();
            const bool isShown = page.find("[" + name + "](" + name + ")") != std::string::npos;
            EXPECT_TRUE(isShown || !name.ends_with(".py")) << name;
        }
    runSections(false);
}

TEST_F(GalleryTest, ShowsWhatTheExamplesDoWithNumpy) {
    EXPECT_EQ(run({"run", path("examples/heights.py")}).status, 77);
    if (!std::filesystem::exists(path("build/numpy/numpy"))) GTEST_SKIP() << "numpy for Python 2.7 is not installed";
    runSections(true);
}

// The sessions of docs/storage.md do what the page shows; the last one needs numpy.
TEST_F(GalleryTest, ShowsWhatStoragesDo) {
    const bool hasNumpy = std::filesystem::exists(path("build/numpy/numpy"));
    const std::string script = write("sessions.py", R"(
        import doctest, sys
        page = open(sys.argv[1]).read()
        if sys.argv[2] == "0": page = page[:page.index('    >>> import numpy')]
        test = doctest.DocTestParser().get_doctest(page, {}, 'page', 'storage.md', 0)
        print doctest.DocTestRunner(optionflags=doctest.ELLIPSIS).run(test).failed, len(test.examples) > 30)"_lines);
    if (hasNumpy) importPaths.push_back(path("build/numpy"));
    expect(run({"run", script, KZ_SOURCE_DIR "/docs/storage.md", hasNumpy ? "1" : "0"}), 0, "0 True\n");
    if (!hasNumpy) GTEST_SKIP() << "numpy for Python 2.7 is not installed";
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
    const std::string faulty = R"(
        #!/bin/sh
        echo "$4" >>FOLDER/jobs
        first() { mkdir "$4.seen"; }
        case $4 in
        *again*) first "$@" && exit 75 ;;
        *before*) first "$@" && kill -9 $PPID && exit ;;
        *after*) first "$@" && PROGRAM "$@" && kill -9 $PPID && exit ;;
        *hangs*) exec sleep 60 ;;
        esac
        exec PROGRAM "$@")"_lines;

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
    EXPECT_EQ(farm(std::string("KZHOST=") + program + " " + command), 10) << contents("err");
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
