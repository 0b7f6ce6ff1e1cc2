// One small class for each kind of parameter: how it is read from Python or made for it, and how it is passed to the
// host. An input reads its argument on a fast lane where the argument has exactly the plain type, and leaves everything
// else to the interpreter's parser, so that both accept and reject the same with the same errors.
#pragma once

#include "wrap/marshal_core.h"
#include "wrap/wrapper.h"

#include <climits>
#include <tuple>

namespace kz_marshal {

// A pointer that becomes whatever pointer type the method declares.
struct AnyPointer {
    void* value;
    template <class Target> operator Target*() const noexcept { return static_cast<Target*>(value); }
};
struct AnyPlace {
    void* value;
    template <class Target> operator Target**() const noexcept { return static_cast<Target**>(value); }
};

// The wrapper types of the objects that a method returns, in their order.
using Types = const KzWrapperType* const*;

// Inputs: `fast` reads without ever setting an exception; `parsed` is where the parser writes; `convert` follows the
// parse; `pass` gives the host's arguments.

struct InputBase {
    static constexpr bool isInput = true;
    static constexpr bool isText = false;
    static constexpr bool converts = false;
    static constexpr bool isArray = false;
    KzResult convert() noexcept { return KZe_OK; }
};

// What an array's length is multiplied by: a parameter, what a table has for one, or what the object answers.

template <std::size_t place> struct Counted {
    template <class Frame> static std::int64_t of(IKzUnknown*, Frame& frame) noexcept {
        return std::get<place>(frame).number();
    }
};

template <auto table, std::size_t place> struct Looked {
    template <class Frame> static std::int64_t of(IKzUnknown*, Frame& frame) noexcept {
        const std::int64_t size = table(std::get<place>(frame).number());
        return size >= 0 ? size : kzUnknownSize;
    }
};

template <auto method, std::size_t... places> struct Asked {
    template <class Frame> static std::int64_t of(IKzUnknown* object, Frame& frame) noexcept {
        return ask(object, method, std::tuple_cat(std::get<places>(frame).pass()...));
    }

private:
    template <class Interface, class Returned, class... Arguments, class Passed>
    static std::int64_t ask(IKzUnknown* object, Returned (Interface::*asked)(Arguments...), Passed&& passed) noexcept {
        return std::apply([&](auto... values) { return (static_cast<Interface*>(object)->*asked)(values...); }, passed);
    }
};

struct InInt : InputBase {
    static constexpr char letter = 'i';
    int parsed = 0;
    std::int64_t number() const noexcept { return parsed; }
    bool fast(PyObject* object) noexcept {
        if (!PyInt_CheckExact(object)) return false;
        const long value = PyInt_AS_LONG(object);
        parsed = static_cast<int>(value);
        return value == parsed;
    }
    auto pass() noexcept { return std::tuple<std::int32_t>(parsed); }
};

struct InUint : InputBase {
    static constexpr char letter = 'I';
    unsigned int parsed = 0;
    std::int64_t number() const noexcept { return parsed; }
    bool fast(PyObject* object) noexcept {
        if (!PyInt_CheckExact(object)) return false;
        parsed = static_cast<unsigned int>(PyInt_AS_LONG(object));
        return true;
    }
    auto pass() noexcept { return std::tuple<std::uint32_t>(parsed); }
};

struct InSize : InputBase {
    static constexpr char letter = 'n';
    Py_ssize_t parsed = 0;
    std::int64_t number() const noexcept { return parsed; }
    bool fast(PyObject* object) noexcept {
        if (!PyInt_CheckExact(object)) return false;
        parsed = PyInt_AS_LONG(object);
        return true;
    }
    auto pass() noexcept { return std::tuple<std::intptr_t>(parsed); }
};

struct InId : InSize {
    auto pass() noexcept { return std::tuple<KzElementId>(reinterpret_cast<KzElementId>(parsed)); }
};

struct InPointer : InSize {
    auto pass() noexcept { return std::tuple<AnyPointer>(AnyPointer{reinterpret_cast<void*>(parsed)}); }
};

inline bool fastNumber(PyObject* object, double& number) noexcept {
    if (PyFloat_CheckExact(object)) number = PyFloat_AS_DOUBLE(object);
    else if (PyInt_CheckExact(object)) number = static_cast<double>(PyInt_AS_LONG(object));
    else return false;
    return true;
}

struct InDouble : InputBase {
    static constexpr char letter = 'd';
    double parsed = 0;
    bool fast(PyObject* object) noexcept { return fastNumber(object, parsed); }
    auto pass() noexcept { return std::tuple<double>(parsed); }
};

struct InFloat : InputBase {
    static constexpr char letter = 'f';
    float parsed = 0;
    bool fast(PyObject* object) noexcept {
        double number = 0;
        if (!fastNumber(object, number)) return false;
        parsed = static_cast<float>(number);
        return true;
    }
    auto pass() noexcept { return std::tuple<float>(parsed); }
};

struct InString : InputBase {
    static constexpr char letter = 'z';
    const char* parsed = nullptr;
    bool fast(PyObject* object) noexcept {
        parsed = kzTakeText(object);
        return parsed != kzNoText;
    }
    auto pass() noexcept { return std::tuple<const char*>(parsed); }
};

// Everything that goes through the parser as an object.
struct ObjectInput : InputBase {
    static constexpr bool converts = true;
    static constexpr char letter = 'O';
    PyObject* parsed = nullptr;
    bool fast(PyObject* object) noexcept {
        parsed = object;
        return true;
    }
};

struct InObject : ObjectInput {
    IKzUnknown* object = nullptr;
    InObject() = default;
    InObject(const InObject&) = delete;
    InObject& operator=(const InObject&) = delete;
    ~InObject() { kzGiveBack(object); }
    KzResult convert() noexcept { return kzObjectToInterface(parsed, true, &object); }
    auto pass() noexcept { return std::tuple<IKzUnknown*>(object); }
};

struct InGuid : ObjectInput {
    KzGuid guid{};
    KzResult convert() noexcept { return kzReadGuid(parsed, guid); }
    auto pass() noexcept { return std::tuple<const KzGuid*>(&guid); }
};

template <class Vector> struct InVector : ObjectInput {
    Vector vector;
    KzResult convert() noexcept { return kzReadNumbers(parsed, vector.v, std::size(vector.v)); }
    auto pass() noexcept { return std::tuple<const Vector*>(&vector); }
};

template <class Matrix> struct InMatrix : ObjectInput {
    Matrix matrix;
    KzResult convert() noexcept {
        return kzReadRows(parsed, &matrix.m[0][0], std::size(matrix.m), std::size(matrix.m[0]));
    }
    auto pass() noexcept { return std::tuple<const Matrix*>(&matrix); }
};

struct InBounds : ObjectInput {
    KzBounds bounds;
    KzResult convert() noexcept { return kzReadBounds(parsed, bounds); }
    auto pass() noexcept { return std::tuple<const KzBounds*>(&bounds); }
};

// An element has so many bytes, and there are `count` elements, unless that is 0 because nobody says how many, times the
// factors.
template <std::int64_t bytes, std::int64_t count, class... Factors> struct InArray : ObjectInput {
    static constexpr bool isArray = count != 0;
    CStoragePin storage;
    KzResult convert() noexcept { return storage.pin(parsed); }
    template <class Frame>
    KzResult measure([[maybe_unused]] IKzUnknown* object, [[maybe_unused]] Frame& frame) const noexcept {
        return storage.holds({bytes * count, Factors::of(object, frame)...});
    }
    auto pass() noexcept { return std::tuple<AnyPointer>(AnyPointer{storage.memory()}); }
};

struct InHints : ObjectInput {
    CHintTable table;
    KzResult convert() noexcept { return table.read(parsed); }
    auto pass() noexcept { return std::tuple<const KzTextValueHint*>(table.rows()); }
};

struct InBlocks : ObjectInput {
    CBlockTable table;
    KzResult convert() noexcept { return table.read(parsed); }
    auto pass() noexcept { return std::tuple<const KzBlockList*>(table.list()); }
};

// Outputs: `pass` gives the host the places to write to, `make` the Python object for what it wrote, `drop` gives that
// back instead. Neither is called after a failure, which may leave anything in an output.

struct OutputBase {
    static constexpr bool isInput = false;
    static constexpr bool isText = false;
    static constexpr bool isArray = false;
    static constexpr bool converts = false;
    void drop() noexcept {}
};

template <class Value> PyObject* makeValue(Value value) noexcept;
template <> inline PyObject* makeValue(std::int32_t value) noexcept { return PyLong_FromLong(value); }
template <> inline PyObject* makeValue(std::uint32_t value) noexcept { return PyLong_FromUnsignedLong(value); }
template <> inline PyObject* makeValue(std::intptr_t value) noexcept { return PyLong_FromLong(value); }
template <> inline PyObject* makeValue(bool value) noexcept { return PyBool_FromLong(value ? 1 : 0); }
template <> inline PyObject* makeValue(float value) noexcept { return PyFloat_FromDouble(value); }
template <> inline PyObject* makeValue(double value) noexcept { return PyFloat_FromDouble(value); }
template <> inline PyObject* makeValue(const char* value) noexcept { return kzMakeString(value); }
// Always a long: the interpreter's own function makes an int of most pointers.
inline PyObject* makePointer(const void* value) noexcept {
    return PyLong_FromUnsignedLong(reinterpret_cast<std::uintptr_t>(value));
}

template <class Value> struct OutValue : OutputBase {
    Value value{};
    std::int64_t number() const noexcept { return static_cast<std::int64_t>(value); }
    auto pass() noexcept { return std::tuple<Value*>(&value); }
    PyObject* make(Types&) noexcept { return makeValue<Value>(value); }
};

struct OutId : OutputBase {
    KzElementId value = nullptr;
    auto pass() noexcept { return std::tuple<KzElementId*>(&value); }
    PyObject* make(Types&) noexcept { return makePointer(value); }
};

struct OutPointer : OutputBase {
    void* value = nullptr;
    auto pass() noexcept { return std::tuple<AnyPlace>(AnyPlace{&value}); }
    PyObject* make(Types&) noexcept { return makePointer(value); }
};

// Memory of the host, of which Python sees as much as is there.
template <std::int64_t bytes, std::int64_t count, class... Factors> struct OutArray : OutPointer {
    static constexpr bool isArray = count != 0;
    std::size_t extent = SIZE_MAX;
    template <class Frame>
    KzResult measure([[maybe_unused]] IKzUnknown* object, [[maybe_unused]] Frame& frame) noexcept {
        extent = kzProduct({bytes * count, Factors::of(object, frame)...});
        return KZe_OK;
    }
    PyObject* make(Types&) noexcept { return kzMakeArrayView(value, extent); }
};

struct OutText : OutputBase {
    static constexpr bool isText = true;
    CTextBuffer buffer;
    OutText() noexcept {}  // not defaulted, which would fill the buffer with zeros first
    auto pass() noexcept { return std::tuple<char*, std::uint32_t>(buffer.data(), buffer.size()); }
    PyObject* make(Types&) noexcept { return buffer.make(); }
};

// Of a method that may not be called again: the buffer is as large as it gets at once.
struct OutTextOnce : OutText {
    static constexpr bool isText = false;
    OutTextOnce() noexcept { buffer.growOnce(); }
};

struct OutObject : OutputBase {
    IKzUnknown* object = nullptr;
    auto pass() noexcept { return std::tuple<IKzUnknown**>(&object); }
    // One wrapper type stands in the list for each object output, null for one of any kind. Consumes the reference.
    PyObject* make(Types& types) noexcept { return kzNewReturned(*types++, object); }
    void drop() noexcept { kzGiveBack(object); }
};

template <class Vector> struct OutVector : OutputBase {
    Vector vector{};
    auto pass() noexcept { return std::tuple<Vector*>(&vector); }
    PyObject* make(Types&) noexcept { return kzMakeNumbers(vector.v, std::size(vector.v)); }
};

template <class Matrix> struct OutMatrix : OutputBase {
    Matrix matrix{};
    auto pass() noexcept { return std::tuple<Matrix*>(&matrix); }
    PyObject* make(Types&) noexcept { return kzMakeRows(&matrix.m[0][0], std::size(matrix.m), std::size(matrix.m[0])); }
};

struct OutBounds : OutputBase {
    KzBounds bounds{};
    auto pass() noexcept { return std::tuple<KzBounds*>(&bounds); }
    PyObject* make(Types&) noexcept { return kzMakeBounds(bounds); }
};

struct OutHints : OutputBase {
    const KzTextValueHint* hints = nullptr;
    auto pass() noexcept { return std::tuple<const KzTextValueHint**>(&hints); }
    PyObject* make(Types&) noexcept { return kzMakeHints(hints); }
};

}  // namespace kz_marshal
