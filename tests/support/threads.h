// Runs part of a test on several threads at once.
#pragma once

#include <latch>
#include <thread>
#include <vector>

// Runs the body on that many threads, which start together, so many times on each. Waits for all of them.
template <class Body> void onThreads(int count, int rounds, Body&& body) {
    std::latch start(count);
    std::vector<std::jthread> threads;
    threads.reserve(static_cast<std::size_t>(count));
    for (int index = 0; index < count; ++index)
        threads.emplace_back([&, index] {
            start.arrive_and_wait();
            for (int round = 0; round < rounds; ++round) body(index);
        });
}
