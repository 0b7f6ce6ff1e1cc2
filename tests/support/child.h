// Runs part of a test in a process of its own, because Python starts only once in a process.
#pragma once

#include <functional>

// Runs the body in a forked child. The test fails if an expectation in it fails or if the child crashes.
// No thread may be running yet.
void kzInChild(const char* name, const std::function<void()>& body);

// As kzInChild, for a body that must be ended by that signal.
void kzInChildKilledBy(int signal, const char* name, const std::function<void()>& body);

// Excludes what this thread allocates from now on from the search for leaks: the part ends with Python objects
// alive, whose memory the leak checker does not search for pointers.
void kzEndsWithLiveObjects();
