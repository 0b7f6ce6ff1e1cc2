// A call of any operation of any adapter: its arguments, what Python sees of them, and what comes back.
#pragma once

#include "loopback.h"
#include "serving_fixture.h"

#include "module/error_report.h"
#include "module/explain.h"
#include "module/output.h"
#include "module/py_lock.h"
#include "serve/adapters.h"
#include "serve/carrier.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <sstream>

// Every method of every served class calls `answer`, and records its arguments in `seen`.
inline constexpr const char* pythonSide = R"(
class Answering(object): pass
def describe(arg):
    if isinstance(arg, kz.Storage):
        if not arg.size() and typed: arg.setSize(2)
        if arg.size(): arg[0] = 1
        return 'storage %d' % arg.size()
    if isinstance(arg, kz.object.Unknown): return 'object %d' % arg.__eq__(there)
    return repr(arg)
def method(name):
    names = {}
    # In a file of its own name, because a traceback names files and lines.
    exec compile('def %s(self, *args): return note(name, args)' % name, name, 'exec') in {'note': note, 'name': name}, names
    return names[name]
def note(name, args):
    global seen
    seen = name + ' ' + ' '.join(map(describe, args))
    return answer()
def serve(interface, names):
    made = type(interface, (Others[interface],), dict((name, method(name)) for name in names))
    return made()
def fail(exception, *value):
    def raising():
        if value: raise exception, value[0]
        raise exception
    return raising
class Old: pass
class Mute(Exception):
    def __str__(self): raise ValueError('mute')
typed, there, seen = True, None, ''
)";

// A host object. The wrappers that methods return are kept for good, so it must not count as alive.
class There final : public IKzUnknown {
public:
    KzResult QueryInterface(const KzGuid* iid, void** object) override {
        *object = iid != nullptr && *iid == KZu_UNKNOWN ? this : nullptr;
        return *object != nullptr ? KZe_OK : KZe_NOINTERFACE;
    }
    std::uint32_t AddRef() override { return 1; }
    std::uint32_t Release() override { return 1; }
};
inline There there;

inline constexpr std::uint64_t untouched = 0xABABABABABABABABU;

template <class Value> std::string bytesOf(const Value& value) {
    return {reinterpret_cast<const char*>(&value), sizeof value};
}

// For each letter: what Python returns for an output, and what the host then finds in its place.
struct OutputPlace {
    std::string expression;
    std::string bytes;
};
inline const std::map<char, OutputPlace> outputs = {{'i', {"-9", bytesOf(std::int32_t(-9))}},
                                                    {'I', {"0xFFFFFFF0", bytesOf(0xFFFFFFF0U)}},
                                                    {'n', {"1 << 40", bytesOf(std::int64_t(1) << 40)}},
                                                    {'p', {"0x5678", bytesOf(std::int64_t(0x5678))}},
                                                    {'P', {"0x7F1234567890", bytesOf(std::int64_t(0x7F1234567890))}},
                                                    {'h', {"0x7F1234567890", bytesOf(std::int64_t(0x7F1234567890))}},
                                                    {'b', {"True", bytesOf(true)}},
                                                    {'f', {"0.25", bytesOf(0.25F)}},
                                                    {'d', {"0.25", bytesOf(0.25)}},
                                                    {'T', {"'out'", bytesOf("out")}},
                                                    {'z', {"'out'", {}}},
                                                    {'O', {"there", {}}}};

// Any value of a carried kind. Its Python form is what the carrier makes of it; the marshallers' tests check that.
inline const double carried[] = {1.5, 2.5,  -3.5, 4.5,  0.25, 6.5,  7.5,  8.5,
                                 9.5, 10.5, 11.5, 12.5, 13.5, 14.5, 15.5, 16.5};
static_assert(sizeof carried >= kzLargestCarried);

inline std::string pythonFormOf(char letter) {
    const CPyLock lock;
    return kzStringOf(CPyRef(kzCarrierAt(letter).toPython(carried), CPyRef::owned));
}
inline KzResult refusalOf(char letter) {
    const CPyLock lock;
    double value[std::size(carried)];
    const KzResult code = kzCarrierAt(letter).fromPython(Py_None, value);
    return PyErr_Clear(), code;
}

