// The reference host.
#include "host/kz_host.h"

#include "host/application.h"

#include "kz/result.h"

#include <filesystem>

CKzHost::CKzHost() {
    *m_application.out() = kzMakeApplication(m_core);
    m_core->setApplication(m_application.raw());
}

CKzHost::~CKzHost() {
    m_core->endSession();
    unload();
    m_core->close();
    m_core->setApplication(nullptr);
}

bool CKzHost::load(const std::string& path, std::string& why) {
    const std::string file = std::filesystem::absolute(path).lexically_normal().string();
    m_core->files.setAlias("module", std::filesystem::path(file).parent_path().string());
    return m_core->modules.load(file, m_application.raw(), why);
}

KzResult CKzHost::adopt(const std::string& name, IKzUnknown* module) {
    return m_core->modules.adopt(name, name, module, m_application.raw());
}

void CKzHost::unload() {
    m_core->jobThreads.finish();  // jobs are made of what modules have
    m_core->modules.clear();
}

ScriptEnd CKzHost::run(const CHostRef<CScript>& script, std::uint32_t flags, const std::string& args) {
    const auto message = CHostRef<CMessage>::make();
    ScriptEnd end;
    end.code = m_core->scripts.run(*m_core, script, flags, args.c_str(), message.raw());
    const char* key = nullptr;
    message->msg_Key(&key);
    end.isTold = !kzTextOf(key).empty();
    CKzUser_Message held(message.raw());
    if (end.isTold) end.message = CMessageTables::textOf(*held.ptr());
    return end;
}
