// Replaces files only by complete ones.
#pragma once

#include "kz/base/types.h"

#include <filesystem>
#include <string>

namespace kzhost {

// The saver writes to a file of the same name in a temporary folder beside the target. A save that fails half-way leaves
// the former file, and nothing else.
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
    // Moves the file, and any others written beside it, to the target folder. FAILED if there is no file, NOACCESS if it
    // cannot be moved.
    KzResult commit();

private:
    std::filesystem::path m_target;
    std::filesystem::path m_folder;  // empty if the target is a device
};

}  // namespace kzhost
