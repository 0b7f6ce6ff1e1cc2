// An allocator that fails on demand, in the place of the C library's: the plug-in and the interpreter get it, too.
#include "tests/bare_host/short_memory.h"

#include <cerrno>
#include <cstddef>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)

namespace {
thread_local bool t_isShort = false;
}

extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* memory, std::size_t size);

void* malloc(std::size_t size) { return t_isShort ? (errno = ENOMEM, nullptr) : __libc_malloc(size); }
void* calloc(std::size_t count, std::size_t size) {
    return t_isShort ? (errno = ENOMEM, nullptr) : __libc_calloc(count, size);
}
void* realloc(void* memory, std::size_t size) {
    return t_isShort ? (errno = ENOMEM, nullptr) : __libc_realloc(memory, size);
}
// The interpreter's small objects live in pages of their own.
void* mmap(void* address, std::size_t size, int protection, int flags, int file, off_t offset) {
    if (t_isShort) return errno = ENOMEM, MAP_FAILED;
    return reinterpret_cast<void*>(syscall(SYS_mmap, address, size, protection, flags, file, offset));
}
}

CShortMemory::CShortMemory() noexcept { t_isShort = true; }
CShortMemory::~CShortMemory() { t_isShort = false; }
bool CShortMemory::works() noexcept { return true; }

#else

CShortMemory::CShortMemory() noexcept = default;
CShortMemory::~CShortMemory() = default;
bool CShortMemory::works() noexcept { return false; }

#endif
