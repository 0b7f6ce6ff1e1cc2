// Files that a scene names and that have moved since it was saved.
#pragma once

#include "host/document/document.h"

#include <memory>
#include <string>
#include <vector>

namespace kzhost {

class CModuleTable;
class CPathAliases;
struct RedirectRules;

struct MovedFiles {
    std::shared_ptr<CModuleTable> modules;
    std::shared_ptr<CPathAliases> files;
    std::shared_ptr<RedirectRules> rules;
    std::string scene;  // the path of its file
};

// A channel that names a file, by the identifier of its item.
struct FileChannel {
    std::string ident, channel, path;
};
// All of a document that name one. The lock must be held.
std::vector<FileChannel> kzFileChannels(const CDocument& document);

// Finds the missing files of a document by the rules, or else by the servers of modules that know, and has its channels name
// them where they are. For files outside the folder of its project, servers may say which folder they belong to; that of a
// scene in a folder "Scenes" is the one around it, and otherwise the scene's own. It belongs to the making of a new document; of an import, it is an edit. The notes say what was found
// and what was not. The caller must not hold the lock.
void kzFollowMovedFiles(CDocument& document, bool isImport, const MovedFiles& by, std::vector<std::string>& notes);

}  // namespace kzhost
