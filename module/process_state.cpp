// Saving and restoring the host's signal dispositions and locale.
#include "module/process_state.h"

#include "module/python.h"

#include <clocale>
#include <cstring>
#include <dlfcn.h>

namespace {

bool belongsToInterpreter(const struct sigaction& action) noexcept {
    if (action.sa_handler == SIG_ERR || action.sa_handler == SIG_DFL || action.sa_handler == SIG_IGN) return false;
    Dl_info handler{};
    Dl_info interpreter{};
    return dladdr(reinterpret_cast<const void*>(action.sa_handler), &handler) != 0 &&
           dladdr(reinterpret_cast<const void*>(&Py_Initialize), &interpreter) != 0 &&
           handler.dli_fbase == interpreter.dli_fbase;
}

}  // namespace

CProcessStateKeeper::CProcessStateKeeper() noexcept {
    for (int signal = 1; signal < NSIG; ++signal)
        if (sigaction(signal, nullptr, &m_actions[signal]) != 0) m_actions[signal].sa_handler = SIG_ERR;
    const char* locale = setlocale(LC_ALL, nullptr);
    if (locale != nullptr && std::strlen(locale) < sizeof m_locale) std::strcpy(m_locale, locale);
}

CProcessStateKeeper::CProcessStateKeeper(const KzSignalActions& earlier) noexcept : CProcessStateKeeper() {
    for (std::size_t signal = 1; signal < earlier.size(); ++signal)
        if (belongsToInterpreter(m_actions[signal])) m_actions[signal] = earlier[signal];
}

CProcessStateKeeper::~CProcessStateKeeper() {
    for (int signal = 1; signal < NSIG; ++signal)
        if (m_actions[signal].sa_handler != SIG_ERR) sigaction(signal, &m_actions[signal], nullptr);
    if (m_locale[0] != '\0') setlocale(LC_ALL, m_locale);
}

void kzExposeInterpreterSymbols() noexcept {
    Dl_info interpreter{};
    if (dladdr(reinterpret_cast<const void*>(&Py_Initialize), &interpreter) == 0 || interpreter.dli_fname == nullptr)
        return;
    // Never closed, because extension modules stay loaded until the process ends.
    dlopen(interpreter.dli_fname, RTLD_NOW | RTLD_NOLOAD | RTLD_GLOBAL);
}
