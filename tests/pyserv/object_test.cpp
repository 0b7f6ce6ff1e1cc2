// What kzu.object adds to the wrappers, seen from a script.
#include "kzhost_run.h"

namespace {

class ObjectTest : public ServerFilesTest {};

// Lines and what they print, one after another in one script.
struct Step {
    const char* line;
    const char* shown;
};

const Step steps[] = {
    {"array = k.ValueArray(kz.service.Value().CreateValueArray('integer'))", nullptr},
    {"[array.append(n) for n in (3, 1, 2)]", nullptr},
    {"print len(array), list(array), array[0], array[-1], array[1:]", "3 [3, 1, 2] 3 2 [1, 2]"},
    {"print array, isinstance(array, kz.object.ValueArray)", "<ValueArray integer [3, 1, 2]> True"},
    {"print raised(lambda: array[3]), raised(lambda: array[-4])", "IndexError IndexError"},
    {"print bool(k.ValueArray(kz.service.Value().CreateValueArray('string'))), array == None, array != 5, array == 'x'",
     "True False True False"},
    {"same = type(array)(array)", nullptr},
    {"print same == array, same is array, len({same: 1, array: 2})", "True False 1"},
    {"print type(array)(), bool(type(array)())", "<ValueArray (empty)> False"},
    {"texts = "
     "k.ValueArray(kz.service.Value().CreateValueArray('string'))\ntexts.append('a')\ntexts.append(u'b')\nprint "
     "list(texts)",
     "['a', 'b']"},
    {"floats = k.ValueArray(kz.service.Value().CreateValueArray('float'))\nfloats.append(1.5)\nfloats.append(2)\nprint "
     "floats[:]",
     "[1.5, 2.0]"},
    {"value = k.Value(kz.service.Value().CreateValue('angle'))\nvalue.SetFlt(0.5)\nprint value, value.get()",
     "<Value angle 0.5> 0.5"},
    {"log = kz.service.Log()\nsub = k.Log(log.SubSystemLookup('test'))\nentry = log.CreateEntry(1, 'parent')", nullptr},
    {"sub.AddEntry(entry)\nentry.AddEntry(log.CreateEntry(1, 'child'))", nullptr},
    {"print len(sub), sub, [child.Desc() for child in sub[0]]", "1 <Log test of 1> ['child']"},
    {"with k.Monitor(kz.service.StdDialog().MonitorAllocate('work')) as monitor: monitor.Initialize(2)", nullptr},
    {"print kz.service.StdDialog().MonitorDepth()", "0"},
};

TEST_F(ObjectTest, WrappersAnswerAsPythonObjectsDo) {
    std::string script = "import kz\n"
                         "import kzu.object as k\n"
                         "def raised(action):\n"
                         "    try: action()\n"
                         "    except Exception as error: return type(error).__name__\n";
    std::string expected;
    for (const Step& step : steps) {
        script += std::string(step.line) + "\n";
        if (step.shown != nullptr) expected += std::string(step.shown) + "\n";
    }
    const Ended ended = runText(script);
    EXPECT_EQ(ended.out, expected) << ended.error;
    EXPECT_EQ(ended.status, 0) << ended.error;
}

}  // namespace
