// Reading and writing image files: the host's own format, and the loaders and savers that modules offer.
#include "host/objects/image_files.h"

#include "host/core/listener_table.h"
#include "host/core/log_store.h"
#include "host/core/message.h"
#include "host/core/message_tables.h"
#include "host/core/module_table.h"
#include "host/core/object.h"
#include "host/core/refusal.h"
#include "host/objects/monitor.h"
#include "host/objects/png_file.h"
#include "host/objects/safe_save.h"
#include "host/state/text.h"

#include "kz/dialog.h"
#include "kz/image_codec.h"
#include "kz/loader.h"
#include "kz/message.h"

#include <fnmatch.h>
#include <strings.h>

#include <filesystem>

namespace kzhost {

namespace {

class CLoaderInfo final : public CHosted<"loader info", CLoaderInfo, CKzIfc_LoaderInfo> {
public:
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

class CImageTarget final : public CHosted<"image loader target", CImageTarget, CKzIfc_ImageLoaderTarget> {
public:
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

// A loader without a pattern is tried on every file.
bool mayTake(const KzServer& server, const std::string& path) {
    const std::string pattern = tagOf(server, KZsTAG_LOADER_PATTERN);
    const std::string name = std::filesystem::path(path).filename().string();
    return pattern.empty() || fnmatch(pattern.c_str(), name.c_str(), FNM_CASEFOLD) == 0;
}

bool recognises(const CKzUser_Loader& loader, const std::string& path, const CHostRef<CLoaderInfo>& info) {
    return loader && kzSucceeded(loader.Recognize(path.c_str(), info.raw())) && info->isImage();
}

// Copies the image into one of the host's, which stays readable and writable whatever the loader does later.
CHostRef<CImage> loadWith(const CKzUser_Loader& loader, const std::string& path, const CHostRef<CLoaderInfo>& info,
                          IKzUnknown* monitor) {
    const auto target = CHostRef<CImageTarget>::make();
    const KzResult code = loader.LoadObject(path.c_str(), info.raw(), monitor, target.raw());
    struct CleanUp {
        const CKzUser_Loader& loader;
        ~CleanUp() { loader.Cleanup(); }
    } const cleanUp{loader};
    if (kzFailed(code)) throw code;
    if (!target->image()) throw KZe_FAILED;  // its success promised one
    return kzCopyImage(target->image().raw(), 0);
}

// "saver.dosType" is an extension; letter case does not matter.
bool isFor(const KzServer& server, const std::string& path) {
    const std::string extension = std::filesystem::path(path).extension().string();
    const std::string type = tagOf(server, KZsTAG_SAVER_TYPE);
    return !type.empty() && !extension.empty() && strcasecmp(type.c_str(), extension.c_str() + 1) == 0;
}

// Decides by the saver's name or, without one, by the file's extension.
bool isPng(const std::string& saver, const std::string& path) {
    const std::string extension = std::filesystem::path(path).extension().string();
    return saver.empty() ? strcasecmp(extension.c_str(), ".png") == 0 : strcasecmp(saver.c_str(), "png") == 0;
}

}  // namespace

// Provides a monitor if the caller passes none, as servers in Python never get a null object.
class CImageFiles::CProgress {
public:
    CProgress(const CImageFiles& files, const char* title, IKzUnknown* monitor) : m_monitor(monitor) {
        if (monitor != nullptr) return;
        m_own = CHostRef<CMonitor>::make(files.m_context, files.m_monitors, title);
        m_monitor.set(m_own.raw());
    }
    ~CProgress() {
        if (m_own) m_own->end();
    }
    CProgress(const CProgress&) = delete;
    CProgress& operator=(const CProgress&) = delete;
    IKzUnknown* monitor() const { return m_monitor.raw(); }

private:
    CHostRef<CMonitor> m_own;
    CKzLoc_Unknown m_monitor;
};

CHostRef<CImage> CImageFiles::loadServed(const std::string& path, IKzUnknown* monitor) const {
    for (const KzServer& server : m_modules->servers(KZa_LOADER)) {
        if (!mayTake(server, path)) continue;
        CKzLoc_Unknown object;
        const CKzUser_Loader loader(CModuleTable::spawn(server, object).raw());
        const auto info = CHostRef<CLoaderInfo>::make();
        if (!recognises(loader, path, info)) continue;
        try {
            return loadWith(loader, path, info, monitor);
        } catch (KzResult code) {
            m_log->write(KZsLOG_IMAGES, code,
                         path + ": the loader \"" + server.name + "\" failed: " + CMessageTables::codeText(code));
            throw code == KZe_NOTSUPPORTED ? KZe_FAILED : code;  // a loader did recognise it
        }
    }
    throw KZe_NOTSUPPORTED;
}

// Asks the saver whether it takes the image, and logs its reason if it does not.
KzResult CImageFiles::verify(const CKzUser_Saver& saver, const std::string& name, IKzUnknown* image) const {
    const auto message = CHostRef<CMessage>::make();
    const KzResult code = saver.Verify(image, message.raw());
    if (!kzRefuses(code)) return KZe_OK;
    const CKzUser_Message asMessage(message.raw());
    m_log->write(KZsLOG_IMAGES, code,
                 "the saver \"" + name + "\" refuses the image: " + CMessageTables::reasonOf(*asMessage.ptr(), code));
    return code;
}

KzResult CImageFiles::saveServed(IKzUnknown* image, const std::string& path, const std::string& name,
                                 const std::string& file, IKzUnknown* monitor) const {
    for (const KzServer& server : m_modules->servers(KZa_SAVER)) {
        if (name.empty() ? !isFor(server, path) : server.name != name) continue;
        CKzLoc_Unknown object;
        const CKzUser_Saver saver(CModuleTable::spawn(server, object).raw());
        if (!saver) return KZe_NOINTERFACE;
        const KzResult code = verify(saver, server.name, image);
        return kzFailed(code) ? code : saver.Save(image, file.c_str(), monitor);
    }
    return KZe_NOTSUPPORTED;
}

CHostRef<CImage> CImageFiles::load(const std::string& path, IKzUnknown* monitor) const {
    std::error_code error;
    if (!std::filesystem::is_regular_file(path, error)) throw KZe_NOTFOUND;
    const CProgress progress(*this, "Loading", monitor);
    auto image = kzIsPng(path) ? kzLoadPng(path) : loadServed(path, progress.monitor());
    m_listeners->session([&](IKzSessionListener& listener) { listener.FileOpened(path.c_str()); });
    return image;
}

KzResult CImageFiles::save(IKzUnknown* image, const std::string& path, const std::string& saver,
                           IKzUnknown* monitor) const {
    if (!CKzUser_Image(image)) return KZe_INVALIDARG;
    const CProgress progress(*this, "Saving", monitor);
    CSafeSave file(path);
    KzResult code = KZe_OK;
    if (!isPng(saver, path)) code = saveServed(image, path, saver, file.path(), progress.monitor());
    else if (const auto own = CHostRef<CImage>::of(image)) code = kzSavePng(*own, file.path());
    else code = kzSavePng(*kzCopyImage(image, KZiIMG_FORMAT_RGBA32), file.path());
    if (kzSucceeded(code) && kzFailed(code = file.commit()))
        m_log->write(KZsLOG_IMAGES, code, path + ": the saver wrote no file to replace it");
    if (kzSucceeded(code))
        m_listeners->session([&](IKzSessionListener& listener) { listener.FileSaved(path.c_str()); });
    return code;
}

}  // namespace kzhost
