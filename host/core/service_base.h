// What every service of the host has: the announcement of each operation, and texts that outlive the call.
#pragma once

#include "host/state/call_watch.h"
#include "host/state/text_pool.h"

#include "kz/result.h"

#include <memory>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

namespace kzhost {

// What all services of one host share. Whatever a service hands out shares the state that it works on, so that nothing
// dangles when a module holds on to an object for longer than the host lives.
struct ServiceContext {
    CCallWatch calls;
    CTextPool texts;
    std::thread::id mainThread = std::this_thread::get_id();
};

class CServiceBase {
public:
    explicit CServiceBase(std::shared_ptr<ServiceContext> context) : m_context(std::move(context)) {}

protected:
    const std::shared_ptr<ServiceContext>& context() const noexcept { return m_context; }
    void enter(const char* operation) const { m_context->calls.enter(operation); }
    // A text for a caller who keeps the pointer: a name, of which there are only so many. It stays for ever.
    const char* keep(std::string_view text) const { return m_context->texts.keep(text); }
    // One of a list of names by its index, kept; OUTOFBOUNDS beyond the list's end.
    KzResult giveName(const std::vector<std::string>& names, std::uint32_t index, const char** name) const {
        if (index >= names.size()) return KZe_OUTOFBOUNDS;
        *name = keep(names[index]);
        return KZe_OK;
    }
    // A text for a caller who copies it soon: each thread's last few stay, so that what is kept does not grow with what
    // is asked.
    static const char* lend(std::string text);

private:
    std::shared_ptr<ServiceContext> m_context;
};

}  // namespace kzhost
