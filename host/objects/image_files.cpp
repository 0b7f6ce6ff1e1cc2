// Reading and writing image files: the host's own formats, and the loaders and savers that modules offer.
#include "host/objects/image_files.h"

#include "host/core/listener_table.h"
#include "host/core/log_store.h"
#include "host/core/message.h"
#include "host/core/message_tables.h"
#include "host/core/module_table.h"
#include "host/core/object.h"
#include "host/core/reason_memory.h"
#include "host/core/reasons.h"
#include "host/core/refusal.h"
#include "host/objects/file_servers.h"
#include "host/objects/image_target.h"
#include "host/objects/layer_blend.h"
#include "host/objects/picture_library.h"
#include "host/objects/safe_save.h"
#include "host/objects/synthetic_folders.h"
#include "host/pictures/picture_files.h"
#include "host/state/function_ref.h"
#include "host/state/text.h"

#include "kz/dialog.h"
#include "kz/image_layer.h"
#include "kz/loader.h"
#include "kz/message.h"

#include <strings.h>

#include <algorithm>
#include <filesystem>

namespace kzhost {

namespace {

// All that is known of an image, as the library keeps it; null if that is nothing.
PictureFactsPtr allFacts(IPictureFiles& library, const ImageFacts* facts) {
    if (facts == nullptr) return nullptr;
    return facts->said.empty() ? facts->file : library.with(facts->file.get(), facts->said);
}

// A saver says by its class or by a tag of any value that it keeps layers.
bool keepsLayers(const KzServer& server) {
    const KzTags tags = CModuleTable::tagsOf(server);
    return std::any_of(tags.begin(), tags.end(), [](const auto& tag) {
        return tag.first == KZsTAG_IMGFILE_LAYERED ||
               (tag.first == KZs_FILETAG_CLASS && tag.second == KZsCLASS_LAYEREDFILE);
    });
}

}  // namespace

KzResult CImageFiles::refuse(KzResult code, const std::string& path, const std::string& why) const {
    return kzLogFailure(*m_log, KZsLOG_IMAGES, code, path + ": " + why);
}

// The image is copied into one of the host's, which stays readable and writable whatever the loader does later.
CHostRef<CImage> CImageFiles::loadServed(const std::string& path, IKzUnknown* monitor) const {
    CHostRef<CImage> image;
    withLoader(path, KZfIMGLOAD_IMAGE | KZfIMGLOAD_LAYERED | KZfIMGLOAD_METADATA, monitor,
               [&](const CImageTarget& target) {
                   if (!target.image()) return KZe_FAILED;  // it has reported success without one
                   image = kzCopyImage(target.image().raw(), 0);
                   const auto facts = image->facts();
                   if (!target.texts().empty())
                       image->setFacts(std::make_shared<const ImageFacts>(
                           ImageFacts{.file = facts ? facts->file : nullptr, .said = target.texts()}));
                   return KZe_OK;
               });
    return image;
}

void CImageFiles::withLoader(const std::string& path, std::uint32_t wanted, IKzUnknown* monitor,
                             CFunctionRef<KzResult(const CImageTarget& target)> take) const {
    const auto load = [&](const CKzUser_Loader& loader, IKzUnknown* info) -> KzResult {
        const auto target = CHostRef<CImageTarget>::make(wanted);
        const KzResult code = loader.LoadObject(path.c_str(), info, monitor, target.raw());
        return kzFailed(code) ? code : take(*target);
    };
    const auto failed = [&](const std::string& server, KzResult code) {
        refuse(code, path, "the loader \"" + server + "\" failed: " + CMessageTables::codeText(code));
    };
    if (kzLoadServed(*m_modules, path, KZsFILECLASS_IMAGE, load, failed).empty())
        throw refuse(KZe_NOTSUPPORTED, path, "no loader of images recognises the file");
}

// Asks the saver whether it accepts the image, and logs its reason if it does not.
KzResult CImageFiles::verify(const CKzUser_Saver& saver, const std::string& name, IKzUnknown* image) const {
    const auto message = CHostRef<CMessage>::make();
    const KzResult code = saver.Verify(image, message.raw());
    if (!kzRefuses(code)) return KZe_OK;
    const CKzUser_Message asMessage(message.raw());
    return kzLogFailure(*m_log, KZsLOG_IMAGES, code,
                        "the saver \"" + name +
                            "\" refuses the image: " + CMessageTables::reasonOf(*asMessage.ptr(), code));
}

KzResult CImageFiles::saveServed(IKzUnknown* image, const std::string& path, const std::string& name,
                                 const std::string& file, IKzUnknown* monitor) const {
    const bool hasLayers = static_cast<bool>(CKzUser_LayeredImage(image));
    auto server = hasLayers ? kzFindSaver(*m_modules, path, name, KZsCLASS_LAYEREDFILE) : std::nullopt;
    if (!server) server = kzFindSaver(*m_modules, path, name, KZsFILECLASS_IMAGE);
    if (!server)
        return refuse(KZe_NOTSUPPORTED, path,
                      name.empty() ? "no saver of images is for this extension" : "there is no saver \"" + name + "\"");
    if (hasLayers && !keepsLayers(*server)) {
        const auto flat = kzFlatLayers("Image.Save", image);
        notes(path)("the layers are blended, since the saver \"" + server->name + "\" keeps none");
        return saveWith(*server, flat.raw(), file, monitor);
    }
    return saveWith(*server, image, file, monitor);
}

KzResult CImageFiles::saveWith(const KzServer& server, IKzUnknown* image, const std::string& file,
                               IKzUnknown* monitor) const {
    CKzLoc_Unknown object;
    const CKzUser_Saver saver(CModuleTable::spawn(server, object).raw());
    if (!saver) return KZe_NOINTERFACE;
    const KzResult code = verify(saver, server.name, image);
    return kzFailed(code) ? code : saver.Save(image, file.c_str(), monitor);
}

void CImageFiles::withLibrary(const std::string& path, CFunctionRef<void(IPictureFiles& library)> work) const {
    try {
        work(kzPictures(*m_files));
    } catch (const std::exception& error) {
        throw refuse(KZe_FAILED, path, error.what());
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
        image->setFacts(std::make_shared<const ImageFacts>(ImageFacts{.file = facts, .said = {}}));
    });
    return image;
}

