// Parts of the program that come with a package of their own, and may be missing.
#pragma once

#include <string>

namespace kzhost {

class CPathAliases;

struct ProgramPart {
    const char* file;     // its name in the program's folder of libraries
    const char* package;  // that brings it
    const char* source;   // the package that a build needs for it
};

// The path of a part. Throws NOTAVAILABLE if it is missing, and the log says, for `place`, what to install.
std::string kzProgramPart(const CPathAliases& files, const ProgramPart& part, const char* place);

}  // namespace kzhost
