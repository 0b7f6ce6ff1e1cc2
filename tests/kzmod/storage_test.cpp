// kz.Storage: element types, sizes, offsets, texts, views of borrowed memory, and hostile use.
#include "scripted_host.h"

#include "kzmod/storage_type.h"
#include "module/py_ref.h"
#include "wrap/result_codes.h"
#include "wrap/storage_buffer.h"
#include "wrap/storage_elements.h"

class StorageTest : public PythonTest {
protected:
    // The outcome of an expression with `s` as the object.
    std::string with(PyObject* s, const std::string& expression) {
        PyDict_SetItemString(PyModule_GetDict(PyImport_AddModule("kz")), "s", s);
        return outcome("(lambda s: " + expression + ")(kz.s)");
    }
};

TEST_F(StorageTest, ElementsKeepWhatTheirTypeCanHold) {
    check({{"keep('f', (0.1, -2))", "(0.10000000149011612, -2.0)"},
           {"keep('float', [1])", "(1.0,)"},
           {"keep('d', (0.1, 3))", "(0.1, 3.0)"},
           {"keep('i', (-1, 2147483647, 2**32 + 5, 1.9))", "(-1, 2147483647, 5, 1)"},
           {"keep('b', (255, 256, -1))", "(255, 0, 255)"},
           {"keep('u', (0, 2**32 - 1, -1, 2**64 + 3))", "(0L, 4294967295L, 4294967295L, 3L)"},
           {"keep('p', (0, 2**63))", "(0L, 9223372036854775808L)"},
           {"keep('d', (1, 'x'))", "TypeError: a float is required"},
           {"keep('i', (2**70,))", "OverflowError: Python int too large to convert to C long"},
           {"keep('p', (1.5,))", "TypeError: an integer is required"}},
          "def keep(letter, values):\n  s = kz.Storage(letter)\n  s.set(values)\n  return s.get()\nr = ");
}

TEST_F(StorageTest, ErrorsAreExact) {
    check({{"kz.Storage('x')", "RuntimeError: Unknown storage type 'x'"},
           {"kz.Storage('')", "RuntimeError: Unknown storage type ''"},
           {"kz.Storage('f', -1)", "RuntimeError: Size must be larger than zero"},
           {"kz.Storage(None)", "TypeError: argument 1 must be string, not None"},
           {"kz.Storage().setSize(1)", "RuntimeError: Storage data type not set"},
           {"kz.Storage().setSize(-1)", "RuntimeError: Storage data type not set"},
           {"kz.Storage('f').setSize(0)", "RuntimeError: Size must be larger than zero"},
           {"kz.Storage('f').set(3)", "RuntimeError: Expected a sequence"},
           {"kz.Storage('f').set(())", "RuntimeError: Size must be larger than zero"},
           {"kz.Storage().set((1,))", "RuntimeError: Storage data type not set"},
           {"kz.Storage().get()", "RuntimeError: Unknown storage type"},
           {"kz.Storage('f').string()", "RuntimeError: Not a byte buffer"},
           {"kz.Storage('b').string()", "''"},
           {"kz.Storage('f', 4).offset(5)", "RuntimeError: Can't offset past end of buffer"},
           {"kz.Storage('f', 4)[4]", "IndexError: Out of bounds"},
           {"kz.Storage('f', 4)[-1]", "IndexError: Out of bounds"},
           {"s = kz.Storage('f', 4); s[-4] = 1", "IndexError: Out of bounds"},
           {"kz.Storage('f', 4)[2 ** 70]", "IndexError: Out of bounds"},
           {"kz.Storage('f', 4)[True], kz.Storage('f', 4)[1L]", "(0.0, 0.0)"},
           {"kz.Storage('f', 4)['x']", "TypeError: kz.Storage indices must be integers or slices, not str"},
           {"[list(kz.Storage('b', 2)), 0 in kz.Storage('b', 2)]", "[[0, 0], True]"},
           {"kz.Storage('f', 4).__setitem__(4, 1)", "IndexError: Out of bounds"},
           {"kz.Storage()[0]", "IndexError: Out of bounds"},
           {"kz.Storage('f', 4).__delitem__(0)", "TypeError: Storage elements cannot be deleted"},
           {"s = kz.Storage('f'); s += 3", "RuntimeError: Expected a sequence"}});
}

