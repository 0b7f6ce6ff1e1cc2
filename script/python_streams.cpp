// The objects behind sys.stdout and sys.stderr.
#include "script/python_streams.h"

#include "module/checks.h"
#include "module/crossing_watch.h"
#include "module/output.h"
#include "module/py_ref.h"
#include "wrap/result_codes.h"

#include "kz/base/forever.h"

#include <structmember.h>

#include <array>
#include <cerrno>
#include <string>
#include <string_view>
#include <unistd.h>

namespace {

struct Stream {
    PyObject_HEAD std::string* partialLine;  // text after the last line feed: one of thePartialLines, or null
    const char* origin;
    KzResult level;
    int descriptor;
    int softspace;  // the print statement keeps its state here
    bool isDirect;  // the host gets text as it is written
    bool isMidLine;
};

// Bounds the memory for a line that never ends, such as that of a progress bar.
constexpr std::size_t longestPartialLine = 1U << 20;

Stream* self(PyObject* object) { return reinterpret_cast<Stream*>(object); }

// A stream that something still refers to outlives the interpreter, so it does not own its buffer.
CKzForever<std::array<std::string, 2>> thePartialLines;
Stream* theStreams[2] = {nullptr, nullptr};  // borrowed from sys; the types are never subclassed

void writeLine(const Stream& stream, std::string line) {
    kzWriteFrom(stream.origin, kzVisible(std::move(line)).c_str(), stream.level);
}

// Raises IOError as Python's own files do. A failure without an errno is dropped.
void raiseIfFailed(const KzPassResult& result) {
    if (!result.isAccepted || result.failure == 0) return;
    errno = result.failure;
    PyErr_SetFromErrno(PyExc_IOError);
    throw kzFailedCode;
}

KzPassResult pass(Stream& stream, std::string_view text) {
    const KzPassResult result = kzPass(stream.origin, text, stream.level);
    stream.isDirect = result.isAccepted;
    stream.isMidLine = text.back() != '\n';
    return result;
}

void flushPartialLine(Stream& stream) {
    if (stream.partialLine == nullptr || stream.partialLine->empty()) return;
    const std::string line = std::move(*stream.partialLine);
    stream.partialLine->clear();
    // The text is a line of its own now, so print must not write a blank before the next one.
    if (!stream.isDirect) stream.softspace = 0;
    writeLine(stream, line);
}

void flushOthers(const Stream& stream) {
    for (Stream* other : theStreams)
        if (other != nullptr && other != &stream) flushPartialLine(*other);
}

void append(Stream& stream, const char* text, std::size_t size) {
    if (size == 0) return;
    const KzPassResult result = pass(stream, {text, size});
    if (!result.isAccepted) flushOthers(stream);
    std::string_view rest(text, size);
    const auto takeLine = [&rest](std::size_t feed) {
        const std::string_view line = rest.substr(0, feed);
        rest.remove_prefix(feed + 1);
        return line;
    };
    if (std::size_t feed = rest.find('\n'); feed != std::string_view::npos) {
        // Emptied first, because writing a line calls the flush hook, which must not see this text again.
        std::string line = std::move(*stream.partialLine);
        stream.partialLine->clear();
        stream.softspace = 0;  // for log listeners that print
        writeLine(stream, std::move(line.append(takeLine(feed))));
        while ((feed = rest.find('\n')) != std::string_view::npos) writeLine(stream, std::string(takeLine(feed)));
    }
    stream.partialLine->append(rest);  // after anything that log listeners have printed meanwhile
    if (stream.partialLine->size() > longestPartialLine) flushPartialLine(stream);
    raiseIfFailed(result);
}

const char* nameOf(const Stream& stream) { return stream.descriptor == STDERR_FILENO ? "sys.stderr" : "sys.stdout"; }

PyObject* writeText(PyObject* object, PyObject* text) {
    return kzPythonEntry([=]() -> PyObject* {
        const CPyRefNull encoded(PyUnicode_Check(text) ? PyUnicode_AsUTF8String(text) : nullptr);
        if (PyUnicode_Check(text)) kzNonNull(encoded.get());
        const char* bytes = nullptr;
        Py_ssize_t size = 0;
        if (PyObject_AsCharBuffer(encoded.get() != nullptr ? encoded.get() : text, &bytes, &size) != 0) return nullptr;
        append(*self(object), bytes, static_cast<std::size_t>(size));
        Py_RETURN_NONE;
    });
}

PyObject* streamWrite(PyObject* object, PyObject* text) {
    return kzWatchedAside(KzCrossing::toHost, nameOf(*self(object)), "write", text,
                          [=] { return writeText(object, text); });
}

PyObject* streamWriteLines(PyObject* object, PyObject* lines) {
    return kzPythonEntry([=]() -> PyObject* {
        const CPyRefNull iterator(PyObject_GetIter(lines));
        kzNonNull(iterator.get());
        for (CPyRefNull line(PyIter_Next(iterator)); line.get() != nullptr; line.adopt(PyIter_Next(iterator))) {
            const CPyRefNull result(streamWrite(object, line));
            kzNonNull(result.get());
        }
        if (PyErr_Occurred() != nullptr) return nullptr;
        Py_RETURN_NONE;
    });
}

PyObject* flushText(PyObject* object) {
    return kzPythonEntry([=] {
        const KzPassResult result = kzPassOn(self(object)->origin);
        raiseIfFailed(result);
        if (!result.isAccepted) flushPartialLine(*self(object));
        Py_RETURN_NONE;
    });
}

PyObject* streamFlush(PyObject* object, PyObject* /*args*/) {
    return kzWatchedAside(KzCrossing::toHost, nameOf(*self(object)), "flush", nullptr,
                          [=] { return flushText(object); });
}

// Never a terminal, because output becomes log entries.
PyObject* streamIsATty(PyObject* /*object*/, PyObject* /*args*/) { Py_RETURN_FALSE; }

// The descriptor of the process's own stream, for code that passes it to a child process.
PyObject* streamFileno(PyObject* object, PyObject* /*args*/) { return PyInt_FromLong(self(object)->descriptor); }

PyObject* streamTrue(PyObject* /*object*/, PyObject* /*args*/) { Py_RETURN_TRUE; }
PyObject* streamFalse(PyObject* /*object*/, PyObject* /*args*/) { Py_RETURN_FALSE; }

// Only flushes: a script must not close the output of the process.
PyObject* streamClose(PyObject* object, PyObject* args) { return streamFlush(object, args); }

PyMethodDef streamMethods[] = {
    {"write", streamWrite, METH_O, "Pass text to the current output as it is; the log gets a line when it ends."},
    {"writelines", streamWriteLines, METH_O, "Write each string of a sequence."},
    {"flush", streamFlush, METH_NOARGS, "Show an unfinished line."},
    {"isatty", streamIsATty, METH_NOARGS, "False."},
    {"fileno", streamFileno, METH_NOARGS, "The descriptor of the process's own stream."},
    {"close", streamClose, METH_NOARGS, "As flush: the stream stays open."},
    {"readable", streamFalse, METH_NOARGS, "False."},
    {"writable", streamTrue, METH_NOARGS, "True."},
    {"seekable", streamFalse, METH_NOARGS, "False."},
    {nullptr, nullptr, 0, nullptr},
};

PyObject* constantText(PyObject* /*object*/, void* text) { return PyString_FromString(static_cast<const char*>(text)); }

PyObject* streamName(PyObject* object, void* /*unused*/) {
    return PyString_FromString(self(object)->descriptor == STDERR_FILENO ? "<stderr>" : "<stdout>");
}

PyObject* streamClosed(PyObject* /*object*/, void* /*unused*/) { Py_RETURN_FALSE; }
PyObject* streamNone(PyObject* /*object*/, void* /*unused*/) { Py_RETURN_NONE; }

PyGetSetDef streamAttributes[] = {
    {kzText("encoding"), constantText, nullptr, kzText("How unicode text is written."), kzText("UTF-8")},
    {kzText("errors"), constantText, nullptr, kzText("Encoding errors are raised."), kzText("strict")},
    {kzText("mode"), constantText, nullptr, nullptr, kzText("w")},
    {kzText("name"), streamName, nullptr, nullptr, nullptr},
    {kzText("closed"), streamClosed, nullptr, nullptr, nullptr},
    {kzText("newlines"), streamNone, nullptr, nullptr, nullptr},
    {nullptr, nullptr, nullptr, nullptr, nullptr},
};

PyMemberDef streamMembers[] = {
    {kzText("softspace"), T_INT, offsetof(Stream, softspace), 0, nullptr},
    {nullptr, 0, 0, 0, nullptr},
};

void streamFree(PyObject* object) {
    for (Stream*& slot : theStreams)
        if (slot == self(object)) slot = nullptr;
    flushPartialLine(*self(object));
    self(object)->partialLine = nullptr;
    Py_TYPE(object)->tp_free(object);
}

PyTypeObject describe() {
    PyTypeObject type{};
    Py_REFCNT(&type) = 1;
    type.tp_name = "kz.OutputStream";
    type.tp_basicsize = sizeof(Stream);
    type.tp_dealloc = streamFree;
    type.tp_flags = Py_TPFLAGS_DEFAULT;
    type.tp_doc = "Passes what Python prints to the host's log.";
    type.tp_methods = streamMethods;
    type.tp_members = streamMembers;
    type.tp_getset = streamAttributes;
    return type;
}

PyTypeObject streamType = describe();

void flushStreams() noexcept {
    for (Stream* stream : theStreams) {
        if (stream == nullptr) continue;
        kzValueBoundary([stream] { flushPartialLine(*stream); });
    }
}

void install(const char* name, const char* original, int descriptor, const char* origin, KzResult level) {
    const CPyRefNull object(kzNonNull(PyType_GenericAlloc(&streamType, 0)));
    Stream* stream = self(object);
    stream->partialLine = &(*thePartialLines)[descriptor == STDERR_FILENO ? 1 : 0];
    stream->partialLine->clear();
    stream->origin = origin;
    stream->level = level;
    stream->descriptor = descriptor;
    kzNonNegative(PySys_SetObject(kzText(name), object));
    kzNonNegative(PySys_SetObject(kzText(original), object));
    theStreams[descriptor == STDERR_FILENO ? 1 : 0] = stream;
}

}  // namespace

void kzInstallStreams() {
    kzNonNegative(PyType_Ready(&streamType));
    install("stdout", "__stdout__", STDOUT_FILENO, kzFromOutput, 1);
    install("stderr", "__stderr__", STDERR_FILENO, kzFromError, 2);
    kzSetFlushHook(flushStreams);
}

void kzPrintLine(std::string line) {
    Stream* out = theStreams[0];
    const bool endsAnother = out != nullptr && out->isDirect && out->isMidLine;
    const KzPassResult result = kzPass(kzFromOutput, (endsAnother ? "\n" : "") + line + "\n", 1);
    if (out != nullptr) {
        out->isMidLine = false;
        out->softspace = 0;
    }
    kzWriteFrom(kzFromOutput, kzVisible(std::move(line)).c_str(), 1);
    raiseIfFailed(result);
}
