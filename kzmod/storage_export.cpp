// How other Python objects use the memory of a kz.Storage in place.
#include "kzmod/storage_export.h"

#include "wrap/element_type.h"
#include "wrap/storage_buffer.h"

#include <cstring>

namespace {

char theNothing = 0;  // the memory of empty storages

void* startOf(const CStorageBuffer& buffer) noexcept {
    return buffer.memory() != nullptr ? buffer.memory() : &theNothing;
}

bool refuse(const char* why) noexcept {
    PyErr_SetString(PyExc_BufferError, why);
    return false;
}

bool canExport(const CStorageBuffer& buffer, bool isToWrite) noexcept {
    if (buffer.type() == nullptr) return refuse("Storage data type not set");
    if (!buffer.owned())
        return refuse("The storage shows memory of the host, which may end before whoever uses it; "
                      "take a copy of the elements, storage[:]");
    return buffer.writable() || !isToWrite || refuse("Storage buffer is not writable");
}

int exportView(PyObject* self, Py_buffer* view, int flags) {
    CStorageBuffer& buffer = kzStorageBuffer(self);
    const auto isAsked = [flags](int flag) { return (flags & flag) == flag; };
    if (view == nullptr) refuse("A storage is exported to views only");
    if (view == nullptr || !canExport(buffer, isAsked(PyBUF_WRITABLE))) return -1;
    *view = Py_buffer{};
    view->buf = startOf(buffer);
    view->len = static_cast<Py_ssize_t>(buffer.readableBytes());
    view->itemsize = static_cast<Py_ssize_t>(buffer.type()->elementSize());
    view->readonly = buffer.writable() ? 0 : 1;
    view->ndim = 1;
    view->smalltable[0] = view->len / view->itemsize;
    const char* formats = buffer.type()->formats();
    if (isAsked(PyBUF_FORMAT)) view->format = const_cast<char*>(formats + std::strlen(formats) - 1);
    if (isAsked(PyBUF_ND)) view->shape = &view->smalltable[0];
    if (isAsked(PyBUF_STRIDES)) view->strides = &view->itemsize;
    view->obj = self;
    Py_INCREF(self);
    buffer.beginExport();
    return 0;
}

void releaseView(PyObject* self, Py_buffer* /*view*/) { kzStorageBuffer(self).endExport(); }

// The old interface, which has no release: the memory stays exported as long as the storage lives.
Py_ssize_t lend(PyObject* self, Py_ssize_t segment, void** memory, bool isToWrite) noexcept {
    CStorageBuffer& buffer = kzStorageBuffer(self);
    if (segment != 0 || !canExport(buffer, isToWrite)) {
        if (segment != 0) PyErr_SetString(PyExc_SystemError, "a storage has one segment");
        return -1;
    }
    buffer.beginExport();
    *memory = startOf(buffer);
    return static_cast<Py_ssize_t>(buffer.readableBytes());
}

Py_ssize_t lendToRead(PyObject* self, Py_ssize_t segment, void** memory) { return lend(self, segment, memory, false); }
Py_ssize_t lendToWrite(PyObject* self, Py_ssize_t segment, void** memory) { return lend(self, segment, memory, true); }

Py_ssize_t segments(PyObject* self, Py_ssize_t* bytes) {
    if (bytes != nullptr) *bytes = static_cast<Py_ssize_t>(kzStorageBuffer(self).readableBytes());
    return 1;
}

}  // namespace

PyBufferProcs kzStorageExports{
    .bf_getreadbuffer = lendToRead,
    .bf_getwritebuffer = lendToWrite,
    .bf_getsegcount = segments,
    .bf_getcharbuffer = nullptr,
    .bf_getbuffer = exportView,
    .bf_releasebuffer = releaseView,
};
