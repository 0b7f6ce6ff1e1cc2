// Static objects that are never destroyed, and thread-local variables that need no allocation.
#pragma once

#include <cstddef>
#include <new>
#include <utility>

// A host may let its threads run on while the process exits, and its exit handlers may call a module that it never
// unloaded. Whatever such a late caller touches must still exist, so no static of this binary registers a destructor to
// run at exit: a static whose class has one is wrapped in this template. The memory is static, so this is no leak.
template <class T> class CKzForever {
public:
    template <class... Arguments> explicit CKzForever(Arguments&&... arguments) {
        new (m_memory) T(std::forward<Arguments>(arguments)...);
    }
    CKzForever(const CKzForever&) = delete;
    CKzForever& operator=(const CKzForever&) = delete;

    T& operator*() noexcept { return *std::launder(reinterpret_cast<T*>(m_memory)); }
    T* operator->() noexcept { return &**this; }

private:
    alignas(T) std::byte m_memory[sizeof(T)];
};

// For the thread_local variables of a loaded module: every thread has them from the start. Without it, the first use on a
// thread allocates them and aborts the process if that fails, and every access is a call. They must be few and small.
#define KZ_THREAD_LOCAL [[gnu::tls_model("initial-exec")]]
