// The reference host with recording services, and Python started in it.
#include "tests/wrap/recording_host.h"

#include "tests/wrap/recorder.h"

#include "kz/file.h"
#include "kz/guid.h"
#include "kz/platform.h"
#include "kz_paths.h"

#include <cstdio>

extern "C" IKzUnknown* _IKzModule_Create();

RecordingTest::RecordingTest() {
    m_host.application.own = [](const KzGuid& iid, void** object) {
        *object = kzRecordingService(iid);
        if (*object != nullptr) return kzOk;
        for (const KzGuid& needed : {KZu_FILESERVICE, KZu_GUIDSERVICE, KZu_PLATFORMSERVICE, KZu_UNKNOWN})
            if (iid == needed) return kzNotFound;
        return kzNoInterface;  // as a host that lacks every other service
    };
    m_host.nothingAlive.isExpected = false;  // the scripts keep pools of objects
    m_host.adopt(_IKzModule_Create());
    m_lock.emplace();
    kzAddRecorderModule();
    PyObject* path = PySys_GetObject(kzText("path"));
    for (const char* folder : {KZ_SOURCE_DIR "/tests/wrap", KZ_BUILD_DIR "/tests/generated"}) {
        const CPyRefNull text(PyString_FromString(folder));
        PyList_Append(path, text);
    }
}

std::map<std::string, long> RecordingTest::run(const char* script, const char* function) {
    const CPyRefNull kept(PyImport_ImportModule("values"));  // holds objects of its own
    const std::string alive = CPluginHost::alive();
    std::map<std::string, long> counts = call(script, function);
    // What was let go of inside host calls goes with the outermost lock, what holds itself with the collector.
    m_lock.reset();
    m_lock.emplace();
    PyGC_Collect();
    EXPECT_EQ(CPluginHost::alive(), alive);
    return counts;
}

std::map<std::string, long> RecordingTest::call(const char* script, const char* function) {
    std::map<std::string, long> counts;
    const CPyRefNull module(PyImport_ImportModule(script));
    const CPyRefNull result(module.get() != nullptr ? PyObject_CallMethod(module, kzText(function), nullptr) : nullptr);
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
