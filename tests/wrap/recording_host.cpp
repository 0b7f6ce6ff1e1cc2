// The host of recording objects: only what Python's start needs is real, and the lookup of identities.
#include "tests/wrap/recording_host.h"

#include "tests/wrap/recorder.h"

#include "module/this_module.h"
#include "plugin/parts.h"

#include "kz/all.h"
#include "kz_paths.h"

#include <cstdio>

namespace {

constexpr const char* kit = KZ_BUILD_DIR "/kit/Python2_7/extra64/Python";

KzResult copyText(const std::string& text, char* buffer, std::uint32_t length) {
    if (length <= text.size()) return KZe_SHORTBUFFER;
    std::memcpy(buffer, text.c_str(), text.size() + 1);
    return KZe_OK;
}

struct Services : CKzImpl_FileService, CKzImpl_GUIDService, CKzImpl_PlatformService {
    KzResult fileservice_ToLocalAlias(const char* alias, char* text, std::uint32_t length) override {
        const std::string name(alias);
        if (name == "kit_Python2_7:extra64/Python") return copyText(kit, text, length);
        if (name == "kit_Python2_7:extra64/Python/Scripts")
            return copyText(std::string(kit) + "/Scripts", text, length);
        return KZe_NOTFOUND;
    }
    KzResult fileservice_FileSystemPath(const char* /*name*/, const char** path) override {
        *path = KZ_BUILD_DIR "/bin/host";
        return KZe_OK;
    }
    KzResult platformservice_ImportPathCount(std::uint32_t* count) override {
        *count = 0;
        return KZe_OK;
    }
    KzResult guidservice_FromText(const char* text, KzGuid* guid) override {
        unsigned d[11]{};
        int end = 0;
        const int read = std::sscanf(text, "%8x-%4x-%4x-%2x%2x-%2x%2x%2x%2x%2x%2x%n", &d[0], &d[1], &d[2], &d[3], &d[4],
                                     &d[5], &d[6], &d[7], &d[8], &d[9], &d[10], &end);
        if (read != 11 || text[end] != '\0') return KZe_INVALIDARG;
        *guid = {d[0], static_cast<std::uint16_t>(d[1]), static_cast<std::uint16_t>(d[2]), {}};
        for (int index = 0; index < 8; ++index) guid->data4[index] = static_cast<std::uint8_t>(d[3 + index]);
        return KZe_OK;
    }
} services;

class ServicePolymorph : public CKzStaticPolymorph {
public:
    ServicePolymorph() : CKzStaticPolymorph(&services) {
        append(kzMakeRecord<CKzIfc_FileService<Services>>(KZu_FILESERVICE));
        append(kzMakeRecord<CKzIfc_GUIDService<Services>>(KZu_GUIDSERVICE));
        append(kzMakeRecord<CKzIfc_PlatformService<Services>>(KZu_PLATFORMSERVICE));
    }
};

// Hands out the recording services where a script asks for them; it lives as long as the process.
class Application final : public IKzUnknown {
public:
    KzResult QueryInterface(const KzGuid* iid, void** object) override {
        if (IKzUnknown* recording = kzRecordingService(*iid)) {
            *object = recording;
            return KZe_OK;
        }
        if (*iid != KZu_UNKNOWN) return m_services->QueryInterface(iid, object);
        *object = this;
        return KZe_OK;
    }
    std::uint32_t AddRef() override { return 1; }
    std::uint32_t Release() override { return 1; }

private:
    ServicePolymorph m_polymorph;
    IKzUnknown* m_services = m_polymorph.spawn();
};

void prepare() {
    static auto* const application = new Application();
    kzComposeParts();
    CKzThisModule::instance().setApplication(application);
}

}  // namespace

RecordingTest::RecordingTest() {
    prepare();
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
    const std::uint32_t alive = kzLiveInstanceCount();
    std::map<std::string, long> counts = call(script, function);
    // What was let go of inside host calls goes with the outermost lock, what holds itself with the collector.
    m_lock.reset();
    m_lock.emplace();
    PyGC_Collect();
    EXPECT_EQ(kzLiveInstanceCount(), alive) << "alive: " << kzLiveInstanceNames();
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
