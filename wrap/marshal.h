// A call from Python to the host. The generator writes one thunk for each method, which names the method and the kinds
// of its parameters. The work is done by a marshaller, a function template of this header, and all methods of one
// signature share one: there are about 3,400 methods, but only about 760 signatures.
//
// What a shared marshaller still has to know is which method to call. A pointer to the method would do, but each interface
// gives it another type, and with it another instance of the template. Every operation of an interface is virtual, though,
// and a pointer to a virtual member function is, in the C++ ABI of the platforms that we build for, two words: the
// function's offset in the table of operations plus one, and an adjustment of `this` that is zero here. So a thunk passes
// the first word, the *slot*, and the marshaller turns it back into a pointer to a member of IKzUnknown with the right
// parameters (slotOf and methodAt). The compiler then emits a plain call through the table.
//
// The object must outlive the call, although the call may run Python code that makes the wrapper let go of it. The
// marshaller takes no reference for that, which would cost two atomic operations per call: it notes the address in
// kzCalledObject, which CPyLock saves whenever the host calls back, and wrapper.cpp keeps what a wrapper lets go of until
// no call on that address is in progress.
#pragma once

#include "module/py_lock.h"
#include "wrap/marshal_kinds.h"
#include "wrap/method_refusal.h"
#include "wrap/result_codes.h"

#include <array>
#include <bit>

