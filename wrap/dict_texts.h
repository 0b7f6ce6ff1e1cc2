// The entries of a Python dictionary as texts.
#pragma once

#include "module/python.h"

#include <string>
#include <vector>

// Empties both lists, then appends the string form of each key and value, in the dictionary's own order. Throws FAILED,
// with the lists empty, for a key or value that has no string form, or one with zero bytes; the error stays pending. Anything but
// a dictionary leaves the lists empty.
void kzTextsOfDict(PyObject* dictionary, std::vector<std::string>& keys, std::vector<std::string>& values);

// The object's str(), strictly: throws FAILED, the error pending, where it has none or one with zero bytes.
std::string kzStrictStringOf(PyObject* object);
