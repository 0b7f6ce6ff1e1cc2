// Makes allocations of the calling thread fail, for as long as the scope lives.
#pragma once

class CShortMemory {
public:
    // All of them, or after some that succeed one or all of the others.
    explicit CShortMemory(long succeeding = 0, bool isOneShort = false) noexcept;
    ~CShortMemory();
    CShortMemory(const CShortMemory&) = delete;
    CShortMemory& operator=(const CShortMemory&) = delete;

    // How many were asked for in the scope.
    static long asked() noexcept;
    // Not where a sanitizer has replaced the allocator.
    static bool works() noexcept;
};

// While this lives allocations succeed again, for code that is not what is tested.
class CAmpleMemory {
public:
    CAmpleMemory() noexcept;
    ~CAmpleMemory();
    CAmpleMemory(const CAmpleMemory&) = delete;
    CAmpleMemory& operator=(const CAmpleMemory&) = delete;

private:
    bool m_wasShort = false;
};
