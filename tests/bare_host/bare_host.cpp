// The host in one object.
#include "tests/bare_host/bare_host.h"

#include "kz/tables.h"

#include <cstdlib>
#include <dlfcn.h>
#include <unistd.h>
#include <utility>

namespace {

thread_local const char* t_script = "";

}  // namespace

KzResult CBareApplication::QueryInterface(const KzGuid* iid, void** object) {
    if (isGone) _exit(9);
    const KzResult code = host->own ? host->own(*iid, object) : kzNotFound;
    if (code != kzNotFound) return code;
    return host->self().QueryInterface(iid, object);
}

std::uint32_t CBareApplication::Release() {
    if (isGone) _exit(9);
    return 1;
}

CBareHost::CBareHost() {
    appendTo(m_polymorph);
    *m_self.out() = m_polymorph.spawn();
    application.host = this;
    aliases["kit_Python2_7:"] = kzBareKit;
}

bool CBareHost::load(const char* plugin) {
    library = dlopen(plugin, RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) return false;
    using Create = IKzUnknown* (*)();
    const auto create = reinterpret_cast<Create>(dlsym(library, "_IKzModule_Create"));
    if (create == nullptr) return false;
    *module.out() = create();
    const CKzUser_NeedContext context(module.raw());
    refusal = context.SetContext(&application);
    return kzSucceeded(refusal);
}

void CBareHost::unload() {
    module.clear();
    dlclose(std::exchange(library, nullptr));
}

KzResult CBareHost::spawn(const KzGuid& iid, CKzLoc_Unknown& server) const {
    return CKzUser_Module(module.raw()).Generate("python", &iid, server.out());
}

KzResult CBareHost::run(const std::string& script) {
    CKzLoc_Unknown interpreter;
    if (const KzResult code = spawn(KZu_TEXTSCRIPTINTERPRETER, interpreter); kzFailed(code)) return code;
    t_script = script.c_str();
    return CKzUser_TextScriptInterpreter(interpreter.raw()).Run(m_self.raw(), 0, "", m_self.raw());
}

KzResult CBareHost::execute(const char* line) {
    CKzLoc_Unknown console;
    if (const KzResult code = spawn(KZu_LINEINTERPRETER, console); kzFailed(code)) return code;
    return CKzUser_LineInterpreter(console.raw()).Execute(line, m_self.raw());
}

std::string CBareHost::log() const {
    const std::lock_guard lock(m_lock);
    return m_log;
}

void CBareHost::note(const std::string& line) {
    const std::lock_guard lock(m_lock);
    m_log += line + "\n";
}

std::uint32_t CBareHost::references() noexcept {
    m_self->AddRef();
    return m_self->Release();
}

KzResult CBareHost::give(const char* operation, IKzUnknown** object) {
    if (whenCalled) whenCalled(operation);
    if (object == nullptr) return KZe_INVALIDARG;
    if (failing == operation) return *object = &trap, KZe_NOACCESS;
    return m_self.get(object);
}

KzResult CBareHost::logservice_CreateEntry(std::uint32_t level, const char* text, IKzUnknown** entry) {
    // The line comes first: without memory for it nothing is given.
    if (failing != "Log.CreateEntry") note((kzFailed(level) ? "error: " : "") + std::string(text));
    return give("Log.CreateEntry", entry);
}
KzResult CBareHost::fileservice_ToLocalAlias(const char* path, char* local, std::uint32_t length) {
    const std::string text(path);
    const std::size_t colon = text.find(':') + 1;
    if (whenCalled) whenCalled("File.ToLocalAlias");
    const auto found = aliases.find(text.substr(0, colon));
    if (found == aliases.end()) return KZe_NOTFOUND;
    const std::string whole = found->second + text.substr(colon);
    if (whole.size() >= length) return KZe_SHORTBUFFER;
    std::memcpy(local, whole.c_str(), whole.size() + 1);
    return kzOk;
}
KzResult CBareHost::stddialogservice_MonitorReleaseObj(IKzUnknown*) {
    note("monitor released");
    if (whenCalled) whenCalled("Dialog.MonitorReleaseObj");
    return kzOk;
}
void* CBareHost::guidservice_Global(const KzGuid* iid) {
    for (const KzIdentityRow& row : kzIdentityRows)
        if (row.iid == *iid) return const_cast<KzGuid*>(&row.iid);
    return nullptr;
}
KzResult CBareHost::scr_Buffer(const char** text) { return *text = t_script, kzOk; }
