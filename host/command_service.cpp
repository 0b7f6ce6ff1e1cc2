// The command service.
#include "host/core.h"
#include "host/values.h"

#include "kz/command.h"
#include "kz/result.h"

namespace {

class CCommandService final : public CKzImpl_CommandService, CHostService {
public:
    static CHostPolymorph<CCommandService>& polymorph() {
        static auto& made =
            kzHostClass<CCommandService, CKzIfc_CommandService<CCommandService>>("command service", KZu_COMMANDSERVICE);
        return made;
    }
    using CHostService::CHostService;

    KzResult commandservice_CreateQueryObject(const char* type, IKzUnknown** values) override {
        enter("Command.CreateQueryObject");
        if (kzFindType(kzTextOf(type)) == nullptr) return KZe_NOTFOUND;
        return CHostRef<CValueArray>::make(type).give(values);
    }
};

}  // namespace

IKzUnknown* kzMakeCommandService(const std::shared_ptr<CHostCore>& core) {
    return CCommandService::polymorph().wrap(std::make_unique<CCommandService>(core));
}
