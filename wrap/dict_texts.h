// The entries of a Python dictionary as texts.
#pragma once

#include "module/python.h"

#include <string>
#include <vector>

// Replaces the contents of both lists by the str() of each key and value, in the order of the dictionary; anything else
// leaves them empty. Throws FAILED, with empty lists and the Python exception pending, if a str() fails or contains a NUL
// byte.
void kzTextsOfDict(PyObject* dictionary, std::vector<std::string>& keys, std::vector<std::string>& values);

// The object's str(). Throws FAILED, with the Python exception pending, if that fails or contains a NUL byte.
std::string kzStrictStringOf(PyObject* object);
