// Filters of images: the host's own ones and those of modules.
#pragma once

#include "host/objects/image.h"

#include <string>
#include <vector>

namespace kzhost {

class CLogStore;
class CModuleTable;

struct FilterSettings {
    double amount = 1;  // the opacity of the filtered image over the original
    double radius = 4;  // pixels
    double threshold = 1;
    bool isClamped = false;
    IKzUnknown* attributes = nullptr;  // what filters of modules get of these
};

// Those of the host first.
std::vector<std::string> kzFilterNames(const CModuleTable& modules);

// A filtered copy, in the format of the source. A filter that fails is left out, and the log says why. Throws NOTFOUND for
// a filter that there is not.
CHostRef<CImage> kzFilterImage(const CModuleTable& modules, CLogStore& log, IKzUnknown* source,
                               const std::string& filter, const FilterSettings& settings);

}  // namespace kzhost
