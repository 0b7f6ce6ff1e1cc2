// An image in memory, as an object.
#include "host/objects/image.h"

#include "host/core/object.h"
#include "host/core/reasons.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

namespace kzhost {

namespace {

constexpr std::int32_t longestSide = 1 << 16;
constexpr std::size_t mostBytes = std::size_t{1} << 31U;

PixelFormat knownFormat(std::uint32_t code) {
    const auto format = PixelFormat::of(code);
    if (!format) throw KZe_NOTSUPPORTED;
    return *format;
}

// Throws INVALIDARG unless the buffer is there and holds that many bytes.
void requireLine(const char* place, const void* line, std::size_t size, std::size_t needed) {
    if (line == nullptr || size < needed)
        throw kzBecause(KZe_INVALIDARG, place, [&] {
            return line == nullptr ? "the line is null" : fmt::format("a line takes {} bytes, not {}", needed, size);
        });
}

KzResult noPixel(const char* place) {
    return kzBecause(KZe_INVALIDARG, place, [] { return "the pixel is null"; });
}

}  // namespace

void CImage::resize(std::int32_t width, std::int32_t height, std::uint32_t format) {
    const PixelFormat pixelFormat = knownFormat(format);
    if (width < 1 || height < 1 || width > longestSide || height > longestSide)
        throw kzBecause(KZe_INVALIDARG, "Image", [&] {
            return fmt::format("the sides are 1 to {} pixels long, not {} x {}", longestSide, width, height);
        });
    const std::size_t bytes = static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * pixelFormat.bytes();
    if (bytes > mostBytes) throw KZe_OUTOFMEMORY;
    m_bytes = std::vector<std::byte>(bytes);
    m_width = width;
    m_height = height;
    m_format = pixelFormat;
    m_facts = nullptr;
}

std::byte* CImage::at(std::int32_t x, std::int32_t y) {
    if (x < 0 || y < 0 || x >= m_width || y >= m_height) throw KZe_OUTOFBOUNDS;
    const std::size_t place =
        static_cast<std::size_t>(y) * static_cast<std::size_t>(m_width) + static_cast<std::size_t>(x);
    return m_bytes.data() + place * m_format.bytes();
}

std::uint32_t CImage::lineBytes(std::uint32_t format) const {
    return static_cast<std::uint32_t>(m_width) * static_cast<std::uint32_t>(knownFormat(format).bytes());
}

KzResult CImage::img_Size(std::int32_t* width, std::int32_t* height) {
    *width = m_width;
    *height = m_height;
    return KZe_OK;
}

KzResult CImage::img_GetPixel(std::int32_t x, std::int32_t y, std::uint32_t format, void* pixel) {
    if (pixel == nullptr) return noPixel("Image.GetPixel");
    kzConvertPixels(m_format, at(x, y), knownFormat(format), static_cast<std::byte*>(pixel), 1);
    return KZe_OK;
}

KzResult CImage::img_GetLine(std::int32_t y, std::uint32_t format, std::uint32_t size, void* line) {
    requireLine("Image.GetLine", line, size, lineBytes(format));
    kzConvertPixels(m_format, at(0, y), knownFormat(format), static_cast<std::byte*>(line),
                    static_cast<std::size_t>(m_width));
    return KZe_OK;
}

KzResult CImage::imgw_SetSize(std::int32_t width, std::int32_t height, std::uint32_t format) {
    resize(width, height, format);
    return KZe_OK;
}

KzResult CImage::imgw_SetPixel(std::int32_t x, std::int32_t y, std::uint32_t format, void* pixel) {
    if (pixel == nullptr) return noPixel("ImageWrite.SetPixel");
    kzConvertPixels(knownFormat(format), static_cast<const std::byte*>(pixel), m_format, at(x, y), 1);
    return KZe_OK;
}

KzResult CImage::imgw_SetLine(std::int32_t y, std::uint32_t format, std::uint32_t size, void* line) {
    requireLine("ImageWrite.SetLine", line, size, lineBytes(format));
    kzConvertPixels(knownFormat(format), static_cast<const std::byte*>(line), m_format, at(0, y),
                    static_cast<std::size_t>(m_width));
    return KZe_OK;
}

KzResult CImage::imgw_SetAspect(double aspect) {
    if (!(aspect > 0) || !std::isfinite(aspect))
        return kzBecause(KZe_INVALIDARG, "ImageWrite.SetAspect", [&] {
            return fmt::format("the width of a pixel over its height is above 0, not {}", aspect);
        });
    m_aspect = aspect;
    return KZe_OK;
}

KzResult CImage::imgw_Fill(const KzFVector3* color, double alpha) {
    const KzFVector3& rgb = kzNotNull(color);
    const PixelColor fill{rgb.v[0], rgb.v[1], rgb.v[2], static_cast<float>(alpha)};
    for (std::int32_t y = 0; y < m_height; ++y)
        for (std::int32_t x = 0; x < m_width; ++x) kzWritePixel(m_format, fill, at(x, y));
    return KZe_OK;
}

namespace {

// Reads whole lines where the image supports it, otherwise single pixels. The buffer is longer than a line, as some
// images write more than requested.
class CLineReader {
public:
    CLineReader(IKzImage& source, CImage& target)
        : m_source(source), m_target(target), m_line(static_cast<std::size_t>(target.width()) * roomOfPixel) {}

    KzResult read(std::int32_t y) {
        const std::uint32_t format = m_target.format().code;
        const std::size_t bytes = m_target.format().bytes();
        KzResult code = m_source.GetLine(y, format, m_target.lineBytes(format), m_line.data());
        if (code == KZe_NOTIMPL)
            for (std::int32_t x = 0; x < m_target.width(); ++x)
                if (code = m_source.GetPixel(x, y, format, m_line.data() + static_cast<std::size_t>(x) * bytes);
                    kzFailed(code))
                    break;
        if (kzSucceeded(code))
            std::copy_n(m_line.data(), bytes * static_cast<std::size_t>(m_target.width()), m_target.at(0, y));
        return code;
    }

private:
    static constexpr std::size_t roomOfPixel = 64;  // four times the largest
    IKzImage& m_source;
    CImage& m_target;
    std::vector<std::byte> m_line;
};

}  // namespace

KzResult kzNoImage(const char* place, IKzUnknown* argument) {
    return kzBecause(KZe_INVALIDARG, place,
                     [&] { return argument == nullptr ? "the image is null" : "the object is no image"; });
}

CHostRef<CImage> kzCopyImage(IKzUnknown* source, std::uint32_t format) {
    const CKzUser_Image asImage(source);
    if (!asImage) throw kzNoImage("Image", source);
    std::int32_t width = 0, height = 0;
    if (const KzResult code = asImage->Size(&width, &height); kzFailed(code)) throw code;
    // What has a format of its own, such as numbers of a palette, is read as colours.
    const std::uint32_t its = asImage->Format(), readable = PixelFormat::of(its) ? its : KZiIMG_FORMAT_RGBA32;
    auto copy = CHostRef<CImage>::make(width, height, format != 0 ? format : readable);
    CLineReader reader(*asImage.ptr(), *copy);
    for (std::int32_t y = 0; y < height; ++y)
        if (const KzResult code = reader.read(y); kzFailed(code)) throw code;
    if (const auto own = CHostRef<CImage>::of(source)) copy->setFacts(own->facts());
    return copy;
}

}  // namespace kzhost
