// Runs kzhost as its users do, with server files of the test's own.
#pragma once

#include "kz_paths.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <sys/wait.h>
#include <vector>

struct Ended {
    int status = -1;
    std::string out;
    std::string error;

    bool says(const std::string& text) const { return error.find(text) != std::string::npos; }
};

class ServerFilesTest : public testing::Test {
protected:
    ServerFilesTest() {
        std::string name = (std::filesystem::temp_directory_path() / "kzserversXXXXXX").string();
        m_folder = mkdtemp(name.data());
        std::filesystem::create_directory(path("servers"));
        write("in", "");
        setenv("XDG_CONFIG_HOME", path("config").c_str(), 1);
    }
    ~ServerFilesTest() override { std::filesystem::remove_all(m_folder); }

    std::string path(const std::string& name) const { return m_folder + "/" + name; }
    std::string write(const std::string& name, const std::string& text) const {
        std::ofstream(path(name), std::ios::binary) << text;
        return path(name);
    }
    // A file that the host finds by itself.
    std::string serve(const std::string& name, const std::string& text) const { return write("servers/" + name, text); }

    // Runs with this folder and the given ones as import paths, and the file "in" as standard input.
    Ended run(const std::vector<std::string>& words, const std::vector<std::string>& importPaths = {}) const {
        std::string command = quoted(KZ_BUILD_DIR "/bin/kzhost") + " --import-path " + quoted(m_folder);
        for (const std::string& each : importPaths) command += " --import-path " + quoted(each);
        for (const std::string& word : words) command += " " + quoted(word);
        const int status = std::system(
            (command + " >" + quoted(path("out")) + " 2>" + quoted(path("err")) + " <" + quoted(path("in"))).c_str());
        return {WIFEXITED(status) ? WEXITSTATUS(status) : 256 + WTERMSIG(status), contents("out"), contents("err")};
    }
    Ended runText(const std::string& text, const std::vector<std::string>& importPaths = {}) const {
        return run({"run", write("script.py", text)}, importPaths);
    }

    std::string contents(const std::string& name) const {
        std::ifstream stream(path(name), std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }

private:
    static std::string quoted(const std::string& word) {
        std::string text = "'";
        for (const char c : word) text += c == '\'' ? std::string("'\\''") : std::string(1, c);
        return text + "'";
    }

    std::string m_folder;
};
