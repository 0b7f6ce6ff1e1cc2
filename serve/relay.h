// The way from an operation of a host interface to a Python method. The generator writes one row and one line for each
// operation; the line puts the operation's arguments into words, and one function does everything that follows.
#pragma once

#include "kz/base/unknown.h"

#include <concepts>

// As the interpreter's headers declare it: the many generated files need nothing else of them.
using PyObject = struct _object;

// One forwarded operation. The signature says how the words are to be read:
//   first   r  the operation returns a result code     v  nothing, or a plain value, which is its first output
//   then    the inputs:  i I n f d z O  as the interpreter's value-building letters, V and v with a digit so many doubles
//           or floats, A and a storage letter (* for raw bytes)  a buffer of the host and, in a second word, its length in
//           elements, which is -1 when only the method knows
//   :       the outputs: i I n b f d z O, p an identifier, P an address, h hints, T  a text buffer and, in a second word,
//           its size, V and v with a digit
struct KzForwardedMethod {
    const char* name;
    const char* signature;
    PyObject* interned = nullptr;  // the name as a Python string, made on the first call
};

// Whether these are the letters of one input, or of one output: what the generator's table of kinds is held against.
constexpr bool kzIsOneOf(char letter, const char* letters) noexcept {
    while (*letters != '\0' && *letters != letter) ++letters;
    return letter != '\0' && *letters != '\0';
}
constexpr bool kzIsVector(const char* letters) noexcept {
    return kzIsOneOf(letters[0], "Vv") && kzIsOneOf(letters[1], "1234") && letters[2] == '\0';
}
constexpr bool kzCarriesInput(const char* letters) noexcept {
    const bool isBuffer = letters[0] == 'A' && kzIsOneOf(letters[1], "fidubp*") && letters[2] == '\0';
    return isBuffer || kzIsVector(letters) || (kzIsOneOf(letters[0], "iInfdzO") && letters[1] == '\0');
}
constexpr bool kzCarriesOutput(const char* letters) noexcept {
    return kzIsVector(letters) || (kzIsOneOf(letters[0], "iInbfdzOpPhT") && letters[1] == '\0');
}

// One argument on its way to Python, or the place of one output.
union KzWord {
    std::int64_t integer;
    double real;
    const void* pointer;

    template <std::integral Integer> KzWord(Integer value) noexcept : integer(static_cast<std::int64_t>(value)) {}
    KzWord(double value) noexcept : real(value) {}
    KzWord(const void* value) noexcept : pointer(value) {}
};

// The length of an array, from its factors; 0 where one of them is negative, and the most there is where it is more.
template <std::integral... Factors> constexpr std::int64_t kzLength(Factors... factors) noexcept {
    std::int64_t length = 1;
    const auto multiply = [&length](std::int64_t factor) {
        if (factor < 0) factor = 0;
        if (__builtin_mul_overflow(length, factor, &length)) length = INT64_MAX;
    };
    (multiply(static_cast<std::int64_t>(factors)), ...);
    return length;
}

// The most inputs, and the most outputs, of any operation; the generator refuses more.
inline constexpr int kzMostInputs = 16;
inline constexpr int kzMostOutputs = 12;

// Calls the instance's method and stores what it returns; the words are those of the inputs and then the places of the
// outputs. Without an instance the answer is FAILED and Python is left alone. Of an operation that returns no result
// code the exceptions are dropped, and the caller ignores the answer.
KzResult kzForward(void* instance, KzForwardedMethod& method, const KzWord* words) noexcept;

template <class... Arguments>
KzResult kzRelay(void* instance, KzForwardedMethod& method, Arguments... arguments) noexcept {
    const KzWord words[] = {KzWord(arguments)..., KzWord(0)};
    return kzForward(instance, method, words);
}
