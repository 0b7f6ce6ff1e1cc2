// The interpreter-lock guard, from within.
#include "module/py_lock.h"
#include "module/py_ref.h"
#include "module/runtime.h"
#include "tests/support/plugin_host.h"

#include <gtest/gtest.h>

#include <thread>

TEST(LockTest, NestsAndIsReleasedByWhoTookIt) {
    CPluginHost host;
    host.adopt(_IKzModule_Create());
    EXPECT_FALSE(CPyLock::isHeld());
    EXPECT_EQ(PythonRuntime::current(), nullptr);
    {
        CPyLock outer;  // starts Python
        EXPECT_TRUE(outer.acquired());
        {
            CPyLock inner;
            EXPECT_FALSE(inner.acquired());
            inner.release();
            inner.release();
            EXPECT_TRUE(CPyLock::isHeld());
        }
        EXPECT_TRUE(CPyLock::isHeld());
        EXPECT_FALSE(CPyLock::isInsideHostCall());
    }
    EXPECT_FALSE(CPyLock::isHeld());
    try {
        const CPyLock left;
        throw kzFailedCode;
    } catch (KzResult) {
    }
    EXPECT_FALSE(CPyLock::isHeld());
    EXPECT_EQ(PyGILState_GetThisThreadState(), PythonRuntime::current()->mainThread());
}

TEST(LockTest, GivesEachThreadOneState) {
    CPluginHost host;
    host.adopt(_IKzModule_Create());
    PyThreadState* main = nullptr;
    {
        const CPyLock lock;
        main = PyThreadState_GET();
    }
    std::thread([&] {
        PyThreadState* own = nullptr;
        for (int round = 0; round < 3; ++round) {
            const CPyLock lock;
            if (own == nullptr) own = PyThreadState_GET();
            EXPECT_EQ(PyThreadState_GET(), own);
            EXPECT_NE(own, main);
        }
        EXPECT_FALSE(CPyLock::isHeld());
        // A thread state that other code has created is used.
        const PyGILState_STATE other = PyGILState_Ensure();
        EXPECT_FALSE(CPyLock().acquired());
        PyGILState_Release(other);
    }).join();
    const CPyLock lock;
    EXPECT_EQ(PyThreadState_GET(), main);
    // A Python thread to which the system gives the number of an ended thread gets a state of its own.
    static PyMethodDef enter{"enter", [](PyObject*, PyObject*) { return PyBool_FromLong(CPyLock().acquired()); },
                             METH_NOARGS, nullptr};
    PyObject* names = PyModule_GetDict(PyImport_AddModule("__main__"));
    PyDict_SetItemString(names, "enter", CPyRefNull(PyCFunction_New(&enter, nullptr)));
    const std::string source = R"(
        import threading
        answers = []
        thread = threading.Thread(target=lambda: answers.append(enter()))
        thread.start(); thread.join()
        assert answers == [False])"_lines;
    const CPyRefNull ran(PyRun_String(source.c_str(), Py_file_input, names, names));
    EXPECT_NE(ran.get(), nullptr);
}

TEST(LockTest, TurnsEverybodyAwayAfterUnload) {
    {
        CPluginHost host;
        host.adopt(_IKzModule_Create());
        const CPyLock lock;
    }
    EXPECT_EQ(PythonRuntime::current(), nullptr);
    EXPECT_EQ(Py_IsInitialized(), 0);
    std::thread([] { EXPECT_THROW(const CPyLock lock, KzResult); }).join();
    EXPECT_THROW(const CPyLock lock, KzResult);
    EXPECT_EQ(_IKzModule_Create(), nullptr);
    EXPECT_EQ(kzLiveInstanceCount(), 0U) << kzLiveInstanceNames();
}
