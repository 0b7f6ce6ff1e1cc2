// A call from Python to the host. The generator writes one thunk for each method; it names the method and the kinds of
// its parameters, and all methods of one signature share one marshaller, which this header makes.
#pragma once

#include "wrap/marshal_kinds.h"
#include "wrap/marshal_rows.h"
#include "wrap/result_codes.h"

#include <bit>

namespace kz_marshal {

// How a method's own return value reaches Python.
enum class Returns { result, nothing, value, pointer, object, typedObject };

template <class... Parameters> struct Frame {
    std::tuple<Parameters...> parameters;

    static constexpr std::size_t inputs = (std::size_t(0) + ... + (Parameters::isInput ? 1 : 0));
    static constexpr std::size_t outputs = sizeof...(Parameters) - inputs;
    static constexpr bool hasText = [] {
        bool found = false;
        ((found = found ||
                  [] {
                      if constexpr (Parameters::isInput) return false;
                      else return Parameters::isText;
                  }()),
         ...);
        return found;
    }();

    template <class Visit> void eachInput(Visit&& visit) {
        [&]<std::size_t... index>(std::index_sequence<index...>) { (visit(std::get<index>(parameters), index), ...); }
        (std::make_index_sequence<inputs>());
    }

    bool fast(PyObject* args) noexcept {
        if (PyTuple_GET_SIZE(args) != static_cast<Py_ssize_t>(inputs)) return false;
        return [&]<std::size_t... index>(std::index_sequence<index...>) {
            return (... && std::get<index>(parameters).fast(PyTuple_GET_ITEM(args, index)));
        }
        (std::make_index_sequence<inputs>());
    }

    bool parse(PyObject* args) noexcept {
        return [&]<std::size_t... index>(std::index_sequence<index...>) {
            static constexpr char format[] = {std::tuple_element_t<index, std::tuple<Parameters...>>::letter..., '\0'};
            return kzParse(args, format, &std::get<index>(parameters).parsed...);
        }
        (std::make_index_sequence<inputs>());
    }

    KzResult convert() noexcept {
        KzResult code = KZe_OK;
        [&]<std::size_t... index>(std::index_sequence<index...>) {
            static_cast<void>((... && kzSucceeded(code = std::get<index>(parameters).convert())));
        }
        (std::make_index_sequence<inputs>());
        return code;
    }

    // Calls the method with what every parameter passes.
    template <class Method> auto call(IKzUnknown* object, Method method) {
        return [&]<std::size_t... index>(std::index_sequence<index...>) {
            return std::apply([&](auto... values) { return (object->*method)(values...); },
                              std::tuple_cat(std::get<index>(parameters).pass()...));
        }
        (std::make_index_sequence<sizeof...(Parameters)>());
    }

    bool growTexts() noexcept {
        bool grown = true;
        [&]<std::size_t... index>(std::index_sequence<index...>) {
            (growText(std::get<inputs + index>(parameters), grown), ...);
        }
        (std::make_index_sequence<outputs>());
        return grown;
    }
    static void growText(OutText& text, bool& grown) noexcept { grown = grown && text.buffer.grow(); }
    template <class Other> static void growText(Other&, bool&) noexcept {}

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
        if (tuple == nullptr) {
            Py_XDECREF(first);
            return nullptr;
        }
        Py_ssize_t place = 0;
        if constexpr (hasFirst) PyTuple_SET_ITEM(tuple, place++, first);
        [&]<std::size_t... index>(std::index_sequence<index...>) {
            static_cast<void>((... && put(tuple, place++, std::get<inputs + index>(parameters).make(types))));
        }
        (std::make_index_sequence<outputs>());
        return tuple;
    }
    // The first item that cannot be made ends the tuple.
    static bool put(PyObject*& tuple, Py_ssize_t place, PyObject* item) noexcept {
        if (item != nullptr) PyTuple_SET_ITEM(tuple, place, item);
        else Py_CLEAR(tuple);
        return item != nullptr;
    }
};

template <class Value> PyObject* makeReturned(Value value, Types& types) noexcept {
    if constexpr (std::is_same_v<Value, IKzUnknown*>) return kzNewReturned(*types++, value);
    else if constexpr (std::is_pointer_v<Value> && !std::is_same_v<Value, const char*>) return makePointer(value);
    else return makeValue<Value>(value);
}

