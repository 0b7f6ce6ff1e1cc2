// Calls of any operation through its interface: the generator gives one row for each, and one caller serves all
// operations of one signature.
#pragma once

#include "kz/base/unknown.h"

#include <bit>
#include <cstddef>
#include <type_traits>
#include <utility>
#include <vector>

// One argument of the operation, or what it returned.
union LoopbackWord {
    std::int64_t integer = 0;
    double real;
    void* pointer;
};

// A pointer to any operation.
struct LoopbackMethod {
    std::byte bytes[sizeof(void(IKzUnknown::*)())];
};
using LoopbackCaller = LoopbackWord (*)(IKzUnknown*, LoopbackMethod, const LoopbackWord*);

struct LoopbackRow {
    const char* interfaceName;
    const char* name;       // of the Python method; empty when the operation never reaches Python
    const char* signature;  // the relay's; for an operation that never reaches Python, its answer
    const char* lengths;    // of its array inputs: -1 when unknown, or a factor and, each after an @, inputs
    LoopbackMethod method;
    LoopbackCaller caller;
    bool returnsSomething;

    LoopbackWord call(IKzUnknown* object, const LoopbackWord* words) const { return caller(object, method, words); }
};

template <class Argument> Argument loopbackArgument(const LoopbackWord& word) {
    if constexpr (std::is_pointer_v<Argument>) return static_cast<Argument>(word.pointer);
    else if constexpr (std::is_floating_point_v<Argument>) return static_cast<Argument>(word.real);
    else return static_cast<Argument>(word.integer);
}

template <class Returned, class... Arguments>
LoopbackWord loopbackCall(IKzUnknown* object, LoopbackMethod erased, const LoopbackWord* words) {
    const auto method = std::bit_cast<Returned (IKzUnknown::*)(Arguments...)>(erased);
    const auto call = [&]<std::size_t... index>(std::index_sequence<index...>) {
        return (object->*method)(loopbackArgument<Arguments>(words[index])...);
    };
    LoopbackWord answer;
    constexpr std::make_index_sequence<sizeof...(Arguments)> all;
    if constexpr (std::is_void_v<Returned>) call(all);
    else if constexpr (std::is_pointer_v<Returned>)
        answer.pointer = const_cast<void*>(static_cast<const void*>(call(all)));
    else if constexpr (std::is_floating_point_v<Returned>) answer.real = call(all);
    else answer.integer = call(all);
    return answer;
}

template <class Interface, class Returned, class... Arguments>
LoopbackRow loopbackRow(const char* interfaceName, const char* name, const char* signature, const char* lengths,
                        Returned (Interface::*method)(Arguments...)) {
    const auto erased = std::bit_cast<LoopbackMethod>(static_cast<Returned (IKzUnknown::*)(Arguments...)>(method));
    constexpr bool returns = !std::is_void_v<Returned>;
    return {interfaceName, name, signature, lengths, erased, loopbackCall<Returned, Arguments...>, returns};
}

const std::vector<LoopbackRow>& loopbackRows();
