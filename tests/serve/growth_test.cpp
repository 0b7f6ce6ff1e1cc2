// References that calls of adapters leave behind: none but the one to what a method has returned, which is kept on purpose.
#include "loopback_call.h"

#include "tests/prove/proof.h"

#include <set>

namespace {

// All references that there are, in the interpreter's debug build; otherwise those to what most calls touch.
Py_ssize_t references([[maybe_unused]] PyObject* names) {
#ifdef Py_REF_DEBUG
    return _Py_GetRefTotal();
#else
    std::set<PyObject*> touched = {Py_None, Py_True, Py_False};
    for (const char* name : {"given", "answer", "it", "note", "there", "seen"})
        touched.insert(PyDict_GetItemString(names, name));
    Py_ssize_t sum = 0;
    for (PyObject* each : touched) sum += Py_REFCNT(each);
    return sum;
#endif
}

class GrowthTest : public LoopbackTest {
protected:
    // Calls with one answer, in rounds; each call that returns something may keep one reference, and no other.
    void expectNoGrowth(Call& call, IKzUnknown* server, const std::string& answered, bool returns) {
        EXPECT_EQ(run("given = " + (returns ? answered : "None")), "") << answered;
        answer(returns ? "lambda: given" : answered);
        forgetLog();
        const CPyLock lock;
        call.run(server);  // what is made once is there now
        for (int round = 0; round < rounds; ++round) {
            const Py_ssize_t before = references(globals);
            for (int turn = 0; turn < calls; ++turn) call.run(server);
            const Py_ssize_t growth = references(globals) - before - (returns ? calls : 0);
            done += calls;
            if (growth == 0) continue;
            grown += 1;
            ADD_FAILURE() << call.expectedSeen() << " answered by " << answered << ": " << growth
                          << " references in round " << round << " of " << calls << " calls";
        }
    }

    std::vector<std::string> wrongAnswers(const Call& call) {
        if (call.outputCount() == 0) return {};
        if (call.outputCount() == 1) return {"Answering()"};
        const std::string good = call.good();
        return {"None", "()", "list(" + good + ")", good + " + (0,)", good + "[1:]", good + "[:-1] + (Answering(),)"};
    }

    int rounds = kzProofLength(2, 7);
    int calls = kzProofLength(1, 48);  // of each answer, of which there are about 21
    PyObject* globals = reinterpret_cast<PyObject*>(std::stoull(value("id(globals())")));
    double done = 0, grown = 0;
};

TEST_F(GrowthTest, OfAdaptersIsWhatTheyKeep) {
    double methods = 0;
    CKzLoc_Unknown server;
    std::string current;
    for (const LoopbackRow& row : loopbackRows()) {
        if (row.name[0] == '\0') continue;
        if (current != row.interfaceName) serve(current = row.interfaceName, true, server);
        run("gc.collect()");
        Call call(row, &there);
        run(call.typed() ? "typed = True" : "typed = False");
        expectNoGrowth(call, server.raw(), call.good(), true);
        for (const auto& [function, code] : raised) expectNoGrowth(call, server.raw(), function, false);
        for (const std::string& wrong : wrongAnswers(call)) expectNoGrowth(call, server.raw(), wrong, true);
        ++methods;
    }
    run("given = None");
    kzFigure("methods", methods);
    kzFigure("rounds", rounds);
    kzFigure("calls", done);
    kzFigure("rounds with growth", grown);
}

}  // namespace
