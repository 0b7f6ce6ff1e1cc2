// How costs grow: what each element costs among N of them and among 8 N. What is linear costs the same in both. And what a
// command in Python costs against a built-in one, both with one text as argument.
#include "bench/measure.h"
#include "host/core/command_dispatcher.h"
#include "host/core/log_store.h"
#include "host/core/object.h"
#include "host/core/scripts.h"
#include "host/kz_host.h"
#include "host/state/path_aliases.h"
#include "host/state/property_table.h"
#include "kz_paths.h"
#include "tests/support/lines.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace kzhost;

namespace {

constexpr int times = 8;
constexpr int rounds = 4;
constexpr double target = 1.5;

// Scripts that leave in `cost` what `n` elements cost.
const std::string prints = R"(
    begin = time.clock()
    for i in xrange(n): print i,
    cost = time.clock() - begin)"_lines;
const std::string appends = R"(
    s, begin = kz.Storage('i'), time.clock()
    for i in xrange(n): s += (i,)
    cost = time.clock() - begin)"_lines;
const std::string blessings = R"(
    import kzifc
    classes, begin = [type('C', (kzifc.Command,), {}) for i in xrange(n)], time.clock()
    for i, c in enumerate(classes): kz.bless(c, 'bench.%r.%d' % (begin, i))
    cost = time.clock() - begin)"_lines;
const std::string used = R"(
    import kzu.command
    class C(kzu.command.Command):
        def execute(self): pass
    classes, begin = [type('C', (C,), {}) for i in xrange(n)], time.clock()
    for i, c in enumerate(classes):
        kz.bless(c, 'used.%r.%d' % (begin, i))
        kz.eval('used.%r.%d' % (begin, i))
    cost = time.clock() - begin)"_lines;
// A command like the built-in one that it is compared with, and the two in turn, in nanoseconds for each.
const std::string twin = R"(
    from kzu.command import Argument, Command
    class Clear(Command):
        arguments = [Argument('subsystem', 'string')]
        def execute(self, subsystem): pass
    kz.bless(Clear, 'bench.clear')
    cost = 0)"_lines;
const std::string turns = R"(
    def chunk(text):
        begin = time.clock()
        for i in xrange(200): kz.eval(text)
        return (time.clock() - begin) / 200 * 1e9
    times = [(chunk('bench.clear none'), chunk('log.clear none')) for i in xrange(200)]
    for which in 0, 1:
        kz.service.Application().SetProperty('bench.%d' % which, repr(sorted(pair[which] for pair in times)[50]))
    cost = 0)"_lines;
// All driven by one channel, which changes first.
const std::string driven = R"(
    scenes = kz.service.Scene()
    scene, kind = scenes.Create('bench'), scenes.ItemTypeLookup('locator')
    items, links = [scene.ItemAdd(kind) for i in xrange(n + 1)], kz.object.ChannelGraph(scene.GraphLookup('channelLinks'))
    source, x = items.pop(), items[0].ChannelLookup('pos.X')
    for item in items: links.AddLink(source, x, item, x)
    write, read = scene.WriteChannels(None, 0.0), scene.Channels(None, 0.0)
    for item in items: read.Double(item, x)
    begin = time.clock()
    write.Double(source, x, 2.0)
    for item in items: read.Double(item, x)
    cost = time.clock() - begin
    scenes.Close(scene))"_lines;
// What is done to each of so many items of a scene.
const std::string itemsBefore = R"(
    import os, tempfile
    scenes, undo, chosen = kz.service.Scene(), kz.service.Undo(), kz.service.Selection()
    scene, kind = scenes.Create('bench'), scenes.ItemTypeLookup('locator')
    top, items = scene.ItemAdd(kind), [scene.ItemAdd(kind) for i in xrange(n)]
    x, write, read = top.ChannelLookup('pos.X'), scene.WriteChannels(None, 0.0), scene.Channels(None, 0.0)
    names, path = [item.UniqueName() for item in items], os.path.join(tempfile.mkdtemp(), 'bench.kzscene'))"_lines;
const std::string itemsAfter = R"(
    cost = time.clock() - begin
    if os.path.exists(path): os.remove(path)
    os.rmdir(os.path.dirname(path))
    for each in [scenes.ByIndex(i) for i in xrange(scenes.Count())]: scenes.Close(each))"_lines;
struct ItemWork {
    const char* name;
    const char *before, *work;
};
// More than the caches hold, in which few items cost less: an item takes about two kilobytes.
constexpr int itemCount = 16000;

constexpr ItemWork itemWorks[] = {
    {"creating items", "", "for item in items: scene.ItemAdd(kind)"},
    {"renaming items", "", "for item in items: item.SetName('part')"},
    {"looking items up", "", "for name in names: scene.ItemLookup(name)"},
    {"writing channels", "", "for item in items: write.Double(item, x, 2.0)"},
    {"reading channels", "", "for item in items: read.Double(item, x)"},
    {"parenting items", "", "for item in items: item.SetParent(top, -1)"},
    {"removing items", "", "for item in items: scene.ItemRemove(item)"},
    {"selecting items", "", "for item in items: chosen.SelectItem(item, 1)"},
    {"undoing", "undo.BlockBegin('all', 0)\nfor item in items: item.SetName('part')\nundo.BlockEnd()", "undo.Undo(1)"},
    {"saving a scene", "", "scenes.Save(scene, path, None)"},
    {"loading a scene", "scenes.Save(scene, path, None)", "scenes.Load(path, None)"},
};
// What the process has gained when that many texts of a megabyte have been executed.
const std::string texts = R"(
    def memory(): return int(open('/proc/self/statm').read().split()[1]) * 4096
    before = memory()
    for i in xrange(n): kz.eval('user.value bench {%d%s}' % (i, 'x' * 2 ** 20))
    cost = memory() - before)"_lines;

