// From an operation of a host interface to a Python method. The generator writes a table row and one line of code for
// each operation: the line packs the arguments into words, and a single function, kzForward, does everything else.
// Thousands of operations thus share one call path, and the generated code stays small.
#pragma once

#include "kz/base/unknown.h"

#include <concepts>

// The same declaration as in the interpreter's headers, of which the many generated files need nothing else.
using PyObject = struct _object;

// One forwarded operation. The signature says how the words are to be read:
//   first   r  the operation returns a result code     v  nothing, or a plain value, which is its first output
//   then    the inputs:  i I n f d z O  as the interpreter's value-building letters, A and a storage letter (* for raw
//           bytes)  a buffer of the host and, in a second word, its length in elements, which is -1 if only the method
//           knows it, K and the letter of a carrier (serve/carrier.h)  the address of a value
//   :       then the outputs: i I n b f d z O, p an identifier, P an address, h hints, T a text buffer and, in a second
//           word, its size, K as above
struct KzForwardedMethod {
    const char* name;
    const char* signature;
    PyObject* interned = nullptr;  // the name as a Python string, made on the first call
};

// Whether these are the letters of an input, or of an output. The generator's table of kinds is checked against them.
constexpr bool kzIsOneOf(char letter, const char* letters) noexcept {
    while (*letters != '\0' && *letters != letter) ++letters;
    return letter != '\0' && *letters != '\0';
}
constexpr bool kzCarriesInput(const char* letters) noexcept {
    const bool isBuffer = letters[0] == 'A' && kzIsOneOf(letters[1], "fidubp*") && letters[2] == '\0';
    return isBuffer || (kzIsOneOf(letters[0], "iInfdzO") && letters[1] == '\0');
}
constexpr bool kzCarriesOutput(const char* letters) noexcept {
    return kzIsOneOf(letters[0], "iInbfdzOpPhT") && letters[1] == '\0';
}

// One argument on its way to Python, or the address of one output.
union KzWord {
    std::int64_t integer;
    double real;
    const void* pointer;

    template <std::integral Integer> KzWord(Integer value) noexcept : integer(static_cast<std::int64_t>(value)) {}
    KzWord(double value) noexcept : real(value) {}
    KzWord(const void* value) noexcept : pointer(value) {}
};

// The product of an array's dimensions. A negative dimension counts as 0, and an overflow saturates.
template <std::integral... Factors> constexpr std::int64_t kzLength(Factors... factors) noexcept {
    std::int64_t length = 1;
    const auto multiply = [&length](std::int64_t factor) {
        if (factor < 0) factor = 0;
        if (__builtin_mul_overflow(length, factor, &length)) length = INT64_MAX;
    };
    (multiply(static_cast<std::int64_t>(factors)), ...);
    return length;
}

// The largest number of inputs and of outputs that an operation may have; the generator refuses more.
inline constexpr int kzMostInputs = 16;
inline constexpr int kzMostOutputs = 12;

// Calls the instance's method and stores what it returns. The words are the inputs, followed by the addresses of the
// outputs. Without an instance the result is FAILED, and Python is not entered. If the operation returns no result
// code, exceptions are dropped and the caller ignores the result.
KzResult kzForward(void* instance, KzForwardedMethod& method, const KzWord* words) noexcept;

template <class... Arguments>
KzResult kzRelay(void* instance, KzForwardedMethod& method, Arguments... arguments) noexcept {
    const KzWord words[] = {KzWord(arguments)..., KzWord(0)};
    return kzForward(instance, method, words);
}
