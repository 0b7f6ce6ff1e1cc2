// What modules' loaders and savers of all classes of files have in common.
#pragma once

#include "host/core/module_table.h"
#include "host/objects/monitor.h"
#include "host/state/function_ref.h"

#include "kz/loader.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace kzhost {

// What a loader says about a file, for a caller that takes files of one class.
class CLoaderInfo final : public CHosted<"loader info", CLoaderInfo, CKzIfc_LoaderInfo> {
public:
    explicit CLoaderInfo(std::string wanted) : m_wanted(std::move(wanted)) {}

    KzResult linf_SetClass(const char* fileClass) override;
    KzResult linf_SetFormat(const char* /*format*/) override { return KZe_OK; }
    bool linf_TestClass(const char* fileClass) override;
    KzResult linf_SetFlags(std::uint32_t /*flags*/) override { return KZe_OK; }

    bool isWanted() const { return m_fileClass == m_wanted; }

private:
    const std::string m_wanted;
    std::string m_fileClass;
};

// Provides a monitor if the caller passes none, as servers in Python never get a null object.
class CFileProgress {
public:
    CFileProgress(std::shared_ptr<ServiceContext> context, std::shared_ptr<CMonitorBoard> monitors, const char* title,
                  IKzUnknown* monitor);
    ~CFileProgress();
    CFileProgress(const CFileProgress&) = delete;
    CFileProgress& operator=(const CFileProgress&) = delete;
    IKzUnknown* monitor() const { return m_monitor.raw(); }

private:
    CHostRef<CMonitor> m_own;
    CKzLoc_Unknown m_monitor;
};

// Lets the first loader that recognises the file as one of that class load it: `load(loader, info)` calls it and takes what
// it loaded, before the loader cleans up. The loader's name, or an empty text if there is none. A loader's failure is
// reported to `failed` and thrown.
using ServedLoad = std::function<KzResult(const CKzUser_Loader& loader, IKzUnknown* info)>;
std::string kzLoadServed(const CModuleTable& modules, const std::string& path, const char* fileClass,
                         const ServedLoad& load, CFunctionRef<void(const std::string& server, KzResult code)> failed);

// The saver of that name or, without a name, one for the path's extension that says it is for that class or for none;
// nullopt if there is none.
std::optional<KzServer> kzFindSaver(const CModuleTable& modules, const std::string& path, const std::string& name,
                                    const char* fileClass);
// The names of the savers of that class.
std::vector<std::string> kzSaverNames(const CModuleTable& modules, const char* fileClass);

}  // namespace kzhost
