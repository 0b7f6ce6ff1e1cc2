// The tables of wrapped interfaces, empty: what is fuzzed here needs none, and is built without them.
#include "wrap/registration.h"

const std::span<const KzHeaderRows* const> kzHeaders;
const std::span<const KzFamilyRow> kzFamilies;
