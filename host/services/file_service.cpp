// The file service: aliases, named places, and simple operations on files.
#include "host/services/file_service.h"

#include "host/core/object.h"
#include "host/core/reasons.h"
#include "host/core/service_base.h"
#include "host/core/values.h"
#include "host/state/path_aliases.h"
#include "host/state/text.h"
#include "host/state/version.h"

#include "kz/file.h"
#include "kz/result.h"

#include <fmt/format.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace kzhost {

namespace fs = std::filesystem;

namespace {

KzResult codeOf(const std::error_code& error) {
    if (!error) return KZe_OK;
    if (error == std::errc::no_such_file_or_directory) return KZe_NOTFOUND;
    if (error == std::errc::permission_denied) return KZe_NOACCESS;
    return error == std::errc::file_exists ? KZe_ALREADYEXISTS : KZe_FAILED;
}

std::string environmentOr(const char* name, const char* fallback) {
    const std::string value = kzEnvironment(name);
    return value.empty() ? fallback : value;
}

// The path of a named place; empty for an unknown name.
std::string placeOf(std::string_view name) {
    if (name == KZs_FILE_EXENAME) return CPathAliases::programPath();
    if (name == KZs_FILE_PROGRAM) return fs::path(CPathAliases::programPath()).parent_path().string();
    if (name == KZs_FILE_TEMP) return environmentOr("TMPDIR", "/tmp");
    if (name == KZs_FILE_USER || name == "documents") return environmentOr("HOME", "/");
    return {};
}

std::uint32_t flagsOf(const std::string& path) {
    std::uint32_t flags = KZfFILE_EXISTS;
    std::error_code error;
    if (fs::is_directory(path, error)) flags |= KZfFILE_FOLDER;
    if (access(path.c_str(), R_OK) == 0) flags |= KZfFILE_READABLE;
    if (access(path.c_str(), W_OK) == 0) flags |= KZfFILE_WRITABLE;
    if (fs::is_symlink(path, error)) flags |= KZfFILE_LINK;
    if (fs::path(path).filename().string().starts_with('.')) flags |= KZfFILE_HIDDEN;
    return flags;
}

class CFileService final : public CHosted<"file service", CFileService, CKzIfc_FileService>, CServiceBase {
public:
    CFileService(std::shared_ptr<ServiceContext> context, std::shared_ptr<CPathAliases> files)
        : CServiceBase(std::move(context)), m_files(std::move(files)) {}

    KzResult fileservice_ToLocalAlias(const char* path, char* buffer, std::uint32_t length) override {
        enter("File.ToLocalAlias");
        const auto local = m_files->resolve(kzTextOf(path));
        return local ? kzFillText(*local, buffer, length) : KZe_NOTFOUND;
    }
    KzResult fileservice_ToHostAlias(const char* path, char* buffer, std::uint32_t length) override {
        enter("File.ToHostAlias");
        return kzFillText(m_files->shorten(kzTextOf(path)), buffer, length);
    }
    KzResult fileservice_ToPlatform(const char* path, char* buffer, std::uint32_t length) override {
        enter("File.ToPlatform");
        const auto local = m_files->expand(kzTextOf(path));
        return local ? kzFillText(*local, buffer, length) : KZe_NOTFOUND;
    }
    KzResult fileservice_ToPortable(const char* path, char* buffer, std::uint32_t length) override;
    KzResult fileservice_FileSystemPath(const char* name, const char** path) override;
    KzResult fileservice_AliasCount(std::uint32_t* count) override {
        enter("File.AliasCount");
        *count = static_cast<std::uint32_t>(m_files->aliases().size());
        return KZe_OK;
    }
    KzResult fileservice_AliasByIndex(std::uint32_t index, const char** name, const char** path) override;
    KzResult fileservice_AliasSet(const char* name, const char* path) override;
    KzResult fileservice_TestFile(const char* path, std::uint32_t* flags) override {
        enter("File.TestFile");
        *flags = flagsOf(existing(path));
        return KZe_OK;
    }
    KzResult fileservice_MakeFolder(const char* path) override {
        enter("File.MakeFolder");
        std::error_code error;
        fs::create_directories(m_files->place(path), error);
        return codeOf(error);
    }
    KzResult fileservice_RemoveFile(const char* path) override;
    KzResult fileservice_UniqueName(const char* path, const char* extension, char* buffer,
                                    std::uint32_t length) override;
    KzResult fileservice_TempName(const char* prefix, const char* extension, char* buffer,
                                  std::uint32_t length) override;
    KzResult fileservice_ModifiedTime(const char* path, double* seconds) override;
    KzResult fileservice_FileSize(const char* path, double* bytes) override {
        enter("File.FileSize");
        std::error_code error;
        const auto size = fs::file_size(existing(path), error);
        if (!error) *bytes = static_cast<double>(size);
        return codeOf(error);
    }
    KzResult fileservice_ReadLines(const char* path, IKzUnknown* visitor, IKzUnknown** lines) override;

private:
    std::string existing(const char* path) const {
        if (kzTextOf(path).empty()) throw KZe_INVALIDARG;
        const auto local = m_files->resolve(path);
        if (!local) throw KZe_NOTFOUND;
        return *local;
    }
    std::string freeName(const fs::path& folder, const std::string& stem, const std::string& extension) const;

