// Static objects that are never destroyed, and variables of threads that never need to be made.
#pragma once

#include <cstddef>
#include <new>
#include <utility>

// A host may let its threads run on while the process ends, and calls a module it never unloaded from its own exit
// handlers. Whatever such a late caller may touch must still be there, so the statics of this binary register nothing to
// run at exit: those whose class has a destructor live in one of these. The memory is static, hence never a leak.
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

// For thread_local variables of a loaded module: each thread has them from its start. Otherwise the first use on a thread
// allocates them, and ends the process when there is no memory; and every use is a call. They have to be few and small.
#define KZ_THREAD_LOCAL [[gnu::tls_model("initial-exec")]]
