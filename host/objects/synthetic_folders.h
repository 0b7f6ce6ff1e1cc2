// Folders and files that are not on disk: trees of entries that modules serve, each below a base path that its server names
// by a tag. What is on disk comes first, so a tree can only add to a folder that exists.
//
// Servers are made for each question, and asked without any lock. What one of them answers is not trusted: an entry has to
// be where it says, and names, numbers and counts have to make sense. Otherwise the log says what is wrong, and who said it.
#pragma once

#include "kz/base/types.h"
#include "kz/base/unknown.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace kzhost {

class CModuleTable;

struct SyntheticEntry {
    std::string path;       // as the host names it, from the base path on
    std::string userName;   // as browsers show it
    std::string extension;  // without the dot
    bool isFile = false;
    double modified = 0;  // seconds since 1970; 0 if the server does not say
    double bytes = -1;    // negative if the server does not say
};

// All of these throw a code when a server fails. Paths are absolute, without "." and "..", and without a slash at their ends.

// Nothing if no tree has that entry.
std::optional<SyntheticEntry> kzSyntheticEntry(const CModuleTable& modules, const std::string& path);
// Of a folder, in all trees that have it, in no order.
std::vector<SyntheticEntry> kzSyntheticChildren(const CModuleTable& modules, const std::string& path);
// The names of the trees that are shown in a folder, whether or not that exists.
std::vector<std::string> kzSyntheticRoots(const CModuleTable& modules, const std::string& folder);
// Fills in what the entry knows of itself.
void kzSyntheticMetrics(const CModuleTable& modules, const std::string& path, IKzUnknown* metrics);
// NOTFOUND without one. A picture that is too large is made smaller.
KzResult kzSyntheticThumbnail(const CModuleTable& modules, const std::string& path, std::int32_t width,
                              std::int32_t height, IKzUnknown** image);
// The file to load for a path: itself if it is on disk, or what a tree fetches for it. The path itself if nobody knows it.
std::string kzLocalFile(const CModuleTable& modules, const std::string& path);

}  // namespace kzhost
