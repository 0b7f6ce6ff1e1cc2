// Parts of the program that come with a package of their own, and may be missing.
#include "host/objects/program_part.h"

#include "host/core/reasons.h"
#include "host/state/path_aliases.h"

#include "kz/result.h"

#include <filesystem>

namespace kzhost {

std::string kzProgramPart(const CPathAliases& files, const ProgramPart& part, const char* place) {
    std::string path = files.expand("program:").value_or("") + "/lib/" + part.file;
    std::error_code error;
    if (std::filesystem::exists(path, error)) return path;
    throw kzBecause(KZe_NOTAVAILABLE, place, [&] {
        return path + " is missing: install the package " + part.package + " or, where this program is built, " +
               part.source + " and build again";
    });
}

}  // namespace kzhost
