// The marshaller for signatures that few methods have: it walks rows that describe the parameters at run time. It uses
// the same kinds as the compiled marshallers of marshal.h and does the same in the same order; it costs a few indirect
// calls more for each parameter, and a tenth of the code.
#pragma once

#include "wrap/marshal_kinds.h"

#include <array>

namespace kz_marshal {

// What a kind can do, by address. Null where there is nothing to do: most kinds are plain words.
struct KindOperations {
    char letter;  // 0 for an output
    std::uint16_t size;
    void (*construct)(void* place);  // null: `size` is that of two words, which start as zero
    void (*destroy)(void* place);
    bool (*fast)(void* place, PyObject* object);
    void* (*parsed)(void* place);
    KzResult (*convert)(void* place);
    PyObject* (*make)(void* place, Types& types);
    bool (*grow)(void* place);  // for texts only
};

struct TwoWords {
    std::uint64_t words[2];
};

template <class Kind> Kind& at(void* place) noexcept { return *static_cast<Kind*>(place); }

template <class Kind> constexpr KindOperations operationsOf() {
    KindOperations row{};
    row.size = (sizeof(Kind) + sizeof(TwoWords) - 1) / sizeof(TwoWords) * sizeof(TwoWords);
    constexpr bool isPlain = std::is_trivially_destructible_v<Kind> && std::is_trivially_copyable_v<Kind>;
    if constexpr (!isPlain || sizeof(Kind) > sizeof(TwoWords)) row.construct = [](void* place) { new (place) Kind; };
    if constexpr (!isPlain) row.destroy = [](void* place) { at<Kind>(place).~Kind(); };
    if constexpr (Kind::isInput) {
        row.letter = Kind::letter;
        row.fast = [](void* place, PyObject* object) { return at<Kind>(place).fast(object); };
        row.parsed = [](void* place) -> void* { return &at<Kind>(place).parsed; };
        if constexpr (Kind::converts) row.convert = [](void* place) { return at<Kind>(place).convert(); };
    } else {
        row.make = [](void* place, Types& types) { return at<Kind>(place).make(types); };
        if constexpr (Kind::isText) row.grow = [](void* place) { return at<Kind>(place).buffer.grow(); };
    }
    return row;
}

template <class Kind> inline constexpr KindOperations operations = operationsOf<Kind>();

inline constexpr std::size_t mostParameters = 16;
inline constexpr std::size_t frameSize = 4096;

// A member function pointer without its type, small enough to travel in registers.
struct AnyMethod {
    std::intptr_t words[2];
};

// One signature as a row. `call` makes the typed call; a plain value comes back as a Python object in `first`.
struct SignatureRow {
    const KindOperations* const* kinds;
    std::uint8_t count;
    std::uint8_t inputs;
    bool isResult;
    bool hasFirst;
    bool hasText;
    const char* format;
    KzResult (*call)(IKzUnknown* object, AnyMethod method, void* const* places, PyObject** first, Types& types);
};

PyObject* marshalRows(IKzUnknown* const* place, PyObject* args, const SignatureRow& row, AnyMethod method,
                      Types types) noexcept;

}  // namespace kz_marshal