// The arguments of one call, by the row's signature, and what either side expects.
class Call {
public:
    Call(const LoopbackRow& row, IKzUnknown* object) : m_row(row), m_object(object) {
        const char* letter = row.signature + 1;
        for (; *letter != ':'; ++letter) addInput(letter);
        fillLengths();
        while (*++letter != '\0') addOutput(letter);
        m_returned = row.signature[0] == 'v' && row.returnsSomething;
    }

    LoopbackWord run(IKzUnknown* server, bool withPlaces = true) {
        std::ranges::fill(m_memory, untouched);
        std::ranges::fill(m_buffers, 0);
        std::vector<LoopbackWord> words = m_inputs;
        for (std::size_t index = m_returned ? 1 : 0; index < m_outputs.size(); ++index) {
            words.push_back({.pointer = withPlaces ? &m_memory[index * 16] : nullptr});
            if (m_outputs[index] == "T") words.push_back({.integer = 32});
        }
        words.resize(words.size() + 1);
        m_answer = m_row.call(server, words.data());
        return m_answer;
    }

    std::string expectedSeen() const { return m_row.name + m_seen; }
    bool returnsCode() const { return m_row.signature[0] == 'r'; }
    std::size_t outputCount() const { return m_outputs.size(); }
    bool typed() const { return std::strstr(m_row.signature, "A*") == nullptr; }

    // A Python expression for what the method returns, with another one for outputs of a letter.
    std::string good(char replaced = '\0', const std::string& replacement = "") const {
        std::string values;
        for (const std::string& output : m_outputs)
            values += (output[0] == replaced ? replacement : expressionFor(output)) + ", ";
        if (m_outputs.empty()) return "None";
        return m_outputs.size() == 1 ? values.substr(0, values.size() - 2) : "(" + values + ")";
    }

    // The code for an object that the last output cannot convert.
    KzResult codeOfWrongType() const {
        const std::string& output = m_outputs.back();
        return output[0] == 'K' ? refusalOf(output[1]) : output == "O" ? KZe_NOTFOUND : KZe_FAILED;
    }
    bool takesNone() const { return m_outputs.size() == 1 && std::strchr("zPh", m_outputs[0][0]) != nullptr; }

    // The first address or table of hints that was stored.
    const void* address() {
        const auto output = std::ranges::find_if(m_outputs, isAddress);
        return *static_cast<const void* const*>(place(static_cast<std::size_t>(output - m_outputs.begin())));
    }
    // The letter of that output; NUL if there is none.
    char addressLetter() const {
        const auto output = std::ranges::find_if(m_outputs, isAddress);
        return output != m_outputs.end() ? (*output)[0] : '\0';
    }
    void expectStored() {
        for (std::size_t index = 0; index < m_outputs.size(); ++index)
            EXPECT_TRUE(holds(m_outputs[index], place(index))) << m_row.name << " output " << index;
    }
    void expectUntouched() {
        for (std::size_t index = m_returned ? 1 : 0; index < m_outputs.size(); ++index)
            EXPECT_EQ(m_memory[index * 16], untouched) << m_row.name << " output " << index;
        EXPECT_EQ(m_returned ? m_answer.integer : 0, 0) << m_row.name;
    }
    void expectCleared() {
        for (std::size_t index = 0; index < m_outputs.size(); ++index) {
            const char letter = m_outputs[index][0];
            const std::size_t size = letter == 'T' ? 1 : letter == 'K' ? 8 : outputs.at(letter).bytes.size();
            const auto* bytes = static_cast<const char*>(place(index));
            EXPECT_TRUE(std::all_of(bytes, bytes + (size != 0 ? std::min<std::size_t>(size, 8) : 8),
                                    [](char byte) { return byte == 0; }))
                << m_row.name << " output " << index;
        }
    }
    // Buffers that were passed as storage have been written to.
    void expectBuffersWritten() {
        for (std::size_t index = 0; typed() && index < m_arrays; ++index) {
            const auto* start = &m_buffers[index * 8];
            EXPECT_TRUE(std::any_of(start, start + 8, [](std::uint64_t word) { return word != 0; })) << m_row.name;
        }
    }

private:
    static bool isAddress(const std::string& output) { return output == "P" || output == "h"; }

