// The colour mapping service: lists the colour spaces that files name, and converts images between them.
#include "host/services/color_mapping_service.h"

#include "host/core/object.h"
#include "host/core/reasons.h"
#include "host/core/service_base.h"
#include "host/objects/arguments.h"
#include "host/objects/image_files.h"
#include "host/state/text.h"

#include "kz/color_mapping.h"

#include <strings.h>

#include <algorithm>
#include <memory>
#include <string>
#include <utility>

namespace kzhost {

namespace {

class CColorMappingService final
    : public CHosted<"colour mapping service", CColorMappingService, CKzIfc_ColorMappingService>,
      CServiceBase {
public:
    CColorMappingService(std::shared_ptr<ServiceContext> context, std::shared_ptr<CImageFiles> images)
        : CServiceBase(std::move(context)), m_images(std::move(images)) {}

    std::uint32_t colormappingservice_ModuleCount() override {
        enter("ColorMapping.ModuleCount");
        return 0;
    }
    KzResult colormappingservice_ModuleByIndex(std::uint32_t /*index*/, IKzUnknown** /*module*/) override {
        enter("ColorMapping.ModuleByIndex");
        return KZe_OUTOFBOUNDS;
    }
    KzResult colormappingservice_ModuleByName(const char* name, IKzUnknown** /*module*/) override {
        enter("ColorMapping.ModuleByName");
        return kzBecause(KZe_NOTFOUND, "ColorMapping.ModuleByName",
                         [&] { return kzThereIsNo("module of mappings", kzTextOf(name), {}); });
    }
    // Colour spaces have one name for everybody.
    KzResult colormappingservice_SpaceUserName(const char* space, const char** name) override {
        enter("ColorMapping.SpaceUserName");
        for (const std::string& each : m_images->spaces()) {
            if (strcasecmp(each.c_str(), kzString(space).c_str()) != 0) continue;
            *name = keep(each);
            return KZe_OK;
        }
        return KZe_NOTFOUND;
    }
    // There are no modules of mappings, so a named one is never found.
    KzResult colormappingservice_SpaceCount(const char* module, std::uint32_t* count) override {
        enter("ColorMapping.SpaceCount");
        if (module != nullptr) return KZe_NOTFOUND;
        *count = static_cast<std::uint32_t>(m_images->spaces().size());
        return KZe_OK;
    }
    KzResult colormappingservice_SpaceByIndex(const char* module, std::uint32_t index, const char** space) override {
        enter("ColorMapping.SpaceByIndex");
        if (module != nullptr) return KZe_NOTFOUND;
        const auto spaces = m_images->spaces();
        if (index >= spaces.size()) return KZe_OUTOFBOUNDS;
        *space = keep(spaces[index]);
        return KZe_OK;
    }
    bool colormappingservice_IsSpace(const char* space) override {
        enter("ColorMapping.IsSpace");
        const auto spaces = m_images->spaces();
        return space != nullptr && std::any_of(spaces.begin(), spaces.end(), [&](const std::string& each) {
                   return strcasecmp(each.c_str(), space) == 0;
               });
    }
    KzResult colormappingservice_MapImage(IKzUnknown* image, const char* source, const char* target,
                                          IKzUnknown** mapped) override {
        enter("ColorMapping.MapImage");
        return m_images->inSpace(image, source, &kzNotNull(target)).give(mapped);
    }

private:
    std::shared_ptr<CImageFiles> m_images;
};

}  // namespace

decltype(kzMakeColorMappingService) kzMakeColorMappingService = kzMakeService<CColorMappingService>;

}  // namespace kzhost