class CGrowthHost {
public:
    CGrowthHost() {
        m_host.files().setAlias("kit_Python2_7", KZ_BUILD_DIR "/kit/Python2_7");
        std::string why;
        if (m_host.load(KZ_BUILD_DIR "/plugins/kzPython2.so", why)) return;
        std::fprintf(stderr, "%s\n", why.c_str());
        std::exit(2);
    }
    double run(const std::string& body, int n) {
        const std::string text = "import kz, kz.service, time\nn = " + std::to_string(n) + "\n" + body +
                                 "kz.service.Application().SetProperty('bench', repr(float(cost)))\n";
        if (kzFailed(m_host.run(CHostRef<CScript>::make("bench.py", text), 0, "").code)) {
            for (const LogLine& line : m_host.log().lines()) std::fprintf(stderr, "%s\n", line.text.c_str());
            std::exit(2);
        }
        m_host.log().clear();
        return property("bench");
    }
    double property(const char* name) {
        return std::strtod(m_host.properties().get(name).value_or("").c_str(), nullptr);
    }
    CCommandDispatcher& commands() { return m_host.commands(); }

private:
    CKzHost m_host;
};

double childTime() {
    rusage usage{};
    getrusage(RUSAGE_CHILDREN, &usage);
    const auto seconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

// What a console takes for so many typed lines, between one that opens something and one that ends it.
double pasteTime(const char* opening, const char* line, const char* ending, int lines) {
    std::FILE* typed = std::tmpfile();
    std::fputs(opening, typed);
    for (int index = 0; index < lines; ++index) std::fprintf(typed, "%s%d,\n", line, index);
    std::fputs(ending, typed);
    std::rewind(typed);
    const double begin = childTime();
    const pid_t child = fork();
    if (child == 0) {
        dup2(fileno(typed), STDIN_FILENO);
        execl(KZ_BUILD_DIR "/bin/kzhost", "kzhost", "console", nullptr);
        _exit(127);
    }
    int status = 0;
    waitpid(child, &status, 0);
    std::fclose(typed);
    if (status != 0) std::exit(2);
    return childTime() - begin;
}

bool report(const char* name, int n, const char* unit, double small, double large) {
    const double ratio = large / small;
    std::printf("  %-34s %8d %10.3f %10.3f %8.2f %7.2f  %s%s\n", name, n, small, large, ratio, target, unit,
                ratio > target ? ", over" : "");
    return ratio <= target;
}

// The least of several rounds: everything else that a machine does makes them longer.
template <class Cost> bool contest(const char* name, int n, Cost&& cost) {
    if (!kzSelected(name)) return true;
    double least[] = {1e9, 1e9};
    for (int round = 0; round < rounds; ++round)
        for (const int factor : {1, times}) {
            double& best = least[factor == 1 ? 0 : 1];
            best = std::min(best, cost(n * factor) / (n * factor) * 1e6);
        }
    return report(name, n, "microseconds for each", least[0], least[1]);
}

bool compareKept(const char* name, int n, CGrowthHost& host) {
    if (!kzSelected(name)) return true;
    const double small = host.run(texts, n);
    return report(name, n, "megabytes for all", small * 1e-6, (small + host.run(texts, n * (times - 1))) * 1e-6);
}

bool comparePrice(CGrowthHost& host) {
    host.run(twin, 1);
    kzPrintHead("A command in Python against a built-in one");
    const auto perform = [&](const char* text) {
        return KzWork([&host, text] { return kzNanoseconds([&] { host.commands().perform(text, 0); }); });
    };
    bool good = true;
    if (kzSelected("executed from the host")) {
        const std::vector<double> times = kzInterleave({perform("bench.clear none"), perform("log.clear none")});
        // Here each of the methods that the host calls takes the interpreter lock.
        good &= kzPrintRatio("executed from the host", times[0], times[1], 4.5);
    }
    if (kzSelected("executed from Python")) {
        host.run(turns, 1);
        good &= kzPrintRatio("executed from Python", host.property("bench.0"), host.property("bench.1"), 3);
    }
    return good;
}

}  // namespace

int main(int count, char** arguments) {
    kzSelect(count, arguments);
    std::printf("How costs grow\n  %-34s %8s %10s %10s %8s %7s\n", "", "N", "of N", "of 8 N", "ratio", "target");
    CGrowthHost host;
    bool good = contest("print with a comma at the end", 20000, [&](int n) { return host.run(prints, n); });
    good &= contest("appending to a storage", 20000, [&](int n) { return host.run(appends, n); });
    good &= contest("evaluating driven channels", 1000, [&](int n) { return host.run(driven, n); });
    for (const auto& [name, before, work] : itemWorks) {
        std::string script = itemsBefore;
        script.append(before).append("\nbegin = time.clock()\n").append(work).append("\n").append(itemsAfter);
        good &= contest(name, itemCount, [&](int n) { return host.run(script, n); });
    }
    good &= contest("blessing classes", 500, [&](int n) { return host.run(blessings, n); });
    good &= contest("blessing classes and using them", 100, [&](int n) { return host.run(used, n); });
    good &= compareKept("memory that command texts keep", 50, host);
    double start = 1e9;
    for (int round = 0; round < rounds; ++round) start = std::min(start, pasteTime("", "", "", 0));
    good &= contest("lines of a literal in the console", 2000,
                    [&](int n) { return pasteTime("x = [\n", "    ", "]\n", n) - start; });
    good &= contest("lines of a block in the console", 2000,
                    [&](int n) { return pasteTime("if 1:\n", "    x = ", "\n", n) - start; });
    good &= comparePrice(host);
    return good ? 0 : 1;
}