TEST_F(StorageTest, ObjectsOfKzAreNeitherCopiedNorGivenKeywords) {
    check({{"r = [w(Own(size=3)) and 1 for w in ways[:2]]", "[1, 1]"},
           {"r = [o for o in objects for w in ways if ' cannot be copied or pickled; ' not in text(w, o)]", "[]"},
           {"r = [t for t in types if 'takes no keyword arguments' not in text(t, size=1)]", "[]"},
           {"r = text(copy.copy, objects[4])",
            "'kz.object.Item objects cannot be copied or pickled; call the type with it to get another wrapper of the "
            "same object'"}},
          R"(
        import copy, pickle, cPickle
        def text(f, *a, **k):
          try: f(*a, **k)
          except TypeError as e: return str(e)
        class Sub(kz.Storage): pass
        class Own(kz.Storage):
          def __init__(self, size=1): kz.Storage.__init__(self, 'i', size)
          def __reduce__(self): return Own, ()
        types = [kz.Storage, kz.Service, kz.Monitor, kz.object.Unknown, kz.object.Item, kz.service.GUID, Sub]
        objects = [kz.Service('log') if t is kz.Service else t() for t in types]
        ways = [copy.copy, copy.deepcopy, pickle.dumps, lambda o: cPickle.dumps(o, 2)])"_lines);
}

TEST_F(StorageTest, LargeMemoryIsTouchedWhenItIsUsed) {
    EXPECT_EQ(outcome(R"(def resident(): return int(open('/proc/self/statm').read().split()[1]) * 4096
before = resident()
s = kz.Storage('d', 2 ** 27)
r = [resident() - before < 2 ** 24, s[0], s[2 ** 27 - 1]])"),
              "[True, 0.0, 0.0]");
}

TEST_F(StorageTest, SizeOffsetAndContents) {
    check(
        {{"s = kz.Storage('float', 4)\nr = [len(s), s.size(), s.offset(4), s.offset(), s.offset(1), s.offset(), "
          "len(s.get())]",
          "[4, 4, None, 4, None, 4, 3]"},
         {"s = kz.Storage('i', 3); s.set((1, 2, 3)); s.offset(1); r = [s[0], s.get(1), s.get(9), s.get(-3)]",
          "[2, (2,), (2, 3), ()]"},
         {"s = kz.Storage('i', 3); s.set((1, 2, 3)); s.offset(1); s[1] = 9; s.set((7, 8, 9)); s.offset(0); r = s.get()",
          "(1, 7, 8, 9)"},
         {"s = kz.Storage('i'); s += (1, 2); t = s; s += [3]; r = [s.get(), s is t, list(s)]",
          "[(1, 2, 3), True, [1, 2, 3]]"},
         {"s = kz.Storage('i', 4); s.offset(3); s.setSize(2); r = s.get()", "()"},
         {"s = kz.Storage('b'); s.set((97, 98, 99, 0, 100)); s.offset(2); r = s.string()", "'abc'"},
         {"s = kz.Storage('b'); s.set((97, 98)); s.string()", "RuntimeError: String buffer is unterminated"},
         {"s = kz.Storage('b', 3); s.setType('d'); s.set((1, 2, 3)); r = s.get()", "(1.0, 2.0, 3.0)"},
         {"class Sub(kz.Storage): pass\ns = Sub('i', 2)\nr = s.get()", "(0, 0)"}});
}

TEST_F(StorageTest, AFailedAssignmentKeepsTheSizeAndWhatItWrote) {
    const std::string kept = "['TypeError', 'an integer is required', ";
    check({{"s.set((9, 'x', 7))", kept + "(9, 2, 3)]"},
           {"s.set((9, 'x', 7, 6, 5))", kept + "(9, 2, 3)]"},
           {"s.set((9, 'x'))", kept + "(9, 2, 3)]"},
           {"s += (4, 'x')", kept + "(1, 2, 3)]"},
           {"s.setType('x')", "['RuntimeError', \"Unknown storage type 'x'\", (1, 2, 3)]"}},
          "s = kz.Storage('i', 3)\ns.set((1, 2, 3))\ntry:\n  ",
          "\nexcept Exception as e: r = [type(e).__name__, str(e), s.get()]");
}

