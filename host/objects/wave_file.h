// WAV files: samples that are not compressed.
#pragma once

#include "host/objects/sound.h"

#include <string>

namespace kzhost {

// Throw a code, with the reason in the log: FAILED for a damaged file, NOTSUPPORTED for one with compressed samples,
// NOACCESS for one that cannot be read or written.
Sound kzReadWave(const std::string& path);
void kzWriteWave(const Sound& sound, const std::string& path);

}  // namespace kzhost
