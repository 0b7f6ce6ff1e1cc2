// The platform service: the machine, the program, and the import paths.
#include "host/services/platform_service.h"

#include "host/core/object.h"
#include "host/core/service_base.h"
#include "host/state/import_paths.h"
#include "host/state/path_aliases.h"
#include "host/state/text.h"
#include "host/state/version.h"

#include "kz/platform.h"
#include "kz/result.h"

#include <sys/utsname.h>
#include <unistd.h>

#include <algorithm>
#include <string>
#include <thread>
#include <utility>

namespace kzhost {

namespace {

class CPlatformService final : public CHosted<"platform service", CPlatformService, CKzIfc_PlatformService>,
                               CServiceBase {
public:
    static constexpr std::string_view needsWindow[] = {"OpenURL", "ShowPath"};

    CPlatformService(std::shared_ptr<ServiceContext> context, std::shared_ptr<CPathAliases> files,
                     std::shared_ptr<CImportPaths> importPaths)
        : CServiceBase(std::move(context)), m_files(std::move(files)), m_importPaths(std::move(importPaths)) {}

    std::uint32_t platformservice_AppVersion() override { return kzHostVersion; }
    std::uint32_t platformservice_AppBuild() override { return kzHostBuild; }
    KzResult platformservice_AppName(const char** name) override {
        enter("Platform.AppName");
        *name = kzHostName;
        return KZe_OK;
    }
    KzResult platformservice_OSName(const char** name) override {
        return system("Platform.OSName", &utsname::sysname, name);
    }
    KzResult platformservice_OSVersion(const char** version) override {
        return system("Platform.OSVersion", &utsname::release, version);
    }
    KzResult platformservice_ImportPathCount(std::uint32_t* count) override {
        enter("Platform.ImportPathCount");
        *count = static_cast<std::uint32_t>(m_importPaths->all().size());
        return KZe_OK;
    }
    KzResult platformservice_ImportPathByIndex(std::uint32_t index, const char** path) override {
        enter("Platform.ImportPathByIndex");
        return giveName(m_importPaths->all(), index, path);
    }
    KzResult platformservice_ImportPathAdd(const char* path) override {
        enter("Platform.ImportPathAdd");
        if (kzTextOf(path).empty()) return KZe_INVALIDARG;
        m_importPaths->add(path);
        return KZe_OK;
    }
    KzResult platformservice_PathNameByIndex(std::uint32_t index, const char** name, const char** path) override {
        enter("Platform.PathNameByIndex");
        const auto aliases = m_files->aliases();
        if (index >= aliases.size()) return KZe_OUTOFBOUNDS;
        *name = keep(aliases[index].first);
        *path = keep(aliases[index].second);
        return KZe_OK;
    }
    KzResult platformservice_ProcessorCount(std::uint32_t* count) override {
        enter("Platform.ProcessorCount");
        *count = std::max(1U, std::thread::hardware_concurrency());
        return KZe_OK;
    }
    KzResult platformservice_MemorySize(double* bytes) override {
        enter("Platform.MemorySize");
        *bytes = static_cast<double>(sysconf(_SC_PHYS_PAGES)) * static_cast<double>(sysconf(_SC_PAGESIZE));
        return KZe_OK;
    }
    KzResult platformservice_UserName(const char** name) override {
        enter("Platform.UserName");
        return giveIfAny(kzEnvironment("USER"), name);
    }
    KzResult platformservice_HostName(const char** name) override {
        return system("Platform.HostName", &utsname::nodename, name);
    }
    KzResult platformservice_Environment(const char* name, const char** value) override {
        enter("Platform.Environment");
        return giveIfAny(kzEnvironment(kzString(name)), value);
    }
    bool platformservice_IsHeadless() override { return true; }
    KzResult platformservice_OpenURL(const char* /*url*/) override { return headless("Platform.OpenURL"); }
    KzResult platformservice_ShowPath(const char* /*path*/) override { return headless("Platform.ShowPath"); }
    KzResult platformservice_ConfigPath(const char** path) override {
        enter("Platform.ConfigPath");
        return giveIfAny(kzConfigFolder(), path);
    }

private:
    KzResult giveIfAny(const std::string& text, const char** out) const {
        if (text.empty()) return KZe_NOTFOUND;
        *out = keep(text);
        return KZe_OK;
    }
    template <std::size_t size>
    KzResult system(const char* operation, char (utsname::*field)[size], const char** out) const {
        enter(operation);
        utsname names{};
        if (uname(&names) != 0) return KZe_FAILED;
        return giveIfAny(names.*field, out);
    }
    // There is no desktop to show anything on.
    KzResult headless(const char* operation) const {
        enter(operation);
        return KZe_NOTAVAILABLE;
    }

    std::shared_ptr<CPathAliases> m_files;
    std::shared_ptr<CImportPaths> m_importPaths;
};

}  // namespace

decltype(kzMakePlatformService) kzMakePlatformService = kzMakeService<CPlatformService>;

}  // namespace kzhost