// An image of a module is copied in the format that it reports, if that format exists.
KzResult CImageFiles::saveOwn(const PictureFormat& format, IKzUnknown* image, const std::string& path,
                              const std::string& file) const {
    auto own = CHostRef<CImage>::of(image);
    if (!own && CKzUser_LayeredImage(image)) {
        own = kzFlatLayers("Image.Save", image);
        notes(path)(std::string("the layers are blended, since ") + format.name + " files are written with one image");
    }
    if (!own) own = kzCopyImage(image, 0);
    const PixelFormat pixels = kzPixelsFor(format, own->format());
    if (own->format().components == 4 && pixels.components < 4)
        notes(path)(std::string("alpha is lost, since ") + format.name + " files have none");
    if (own->format().code != pixels.code) own = kzCopyImage(own.raw(), pixels.code);
    withLibrary(path, [&](IPictureFiles& library) {
        const PictureShape shape{own->width(), own->height(), pixels.components, pixels.kind()};
        library.save(format.library, file, shape, own->at(0, 0), allFacts(library, own->facts().get()).get(),
                     notes(path));
    });
    return KZe_OK;
}

std::string CImageFiles::fact(const std::string& path, const std::string& key) const {
    std::error_code error;
    if (!std::filesystem::is_regular_file(path, error)) throw refuse(KZe_NOTFOUND, path, "there is no such file");
    const PictureFormat* const format = kzPictureFormatOf(path);
    std::string value;
    bool isSaid = false;
    if (format == nullptr) {
        const CFileProgress progress(m_context, m_monitors, "Loading", nullptr);
        withLoader(path, KZfIMGLOAD_METADATA, progress.monitor(), [&](const CImageTarget& target) {
            const auto& texts = target.texts().texts;
            const auto found = texts.find(key);
            isSaid = found != texts.end();
            if (isSaid) value = found->second;
            return KZe_OK;
        });
        if (!isSaid) throw KZe_NOTFOUND;
        return value;
    }
    withLibrary(path, [&](IPictureFiles& library) {
        const auto noPixels = [](const PictureShape&) -> std::byte* { return nullptr; };
        isSaid = library.fact(*library.load(format->library, path, noPixels, notes(path)), key, value);
    });
    if (!isSaid) throw KZe_NOTFOUND;
    return value;
}

std::vector<std::string> CImageFiles::spaces() const { return kzPictures(*m_files).spaces(); }

void CImageFiles::mapPixels(std::int32_t count, std::uint32_t components, float* pixels, const std::string& source,
                            const std::string& target) const {
    if (source == target) return;
    withLibrary("colour space \"" + target + "\"",
                [&](IPictureFiles& library) { library.map(count, 1, components, pixels, source, target); });
}

CHostRef<CImage> CImageFiles::inSpace(IKzUnknown* image, const char* source, const std::string& target) const {
    const auto own = CHostRef<CImage>::of(image);
    std::string from = kzString(source);
    IPictureFiles& library = kzPictures(*m_files);
    const PictureFactsPtr facts = allFacts(library, own ? own->facts().get() : nullptr);
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
    mapped->setFacts(
        std::make_shared<const ImageFacts>(ImageFacts{.file = library.inSpace(facts.get(), target), .said = {}}));
    return mapped;
}

CHostRef<CImage> CImageFiles::load(const std::string& path, IKzUnknown* monitor) const {
    if (const std::string local = kzLocalFile(*m_modules, path); local != path) return load(local, monitor);
    std::error_code error;
    if (!std::filesystem::is_regular_file(path, error)) throw refuse(KZe_NOTFOUND, path, "there is no such file");
    const CFileProgress progress(m_context, m_monitors, "Loading", monitor);
    const PictureFormat* const own = kzPictureFormatOf(path);
    auto image = own != nullptr ? loadOwn(*own, path) : loadServed(path, progress.monitor());
    m_listeners->session([&](IKzSessionListener& listener) { listener.FileOpened(path.c_str()); });
    return image;
}

KzResult CImageFiles::save(IKzUnknown* image, const std::string& path, const std::string& saver,
                           IKzUnknown* monitor) const {
    if (!CKzUser_Image(image) && !CKzUser_LayeredImage(image)) return kzNoImage("Image.Save", image);
    const CFileProgress progress(m_context, m_monitors, "Saving", monitor);
    CSafeSave file(path);
    const PictureFormat* const own = kzPictureFormatFor(saver, path);
    KzResult code = own != nullptr ? saveOwn(*own, image, path, file.path())
                                   : saveServed(image, path, saver, file.path(), progress.monitor());
    if (kzSucceeded(code) && kzFailed(code = file.commit()))
        refuse(code, path, "the saver wrote no file to replace it");
    if (kzSucceeded(code))
        m_listeners->session([&](IKzSessionListener& listener) { listener.FileSaved(path.c_str()); });
    return code;
}

}  // namespace kzhost
