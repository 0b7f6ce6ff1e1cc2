// Images in PNG files.
#include "host/objects/png_file.h"

#include "host/core/object.h"

#include <cstddef>
#include <fstream>
#include <memory>
#include <png.h>
#include <string>
#include <string_view>
#include <vector>

namespace kzhost {

namespace {

std::uint32_t pngFormatOf(std::uint32_t components) {
    if (components == 1) return PNG_FORMAT_GRAY;
    return components == 3 ? PNG_FORMAT_RGB : PNG_FORMAT_RGBA;
}

constexpr std::uint32_t byteFormat(std::uint32_t components) { return components << 8U | 1U; }

// A guard for the library's description of one image.
struct PngImage : png_image {
    PngImage() : png_image{} { version = PNG_IMAGE_VERSION; }
    PngImage(const PngImage&) = delete;
    PngImage& operator=(const PngImage&) = delete;
    ~PngImage() { png_image_free(this); }
};

}  // namespace

KzResult kzSavePng(CImage& image, const std::string& path) {
    const PixelFormat bytes = *PixelFormat::of(byteFormat(image.format().components));
    const auto count = static_cast<std::size_t>(image.width()) * static_cast<std::size_t>(image.height());
    std::vector<std::byte> pixels(count * bytes.bytes());
    kzConvertPixels(image.format(), image.at(0, 0), bytes, pixels.data(), count);
    PngImage file;
    file.width = static_cast<std::uint32_t>(image.width());
    file.height = static_cast<std::uint32_t>(image.height());
    file.format = pngFormatOf(bytes.components);
    return png_image_write_to_file(&file, path.c_str(), 0, pixels.data(), 0, nullptr) != 0 ? KZe_OK : KZe_NOACCESS;
}

bool kzIsPng(const std::string& path) {
    constexpr std::string_view mark = "\x89PNG\r\n\x1a\n";
    std::string start(mark.size(), '\0');
    return std::ifstream(path, std::ios::binary).read(start.data(), static_cast<std::streamsize>(start.size())) &&
           start == mark;
}

CHostRef<CImage> kzLoadPng(const std::string& path) {
    PngImage file;
    if (png_image_begin_read_from_file(&file, path.c_str()) == 0) throw KZe_NOTSUPPORTED;
    const bool hasAlpha = (file.format & PNG_FORMAT_FLAG_ALPHA) != 0;
    const std::uint32_t colors = (file.format & PNG_FORMAT_FLAG_COLOR) != 0 ? 3 : 1;
    const std::uint32_t components = hasAlpha ? 4 : colors;
    auto image = CHostRef<CImage>::make(static_cast<std::int32_t>(file.width), static_cast<std::int32_t>(file.height),
                                        byteFormat(components));
    file.format = pngFormatOf(components);
    if (png_image_finish_read(&file, nullptr, image->at(0, 0), 0, nullptr) == 0) throw KZe_FAILED;
    return image;
}

}  // namespace kzhost
