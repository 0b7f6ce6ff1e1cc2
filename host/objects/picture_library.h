// The formats of picture files that the host reads and writes itself, and the library that does it.
#pragma once

#include "host/objects/image.h"

#include <span>
#include <string>
#include <string_view>

namespace kzhost {

class CPathAliases;
class IPictureFiles;

struct PictureFormat {
    const char* name;     // as a saver's name, in any letter case
    const char* library;  // what the library calls it
    std::span<const std::string_view> extensions;
    std::span<const std::string_view> marks;  // how such files begin
    std::uint32_t components;                 // the set of those that it keeps, and likewise the kinds: 1 << number
    std::uint32_t kinds;
};

// Null when it is none of the host's own.
const PictureFormat* kzPictureFormatOf(const std::string& path);
// By the saver's name or, without one, by the file's. Null when it is none of the host's own.
const PictureFormat* kzPictureFormatFor(const std::string& saver, const std::string& path);
// The pixel format in which such a file keeps all that it can of an image.
PixelFormat kzPixelsFor(const PictureFormat& format, const PixelFormat& image);

// Loads the library at the first call. Throws NOTAVAILABLE, and the log says what to install.
IPictureFiles& kzPictures(const CPathAliases& files);

}  // namespace kzhost
