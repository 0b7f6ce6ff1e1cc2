// The verbs of kzhost that work with scene files, and the scene that a run begins with.
#pragma once

#include <string>

namespace CLI {
class App;
}

namespace kzhost {

class CProgram;

class CSceneVerbs {
public:
    explicit CSceneVerbs(CLI::App& app);
    bool parsed() const;
    int run(CProgram& program) const;

private:
    CLI::App* m_scene;
    CLI::App* m_info;
    CLI::App* m_convert;
    std::string m_from, m_to, m_format;
};

// Loads the file as the current scene of a program that has started. False, with the reason on standard error, if it cannot
// be loaded.
bool kzOpenSceneFile(CProgram& program, const std::string& path);

}  // namespace kzhost
