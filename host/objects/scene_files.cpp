// Reading and writing scene files.
#include "host/objects/scene_files.h"

#include "host/core/listener_table.h"
#include "host/core/log_store.h"
#include "host/core/message.h"
#include "host/core/message_tables.h"
#include "host/core/module_table.h"
#include "host/core/reason_memory.h"
#include "host/core/reasons.h"
#include "host/core/refusal.h"
#include "host/objects/file_servers.h"
#include "host/objects/model_program.h"
#include "host/objects/model_scene.h"
#include "host/objects/moved_files.h"
#include "host/objects/reference_loader.h"
#include "host/objects/safe_save.h"
#include "host/objects/scene_file.h"
#include "host/objects/synthetic_folders.h"
#include "host/state/user_values.h"

#include "kz/dialog.h"
#include "kz/loader.h"
#include "kz/log.h"
#include "kz/message.h"
#include "kz/scene_event.h"
#include "kz/undo.h"

#include <strings.h>

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <utility>

namespace kzhost {

namespace {

namespace fs = std::filesystem;

constexpr std::uintmax_t greatestFile = std::uintmax_t{4} << 30U;

class CSceneTarget final : public CHosted<"scene loader target", CSceneTarget, CKzIfc_SceneLoaderTarget> {
public:
    CSceneTarget(CHostRef<CScene> scene, bool isImport) : m_scene(std::move(scene)), m_isImport(isImport) {}

