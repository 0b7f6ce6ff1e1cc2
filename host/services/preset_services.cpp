// The services about presets. There is no browser without windows, but its types of presets can be used.
#include "host/services/preset_services.h"

#include "host/core/object.h"
#include "host/core/reasons.h"
#include "host/core/service_base.h"
#include "host/objects/preset_package.h"
#include "host/objects/presets.h"
#include "host/state/path_aliases.h"
#include "host/state/text.h"

#include "kz/dialog.h"
#include "kz/preset.h"
#include "kz/preset_browser.h"
#include "kz/result.h"
#include "kz/value.h"

#include <map>
#include <mutex>
#include <utility>

namespace kzhost {

namespace {

class CPresetBrowserService final
    : public CHosted<"preset browser service", CPresetBrowserService, CKzIfc_PresetBrowserService>,
      CServiceBase {
public:
    static constexpr std::string_view needsWindow[] = {"Open", "Close"};

    CPresetBrowserService(std::shared_ptr<ServiceContext> context, std::shared_ptr<CPresets> presets,
                          std::shared_ptr<CPathAliases> files)
        : CServiceBase(std::move(context)), m_presets(std::move(presets)), m_files(std::move(files)) {}

    KzResult presetbrowserservice_Open(const char* /*fileClass*/, IKzUnknown* /*target*/,
                                       IKzUnknown** /*source*/) override {
        enter("PresetBrowser.Open");
        return noWindow("PresetBrowser.Open");
    }
    KzResult presetbrowserservice_Close(IKzUnknown* source) override {
        enter("PresetBrowser.Close");
        if (source == nullptr) return KZe_INVALIDARG;
        return noWindow("PresetBrowser.Close");
    }
    KzResult presetbrowserservice_TypeCount(std::uint32_t* count) override {
        enter("PresetBrowser.TypeCount");
        *count = static_cast<std::uint32_t>(m_presets->types().size());
        return KZe_OK;
    }
    KzResult presetbrowserservice_TypeByIndex(std::uint32_t index, IKzUnknown** type) override {
        enter("PresetBrowser.TypeByIndex");
        const auto types = m_presets->types();
        if (index >= types.size()) return KZe_OUTOFBOUNDS;
        CKzUser_PresetType object;
        m_presets->make(types[index], object);
        return object.get(type);
    }
    KzResult presetbrowserservice_Recognize(const char* path, IKzUnknown** type, const char** category) override {
        enter("PresetBrowser.Recognize");
        RecognizedPreset preset;
        if (!m_presets->recognize(m_files->place(path), preset)) return KZe_NOTFOUND;
        *category = lend(preset.category);
        return preset.type.get(type);
    }
    KzResult presetbrowserservice_Metrics(const char* path, std::uint32_t flags, IKzUnknown** metrics) override {
        enter("PresetBrowser.Metrics");
        RecognizedPreset preset;
        const std::string place = m_files->place(path);
        if (!m_presets->recognize(place, preset)) return KZe_NOTFOUND;
        return preset.type.Metrics(place.c_str(), flags, metrics);
    }
    KzResult presetbrowserservice_Apply(const char* path, IKzUnknown* destination, std::uint32_t flags) override {
        enter("PresetBrowser.Apply");
        constexpr std::uint32_t all =
            KZf_PRESETAPPLY_UNDO | KZf_PRESETAPPLY_REPLACE | KZf_PRESETAPPLY_ADD | KZf_PRESETAPPLY_SILENT;
        if ((flags & ~all) != 0) return KZe_INVALIDARG;
        if ((flags & KZf_PRESETAPPLY_ADD) != 0)
            return kzBecause(KZe_NOTSUPPORTED, "PresetBrowser.Apply",
                             [] { return "a preset takes the place of what there is and is never put beside it"; });
        return m_presets->apply(m_files->place(path), destination, (flags & KZf_PRESETAPPLY_UNDO) != 0);
    }
    KzResult presetbrowserservice_Save(const char* path, const char* type, IKzUnknown* source,
                                       IKzUnknown* thumbnail) override {
        enter("PresetBrowser.Save");
        m_presets->save(m_files->place(path), kzString(type), source, thumbnail);
        return KZe_OK;
    }

private:
    static KzResult noWindow(const char* place) {
        return kzBecause(KZe_NOTAVAILABLE, place, [] { return "a host without windows has no browser"; });
    }

    std::shared_ptr<CPresets> m_presets;
    std::shared_ptr<CPathAliases> m_files;
};

class CPresetDestinationService final
    : public CHosted<"preset destination service", CPresetDestinationService, CKzIfc_PresetDestinationService>,
      CServiceBase {
public:
    CPresetDestinationService(std::shared_ptr<ServiceContext> context, std::shared_ptr<CPresets> presets,
                              std::shared_ptr<CPathAliases> files)
        : CServiceBase(std::move(context)), m_presets(std::move(presets)), m_files(std::move(files)) {}

    KzResult presetdestinationservice_Identify(IKzUnknown* destination, const char** kind) override {
        enter("PresetDestination.Identify");
        *kind = keep(m_presets->kindOf(destination));
        return KZe_OK;
    }
    KzResult presetdestinationservice_Candidates(const char* path, IKzUnknown* destinations) override {
        enter("PresetDestination.Candidates");
        const CKzUser_ValueArray target(destinations);
        if (!target) return KZe_INVALIDARG;
        for (const std::string& ident : m_presets->candidates(m_files->place(path)))
            if (const KzResult code = target.AddString(ident.c_str()); kzFailed(code)) return code;
        return KZe_OK;
    }
    bool presetdestinationservice_Accepts(IKzUnknown* destination, const char* path) override {
        enter("PresetDestination.Accepts");
        return m_presets->accepts(destination, m_files->place(path));
    }
    KzResult presetdestinationservice_Register(const KzGuid* kind, const char* name) override {
        enter("PresetDestination.Register");
        if (kind == nullptr || kzTextOf(name).empty()) return KZe_INVALIDARG;
        m_presets->registerKind(*kind, kzString(name));
        return KZe_OK;
    }
    KzResult presetdestinationservice_CurrentByKind(const char* kind, IKzUnknown** /*destination*/) override {
        enter("PresetDestination.CurrentByKind");
        return kzBecause(KZe_NOTFOUND, "PresetDestination.CurrentByKind",
                         [&] { return "nothing of the kind \"" + kzString(kind) + "\" is selected"; });
    }

private:
    std::shared_ptr<CPresets> m_presets;
    std::shared_ptr<CPathAliases> m_files;
};

class CPresetPackageService final
    : public CHosted<"preset package service", CPresetPackageService, CKzIfc_PresetPackageService>,
      CServiceBase {
public:
    CPresetPackageService(std::shared_ptr<ServiceContext> context, std::shared_ptr<CPathAliases> files)
        : CServiceBase(std::move(context)), m_files(std::move(files)) {}

    KzResult presetpackageservice_Create(const char* path, const char* userName) override {
        enter("PresetPackage.Create");
        const std::lock_guard lock(m_lock);
        m_open.insert_or_assign(m_files->place(path), PresetPackage{kzString(userName), {}});
        return KZe_OK;
    }
    // A preset's own file has all its values, so there is nothing else to pack.
    KzResult presetpackageservice_AddPreset(const char* path, const char* preset, std::int32_t /*withFiles*/) override {
        enter("PresetPackage.AddPreset");
        const std::lock_guard lock(m_lock);
        kzAddToPackage(open(path)->second, m_files->place(preset));
        return KZe_OK;
    }
    KzResult presetpackageservice_Close(const char* path) override {
        enter("PresetPackage.Close");
        const std::lock_guard lock(m_lock);
        const auto package = open(path);
        kzWritePackage(package->first, package->second);
        m_open.erase(package);
        return KZe_OK;
    }
    KzResult presetpackageservice_Count(const char* path, std::uint32_t* count) override {
        enter("PresetPackage.Count");
        *count = static_cast<std::uint32_t>(kzReadPackage(m_files->place(path)).presets.size());
        return KZe_OK;
    }
    KzResult presetpackageservice_Install(const char* path, const char* folder, IKzUnknown* monitor) override {
        enter("PresetPackage.Install");
        const CKzUser_Monitor progress(monitor);
        const std::string target = kzTextOf(folder).empty() ? CPresets::folder() : m_files->place(folder);
        if (target.empty()) return KZe_NOTAVAILABLE;
        const PresetPackage package = kzReadPackage(m_files->place(path));
        if (progress && !package.presets.empty())
            progress.Initialize(static_cast<std::uint32_t>(package.presets.size()));
        return kzInstallPackage(package, target, [&] { return progress && kzFailed(progress.Increment(1)); });
    }
    bool presetpackageservice_IsPackage(const char* path) override {
        enter("PresetPackage.IsPackage");
        return kzIsPackage(m_files->place(path));
    }

private:
    using Open = std::map<std::string, PresetPackage>;
    Open::iterator open(const char* path) {
        const auto package = m_open.find(m_files->place(path));
        if (package != m_open.end()) return package;
        throw kzBecause(KZe_NOTREADY, "PresetPackage",
                        [&] { return kzString(path) + " was not created, or is closed"; });
    }

    std::shared_ptr<CPathAliases> m_files;
    std::mutex m_lock;
    Open m_open;
};

}  // namespace

decltype(kzMakePresetBrowserService) kzMakePresetBrowserService = kzMakeService<CPresetBrowserService>;
decltype(kzMakePresetDestinationService) kzMakePresetDestinationService = kzMakeService<CPresetDestinationService>;
decltype(kzMakePresetPackageService) kzMakePresetPackageService = kzMakeService<CPresetPackageService>;

}  // namespace kzhost
