// What modules' loaders and savers of all classes of files have in common.
#include "host/objects/file_servers.h"

#include "host/state/function_ref.h"
#include "host/state/text.h"

#include <fnmatch.h>
#include <strings.h>

#include <filesystem>
#include <utility>

namespace kzhost {

namespace {

// The name of a file class, which servers may also name by its identity.
std::string classNamed(const char* fileClass) {
    static const std::pair<KzGuid, const char*> theClasses[] = {
        {KZu_FILECLASS_SCENE, KZsFILECLASS_SCENE}, {KZu_FILECLASS_MESH, KZsFILECLASS_MESH},
        {KZu_FILECLASS_IMAGE, KZsFILECLASS_IMAGE}, {KZu_FILECLASS_MOVIE, KZsFILECLASS_MOVIE},
        {KZu_FILECLASS_AUDIO, KZsFILECLASS_AUDIO}, {KZu_FILECLASS_PRESET, KZsFILECLASS_PRESET}};
    const auto identity = kzGuidOfText(kzTextOf(fileClass));
    for (const auto& [guid, name] : theClasses)
        if (identity && *identity == guid) return name;
    return kzString(fileClass);
}

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

// "saver.dosType" is an extension; letter case does not matter.
bool isFor(const KzServer& server, const std::string& path) {
    const std::string extension = std::filesystem::path(path).extension().string();
    const std::string type = tagOf(server, KZsTAG_SAVER_TYPE);
    return !type.empty() && !extension.empty() && strcasecmp(type.c_str(), extension.c_str() + 1) == 0;
}

// A saver that names no class is one of images.
bool saves(const KzServer& saver, const char* fileClass) {
    const std::string its = tagOf(saver, KZs_FILETAG_CLASS);
    return classNamed(its.empty() ? KZsFILECLASS_IMAGE : its.c_str()) == fileClass;
}

}  // namespace

KzResult CLoaderInfo::linf_SetClass(const char* fileClass) {
    m_fileClass = classNamed(fileClass);
    return KZe_OK;
}

bool CLoaderInfo::linf_TestClass(const char* fileClass) { return classNamed(fileClass) == m_wanted; }

CFileProgress::CFileProgress(std::shared_ptr<ServiceContext> context, std::shared_ptr<CMonitorBoard> monitors,
                             const char* title, IKzUnknown* monitor)
    : m_monitor(monitor) {
    if (monitor != nullptr) return;
    m_own = CHostRef<CMonitor>::make(std::move(context), std::move(monitors), title);
    m_monitor.set(m_own.raw());
}

CFileProgress::~CFileProgress() {
    if (m_own) m_own->end();
}

std::string kzLoadServed(const CModuleTable& modules, const std::string& path, const char* fileClass,
                         const ServedLoad& load, CFunctionRef<void(const std::string& server, KzResult code)> failed) {
    struct CleanUp {
        const CKzUser_Loader& loader;
        ~CleanUp() { loader.Cleanup(); }
    };
    for (const KzServer& server : modules.servers(KZa_LOADER)) {
        if (!mayTake(server, path)) continue;
        CKzLoc_Unknown object;
        const CKzUser_Loader loader(CModuleTable::spawn(server, object).raw());
        const auto info = CHostRef<CLoaderInfo>::make(fileClass);
        if (!loader || kzFailed(loader.Recognize(path.c_str(), info.raw())) || !info->isWanted()) continue;
        KzResult code = KZe_OK;
        {
            const CleanUp cleanUp{loader};
            code = load(loader, info.raw());
        }
        if (kzSucceeded(code)) return server.name;
        failed(server.name, code);
        throw code == KZe_NOTSUPPORTED ? KZe_FAILED : code;  // a loader has recognised it
    }
    return {};
}

std::optional<KzServer> kzFindSaver(const CModuleTable& modules, const std::string& path, const std::string& name,
                                    const char* fileClass) {
    for (const KzServer& server : modules.servers(KZa_SAVER)) {
        if (!name.empty() ? server.name != name : !isFor(server, path)) continue;
        if (!name.empty() || saves(server, fileClass)) return server;
    }
    return std::nullopt;
}

std::vector<std::string> kzSaverNames(const CModuleTable& modules, const char* fileClass) {
    std::vector<std::string> names;
    for (const KzServer& server : modules.servers(KZa_SAVER))
        if (saves(server, fileClass)) names.push_back(server.name);
    return names;
}

}  // namespace kzhost
