// Reading and writing image files: the host's own format, and the loaders and savers that modules offer.
#pragma once

#include "host/core/object.h"
#include "host/objects/image.h"

#include "kz/loader.h"

#include <memory>
#include <string>
#include <utility>

namespace kzhost {

class CLogStore;
class CListenerTable;
class CModuleTable;
class CMonitorBoard;
struct ServiceContext;

class CImageFiles {
public:
    CImageFiles(std::shared_ptr<ServiceContext> context, std::shared_ptr<CModuleTable> modules,
                std::shared_ptr<CListenerTable> listeners, std::shared_ptr<CLogStore> log,
                std::shared_ptr<CMonitorBoard> monitors)
        : m_context(std::move(context)), m_modules(std::move(modules)), m_listeners(std::move(listeners)),
          m_log(std::move(log)), m_monitors(std::move(monitors)) {}

    // Reads an image file: PNG files natively, others with the first loader that recognises them. Throws NOTFOUND if there
    // is no such file, NOTSUPPORTED if no loader recognises it, and the code of a loader that fails. The monitor may be
    // null.
    CHostRef<CImage> load(const std::string& path, IKzUnknown* monitor) const;
    // Writes a file with the named saver or, without a name, with the saver for the file's extension. NOTSUPPORTED if there
    // is none. The file is replaced only if saving succeeds.
    KzResult save(IKzUnknown* image, const std::string& path, const std::string& saver, IKzUnknown* monitor) const;

private:
    class CProgress;
    CHostRef<CImage> loadServed(const std::string& path, IKzUnknown* monitor) const;
    KzResult verify(const CKzUser_Saver& saver, const std::string& name, IKzUnknown* image) const;
    KzResult saveServed(IKzUnknown* image, const std::string& path, const std::string& name, const std::string& file,
                        IKzUnknown* monitor) const;

    std::shared_ptr<ServiceContext> m_context;
    std::shared_ptr<CModuleTable> m_modules;
    std::shared_ptr<CListenerTable> m_listeners;
    std::shared_ptr<CLogStore> m_log;
    std::shared_ptr<CMonitorBoard> m_monitors;
};

}  // namespace kzhost