TEST_F(StorageTest, SequencesMayLieAndChange) {
    const std::string classes = R"(
        class Say(object):
          def __init__(self, act): self.act = act
          def __int__(self): self.act(); return 5
        class Liar(object):
          def __init__(self, *lengths): self.lengths = list(lengths)
          def __len__(self): return self.lengths.pop(0)
          def __getitem__(self, i): return i
        s = kz.Storage('i', 2))"_lines;
    check({{"x = [1, 2, 3]; x[0] = Say(lambda: x.__delslice__(1, 3)); s.set(x)", "IndexError: list index out of range"},
           {"x = [1, 2, 3]; x[0] = Say(lambda: x.append(4)); s.set(x); r = s.get()", "(5, 2, 3)"},
           {"s.set([1, Say(lambda: s.setSize(50000)), 3]); r = s.get(3)", "(1, 5, 3)"},
           {"s.set([1, Say(lambda: s.setSize(1)), 3])", "IndexError: out of bounds"},
           {"s.set([1, Say(lambda: s.setType('d')), 3])", "IndexError: out of bounds"},
           {"s[1] = Say(lambda: s.setSize(1))", "IndexError: out of bounds"},
           {"s.set([Say(lambda: s.set([1] * 9)), 2]); r = [s[0], s[1], len(s)]", "[5, 2, 9]"},
           {"s.set(Liar(3, 2))", "RuntimeError: bad result: FAILED"},
           {"s.set(Liar(2, 2)); r = s.get()", "(0, 1)"},
           {"s.set((3, 4)); s.set(s); s += s; r = s.get()", "(3, 4, 3, 4)"},
           {"d = kz.Storage('d'); d.set((1.5, 2)); s.set(d); r = s.get()", "(1, 2)"},
           {"s.set(s.get() * 100000); r = len(s)", "200000"}},
          classes);
}

TEST_F(StorageTest, SlicesAreThoseOfLists) {
    check({{R"(
        marks = None, -9, -2, 0, 1, 4, 9, 2 ** 70; r = []
        for key in [slice(a, b, c) for a in marks for b in marks for c in (None, 1, 2, -1, -3, 9)]:
          each, expected = s[:], range(6)
          if list(s[key]) != expected[key]: r.append(key)
          new = range(10, 10 + len(expected[key])); each[key] = new
          if key.step not in (None, 1) or new: expected[key] = new
          if list(each) != expected: r.append(list(each)))"_lines,
            "[]"},
           {"for o in 2, 6:\n  s.offset(o)\n  r = r, list(s), list(reversed(s)), s[1:3].get(), len(s[:])",
            "((None, [2, 3, 4, 5], [5, 4, 3, 2], (3, 4), 4), [], [], (), 0)"},
           {"r, back = [], reversed(s)\nfor i in s:\n  r.append(i)\n  s.setSize(3)\nr += back",
            "[0, 1, 2, 5, 4, 3, 2, 1, 0]"},
           {"s[1:] = s[:-1]; s[::-1] = s; r = s.get()", "(4, 3, 2, 1, 0, 0)"},
           {"d = kz.Storage('d', 2); d[:] = (7.5, 8); s[:2], s[2:4] = d, memoryview(s)[1:3]; r = s.get()",
            "(7, 8, 8, 2, 4, 5)"},
           {"s[1:3] = 7", "RuntimeError: Expected a sequence"},
           {"s[1:3] = 'ab'", "TypeError: an integer is required"},
           {"try: s[1:3] = (7, 'x')\nexcept TypeError: r = s.get()", "(0, 1, 2, 3, 4, 5)"},
           {"del s[1:3]", "TypeError: Storage elements cannot be deleted"},
           {"r = s[:Say(lambda: s.setSize(1))]", "IndexError: Out of bounds"},
           {"s[:Say(lambda: s.setType('b'))] = range(5)", "IndexError: Out of bounds"},
           {"s[:2] = [Say(lambda: s.setSize(1)), 2]", "ValueError: A slice of 1 elements cannot take 2"}},
          R"(
              class Say(object):
                def __init__(self, act): self.act = act
                def __int__(self): self.act(); return 5
                __index__ = __int__
              r, s = None, kz.Storage('i', 6); s.set(range(6)))"_lines);
}

