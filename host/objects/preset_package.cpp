// Several presets in one file.
#include "host/objects/preset_package.h"

#include "host/core/reasons.h"
#include "host/state/function_ref.h"
#include "host/state/preference_file.h"

#include "kz/result.h"

#include <filesystem>
#include <fstream>
#include <iterator>

namespace kzhost {

namespace fs = std::filesystem;

namespace {

constexpr const char* packageKind = "package";
constexpr const char* fileKind = "file";
constexpr const char* nameKey = "name";

}  // namespace

bool kzIsPackage(const std::string& path) {
    PreferenceRecords all;
    std::string why;
    return kzReadPreferences(path, all, why) && all.records.contains({packageKind, nameKey});
}

PresetPackage kzReadPackage(const std::string& path) {
    PreferenceRecords all;
    std::string why;
    if (!kzReadPreferences(path, all, why)) throw kzBecause(KZe_FAILED, "PresetPackage", [&] { return why; });
    const auto name = all.records.find({packageKind, nameKey});
    if (name == all.records.end())
        throw kzBecause(KZe_FAILED, "PresetPackage", [&] { return path + " is no package of presets"; });
    PresetPackage package{name->second.empty() ? std::string() : name->second.front(), {}};
    for (const auto& [key, fields] : all.records) {
        if (key.first != fileKind || fields.size() != 1) continue;
        // A package from elsewhere must not write outside of the folder.
        if (fs::path(key.second).filename() != key.second || key.second == "." || key.second == "..")
            throw kzBecause(KZe_FAILED, "PresetPackage",
                            [&name = key.second] { return "\"" + name + "\" in the package is no name of a file"; });
        package.presets[key.second] = fields.front();
    }
    return package;
}

void kzAddToPackage(PresetPackage& package, const std::string& preset) {
    std::ifstream stream(preset, std::ios::binary);
    std::string bytes{std::istreambuf_iterator<char>(stream), {}};
    if (!stream) throw kzBecause(KZe_NOTFOUND, "PresetPackage", [&] { return preset + " cannot be read"; });
    package.presets[fs::path(preset).filename().string()] = std::move(bytes);
}

void kzWritePackage(const std::string& path, const PresetPackage& package) {
    PreferenceRecords all;
    all.records[{packageKind, nameKey}] = {package.userName};
    for (const auto& [name, bytes] : package.presets) all.records[{fileKind, name}] = {bytes};
    std::string why;
    if (!kzWritePreferences(path, all, why)) throw kzBecause(KZe_NOACCESS, "PresetPackage", [&] { return why; });
}

KzResult kzInstallPackage(const PresetPackage& package, const std::string& folder, CFunctionRef<bool()> isStopped) {
    for (const auto& [name, bytes] : package.presets) {
        std::string why;
        if (isStopped()) return KZe_ABORT;
        if (!kzReplaceFile((fs::path(folder) / name).string(), bytes, why))
            throw kzBecause(KZe_NOACCESS, "PresetPackage", [&] { return why; });
    }
    return KZe_OK;
}

}  // namespace kzhost
