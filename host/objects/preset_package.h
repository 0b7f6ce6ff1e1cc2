// Several presets in one file. It has the form of the preferences: a record for the package, and one for each file with its
// name and its bytes.
#pragma once

#include "host/state/function_ref.h"

#include "kz/base/types.h"

#include <map>
#include <string>

namespace kzhost {

struct PresetPackage {
    std::string userName;
    std::map<std::string, std::string> presets;  // the bytes of each by its file's name
};

bool kzIsPackage(const std::string& path);
// These throw a code, with a reason: NOTFOUND for a missing preset, FAILED for a file that is no package, NOACCESS for what
// cannot be written.
PresetPackage kzReadPackage(const std::string& path);
void kzAddToPackage(PresetPackage& package, const std::string& preset);
void kzWritePackage(const std::string& path, const PresetPackage& package);
// Makes the folder if need be. ABORT once `isStopped`, which is asked for each preset.
KzResult kzInstallPackage(const PresetPackage& package, const std::string& folder, CFunctionRef<bool()> isStopped);

}  // namespace kzhost