    KzResult sceneloadertarget_Scene(IKzUnknown** scene) override { return m_scene.give(scene); }
    bool sceneloadertarget_IsImport() override { return m_isImport; }
    // Imported items belong to no other.
    KzResult sceneloadertarget_Root(IKzUnknown** /*parent*/) override { return KZe_NOTFOUND; }
    KzResult sceneloadertarget_AddDependency(const char* /*path*/) override {
        return kzBecause(KZe_NOTIMPL, "SceneLoaderTarget.AddDependency", [] { return "this host watches no files"; });
    }

private:
    CHostRef<CScene> m_scene;
    bool m_isImport;
};

bool hasOwnExtension(const std::string& path) {
    return strcasecmp(fs::path(path).extension().c_str(), kzSceneExtension) == 0;
}

// A file of the host's own format, whatever it is called.
bool beginsAsOwn(const std::string& path) {
    char head[8]{};
    std::ifstream(path, std::ios::binary).read(head, sizeof head);
    return std::string_view(head, sizeof head) == "kzscene ";
}

// The foreign format by its name or, without one, by the extension; empty if it is none.
std::string foreignFormat(const std::string& path, const std::string& format) {
    const std::string extension = fs::path(path).extension().string();
    const std::string wanted = !format.empty() || extension.empty() ? format : extension.substr(1);
    for (const std::string_view each : kzModelFormats)
        if (strcasecmp(wanted.c_str(), std::string(each).c_str()) == 0) return std::string(each);
    return {};
}

std::string wholeText(const std::string& path) {
    std::error_code error;
    const std::uintmax_t size = fs::file_size(path, error);
    if (error) throw SceneFileError(error.message());
    if (size > greatestFile) throw SceneFileError("the file is larger than 4 GiB");
    std::ifstream file(path, std::ios::binary);
    std::string text(static_cast<std::size_t>(size), '\0');
    file.read(text.data(), static_cast<std::streamsize>(size));
    text.resize(static_cast<std::size_t>(file.gcount()));
    if (!file && !file.eof()) throw SceneFileError("the file cannot be read");
    return text;
}

}  // namespace

KzResult CSceneFiles::refuse(KzResult code, const std::string& path, const std::string& why) const {
    return kzLogFailure(*m_parts.log, KZsLOG_FILES, code, path + ": " + why);
}

void CSceneFiles::readOwn(CDocument& document, const std::string& path, bool isImport) const {
    try {
        const std::string text = wholeText(path);
        RenamedItems renamed;
        CPackageLoad load(document, CPackageLoad::Kind::whole);
        {
            CEdit edit(document.workspace());
            renamed = kzReadScene(text, document, edit, isImport);
            if (isImport) edit.commit();
            else edit.commitLoaded(document);
        }
        load.finish(!isImport, renamed);
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const std::exception& error) {
        throw refuse(KZe_FAILED, path, error.what());
    }
}

// What a server does to the scene goes into the history like anything else, so a scene that is new begins without it.
bool CSceneFiles::loadServed(CScene& scene, const std::string& path, bool isImport, IKzUnknown* monitor) const {
    const auto target = CHostRef<CSceneTarget>::make(scene.self(), isImport);
    const auto load = [&](const CKzUser_Loader& loader, IKzUnknown* info) {
        return loader.LoadObject(path.c_str(), info, monitor, target.raw());
    };
    const auto failed = [&](const std::string& server, KzResult code) {
        refuse(code, path, "the loader \"" + server + "\" failed: " + CMessageTables::codeText(code));
    };
    struct Blocks {  // a loader may have left some open
        CWorkspace& workspace;
        const std::size_t depth = workspace.blockDepth();
        ~Blocks() { workspace.endBlocksAbove(depth); }
    } const blocks{*m_parts.scenes->workspace};
    return !kzLoadServed(*m_parts.modules, path, KZsFILECLASS_SCENE, load, failed).empty();
}

void CSceneFiles::loadInto(CScene& scene, const std::string& path, bool isImport, IKzUnknown* monitor) const {
    kzUpdateItemTypes(*m_parts.scenes->workspace);
    if (hasOwnExtension(path) || beginsAsOwn(path)) {
        readOwn(scene.document(), path, isImport);
    } else {
        CPackageLoad load(scene.document(), CPackageLoad::Kind::loader);
        if (!loadServed(scene, path, isImport, monitor)) loadForeign(scene, path, isImport, monitor);
        load.finish(!isImport);
    }
    std::vector<std::string> notes;
    kzFollowMovedFiles(scene.document(), isImport, {m_parts.modules, m_parts.files, m_parts.redirects, path}, notes);
    note(path, notes);
    if (!isImport) scene.document().workspace().forget(scene.document());
}

// A monitor says when its user wants to stop.
static ModelGoesOn goesOn(IKzUnknown* monitor) {
    return [monitor = std::make_shared<CKzUser_Monitor>(monitor)] {
        return !*monitor || monitor->Increment(0) != KZe_ABORT;
    };
}

void CSceneFiles::note(const std::string& path, const std::vector<std::string>& notes) const {
    for (const std::string& each : notes)
        m_parts.log->write(KZsLOG_FILES, KZe_WARNING, fmt::format("{}: {}", path, each));
}

void CSceneFiles::loadForeign(CScene& scene, const std::string& path, bool isImport, IKzUnknown* monitor) const {
    const auto joins = m_parts.values->find(kzJoinPoints);
    const ModelImport import{fs::absolute(path).parent_path().string(),
                             !joins || kzNumberOf(joins->cell).value_or(1) != 0};
    std::vector<std::string> notes;
    try {
        const ForeignModel model = kzReadModel(*m_parts.files, path, goesOn(monitor));
        CDocument& document = scene.document();
        CEdit edit(document.workspace());
        kzAddModel(model, import, document, edit, notes);
        if (isImport) edit.commit();
        else edit.commitLoaded(document);
    } catch (const ModelUnknown&) {
        throw refuse(KZe_NOTSUPPORTED, path, "no loader of scenes recognises the file");
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const std::exception& error) {
        throw refuse(KZe_FAILED, path, error.what());
    }
    note(path, notes);
}

CHostRef<CScene> CSceneFiles::open(const std::string& path, IKzUnknown* monitor) const {
    std::error_code error;
    if (!fs::is_regular_file(path, error)) throw refuse(KZe_NOTFOUND, path, "there is no such file");
    const CFileProgress progress(m_parts.context, m_parts.monitors, "Loading", monitor);
    std::string name = fs::path(path).stem().string();
    if (beginsAsOwn(path)) try {
            std::string head(4096, '\0');
            std::ifstream file(path, std::ios::binary);
            file.read(head.data(), static_cast<std::streamsize>(head.size()));
            head.resize(static_cast<std::size_t>(file.gcount()));
            name = kzSceneName(head);
        } catch (const SceneFileError&) {  // said when the file is read
        }
    auto scene = kzOpenScene(*m_parts.scenes->workspace, name);
    const auto saved = [&](CScene& each, const std::string& file) {
        m_parts.scenes->workspace->setSaved(each.document(), each.document().revision(), file);
    };
    try {
        loadInto(*scene, path, false, progress.monitor());
        saved(*scene, path);
        if (const auto references = kzReferenceLoader(*m_parts.scenes->workspace)) {
            references->loadAll(*scene);
            m_parts.scenes->workspace->forget(scene->document());
            saved(*scene, path);
        }
    } catch (...) {
        scene->close();
        throw;
    }
    return scene;
}

CHostRef<CScene> CSceneFiles::load(const std::string& path, IKzUnknown* monitor) const {
    auto scene = open(kzLocalFile(*m_parts.modules, path), monitor);
    m_parts.scenes->add(scene);
    if (const auto references = kzReferenceLoader(*m_parts.scenes->workspace)) references->tellLoaded(*scene);
    m_parts.listeners->session([&](IKzSessionListener& listener) { listener.FileOpened(path.c_str()); });
    return scene;
}

void CSceneFiles::import(const std::string& path, CScene& scene, IKzUnknown* monitor) const {
    if (const std::string local = kzLocalFile(*m_parts.modules, path); local != path)
        return import(local, scene, monitor);
    std::error_code error;
    if (!fs::is_regular_file(path, error)) throw refuse(KZe_NOTFOUND, path, "there is no such file");
    const CFileProgress progress(m_parts.context, m_parts.monitors, "Importing", monitor);
    CWorkspace& workspace = *m_parts.scenes->workspace;
    workspace.beginBlock("Import " + fs::path(path).filename().string(), KZfUNDO_BLOCK_NOEMPTY);
    const std::size_t depth = workspace.blockDepth();
    try {
        loadInto(scene, path, true, progress.monitor());
        if (const auto references = kzReferenceLoader(workspace)) references->loadAll(scene);
    } catch (...) {
        if (workspace.blockDepth() == depth) workspace.discardBlock();
        throw;
    }
    workspace.endBlocksAbove(depth - 1);
    m_parts.listeners->session([&](IKzSessionListener& listener) { listener.FileOpened(path.c_str()); });
}

KzResult CSceneFiles::saveOwn(const std::string& text, CSafeSave& file, const std::string& path) const {
    std::ofstream stream(file.path(), std::ios::binary | std::ios::trunc);
    stream.write(text.data(), static_cast<std::streamsize>(text.size()));
    stream.close();
    if (!stream) return refuse(KZe_NOACCESS, path, "the file cannot be written");
    const KzResult code = file.commit();
    return kzFailed(code) ? refuse(code, path, "the file cannot be replaced") : code;
}

KzResult CSceneFiles::saveCopy(CScene& scene, const std::string& path) const {
    if (const CItemPackages* packages = kzItemPackages(*m_parts.scenes->workspace))
        packages->collectData(scene.document());
    std::string text;
    {
        const CReading reading(*m_parts.scenes->workspace);
        if (!scene.document().isOpen()) return KZe_NOTAVAILABLE;
        text = kzWriteScene(scene.document());
    }
    CSafeSave file(path);
    return saveOwn(text, file, path);
}

KzResult CSceneFiles::saveServed(CScene& scene, const std::string& path, const std::string& format) const {
    const auto server = kzFindSaver(*m_parts.modules, path, format, KZsFILECLASS_SCENE);
    if (const std::string foreign = foreignFormat(path, format); !server && !foreign.empty())
        return saveForeign(scene, path, foreign);
    if (!server)
        return refuse(KZe_NOTSUPPORTED, path,
                      format.empty() ? "no saver of scenes is for this extension"
                                     : "there is no saver \"" + format + "\"");
    CKzLoc_Unknown object;
    const CKzUser_Saver saver(CModuleTable::spawn(*server, object).raw());
    if (!saver) return KZe_NOINTERFACE;
    const auto scenes = scene.self();
    const auto message = CHostRef<CMessage>::make();
    KzResult code = saver.Verify(scenes.raw(), message.raw());
    if (kzRefuses(code)) {
        const CKzUser_Message asMessage(message.raw());
        return refuse(code, path,
                      "the saver \"" + server->name +
                          "\" refuses the scene: " + CMessageTables::reasonOf(*asMessage.ptr(), code));
    }
    const CFileProgress progress(m_parts.context, m_parts.monitors, "Saving", nullptr);
    CSafeSave file(path);
    code = saver.Save(scenes.raw(), file.path().c_str(), progress.monitor());
    if (kzFailed(code))
        return refuse(code, path, "the saver \"" + server->name + "\" failed: " + CMessageTables::codeText(code));
    if (kzFailed(code = file.commit())) refuse(code, path, "the saver wrote no file to replace it");
    return code;
}

KzResult CSceneFiles::saveForeign(CScene& scene, const std::string& path, const std::string& format) const {
    const CFileProgress progress(m_parts.context, m_parts.monitors, "Saving", nullptr);
    CSafeSave file(path);
    std::vector<std::string> notes;
    try {
        const std::string folder = fs::absolute(path).parent_path().string();
        kzWriteModel(*m_parts.files, kzModelOf(scene.document(), folder, notes), format, file.path(),
                     goesOn(progress.monitor()));
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const std::exception& error) {
        return refuse(KZe_FAILED, path, error.what());
    }
    note(path, notes);
    const KzResult code = file.commit();
    return kzFailed(code) ? refuse(code, path, "the file cannot be replaced") : code;
}

KzResult CSceneFiles::write(CScene& scene, const std::string& path, const std::string& format) const {
    const bool isOwn = format.empty() ? hasOwnExtension(path) : format == kzSceneFormat;
    return isOwn ? saveCopy(scene, path) : saveServed(scene, path, format);
}

std::vector<std::string> CSceneFiles::formats() const {
    std::vector<std::string> names{kzSceneFormat};
    names.insert(names.end(), std::begin(kzModelFormats), std::end(kzModelFormats));
    std::ranges::move(kzSaverNames(*m_parts.modules, KZsFILECLASS_SCENE), std::back_inserter(names));
    return names;
}

// The scene may change while it is being written. What is then unsaved are the changes since it was read.
KzResult CSceneFiles::save(CScene& scene, const std::string& given, const std::string& format) const {
    std::string path = given;
    std::uint64_t revision = 0;
    bool isOwnFile = false;
    {
        const CReading reading(*m_parts.scenes->workspace);
        if (!scene.document().isOpen()) return KZe_NOTAVAILABLE;
        if (path.empty()) path = scene.document().filename();
        isOwnFile = path == scene.document().filename();
        revision = scene.document().revision();
    }
    if (path.empty()) return refuse(KZe_INVALIDARG, "Scene.Save", "the scene has no file yet; pass a path");
    const bool isOwn = format.empty() ? hasOwnExtension(path) : format == kzSceneFormat;
    const KzResult code = write(scene, path, format);
    if (kzFailed(code)) return code;
    if (isOwn || isOwnFile) m_parts.scenes->workspace->setSaved(scene.document(), revision, path);
    m_parts.scenes->tell([&](IKzSceneItemListener& each) { each.SceneSaved(scene.self().raw(), path.c_str()); });
    m_parts.listeners->session([&](IKzSessionListener& listener) { listener.FileSaved(path.c_str()); });
    return code;
}

}  // namespace kzhost