    void addInput(const char*& letter) {
        const std::map<char, std::pair<std::string, LoopbackWord>> inputs = {
            {'f', {"1.5", {.real = 1.5}}},
            {'d', {"1.5", {.real = 1.5}}},
            {'z', {"'text'", {.pointer = const_cast<char*>("text")}}},
            {'O', {"object 1", {.pointer = m_object}}},
            {'K', {*letter == 'K' ? pythonFormOf(letter[1]) : "", {.pointer = const_cast<double*>(carried)}}},
            {'A', {"storage ?", {.pointer = &m_buffers[m_arrays * 8]}}}};
        const auto number = static_cast<std::int64_t>(m_inputs.size()) + 2;
        const auto input = inputs.find(*letter);
        m_seen += " " + (input != inputs.end() ? input->second.first : std::to_string(number));
        m_inputs.push_back(input != inputs.end() ? input->second.second : LoopbackWord{.integer = number});
        if (*letter == 'A') ++m_arrays;
        if (*letter == 'A' || *letter == 'K') ++letter;
    }

    // Puts the sizes of storage in their places.
    void fillLengths() {
        std::istringstream lengths(m_row.lengths);
        for (std::string length; lengths >> length;) {
            std::istringstream factors(length);
            std::int64_t elements = 0;
            factors >> elements;
            for (std::size_t place = 0; factors.ignore() && factors >> place;) elements *= m_inputs[place].integer;
            if (elements < 0) elements = typed() ? 2 : 0;
            m_seen.replace(m_seen.find('?'), 1, std::to_string(elements));
        }
    }

    void addOutput(const char*& letter) {
        std::string output(1, *letter);
        if (*letter == 'K') output += *++letter;
        m_outputs.push_back(output);
    }

    void* place(std::size_t index) {
        return m_returned && index == 0 ? static_cast<void*>(&m_answer) : &m_memory[index * 16];
    }

    static std::string expressionFor(const std::string& output) {
        return output[0] == 'K' ? pythonFormOf(output[1]) : outputs.at(output[0]).expression;
    }

    bool holds(const std::string& output, const void* stored) {
        if (output == "z") return std::strcmp(*static_cast<const char* const*>(stored), "out") == 0;
        if (output == "O") {
            CKzLoc_Unknown held;
            *held.out() = *static_cast<IKzUnknown* const*>(stored);
            return held.raw() == m_object;
        }
        // A returned value is a word, in which a float becomes a double.
        if (output[0] == 'K') return std::memcmp(stored, carried, kzCarrierAt(output[1]).size) == 0;
        const std::string& bytes = outputs.at(output == "f" && stored == &m_answer ? 'd' : output[0]).bytes;
        return std::memcmp(stored, bytes.data(), bytes.size()) == 0;
    }

    const LoopbackRow& m_row;
    IKzUnknown* m_object;
    std::vector<LoopbackWord> m_inputs;
    std::vector<std::string> m_outputs;  // letters, after a K with the carrier's
    std::string m_seen;
    std::size_t m_arrays = 0;
    bool m_returned = false;
    LoopbackWord m_answer;
    std::uint64_t m_memory[12 * 16];
    std::uint64_t m_buffers[4 * 8];
};

