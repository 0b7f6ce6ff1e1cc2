// The module on the reference host, and its Python names.
#include "serving_fixture.h"

#include "host/core/log_store.h"
#include "serve/adapters.h"
#include "tests/support/python_text.h"
#include "wrap/wrapper.h"

namespace {

constexpr const char* prepare = R"(
import kz, sys, gc, weakref
Others = {}
for name in adapterNames:
    Others[name] = type(name, (object,), {})
    kz.bless(Others[name], ':' + name)
Command = Others['Command']
kz.bless(type('Warm', (Command,), {}), 'warm')
count = 0
)";

}  // namespace

ServingTest::ServingTest() {
    host.adopt(_IKzModule_Create());
    CKzLoc_Unknown module;
    *module.out() = _IKzModule_Create();
    EXPECT_EQ(CKzUser_Module(module.raw()).Generate("python", &KZu_MODULE, m_server.out()), KZe_OK);
    const CPyLock lock;
    m_names = PyDict_New();
    PyDict_SetItemString(m_names, "__builtins__", PyEval_GetBuiltins());
    const CPyRef adapterNames(PyList_New(0), CPyRef::owned);
    for (const KzAdapterRow* row : kzAdapters)
        PyList_Append(adapterNames, CPyRef(PyString_FromString(row->name), CPyRef::owned));
    PyDict_SetItemString(m_names, "adapterNames", adapterNames);
    EXPECT_EQ(run(prepare), "");
    told();
    module.clear();
    m_alive = CPluginHost::alive();
}

ServingTest::~ServingTest() {
    if (!m_server) return;
    {
        const CPyLock lock;
        EXPECT_EQ(PyErr_Occurred(), nullptr);
        run("it = Blessed = None; gc.collect()");
    }
    EXPECT_EQ(host.alive(), m_alive);
    unload();
}

void ServingTest::unload() {
    m_server.clear();
    host.host.unload();
    host.clearLog();
}

std::string ServingTest::run(const std::string& source) const {
    const CPyLock lock;
    return runPython(source, m_names);
}

std::string ServingTest::value(const std::string& expression) const {
    const CPyLock lock;
    return valueInPython(expression, m_names);
}

void ServingTest::name(const char* name, IKzUnknown* object) const {
    const CPyLock lock;
    const CPyRefNull wrapper(kzNewUnknown(object));
    PyDict_SetItemString(m_names, name, wrapper);
}

IKzUnknown* ServingTest::spawn(const char* name, const KzGuid& iid) const {
    IKzUnknown* made = nullptr;
    server().Generate(name, &iid, &made);
    return made;
}

CKzUser_Command ServingTest::command(const std::string& body) const {
    EXPECT_EQ(run("class Blessed(Command):\n" + body +
                  "\ncount += 1\nblessedName = 'test.%d' % count\nkz.bless(Blessed, blessedName)\n"),
              "");
    CKzLoc_Unknown made;
    made.take(spawn(value("blessedName").c_str()));
    EXPECT_TRUE(made);
    return CKzUser_Command(made.raw());
}

TestLog ServingTest::told() {
    TestLog lines;
    for (const LogLine& line : host.host.log().lines()) lines.emplace_back(line.text, line.level);
    lines.erase(lines.begin(), lines.begin() + static_cast<std::ptrdiff_t>(std::exchange(m_told, lines.size())));
    return lines;
}
