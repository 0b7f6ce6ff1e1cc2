// Runs kzhost as its users do, in a temporary folder, from which it imports server files.
#pragma once

#include "kz_paths.h"
#include "tests/support/folder.h"
#include "tests/support/lines.h"

#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>
#include <vector>

struct Ended {
    int status = -1;
    std::string out;
    std::string error;

    bool says(const std::string& text) const { return error.find(text) != std::string::npos; }
};

class KzHostTest : public testing::Test {
protected:
    static constexpr const char* program = KZ_BUILD_DIR "/bin/kzhost";

    KzHostTest() {
        std::filesystem::create_directory(path("servers"));
        setenv("XDG_CONFIG_HOME", path("config").c_str(), 1);
    }

    std::string path(const std::string& name = {}) const { return m_folder.path() + "/" + name; }
    // Replaces "FOLDER/" by the path of the test's folder.
    std::string inFolder(std::string text) const {
        for (std::size_t at = 0; (at = text.find("FOLDER/")) != std::string::npos;) text.replace(at, 7, path());
        return text;
    }
    std::string write(const std::string& name, const std::string& text) const {
        return m_folder.write(name, inFolder(text));
    }
    // Writes a server file.
    std::string serve(const std::string& name, const std::string& text) const { return write("servers/" + name, text); }
    std::string contents(const std::string& name) const { return contentsOf(path(name)); }

    // The highest level at which tests have the validator work. A sanitizer makes many calls too slow, and keeps memory that
    // has been released, which the validator takes for growth.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    static constexpr const char* highestLevel = "4";
#else
    static constexpr const char* highestLevel = "10";
#endif
    // For children that end with what servers have returned, which adapters keep on purpose.
    static void ignoreLeaks() {
        const char* options = getenv("ASAN_OPTIONS");
        setenv("ASAN_OPTIONS",
               (std::string(options != nullptr ? options : "") +
                ":detect_leaks=0:quarantine_size_mb=0:allocator_may_return_null=1")
                   .c_str(),
               1);
    }

    // Starts the program with its output in the files "out" and "err" and the input as a file.
    pid_t start(const std::vector<std::string>& words, const std::string& input = {}) const {
        std::vector<std::string> all = {program};
        for (const std::string& each : importPaths) all.insert(all.end(), {"--import-path", each});
        all.insert(all.end(), words.begin(), words.end());
        std::vector<char*> arguments;
        arguments.reserve(all.size() + 1);
        for (std::string& word : all) arguments.push_back(word.data());
        arguments.push_back(nullptr);
        write("in", input);
        std::string label;
        for (const std::string& word : words) label += word + " ";
        write("words", label + input + "\n");
        const pid_t child = fork();
        if (child != 0) return child;
        freopen(path("in").c_str(), "r", stdin);
        freopen(path("out").c_str(), "w", stdout);
        freopen(path("err").c_str(), "w", stderr);
        execv(program, arguments.data());
        _exit(127);
    }
    Ended finish(pid_t child) const {
        int status = 0;
        waitpid(child, &status, 0);
        return {WIFEXITED(status) ? WEXITSTATUS(status) : 256 + WTERMSIG(status), contents("out"), contents("err")};
    }
    Ended run(const std::vector<std::string>& words, const std::string& input = {}) const {
        return finish(start(words, input));
    }
    // Runs the program in a command line of the shell.
    Ended shell(const std::string& words) const {
        const std::string command = "(" + (program + (" " + words)) + ") 2>" + path("err") + " >" + path("out");
        setenv("COMMAND", command.c_str(), 1);
        const int status = std::system("bash -c \"$COMMAND\"");
        return {WEXITSTATUS(status), contents("out"), contents("err")};
    }
    Ended runText(const std::string& text) const { return run({"run", write("script.py", text)}); }

    // Checks the status of a run, its whole standard output, and parts of its standard error.
    void expect(const Ended& ended, int status, const std::string& out,
                const std::vector<std::string>& says = {}) const {
        SCOPED_TRACE(contents("words") + contents("script.py"));
        EXPECT_EQ(ended.status, status) << ended.error;
        EXPECT_EQ(ended.out, inFolder(out)) << ended.error;
        for (const std::string& part : says) EXPECT_TRUE(ended.says(part)) << part << " in " << ended.error;
    }

private:
    CTestFolder m_folder;

protected:
    std::vector<std::string> importPaths = {m_folder.path()};
};
