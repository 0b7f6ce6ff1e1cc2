// A borrowed reference to something callable, for parameters that are called before the function returns. In contrast to a
// std::function it owns nothing, never allocates, and costs hardly anything to compile.
#pragma once

#include <memory>
#include <utility>

namespace kzhost {

template <class Signature> class CFunctionRef;

template <class Result, class... Args> class CFunctionRef<Result(Args...)> {
public:
    template <class Call>
    CFunctionRef(const Call& call) noexcept : m_call(std::addressof(call)), m_invoke(&invoke<Call>) {}

    Result operator()(Args... args) const { return m_invoke(m_call, std::forward<Args>(args)...); }

private:
    template <class Call> static Result invoke(const void* call, Args... args) {
        return (*static_cast<const Call*>(call))(std::forward<Args>(args)...);
    }

    const void* m_call;
    Result (*m_invoke)(const void* call, Args... args);
};

}  // namespace kzhost
