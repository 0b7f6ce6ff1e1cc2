// Objects that the host makes by the names of their types, as a module makes its servers: ranges, buffers, user values.
#pragma once

#include "kz/base/unknown.h"

#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace kzhost {

class COwnObjects {
public:
    // Makes an object with one reference. The name says which, where the type has several; it throws NOTFOUND, with its
    // reason in the log, for one that there is not.
    using Make = std::function<KzResult(const std::string& name, IKzUnknown** object)>;

    // Only while the host is made.
    void add(std::string type, Make make) { m_makers.insert_or_assign(std::move(type), std::move(make)); }

    // Null for a type of which the host makes no objects.
    const Make* find(std::string_view type) const {
        const auto entry = m_makers.find(type);
        return entry != m_makers.end() ? &entry->second : nullptr;
    }

private:
    std::map<std::string, Make, std::less<>> m_makers;
};

}  // namespace kzhost
