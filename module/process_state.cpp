// Keeping the host's process as it was.
#include "module/process_state.h"

#include "module/python.h"

#include <clocale>
#include <dlfcn.h>

CProcessStateKeeper::CProcessStateKeeper() : m_actions(NSIG) {
    for (int signal = 1; signal < NSIG; ++signal)
        if (sigaction(signal, nullptr, &m_actions[signal]) != 0) m_actions[signal].sa_handler = SIG_ERR;
    if (const char* locale = setlocale(LC_ALL, nullptr)) m_locale = locale;
}

CProcessStateKeeper::~CProcessStateKeeper() {
    for (int signal = 1; signal < NSIG; ++signal)
        if (m_actions[signal].sa_handler != SIG_ERR) sigaction(signal, &m_actions[signal], nullptr);
    setlocale(LC_ALL, m_locale.c_str());
}

void kzExposeInterpreterSymbols() noexcept {
    Dl_info found{};
    if (dladdr(reinterpret_cast<const void*>(&Py_Initialize), &found) == 0 || found.dli_fname == nullptr) return;
    // Never closed: extension modules stay loaded until the process ends.
    dlopen(found.dli_fname, RTLD_NOW | RTLD_NOLOAD | RTLD_GLOBAL);
}
