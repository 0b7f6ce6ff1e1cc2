// A folder that exists during a test.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

inline std::string contentsOf(const std::filesystem::path& path) {
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

class CTestFolder {
public:
    CTestFolder() {
        std::string name = (std::filesystem::temp_directory_path() / "kztestXXXXXX").string();
        if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("no temporary folder");
        m_path = name;
    }
    ~CTestFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    CTestFolder(const CTestFolder&) = delete;
    CTestFolder& operator=(const CTestFolder&) = delete;

    std::string path(const std::string& name = {}) const { return name.empty() ? m_path : m_path / name; }
    // Writes a file, and the folders above it; returns its full path.
    std::string write(const std::string& name, const std::string& text) const {
        const std::filesystem::path file = m_path / name;
        std::filesystem::create_directories(file.parent_path());
        std::ofstream(file, std::ios::binary) << text;
        // Python compares times in seconds, so it might use the compiled form of an earlier text.
        std::filesystem::remove(file.string() + "c");
        return file.string();
    }

private:
    std::filesystem::path m_path;
};
