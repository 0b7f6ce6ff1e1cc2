// Copies of open scenes, saved now and then in case something happens to the host.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>

namespace kzhost {

class CLogStore;
class CModuleTable;
class CSceneFiles;
class CUserValues;
struct OpenScenes;

// The preferences of automatic saving are user values: nothing is saved unless "autosave.active" is true.
class CAutoSave {
public:
    CAutoSave(std::shared_ptr<CUserValues> values, std::shared_ptr<OpenScenes> scenes,
              std::shared_ptr<CSceneFiles> files, std::shared_ptr<CModuleTable> modules, std::shared_ptr<CLogStore> log)
        : m_values(std::move(values)), m_scenes(std::move(scenes)), m_files(std::move(files)),
          m_modules(std::move(modules)), m_log(std::move(log)) {}

    // Called when no command runs. Saves if the interval is over and a scene has changed since the last copy of it.
    void check() noexcept;

private:
    using Clock = std::chrono::steady_clock;
    void saveAll();
    std::string folder() const;
    std::string copyOf(const std::string& folder, const std::string& stem) const;
    double number(const char* name, double otherwise) const;

    std::shared_ptr<CUserValues> m_values;
    std::shared_ptr<OpenScenes> m_scenes;
    std::shared_ptr<CSceneFiles> m_files;
    std::shared_ptr<CModuleTable> m_modules;
    std::shared_ptr<CLogStore> m_log;
    Clock::time_point m_last = Clock::now();
    std::unordered_map<const void*, std::uint64_t> m_saved;  // the revision of each document that has a copy
    std::atomic<bool> m_isSaving = false;  // what listeners do may run commands, and so may other threads
};

}  // namespace kzhost
