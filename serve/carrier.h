// Kinds of values that the relay knows nothing of: their classes in wrap/marshal_kinds.h carry them to Python and back.
#pragma once

#include "wrap/marshal_kinds.h"

// One such kind. A value is `size` bytes, at most kzLargestCarried; neither function is given a null pointer.
struct KzCarrier {
    const char* kind;
    std::size_t size;
    // A new reference; null with an exception set on failure.
    PyObject* (*toPython)(const void* value) noexcept;
    // Notes what was expected if the object does not convert; an exception may be set as well. The value is untouched
    // then.
    KzResult (*fromPython)(PyObject* object, void* value) noexcept;
};

inline constexpr std::size_t kzLargestCarried = sizeof(KzMatrix4);

// The generated rows, each of which a signature names by its letter after a K.
extern const KzCarrier kzCarriers[];
inline const KzCarrier& kzCarrierAt(char letter) noexcept { return kzCarriers[letter - 'A']; }

// The row of a kind that a marshaller reads with one class and makes with the other.
template <class Input, class Output> constexpr KzCarrier kzCarrierOf(const char* kind) noexcept {
    using Value = std::remove_pointer_t<std::tuple_element_t<0, decltype(std::declval<Output&>().pass())>>;
    static_assert(Input::letter == 'O', "the class must convert any object by itself");
    static_assert(std::is_trivially_copyable_v<Value> && sizeof(Value) <= kzLargestCarried);
    return {kind, sizeof(Value),
            [](const void* value) noexcept -> PyObject* {
                Output output;
                std::memcpy(std::get<0>(output.pass()), value, sizeof(Value));
                kz_marshal::Types types = nullptr;
                return output.make(types);
            },
            [](PyObject* object, void* value) noexcept {
                Input input;
                input.argument = object;
                const KzResult code = input.convert();
                if (kzSucceeded(code)) std::memcpy(value, std::get<0>(input.pass()), sizeof(Value));
                return code;
            }};
}
