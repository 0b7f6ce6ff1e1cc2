// What a user's sessions remember.
#include "host/state/preferences.h"

#include <algorithm>

namespace kzhost {

namespace {

constexpr std::string_view formatName = "kzhost preferences ";
constexpr std::string_view formatVersion = "1";
constexpr std::string_view historyKind = "history";
constexpr std::size_t mostHistory = 1000;

void appendField(std::string& text, std::string_view field) {
    for (const char c : field) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte >= ' ' && byte != '\\' && byte != 127) {
            text += c;
            continue;
        }
        const char digits[] = {'\\', static_cast<char>('0' + (byte >> 6U)),
                               static_cast<char>('0' + ((byte >> 3U) & 7U)), static_cast<char>('0' + (byte & 7U))};
        text.append(digits, sizeof digits);
    }
}

// Nothing for a backslash without its digits.
std::optional<std::string> fieldOf(std::string_view text) {
    std::string field;
    for (std::size_t at = 0; at < text.size(); ++at) {
        if (text[at] != '\\') {
            field += text[at];
            continue;
        }
        const std::string_view digits = text.substr(at + 1, 3);
        if (digits.size() != 3 || digits.find_first_not_of("01234567") != std::string_view::npos || digits[0] > '3')
            return {};
        field += static_cast<char>((digits[0] - '0') * 64 + (digits[1] - '0') * 8 + (digits[2] - '0'));
        at += 3;
    }
    return field;
}

std::optional<PreferenceFields> fieldsOf(std::string_view line) {
    PreferenceFields fields;
    for (std::size_t at = 0; at <= line.size();) {
        const std::size_t end = std::min(line.find('\t', at), line.size());
        auto field = fieldOf(line.substr(at, end - at));
        if (!field) return {};
        fields.push_back(std::move(*field));
        at = end + 1;
    }
    return fields;
}

void appendLine(std::string& text, const PreferenceKey& key, const PreferenceFields& fields) {
    appendField(text, key.first);
    appendField(text += '\t', key.second);
    for (const std::string& field : fields) appendField(text += '\t', field);
    text += '\n';
}

// The rest of the first line behind the name of the format; empty for a text of another format.
std::string_view versionOf(std::string_view text) {
    const std::string_view first = text.substr(0, text.find('\n'));
    return first.starts_with(formatName) ? first.substr(formatName.size()) : std::string_view();
}

}  // namespace

std::string kzFormatPreferences(const PreferenceRecords& all) {
    std::string text = std::string(formatName).append(formatVersion) + '\n';
    for (const auto& [key, fields] : all.records) appendLine(text, key, fields);
    for (const std::string& line : all.history) appendLine(text, {std::string(historyKind), line}, {});
    return text;
}

std::optional<PreferenceRecords> kzParsePreferences(std::string_view text, PreferenceProblem& problem) {
    const std::string_view version = versionOf(text);
    const auto refuse = [&](std::string reason) -> std::optional<PreferenceRecords> {
        problem.text = std::move(reason);
        return {};
    };
    if (version != formatVersion) {
        problem.isNewer = !version.empty() && version.find_first_not_of("0123456789") == std::string_view::npos;
        return refuse(problem.isNewer ? "it was written by a later version of kzhost"
                                      : "line 1 should be \"kzhost preferences 1\"");
    }
    if (!text.ends_with('\n')) return refuse("its last line is incomplete");
    PreferenceRecords all;
    int number = 1;
    for (std::size_t at = text.find('\n') + 1; at < text.size(); ++number) {
        const std::size_t end = text.find('\n', at);
        auto fields = fieldsOf(text.substr(at, end - at));
        if (!fields || fields->size() < 2 || fields->front().empty())
            return refuse("line " + std::to_string(number + 1) +
                          " should be a kind and a name with a tab between them");
        PreferenceKey key{std::move((*fields)[0]), std::move((*fields)[1])};
        fields->erase(fields->begin(), fields->begin() + 2);
        if (key.first == historyKind) all.history.push_back(std::move(key.second));
        else all.records.insert_or_assign(std::move(key), std::move(*fields));
        at = end + 1;
    }
    return all;
}

void PreferenceChanges::applyTo(PreferenceRecords& all) const {
    for (const auto& [key, fields] : records) {
        if (fields) all.records.insert_or_assign(key, *fields);
        else all.records.erase(key);
    }
    all.history.insert(all.history.end(), history.begin(), history.end());
    if (all.history.size() > mostHistory)
        all.history.erase(all.history.begin(), all.history.end() - static_cast<std::ptrdiff_t>(mostHistory));
}

void CPreferences::load(PreferenceRecords all) {
    const std::lock_guard lock(m_lock);
    m_all = std::move(all);
    m_changes = {};
}

std::optional<PreferenceFields> CPreferences::get(const std::string& kind, const std::string& name) const {
    const std::lock_guard lock(m_lock);
    const auto entry = m_all.records.find({kind, name});
    return entry != m_all.records.end() ? std::optional(entry->second) : std::nullopt;
}

std::vector<std::string> CPreferences::names(const std::string& kind, const std::string& prefix) const {
    const std::lock_guard lock(m_lock);
    std::vector<std::string> all;
    for (auto entry = m_all.records.lower_bound({kind, prefix});
         entry != m_all.records.end() && entry->first.first == kind && entry->first.second.starts_with(prefix); ++entry)
        all.push_back(entry->first.second);
    return all;
}

std::vector<std::string> CPreferences::history() const {
    const std::lock_guard lock(m_lock);
    return m_all.history;
}

void CPreferences::set(const std::string& kind, const std::string& name, PreferenceFields fields) {
    const std::lock_guard lock(m_lock);
    const auto [entry, isNew] = m_all.records.try_emplace({kind, name}, fields);
    if (!isNew && entry->second == fields) return;
    entry->second = fields;
    m_changes.records[{kind, name}] = std::move(fields);
}

bool CPreferences::remove(const std::string& kind, const std::string& name) {
    const std::lock_guard lock(m_lock);
    if (m_all.records.erase({kind, name}) == 0) return false;
    m_changes.records[{kind, name}] = std::nullopt;
    return true;
}

void CPreferences::remember(std::string line) {
    const std::lock_guard lock(m_lock);
    m_changes.history.push_back(std::move(line));
}

bool CPreferences::isChanged(const std::string& kind, const std::string& prefix) const {
    const std::lock_guard lock(m_lock);
    const auto entry = m_changes.records.lower_bound({kind, prefix});
    return entry != m_changes.records.end() && entry->first.first == kind && entry->first.second.starts_with(prefix);
}

PreferenceChanges CPreferences::changes() const {
    const std::lock_guard lock(m_lock);
    return m_changes;
}

void CPreferences::settle() {
    const std::lock_guard lock(m_lock);
    m_changes = {};
}

}  // namespace kzhost
