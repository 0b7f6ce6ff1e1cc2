// The lines that were typed, kept from one console to the next.
//
// A line of the file is an entry, in which line feeds and other control characters are written as a backslash and three
// octal digits, and a backslash as two. A first line that names a format is no entry.
#include "host/cli/history_file.h"

#include "host/state/file_lock.h"

#include <fmt/format.h>

#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <system_error>
#include <unistd.h>

namespace kzhost {

namespace {

namespace fs = std::filesystem;

constexpr std::string_view formatLine = "_HiStOrY_";

std::string encoded(const std::string& line) {
    std::string text;
    for (const char c : line) {
        if (c == '\\') text += "\\\\";
        else if (static_cast<unsigned char>(c) < ' ') text += fmt::format("\\{:03o}", static_cast<unsigned>(c));
        else text += c;
    }
    return text + '\n';
}

std::string decoded(const std::string& text) {
    std::string line;
    for (std::size_t at = 0; at < text.size(); ++at) {
        const std::string digits = text[at] == '\\' ? text.substr(at + 1, 3) : std::string();
        if (digits.size() == 3 && digits.find_first_not_of("01234567") == std::string::npos) {
            line += static_cast<char>(std::stoi(digits, nullptr, 8));
            at += 3;
        } else {
            if (text.compare(at, 2, "\\\\") == 0) ++at;
            line += text[at];
        }
    }
    return line;
}

// The former file stays whole until the new one is.
void replace(const std::string& path, const std::vector<std::string>& lines) {
    const std::string fresh = path + ".new";
    std::ofstream stream(fresh, std::ios::trunc | std::ios::binary);
    std::error_code error;
    fs::permissions(fresh, fs::perms::owner_read | fs::perms::owner_write, error);
    for (const std::string& line : lines) stream << encoded(line);
    stream.close();
    if (stream) fs::rename(fresh, path, error);
    else fs::remove(fresh, error);
}

}  // namespace

std::string CHistoryFile::usualPath() {
    const char* const state = std::getenv("XDG_STATE_HOME");
    const char* const home = std::getenv("HOME");
    std::string folder;
    if (state != nullptr && *state != '\0') folder = std::string(state) + "/kzhost";
    else if (home != nullptr && *home != '\0') folder = std::string(home) + "/.local/state/kzhost";
    std::error_code error;
    if (folder.empty() || (fs::create_directories(folder, error), error)) return {};
    return folder + "/history";
}

std::vector<std::string> CHistoryFile::read(std::size_t most) const {
    std::vector<std::string> lines;
    if (m_path.empty()) return lines;
    const CFileLock lock(m_path);
    std::ifstream stream(m_path, std::ios::binary);
    for (std::string line; std::getline(stream, line);)
        if (!line.empty() && !(lines.empty() && line.starts_with(formatLine))) lines.push_back(decoded(line));
    const std::size_t extra = lines.size() - std::min(lines.size(), most);
    lines.erase(lines.begin(), lines.begin() + static_cast<std::ptrdiff_t>(extra));
    if (extra > most) replace(m_path, lines);
    return lines;
}

// In one piece at the end, wherever other consoles have moved that to.
void CHistoryFile::append(const std::string& line) const {
    if (m_path.empty()) return;
    const CFileLock lock(m_path);
    const int file = open(m_path.c_str(), O_CREAT | O_WRONLY | O_APPEND | O_CLOEXEC, 0600);
    if (file < 0) return;
    const std::string text = encoded(line);
    [[maybe_unused]] const ssize_t written = write(file, text.data(), text.size());  // a history is worth no failure
    close(file);
}

}  // namespace kzhost
