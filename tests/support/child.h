// Runs part of a test in a process of its own: Python starts once in a process, and many cases want it fresh.
#pragma once

#include <functional>

// Runs the body in a forked child, which fails the test when an expectation in it fails or when it does not end well.
// No thread may be running yet.
void kzInChild(const char* name, const std::function<void()>& body);

// As kzInChild, for a body that is to end by that signal.
void kzInChildKilledBy(int signal, const char* name, const std::function<void()>& body);

// What this thread allocates from now on is no leak if it is still there at the end: the part ends with Python objects
// alive, whose memory the leak checker does not search for pointers.
void kzEndsWithLiveObjects();
