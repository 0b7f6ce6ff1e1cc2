// Conversion of returned values. All values are converted before the first one is stored.
#include "serve/outputs.h"

#include "module/pending_exception.h"
#include "serve/addresses.h"
#include "serve/carrier.h"
#include "wrap/result_codes.h"
#include "wrap/wrapper.h"

#include "kz/result.h"

#include <algorithm>
#include <cstring>

namespace {

// A converted value and its destination.
struct Output {
    char letter;
    const KzCarrier* carrier;  // of a K
    void* place;
    std::uint32_t length;  // of a text buffer
    union {
        long integer;
        void* pointer;
        const char* text;
        IKzUnknown* object;
        double number;
        std::byte carried[kzLargestCarried];
    };

    KzResult convert(PyObject* value) noexcept;
    void clear() noexcept;
    void store() const noexcept;
    void drop() const noexcept;

private:
    KzResult convertText(PyObject* value) noexcept;
    KzResult convertObject(PyObject* value) noexcept;
    template <class Value> void put(Value value) const noexcept {
        if (place != nullptr) *static_cast<Value*>(place) = value;
    }
};

// Reports to the log that a value could not be converted. The pending exception, which says why, stays pending.
KzResult logLoss(KzResult code) noexcept {
    const CPendingException pending;
    kzLostException(code);
    return code;
}

KzResult loggingLoss(KzResult code) noexcept { return kzFailed(code) ? logLoss(code) : code; }

KzResult codeOfPending() noexcept { return PyErr_Occurred() != nullptr ? logLoss(KZe_FAILED) : KZe_OK; }

KzResult Output::convert(PyObject* value) noexcept {
    switch (letter) {
    case 'f':
    case 'd': number = PyFloat_AsDouble(value); return number == -1.0 ? codeOfPending() : KZe_OK;
    case 'p': pointer = PyLong_AsVoidPtr(value); return pointer == nullptr ? codeOfPending() : KZe_OK;
    case 'P': return loggingLoss(kzReadAddress(value, pointer));
    case 'h': return loggingLoss(kzReadHints(value, pointer));
    case 'z':
    case 'T': return convertText(value);
    case 'O': return convertObject(value);
    case 'K': return loggingLoss(carrier->fromPython(value, carried));
    default: integer = PyLong_AsLong(value); return integer == -1 ? codeOfPending() : KZe_OK;
    }
}

void Output::clear() noexcept {
    std::memset(carried, 0, sizeof carried);  // the largest member, so all others are zero or null too
    if (letter == 'T') text = "";
    if (letter != 'T' || length > 0) store();
}

KzResult Output::convertText(PyObject* value) noexcept {
    text = nullptr;
    if (letter == 'z' && value == Py_None) return KZe_OK;
    text = PyString_AsString(value);
    if (text == nullptr) return logLoss(KZe_FAILED);
    const bool fits = letter == 'z' || (place != nullptr && std::strlen(text) < length);
    return fits ? KZe_OK : KZe_SHORTBUFFER;
}

KzResult Output::convertObject(PyObject* value) noexcept {
    return kzSucceeded(kzObjectToInterface(value, false, &object)) && object != nullptr ? KZe_OK : KZe_NOTFOUND;
}

void Output::store() const noexcept {
    switch (letter) {
    case 'i': put(static_cast<std::int32_t>(integer)); break;
    case 'I': put(static_cast<std::uint32_t>(integer)); break;
    case 'n': put(static_cast<std::intptr_t>(integer)); break;
    case 'b': put(integer != 0); break;
    case 'f': put(static_cast<float>(number)); break;
    case 'd': put(number); break;
    case 'z': put(text); break;
    case 'T': std::memcpy(place, text, std::strlen(text) + 1); break;
    case 'p':
    case 'P':
    case 'h': put(pointer); break;
    case 'O':
        if (place == nullptr) drop();
        put(object);
        break;
    default:
        if (place != nullptr) std::memcpy(place, carried, carrier->size);
    }
}

void Output::drop() const noexcept {
    if (letter == 'O') object->Release();
}

// The outputs of one call.
class COutputs {
public:
    COutputs(const char* letters, const KzWord* places) noexcept {
        for (; *letters != '\0'; ++letters) {
            Output& output = m_outputs[m_count++];
            output.letter = *letters;
            output.place = const_cast<void*>((places++)->pointer);
            if (*letters == 'T') output.length = static_cast<std::uint32_t>((places++)->integer);
            if (*letters == 'K') output.carrier = &kzCarrierAt(*++letters);
        }
    }
    int count() const noexcept { return m_count; }

    KzResult convert(PyObject* result, int& failedIndex) noexcept {
        failedIndex = 0;
        if (m_count == 1) return m_outputs[0].convert(result);
        failedIndex = -1;
        if (!PyTuple_Check(result) || PyTuple_GET_SIZE(result) != m_count) return KZe_FAILED;
        for (int index = 0; index < m_count; ++index) {
            const KzResult code = m_outputs[index].convert(PyTuple_GET_ITEM(result, index));
            if (kzSucceeded(code)) continue;
            failedIndex = index;
            std::for_each(m_outputs, m_outputs + index, [](const Output& output) { output.drop(); });
            return code;
        }
        return KZe_OK;
    }
    bool havePlaces() const noexcept {
        return std::all_of(m_outputs, m_outputs + m_count,
                           [](const Output& output) { return output.place != nullptr; });
    }
    void clear() noexcept {
        std::for_each(m_outputs, m_outputs + m_count, [](Output& output) { output.clear(); });
    }
    void store() const noexcept {
        std::for_each(m_outputs, m_outputs + m_count, [](const Output& output) { output.store(); });
    }

private:
    Output m_outputs[kzMostOutputs];
    int m_count = 0;
};

}  // namespace

KzResult kzStoreOutputs(PyObject* result, const char* letters, const KzWord* places, int& failedIndex) noexcept {
    if (*letters == '\0') return KZe_OK;
    COutputs outputs(letters, places);
    const KzResult code = outputs.convert(result, failedIndex);
    if (kzSucceeded(code)) outputs.store();
    return code;
}

bool kzHavePlaces(const char* letters, const KzWord* places) noexcept {
    return *letters == '\0' || COutputs(letters, places).havePlaces();
}

void kzClearOutputs(const char* letters, const KzWord* places) noexcept { COutputs(letters, places).clear(); }
