// The event log in memory: subsystems, entries and their children, and whoever hears of each line.
#pragma once

#include "host/core/object.h"
#include "host/state/text_board.h"

#include "kz/log.h"

#include <atomic>
#include <chrono>
#include <deque>
#include <functional>
#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace kzhost {

class CLogEntry;
class CLogStore;

// A line as it comes into the log.
struct LogLine {
    std::string subsystem;
    std::uint64_t entry = 0;
    std::uint64_t parent = 0;  // 0 for a subsystem's own entries
    KzResult level = 0;
    std::string text;
    unsigned depth = 0;
    TextOrigin origin = TextOrigin::host;
    std::string script;  // below whose heading it stands; empty outside of scripts
};
using LogSink = std::function<void(const LogLine&)>;

// How much a subsystem, and an entry below it, keeps; 0 stands for no limit.
struct LogLimits {
    std::atomic<std::uint32_t> entries = 0;
    std::atomic<std::size_t> bytes = 0;  // of text
};

// The entries of a subsystem or below an entry, the oldest first.
class CEntryList {
public:
    using Entries = std::deque<CHostRef<CLogEntry>>;
    const Entries& all() const;
    void add(const CHostRef<CLogEntry>& entry);
    // Takes out what is too much, but never the newest, and says how many. The caller frees it, without the log's lock.
    std::uint32_t shorten(const LogLimits& limits, Entries& dropped);
    Entries takeAll();

private:
    std::unique_ptr<Entries> m_entries;  // most entries have none
    std::size_t m_bytes = 0;
};

class CLogEntry final : public CHosted<"log entry", CLogEntry, CKzIfc_LogEntry> {
public:
    CLogEntry(std::weak_ptr<CLogStore> store, KzResult level, std::string text);
    ~CLogEntry() override;

    std::uint32_t logentry_Type() override { return m_level; }
    KzResult logentry_Desc(const char** text) override;
    KzResult logentry_Subsystem(const char** name) override;
    KzResult logentry_Time(double* seconds) override;
    KzResult logentry_AddEntry(IKzUnknown* child) override;
    std::uint32_t logentry_ChildCount() override;
    KzResult logentry_ChildByIndex(std::uint32_t index, IKzUnknown** child) override;
    KzResult logentry_Parent(IKzUnknown** parent) override;
    std::uint32_t logentry_InfoCount() override;
    KzResult logentry_InfoByIndex(std::uint32_t index, const char** name, const char** value) override;
    KzResult logentry_SetInfo(const char* name, const char* value) override;

private:
    friend class CLogStore;
    friend class CEntryList;

    std::weak_ptr<CLogStore> m_store;
    std::uint64_t m_id = 0;
    KzResult m_level;
    std::string m_text;
    double m_time = 0;
    TextOrigin m_origin = TextOrigin::host;
    // Where it stands. All of this is guarded by the log's lock.
    bool m_isPlaced = false;  // reached from a subsystem
    std::string m_subsystem;
    std::uint64_t m_parent = 0;
    unsigned m_depth = 0;
    std::shared_ptr<const std::string> m_script;
    CEntryList m_children;
    std::list<std::pair<std::string, std::string>> m_infos;  // a list: what was handed out stays where it is
};

class CLogSubsystem final : public CHosted<"log subsystem", CLogSubsystem, CKzIfc_Log> {
public:
    CLogSubsystem(std::weak_ptr<CLogStore> store, std::string name)
        : m_store(std::move(store)), m_name(std::move(name)) {}

    KzResult log_Name(const char** name) override;
    KzResult log_UserName(const char** name) override { return log_Name(name); }
    KzResult log_AddEntry(IKzUnknown* entry) override;
    std::uint32_t log_EntryCount() override;
    KzResult log_EntryByIndex(std::uint32_t index, IKzUnknown** entry) override;
    KzResult log_Clear() override;
    std::uint32_t log_DroppedCount() override;

    const std::string& name() const { return m_name; }

private:
    friend class CLogStore;

    std::weak_ptr<CLogStore> m_store;
    std::string m_name;
    CEntryList m_entries;
    std::uint32_t m_dropped = 0;
};

class CLogStore : public std::enable_shared_from_this<CLogStore> {
public:
    CHostRef<CLogEntry> create(KzResult level, std::string text);
    CHostRef<CLogSubsystem> subsystem(const std::string& name);
    std::vector<CHostRef<CLogSubsystem>> subsystems() const;

    // Creates an entry and places it in one step.
    void write(const std::string& subsystem, KzResult level, std::string text);

    void place(CLogSubsystem& subsystem, const CHostRef<CLogEntry>& entry);
    KzResult placeBelow(CLogEntry& parent, const CHostRef<CLogEntry>& child);
    // The entry with that number, of those that the subsystem keeps; empty when it is not there any more.
    CHostRef<CLogEntry> find(const std::string& subsystem, std::uint64_t id) const;

    // Hears of every line once it has a place, in order; also of one that never got a place, when it is given up.
    void addSink(LogSink sink);
    // Hears of subsystems that are new, that are cleared, or that have dropped so many of their oldest entries; and of entries
    // of the log that have got other information. Set before anything is logged.
    enum class Event { added, cleared, full };
    using SubsystemSink = std::function<void(Event, const CHostRef<CLogSubsystem>&, std::uint32_t dropped)>;
    using EntrySink = std::function<void(const CHostRef<CLogEntry>&)>;
    void setSinks(SubsystemSink ofSubsystems, EntrySink ofEntries) {
        m_subsystemSink = std::move(ofSubsystems);
        m_entrySink = std::move(ofEntries);
    }
    // Every line of a subsystem (or of all, with an empty name) as plain text, for tests and queries.
    std::vector<LogLine> lines(const std::string& subsystem = {}) const;

    LogLimits limits;

    double now() const;
    void giveUp(LogLine line) noexcept;
    // Forgets all subsystems with what was logged; whoever hears of new lines goes on hearing.
    void clear();
    // The host ends: nobody hears of anything any more.
    void close();

private:
    friend class CLogEntry;
    friend class CLogSubsystem;

    void tell(Event event, const std::string& name, std::uint32_t dropped = 0);

    using Sinks = std::vector<LogSink>;
    static LogLine lineOf(const CLogEntry& entry);
    static CHostRef<CLogEntry> findAmong(const std::deque<CHostRef<CLogEntry>>& entries, std::uint64_t id);
    void collect(const CHostRef<CLogEntry>& entry, std::vector<LogLine>& lines) const;
    void settle(CLogEntry& entry, const std::string& subsystem, const CLogEntry* parent, std::vector<LogLine>& lines);
    void announce(const std::vector<LogLine>& lines);
    bool contains(const CLogEntry& tree, const CLogEntry& wanted) const;

    std::map<std::string, CHostRef<CLogSubsystem>> m_subsystems;
    std::vector<std::string> m_order;
    std::uint64_t m_nextId = 1;
    SubsystemSink m_subsystemSink;
    EntrySink m_entrySink;
    std::mutex m_sinkLock;
    std::shared_ptr<const Sinks> m_sinks = std::make_shared<const Sinks>();
    std::chrono::steady_clock::time_point m_start = std::chrono::steady_clock::now();
};

}  // namespace kzhost
