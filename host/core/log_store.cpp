// The event log in memory.
#include "host/core/log_store.h"

#include "host/state/text.h"

#include "kz/base/text_output.h"
#include "kz/result.h"

#include <algorithm>

namespace kzhost {

namespace {

// One lock for the whole tree, whichever host it belongs to: entries outlive their host when a module keeps them.
std::mutex theLock;
using Locked = std::lock_guard<std::mutex>;

KzResult giveAt(const std::deque<CHostRef<CLogEntry>>& entries, std::uint32_t index, IKzUnknown** entry) {
    const Locked lock(theLock);
    return index < entries.size() ? entries[index].give(entry) : KZe_OUTOFBOUNDS;
}

}  // namespace

const CEntryList::Entries& CEntryList::all() const {
    static const Entries none;
    return m_entries ? *m_entries : none;
}

void CEntryList::add(const CHostRef<CLogEntry>& entry) {
    if (!m_entries) m_entries = std::make_unique<Entries>();
    m_entries->push_back(entry);
    m_bytes += entry->m_text.size();
}

std::uint32_t CEntryList::shorten(const LogLimits& limits, Entries& dropped) {
    const auto isTooMuch = [this](std::uint32_t entries, std::size_t bytes) {
        return all().size() > 1 && ((entries != 0 && m_entries->size() > entries) || (bytes != 0 && m_bytes > bytes));
    };
    std::uint32_t count = 0;
    for (; isTooMuch(limits.entries, limits.bytes); ++count) {
        m_bytes -= m_entries->front()->m_text.size();
        dropped.push_back(std::move(m_entries->front()));
        m_entries->pop_front();
    }
    return count;
}

CEntryList::Entries CEntryList::takeAll() {
    Entries entries;
    if (m_entries) entries.swap(*m_entries);
    m_bytes = 0;
    return entries;
}

CLogEntry::CLogEntry(std::weak_ptr<CLogStore> store, KzResult level, std::string text)
    : m_store(std::move(store)), m_level(level), m_text(std::move(text)) {}

// The text is moved, since a copy could fail for lack of memory and end the process.
CLogEntry::~CLogEntry() {
    if (m_isPlaced) return;
    if (const auto store = m_store.lock()) store->giveUp({"", m_id, 0, m_level, std::move(m_text), 0, m_origin, ""});
}

KzResult CLogEntry::logentry_Desc(const char** text) {
    *text = m_text.c_str();
    return KZe_OK;
}

KzResult CLogEntry::logentry_Subsystem(const char** name) {
    const Locked lock(theLock);
    if (!m_isPlaced) return KZe_NOTFOUND;
    *name = m_subsystem.c_str();
    return KZe_OK;
}

KzResult CLogEntry::logentry_Time(double* seconds) {
    *seconds = m_time;
    return KZe_OK;
}

KzResult CLogEntry::logentry_AddEntry(IKzUnknown* child) {
    const auto entry = CHostRef<CLogEntry>::of(child);
    const auto store = m_store.lock();
    if (!entry) return KZe_INVALIDARG;
    return store ? store->placeBelow(*this, entry) : KZe_NOTAVAILABLE;
}

std::uint32_t CLogEntry::logentry_ChildCount() {
    const Locked lock(theLock);
    return static_cast<std::uint32_t>(m_children.all().size());
}

KzResult CLogEntry::logentry_ChildByIndex(std::uint32_t index, IKzUnknown** child) {
    return giveAt(m_children.all(), index, child);
}

KzResult CLogEntry::logentry_Parent(IKzUnknown** parent) {
    const auto store = m_store.lock();
    if (!store || m_parent == 0) return KZe_NOTFOUND;
    const auto entry = store->find(m_subsystem, m_parent);
    return entry ? entry.give(parent) : KZe_NOTFOUND;
}

std::uint32_t CLogEntry::logentry_InfoCount() {
    const Locked lock(theLock);
    return static_cast<std::uint32_t>(m_infos.size());
}

KzResult CLogEntry::logentry_InfoByIndex(std::uint32_t index, const char** name, const char** value) {
    const Locked lock(theLock);
    if (index >= m_infos.size()) return KZe_OUTOFBOUNDS;
    const auto info = std::next(m_infos.begin(), index);
    *name = info->first.c_str();
    *value = info->second.c_str();
    return KZe_OK;
}

KzResult CLogEntry::logentry_SetInfo(const char* name, const char* value) {
    if (name == nullptr || *name == '\0') return KZe_INVALIDARG;
    {
        const Locked lock(theLock);
        if (std::string_view(name) == kzOriginInfo) m_origin = kzOriginOf(kzTextOf(value));
        const auto info =
            std::find_if(m_infos.begin(), m_infos.end(), [&](const auto& each) { return each.first == name; });
        if (info != m_infos.end()) info->second = kzTextOf(value);
        else m_infos.emplace_back(name, kzTextOf(value));
        if (!m_isPlaced) return KZe_OK;
    }
    if (const auto store = m_store.lock(); store && store->m_entrySink)
        if (const auto entry = store->find(m_subsystem, m_id)) store->m_entrySink(entry);
    return KZe_OK;
}

KzResult CLogSubsystem::log_Name(const char** name) {
    *name = m_name.c_str();
    return KZe_OK;
}

KzResult CLogSubsystem::log_AddEntry(IKzUnknown* entry) {
    const auto added = CHostRef<CLogEntry>::of(entry);
    const auto store = m_store.lock();
    if (!added) return KZe_INVALIDARG;
    if (!store) return KZe_NOTAVAILABLE;
    store->place(*this, added);
    return KZe_OK;
}

std::uint32_t CLogSubsystem::log_EntryCount() {
    const Locked lock(theLock);
    return static_cast<std::uint32_t>(m_entries.all().size());
}

KzResult CLogSubsystem::log_EntryByIndex(std::uint32_t index, IKzUnknown** entry) {
    return giveAt(m_entries.all(), index, entry);
}

KzResult CLogSubsystem::log_Clear() {
    CEntryList::Entries dropped;
    {
        const Locked lock(theLock);
        dropped = m_entries.takeAll();
        m_dropped = 0;
    }
    if (const auto store = m_store.lock()) store->tell(CLogStore::Event::cleared, m_name);
    return KZe_OK;
}

std::uint32_t CLogSubsystem::log_DroppedCount() {
    const Locked lock(theLock);
    return m_dropped;
}

CHostRef<CLogEntry> CLogStore::create(KzResult level, std::string text) {
    auto entry = CHostRef<CLogEntry>::make(weak_from_this(), level, std::move(text));
    const Locked lock(theLock);
    entry->m_id = m_nextId++;
    entry->m_time = now();
    return entry;
}

CHostRef<CLogSubsystem> CLogStore::subsystem(const std::string& name) {
    {
        const Locked lock(theLock);
        if (const auto place = m_subsystems.find(name); place != m_subsystems.end()) return place->second;
    }
    auto subsystem = CHostRef<CLogSubsystem>::make(weak_from_this(), name);
    {
        const Locked lock(theLock);
        const auto [place, isNew] = m_subsystems.try_emplace(name, subsystem);
        if (!isNew) return place->second;
        m_order.push_back(name);
    }
    if (m_subsystemSink) m_subsystemSink(Event::added, subsystem, 0);
    return subsystem;
}

void CLogStore::tell(Event event, const std::string& name, std::uint32_t dropped) {
    if (m_subsystemSink) m_subsystemSink(event, subsystem(name), dropped);
}

std::vector<CHostRef<CLogSubsystem>> CLogStore::subsystems() const {
    const Locked lock(theLock);
    std::vector<CHostRef<CLogSubsystem>> found;
    for (const std::string& name : m_order) found.push_back(m_subsystems.at(name));
    return found;
}

void CLogStore::write(const std::string& subsystemName, KzResult level, std::string text) {
    place(*subsystem(subsystemName), create(level, std::move(text)));
}

void CLogStore::place(CLogSubsystem& subsystem, const CHostRef<CLogEntry>& entry) {
    std::vector<LogLine> lines;
    CEntryList::Entries dropped;
    {
        const Locked lock(theLock);
        if (entry->m_isPlaced || entry->m_parent != 0) return;
        subsystem.m_entries.add(entry);
        subsystem.m_dropped += subsystem.m_entries.shorten(limits, dropped);
        settle(*entry, subsystem.m_name, nullptr, lines);
    }
    if (!dropped.empty()) tell(Event::full, subsystem.m_name, static_cast<std::uint32_t>(dropped.size()));
    announce(lines);
}

KzResult CLogStore::placeBelow(CLogEntry& parent, const CHostRef<CLogEntry>& child) {
    std::vector<LogLine> lines;
    CEntryList::Entries dropped;
    {
        const Locked lock(theLock);
        if (child->m_isPlaced || child->m_parent != 0) return KZe_ALREADYEXISTS;
        if (contains(*child, parent)) return KZe_INVALIDARG;  // an entry below itself
        parent.m_children.add(child);
        parent.m_children.shorten(limits, dropped);
        child->m_parent = parent.m_id;
        if (parent.m_isPlaced) settle(*child, parent.m_subsystem, &parent, lines);
    }
    announce(lines);
    return KZe_OK;
}

bool CLogStore::contains(const CLogEntry& tree, const CLogEntry& wanted) const {
    return &tree == &wanted || std::any_of(tree.m_children.all().begin(), tree.m_children.all().end(),
                                           [&](const auto& child) { return contains(*child, wanted); });
}

// An entry has found its place, and with it whatever was added below it before.
void CLogStore::settle(CLogEntry& entry, const std::string& subsystem, const CLogEntry* parent,
                       std::vector<LogLine>& lines) {
    entry.m_isPlaced = true;
    entry.m_subsystem = subsystem;
    entry.m_parent = parent != nullptr ? parent->m_id : 0;
    entry.m_depth = parent != nullptr ? parent->m_depth + 1 : 0;
    if (entry.m_origin == TextOrigin::script) entry.m_script = std::make_shared<const std::string>(entry.m_text);
    else if (parent != nullptr) entry.m_script = parent->m_script;
    lines.push_back(lineOf(entry));
    for (const auto& child : entry.m_children.all()) settle(*child, subsystem, &entry, lines);
}

LogLine CLogStore::lineOf(const CLogEntry& entry) {
    return {entry.m_subsystem, entry.m_id,    entry.m_parent, entry.m_level,
            entry.m_text,      entry.m_depth, entry.m_origin, entry.m_script ? *entry.m_script : std::string()};
}

void CLogStore::announce(const std::vector<LogLine>& lines) {
    // Called without the lock: a listener may well write to the log itself.
    std::shared_ptr<const Sinks> sinks;
    {
        const std::lock_guard lock(m_sinkLock);
        sinks = m_sinks;
    }
    for (const LogLine& line : lines)
        for (const LogSink& sink : *sinks) sink(line);
}

void CLogStore::giveUp(LogLine line) noexcept {
    try {
        announce({std::move(line)});
    } catch (const std::exception&) {
        return;  // an entry that nobody placed must not end the process on its way out
    }
}

void CLogStore::addSink(LogSink sink) {
    const std::lock_guard lock(m_sinkLock);
    auto longer = std::make_shared<Sinks>(*m_sinks);
    longer->push_back(std::move(sink));
    m_sinks = std::move(longer);
}

void CLogStore::collect(const CHostRef<CLogEntry>& entry, std::vector<LogLine>& lines) const {
    lines.push_back(lineOf(*entry));
    for (const auto& child : entry->m_children.all()) collect(child, lines);
}

std::vector<LogLine> CLogStore::lines(const std::string& subsystem) const {
    const Locked lock(theLock);
    std::vector<LogLine> rows;
    for (const std::string& name : m_order) {
        if (!subsystem.empty() && name != subsystem) continue;
        for (const auto& entry : m_subsystems.at(name)->m_entries.all()) collect(entry, rows);
    }
    return rows;
}

// What is looked for is nearly always among the last that came.
CHostRef<CLogEntry> CLogStore::findAmong(const std::deque<CHostRef<CLogEntry>>& entries, std::uint64_t id) {
    for (std::size_t left = entries.size(); left-- > 0;) {
        const auto& entry = entries[left];
        if (entry->m_id == id) return entry;
        if (auto below = findAmong(entry->m_children.all(), id)) return below;
    }
    return {};
}

CHostRef<CLogEntry> CLogStore::find(const std::string& subsystem, std::uint64_t id) const {
    const Locked lock(theLock);
    const auto place = m_subsystems.find(subsystem);
    return place != m_subsystems.end() ? findAmong(place->second->m_entries.all(), id) : CHostRef<CLogEntry>();
}

double CLogStore::now() const {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - m_start).count();
}

void CLogStore::clear() {
    decltype(m_subsystems) dropped;
    {
        const Locked lock(theLock);
        dropped.swap(m_subsystems);
        m_order.clear();
    }
}

void CLogStore::close() {
    clear();
    const std::lock_guard lock(m_sinkLock);
    m_sinks = std::make_shared<const Sinks>();
}

}  // namespace kzhost
