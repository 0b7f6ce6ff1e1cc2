// Looking up adapters by interface name.
#include "serve/adapters.h"

#include <algorithm>

const KzAdapterRow* kzFindAdapter(std::string_view interfaceName) noexcept {
    const auto nameOf = [](const KzAdapterRow* row) { return std::string_view(row->name); };
    const auto row = std::ranges::lower_bound(kzAdapters, interfaceName, {}, nameOf);
    return row != kzAdapters.end() && nameOf(*row) == interfaceName ? *row : nullptr;
}

void kzForgetMethodNames() noexcept {
    for (const KzAdapterRow* adapter : kzAdapters)
        for (KzForwardedMethod& method : adapter->methods) method.interned = nullptr;
}
