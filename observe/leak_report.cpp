// What is still alive at the end, by the line that made it.
#include "observe/leak_report.h"

#include "observe/short_text.h"

#include "module/output.h"

#include "kz/base/text_output.h"
#include "kz/result.h"

#include <map>
#include <unordered_map>
#include <unordered_set>

namespace {

class CLeakReport final : public CCallWatcher {
public:
    explicit CLeakReport(KzResult level) : m_level(level) {}

    void made(PyObject* object) override {
        const std::string line = kzCurrentLine();
        m_alive[object] = {Py_TYPE(object)->tp_name, line.empty() ? "the host" : line};
    }

    void gone(PyObject* object) override {
        m_alive.erase(object);
        m_returned.erase(object);
    }

    // What a Python method returns is kept on purpose, since the host may go on using it.
    void end(const KzCrossing& crossing, PyObject* result) override {
        if (crossing.direction != KzCrossing::toPython || result == nullptr) return;
        keep(result);
        if (PyTuple_Check(result))
            for (Py_ssize_t at = 0; at < PyTuple_GET_SIZE(result); ++at) keep(PyTuple_GET_ITEM(result, at));
    }

    void finish() override {
        std::map<std::pair<std::string, std::string>, std::size_t> counts;
        for (const auto& [object, origin] : m_alive)
            if (!m_returned.contains(object)) ++counts[{origin.type, origin.line}];
        if (counts.empty()) return tell("no leaks", KZe_INFO);
        for (const auto& [origin, count] : counts)
            tell(std::to_string(count) + " " + origin.first + " still alive, made by " + origin.second, m_level);
    }

private:
    struct Origin {
        std::string type;
        std::string line;
    };

    void keep(PyObject* object) {
        if (m_alive.contains(object)) m_returned.insert(object);
    }

    static void tell(const std::string& text, KzResult level) { kzWriteFrom(kzFromLeaks, ("leaks: " + text).c_str(), level); }

    KzResult m_level;
    std::unordered_map<PyObject*, Origin> m_alive;
    std::unordered_set<PyObject*> m_returned;
};

}  // namespace

std::unique_ptr<CCallWatcher> kzMakeLeakReport(const std::string& mode) {
    if (mode == "report" || mode == "error") return std::make_unique<CLeakReport>(mode == "error" ? KZe_FAILED : KZe_INFO);
    kzLog(("KZ_LEAKS should be report or error, not \"" + mode + "\"").c_str(), KZe_INVALIDARG);
    throw KZe_INVALIDARG;
}
