// Turning C++ exceptions into result codes at the host boundary.
#include "kz/base/boundary.h"

#include <new>

KzResult kzCodeOfException() noexcept {
    try {
        throw;
    } catch (KzResult code) {
        return code;
    } catch (const std::bad_alloc&) {
        return kzOutOfMemory;
    } catch (...) {
        return kzFailedCode;
    }
}
