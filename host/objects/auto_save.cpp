// Copies of open scenes, saved now and then in case something happens to the host.
#include "host/objects/auto_save.h"

#include "host/core/log_store.h"
#include "host/core/message_tables.h"
#include "host/core/module_table.h"
#include "host/objects/open_scenes.h"
#include "host/objects/scene_files.h"
#include "host/state/user_values.h"
#include "host/state/version.h"

#include "kz/log.h"
#include "kz/undo.h"

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <utility>
#include <vector>

namespace kzhost {

namespace {

namespace fs = std::filesystem;

// Scenes from different folders may have one name, so it goes with a number that stands for the whole path.
std::string stemOf(const CDocument& document) {
    std::string name = fs::path(document.filename()).stem().string();
    if (name.empty()) name = document.name();
    std::replace(name.begin(), name.end(), '/', '_');
    const auto number = static_cast<std::uint32_t>(std::hash<std::string>()(document.filename()));
    return fmt::format("{}-{:08x}", name.empty() ? "scene" : name, number);
}

}  // namespace

double CAutoSave::number(const char* name, double otherwise) const {
    const auto value = m_values->find(name);
    return value ? kzNumberOf(value->cell).value_or(otherwise) : otherwise;
}

std::string CAutoSave::folder() const {
    const auto value = m_values->find(KZsPREF_AUTOSAVE_FOLDER);
    const auto* text = value ? std::get_if<std::string>(&value->cell) : nullptr;
    if (text != nullptr && !text->empty()) return *text;
    const std::string config = kzConfigFolder();
    return config.empty() ? std::string() : config + "/autosave";
}

void CAutoSave::check() noexcept {
    if (m_isSaving.exchange(true)) return;
    try {
        const std::chrono::duration<double> since = Clock::now() - m_last;
        if (number(KZsPREF_AUTOSAVE_ACTIVE, 0) != 0 &&
            since.count() >= 60 * number(KZsPREF_AUTOSAVE_INTERVAL, KZiAUTOSAVE_MINUTES))
            saveAll();
    } catch (const std::exception& error) {
        m_log->write(KZsLOG_FILES, KZe_FAILED, std::string("automatic saving: ") + error.what());
    } catch (KzResult code) {
        m_log->write(KZsLOG_FILES, code, "automatic saving: " + CMessageTables::codeText(code));
    }
    m_isSaving = false;
}

// The copy 1 is the latest. Older ones make room, and the oldest goes.
std::string CAutoSave::copyOf(const std::string& folder, const std::string& stem) const {
    const auto place = [&](int copy) { return fmt::format("{}/{}.{}{}", folder, stem, copy, kzSceneExtension); };
    std::error_code ignored;
    const int count = std::max(1, static_cast<int>(number(KZsPREF_AUTOSAVE_REVISIONS, KZiAUTOSAVE_REVISIONS)));
    for (int copy = count; --copy > 0;) fs::rename(place(copy), place(copy + 1), ignored);
    return place(1);
}

void CAutoSave::saveAll() {
    struct Changed {
        CHostRef<CScene> scene;
        std::string stem;
        std::uint64_t revision;
    };
    std::vector<Changed> changed;
    {
        const CReading reading(*m_scenes->workspace);
        for (const auto& scene : m_scenes->list) {
            const CDocument& document = scene->document();
            const auto saved = m_saved.find(&document);
            if (document.isModified() && (saved == m_saved.end() || saved->second != document.revision()))
                changed.push_back({scene, stemOf(document), document.revision()});
        }
    }
    if (changed.empty()) return;
    m_last = Clock::now();
    const std::string target = folder();
    if (target.empty()) return;
    fs::create_directories(target);
    for (const KzServer& server : m_modules->servers(KZa_AUTOSAVELISTENER)) {
        CKzLoc_Unknown object;
        const CKzUser_AutoSaveListener listener(CModuleTable::spawn(server, object).raw());
        const KzResult code = listener ? listener.SaveNow(target.c_str()) : KZe_NOINTERFACE;
        if (kzFailed(code))
            m_log->write(KZsLOG_FILES, code,
                         "the listener \"" + server.name + "\" failed to save: " + CMessageTables::codeText(code));
    }
    for (Changed& each : changed) {
        const KzResult code = m_files->saveCopy(*each.scene, copyOf(target, each.stem));
        if (kzSucceeded(code)) m_saved[&each.scene->document()] = each.revision;  // a failure is in the log
    }
}

}  // namespace kzhost
