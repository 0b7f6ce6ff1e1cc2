// The services of a host, and what they share.
#include "host/core.h"

#include "kz/command.h"
#include "kz/dialog.h"
#include "kz/file.h"
#include "kz/guid.h"
#include "kz/host.h"
#include "kz/image.h"
#include "kz/listener.h"
#include "kz/log.h"
#include "kz/mesh.h"
#include "kz/message.h"
#include "kz/platform.h"
#include "kz/result.h"
#include "kz/scene.h"
#include "kz/script.h"
#include "kz/thread.h"
#include "kz/value.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <utility>

namespace {

struct ServiceRow {
    const char* name;
    const KzGuid& iid;
    MakeHostService make;
};

constexpr ServiceRow services[] = {
    {"command", KZu_COMMANDSERVICE, kzMakeCommandService},
    {"dialog", KZu_STDDIALOGSERVICE, kzMakeDialogService},
    {"file", KZu_FILESERVICE, kzMakeFileService},
    {"guid", KZu_GUIDSERVICE, kzMakeGuidService},
    {"host", KZu_HOSTSERVICE, kzMakeHostService},
    {"image", KZu_IMAGESERVICE, kzMakeImageService},
    {"listener", KZu_LISTENERSERVICE, kzMakeListenerService},
    {"log", KZu_LOGSERVICE, kzMakeLogService},
    {"mesh", KZu_MESHSERVICE, kzMakeMeshService},
    {"message", KZu_MESSAGESERVICE, kzMakeMessageService},
    {"platform", KZu_PLATFORMSERVICE, kzMakePlatformService},
    {"scene", KZu_SCENESERVICE, kzMakeSceneService},
    {"script", KZu_SCRIPTSYSSERVICE, kzMakeScriptService},
    {"thread", KZu_THREADSERVICE, kzMakeThreadService},
    {"value", KZu_VALUESERVICE, kzMakeValueService},
};

}  // namespace

CHostCore::CHostCore() {
    log->addSink([this](const LogLine& line) { tellListeners(line); });
    log->setSubsystemSink([this](CLogStore::Event event, const CHostRef<CLogSubsystem>& subsystem) {
        tellLog([&](IKzLogListener& listener) {
            if (event == CLogStore::Event::added) listener.SubsystemAdded(subsystem.raw());
            else listener.Cleared(subsystem.raw());
        });
    });
}

const char* CHostService::lend(std::string text) {
    thread_local std::array<std::string, 8> lent;
    thread_local std::size_t next = 0;
    std::string& place = lent[next++ % lent.size()];
    place = std::move(text);
    return place.c_str();
}

CHostCore::~CHostCore() = default;

IKzUnknown* CHostCore::makeService(const KzGuid& iid) {
    if (std::find(m_removed.begin(), m_removed.end(), iid) != m_removed.end()) return nullptr;
    for (const ServiceRow& row : services)
        if (row.iid == iid) return row.make(shared_from_this());
    return nullptr;
}

const KzGuid* CHostCore::serviceByName(std::string_view name) const noexcept {
    for (const ServiceRow& row : services)
        if (name == row.name) return &row.iid;
    return nullptr;
}

std::vector<std::string> CHostCore::serviceNames() const {
    std::vector<std::string> names;
    for (const ServiceRow& row : services) names.emplace_back(row.name);
    return names;
}

void CHostCore::removeService(const KzGuid& iid) { m_removed.push_back(iid); }

// What a listener writes to the log itself is not told again: that would never end.
void CHostCore::tellLog(const std::function<void(IKzLogListener&)>& tell) {
    thread_local bool isTelling = false;
    struct Telling {
        Telling() { isTelling = true; }
        ~Telling() { isTelling = false; }
    };
    if (isTelling || listeners.count(KZa_LOGLISTENER) == 0) return;
    const Telling telling;
    listeners.log(tell);
}

void CHostCore::tellListeners(const LogLine& line) {
    tellLog([&](IKzLogListener& listener) {
        const auto entry = log->find(line.subsystem, line.entry);
        if (!entry) return;  // cleared meanwhile
        if (line.parent == 0) listener.EntryAdded(log->subsystem(line.subsystem).raw(), entry.raw());
        else if (const auto parent = log->find(line.subsystem, line.parent))
            listener.ChildEntryAdded(parent.raw(), entry.raw());
    });
}

void CHostCore::beginSession() {
    if (std::exchange(m_inSession, true)) return;
    listeners.session([](IKzSessionListener& listener) { listener.SystemReady(); });
    listeners.commands([](IKzCmdSysListener& listener) { listener.SystemReady(); });
}

void CHostCore::endSession() {
    m_inSession = false;
    listeners.session([](IKzSessionListener& listener) { listener.ShuttingDown(); });
    listeners.session([](IKzSessionListener& listener) { listener.ShutDown(); });
    listeners.clear();
}

void CHostCore::close() {
    endSession();
    reasons->writeCounts();
    scripts.clear();
    scenes.clear();
    modules.clear();
    log->close();
}

std::string CHostService::place(const char* path) const {
    if (kzTextOf(path).empty()) throw KZe_INVALIDARG;
    const auto local = core().files.expand(path);
    if (!local) throw KZe_NOTFOUND;
    return *local;
}
