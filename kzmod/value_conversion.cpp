// Converting the values of a query to Python objects.
#include "kzmod/value_conversion.h"

#include "kzmod/host_text.h"
#include "module/checks.h"
#include "module/output.h"
#include "module/runtime.h"

#include "kz/result.h"

#include <cmath>

namespace {

constexpr const char* arrayLabel = "value_array";

// Deliberately not 180/pi to the last digit: scripts compare angles with numbers that this factor has produced.
constexpr double degreesPerRadian = 57.295780490442965;

PyObject* textObject(const std::string* text) {
    if (text == nullptr) Py_RETURN_NONE;
    return PyString_FromStringAndSize(text->data(), static_cast<Py_ssize_t>(text->size()));
}

// A number is traced as the single character with that code, which existing log readers expect.
std::string characterOf(std::int64_t code) { return {static_cast<char>(code & 0xFF)}; }

std::int64_t truncated(double value) {
    return std::isfinite(value) ? static_cast<std::int64_t>(std::fmod(std::trunc(value), 256.0)) : 0;
}

// Reads the elements of one array.
class CElementReader {
public:
    CElementReader(CCall& call, const CKzUser_ValueArray& values, std::uint32_t type, double factor,
                   const KzTextValueHint* hints)
        : m_call(call), m_values(values), m_type(type), m_factor(factor), m_hints(hints) {
        kzTakeService(m_service);
    }

    // A new reference; null, with an exception pending or noted, after a failure.
    PyObject* read(std::uint32_t index) {
        CPyRefNull element(readByType(index));
        if (kzFailed(m_code)) {
            m_call.traceAs("kz.eval", "internal error: could not get value");
            return m_call.raise(m_string.text());
        }
        return element.get() != nullptr ? element.release() : m_call.keepPending();
    }

private:
    PyObject* readByType(std::uint32_t index) {
        if (m_type == KZiVALUE_TYPE_INTEGER) return readInteger(index);
        if (m_type == KZiVALUE_TYPE_FLOAT) return readFloat(index);
        return readString(index);
    }

    PyObject* readInteger(std::uint32_t index) {
        std::int32_t value = 0;
        m_code = m_values.GetInt(index, &value);
        if (kzSucceeded(m_code) && m_hints != nullptr) {
            CHostText text;
            const KzResult encoded = text.read([&](char* buffer, std::uint32_t length) {
                return m_service.TextHintEncode(value, m_hints, buffer, length);
            });
            if (encoded != KZe_OK_NO_CHOICES) {
                trace(index, text.text());
                return textObject(text.get());
            }
        }
        trace(index, characterOf(value));
        return PyInt_FromLong(value);
    }

    PyObject* readFloat(std::uint32_t index) {
        double value = 0.0;
        m_code = m_values.GetFloat(index, &value);
        value *= m_factor;
        trace(index, characterOf(truncated(value)));
        return PyFloat_FromDouble(value);
    }

    PyObject* readString(std::uint32_t index) {
        m_code = m_string.read(
            [&](char* buffer, std::uint32_t length) { return m_values.GetString(index, buffer, length); });
        trace(index, m_string.text());
        return textObject(m_string.get());
    }

    void trace(std::uint32_t index, const std::string& text) {
        if (kzTracing()) m_call.traceAs(("kz.eval " + characterOf(index)).c_str(), text.c_str());
    }

    CCall& m_call;
    const CKzUser_ValueArray& m_values;
    std::uint32_t m_type;
    double m_factor;
    const KzTextValueHint* m_hints;
    CKzUser_ValueService m_service;
    CHostText m_string;  // shared by all string reads: its content is the error's text if a read fails
    KzResult m_code = KZe_OK;
};

PyObject* readTuple(CCall& call, CElementReader& reader, CPyRefNull& tuple, std::uint32_t count) {
    for (std::uint32_t index = 0; index < count; ++index) {
        CPyRefNull element(reader.read(index));
        if (element.get() == nullptr) return nullptr;
        if (PyTuple_SetItem(tuple, index, element.release()) != 0) return call.keepPending();
    }
    return tuple.release();
}

}  // namespace

PyObject* kzConvertValues(CCall& call, const CKzUser_ValueArray& values, const KzTextValueHint* hints, KzShape shape) {
    std::uint32_t type = 0;
    const char* typeName = nullptr;
    if (kzFailed(values.Type(&type))) return call.failAs(arrayLabel, "internal: could not get value type");
    if (kzFailed(values.TypeName(&typeName)))
        return call.failAs(arrayLabel, "internal: could not get value type name.");
    const bool isAngle = kzTextOf(typeName) == KZsTYPE_ANGLE;
    const std::uint32_t count = values.Count();
    if (shape == KzShape::natural) shape = count < 2 ? KzShape::single : KzShape::tuple;
    if (shape == KzShape::single && count == 0) Py_RETURN_NONE;
    CPyRefNull tuple(shape == KzShape::tuple ? PyTuple_New(count) : nullptr);
    if (shape == KzShape::tuple && tuple.get() == nullptr) {
        call.traceAs(arrayLabel, "internal:  Could not allocate Python tuple");
        return call.keepPending();
    }
    const double factor = isAngle && PythonRuntime::running().anglesInDegrees ? degreesPerRadian : 1.0;
    CElementReader reader(call, values, type, factor, hints);
    return shape == KzShape::single ? reader.read(0) : readTuple(call, reader, tuple, count);
}
