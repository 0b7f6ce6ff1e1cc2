// Makes every allocation of the calling thread fail, for as long as the scope lives.
#pragma once

class CShortMemory {
public:
    CShortMemory() noexcept;
    ~CShortMemory();
    CShortMemory(const CShortMemory&) = delete;
    CShortMemory& operator=(const CShortMemory&) = delete;

    // Not where a sanitizer has replaced the allocator.
    static bool works() noexcept;
};
