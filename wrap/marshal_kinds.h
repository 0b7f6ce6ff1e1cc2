// One small class for each kind of parameter: how an input is read from Python, how an output is returned to it, and what
// the host is passed for either. gen/kinds.def names these classes.
//
// Inputs have two lanes. `fast` reads an argument of exactly the plain type and never sets an exception. If it declines an
// argument of the call, the interpreter's parser reads them all, so both lanes accept and refuse the same arguments.
#pragma once

#include "wrap/marshal_core.h"
#include "wrap/wrapper.h"

#include <climits>
#include <tuple>

namespace kz_marshal {

// Convert to whatever pointer type, or type of place for a pointer, the method declares.
struct AnyPointer {
    void* value;
    template <class Target> operator Target*() const noexcept { return static_cast<Target*>(value); }
};
struct AnyPlace {
    void* value;
    template <class Target> operator Target**() const noexcept { return static_cast<Target**>(value); }
};

// The wrapper types of the objects that a method returns, in order.
using Types = const KzWrapperType* const*;

// Inputs: `argument` is where the parser writes, `convert` follows on either lane, and `pass` gives the values that the
// host is called with.

struct InputBase {
    static constexpr bool isInput = true;
    static constexpr bool isText = false;
    static constexpr bool isArray = false;
    KzResult convert() noexcept { return KZe_OK; }
};

// The factors of an array's length: a parameter's value, a table's value for one, or the answer of another method.

template <std::size_t place> struct ParameterFactor {
    template <class Frame> static std::int64_t of(IKzUnknown*, Frame& frame) noexcept {
        return std::get<place>(frame).number();
    }
};

template <auto table, std::size_t place> struct TableFactor {
    template <class Frame> static std::int64_t of(IKzUnknown*, Frame& frame) noexcept {
        const std::int64_t size = table(std::get<place>(frame).number());
        return size >= 0 ? size : kzUnknownSize;
    }
};

template <auto method, std::size_t... places> struct MethodFactor {
    template <class Frame> static std::int64_t of(IKzUnknown* object, Frame& frame) noexcept {
        return ask(object, method, std::tuple_cat(std::get<places>(frame).pass()...));
    }

private:
    template <class Interface, class Returned, class... Arguments, class Values>
    static std::int64_t ask(IKzUnknown* object, Returned (Interface::*operation)(Arguments...),
                            Values&& values) noexcept {
        return std::apply([&](auto... each) { return (static_cast<Interface*>(object)->*operation)(each...); }, values);
    }
};

struct InInt : InputBase {
    static constexpr char letter = 'i';
    int argument = 0;
    std::int64_t number() const noexcept { return argument; }
    bool fast(PyObject* object) noexcept {
        if (!PyInt_CheckExact(object)) return false;
        const long value = PyInt_AS_LONG(object);
        argument = static_cast<int>(value);
        return value == argument;
    }
    auto pass() noexcept { return std::tuple<std::int32_t>(argument); }
};

struct InUint : InputBase {
    static constexpr char letter = 'I';
    unsigned int argument = 0;
    std::int64_t number() const noexcept { return argument; }
    bool fast(PyObject* object) noexcept {
        if (!PyInt_CheckExact(object)) return false;
        argument = static_cast<unsigned int>(PyInt_AS_LONG(object));
        return true;
    }
    auto pass() noexcept { return std::tuple<std::uint32_t>(argument); }
};

struct InSize : InputBase {
    static constexpr char letter = 'n';
    Py_ssize_t argument = 0;
    std::int64_t number() const noexcept { return argument; }
    bool fast(PyObject* object) noexcept {
        if (!PyInt_CheckExact(object)) return false;
        argument = PyInt_AS_LONG(object);
        return true;
    }
    auto pass() noexcept { return std::tuple<std::intptr_t>(argument); }
};

struct InId : InSize {
    auto pass() noexcept { return std::tuple<KzElementId>(reinterpret_cast<KzElementId>(argument)); }
};

struct InPointer : InSize {
    auto pass() noexcept { return std::tuple<AnyPointer>(AnyPointer{reinterpret_cast<void*>(argument)}); }
};

inline bool fastNumber(PyObject* object, double& number) noexcept {
    if (PyFloat_CheckExact(object)) number = PyFloat_AS_DOUBLE(object);
    else if (PyInt_CheckExact(object)) number = static_cast<double>(PyInt_AS_LONG(object));
    else return false;
    return true;
}

struct InDouble : InputBase {
    static constexpr char letter = 'd';
    double argument = 0;
    bool fast(PyObject* object) noexcept { return fastNumber(object, argument); }
    auto pass() noexcept { return std::tuple<double>(argument); }
};

struct InFloat : InputBase {
    static constexpr char letter = 'f';
    float argument = 0;
    bool fast(PyObject* object) noexcept {
        double number = 0;
        if (!fastNumber(object, number)) return false;
        argument = static_cast<float>(number);
        return true;
    }
    auto pass() noexcept { return std::tuple<float>(argument); }
};

struct InString : InputBase {
    static constexpr char letter = 'z';
    const char* argument = nullptr;
    bool fast(PyObject* object) noexcept {
        argument = kzTakeText(object);
        return argument != kzNoText;
    }
    auto pass() noexcept { return std::tuple<const char*>(argument); }
};

// Inputs that the parser takes as objects.
struct ObjectInput : InputBase {
    static constexpr char letter = 'O';
    PyObject* argument = nullptr;
    bool fast(PyObject* object) noexcept {
        argument = object;
        return true;
    }
};

struct InObject : ObjectInput {
    IKzUnknown* object = nullptr;
    InObject() = default;
    InObject(const InObject&) = delete;
    InObject& operator=(const InObject&) = delete;
    ~InObject() { kzGiveBack(object); }
    KzResult convert() noexcept { return kzObjectToInterface(argument, true, &object); }
    auto pass() noexcept { return std::tuple<IKzUnknown*>(object); }
};

struct InGuid : ObjectInput {
    KzGuid guid{};
    KzResult convert() noexcept { return kzReadGuid(argument, guid); }
    auto pass() noexcept { return std::tuple<const KzGuid*>(&guid); }
};

template <class Vector> struct InVector : ObjectInput {
    Vector vector;
    KzResult convert() noexcept { return kzReadNumbers(argument, vector.v, std::size(vector.v)); }
    auto pass() noexcept { return std::tuple<const Vector*>(&vector); }
};

template <class Matrix> struct InMatrix : ObjectInput {
    Matrix matrix;
    KzResult convert() noexcept {
        return kzReadRows(argument, &matrix.m[0][0], std::size(matrix.m), std::size(matrix.m[0]));
    }
    auto pass() noexcept { return std::tuple<const Matrix*>(&matrix); }
};

struct InBounds : ObjectInput {
    KzBounds bounds;
    KzResult convert() noexcept { return kzReadBounds(argument, bounds); }
    auto pass() noexcept { return std::tuple<const KzBounds*>(&bounds); }
};

// `count` is the constant part of the length in elements, 0 if the length is not known; the factors multiply it.
template <std::int64_t bytes, std::int64_t count, class... Factors> struct InArray : ObjectInput {
    static constexpr bool isArray = count != 0;
    CStoragePin storage;
    KzResult convert() noexcept { return storage.pin(argument); }
    template <class Frame>
    KzResult measure([[maybe_unused]] IKzUnknown* object, [[maybe_unused]] Frame& frame) const noexcept {
        return storage.holds({bytes * count, Factors::of(object, frame)...});
    }
    auto pass() noexcept { return std::tuple<AnyPointer>(AnyPointer{storage.memory()}); }
};

struct InHints : ObjectInput {
    CHintTable table;
    KzResult convert() noexcept { return table.read(argument); }
    auto pass() noexcept { return std::tuple<const KzTextValueHint*>(table.rows()); }
};

struct InBlocks : ObjectInput {
    CBlockTable table;
    KzResult convert() noexcept { return table.read(argument); }
    auto pass() noexcept { return std::tuple<const KzBlockList*>(table.list()); }
};

// Outputs: `pass` gives the host the places to write to, `make` returns what it wrote as a Python object, and `drop`
// releases it instead. Neither is called after a failure, which may leave anything in an output.

struct OutputBase {
    static constexpr bool isInput = false;
    static constexpr bool isText = false;
    static constexpr bool isArray = false;
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
// Always a long; the interpreter's own function returns an int for most pointers.
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

// Memory of the host. Python sees as much of it as the description says there is.
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
    OutText() noexcept {}  // NOLINT(modernize-use-equals-default): defaulted it would zero the buffer first
    auto pass() noexcept { return std::tuple<char*, std::uint32_t>(buffer.data(), buffer.size()); }
    PyObject* make(Types&) noexcept { return buffer.make(); }
};

// For a method that must not be called twice: the buffer starts at its full size.
struct OutTextOnce : OutText {
    static constexpr bool isText = false;
    OutTextOnce() noexcept { buffer.growOnce(); }
};

struct OutObject : OutputBase {
    IKzUnknown* object = nullptr;
    auto pass() noexcept { return std::tuple<IKzUnknown**>(&object); }
    // The list has one wrapper type for each object output, null for an object of any type. Consumes the reference.
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

// What the generator's table of kinds says of a class here: the parser's letter and the C++ types that the host is passed.
template <class Input, char letter, class... Passed>
constexpr bool isInputOf =
    Input::isInput&& Input::letter ==
    letter&& std::is_convertible_v<decltype(std::declval<Input&>().pass()), std::tuple<Passed...>>;
template <class Output, class... Passed>
constexpr bool isOutputOf =
    !Output::isInput && std::is_convertible_v<decltype(std::declval<Output&>().pass()), std::tuple<Passed...>>;

}  // namespace kz_marshal
