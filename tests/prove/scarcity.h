// Work in children of this process in which memory runs out, at each allocation in turn, for that one or from then on.
#pragma once

#include <functional>
#include <string>

class CScarcity {
public:
    // `ours` is a part of the names of the files in which a crash is a fault of ours; `most` is how many allocations of
    // each work fail, evenly spread if there are more.
    CScarcity(const char* ours, long most) : m_ours(ours), m_most(most) {}

    // Does its part with little memory, and tells whether that was enough for all of it.
    using Scarcely = std::function<bool(const std::function<void()>& part)>;
    // What a child does; tells whether everything works afterwards.
    using Life = std::function<bool(const Scarcely& scarcely)>;
    void exhaust(const std::string& name, const Life& life);

    // Tells the figures so far, each with this before its name.
    void tellFigures(const std::string& of) const;

private:
    int statusOf(const Life& life, long succeeding, bool isOneShort) const;

    const char* m_ours;
    long m_most;
    double m_works = 0, m_tried = 0, m_inInterpreter = 0, m_sampled = 0;
};
