// Whether the calling thread is inside of a watch. What a watch does may itself call the host or run Python code; that is
// not watched.
#pragma once

// RAII guard for the time in which a watch works. Only the outermost one of a thread is `isFirst`.
class CWatching {
public:
    CWatching() noexcept;
    ~CWatching();
    CWatching(const CWatching&) = delete;
    CWatching& operator=(const CWatching&) = delete;
    bool isFirst() const noexcept { return m_isFirst; }

private:
    bool m_isFirst;
};

// RAII guard: what a watch runs in its scope is watched again.
class CWatchedAgain {
public:
    CWatchedAgain() noexcept;
    ~CWatchedAgain();
    CWatchedAgain(const CWatchedAgain&) = delete;
    CWatchedAgain& operator=(const CWatchedAgain&) = delete;
};
