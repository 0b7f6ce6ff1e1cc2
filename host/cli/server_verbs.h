// The verbs of kzhost that work with servers: check their files, convert images, print trees.
#pragma once

#include "host/cli/program.h"

namespace CLI {
class App;
}

namespace kzhost {

class CServerVerbs {
public:
    explicit CServerVerbs(CLI::App& app);
    // Whether one of these verbs was given.
    bool parsed() const;
    int run(CProgram& program) const;

private:
    CLI::App* m_check;
    CLI::App* m_convert;
    CLI::App* m_tree;
    std::vector<std::string> m_files;
    std::string m_from;
    std::string m_to;
    std::string m_space;
    std::string m_name;
};

}  // namespace kzhost
