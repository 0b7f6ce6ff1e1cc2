// The example servers, driven by the host.
#include "kzhost_run.h"

namespace {

constexpr const char* examples = KZ_SOURCE_DIR "/examples";

class ExampleServersTest : public ServerFilesTest {};

TEST_F(ExampleServersTest, TheyAreListedWithTheirTags) {
    const Ended ended = run({"servers"}, {examples});
    EXPECT_EQ(ended.status, 0);
    EXPECT_EQ(ended.error, "");
    for (const char* part : {"text.repeat", "command.category=text", "loader.dosPattern=*.timg", "saver.dosType=TIMG",
                             "watch.session", "treeview.type=outline", "server.username=Day of the Week"})
        EXPECT_NE(ended.out.find(part), std::string::npos) << part << ended.out;
}

TEST_F(ExampleServersTest, ATreeIsPrinted) {
    const Ended ended = run({"tree", "outline"}, {examples});
    EXPECT_EQ(ended.out, "house  building\n"
                         "  kitchen  room\n"
                         "    table  furniture\n"
                         "    stove  appliance\n"
                         "  hall  room\n"
                         "garden  ground\n"
                         "  pond  water\n")
        << ended.error;
    EXPECT_EQ(run({"tree", "nowhere"}, {examples}).status, 1);
}

TEST_F(ExampleServersTest, AnImageGoesThroughLoaderAndSaver) {
    const std::string image = write("a.timg", "TIMG  3   2\n1 2 3\n4 5   255\n");
    const Ended ended = run({"convert", image, path("b.timg")}, {examples});
    EXPECT_EQ(ended.out, path("b.timg") + ": 3 x 2 pixels\n") << ended.error;
    std::ifstream stream(path("b.timg"));
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(stream), {}), "TIMG 3 2\n1 2 3\n4 5 255\n");
    const std::pair<std::string, const char*> failures[] = {
        {write("broken.timg", "TIMG 3 2\n1 2\n3 4 5\n"), "has not 3 pixels"},
        {write("other.timg", "nothing"), "no loader takes this file"},
        {write("a.png", "TIMG 1 1\n1\n"), "no loader takes this file"},
    };
    for (const auto& [file, why] : failures) {
        const Ended failed = run({"convert", file, path("c.timg")}, {examples});
        EXPECT_EQ(failed.status, 1) << file;
        EXPECT_TRUE(failed.says(why)) << failed.error;
    }
    EXPECT_TRUE(run({"convert", image, path("c.tga")}, {examples}).says("no saver writes such files"));
}

TEST_F(ExampleServersTest, ValuesOfAServedTypeAreTheHostsOwn) {
    const Ended ended = runText("import kz, kzu.object\nvalues = kz.service.Value()\nday = values.CreateValue('weekday')\n"
                                "values.DecodeText('friday', 0, day)\n"
                                "print day.TypeName(), day.GetInt(), values.EncodeText(day, 0), values.EncodeText(day, 1)\n"
                                "values.DecodeText(' Monday ', 1, day)\nprint kzu.object.Value(day)\n"
                                "try: values.DecodeText('someday', 0, day)\n"
                                "except Exception: print 'refused', kz.lastResult() == kz.symbol.e_INVALIDARG\n"
                                "hints = kz.object.UIValueHints(day)\nprint hints.PopCount(), hints.PopUserName(6)\n"
                                "query = kz.service.ScriptSys().ServiceQuery('value')\nquery.Select('choices', 'weekday')\n"
                                "found = values.CreateValueArray('string')\n"
                                "query.Query(query.Lookup('choices'), found)\nprint kzu.object.ValueArray(found)[:2]\n",
                                {examples});
    EXPECT_EQ(ended.out, "weekday 4 friday Friday\n<Value weekday 0>\nrefused True\n7 Sunday\n['monday', 'tuesday']\n")
        << ended.error;
    EXPECT_EQ(ended.error, "");
}

TEST_F(ExampleServersTest, ListenersHearTheSessionAndTheLog) {
    const Ended ended = runText("import kz\nfrom kzserv.servers import watch\nlog = kz.service.Log()\n"
                                "log.SubSystemLookup('tests').AddEntry(log.CreateEntry(0x80000000, 'wrong'))\n"
                                "kz.service.Host().ModuleUpdate('python')\n"
                                "for line in watch.HEARD:\n    if line != 'updated python': print line\n"
                                "print watch.HEARD[-1], kz.service.Listener().ListenerCount('')\n",
                                {examples});
    EXPECT_EQ(ended.out, "ready\nerror wrong\nupdated python 3\n") << ended.error;
}

}  // namespace
