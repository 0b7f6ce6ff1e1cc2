// The table of generated adapters, one for each host interface that a Python class may implement.
#pragma once

#include "serve/relay.h"

#include "kz/base/polymorph.h"

#include <span>
#include <string_view>

struct KzAdapterRow {
    const char* name;  // of the interface
    std::unique_ptr<CKzInterfaceRecord> (*make)();
    std::span<KzForwardedMethod> methods;
};

// All adapters, ordered by name.
extern const std::span<const KzAdapterRow* const> kzAdapters;

// The adapter for an interface; null when there is none.
const KzAdapterRow* kzFindAdapter(std::string_view interfaceName) noexcept;

// Clears the cached Python strings of the methods' names, at the end of the interpreter.
void kzForgetMethodNames() noexcept;
