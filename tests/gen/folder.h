// A folder of files that exists during a test.
#pragma once

#include <map>
#include <string>

#include "gen/load.h"
#include "tests/support/folder.h"

namespace kzgen {

using Files = std::map<std::string, std::string>;

class Folder {
public:
    explicit Folder(const Files& files = {}) {
        for (const auto& [name, text] : files) m_folder.write(name, text);
    }

    [[nodiscard]] std::filesystem::path path() const { return m_folder.path(); }

    // The errors in the descriptions of this folder, without the folder's own name.
    [[nodiscard]] std::string errors(Completeness completeness) const {
        Diagnostics diagnostics;
        load(path(), completeness, diagnostics);
        std::string text = diagnostics.text();
        const std::string own = m_folder.path() + "/";
        for (std::size_t at = text.find(own); at != std::string::npos; at = text.find(own)) text.erase(at, own.size());
        return text;
    }

private:
    CTestFolder m_folder;
};

}  // namespace kzgen
