// Fair timing of several pieces of work in one process. Every round runs a short chunk of each in turn, so that a machine
// whose speed drifts slows all of them alike; the time is the thread's own, and the lower quartile of the rounds counts,
// so that what else the machine does disturbs few of the samples and none of the result.
#pragma once

#include <functional>
#include <vector>

inline constexpr int kzRounds = 401;
inline constexpr int kzChunk = 1000;  // calls; well below what a scheduler gives a thread at a time

// Nanoseconds a call takes, measured over one chunk.
template <class Call> double kzNanoseconds(Call&& call);

// A chunk of work that answers with its nanoseconds for each call.
using KzWork = std::function<double()>;
std::vector<double> kzInterleave(const std::vector<KzWork>& works);
double kzLowerQuartile(std::vector<double> samples);

// The thread's processor time in nanoseconds.
double kzThreadTime() noexcept;

template <class Call> double kzNanoseconds(Call&& call) {
    const double start = kzThreadTime();
    for (int index = 0; index < kzChunk; ++index) call();
    return (kzThreadTime() - start) / kzChunk;
}

// What the program was asked to measure: everything, or what has the text of its first argument in its name.
void kzSelect(int count, char** arguments);
bool kzSelected(const char* name);

// Prints the head of a table, and one line of it; a target of 0 is none. Whether the ratio meets the target.
void kzPrintHead(const char* title);
bool kzPrintRatio(const char* name, double ours, double twin, double target);