namespace kz_marshal {

// The parameters of one call, all inputs and then all outputs.
template <class... Parameters> struct Frame {
    std::tuple<Parameters...> parameters;

    static constexpr std::size_t inputs = (std::size_t(0) + ... + (Parameters::isInput ? 1 : 0));
    static constexpr std::size_t outputs = sizeof...(Parameters) - inputs;
    static constexpr bool hasText = (false || ... || Parameters::isText);
    static constexpr bool hasInputArray = (false || ... || (Parameters::isInput && Parameters::isArray));
    static constexpr bool hasOutputArray = (false || ... || (!Parameters::isInput && Parameters::isArray));

    bool fast(PyObject* args) noexcept {
        if (PyTuple_GET_SIZE(args) != static_cast<Py_ssize_t>(inputs)) return false;
        return [&]<std::size_t... index>(std::index_sequence<index...>) {
            return (... && std::get<index>(parameters).fast(PyTuple_GET_ITEM(args, index)));
        }
        (std::make_index_sequence<inputs>());
    }

    bool parse(PyObject* self, PyObject* args, std::intptr_t slot) noexcept {
        return [&]<std::size_t... index>(std::index_sequence<index...>) {
            static constexpr char format[] = {std::tuple_element_t<index, std::tuple<Parameters...>>::letter..., '\0'};
            const bool isParsed = kzParse(self, args, slot, format, &std::get<index>(parameters).argument...);
            return isParsed && inputs > 0;  // without inputs the parser is called only to refuse
        }
        (std::make_index_sequence<inputs>());
    }

    // On a failure `at` is the index of the parameter that failed.
    KzResult convert(std::size_t& at) noexcept {
        KzResult code = KZe_OK;
        [&]<std::size_t... index>(std::index_sequence<index...>) {
            static_cast<void>((... && (at = index, kzSucceeded(code = std::get<index>(parameters).convert()))));
        }
        (std::make_index_sequence<inputs>());
        return code;
    }

    // Checks the arrays among the inputs, or limits those among the outputs, to the lengths that the description gives
    // them, which may have to be asked of the object. On a failure `at` is the index of the array that is too short.
    template <bool ofInputs> KzResult measure(IKzUnknown* object, std::size_t& at) noexcept {
        KzResult code = KZe_OK;
        [&]<std::size_t... index>(std::index_sequence<index...>) {
            static_cast<void>((... && (at = index, measure<ofInputs>(object, std::get<index>(parameters), code))));
        }
        (std::make_index_sequence<sizeof...(Parameters)>());
        return code;
    }
    template <bool ofInputs, class Parameter>
    bool measure(IKzUnknown* object, Parameter& parameter, KzResult& code) noexcept {
        if constexpr (Parameter::isArray && Parameter::isInput == ofInputs)
            code = parameter.measure(object, parameters);
        return kzSucceeded(code);
    }

    // Calls the method with the values that the parameters pass.
    template <class Method> auto call(IKzUnknown* object, Method method) {
        return [&]<std::size_t... index>(std::index_sequence<index...>) {
            return std::apply([&](auto... values) { return (object->*method)(values...); },
                              std::tuple_cat(std::get<index>(parameters).pass()...));
        }
        (std::make_index_sequence<sizeof...(Parameters)>());
    }

    // Prepares another attempt: longer text buffers, and outputs without what the failed attempt wrote to them.
    bool growTexts() noexcept {
        bool grown = true;
        [&]<std::size_t... index>(std::index_sequence<index...>) {
            (growText(std::get<inputs + index>(parameters), grown), ...);
        }
        (std::make_index_sequence<outputs>());
        return grown;
    }
    static void growText(OutText& text, bool& grown) noexcept { grown = grown && text.buffer.grow(); }
    template <class Other> static void growText(Other& output, bool&) noexcept { output = Other(); }

    // None, one value, or a tuple that starts with `first` (an owned reference, or null).
    template <bool hasFirst> PyObject* makeResult(PyObject* first, Types types) noexcept {
        if constexpr (outputs == 0) {
            if constexpr (hasFirst) return first;
            else Py_RETURN_NONE;
        } else if constexpr (outputs == 1 && !hasFirst) {
            return std::get<inputs>(parameters).make(types);
        } else {
            return makeTuple<hasFirst>(first, types);
        }
    }
    template <bool hasFirst> PyObject* makeTuple(PyObject* first, Types types) noexcept {
        PyObject* tuple = hasFirst && first == nullptr ? nullptr : PyTuple_New(outputs + (hasFirst ? 1 : 0));
        Py_ssize_t place = 0;
        if constexpr (hasFirst) {
            if (tuple != nullptr) PyTuple_SET_ITEM(tuple, place++, first);
            else Py_XDECREF(first);
        }
        [&]<std::size_t... index>(std::index_sequence<index...>) {
            (put(tuple, place++, std::get<inputs + index>(parameters), types), ...);
        }
        (std::make_index_sequence<outputs>());
        return tuple;
    }
    // After an item that cannot be made the tuple is gone, and the remaining outputs are released.
    template <class Output> static void put(PyObject*& tuple, Py_ssize_t place, Output& output, Types& types) noexcept {
        if (tuple == nullptr) return output.drop();
        PyObject* item = output.make(types);
        if (item != nullptr) PyTuple_SET_ITEM(tuple, place, item);
        else Py_CLEAR(tuple);
    }
};

template <class Value> PyObject* makeReturned(Value value, Types& types) noexcept {
    if constexpr (std::is_same_v<Value, IKzUnknown*>) return kzNewReturned(*types++, value);
    else if constexpr (std::is_pointer_v<Value> && !std::is_same_v<Value, const char*>) return makePointer(value);
    else return makeValue<Value>(value);
}

// The first word of a pointer to a virtual member function, and the pointer for that word; see above.
template <class Method> std::intptr_t slotOf(Method method) noexcept {
    static_assert(sizeof(Method) == 2 * sizeof(std::intptr_t));
    return std::bit_cast<std::array<std::intptr_t, 2>>(method)[0];
}
template <class Method> Method methodAt(std::intptr_t slot) noexcept {
    if ((slot & 1) == 0) __builtin_unreachable();  // it would be the address of a function that is not virtual
    return std::bit_cast<Method>(std::array<std::intptr_t, 2>{slot, 0});
}

// A call from arguments to result. `typeList` is the list of wrapper types if the method returns objects, else empty.
template <bool isResult, class Method, class... Parameters, class... TypeList>
[[gnu::always_inline]] inline PyObject* marshalHere(PyObject* self, PyObject* args, std::intptr_t slot,
                                                    TypeList... typeList) noexcept {
    kzSetQuiet(false);
    Frame<Parameters...> frame;
    KzResult code = KZe_NOINTERFACE;
    if (kzWrapper(self)->target != nullptr) {
        if (!frame.fast(args)) [[unlikely]]
            if (!frame.parse(self, args, slot)) return nullptr;
        std::size_t at = 0;
        code = frame.convert(at);
        if (kzFailed(code)) [[unlikely]]
            return kzRefuse(self, slot, code, at);
    }
    if (!kzFailed(code)) [[likely]] {
        Types types = nullptr;
        ((types = typeList), ...);
        // Read only now: converting an argument may run code that changes what the wrapper refers to.
        IKzUnknown* object = kzWrapper(self)->target;
        kzCalledObject = object;  // borrowed from the wrapper, which may let go of it during the call
        if (object == nullptr) return kzRaise(KZe_NOINTERFACE);
        std::size_t at = 0;
        if constexpr (Frame<Parameters...>::hasInputArray)
            if (const KzResult fits = frame.template measure<true>(object, at); kzFailed(fits))
                return kzRefuse(self, slot, fits, at);
        if constexpr (isResult) {
            do code = frame.call(object, methodAt<Method>(slot));
            while (Frame<Parameters...>::hasText && code == KZe_SHORTBUFFER && frame.growTexts());
            kzSetLastResult(code);
            if (!kzFailed(code)) [[likely]] {
                if constexpr (Frame<Parameters...>::hasOutputArray) frame.template measure<false>(object, at);
                return frame.template makeResult<false>(nullptr, types);
            }
        } else if constexpr (std::is_void_v<decltype(frame.call(object, methodAt<Method>(slot)))>) {
            frame.call(object, methodAt<Method>(slot));
            return frame.template makeResult<false>(nullptr, types);
        } else {
            PyObject* first = makeReturned(frame.call(object, methodAt<Method>(slot)), types);
            return frame.template makeResult<true>(first, types);
        }
    }
    return kzRaise(code);
}

#ifdef __clang__
#define KZ_SHARED_COPY [[gnu::noinline]]
#else
#define KZ_SHARED_COPY [[gnu::noipa]]
#endif

// One instance for each signature. Not inlined or cloned, so that all translation units share a single copy.
template <bool isResult, class Method, class... Parameters, class... TypeList>
KZ_SHARED_COPY PyObject* marshal(PyObject* self, PyObject* args, std::intptr_t slot, TypeList... typeList) noexcept {
    return marshalHere<isResult, Method, Parameters...>(self, args, slot, typeList...);
}

}  // namespace kz_marshal

// What generated thunks call: names whether the method returns a result code, and the kinds of its parameters.
template <bool isResult, class... Parameters> struct KzCall {
    template <class Interface, class Returned, class... Arguments, class... TypeList>
    static PyObject* call(PyObject* self, PyObject* args, Returned (Interface::*method)(Arguments...),
                          TypeList... typeList) noexcept {
        using Method = Returned (IKzUnknown::*)(Arguments...);
        const std::intptr_t slot = kz_marshal::slotOf(static_cast<Method>(method));
        // Inlined: these methods do so little that even the call of a shared marshaller is measurable.
        if constexpr (isResult && sizeof...(Parameters) == 0)
            return kz_marshal::marshalHere<isResult, Method>(self, args, slot);
        else return kz_marshal::marshal<isResult, Method, Parameters...>(self, args, slot, typeList...);
    }
};
