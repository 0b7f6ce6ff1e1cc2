// The base of all services: it announces operations, and keeps the texts that outlive a call.
#pragma once

#include "host/state/call_watch.h"
#include "host/state/text.h"
#include "host/state/text_pool.h"

#include "kz/result.h"

#include <memory>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

namespace kzhost {

// Shared by all services of one host. Whatever a service hands out shares ownership of the state that it uses, so that
// nothing dangles when a module keeps an object for longer than the host lives.
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
    // Interns a text for a caller who keeps the pointer. For names, of which there are few: they are never freed.
    const char* keep(std::string_view text) const { return m_context->texts.keep(text); }
    // Returns one name of a list, interned; OUTOFBOUNDS past the end.
    KzResult giveName(const std::vector<std::string>& names, std::uint32_t index, const char** name) const {
        if (index >= names.size()) return KZe_OUTOFBOUNDS;
        *name = keep(names[index]);
        return KZe_OK;
    }
    static const char* lend(std::string text) { return kzLend(std::move(text)); }

private:
    std::shared_ptr<ServiceContext> m_context;
};

}  // namespace kzhost
