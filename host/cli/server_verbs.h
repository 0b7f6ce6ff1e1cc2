// The verbs of kzhost that work with servers: check and validate them, convert images, print trees.
#pragma once

#include "host/cli/program.h"

namespace CLI {
class App;
}

namespace kzhost {

// What `validate` is asked for.
struct Validation {
    std::vector<std::string> sources;
    std::string only;
    int level = 5;
    int seed = 1;
    int rounds = 1000;
    double limit = 10;
    double slow = 1;
    bool json = false;
};

class CServerVerbs {
public:
    explicit CServerVerbs(CLI::App& app);
    // Whether one of these verbs was given.
    bool parsed() const;
    int run(CProgram& program) const;

private:
    CLI::App* m_check;
    CLI::App* m_validate;
    CLI::App* m_convert;
    CLI::App* m_tree;
    std::vector<std::string> m_files;
    Validation m_validation;
    std::string m_from;
    std::string m_to;
    std::string m_space;
    std::string m_name;
};

}  // namespace kzhost
