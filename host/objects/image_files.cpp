// Reading and writing image files: the host's own formats, and the loaders and savers that modules offer.
#include "host/objects/image_files.h"

#include "host/core/listener_table.h"
#include "host/core/log_store.h"
#include "host/core/message.h"
#include "host/core/message_tables.h"
#include "host/core/module_table.h"
#include "host/core/object.h"
#include "host/core/reasons.h"
#include "host/core/refusal.h"
#include "host/objects/monitor.h"
#include "host/objects/picture_library.h"
#include "host/objects/safe_save.h"
#include "host/pictures/picture_files.h"
#include "host/state/text.h"

#include "kz/dialog.h"
#include "kz/image_codec.h"
#include "kz/loader.h"
#include "kz/message.h"

#include <fnmatch.h>
#include <strings.h>

#include <algorithm>
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

std::string tagOf(const KzServer& server, const std::string& name) {
    for (const auto& [type, value] : CModuleTable::tagsOf(server))
        if (type == name) return value;
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
    if (!target->image()) throw KZe_FAILED;  // it has reported success without one
    return kzCopyImage(target->image().raw(), 0);
}

// "saver.dosType" is an extension; letter case does not matter.
bool isFor(const KzServer& server, const std::string& path) {
    const std::string extension = std::filesystem::path(path).extension().string();
    const std::string type = tagOf(server, KZsTAG_SAVER_TYPE);
    return !type.empty() && !extension.empty() && strcasecmp(type.c_str(), extension.c_str() + 1) == 0;
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
            throw code == KZe_NOTSUPPORTED ? KZe_FAILED : code;  // a loader has recognised it
        }
    }
    throw KZe_NOTSUPPORTED;
}

// Asks the saver whether it accepts the image, and logs its reason if it does not.
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

void CImageFiles::withLibrary(const std::string& path, const std::function<void(IPictureFiles& library)>& work) const {
    try {
        work(kzPictures(*m_files));
    } catch (const std::exception& error) {
        m_log->write(KZsLOG_IMAGES, KZe_FAILED, path + ": " + error.what());
        throw KZe_FAILED;
    }
}

std::function<void(const std::string& text)> CImageFiles::notes(const std::string& path) const {
    return [this, path](const std::string& text) { m_log->write(KZsLOG_IMAGES, KZe_WARNING, path + ": " + text); };
}

CHostRef<CImage> CImageFiles::loadOwn(const PictureFormat& format, const std::string& path) const {
    CHostRef<CImage> image;
    withLibrary(path, [&](IPictureFiles& library) {
        const auto makeRoom = [&](const PictureShape& shape) {
            image = CHostRef<CImage>::make(shape.width, shape.height, shape.components << 8U | shape.kind);
            return image->at(0, 0);
        };
        const PictureFactsPtr facts = library.load(format.library, path, makeRoom, notes(path));
        image->setFacts(facts);
    });
    return image;
}

// An image of a module is copied in the format that it reports, if that format exists.
KzResult CImageFiles::saveOwn(const PictureFormat& format, IKzUnknown* image, const std::string& path,
                              const std::string& file) const {
    auto own = CHostRef<CImage>::of(image);
    if (!own) own = kzCopyImage(image, PixelFormat::of(CKzUser_Image(image).Format()) ? 0 : KZiIMG_FORMAT_RGBA32);
    const PixelFormat pixels = kzPixelsFor(format, own->format());
    if (own->format().components == 4 && pixels.components < 4)
        notes(path)(std::string("alpha is lost, since ") + format.name + " files have none");
    if (own->format().code != pixels.code) own = kzCopyImage(own.raw(), pixels.code);
    withLibrary(path, [&](IPictureFiles& library) {
        const PictureShape shape{own->width(), own->height(), pixels.components, pixels.kind()};
        library.save(format.library, file, shape, own->at(0, 0), own->facts().get(), notes(path));
    });
    return KZe_OK;
}

