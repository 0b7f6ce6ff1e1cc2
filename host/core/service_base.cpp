// What every service of the host has.
#include "host/core/service_base.h"

#include <array>

namespace kzhost {

const char* CServiceBase::lend(std::string text) {
    thread_local std::array<std::string, 8> lent;
    thread_local std::size_t next = 0;
    std::string& place = lent[next++ % lent.size()];
    place = std::move(text);
    return place.c_str();
}

}  // namespace kzhost
