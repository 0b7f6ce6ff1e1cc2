// The results of a line on the screen, no more than fits at once.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace kzhost {

class CResultView {
public:
    // From now on no more than fits at once is shown: somebody is there who can ask for more.
    void stopAtScreenful() { m_stops = true; }
    // Shows the results, or as many as fit, and says how many are left.
    void show(const std::vector<std::string>& results);
    // Shows the next ones. False if none are left.
    bool showMore();
    void forget() { m_rest.clear(); }

private:
    void showScreenful();

    bool m_stops = false;
    std::vector<std::string> m_rest;  // lines of the screen, the next one last
};

}  // namespace kzhost