// One for each signature: `Returned` is void, KzResult (with isResult) or the plain value's type.
template <bool isResult, class... Parameters, class Method>
[[gnu::noinline]] PyObject* marshal(IKzUnknown* const* place, PyObject* args, Method method, Types types) noexcept {
    kzSetQuiet(false);
    if (*place == nullptr) return kzRaise(KZe_NOINTERFACE);
    Frame<Parameters...> frame;
    if (!frame.fast(args) && !frame.parse(args)) return nullptr;
    if (const KzResult code = frame.convert(); kzFailed(code)) return kzRaise(code);
    // Read again: converting an argument runs code that may have made the wrapper hold something else, or nothing.
    IKzUnknown* object = *place;
    if (object == nullptr) return kzRaise(KZe_NOINTERFACE);
    if constexpr (isResult) {
        KzResult code = frame.call(object, method);
        if constexpr (Frame<Parameters...>::hasText)
            while (code == KZe_SHORTBUFFER && frame.growTexts()) code = frame.call(object, method);
        kzSetLastResult(code);
        if (kzFailed(code)) return kzRaise(code);
        return frame.template makeResult<false>(nullptr, types);
    } else if constexpr (std::is_void_v<decltype(frame.call(object, method))>) {
        frame.call(object, method);
        return frame.template makeResult<false>(nullptr, types);
    } else {
        PyObject* first = makeReturned(frame.call(object, method), types);
        return frame.template makeResult<true>(first, types);
    }
}

// The same signature as a row, for marshalRows.
template <bool isResult, class Method, class... Parameters> struct Row {
    static constexpr std::size_t count = sizeof...(Parameters);
    static constexpr std::size_t inputs = Frame<Parameters...>::inputs;
    static_assert(count <= mostParameters && (0 + ... + operations<Parameters>.size) <= frameSize);

    static KzResult call(IKzUnknown* object, AnyMethod any, [[maybe_unused]] void* const* places,
                         [[maybe_unused]] PyObject** first, [[maybe_unused]] Types& types) {
        const auto method = std::bit_cast<Method>(any);
        const auto perform = [&]<std::size_t... index>(std::index_sequence<index...>) {
            return std::apply([&](auto... values) { return (object->*method)(values...); },
                              std::tuple_cat(at<Parameters>(places[index]).pass()...));
        };
        using Value = decltype(perform(std::make_index_sequence<count>()));
        if constexpr (isResult) {
            return perform(std::make_index_sequence<count>());
        } else {
            if constexpr (std::is_void_v<Value>) perform(std::make_index_sequence<count>());
            else *first = makeReturned(perform(std::make_index_sequence<count>()), types);
            return KZe_OK;
        }
    }
    template <class Returned, class... Arguments>
    static constexpr bool returnsValue(Returned (IKzUnknown::*)(Arguments...)) {
        return !isResult && !std::is_void_v<Returned>;
    }
    static constexpr const KindOperations* kinds[count + 1] = {&operations<Parameters>..., nullptr};
    static constexpr std::array<char, inputs + 1> format = [] {
        std::array<char, inputs + 1> letters{};
        std::size_t at = 0;
        ((operations<Parameters>.letter != 0 ? void(letters[at++] = operations<Parameters>.letter) : void()), ...);
        return letters;
    }();
    static constexpr SignatureRow row = {
        kinds, count, inputs, isResult, returnsValue(Method()), Frame<Parameters...>::hasText, format.data(), call};
};

}  // namespace kz_marshal

// What a generated thunk says: where its wrapper keeps the interface, the method, the kinds of its parameters.
enum class KzHolder { object, service };

template <KzHolder holder> IKzUnknown* const* kzPlaceOf(PyObject* self) noexcept {
    if constexpr (holder == KzHolder::object) return kzWrapper(self)->localized->place();
    else return &kzWrapper(self)->service;
}

// A signature that many methods share has a marshaller of its own; a rare one goes by its row. The generator counts.
template <KzHolder holder, bool isResult, class... Parameters> struct KzCall {
    template <class Interface, class Returned, class... Arguments>
    static PyObject* common(PyObject* self, PyObject* args, Returned (Interface::*method)(Arguments...),
                            kz_marshal::Types types = nullptr) noexcept {
        return kz_marshal::marshal<isResult, Parameters...>(
            kzPlaceOf<holder>(self), args, static_cast<Returned (IKzUnknown::*)(Arguments...)>(method), types);
    }
    template <class Interface, class Returned, class... Arguments>
    static PyObject* rare(PyObject* self, PyObject* args, Returned (Interface::*method)(Arguments...),
                          kz_marshal::Types types = nullptr) noexcept {
        using Method = Returned (IKzUnknown::*)(Arguments...);
        return kz_marshal::marshalRows(kzPlaceOf<holder>(self), args,
                                       kz_marshal::Row<isResult, Method, Parameters...>::row,
                                       std::bit_cast<kz_marshal::AnyMethod>(static_cast<Method>(method)), types);
    }
};
