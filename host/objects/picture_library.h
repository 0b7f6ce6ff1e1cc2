// The formats of picture files that the host itself reads and writes, and the library that does the work.
#pragma once

#include "host/objects/image.h"

#include <span>
#include <string>
#include <string_view>

namespace kzhost {

class CPathAliases;
class IPictureFiles;

struct PictureFormat {
    const char* name;     // the name of its saver, in any letter case
    const char* library;  // its name in the library
    std::span<const std::string_view> extensions;
    std::span<const std::string_view> marks;  // the first bytes of such files
    std::uint32_t components;  // bit set of the numbers of components that it stores, and likewise of the kinds
    std::uint32_t kinds;
};

// The format of an existing file; null if it is none of these.
const PictureFormat* kzPictureFormatOf(const std::string& path);
// The format by the saver's name or, without one, by the name of the file. Null if it is none of these.
const PictureFormat* kzPictureFormatFor(const std::string& saver, const std::string& path);
// The pixel format in which such a file loses the least of an image.
PixelFormat kzPixelsFor(const PictureFormat& format, const PixelFormat& image);

// Loads the library in the first call. Throws NOTAVAILABLE on failure, and the log says what to install.
IPictureFiles& kzPictures(const CPathAliases& files);

}  // namespace kzhost
