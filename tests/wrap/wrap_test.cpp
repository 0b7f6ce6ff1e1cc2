// The wrappers of the whole SDK. The scripts beside this file have the cases, and this file the expected counts.
#include "module/py_lock.h"
#include "tests/bare_host/short_memory.h"
#include "tests/prove/proof.h"
#include "tests/prove/scarcity.h"
#include "tests/support/plugin_host.h"
#include "tests/wrap/recorder.h"

#include "wrap/registration.h"
#include "wrap/result_codes.h"

#include "kz/file.h"
#include "kz/guid.h"
#include "kz/log.h"
#include "kz/platform.h"
#include "kz/result.h"
#include "kz_paths.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <map>
#include <optional>

namespace {

// The reference host with recording services alone, and Python started in it. Holds the interpreter lock throughout.
class RecordingTest : public testing::Test {
protected:
    RecordingTest() {
        m_host.application.own = [](const KzGuid& iid, void** object) {
            *object = kzRecordingService(iid);
            if (*object != nullptr) return kzOk;
            for (const KzGuid& needed :
                 {KZu_FILESERVICE, KZu_GUIDSERVICE, KZu_LOGSERVICE, KZu_PLATFORMSERVICE, KZu_UNKNOWN})
                if (iid == needed) return kzNotFound;
            return kzNoInterface;  // as a host that lacks every other service
        };
        m_host.nothingAlive.isExpected = false;  // the scripts keep pools of objects
        m_host.adopt(_IKzModule_Create());
        m_lock.emplace();
        kzAddRecorderModule(m_host);
        PyObject* path = PySys_GetObject(kzText("path"));
        for (const char* folder : {KZ_SOURCE_DIR "/tests/wrap", KZ_BUILD_DIR "/tests/generated"}) {
            const CPyRefNull text(PyString_FromString(folder));
            PyList_Append(path, text);
        }
    }

    // Runs a function of a script beside this file. The script reports faults itself, and the function returns a
    // dictionary of counts. No host object may be left.
    std::map<std::string, long> run(const char* script, const char* function) {
        const CPyRefNull kept(PyImport_ImportModule("values"));  // holds objects of its own
        const std::string alive = CPluginHost::alive();
        std::map<std::string, long> counts = call(script, function);
        // Objects dropped inside host calls are released with the outermost lock, and cycles by the collector.
        m_lock.reset();
        m_lock.emplace();
        PyGC_Collect();
        EXPECT_EQ(CPluginHost::alive(), alive);
        return counts;
    }

