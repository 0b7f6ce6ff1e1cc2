// A call from Python to the host. The generator writes one thunk for each method; it names the method and the kinds of
// its parameters, and all methods of one signature share one marshaller, which this header makes.
#pragma once

#include "module/py_lock.h"
#include "wrap/marshal_kinds.h"
#include "wrap/method_refusal.h"
#include "wrap/result_codes.h"

#include <array>
#include <bit>

namespace kz_marshal {

// How a method's own return value reaches Python.
enum class Returns { result, nothing, value, pointer, object, typedObject };

template <class... Parameters> struct Frame {
    std::tuple<Parameters...> parameters;

    static constexpr std::size_t inputs = (std::size_t(0) + ... + (Parameters::isInput ? 1 : 0));
    static constexpr std::size_t outputs = sizeof...(Parameters) - inputs;
    static constexpr bool converts = (false || ... || Parameters::converts);
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
            const bool parsed = kzParse(self, args, slot, format, &std::get<index>(parameters).parsed...);
            return parsed && inputs > 0;  // where nothing is expected it can only refuse, and nothing has to be kept
        }
        (std::make_index_sequence<inputs>());
    }

    // `at` becomes the place of the parameter that fails.
    KzResult convert(std::size_t& at) noexcept {
        KzResult code = KZe_OK;
        [&]<std::size_t... index>(std::index_sequence<index...>) {
            static_cast<void>((... && (at = index, kzSucceeded(code = std::get<index>(parameters).convert()))));
        }
        (std::make_index_sequence<inputs>());
        return code;
    }

    // Holds the arrays among the inputs, or among the outputs, against their lengths. The object may be asked for them.
    // `at` becomes the place of the one that does not fit.
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

    // Calls the method with what every parameter passes.
    template <class Method> auto call(IKzUnknown* object, Method method) {
        return [&]<std::size_t... index>(std::index_sequence<index...>) {
            return std::apply([&](auto... values) { return (object->*method)(values...); },
                              std::tuple_cat(std::get<index>(parameters).pass()...));
        }
        (std::make_index_sequence<sizeof...(Parameters)>());
    }

    // Before the next attempt: longer texts, and nothing of what the failed one has left in other outputs.
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

    // None, one value, or a tuple with `first` (owned, may be null) before the outputs.
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
    // The first item that cannot be made ends the tuple; what comes after it is given back.
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

// What a thunk passes of its method: every method is virtual, so its place in the interface's table says it all.
template <class Method> std::intptr_t slotOf(Method method) noexcept {
    static_assert(sizeof(Method) == 2 * sizeof(std::intptr_t));
    return std::bit_cast<std::array<std::intptr_t, 2>>(method)[0];
}
template <class Method> Method methodAt(std::intptr_t slot) noexcept {
    if ((slot & 1) == 0) __builtin_unreachable();  // would be a function's address
    return std::bit_cast<Method>(std::array<std::intptr_t, 2>{slot, 0});
}

// The whole way of a call. `types` is there where objects are returned.
template <bool isResult, class Method, class... Parameters, class... TypeList>
[[gnu::always_inline]] inline PyObject* marshalHere(PyObject* self, PyObject* args, std::intptr_t slot,
                                                    TypeList... typeList) noexcept {
    kzSetQuiet(false);
    Frame<Parameters...> frame;
    KzResult code = KZe_NOINTERFACE;
    if (kzWrapper(self)->held != nullptr) {
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
        // Read again: reading an argument may run code that makes the wrapper hold something else, or nothing.
        IKzUnknown* object = kzWrapper(self)->held;
        kzCalledObject = object;  // the reference is the wrapper's, which lets go of it at any time
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

// One for each signature. It is kept whole, so that all units of the build share a single copy.
template <bool isResult, class Method, class... Parameters, class... TypeList>
[[gnu::noipa]] PyObject* marshal(PyObject* self, PyObject* args, std::intptr_t slot, TypeList... typeList) noexcept {
    return marshalHere<isResult, Method, Parameters...>(self, args, slot, typeList...);
}

}  // namespace kz_marshal

// What a generated thunk says: the method, and the kinds of its parameters.
template <bool isResult, class... Parameters> struct KzCall {
    template <class Interface, class Returned, class... Arguments, class... TypeList>
    static PyObject* call(PyObject* self, PyObject* args, Returned (Interface::*method)(Arguments...),
                          TypeList... typeList) noexcept {
        using Method = Returned (IKzUnknown::*)(Arguments...);
        const std::intptr_t slot = kz_marshal::slotOf(static_cast<Method>(method));
        // Such methods have so little to do that even the way to what they could share shows.
        if constexpr (isResult && sizeof...(Parameters) == 0)
            return kz_marshal::marshalHere<isResult, Method>(self, args, slot);
        else return kz_marshal::marshal<isResult, Method, Parameters...>(self, args, slot, typeList...);
    }
};
