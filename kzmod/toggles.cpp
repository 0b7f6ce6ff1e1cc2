// kz.queryToggle and kz.test, which query whether a toggle command is on.
#include "kzmod/command.h"
#include "kzmod/functions.h"

#include "kz/base/global_cache.h"
#include "kz/command.h"

namespace {

class CToggle {
public:
    CToggle() { kzTakeService(m_service); }

    KzResult spawn(const char* text) {
        std::uint32_t flags = 0;
        std::int32_t index = -1;
        return kzObtain(m_command,
                        [&](IKzUnknown** object) { return m_service.SpawnFromString(text, &flags, &index, object); });
    }

    KzResult query() {
        CKzLoc_Unknown value;
        return kzTakeOutput(
            value, [&](IKzUnknown** object) { return m_service.GetToggleArgState(m_command.raw(), &m_state, object); });
    }

    PyObject* fail(CCall& call, const char* text, KzResult code) const {
        kzBlame(call, m_command, code);
        return call.fail(text);
    }

    bool isOn() const noexcept { return m_state != 0; }

private:
    CKzUser_CommandService m_service;
    CKzUser_Command m_command;
    std::int32_t m_state = 0;
};

}  // namespace

PyObject* kzQueryToggleFunction(PyObject* /*self*/, PyObject* args) {
    return kzCall("kz.queryToggle", [args](CCall& call) -> PyObject* {
        const char* text = nullptr;
        if (PyArg_ParseTuple(args, "s", &text) == 0) {
            call.trace("Query failed: expected string argument");
            return kzParseFailed();
        }
        // A command that cannot be queried counts as off, because menus query commands that may not exist.
        CToggle toggle;
        if (kzFailed(toggle.spawn(text)) || kzFailed(toggle.query())) {
            call.trace("failed: error querying the command");
            Py_RETURN_FALSE;
        }
        call.trace(toggle.isOn() ? "toggled state is true (1)" : "toggled state is false (0)");
        return PyBool_FromLong(toggle.isOn() ? 1 : 0);
    });
}

PyObject* kzTestFunction(PyObject* /*self*/, PyObject* args) {
    return kzCall("kz.test", [args](CCall& call) -> PyObject* {
        const char* text = nullptr;
        if (PyArg_ParseTuple(args, "s", &text) == 0) return kzParseFailed();
        CToggle toggle;
        if (const KzResult code = toggle.spawn(text); kzFailed(code))
            return toggle.fail(call, "error in command string", code);
        if (const KzResult code = toggle.query(); kzFailed(code))
            return toggle.fail(call, "could not query toggle argument", code);
        return PyBool_FromLong(toggle.isOn() ? 1 : 0);
    });
}
