// kz.getQWidget: with the real PySide2 on widgets that Qt itself made, and without any PySide2.
#include "module/output.h"
#include "tests/support/python_text.h"
#include "wrap/widget_bridge.h"

#include "kz_paths.h"

#include <gtest/gtest.h>

#include <dlfcn.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

namespace {

PyMethodDef functions[] = {{"getQWidget", kzGetQWidgetFunction, METH_VARARGS, nullptr}, {nullptr, nullptr, 0, nullptr}};

// Objects that Qt's own constructors have made and Python does not know. The largest of them is smaller
// than the memory for it.
constexpr const char* makeNative = R"(
import ctypes
from PySide2 import QtWidgets
qt = ctypes.CDLL(QtWidgets.__file__)
application = QtWidgets.QApplication([])
rooms = []

def make(constructor):
    rooms.append(ctypes.create_string_buffer(512))
    getattr(qt, constructor)(rooms[-1], None)
    return ctypes.addressof(rooms[-1])

def unmake(destructor, address):
    getattr(qt, destructor)(ctypes.c_void_p(address))
)";

class WidgetsTest : public testing::Test {
protected:
    WidgetsTest() {
        setenv("QT_QPA_PLATFORM", "offscreen", 1);
        setenv("XDG_RUNTIME_DIR", testing::TempDir().c_str(), 1);
        Py_NoSiteFlag = 1;
        Py_InitializeEx(0);
        Py_InitModule("kz", functions);
        kzSetTracing(true);
        m_scope = std::make_unique<COutputScope>(std::shared_ptr<COutput>(std::shared_ptr<void>(), &traced));
        names = PyModule_GetDict(PyImport_AddModule("__main__"));
        run("import kz, sys");
    }
    ~WidgetsTest() override {
        m_scope.reset();
        Py_Finalize();
    }

    std::string run(const std::string& source) { return runPython(source, names); }
    std::string value(const std::string& source) { return valueInPython(source, names); }

    TraceLines traced;
    PyObject* names;

private:
    std::unique_ptr<COutputScope> m_scope;
};

// PySide2 as set-up unpacks it. If it is missing, set-up has reported that.
class WidgetsOfPySide2Test : public WidgetsTest {
protected:
    void SetUp() override {
#ifdef Py_REF_DEBUG
        GTEST_SKIP() << "the interpreter's debug build cannot load PySide2";
#endif
        const std::string folder = KZ_SOURCE_DIR "/build/pyside2";
        if (!std::filesystem::exists(folder + "/PySide2/QtWidgets.so")) GTEST_SKIP() << "there is no PySide2";
        for (const char* needed : {"libGL.so.1", "libgthread-2.0.so.0", "libfontconfig.so.1", "libXext.so.6"})
            if (dlopen(needed, RTLD_LAZY) == nullptr) GTEST_SKIP() << "PySide2 needs " << needed;
        ASSERT_EQ(run("sys.path.insert(0, '" + folder + "')"), "");
    }
    void makeNativeOnes() { ASSERT_EQ(run(makeNative), ""); }
};

}  // namespace

TEST_F(WidgetsTest, FailedImportIsTracedAndPendingAndCostsScriptsNothing) {
    const std::pair<const char*, bool> cases[] = {
        {"", true},
        {"", false},
        {"sys.modules['shiboken2'] = type(sys)('shiboken2')", true},  // a module without a library
        {"sys.modules['shiboken2'].__file__ = '/nowhere/shiboken2.so'", true},
        {"import _ctypes; sys.modules['shiboken2'] = _ctypes", true},  // a library, but another one
    };
    for (const auto& [prepare, tracing] : cases) {
        EXPECT_EQ(run(prepare), "");
        kzSetTracing(tracing);
        traced.lines.clear();
        kzImportWidgets();
        EXPECT_EQ(takeException(), "RuntimeError: could not import PySide2.QtCore") << prepare;
        EXPECT_EQ(value("kz.getQWidget(16), kz.getQWidget(0)"), "(None, None)") << prepare;
        const std::string line = "pyside2_import: could not import PySide2.QtCore";
        EXPECT_EQ(traced.lines, std::vector<std::string>(tracing ? 2 : 0, line)) << prepare;
    }
}

