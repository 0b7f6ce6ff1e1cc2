// Files that take the place of older ones only when they are complete.
#pragma once

#include "kz/base/types.h"

#include <filesystem>
#include <string>

namespace kzhost {

// Whoever saves is given a file of the same name in a folder of its own beside the target. A save that fails half-way
// leaves what was there before, and nothing else.
class CSafeSave {
public:
    // Throws NOACCESS when nothing can be written there.
    explicit CSafeSave(const std::string& target);
    ~CSafeSave();
    CSafeSave(const CSafeSave&) = delete;
    CSafeSave& operator=(const CSafeSave&) = delete;

    std::string path() const {
        return m_folder.empty() ? m_target.string() : (m_folder / m_target.filename()).string();
    }
    // Puts the file, and any that were written beside it, in their place. FAILED when there is none, NOACCESS when it
    // cannot be moved.
    KzResult commit();

private:
    std::filesystem::path m_target;
    std::filesystem::path m_folder;  // empty where the target is no file but a device
};

}  // namespace kzhost