// However a method fails, a result operation answers with the code, and the others with zero.
inline constexpr std::pair<const char*, KzResult> raised[] = {
    {"fail(NotImplementedError)", KZe_NOTIMPL},
    {"fail(MemoryError)", KZe_OUTOFMEMORY},
    {"fail(IndexError)", KZe_OUTOFBOUNDS},
    {"fail(KeyError)", KZe_NOTFOUND},
    {"fail(TypeError('no interface'))", KZe_NOINTERFACE},
    {"fail(TypeError('invalid argument'))", KZe_INVALIDARG},
    {"fail(RuntimeError('bad result: NOTREADY'))", KZe_NOTREADY},
    {"fail(SystemExit)", KZe_FAILED},
    {"fail(SystemExit(0))", KZe_FAILED},
    {"fail(SystemExit, 'KZe_OK')", KZe_FAILED},
    {"fail(KeyboardInterrupt)", KZe_FAILED},
    {"fail(GeneratorExit)", KZe_FAILED},
    {"fail(StopIteration)", KZe_FAILED},
    {"fail(BaseException('base'))", KZe_FAILED},
    {"fail(Old())", KZe_FAILED},
    {"fail(Mute())", KZe_FAILED},
    {"fail(UnicodeError(u'\\xe9'))", KZe_FAILED},
    {"fail(SyntaxError('x'))", KZe_FAILED},
    {"fail(ZeroDivisionError)", KZe_FAILED}};

class LoopbackTest : public ServingTest {
protected:
    LoopbackTest() {
        EXPECT_EQ(run(pythonSide), "");
        name("there", &there);
    }
    ~LoopbackTest() override { run("there = it = answer = None; sys.exc_clear()"); }

    // Makes `it` in Python: all methods of the interface, or none.
    void serve(const std::string& interfaceName, bool withMethods, CKzLoc_Unknown& server) {
        std::string names;
        for (const LoopbackRow& row : loopbackRows())
            if (withMethods && row.name[0] != 0 && row.interfaceName == interfaceName)
                names += std::string("'") + row.name + "', ";
        EXPECT_EQ(run("it = kz.object.Unknown(serve('" + interfaceName + "', [" + names + "]))"), "");
        server.set(reinterpret_cast<IKzUnknown*>(std::stoull(value("it.__peekobj__()"))));
    }

    void answer(const std::string& function) { EXPECT_EQ(run("answer = " + function), "") << function; }

    static KzResult code(const LoopbackWord& word) { return static_cast<KzResult>(word.integer); }

    // Expects a result operation to return the code; all other operations store and return zero.
    static void expectFailure(Call& call, IKzUnknown* server, KzResult expected) {
        const LoopbackWord word = call.run(server);
        EXPECT_EQ(call.returnsCode() ? code(word) : expected, expected) << call.expectedSeen();
        call.expectUntouched();
    }

    // The log names the method in one line, unless the failure is a silent one.
    void expectNamed(const LoopbackRow& row, const std::string& failure, bool isTold) {
        std::istringstream lines(host.log("python") + host.log("scripts"));
        int named = 0;
        for (std::string line; std::getline(lines, line);) named += line.find(row.name) != std::string::npos ? 1 : 0;
        EXPECT_EQ(named, isTold ? 1 : 0) << row.name << " " << failure << "\n" << lines.str();
    }
    void forgetLog() {
        const CPyLock lock;
        kzTellRepeatedReasons();  // so that the same reason is told again
        host.clearLog();
        kzReleaseOutput();  // it holds a part of the log
    }

    // Returned values that do not convert: of the wrong type, too few, too many.
    void checkConversions(const LoopbackRow& row, Call& call, IKzUnknown* server) {
        const auto expect = [&](const std::string& returned, KzResult code) {
            answer("lambda: " + returned);
            forgetLog();
            expectFailure(call, server, code);
            expectNamed(row, returned, true);
        };
        if (call.outputCount() == 0) return;
        expect("Answering()", call.outputCount() == 1 ? call.codeOfWrongType() : KZe_FAILED);
        if (call.outputCount() == 1) return call.takesNone() ? void() : expect("None", call.codeOfWrongType());
        const std::string good = call.good();
        for (const std::string& returned :
             {std::string("None"), std::string("()"), "list(" + good + ")", good + " + (0,)", good + "[1:]"})
            expect(returned, KZe_FAILED);
        expect(good + "[:-1] + (Answering(),)", call.codeOfWrongType());
    }
};
