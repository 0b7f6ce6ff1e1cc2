// Times Python calls against each other, an empty loop of the same form subtracted.
#pragma once

#include "module/python.h"

#include <string>
#include <vector>

// The same statement twice: what it uses are local names, because finding a name is not what is timed.
struct KzContest {
    std::string name;
    std::string statement;
    std::string ours;  // the names, as Python's default arguments: "call=Code"
    std::string twin;
    double target;  // the ratio that must not be exceeded; 0 where none is set
};

// Runs the contests with the given names visible and prints a table. Whether all met their targets.
bool kzRunContests(const char* title, const std::vector<KzContest>& contests, PyObject* names);
