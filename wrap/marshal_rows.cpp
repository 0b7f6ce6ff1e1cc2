// The marshaller that is driven by rows.
#include "wrap/marshal_rows.h"

#include "wrap/result_codes.h"

namespace kz_marshal {

namespace {

class RowFrame {
public:
    explicit RowFrame(const SignatureRow& row) noexcept : m_row(row) {
        std::byte* next = m_memory;
        for (; m_built < row.count; ++m_built) {
            const KindOperations& kind = *row.kinds[m_built];
            m_places[m_built] = next;
            if (kind.construct != nullptr) kind.construct(next);
            else new (next) TwoWords{};
            next += kind.size;
        }
    }
    ~RowFrame() {
        while (m_built-- > 0)
            if (const auto destroy = m_row.kinds[m_built]->destroy) destroy(m_places[m_built]);
    }
    RowFrame(const RowFrame&) = delete;
    RowFrame& operator=(const RowFrame&) = delete;

    void* const* places() const noexcept { return m_places; }

    bool fast(PyObject* args) noexcept {
        if (PyTuple_GET_SIZE(args) != m_row.inputs) return false;
        for (unsigned index = 0; index < m_row.inputs; ++index)
            if (!m_row.kinds[index]->fast(m_places[index], PyTuple_GET_ITEM(args, index))) return false;
        return true;
    }

    bool parse(PyObject* args) noexcept {
        void* p[mostParameters] = {};
        for (unsigned index = 0; index < m_row.inputs; ++index) p[index] = m_row.kinds[index]->parsed(m_places[index]);
        // The format takes as many of them as it has letters.
        return kzParse(args, m_row.format, p[0], p[1], p[2], p[3], p[4], p[5], p[6], p[7], p[8], p[9], p[10], p[11], p[12],
                       p[13], p[14], p[15]);
    }

    KzResult convert() noexcept {
        for (unsigned index = 0; index < m_row.inputs; ++index) {
            const auto convert = m_row.kinds[index]->convert;
            if (convert == nullptr) continue;
            if (const KzResult code = convert(m_places[index]); kzFailed(code)) return code;
        }
        return KZe_OK;
    }

    bool growTexts() noexcept {
        for (unsigned index = m_row.inputs; index < m_row.count; ++index)
            if (m_row.kinds[index]->grow != nullptr && !m_row.kinds[index]->grow(m_places[index])) return false;
        return true;
    }

    PyObject* makeResult(PyObject* first, Types types) noexcept {
        const unsigned outputs = m_row.count - m_row.inputs;
        if (m_row.hasFirst && (outputs == 0 || first == nullptr)) return first;
        if (outputs == 0) Py_RETURN_NONE;
        if (outputs == 1 && !m_row.hasFirst) return make(m_row.inputs, types);
        return makeTuple(first, outputs, types);
    }

private:
    PyObject* make(unsigned index, Types& types) noexcept { return m_row.kinds[index]->make(m_places[index], types); }

    PyObject* makeTuple(PyObject* first, unsigned outputs, Types types) noexcept {
        PyObject* tuple = PyTuple_New(outputs + (m_row.hasFirst ? 1 : 0));
        if (tuple == nullptr) {
            Py_XDECREF(first);
            return nullptr;
        }
        Py_ssize_t place = 0;
        if (m_row.hasFirst) PyTuple_SET_ITEM(tuple, place++, first);
        for (unsigned index = m_row.inputs; tuple != nullptr && index < m_row.count; ++index) {
            PyObject* item = make(index, types);
            if (item != nullptr) PyTuple_SET_ITEM(tuple, place++, item);
            else Py_CLEAR(tuple);
        }
        return tuple;
    }

    const SignatureRow& m_row;
    unsigned m_built = 0;
    void* m_places[mostParameters];
    alignas(16) std::byte m_memory[frameSize];
};

}  // namespace

PyObject* marshalRows(IKzUnknown* const* place, PyObject* args, const SignatureRow& row, AnyMethod method,
                      Types types) noexcept {
    kzSetQuiet(false);
    if (*place == nullptr) return kzRaise(KZe_NOINTERFACE);
    RowFrame frame(row);
    if (!frame.fast(args) && !frame.parse(args)) return nullptr;
    if (const KzResult code = frame.convert(); kzFailed(code)) return kzRaise(code);
    IKzUnknown* object = *place;
    if (object == nullptr) return kzRaise(KZe_NOINTERFACE);
    PyObject* first = nullptr;
    KzResult code = row.call(object, method, frame.places(), &first, types);
    if (row.isResult) {
        while (row.hasText && code == KZe_SHORTBUFFER && frame.growTexts())
            code = row.call(object, method, frame.places(), &first, types);
        kzSetLastResult(code);
        if (kzFailed(code)) return kzRaise(code);
    }
    return frame.makeResult(first, types);
}

}  // namespace kz_marshal
