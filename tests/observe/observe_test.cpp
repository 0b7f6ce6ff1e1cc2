// What the program's options --trace-calls, --profile and --leaks write.
#include "tests/support/kzhost_run.h"

#include <sstream>

namespace {

class ObserveTest : public KzHostTest {
protected:
    // What Perfetto's trace processor finds wrong with traces, and the rows of a query.
    std::string ask(const std::string& query, const std::string& traces) const {
        const std::string command = KZ_SOURCE_DIR "/build/trace-processor/bin/python " KZ_SOURCE_DIR
                                                  "/tests/observe/check_trace.py \"" +
                                    query + "\" " + traces + " >" + path("rows") + " 2>&1";
        EXPECT_EQ(std::system(command.c_str()), 0);
        return contents("rows");
    }
    static bool hasProcessor() {
        return std::filesystem::exists(KZ_SOURCE_DIR "/build/trace-processor/bin/python") &&
               std::system("node --version >/dev/null 2>&1") == 0;
    }
    std::string lines(const Ended& ended, const std::string& part) const {
        std::istringstream all(ended.error);
        std::string result;
        for (std::string line; std::getline(all, line);)
            if (const std::size_t at = line.find(part); at != std::string::npos) result += line.substr(at) + "\n";
        return result;
    }
};

// With --leaks=error, too: none of them leaves anything.
TEST_F(ObserveTest, TracesOfTheExamplesAreSound) {
    const std::string examples = KZ_SOURCE_DIR "/examples";
    std::string traces;
    std::size_t count = 0;
    for (const auto& entry : std::filesystem::directory_iterator(examples)) {
        if (entry.path().extension() != ".py") continue;
        traces += " " + path(entry.path().stem()) + ".json";
        ++count;
        std::vector<std::string> words = {
            "--import-path", examples,    "--leaks=error", "--trace-calls", path(entry.path().stem()) + ".json",
            "run",           entry.path()};
        for (const char* name : {"out", "out.png"}) words.push_back(path(name));
        const Ended ended = run(words);
        EXPECT_EQ(lines(ended, "leaks: "), "leaks: nothing is left; what modules hold does not count\n")
            << entry.path() << ended.error;
        EXPECT_TRUE(ended.status <= 1 || ended.status == 77 || ended.status == 2) << entry.path() << ended.error;
    }
    if (!hasProcessor()) GTEST_SKIP() << "Perfetto's trace processor is not installed";
    const std::string rows = ask("select min(s.depth) = 0 and max(s.depth) > 0 and count(*) > 20 from slice s", traces);
    std::string expected;
    while (count-- != 0) expected += "1\n";
    EXPECT_EQ(rows, expected);
}

// Each script with the rows of its trace: thread, caller, name, arguments, result or exception, code.
TEST_F(ObserveTest, TracesHaveEveryCall) {
    if (!hasProcessor()) GTEST_SKIP() << "Perfetto's trace processor is not installed";
    serve("twice.py", "import kz, kzifc\nclass Twice(kzifc.Command):\n    def cmd_Execute(self, flags): kz.arg()\n"
                      "    def cmd_Flags(self): raise LookupError\nkz.bless(Twice, 'twice')\n");
    const std::tuple<const char*, int, std::vector<const char*>> cases[] = {
        {"import kz\nkz.eval('twice')\n",
         0,
         {"kzserv.import|kz.bless|(Twice, 'twice', {}, None)|None|None",
          "kz.eval|Twice.__init__|(Twice, None)|<Twice>|None", "kz.eval|Twice.cmd_Flags|()|LookupError: ()|NOTFOUND",
          "kz.eval|Twice.cmd_Execute|(0)|None|None", "Twice.cmd_Execute|kz.arg|()|''|None",
          "kz.eval|Twice.release|()|None|None"}},
        {"import kz, sys\nsys.stdout.write('\\xc3\\xa4')\nsys.stderr.write('\"\\xff')\nm = kz.Monitor(2)\nm.step(1)\n"
         "try: kz.service.Scene().ItemTypeLookup('?')\nexcept LookupError: kz.Service('command').query('commands')[0]\n"
         "sys.stdout.flush()\n",
         0,
         {"sys.stdout.write|('\xC3\xA4')|None|None", "sys.stderr.write|('\"\xEF\xBF\xBD')|None|None",
          "kz.Monitor.__init__|(2)|None|None", "kz.Monitor.step|(1)|None|None",
          "kz.service.Scene.ItemTypeLookup|('?')|LookupError: 'not found'|NOTFOUND", "kz.Service.query|('commands')|",
          "sys.stdout.flush|()|None|None"}},
        {"import kz, kzifc, threading\nclass Job(kzifc.ThreadJob):\n    def job_Execute(self): kz.arg()\n"
         "group = kz.service.Thread().CreateGroup()\ngroup.AddJob(Job())\ngroup.Execute()\ngroup.Wait()\n"
         "other = threading.Thread(target=kz.args, name='other')\nother.start()\nother.join()\n",
         0,
         {"main|None|script FOLDER/script.py", "job|None|Job.job_Execute", "job|Job.job_Execute|kz.arg",
          "other|None|kz.args"}},
        // Numbers by their constants' names.
        {"import kz\nservice = kz.service.Mesh()\nface, mesh = service.PolygonTypeLookup('face'), service.Create()\n"
         "mesh.Flip(5)\nmesh.SetMarks(kz.symbol.iMESHELT_POLYGON, 0x400001, 0)\n",
         0,
         {"PolygonTypeLookup|('face')|i_POLYTYPE_FACE|", "Flip|(fMARK_SELECT|fMARK_LOCK)|None",
          "SetMarks|(iMESHELT_POLYGON, fMARK_SELECT|0x400000, 0)|"}},
        // Ended abruptly, by a child of fork, too.
        {"import kz, os\nif not os.fork(): kz.eval('child'); os._exit(0)\nos.wait()\nkz.arg()\nos._exit(3)\n",
         3,
         {"script FOLDER/script.py|('', ())|None|None", "kz.arg|()|''|None"}},
        {"import kz, os\nkz.arg()\nos.kill(os.getpid(), 9)\n", 265, {"kz.arg|()|''|None"}}};
    for (const auto& [script, status, rows] : cases) {
        const Ended ended = run({"--trace-calls", path("t"), "run", write("script.py", script)});
        EXPECT_EQ(ended.status, status) << ended.error;
        const std::string found =
            ask("select t.name as thread, p.name as caller, s.name as name, extract_arg(s.arg_set_id, "
                "'args.arguments') as a, "
                "coalesce(extract_arg(s.arg_set_id, 'args.result'), extract_arg(s.arg_set_id, 'args.exception')) as r, "
                "extract_arg(s.arg_set_id, 'args.code') as c from slice s join thread_track k on s.track_id = k.id "
                "join thread t using (utid) left join slice p on p.id = s.parent_id",
                path("t"));
        for (const char* row : rows) EXPECT_NE(found.find(inFolder(row)), std::string::npos) << row << "\n" << found;
        EXPECT_EQ(found.find(path("t: ")), std::string::npos) << found;
        EXPECT_EQ(found.find("child"), std::string::npos) << found;
    }
}

TEST_F(ObserveTest, ProfilesSumUpByMethod) {
    write("script.py", R"(import kz, kzifc, threading, time
LEFT = [1, 1]
class Deep(kzifc.Command):
    def cmd_Execute(self, flags):
        time.sleep(.05)
        if not LEFT: raise LookupError
        LEFT.pop()
        kz.eval('deep')
kz.bless(Deep, 'deep')
try: kz.eval('deep')
except Exception: pass
threads = [threading.Thread(target=kz.command, args=('deep',)) for i in range(2)]
for thread in threads: thread.start()
for thread in threads: thread.join()
)");
    for (const std::string option : {"--profile", "--profile=FOLDER/table"}) {
        const Ended ended = run({inFolder(option), "run", path("script.py")});
        std::istringstream table(option == "--profile" ? ended.error : contents("table"));
        double former = 1e9, calls = 0, failed = 0, total = 0, own = 0, longest = 0;
        int found = 0;
        for (std::string row, name; std::getline(table, row);) {
            std::istringstream fields(row);
            if (!(fields >> calls >> failed >> total >> own >> longest >> name >> name)) continue;
            EXPECT_TRUE(own <= former && longest <= total + .001) << row;
            former = own;
            if (name != "Deep.cmd_Execute") continue;
            ++found;
            // Three calls inside each other count once, and those on two threads twice, though they run at one time.
            EXPECT_TRUE(calls == 5 && failed == 5 && own >= 250 && longest >= 150 && total >= 250 && total < own * 1.2)
                << row;
        }
        EXPECT_EQ(found, 1) << ended.error;
    }
    EXPECT_TRUE(
        run({"--profile", "-c", "import kz, atexit\n@atexit.register\ndef end(): kz.arg()"}).says("  kz.arg\n"));
}

// Each script with the lines of the report; without any, nothing is left and the status is 0.
TEST_F(ObserveTest, LeaksAreFoundByTheirLine) {
    const std::string begin = "import kz, kzifc, gc\nclass Stays(object):\n    def __del__(self): pass\n"
                              "def make(): return kz.service.Scene().Create('x')\n";
    const std::string forEver = "stays = Stays()\nstays.me = stays\n";  // a cycle that is never collected
    const std::string selfish = "class Selfish(kzifc.Visitor): pass\n"
                                "for i in 1, 2:\n    s = Selfish()\n    s.me = kz.object.Unknown(s)\n";
    const std::string called = "class Called(kzifc.Command):\n    def cmd_Enable(self, argument):\n        DO\n"
                               "kz.object.Command(Called()).Enable(make())\n";
    // What the module of a program refers to would be no leak.
    const auto inFunction = [](const std::string& script) {
        std::string result = "def plant():\n";
        std::istringstream all(script);
        for (std::string line; std::getline(all, line);) result += "    " + line + "\n";
        return result + "plant()\n";
    };
    const auto with = [&](const char* what) { return std::string(called).replace(called.find("DO"), 2, what); };
    const std::pair<std::string, std::string> cases[] = {
        {forEver + "stays.scenes = [make(), make()]\n",
         "leaks: 2 kz.object.Scene, made in FOLDER/script.py:4, 2 references\n"},
        {forEver +
             "def closure(): return stays, kept\nkept = kz.Monitor(1), kz.Service('command')\nstays.f = closure\n",
         "leaks: 1 kz.Monitor, made in FOLDER/script.py:9, 1 reference\n"
         "leaks: 1 kz.Service, made in FOLDER/script.py:9, 1 reference\n"},
        {"class Mine(kz.object.Scene):\n    def __del__(self): pass\nmine = Mine(make())\nmine.me = mine\n",
         "leaks: 1 Mine, made in FOLDER/script.py:8, 2 references\n"},
        {selfish, "leaks: 2 Selfish served, made in FOLDER/script.py:9, 2 references, kept by wrappers of itself or of "
                  "others like it\nleaks: 2 kz.object.Unknown, made in FOLDER/script.py:9, 2 references\n"},
        // The host keeps a reference of its own.
        {"import ctypes as c\nclass Kept(kzifc.Visitor): pass\nkept = kz.object.Unknown(Kept())\n"
         "address = kept.__peekobj__()\ntable = c.cast(address, c.POINTER(c.POINTER(c.c_void_p)))[0]\n"
         "c.CFUNCTYPE(c.c_uint, c.c_void_p)(table[1])(address)\n",
         "leaks: 1 Kept served, made in FOLDER/script.py:8, 1 reference\n"},
        {forEver + with("stays.scene = argument"),
         "leaks: 1 kz.object.Unknown, made for Called.cmd_Enable in FOLDER/script.py:9, 1 reference\n"},
        {forEver +
             "stays.many = []\nfor i in range(25):\n"
             "    exec compile('\\n' * i + 'many.append(kz.service.Scene())', 'many', 'exec') in {'kz': kz, 'many': "
             "stays.many}\n",
         "leaks: and 5 objects of other lines\n"},
        {"cycle = [make()]\ncycle.append(cycle)\n", ""},
        {"import sys, types\nmodule = sys.modules['module'] = types.ModuleType('module')\n" + forEver +
             "stays.scene = make()\nmodule.stays, module.scene = stays, make()\n",
         ""},
        {with("self.scene = make(); return [self]") + forEver + "stays.none = gc.garbage\n", ""}};
    for (const auto& [script, report] : cases) {
        const std::string file = write("script.py", begin + inFunction(script));
        for (const std::vector<std::string>& verb : {std::vector<std::string>{"run", file},
                                                     {file},
                                                     {"-c", "import sys; "
                                                            "execfile('" +
                                                                file + "', globals()); sys.exit()"}}) {
            std::vector<std::string> words = {"--leaks=error"};
            words.insert(words.end(), verb.begin(), verb.end());
            const Ended ended = run(words);
            EXPECT_EQ(ended.status, report.empty() ? 0 : 1) << script << ended.error;
            const std::string found = lines(ended, "leaks: ");
            const std::string expected =
                report.empty() ? "leaks: nothing is left; what modules hold does not count\n" : inFolder(report);
            EXPECT_TRUE(found.ends_with(expected)) << verb[0] << "\n" << script << found << "\nand not " << expected;
            EXPECT_FALSE(ended.says("never freed")) << ended.error;
        }
    }
    expect(run({"--quiet", "--leaks=report", "run", write("script.py", begin + inFunction(cases[0].first))}), 0, "",
           {"leaks: 2 kz"});
}

TEST_F(ObserveTest, OptionsAreChecked) {
    const std::tuple<std::vector<std::string>, int, const char*> cases[] = {
        {{"--leaks=all", "run", "x"}, 2, "--leaks: \"all\" should be report or error"},
        {{"--trace-calls", "/none/t", "eval", "1"}, 2, "--trace-calls: /none/t cannot be written: No such file"},
        {{"--profile=/none/p", "eval", "1"}, 2, "--profile: /none/p cannot be written: No such file"},
        {{"--trace-calls", "/dev/full", "eval", "2"}, 0, "/dev/full cannot be written: No space left"}};
    for (const auto& [words, status, says] : cases) expect(run(words), status, status == 0 ? "2\n" : "", {says});
    // A child process does not write to the same file, and the variables work without the program's options.
    setenv("KZ_LEAKS", "none", 1);
    setenv("KZ_PROFILE_CALLS", path("of-%p").c_str(), 1);
    const Ended ended = run({"--trace-calls", path("t%p"), "--leaks", "error", "run", "-"},
                            "import os, subprocess, sys\nprint os.environ['KZ_LEAKS'], 'KZ_TRACE_CALLS' in os.environ\n"
                            "subprocess.call([sys.executable, '-c', 'import kz'])\n");
    expect(ended, 0, "none False\n",
           {"KZ_LEAKS should be report or error, not \"none\"",
            "leaks: nothing is left; what modules hold does not count"});
    std::size_t traces = 0, profiles = 0;
    for (const auto& entry : std::filesystem::directory_iterator(path())) {
        traces += entry.path().filename().string().starts_with("t") ? 1 : 0;
        profiles += entry.path().filename().string().starts_with("of-") ? 1 : 0;
    }
    EXPECT_EQ(traces, 1U);
    EXPECT_EQ(profiles, 2U);
}

}  // namespace
