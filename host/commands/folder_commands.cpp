// Commands for folders and files, on disk and in the trees that modules serve.
#include "host/commands/folder_commands.h"

#include "host/commands/builtin_command.h"
#include "host/objects/dir_cache.h"
#include "host/objects/synthetic_folders.h"
#include "host/state/path_aliases.h"
#include "host/state/text.h"

#include "kz/dir_cache.h"
#include "kz/result.h"
#include "kz/value.h"

#include <fmt/format.h>

#include <filesystem>
#include <string>
#include <string_view>

namespace kzhost {

namespace {

constexpr std::uint32_t folderAnswer = kzOptional | kzQueryable | KZfCMDARG_READONLY;
constexpr KzTextValueHint folderKinds[] = {
    {KZvDCELIST_FILES, "files"}, {KZvDCELIST_DIRS, "folders"}, {KZvDCELIST_BOTH, "both"}, {0, nullptr}};
constexpr ArgumentRow folderListArguments[] = {
    {"folder", KZsTYPE_FILEPATH, 0, "a folder, on disk or in a tree that a module serves"},
    {"kind", KZsTYPE_CHOICE, kzOptional, "files, folders or, without it, both", folderKinds},
    {"hidden", KZsTYPE_BOOLEAN, kzOptional, "also what begins with a dot"},
    {"name", KZsTYPE_STRING, folderAnswer, "the names of its entries, in their order"},
    {"path", KZsTYPE_STRING, folderAnswer, "the same as paths"},
    {"userName", KZsTYPE_STRING, folderAnswer, "the names that browsers show"},
    {"size", KZsTYPE_FLOAT, folderAnswer, "bytes; -1 for folders, and where nobody knows"},
    {"time", KZsTYPE_FLOAT, folderAnswer, "when they were changed, in seconds since 1970"},
    {"class", KZsTYPE_STRING, folderAnswer, "the classes of the files, as loaders name them"},
    {"state", KZsTYPE_STRING, folderAnswer, "the names with what they are behind them: folder, synthetic"},
};
constexpr ArgumentRow fileRenameArguments[] = {
    {"file", KZsTYPE_FILEPATH, 0, "a file or folder on disk"},
    {"name", KZsTYPE_STRING, 0, "its new name, without a path"},
};
constexpr ArgumentRow fileFetchArguments[] = {
    {"file", KZsTYPE_FILEPATH, 0, "a file, on disk or in a tree that a module serves"},
    {"local", KZsTYPE_STRING, folderAnswer, "where it can be read; a tree fetches its files for that"},
};

std::string placeArgument(CPathAliases& files, CBuiltinCommand& command, const char* argument) {
    return CDirCache::normal(files.place(command.text(argument).c_str()));
}

// The class of a folder is empty, as is that of a file of which nobody knows what it is.
std::string entryText(CDirCache& cache, const std::string& path, std::string_view what) {
    std::string name = std::filesystem::path(path).filename().string();
    if (what == "name") return name;
    if (what == "path") return path;
    const CDirCache::Row row = cache.row(path);
    if (what == "size") return fmt::format("{}", row.isDirectory ? -1.0 : row.bytes);
    if (what == "time") return fmt::format("{}", row.modified);
    if (what == "class") return row.isDirectory ? std::string() : cache.fileClass(path);
    if (what == "state") return name + ":" + (row.isDirectory ? " folder" : "") + (row.isServed ? " synthetic" : "");
    if (row.isServed) return row.userName;
    return row.isDirectory ? name : std::filesystem::path(path).stem().string();
}

Texts queryFolder(CDirCache& cache, CPathAliases& files, CBuiltinCommand& command, std::uint32_t index) {
    const std::string folder = placeArgument(files, command, "folder");
    cache.scan(folder, KZfDCSCAN_FORCE | (command.flag("hidden") ? KZfDCSCAN_HIDDEN : 0));
    const std::int32_t kind = command.integer("kind").value_or(KZvDCELIST_BOTH);
    Texts texts;
    for (const std::string& path : cache.children(folder, static_cast<std::uint32_t>(kind)))
        texts.push_back(entryText(cache, path, folderListArguments[index].name));
    return texts;
}

void renameFile(CDirCache& cache, CPathAliases& files, CBuiltinCommand& command) {
    cache.rename(placeArgument(files, command, "file"), command.text("name"));
}

Texts queryLocalFile(CModuleTable& modules, CPathAliases& files, CBuiltinCommand& command, std::uint32_t /*index*/) {
    const std::string path = placeArgument(files, command, "file"), local = kzLocalFile(modules, path);
    std::error_code error;
    if (!std::filesystem::exists(local, error))
        kzRefuse(KZe_NOTFOUND, fmt::format("there is no file \"{}\", on disk or in a tree", path));
    return {local};
}

}  // namespace

void kzAddFolderCommands(CCommandRegistry& registry, const std::shared_ptr<CModuleTable>& modules,
                         const std::shared_ptr<CDirCache>& cache, const std::shared_ptr<CPathAliases>& files) {
    kzAddCommands(registry,
                  {
                      {"folder.list", "List Folder", "tells what is in a folder, on disk or served by a module",
                       KZfCMD_UI, folderListArguments, kzOnlyQueried, kzWith(queryFolder, cache, files)},
                      {"file.rename", "Rename File", "renames a file or folder on disk, and what is kept of it", 0,
                       fileRenameArguments, kzWith(renameFile, cache, files)},
                      {"file.fetch", "Fetch File", "tells where a file can be read, for which a tree fetches it",
                       KZfCMD_UI, fileFetchArguments, kzOnlyQueried, kzWith(queryLocalFile, modules, files)},
                  });
}

}  // namespace kzhost
