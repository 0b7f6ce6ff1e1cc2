// Reading and writing scene files: the host's own format, what modules offer, and the formats of a library.
#pragma once

#include "host/objects/open_scenes.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace kzhost {

class CListenerTable;
class CLogStore;
class CModuleTable;
class CMonitorBoard;
class CPathAliases;
class CSafeSave;
class CUserValues;
struct RedirectRules;
struct ServiceContext;

inline constexpr const char* kzSceneExtension = ".kzscene";
inline constexpr const char* kzSceneFormat = "kzscene";

// A user value: whether vertices of foreign models that are at one place become one point, which is so without it.
inline constexpr const char* kzJoinPoints = "import.joinPoints";

struct SceneFileParts {
    std::shared_ptr<ServiceContext> context;
    std::shared_ptr<CModuleTable> modules;
    std::shared_ptr<CListenerTable> listeners;
    std::shared_ptr<CLogStore> log;
    std::shared_ptr<CMonitorBoard> monitors;
    std::shared_ptr<OpenScenes> scenes;
    std::shared_ptr<CPathAliases> files;
    std::shared_ptr<CUserValues> values;
    std::shared_ptr<RedirectRules> redirects;
};

class CSceneFiles {
public:
    explicit CSceneFiles(SceneFileParts parts) : m_parts(std::move(parts)) {}

    // Opens a new scene with what the file holds; it becomes the current one. Throws NOTFOUND if there is no such file,
    // NOTSUPPORTED if nobody knows its format, and otherwise what the loader says; the log has the reason. The monitor may be
    // null.
    CHostRef<CScene> load(const std::string& path, IKzUnknown* monitor) const;
    // As above, but the scene is not among the open ones, and nobody is told of it.
    CHostRef<CScene> open(const std::string& path, IKzUnknown* monitor) const;
    // Adds what the file holds, as one step of the history, or nothing at all. Throws as above.
    void import(const std::string& path, CScene& scene, IKzUnknown* monitor) const;
    // Writes a file in the named format, or that of the path's extension; an empty path stands for the scene's own file.
    // The file is replaced only if saving succeeds. The scene then has no unsaved changes, if the format keeps everything or
    // the file is its own.
    KzResult save(CScene& scene, const std::string& given, const std::string& format) const;
    // As above, without a file that is the scene's own from then on, and without telling anybody.
    KzResult write(CScene& scene, const std::string& path, const std::string& format) const;
    // The formats that can be written: the host's own, those of a library, and the savers of modules.
    std::vector<std::string> formats() const;
    // Writes a copy, in the host's own format, and leaves the scene as it is.
    KzResult saveCopy(CScene& scene, const std::string& path) const;

private:
    void loadInto(CScene& scene, const std::string& path, bool isImport, IKzUnknown* monitor) const;
    void readOwn(CDocument& document, const std::string& path, bool isImport) const;
    bool loadServed(CScene& scene, const std::string& path, bool isImport, IKzUnknown* monitor) const;
    void loadForeign(CScene& scene, const std::string& path, bool isImport, IKzUnknown* monitor) const;
    KzResult saveOwn(const std::string& text, CSafeSave& file, const std::string& path) const;
    KzResult saveServed(CScene& scene, const std::string& path, const std::string& format) const;
    KzResult saveForeign(CScene& scene, const std::string& path, const std::string& format) const;
    KzResult refuse(KzResult code, const std::string& path, const std::string& why) const;
    void note(const std::string& path, const std::vector<std::string>& notes) const;

    const SceneFileParts m_parts;
};

}  // namespace kzhost