TEST_F(StorageTest, MemoryInUseStaysWhereItIs) {
    const std::string refused =
        "BufferError: The storage's memory cannot grow or move, because a memoryview, an array or a buffer uses it";
    check({{R"(
            r = []
            for each in 'fibdup':
              m = memoryview(kz.Storage(each, 3))
              strides = m.strides == (m.itemsize,)
              r.append('%s %d %s %s %d' % (m.format, m.itemsize, len(m), strides, m.readonly)))"_lines,
            "['f 4 3 True 0', 'i 4 3 True 0', 'B 1 3 True 0', 'd 8 3 True 0', 'I 4 3 True 0', 'Q 8 3 True 0']"},
           {"a, b = socket.socketpair(); t = kz.Storage('i', 3); r = a.send(s), b.recv_into(t), t.get()",
            "(12, 12, (1, 2, 3))"},
           {R"(
             class Sub(kz.Storage): pass
             s = Sub('i', 2); s.view = memoryview(s); lost = weakref.ref(s); r = [len(s.view)]
             del s; gc.collect(); r.append(lost()))"_lines,
            "[2, None]"},
           {"del s; r = struct.unpack('3i', v.tobytes())", "(1, 2, 3)"},
           {"memoryview(kz.Storage())", "BufferError: Storage data type not set"},
           {R"(
             r = []
             for f, x in (s.setSize, 4), (s.set, 'ab' * 9), (s.__iadd__, [1]), (s.setType, 'd'):
               try: f(x)
               except BufferError: r += s.get())"_lines,
            "[1, 2, 3, 1, 2, 3, 1, 2, 3, 1, 2, 3]"},
           {"w = v[1:]; del v; s.setSize(4)", refused},
           {"str(buffer(s)); del v; s.setSize(4)", refused},  // the end of a buffer is not known
           {"s.setSize(1); s.setType('f'); s.setSize(3); r = [len(v), len(s)]", "[3, 3]"},
           {"e = kz.Storage('i'); v = memoryview(e); e.setSize(4); r = [len(v), v.tobytes(), len(e)]", "[0, '', 4]"},
           // The thread writes into the memory without Python's lock.
           {R"(
             i, o = os.pipe(); f = os.fdopen(i, 'rb', 0)
             t = threading.Thread(target=lambda: f.readinto(s)); t.start(); del v; r = None
             while not r:
               try: s.setSize(len(s) + 1)
               except BufferError: r = 'refused'
             os.write(o, 'abcd' * len(s)); os.close(o); t.join()
             r = r, set(s) == set([0x64636261]))"_lines,
            "('refused', True)"}},
          R"(
            import gc, os, socket, struct, threading, weakref; s = kz.Storage('i')
            s.set((1, 2, 3)); v = memoryview(s))"_lines);
}

TEST_F(StorageTest, AllocationFailuresChangeNothing) {
    CStorageBuffer::setAllocate(
        [](std::size_t count, std::size_t size) { return count * size < 300 ? std::calloc(count, size) : nullptr; });
    const std::string failed = "'Allocation failied', ";
    check({{R"(
        s = kz.Storage('i'); s.set([1] * 50); r = []
        def tries(f, *a):
          try: f(*a)
          except MemoryError as e: r.append(str(e))
        tries(s.setSize, 100); tries(s.set, [2] * 100); tries(s.__iadd__, [1] * 50)
        tries(s.setType, 'd'); tries(kz.Storage, 'd', 70); r.append(s.get() == (1,) * 50))"_lines,
            "[" + failed + failed + failed + failed + failed + "True]"}});
    CStorageBuffer::setAllocate(nullptr);
}

TEST_F(StorageTest, AppendingTakesMemoryNowAndThen) {
    static int allocations = 0;
    CStorageBuffer::setAllocate([](std::size_t count, std::size_t size) {
        // Reserving spare room is optional.
        return ++allocations % 3 == 1 && count * size > 4096 ? nullptr : std::calloc(count, size);
    });
    check({{"s = kz.Storage('i')\nfor i in range(5000): s += (i,)\nr = s.get() == tuple(range(5000)), s.size()",
            "(True, 5000)"}});
    EXPECT_LT(allocations, 200);
    CStorageBuffer::setAllocate(nullptr);
}

