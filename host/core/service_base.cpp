// The base of all services.
#include "host/core/service_base.h"

#include <array>

namespace kzhost {

const char* CServiceBase::lend(std::string text) {
    thread_local std::array<std::string, 8> theTexts;
    thread_local std::size_t theNext = 0;
    std::string& place = theTexts[theNext++ % theTexts.size()];
    place = std::move(text);
    return place.c_str();
}

}  // namespace kzhost
