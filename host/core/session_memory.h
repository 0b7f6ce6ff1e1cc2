// What a host remembers from one session to the next: it takes the preferences into the parts that use them, and at the end
// takes from those parts what is to be kept.
#pragma once

#include "host/state/preference_file.h"

#include <memory>
#include <set>
#include <string>

namespace kzhost {

class CCommandState;
class CLogStore;
class CPersistence;
class CPropertyTable;
class CUserValues;
class CValueTypeRegistry;

// Of the user's preferences, what a session reads and writes.
enum class MemoryUse {
    none,
    script,  // reads all but the history, and writes only what is explicitly kept: user values and persistent entries
    interactive,  // reads and writes all
};

class CSessionMemory {
public:
    struct Parts {
        std::shared_ptr<CCommandState> commands;
        std::shared_ptr<CLogStore> log;
        std::shared_ptr<CPersistence> persistence;
        std::shared_ptr<CPreferences> preferences;
        std::shared_ptr<CPropertyTable> properties;
        std::shared_ptr<CUserValues> values;
        std::shared_ptr<CValueTypeRegistry> types;
    };
    explicit CSessionMemory(Parts parts) : m_parts(std::move(parts)) {}

    // Reads the file, whose path is empty for none. A problem goes to the log, and the session goes on without.
    void open(const std::string& path, MemoryUse use);
    // Asks the clients of persistent entries for what they keep, and writes all changes. While the modules are loaded.
    void close();

private:
    void takeValues();
    void keepValues();
    void keepAliases();

    Parts m_parts;
    CPreferenceFile m_file;
    MemoryUse m_use = MemoryUse::none;
    std::set<std::string> m_unread;  // values that this session cannot take in; they stay in the file
};

}  // namespace kzhost