std::string CImageFiles::fact(const std::string& path, const std::string& key) const {
    std::error_code error;
    if (!std::filesystem::is_regular_file(path, error)) throw KZe_NOTFOUND;
    const PictureFormat* const format = kzPictureFormatOf(path);
    if (format == nullptr) throw KZe_NOTSUPPORTED;
    std::string value;
    bool isSaid = false;
    withLibrary(path, [&](IPictureFiles& library) {
        const auto noPixels = [](const PictureShape&) -> std::byte* { return nullptr; };
        isSaid = library.fact(*library.load(format->library, path, noPixels, notes(path)), key, value);
    });
    if (!isSaid) throw KZe_NOTFOUND;
    return value;
}

std::vector<std::string> CImageFiles::spaces() const { return kzPictures(*m_files).spaces(); }

CHostRef<CImage> CImageFiles::inSpace(IKzUnknown* image, const char* source, const std::string& target) const {
    const auto own = CHostRef<CImage>::of(image);
    const auto facts = own ? own->facts() : nullptr;
    std::string from = kzString(source);
    IPictureFiles& library = kzPictures(*m_files);
    if (source == nullptr && (!facts || !library.fact(*facts, KZsIMGKEY_COLORSPACE, from)))
        throw kzBecause(KZe_INVALIDARG, "ColorMapping.MapImage",
                        [] { return "the image does not name its colour space; pass the one that it has"; });
    for (const std::string& space : {from, target})
        if (const auto names = library.spaces(); std::none_of(names.begin(), names.end(), [&](const std::string& each) {
                return strcasecmp(each.c_str(), space.c_str()) == 0;
            }))
            throw kzBecause(KZe_NOTFOUND, "ColorMapping.MapImage",
                            [&] { return kzThereIsNo("colour space", space, names); });
    const std::uint32_t components =
        PixelFormat::of(CKzUser_Image(image).Format()).value_or(PixelFormat{0, 4}).components;
    const bool isSame = strcasecmp(from.c_str(), target.c_str()) == 0;  // no conversion is needed then
    auto mapped = kzCopyImage(image, isSame && own ? 0 : components << 8U | 4U);
    if (!isSame)
        withLibrary("colour space \"" + target + "\"", [&](IPictureFiles&) {
            library.map(mapped->width(), mapped->height(), components, reinterpret_cast<float*>(mapped->at(0, 0)), from,
                        target);
        });
    mapped->setFacts(library.inSpace(facts.get(), target));
    return mapped;
}

CHostRef<CImage> CImageFiles::load(const std::string& path, IKzUnknown* monitor) const {
    std::error_code error;
    if (!std::filesystem::is_regular_file(path, error)) throw KZe_NOTFOUND;
    const CProgress progress(*this, "Loading", monitor);
    const PictureFormat* const own = kzPictureFormatOf(path);
    auto image = own != nullptr ? loadOwn(*own, path) : loadServed(path, progress.monitor());
    m_listeners->session([&](IKzSessionListener& listener) { listener.FileOpened(path.c_str()); });
    return image;
}

KzResult CImageFiles::save(IKzUnknown* image, const std::string& path, const std::string& saver,
                           IKzUnknown* monitor) const {
    if (!CKzUser_Image(image)) return KZe_INVALIDARG;
    const CProgress progress(*this, "Saving", monitor);
    CSafeSave file(path);
    const PictureFormat* const own = kzPictureFormatFor(saver, path);
    KzResult code = own != nullptr ? saveOwn(*own, image, path, file.path())
                                   : saveServed(image, path, saver, file.path(), progress.monitor());
    if (kzSucceeded(code) && kzFailed(code = file.commit()))
        m_log->write(KZsLOG_IMAGES, code, path + ": the saver wrote no file to replace it");
    if (kzSucceeded(code))
        m_listeners->session([&](IKzSessionListener& listener) { listener.FileSaved(path.c_str()); });
    return code;
}

}  // namespace kzhost
