// What start-up is given by the parts that stand above it: the tables and builders of the kz module. One composition
// root beside the entry point fills this in; start-up calls it without knowing the parts.
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
    void (*importWidgets)() = nullptr;              // the widget bridge; leaves an exception set when it is missing
    void (*releaseServers)() = nullptr;             // drops what blessed servers hold of Python
    void (*forgetPython)() = nullptr;               // after finalisation: drops every cached Python pointer unreleased
};

void kzSetParts(const KzModuleParts& parts) noexcept;
const KzModuleParts& kzParts() noexcept;
