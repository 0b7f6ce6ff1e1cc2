// An allocator that fails on demand, in the place of the C library's: the plug-in and the interpreter get it, too.
#include "tests/bare_host/short_memory.h"

#include <cerrno>
#include <cstddef>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <utility>

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)

namespace {
thread_local bool t_isShort = false;
thread_local bool t_isOneShort = false;
thread_local long t_succeeding = 0;
thread_local long t_asked = 0;

bool fails() noexcept {
    if (!t_isShort) return false;
    ++t_asked;
    if (t_succeeding-- > 0) return false;
    if (t_isOneShort) t_isShort = false;
    errno = ENOMEM;
    return true;
}
}  // namespace

extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* memory, std::size_t size);

// Seen by all libraries, whatever is hidden otherwise.
#pragma GCC visibility push(default)
void* malloc(std::size_t size) { return fails() ? nullptr : __libc_malloc(size); }
void* calloc(std::size_t count, std::size_t size) { return fails() ? nullptr : __libc_calloc(count, size); }
void* realloc(void* memory, std::size_t size) { return fails() ? nullptr : __libc_realloc(memory, size); }
// The interpreter's small objects live in pages of their own. The header that declares mmap has names for its parameters that
// are reserved to it.
void* mapPages(void* address, std::size_t size, int protection, int flags, int file, off_t offset) __asm__("mmap");
void* mapPages(void* address, std::size_t size, int protection, int flags, int file, off_t offset) {
    if (fails()) return MAP_FAILED;
    return reinterpret_cast<void*>(syscall(SYS_mmap, address, size, protection, flags, file, offset));
}
#pragma GCC visibility pop
}

CShortMemory::CShortMemory(long succeeding, bool isOneShort) noexcept {
    t_succeeding = succeeding;
    t_isOneShort = isOneShort;
    t_asked = 0;
    t_isShort = true;
}
CShortMemory::~CShortMemory() { t_isShort = false; }
long CShortMemory::asked() noexcept { return t_asked; }
bool CShortMemory::works() noexcept { return true; }
CAmpleMemory::CAmpleMemory() noexcept { m_wasShort = std::exchange(t_isShort, false); }
CAmpleMemory::~CAmpleMemory() { t_isShort = m_wasShort; }

#else

CShortMemory::CShortMemory(long /*succeeding*/, bool /*isOneShort*/) noexcept {}
CShortMemory::~CShortMemory() = default;
long CShortMemory::asked() noexcept { return 0; }
bool CShortMemory::works() noexcept { return false; }
CAmpleMemory::CAmpleMemory() noexcept = default;
CAmpleMemory::~CAmpleMemory() = default;

#endif
