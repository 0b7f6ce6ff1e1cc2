// A library that is in the process already, and what it and those below it define.
#pragma once

#include <dlfcn.h>

#include <memory>

class CLoadedLibrary {
public:
    // Finds nothing when no such library is loaded: it never loads one.
    explicit CLoadedLibrary(const char* path) noexcept
        : m_handle(path != nullptr ? dlopen(path, RTLD_LAZY | RTLD_NOLOAD) : nullptr) {}

    // Searches the library and then those that it depends on, in the order in which the loader does.
    template <class Pointer> bool find(const char* symbol, Pointer& pointer) const noexcept {
        pointer = m_handle ? reinterpret_cast<Pointer>(dlsym(m_handle.get(), symbol)) : nullptr;
        return pointer != nullptr;
    }

private:
    struct Close {
        void operator()(void* handle) const noexcept { dlclose(handle); }
    };
    std::unique_ptr<void, Close> m_handle;
};