    static std::map<std::string, long> call(const char* script, const char* function) {
        std::map<std::string, long> counts;
        const CPyRefNull module(PyImport_ImportModule(script));
        const CPyRefNull result(module.get() != nullptr ? PyObject_CallMethod(module, kzText(function), nullptr)
                                                        : nullptr);
        if (result.get() == nullptr || !PyDict_Check(result.get())) {
            ADD_FAILURE() << script << " ended with " << kzTakeException();
            return counts;
        }
        PyObject* key = nullptr;
        PyObject* value = nullptr;
        for (Py_ssize_t at = 0; PyDict_Next(result, &at, &key, &value) != 0;) {
            counts[PyString_AsString(key)] = PyInt_AsLong(value);
            std::printf("%s: %ld\n", PyString_AsString(key), PyInt_AsLong(value));
        }
        return counts;
    }

private:
    CPluginHost m_host;
    std::optional<CPyLock> m_lock;
};

struct Registered {
    long types = 0;
    long methods = 0;
};

// What there is to test, by the tables that the types are made from.
Registered registered() {
    Registered sum;
    const auto add = [&sum](const KzWrapperType& row) {
        ++sum.types;
        for (const PyMethodDef* method = row.methods; method->ml_name != nullptr; ++method) ++sum.methods;
    };
    for (const KzHeaderRows* header : kzHeaders) {
        for (const KzWrapperType* row : header->objects) add(*row);
        for (const KzWrapperType* row : header->services) add(*row);
        sum.methods -= 5 * static_cast<long>(header->objects.size());  // those that every object type has
    }
    return sum;
}

class AllMethodsTest : public RecordingTest {
protected:
    void runOnAll(const char* function, long leastCalls) {
        auto counts = run("all_methods", function);
        EXPECT_EQ(counts["types"], registered().types);
        EXPECT_EQ(counts["methods"], registered().methods);
        EXPECT_GE(counts["calls"], leastCalls * counts["methods"]);
        kzFigure("methods", static_cast<double>(counts["methods"]));
    }
};

TEST_F(AllMethodsTest, CarryEveryKindBothWays) { runOnAll("carry", 2); }
TEST_F(AllMethodsTest, FailAsTheyShould) { runOnAll("fail", 10); }

TEST_F(AllMethodsTest, LeaveNoReferences) {
    auto counts = run("growth", "grow");
    EXPECT_EQ(counts["methods"], registered().methods);
    for (const char* figure : {"methods", "calls", "grown"}) kzFigure(figure, static_cast<double>(counts[figure]));
    EXPECT_EQ(counts["grown"], 0);
}

// scarce.exhaust(name, prepare, call): the call with little memory, in children of this process.
CScarcity* theScarcity = nullptr;
PyObject* exhaust(PyObject* /*self*/, PyObject* args) {
    const char* name = nullptr;
    PyObject *prepare = nullptr, *call = nullptr;
    if (PyArg_ParseTuple(args, "sOO", &name, &prepare, &call) == 0) return nullptr;
    theScarcity->exhaust(name, [=](const CScarcity::Scarcely& scarcely) {
        const CPyRefNull prepared(PyObject_CallObject(prepare, nullptr));
        CPyRefNull result;
        scarcely([&] { result.adopt(PyObject_CallObject(call, nullptr)); });
        const bool isTold = (result.get() != nullptr) != (PyErr_Occurred() != nullptr) &&
                            PyErr_ExceptionMatches(PyExc_SystemError) == 0;
        PyErr_Clear();
        const CPyRefNull preparedAgain(PyObject_CallObject(prepare, nullptr));
        const CPyRefNull again(PyObject_CallObject(call, nullptr));
        return isTold && again.get() != nullptr;
    });
    Py_RETURN_NONE;
}

TEST_F(AllMethodsTest, MayRunOutOfMemory) {
    if (!CShortMemory::works()) GTEST_SKIP() << "the sanitizer has the allocator";
    CScarcity scarcity("wrap_test", kzProofLength(8, 3000));
    theScarcity = &scarcity;
    static PyMethodDef functions[] = {{"exhaust", exhaust, METH_VARARGS, nullptr}, {}};
    PyModule_AddIntConstant(Py_InitModule("scarce", functions), "most", kzProofLength(12, 100000));
    EXPECT_GE(run("growth", "run_out_of_memory")["signatures"], 12);
    scarcity.tellFigures("a wrapper of each signature");
}

TEST_F(RecordingTest, PlainArgumentsAreReadAsTheParserReadsThem) {
    auto counts = run("lanes", "compare");
    EXPECT_GT(counts["methods"], 1000);
    EXPECT_GT(counts["comparisons"], 20 * counts["methods"]);
}

TEST_F(RecordingTest, HarmfulArgumentsDoNoHarm) { EXPECT_GT(run("hostile", "survive")["checks"], 50); }

TEST_F(RecordingTest, TypesHoldTheirObjects) {
    auto counts = run("wrapper_types", "hold");
    EXPECT_GT(counts["checks"], 20 * registered().types);
    EXPECT_EQ(counts["objects"], 343);
    EXPECT_EQ(counts["services"], 50);
    EXPECT_EQ(counts["results"], 172);
    EXPECT_GT(counts["symbols"], 5000);
    // If several names share a code, the last one counts.
    EXPECT_STREQ(kzResultName(0), "OK");
    EXPECT_STREQ(kzResultName(KZe_ABORT), "ABORT");
}

}  // namespace
