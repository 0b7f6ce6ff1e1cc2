// Reading and writing the file of a user's preferences. Whoever writes holds a lock, reads the file again, applies its own
// changes to what others have written, and renames a complete new file over the former one.
#include "host/state/preference_file.h"

#include "host/state/descriptor.h"
#include "host/state/file_lock.h"
#include "host/state/version.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <optional>

namespace kzhost {

namespace fs = std::filesystem;

namespace {

// Nothing, with errno set, if the file cannot be read.
std::optional<std::string> textOf(const std::string& path) {
    const CDescriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (file.get() < 0) return {};
    std::string text;
    char buffer[65536];
    for (;;) {
        const ssize_t count = ::read(file.get(), buffer, sizeof buffer);
        if (count == 0) return text;
        if (count > 0) text.append(buffer, static_cast<std::size_t>(count));
        else if (errno != EINTR) return {};
    }
}

bool writeAll(int file, std::string_view text) {
    while (!text.empty()) {
        const ssize_t count = ::write(file, text.data(), text.size());
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) return false;
        text.remove_prefix(static_cast<std::size_t>(count));
    }
    return fsync(file) == 0;
}

std::string reasonOfErrno() { return std::strerror(errno); }

// A free name beside the file.
std::string asideOf(const std::string& path) {
    std::error_code error;
    for (int number = 1;; ++number) {
        std::string aside = path + ".unreadable-" + std::to_string(number);
        if (!fs::exists(fs::symlink_status(aside, error))) return aside;
    }
}

}  // namespace

bool kzReplaceFile(const std::string& path, const std::string& text, std::string& why) {
    std::error_code error;
    const fs::path folder = fs::absolute(path, error).parent_path();
    fs::create_directories(folder, error);
    const fs::path linked = fs::weakly_canonical(path, error);  // resolves links, so that a link stays one
    const std::string target = error ? path : linked.string();
    std::string fresh = target + ".XXXXXX";
    const CDescriptor file(mkostemp(fresh.data(), O_CLOEXEC));
    const bool isWritten =
        file.get() >= 0 && writeAll(file.get(), text) && std::rename(fresh.c_str(), target.c_str()) == 0;
    if (!isWritten) {
        why = path + " cannot be written: " + reasonOfErrno();
        if (file.get() >= 0) unlink(fresh.c_str());
        return false;
    }
    const CDescriptor parent(open(fs::path(target).parent_path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (parent.get() >= 0) fsync(parent.get());  // or the new name may be lost with the power
    return true;
}

std::string CPreferenceFile::usualPath() {
    if (const char* path = std::getenv("KZ_PREFERENCES"); path != nullptr) return path;
    const std::string folder = kzConfigFolder();
    return folder.empty() ? folder : folder + "/preferences";
}

PreferenceRecords CPreferenceFile::read(std::string& why) {
    std::error_code error;
    if (m_path.empty() || !fs::exists(m_path, error)) return {};
    const CFileLock lock(m_path);
    return readLocked(why);
}

PreferenceRecords CPreferenceFile::readLocked(std::string& why) {
    const auto text = textOf(m_path);
    if (!text) {
        if (errno == ENOENT || errno == ENOTDIR) return {};
        m_isKept = true;  // whatever is in it, it must not be replaced
        why = "the preferences in " + m_path + " cannot be read and stay as they are: " + reasonOfErrno();
        return {};
    }
    PreferenceProblem problem;
    if (auto all = kzParsePreferences(*text, problem)) return std::move(*all);
    m_isKept = problem.isNewer;
    if (m_isKept) {
        why = "the preferences in " + m_path + " are neither read nor written: " + problem.text;
        return {};
    }
    const std::string aside = asideOf(m_path);
    m_isKept = std::rename(m_path.c_str(), aside.c_str()) != 0;
    why = "the preferences in " + m_path + " cannot be understood (" + problem.text + "); " +
          (m_isKept ? "they stay as they are" : "they are in " + aside + " now");
    return {};
}

bool CPreferenceFile::write(const PreferenceChanges& changes, std::string& why) {
    if (m_path.empty() || m_isKept || changes.isEmpty()) return true;
    std::error_code error;
    fs::create_directories(fs::absolute(m_path, error).parent_path(), error);
    const CFileLock lock(m_path);
    PreferenceRecords all = readLocked(why);
    if (m_isKept) return false;
    changes.applyTo(all);
    return kzReplaceFile(m_path, kzFormatPreferences(all), why);
}

bool kzReadPreferences(const std::string& path, PreferenceRecords& all, std::string& why) {
    PreferenceProblem problem;
    const auto text = textOf(path);
    if (!text) return why = path + " cannot be read: " + reasonOfErrno(), false;
    auto read = kzParsePreferences(*text, problem);
    if (!read) return why = path + " cannot be understood: " + problem.text, false;
    all = std::move(*read);
    return true;
}

bool kzWritePreferences(const std::string& path, const PreferenceRecords& all, std::string& why) {
    return kzReplaceFile(path, kzFormatPreferences(all), why);
}

}  // namespace kzhost
