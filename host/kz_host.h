// The reference host: an application object with its services, and the modules loaded into it.
#pragma once

#include "host/state/script_outcome.h"

#include "kz/base/object.h"

#include <memory>
#include <string>

namespace kzhost {

class CLogStore;
class CScript;
class CScriptRunner;
class CCallWatch;
class CCommandDispatcher;
class CDialogBoard;
class CPathAliases;
class CImageFiles;
class CSceneFiles;
class CImportPaths;
class CListenerTable;
class CModuleTable;
class CMonitorBoard;
class CPropertyTable;
class CReasonBook;
class CServiceRegistry;
class CSessionMemory;
class CTextBoard;
struct HostParts;
template <class Class> class CHostRef;

// How a script ended.
struct ScriptEnd {
    KzResult code = 0;
    ScriptOutcome outcome;
    std::string message;  // the reason given by the interpreter; empty if it gave none
    bool isTold = false;  // true if the interpreter filled in the message
};

// A process may have several hosts, one after another.
class CKzHost {
public:
    CKzHost();
    // Unloads the modules and releases everything of theirs, each module object last.
    ~CKzHost();
    CKzHost(const CKzHost&) = delete;
    CKzHost& operator=(const CKzHost&) = delete;

    IKzUnknown* application() const { return m_application.raw(); }

    // The parts, for the program and for tests. Each has a header of its own.
    CCallWatch& calls() const;
    CCommandDispatcher& commands() const;
    CDialogBoard& dialogs() const;
    CPathAliases& files() const;
    CImageFiles& images() const;
    CSceneFiles& sceneFiles() const;
    CImportPaths& importPaths() const;
    CListenerTable& listeners() const;
    CLogStore& log() const;
    CModuleTable& modules() const;
    CMonitorBoard& monitors() const;
    CPropertyTable& properties() const;
    CSessionMemory& memory() const;
    CReasonBook& reasons() const;
    CScriptRunner& scripts() const;
    CServiceRegistry& services() const;
    CTextBoard& texts() const;

    // Loads a module. False, with a full sentence in `why`, on failure.
    bool load(const std::string& path, std::string& why);
    // Adopts a module object of this program.
    KzResult adopt(const std::string& name, IKzUnknown* module);
    void unload();

    // Makes the operation ("Log.CreateEntry") fail with that code, the next `times` times or always.
    static constexpr int always = -1;
    void failOperation(const std::string& operation, KzResult code, int times = always);

    ScriptEnd run(const CHostRef<CScript>& script, std::uint32_t flags, const std::string& args);

private:
    std::unique_ptr<HostParts> m_parts;
    CKzLoc_Unknown m_application;
};

}  // namespace kzhost
