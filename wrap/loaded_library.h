// A library that the process has loaded already, and the symbols of it and its dependencies.
#pragma once

#include <dlfcn.h>

#include <memory>

class CLoadedLibrary {
public:
    // Never loads a library; without one that is loaded, `find` finds nothing.
    explicit CLoadedLibrary(const char* path) noexcept
        : m_handle(path != nullptr ? dlopen(path, RTLD_LAZY | RTLD_NOLOAD) : nullptr) {}

    // Searches the library and then its dependencies, in the loader's order.
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
