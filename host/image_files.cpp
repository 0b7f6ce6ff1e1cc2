// Reading and writing image files with the loaders and savers that modules offer.
#include "host/server_classes.h"

#include "kz/image_codec.h"
#include "kz/loader.h"
#include "kz/result.h"

#include <fnmatch.h>
#include <strings.h>

#include <filesystem>

namespace {

class CLoaderInfo final : public CKzImpl_LoaderInfo {
public:
    static CHostPolymorph<CLoaderInfo>& polymorph() {
        static auto& made = kzHostClass<CLoaderInfo, CKzIfc_LoaderInfo<CLoaderInfo>>("loader info", KZu_LOADERINFO);
        return made;
    }
    KzResult linf_SetClass(const char* fileClass) override {
        m_fileClass = kzTextOf(fileClass);
        return KZe_OK;
    }
    KzResult linf_SetFormat(const char* /*format*/) override { return KZe_OK; }
    bool linf_TestClass(const char* fileClass) override { return kzTextOf(fileClass) == KZsFILECLASS_IMAGE; }
    KzResult linf_SetFlags(std::uint32_t /*flags*/) override { return KZe_OK; }

    bool isImage() const { return m_fileClass == KZsFILECLASS_IMAGE; }

private:
    std::string m_fileClass;
};

class CImageTarget final : public CKzImpl_ImageLoaderTarget {
public:
    static CHostPolymorph<CImageTarget>& polymorph() {
        static auto& made = kzHostClass<CImageTarget, CKzIfc_ImageLoaderTarget<CImageTarget>>("image loader target",
                                                                                             KZu_IMAGELOADERTARGET);
        return made;
    }
    std::uint32_t imageloadertarget_Wanted() override { return KZfIMGLOAD_IMAGE; }
    KzResult imageloadertarget_SetImage(IKzUnknown* image) override {
        return m_image.set(image) ? KZe_OK : KZe_INVALIDARG;
    }
    KzResult imageloadertarget_SetMetadata(const char* /*key*/, const char* /*value*/) override { return KZe_OK; }
    std::int32_t imageloadertarget_Frame() override { return 0; }

    const CKzUser_Image& image() const { return m_image; }

private:
    CKzUser_Image m_image;
};

std::string tagOf(const KzServer& server, const std::string& wanted) {
    for (const auto& [type, value] : CModuleTable::tagsOf(server))
        if (type == wanted) return value;
    return {};
}

// A loader that names no pattern looks at every file.
bool mayTake(const KzServer& server, const std::string& path) {
    const std::string pattern = tagOf(server, KZsTAG_LOADER_PATTERN);
    const std::string name = std::filesystem::path(path).filename().string();
    return pattern.empty() || fnmatch(pattern.c_str(), name.c_str(), FNM_CASEFOLD) == 0;
}

bool recognises(const CKzUser_Loader& loader, const std::string& path, const CHostRef<CLoaderInfo>& info) {
    return loader && kzSucceeded(loader.Recognize(path.c_str(), info.raw())) && info->isImage();
}

KzResult loadWith(const CKzUser_Loader& loader, const std::string& path, const CHostRef<CLoaderInfo>& info,
                  IKzUnknown* monitor, CKzUser_Image& image) {
    const auto target = CHostRef<CImageTarget>::make();
    const KzResult code = loader.LoadObject(path.c_str(), info.raw(), monitor, target.raw());
    loader.Cleanup();
    if (kzFailed(code)) return code;
    return image.set(target->image().raw()) ? KZe_OK : KZe_FAILED;  // it promised an image
}

// "saver.dosType" is an extension in whatever letter case.
bool isFor(const KzServer& server, const std::string& path) {
    const std::string extension = std::filesystem::path(path).extension().string();
    const std::string type = tagOf(server, KZsTAG_SAVER_TYPE);
    return !type.empty() && !extension.empty() && strcasecmp(type.c_str(), extension.c_str() + 1) == 0;
}

KzResult saveWith(const KzServer& server, IKzUnknown* image, const std::string& path, IKzUnknown* monitor) {
    CKzLoc_Unknown made;
    const CKzUser_Saver saver(CModuleTable::spawn(server, made).raw());
    const auto message = CHostRef<CMessage>::make();
    const KzResult verified = saver.Verify(image, message.raw());
    if (kzFailed(verified) && verified != KZe_NOTIMPL) return verified;
    return saver.Save(image, path.c_str(), monitor);
}

}  // namespace

KzResult kzLoadImage(CHostCore& core, const std::string& path, IKzUnknown* monitor, CKzUser_Image& image) {
    for (const KzServer& server : core.modules.servers(KZa_LOADER)) {
        if (!mayTake(server, path)) continue;
        CKzLoc_Unknown made;
        const CKzUser_Loader loader(CModuleTable::spawn(server, made).raw());
        const auto info = CHostRef<CLoaderInfo>::make();
        if (!recognises(loader, path, info)) continue;
        const KzResult code = loadWith(loader, path, info, monitor, image);
        if (kzSucceeded(code))
            core.listeners.session([&](IKzSessionListener& listener) { listener.FileOpened(path.c_str()); });
        return code;
    }
    return KZe_NOTFOUND;
}

KzResult kzSaveImage(CHostCore& core, IKzUnknown* image, const std::string& path, const std::string& saver,
                     IKzUnknown* monitor) {
    for (const KzServer& server : core.modules.servers(KZa_SAVER)) {
        if (saver.empty() ? !isFor(server, path) : server.name != saver) continue;
        const KzResult code = saveWith(server, image, path, monitor);
        if (kzSucceeded(code))
            core.listeners.session([&](IKzSessionListener& listener) { listener.FileSaved(path.c_str()); });
        return code;
    }
    return KZe_NOTFOUND;
}
