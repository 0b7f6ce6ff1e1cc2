// What a user's sessions remember: records by kind and name, and the latest commands.
//
// As text, each record is a line of fields with tabs between them, of which the first two are its kind and its name. Control
// characters and backslashes in a field are written as a backslash and three octal digits. The first line names the format.
#pragma once

#include <cstddef>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace kzhost {

using PreferenceKey = std::pair<std::string, std::string>;  // kind and name
using PreferenceFields = std::vector<std::string>;

struct PreferenceRecords {
    std::map<PreferenceKey, PreferenceFields> records;
    std::vector<std::string> history;  // oldest first
};

// What a text is that cannot be read.
struct PreferenceProblem {
    std::string text;
    bool isNewer = false;  // written by a later version, so it is in order
};

std::string kzFormatPreferences(const PreferenceRecords& all);
std::optional<PreferenceRecords> kzParsePreferences(std::string_view text, PreferenceProblem& problem);

// What has changed since the records were read. Applied to what other processes have written in the meantime, it keeps
// their changes.
struct PreferenceChanges {
    std::map<PreferenceKey, std::optional<PreferenceFields>> records;  // nothing for one that was removed
    std::vector<std::string> history;

    bool isEmpty() const { return records.empty() && history.empty(); }
    void applyTo(PreferenceRecords& all) const;
};

class CPreferences {
public:
    // Replaces all by what was read.
    void load(PreferenceRecords all);

    std::optional<PreferenceFields> get(const std::string& kind, const std::string& name) const;
    // The names of a kind that begin with the prefix, in their order.
    std::vector<std::string> names(const std::string& kind, const std::string& prefix = {}) const;
    std::vector<std::string> history() const;

    void set(const std::string& kind, const std::string& name, PreferenceFields fields);
    bool remove(const std::string& kind, const std::string& name);
    void remember(std::string line);

    // Whether a record of the kind whose name begins with the prefix has changed.
    bool isChanged(const std::string& kind, const std::string& prefix) const;
    PreferenceChanges changes() const;
    // They have been written.
    void settle();

private:
    mutable std::mutex m_lock;
    PreferenceRecords m_all;
    PreferenceChanges m_changes;
};

}  // namespace kzhost
