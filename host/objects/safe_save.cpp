// Replaces files only by complete ones.
#include "host/objects/safe_save.h"

#include "host/core/reasons.h"

#include "kz/result.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include <fcntl.h>
#include <unistd.h>

namespace kzhost {

namespace fs = std::filesystem;

namespace {

// Sees to it that the file, or the names in the folder, are on the disk: a crash of the machine must not leave an empty file
// under a name that had a full one. Best effort: some file systems have nothing like it.
bool reachesDisk(const fs::path& path) {
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (file < 0) return true;
    const bool isThere = fsync(file) == 0 || errno == EINVAL || errno == ENOTSUP;
    close(file);
    return isThere;
}

KzResult unwritable(const std::string& path, const std::string& why) {
    return kzBecause(KZe_NOACCESS, "saving", [&] { return path + " cannot be written: " + why; });
}

}  // namespace

CSafeSave::CSafeSave(const std::string& target) {
    std::error_code error;
    m_target = fs::weakly_canonical(target, error);  // resolves links, so that a link stays one
    if (error || m_target.filename().empty()) throw unwritable(target, "the path names no file");
    if (fs::is_directory(m_target, error)) throw unwritable(target, "it is a folder");
    if (fs::exists(m_target, error) && !fs::is_regular_file(m_target, error)) return;
    std::string name = (m_target.parent_path() / ".kzsaveXXXXXX").string();
    if (mkdtemp(name.data()) == nullptr)
        throw unwritable(target, "folder " + m_target.parent_path().string() + ": " + std::strerror(errno));
    m_folder = name;
}

CSafeSave::~CSafeSave() {
    std::error_code error;
    if (!m_folder.empty()) fs::remove_all(m_folder, error);
}

KzResult CSafeSave::commit() {
    if (m_folder.empty()) return KZe_OK;
    std::error_code error;
    if (!fs::is_regular_file(fs::symlink_status(path(), error))) return KZe_FAILED;
    if (const auto former = fs::status(m_target, error); fs::exists(former))
        fs::permissions(path(), former.permissions(), error);
    for (const fs::directory_entry& each : fs::directory_iterator(m_folder, error)) {
        if (each.is_regular_file(error) && !reachesDisk(each.path())) return KZe_NOACCESS;
        fs::rename(each.path(), m_target.parent_path() / each.path().filename(), error);
        if (error) return KZe_NOACCESS;
    }
    reachesDisk(m_target.parent_path());
    return error ? KZe_NOACCESS : KZe_OK;
}

}  // namespace kzhost
