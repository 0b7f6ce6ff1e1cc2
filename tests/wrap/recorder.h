// The base of generated recording objects. Each call records its arguments as Python objects, and answers
// with what a test has prepared. The conversions are independent of the marshallers.
#pragma once

#include "module/py_ref.h"
#include "module/python.h"
#include "tests/bare_host/short_memory.h"
#include "tests/support/plugin_host.h"

#include "kz/base/polymorph.h"

#include <concepts>
#include <cstring>
#include <span>
#include <string>
#include <type_traits>

struct KzRecorderRow {
    const char* stem;
    const KzGuid* iid;
    std::unique_ptr<CKzInterfaceRecord> (*makeRecord)(const KzGuid& iid);
};

// One for each wrapped interface and service; the generator writes them.
extern const std::span<const KzRecorderRow> kzRecorders;

// One call. The generated method passes its inputs, then its outputs, then the type that it returns.
class CRecord {
public:
    CRecord(IKzUnknown* object, const char* method);
    ~CRecord();
    CRecord(const CRecord&) = delete;
    CRecord& operator=(const CRecord&) = delete;

    template <std::integral Value> CRecord& in(Value value) { return note(PyLong_FromLongLong(value)); }
    template <std::floating_point Value> CRecord& in(Value value) { return note(PyFloat_FromDouble(value)); }
    CRecord& in(const char* text);
    CRecord& in(IKzUnknown* object);
    CRecord& in(const KzTextValueHint* hints);
    CRecord& in(const KzBlockList* blocks);
    CRecord& address(const void* value);
    template <class Struct> CRecord& in(const Struct* value) { return note(noted(*value)); }

    CRecord& out(bool* place) { return *place = PyObject_IsTrue(next()) == 1, *this; }
    template <std::integral Value> CRecord& out(Value* place) {
        return *place = static_cast<Value>(PyLong_AsLong(next())), *this;
    }
    template <std::floating_point Value> CRecord& out(Value* place) {
        return *place = static_cast<Value>(PyFloat_AsDouble(next())), *this;
    }
    CRecord& out(const char** place);
    CRecord& out(IKzUnknown** place);
    CRecord& out(const KzTextValueHint** place);
    CRecord& text(char* buffer, std::uint32_t length);
    CRecord& outAddress(void* place);
    template <class Struct> CRecord& out(Struct* place) { return lay(*place, next()), *this; }

    KzResult code();
    void nothing();
    template <class Value> Value value() {
        Value returned{};
        if constexpr (std::is_integral_v<Value>)
            if (m_asked) return 2;
        out(&returned);
        nothing();
        return returned;
    }
    template <class Pointer> Pointer returnAddress() {
        Pointer returned{};
        outAddress(&returned);
        nothing();
        return returned;
    }

private:
    CRecord& note(PyObject* owned);

    // Structs of numbers are noted and laid out as lists of them, any other struct as its bytes.
    template <class Number> static auto numbersOf(Number& value) {
        if constexpr (requires { value.v[0]; }) return std::span(value.v);
        else if constexpr (requires { value.m[0][0]; })
            return std::span(&value.m[0][0], sizeof value / sizeof value.m[0][0]);
        else if constexpr (requires { value.min.v[0]; }) return std::span(&value.min.v[0], 6);
    }
    template <class Struct> static PyObject* noted(const Struct& value) {
        static_assert(std::is_trivially_copyable_v<Struct>);
        if constexpr (std::is_void_v<decltype(numbersOf(value))>) {
            return PyString_FromStringAndSize(reinterpret_cast<const char*>(&value), sizeof value);
        } else {
            PyObject* list = PyList_New(0);
            for (const auto number : numbersOf(value))
                PyList_Append(list, CPyRef(PyFloat_FromDouble(number), CPyRef::owned));
            return list;
        }
    }
    template <class Struct> static void lay(Struct& place, PyObject* answer) {
        static_assert(std::is_trivially_copyable_v<Struct>);
        if constexpr (std::is_void_v<decltype(numbersOf(place))>) {
            if (PyString_Size(answer) == sizeof place) std::memcpy(&place, PyString_AsString(answer), sizeof place);
            else PyErr_SetString(PyExc_ValueError, "the answer has not the size of the struct");
        } else {
            for (Py_ssize_t index = 0; auto& number : numbersOf(place))
                number = static_cast<std::remove_reference_t<decltype(number)>>(
                    PyFloat_AsDouble(PyList_GetItem(answer, index++)));
        }
    }
    PyObject* next();

    const CAmpleMemory m_ample;  // a recording host is not what runs out of memory
    const char* m_method;
    PyObject* m_inputs;
    Py_ssize_t m_answer = 0;
    bool m_short = false;
    bool m_asked;
};

// The Python module "recorder", with which scripts make recording objects, prepare answers and read the records:
//   make(stem)            the address of a new object, with a reference that the caller owns
//   release(address)      gives a reference back
//   answer(code, values)  what the next calls answer: outputs in order, then a returned value
//   ask(names)            from now on these methods answer 2 and are not recorded, because they are asked for lengths
//   calls()               the calls since the last time: [(method, object's address, [input, ...]), ...]
//   during(callable[, otherwise])  called at the end of the next host call, as a host calls back into Python, or by the
//                         interpreter's own means of entering; None for nothing
//   elsewhere(callable)   called on a thread of the host's, while this one waits without the lock
//   reasons()             the reasons for refusals that were logged since the last time
//   serve(stem)           the address of a recording service that the host hands out once
//   alive()               which host objects are alive, and how many of each
//   fail(text)            a failure of the test
void kzAddRecorderModule(CPluginHost& host);

// The recording service for the identity, if a script has prepared one that is not taken yet; null otherwise.
IKzUnknown* kzRecordingService(const KzGuid& iid);

// Clears the pending exception and returns its text.
std::string kzTakeException();
