// Reading and writing image files: the host's own formats, and the loaders and savers that modules offer.
#pragma once

#include "host/core/object.h"
#include "host/objects/image.h"
#include "host/objects/picture_library.h"
#include "host/state/function_ref.h"

#include "kz/loader.h"

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace kzhost {

class CLogStore;
class CImageTarget;
class CListenerTable;
class CModuleTable;
class CMonitorBoard;
class CPathAliases;
class IPictureFiles;
struct KzServer;
struct ServiceContext;

class CImageFiles {
public:
    CImageFiles(std::shared_ptr<ServiceContext> context, std::shared_ptr<CModuleTable> modules,
                std::shared_ptr<CListenerTable> listeners, std::shared_ptr<CLogStore> log,
                std::shared_ptr<CMonitorBoard> monitors, std::shared_ptr<CPathAliases> files)
        : m_context(std::move(context)), m_modules(std::move(modules)), m_listeners(std::move(listeners)),
          m_log(std::move(log)), m_monitors(std::move(monitors)), m_files(std::move(files)) {}

    // Reads an image file: the host's own formats natively, others with the first loader that recognises them. Throws
    // NOTFOUND if there is no such file, NOTSUPPORTED if no loader recognises it, and the code of a loader that fails.
    // The monitor may be null.
    CHostRef<CImage> load(const std::string& path, IKzUnknown* monitor) const;
    // Writes a file with the named saver or, without a name, with the saver for the file's extension. NOTSUPPORTED if
    // there is none. The file is replaced only if saving succeeds.
    KzResult save(IKzUnknown* image, const std::string& path, const std::string& saver, IKzUnknown* monitor) const;

    // A field of the file's metadata: NOTFOUND if there is none of that name.
    std::string fact(const std::string& path, const std::string& key) const;
    // Converts the image to another colour space, in single floats. A null source stands for the one that its file
    // names.
    CHostRef<CImage> inSpace(IKzUnknown* image, const char* source, const std::string& target) const;
    std::vector<std::string> spaces() const;
    // Maps a row of single floats in place. The spaces must be among those.
    void mapPixels(std::int32_t count, std::uint32_t components, float* pixels, const std::string& source,
                   const std::string& target) const;

private:
    CHostRef<CImage> loadOwn(const PictureFormat& format, const std::string& path) const;
    KzResult saveOwn(const PictureFormat& format, IKzUnknown* image, const std::string& path,
                     const std::string& file) const;
    // Logs why the file cannot be read or written, and returns the code.
    KzResult refuse(KzResult code, const std::string& path, const std::string& why) const;
    // Runs work of the library, and logs the reason for a failure.
    void withLibrary(const std::string& path, CFunctionRef<void(IPictureFiles& library)> work) const;
    std::function<void(const std::string& text)> notes(const std::string& path) const;
    // Lets the first loader of a module that recognises the file read what is wanted of it.
    void withLoader(const std::string& path, std::uint32_t wanted, IKzUnknown* monitor,
                    CFunctionRef<KzResult(const CImageTarget& target)> take) const;
    CHostRef<CImage> loadServed(const std::string& path, IKzUnknown* monitor) const;
    KzResult verify(const CKzUser_Saver& saver, const std::string& name, IKzUnknown* image) const;
    KzResult saveWith(const KzServer& server, IKzUnknown* image, const std::string& file, IKzUnknown* monitor) const;
    KzResult saveServed(IKzUnknown* image, const std::string& path, const std::string& name, const std::string& file,
                        IKzUnknown* monitor) const;

    std::shared_ptr<ServiceContext> m_context;
    std::shared_ptr<CModuleTable> m_modules;
    std::shared_ptr<CListenerTable> m_listeners;
    std::shared_ptr<CLogStore> m_log;
    std::shared_ptr<CMonitorBoard> m_monitors;
    std::shared_ptr<CPathAliases> m_files;
};

}  // namespace kzhost
