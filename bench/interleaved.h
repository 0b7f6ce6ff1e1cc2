// Times Python calls against each other in one process. Every round runs each loop once, so that a machine whose speed
// drifts slows all of them alike; an empty loop of the same form is subtracted; the median of the rounds' ratios counts.
#pragma once

#include "module/python.h"

#include <string>
#include <vector>

struct KzContest {
    std::string name;
    std::string ours;   // a Python expression, evaluated once an iteration
    std::string twin;
    double target;      // the ratio that must not be exceeded; 0 where none is set
};

// Runs the contests with the given names visible and prints a table. Returns how many exceeded their target.
int kzRunContests(const char* title, const std::vector<KzContest>& contests, PyObject* names);
