// What the parts above contribute to start-up: the tables and builders of the kz module. The composition root beside the
// entry point fills this in, and start-up uses it without depending on those parts.
#pragma once

#include "module/python.h"

#include <span>

struct KzModuleParts {
    struct NamedType {
        const char* name;
        PyTypeObject* type;
    };

    PyMethodDef* functions = nullptr;               // the functions of the module kz, in their fixed order
    std::span<const NamedType> types;               // readied before the module is made, then added to it
    void (*addSubmodules)(PyObject* kz) = nullptr;  // throws a KzResult
    void (*installStreams)() = nullptr;             // gives Python's own output to the sinks
    void (*importWidgets)() = nullptr;              // the widget bridge; leaves an exception pending if it is missing
    void (*releaseServers)() = nullptr;             // releases the Python objects that blessed servers own
    void (*forgetPython)() = nullptr;               // after finalisation: clears cached pointers without a release
    void (*finish)(bool hasEnded) = [](bool) {};    // last of all; also if Python has never started, or cannot end
};

void kzSetParts(const KzModuleParts& parts) noexcept;
const KzModuleParts& kzParts() noexcept;
