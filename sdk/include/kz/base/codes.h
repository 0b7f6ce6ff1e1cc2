// The result codes that the support layer itself needs. The full list is generated into kz/result.h, which includes
// this file and asserts that both agree.
#pragma once

#include "kz/base/types.h"

inline constexpr KzResult kzOk = 0;
inline constexpr KzResult kzFailedCode = 0x80000000U;
inline constexpr KzResult kzNotImplemented = 0x80000001U;
inline constexpr KzResult kzOutOfMemory = 0x80000002U;
inline constexpr KzResult kzInvalidArgument = 0x80000003U;
inline constexpr KzResult kzNoInterface = 0x80000004U;
inline constexpr KzResult kzOutOfBounds = 0x80000015U;
inline constexpr KzResult kzNotFound = 0x80000017U;
