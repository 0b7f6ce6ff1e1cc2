// A folder of files for the length of a test.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>

#include "gen/load.h"

namespace kzgen {

using Files = std::map<std::string, std::string>;

class Folder {
public:
    explicit Folder(const Files& files = {}) {
        std::string pattern = (std::filesystem::temp_directory_path() / "kzgen-XXXXXX").string();
        m_path = mkdtemp(pattern.data());
        for (const auto& [name, text] : files) {
            std::ofstream(m_path / name) << text;
        }
    }
    ~Folder() { std::filesystem::remove_all(m_path); }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;

    [[nodiscard]] const std::filesystem::path& path() const { return m_path; }

    // The errors in the descriptions of this folder, without the folder's own name.
    [[nodiscard]] std::string errors(Completeness completeness) const {
        Diagnostics diagnostics;
        load(m_path, completeness, diagnostics);
        std::string text = diagnostics.text();
        const std::string own = m_path.string() + "/";
        for (size_t at = text.find(own); at != std::string::npos; at = text.find(own)) {
            text.erase(at, own.size());
        }
        return text;
    }

private:
    std::filesystem::path m_path;
};

}  // namespace kzgen