    std::shared_ptr<CPathAliases> m_files;
};

KzResult CFileService::fileservice_ToPortable(const char* path, char* buffer, std::uint32_t length) {
    enter("File.ToPortable");
    std::string portable(kzTextOf(path));
    for (char& c : portable)
        if (c == '\\') c = '/';
    return kzFillText(portable, buffer, length);
}

KzResult CFileService::fileservice_FileSystemPath(const char* name, const char** path) {
    enter("File.FileSystemPath");
    const std::string place = placeOf(kzTextOf(name));
    if (place.empty())
        return kzBecause(KZe_NOTFOUND, "File.FileSystemPath", [&] {
            return kzThereIsNo("place", kzTextOf(name),
                               {KZs_FILE_EXENAME, KZs_FILE_PROGRAM, KZs_FILE_TEMP, KZs_FILE_USER, "documents"});
        });
    *path = lend(place);
    return KZe_OK;
}

KzResult CFileService::fileservice_AliasByIndex(std::uint32_t index, const char** name, const char** path) {
    enter("File.AliasByIndex");
    const auto all = m_files->aliases();
    if (index >= all.size()) return KZe_OUTOFBOUNDS;
    *name = keep(all[index].first);
    *path = keep(all[index].second);
    return KZe_OK;
}

KzResult CFileService::fileservice_AliasSet(const char* name, const char* path) {
    enter("File.AliasSet");
    const std::string_view alias = kzTextOf(name);
    if (alias.empty() || alias.find_first_of(":/") != std::string_view::npos) return KZe_INVALIDARG;
    m_files->setAlias(std::string(alias), kzString(path));
    return KZe_OK;
}

KzResult CFileService::fileservice_RemoveFile(const char* path) {
    enter("File.RemoveFile");
    const std::string file = existing(path);
    std::error_code error;
    if (fs::is_directory(file, error)) return KZe_INVALIDARG;  // folders are not removed by this
    fs::remove(file, error);
    return codeOf(error);
}

std::string CFileService::freeName(const fs::path& folder, const std::string& stem,
                                   const std::string& extension) const {
    const std::string ending = extension.empty() || extension.starts_with('.') ? extension : "." + extension;
    std::error_code error;
    for (std::uint32_t number = 0;; ++number) {
        const fs::path name =
            folder / fmt::format("{}{}{}", stem, number == 0 ? "" : fmt::format("_{}", number), ending);
        if (!fs::exists(name, error)) return name.string();
    }
}

KzResult CFileService::fileservice_UniqueName(const char* path, const char* extension, char* buffer,
                                              std::uint32_t length) {
    enter("File.UniqueName");
    const fs::path target = m_files->place(path);
    return kzFillText(freeName(target.parent_path(), target.filename().string(), kzString(extension)), buffer, length);
}

KzResult CFileService::fileservice_TempName(const char* prefix, const char* extension, char* buffer,
                                            std::uint32_t length) {
    enter("File.TempName");
    const std::string stem = kzString(prefix) + std::to_string(getpid());
    if (stem.find('/') != std::string::npos) return KZe_INVALIDARG;
    return kzFillText(freeName(placeOf(KZs_FILE_TEMP), stem, kzString(extension)), buffer, length);
}

KzResult CFileService::fileservice_ModifiedTime(const char* path, double* seconds) {
    enter("File.ModifiedTime");
    struct stat entry {};
    if (stat(existing(path).c_str(), &entry) != 0) return KZe_NOTFOUND;
    *seconds = static_cast<double>(entry.st_mtim.tv_sec) + static_cast<double>(entry.st_mtim.tv_nsec) * 1e-9;
    return KZe_OK;
}

KzResult CFileService::fileservice_ReadLines(const char* path, IKzUnknown* /*visitor*/, IKzUnknown** lines) {
    enter("File.ReadLines");
    std::ifstream stream(existing(path), std::ios::binary);
    if (!stream) return KZe_NOACCESS;
    const auto values = CHostRef<CValueArray>::make(KZsTYPE_STRING);
    for (std::string line; std::getline(stream, line);) {
        if (line.ends_with('\r')) line.pop_back();
        values->va_AddString(line.c_str());
    }
    return values.give(lines);
}

}  // namespace

decltype(kzMakeFileService) kzMakeFileService = kzMakeService<CFileService>;

}  // namespace kzhost