TEST_F(WidgetsOfPySide2Test, ImportThatFailsHalfWay) {
    ASSERT_EQ(run("sys.modules['PySide2.QtWidgets'] = None"), "");
    kzImportWidgets();
    EXPECT_EQ(takeException(), "RuntimeError: could not import PySide2.QtWidgets");
    EXPECT_EQ(traced.lines, std::vector<std::string>{"pyside2_import: could not import PySide2.QtWidgets"});
    EXPECT_EQ(value("kz.getQWidget(16)"), "None");
    // The next call tries again.
    ASSERT_EQ(run("del sys.modules['PySide2.QtWidgets']"), "");
    makeNativeOnes();
    ASSERT_EQ(run("address = make('_ZN11QPushButtonC1EP7QWidget')"), "");
    EXPECT_EQ(value("type(kz.getQWidget(address)).__name__"), "QPushButton");
    EXPECT_EQ(run("unmake('_ZN11QPushButtonD1Ev', address)"), "");
}

TEST_F(WidgetsOfPySide2Test, NativeWidgetBecomesAnObjectOfItsClass) {
    kzImportWidgets();
    ASSERT_EQ(takeException(), "");
    ASSERT_EQ(traced.lines, std::vector<std::string>());
    makeNativeOnes();
    EXPECT_EQ(run(R"(
address = make('_ZN11QPushButtonC1EP7QWidget')
button = kz.getQWidget(address)
assert type(button) is QtWidgets.QPushButton, type(button)
assert kz.getQWidget(long(address), 'ignored') is button

clicks = []
button.setCheckable(True)
button.clicked.connect(lambda checked: clicks.append(checked))
button.click()
application.processEvents()
assert clicks == [True], clicks
assert qt._ZNK15QAbstractButton9isCheckedEv(ctypes.c_void_p(address)) & 1  # Qt itself has seen it

# Python owns nothing of it: the widget lives on without its object.
references = sys.getrefcount(button)
kz.getQWidget(address)
assert sys.getrefcount(button) == references
del button
assert qt._ZNK15QAbstractButton9isCheckedEv(ctypes.c_void_p(address)) & 1
assert kz.getQWidget(address).isChecked()
unmake('_ZN11QPushButtonD1Ev', address)
)"),
              "");
}

TEST_F(WidgetsOfPySide2Test, ArgumentsThatAreNoWidget) {
    makeNativeOnes();
    ASSERT_EQ(run("address = make('_ZN6QTimerC1EP7QObject')\nblank = ctypes.create_string_buffer(64)\n"
                  "found = 'ValueError: getQWidget() found no widget at '\n"),
              "");
    const std::string needs = "TypeError: getQWidget() needs the address of a widget as an integer, not ";
    const std::pair<const char*, std::string> cases[] = {
        {"kz.getQWidget()", needs + "nothing"},
        {"kz.getQWidget('1')", needs + "str"},
        {"kz.getQWidget(1.0)", needs + "float"},
        {"kz.getQWidget(None)", needs + "NoneType"},
        {"kz.getQWidget(0L)", "None"},
        {"kz.getQWidget(1 << 64)", "OverflowError: long int too large to convert"},
        {"kz.getQWidget(-8)", "ValueError: getQWidget() found no widget at 0xfffffffffffffff8"},
        {"kz.getQWidget(4096)", "ValueError: getQWidget() found no widget at 0x1000"},
        {"kz.getQWidget(12345)", "ValueError: getQWidget() found no widget at 0x3039"},
        {"kz.getQWidget(id(sys))", value("found + '0x%x' % id(sys)")},
        {"kz.getQWidget(ctypes.addressof(blank))", value("found + '0x%x' % ctypes.addressof(blank)")},
        {"kz.getQWidget(address)", value("found + '0x%x' % address")},  // an object of Qt's, but no widget
    };
    for (const auto& [call, expected] : cases) EXPECT_EQ(value(call), expected) << call;
    EXPECT_EQ(run("unmake('_ZN6QTimerD1Ev', address)"), "");
}
