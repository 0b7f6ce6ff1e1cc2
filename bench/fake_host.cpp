// The least host in which Python starts.
#include "bench/fake_host.h"

#include "module/py_lock.h"
#include "module/py_ref.h"
#include "module/this_module.h"
#include "plugin/parts.h"

#include "kz/file.h"
#include "kz/platform.h"
#include "kz/result.h"

namespace {

class CFiles : public CKzImpl_FileService {};

class CPlatform : public CKzImpl_PlatformService {
public:
    KzResult platformservice_ImportPathCount(std::uint32_t* count) override {
        *count = 0;
        return KZe_OK;
    }
};

template <class Class, class Slot> IKzUnknown* spawnService(const KzGuid& iid) {
    static CKzPolymorph<Class> polymorph;
    if (polymorph.recordCount() == 0) polymorph.append(kzMakeRecord<Slot>(iid));
    return polymorph.spawn();
}

// Answers a query for a service with the service.
class CApplication final : public IKzUnknown {
public:
    KzResult QueryInterface(const KzGuid* iid, void** object) override {
        IKzUnknown* found = nullptr;
        if (*iid == KZu_FILESERVICE) found = spawnService<CFiles, CKzIfc_FileService<CFiles>>(KZu_FILESERVICE);
        if (*iid == KZu_PLATFORMSERVICE)
            found = spawnService<CPlatform, CKzIfc_PlatformService<CPlatform>>(KZu_PLATFORMSERVICE);
        *object = found;
        return found != nullptr ? KZe_OK : KZe_NOINTERFACE;
    }
    std::uint32_t AddRef() override { return 1; }
    std::uint32_t Release() override { return 1; }
};

}  // namespace

void kzStartBenchHost() {
    static CApplication application;
    kzComposeParts();
    CKzThisModule::instance().setApplication(&application);
    const CPyLock lock;
    // There is no log to read: what goes wrong is to be seen at once.
    const CPyRefNull file(PyFile_FromFile(stderr, kzText("<stderr>"), kzText("w"), nullptr));
    PySys_SetObject(kzText("stderr"), file);
}
