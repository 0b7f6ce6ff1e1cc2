// Reading and writing sound files: WAV files, and the loaders and savers that modules offer.
#pragma once

#include "host/objects/sound.h"

#include <memory>
#include <string>
#include <utility>

namespace kzhost {

class CLogStore;
class CModuleTable;
class CMonitorBoard;
struct ServiceContext;

class CSoundFiles {
public:
    CSoundFiles(std::shared_ptr<ServiceContext> context, std::shared_ptr<CModuleTable> modules,
                std::shared_ptr<CLogStore> log, std::shared_ptr<CMonitorBoard> monitors)
        : m_context(std::move(context)), m_modules(std::move(modules)), m_log(std::move(log)),
          m_monitors(std::move(monitors)) {}

    // Throws NOTFOUND if there is no such file, NOTSUPPORTED if no loader recognises it, and the code of a loader that
    // fails.
    Sound load(const std::string& path) const;
    // Throws NOTSUPPORTED if there is no saver for the file's extension. The file is replaced only if saving succeeds.
    void save(const Sound& sound, const std::string& path) const;

private:
    void saveServed(const Sound& sound, const std::string& path, const std::string& file) const;

    std::shared_ptr<ServiceContext> m_context;
    std::shared_ptr<CModuleTable> m_modules;
    std::shared_ptr<CLogStore> m_log;
    std::shared_ptr<CMonitorBoard> m_monitors;
};

}  // namespace kzhost
