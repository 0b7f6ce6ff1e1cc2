// Reading and writing the file of a user's preferences, which any number of processes share.
#pragma once

#include "host/state/preferences.h"

#include <string>

namespace kzhost {

class CPreferenceFile {
public:
    // An empty path reads and writes nothing.
    explicit CPreferenceFile(std::string path = {}) : m_path(std::move(path)) {}
    // That of the environment variable KZ_PREFERENCES, which is empty for none, or else the one in the user's folder of
    // settings; empty if there is no home.
    static std::string usualPath();

    const std::string& path() const { return m_path; }
    // A missing file is empty. A file that cannot be understood is moved aside, and `why` gets a full sentence that says
    // where it is now. One of a later version stays, and nothing will be written.
    PreferenceRecords read(std::string& why);
    // Applies the changes to what is in the file now. False, with a full sentence in `why`, if they could not be written,
    // in which case the file is as it was.
    bool write(const PreferenceChanges& changes, std::string& why);

private:
    PreferenceRecords readLocked(std::string& why);

    std::string m_path;
    bool m_isKept = false;  // as it is, because what is in it is not known
};

// Replaces any file by a complete new one and makes its folder if need be. False, with a full sentence in `why`, on failure,
// in which case the former file is as it was.
bool kzReplaceFile(const std::string& path, const std::string& text, std::string& why);
// Reads or replaces a whole file of that format which nobody shares. False, with a full sentence in `why`, on failure.
bool kzReadPreferences(const std::string& path, PreferenceRecords& all, std::string& why);
bool kzWritePreferences(const std::string& path, const PreferenceRecords& all, std::string& why);

}  // namespace kzhost
