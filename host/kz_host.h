// The reference host: an application object with its services, and the modules that were loaded into it.
#pragma once

#include "host/core.h"

#include <memory>
#include <string>
#include <vector>

// How a script ended.
struct ScriptEnd {
    KzResult code = 0;
    std::string message;  // why, as the interpreter told it; empty when it said nothing
    bool isTold = false;  // the interpreter filled in the message
};

// Several may live in one process, one after another.
class CKzHost {
public:
    CKzHost();
    // Unloads the modules: everything of theirs is released, each module's own object last.
    ~CKzHost();
    CKzHost(const CKzHost&) = delete;
    CKzHost& operator=(const CKzHost&) = delete;

    IKzUnknown* application() const { return m_application.raw(); }

    CHostCore& core() const { return *m_core; }
    CLogStore& log() const { return *m_core->log; }

    // Loads a module; false, with a full sentence in `why`.
    bool load(const std::string& path, std::string& why);
    // Takes in a module object of this very program.
    KzResult adopt(const std::string& name, IKzUnknown* module);
    void unload();

    // The operation ("Log.CreateEntry") fails with that code, the next `times` times or always.
    void failOperation(const std::string& operation, KzResult code, int times = CCallWatch::always) {
        m_core->calls.fail(operation, code, times);
    }

    ScriptEnd run(const CHostRef<CScript>& script, std::uint32_t flags, const std::string& args);

private:
    std::shared_ptr<CHostCore> m_core = std::make_shared<CHostCore>();
    CKzLoc_Unknown m_application;
};
