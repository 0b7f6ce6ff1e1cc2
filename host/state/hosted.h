// The interfaces that the host's classes implement, and which of their operations each class defines itself: noted by the
// compiler for every class of which the host makes objects.
#pragma once

#include "kz/base/unknown.h"

#include <span>
#include <string_view>

namespace kzhost {

// One interface of one class. The operations are in the order of the description.
struct HostedInterface {
    HostedInterface(const KzGuid& guid, std::span<const bool> ownOperations,
                    std::span<const std::string_view> windowOperations) noexcept;

    const KzGuid& iid;
    std::span<const bool> overrides;
    std::span<const std::string_view> needsWindow;  // methods that only say what is missing
    const HostedInterface* next;
};

// The first of all, in no order.
const HostedInterface* kzHostedInterfaces() noexcept;

// A class says by a list `needsWindow` which of its methods nobody can answer without a window or a renderer.
template <class Class> constexpr std::span<const std::string_view> kzWindowOperations() {
    if constexpr (requires { Class::needsWindow; }) return Class::needsWindow;
    else return {};
}

template <class Slot> inline constexpr auto kzOverridesOf = Slot::overrides();
template <class Class, class Slot>
inline const HostedInterface kzHosted{Slot::iid, kzOverridesOf<Slot>, kzWindowOperations<Class>()};

// Has the interface noted before the program begins. One that is not described has nothing to note.
template <class Class, class Slot> void kzNoteHosted() noexcept {
    if constexpr (requires { Slot::overrides(); }) static_cast<void>(&kzHosted<Class, Slot>);
}

}  // namespace kzhost