TEST_F(StorageTest, ViewsReadAndWriteMemoryOfOthers) {
    float memory[4] = {1, 2, 3, 99};
    {
        const CPyRef view(kzNewStorageView(memory, 3, 'f'), CPyRef::owned);
        EXPECT_TRUE(kzIsStorage(view));
        EXPECT_EQ(with(view, "s.get()"), "(1.0, 2.0, 3.0)");
        EXPECT_EQ(with(view, "s.set((7, 8))"), "None");
        EXPECT_FLOAT_EQ(memory[1], 8.0F);
        for (const char* use : {"memoryview(s)", "str(buffer(s))"})
            EXPECT_EQ(with(view, use).substr(0, 56), "BufferError: The storage shows memory of the host, which") << use;
        EXPECT_EQ(with(view, "[s.__setitem__(slice(1, 2), s[:1]), memoryview(s[:]).shape]"), "[None, (2L,)]");
        EXPECT_FLOAT_EQ(memory[1], 7.0F);
        // Memory beyond the three elements cannot be accessed, whatever size or type is set.
        EXPECT_EQ(with(view, "[s.setSize(4), len(s)]"), "[None, 4]");
        EXPECT_EQ(with(view, "s[3]"), "IndexError: Out of bounds");
        EXPECT_EQ(with(view, "s[:]"), "IndexError: Out of bounds");
        EXPECT_EQ(with(view, "s.set((1, 1, 1, 1))"), "IndexError: out of bounds");
        EXPECT_EQ(with(view, "[s.setType('d'), s[1]]"), "IndexError: Out of bounds");
        EXPECT_EQ(with(view, "[s.setType('b'), s.setSize(13), s.set((1,) * 12)] and s.string()"),
                  "RuntimeError: String buffer is unterminated");
        EXPECT_FLOAT_EQ(memory[3], 99.0F);
        kzEndStorageView(view);
        EXPECT_EQ(with(view, "s.get()"), "()");
        EXPECT_EQ(with(view, "[s.setSize(2), s.get()]"), "[None, (0, 0)]");
        with(Py_None, "s");
    }
    const CPyRef lent(kzNewStorageView(memory, 0, 0), CPyRef::owned);
    EXPECT_EQ(with(lent, "s.get()"), "RuntimeError: Unknown storage type");
    EXPECT_EQ(with(lent, "s.set((1,))"), "RuntimeError: Storage buffer is not writable");
    EXPECT_EQ(with(lent, "s.__iadd__((1,))"), "RuntimeError: Storage buffer is not writable");
    EXPECT_EQ(with(lent, "[s.setType('f'), s.setSize(4), s[3], s.__setitem__(3, 5)]"), "[None, None, 99.0, None]");
    EXPECT_FLOAT_EQ(memory[3], 5.0F);
    const CPyRef none(kzNewStorageView(nullptr, 3, 'f'), CPyRef::owned);
    EXPECT_EQ(with(none, "[s.get(), s.set((1,)), s.get()]"), "[(), None, (1.0,)]");
    with(Py_None, "s");
}

TEST_F(StorageTest, PinnedMemoryStaysWhateverPythonDoes) {
    PyObject* storage = PyObject_CallFunction(reinterpret_cast<PyObject*>(&kzStorageType), kzText("si"), "i", 2);
    with(storage, "s.set((11, 12))");
    auto* memory = static_cast<std::int32_t*>(kzPinStorage(storage));
    EXPECT_EQ(kzPinStorage(storage), memory);
    EXPECT_EQ(with(storage, "[s.setSize(100000), s[0]]"), "[None, 11]");
    kzUnpinStorage(storage);
    with(Py_None, "s");
    Py_DECREF(storage);  // the pin keeps it
    EXPECT_EQ(memory[1], 12);
    memory[0] = 1;
    kzUnpinStorage(storage);
}

TEST_F(StorageTest, ASubclassIsNotPassedToTheHost) {
    const CPyRef names = newNames();
    const CPyRefNull subclass(PyRun_String("type('Sub', (kz.Storage,), {})()", Py_eval_input, names, names));
    EXPECT_FALSE(kzIsStorage(subclass));
}

TEST_F(StorageTest, MethodsClearTheQuietFlag) {
    for (const char* source : {"kz.Storage()", "kz.Storage('f', 1).get()", "kz.Storage('f', 1)[0]"}) {
        kzSetQuiet(true);
        outcome(source);
        EXPECT_FALSE(kzQuietFlag) << source;
    }
}
