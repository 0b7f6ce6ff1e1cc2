// The host objects that calls are measured on.
#include "bench/objects.h"

#include "kz/base/polymorph.h"
#include "kz/external_render.h"
#include "kz/message.h"
#include "kz/package.h"
#include "kz/result.h"
#include "kz/transform.h"

namespace {

// A host object that does next to nothing, so that the call itself is what is timed.
class CBench : public CKzImpl_Message, public CKzImpl_Matrix, public CKzImpl_ExternalRenderNotifier {
public:
    std::uint32_t msg_Code() override { return 42; }
    KzResult msg_Reset() override { return KZe_NOTFOUND; }
    KzResult msg_SetArgumentString(std::uint32_t, const char*) override { return KZe_OK; }
    KzResult msg_SetArgumentFloat(std::uint32_t, double) override { return KZe_OK; }
    KzResult matrix_TransformPoint(const KzVector3* point, KzVector3* result) override {
        *result = *point;
        return KZe_OK;
    }
    KzResult matrix_Invert() override { return KZe_OK; }
    KzResult matrix_Set4(const KzMatrix4*) override { return KZe_OK; }
    KzResult ntf_Notify(std::uint32_t, double, const char*) override { return KZe_OK; }
};

// The leanest object there can be: it answers every query with itself and hands out what it is given, so that neither
// side's time is the host's.
class CLean final : public IKzInstanceable {
public:
    KzResult QueryInterface(const KzGuid*, void** object) override {
        ++m_references;
        *object = this;
        return KZe_OK;
    }
    std::uint32_t AddRef() override { return ++m_references; }
    std::uint32_t Release() override { return --m_references; }
    KzResult Surface(IKzUnknown* read, IKzUnknown** surface) override {
        read->AddRef();
        *surface = read;
        return KZe_OK;
    }
    std::uint32_t CompareSurface(IKzUnknown*, IKzUnknown*) override { return 0; }
    bool IsReady(double) override { return true; }

private:
    std::uint32_t m_references = 1;
};

}  // namespace

IKzUnknown& kzLeanObject() {
    static CLean lean;
    return lean;
}

IKzUnknown* kzNewBenchObject() {
    static CKzPolymorph<CBench> polymorph;
    polymorph.append(kzMakeRecord<CKzIfc_Message<CBench>>());
    polymorph.append(kzMakeRecord<CKzIfc_Matrix<CBench>>());
    polymorph.append(kzMakeRecord<CKzIfc_ExternalRenderNotifier<CBench>>());
    return polymorph.spawn();
}
