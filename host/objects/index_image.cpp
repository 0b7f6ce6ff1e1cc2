// Images whose pixels are numbers of a palette, as objects.
#include "host/objects/index_image.h"

#include "host/core/object.h"
#include "host/core/reasons.h"
#include "host/objects/arguments.h"

#include "kz/image.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace kzhost {

namespace {

constexpr std::size_t largestPalette = 256;
constexpr std::int32_t longestIndexSide = 1 << 16;

PixelFormat colorFormat(std::uint32_t code) {
    const auto format = PixelFormat::of(code);
    if (!format) throw KZe_NOTSUPPORTED;
    return *format;
}

class CIndexImage final
    : public CHosted<"index image", CIndexImage, CKzIfc_Image, CKzIfc_IndexImage, CKzIfc_IndexImageWrite> {
public:
    CIndexImage(std::int32_t width, std::int32_t height) : m_width(width), m_height(height) {
        if (width < 1 || height < 1 || width > longestIndexSide || height > longestIndexSide)
            throw kzBecause(KZe_INVALIDARG, "Image", [&] {
                return fmt::format("the sides are 1 to {} pixels long, not {} x {}", longestIndexSide, width, height);
            });
        const std::size_t count = static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
        if (count > std::size_t{1} << 31U) throw KZe_OUTOFMEMORY;
        m_indices.resize(count);
    }

    KzResult img_Size(std::int32_t* width, std::int32_t* height) override {
        *width = m_width, *height = m_height;
        return KZe_OK;
    }
    std::uint32_t img_Format() override { return KZiIMG_FORMAT_INDEX; }
    KzResult img_GetPixel(std::int32_t x, std::int32_t y, std::uint32_t format, void* pixel) override {
        read("Image.GetPixel", placeOf("Image.GetPixel", x, y), 1, format, pixel);
        return KZe_OK;
    }
    KzResult img_GetLine(std::int32_t y, std::uint32_t format, std::uint32_t size, void* line) override;

    std::uint32_t indeximage_PaletteSize() override { return static_cast<std::uint32_t>(m_palette.size()); }
    KzResult indeximage_PaletteColor(std::uint32_t index, KzFVector4* rgba) override {
        std::copy_n(colorAt("IndexImage.PaletteColor", index).begin(), 4, kzNotNull(rgba).v);
        return KZe_OK;
    }
    KzResult indeximage_PaletteLookup(const KzFVector3* color, std::uint32_t* index, double* distance) override;
    KzResult indeximage_PixelIndex(std::int32_t x, std::int32_t y, std::uint32_t* index) override {
        *index = m_indices[placeOf("IndexImage.PixelIndex", x, y)];
        return KZe_OK;
    }
    KzResult indeximage_LineIndices(std::int32_t y, std::uint32_t count, std::uint8_t* indices) override {
        const std::size_t first = firstOf("IndexImage.LineIndices", y, count, indices);
        std::copy_n(m_indices.begin() + static_cast<std::ptrdiff_t>(first), count, indices);
        return KZe_OK;
    }
    std::int32_t indeximage_TransparentIndex() override {
        const auto clear =
            std::find_if(m_palette.begin(), m_palette.end(), [](const auto& each) { return each[3] < 1; });
        return clear != m_palette.end() ? static_cast<std::int32_t>(clear - m_palette.begin()) : -1;
    }
    bool indeximage_IsGrayscale() override {
        float before = -1;
        for (const PixelColor& each : m_palette) {
            if (each[0] != each[1] || each[1] != each[2] || !(each[0] > before)) return false;
            before = each[0];
        }
        return m_palette.size() > 1 && m_palette.front()[0] == 0 && before == 1;
    }

    KzResult indeximagewrite_SetPaletteSize(std::uint32_t count) override;
    KzResult indeximagewrite_SetPaletteColor(std::uint32_t index, const KzFVector4* rgba) override;
    KzResult indeximagewrite_SetPixelIndex(std::int32_t x, std::int32_t y, std::uint32_t index) override {
        constexpr const char* place = "IndexImageWrite.SetPixelIndex";
        colorAt(place, index);
        m_indices[placeOf(place, x, y)] = static_cast<std::uint8_t>(index);
        return KZe_OK;
    }
    KzResult indeximagewrite_SetLineIndices(std::int32_t y, std::uint32_t count, std::uint8_t* indices) override {
        constexpr const char* place = "IndexImageWrite.SetLineIndices";
        const std::size_t first = firstOf(place, y, count, indices);
        if (count > 0) colorAt(place, *std::max_element(indices, indices + count));
        std::copy_n(indices, count, m_indices.begin() + static_cast<std::ptrdiff_t>(first));
        return KZe_OK;
    }
    KzResult indeximagewrite_SetTransparentIndex(std::int32_t index) override {
        if (index != -1) colorAt("IndexImageWrite.SetTransparentIndex", static_cast<std::uint32_t>(index));
        for (PixelColor& each : m_palette) each[3] = 1;
        if (index != -1) m_palette[static_cast<std::size_t>(index)][3] = 0;
        return KZe_OK;
    }
    KzResult indeximagewrite_Quantize(IKzUnknown* source, std::uint32_t count, std::int32_t dither) override;

    void copyFrom(const CIndexImage& other) {
        m_palette = other.m_palette;
        m_indices = other.m_indices;
    }

private:
    PixelColor& colorAt(const char* place, std::uint32_t index) {
        if (index >= m_palette.size())
            throw kzBecause(KZe_OUTOFBOUNDS, place, [&] {
                return fmt::format("there is no colour {} in a palette of {}", index, m_palette.size());
            });
        return m_palette[index];
    }
    std::size_t placeOf(const char* place, std::int32_t x, std::int32_t y) const {
        if (x < 0 || y < 0 || x >= m_width || y >= m_height)
            throw kzBecause(KZe_OUTOFBOUNDS, place, [&] {
                return fmt::format("pixel ({}, {}) is outside an image of {} x {}", x, y, m_width, m_height);
            });
        return static_cast<std::size_t>(y) * static_cast<std::size_t>(m_width) + static_cast<std::size_t>(x);
    }
    std::size_t firstOf(const char* place, std::int32_t y, std::uint32_t count, const void* indices) const {
        if (indices == nullptr) throw kzBecause(KZe_INVALIDARG, place, [] { return "the line is null"; });
        if (count > static_cast<std::uint32_t>(m_width))
            throw kzBecause(KZe_OUTOFBOUNDS, place,
                            [&] { return fmt::format("a line has {} pixels, not {}", m_width, count); });
        return placeOf(place, 0, y);
    }
    void read(const char* place, std::size_t first, std::size_t count, std::uint32_t format, void* pixels) const {
        if (pixels == nullptr) throw kzBecause(KZe_INVALIDARG, place, [] { return "there is no room for pixels"; });
        auto* to = static_cast<std::byte*>(pixels);
        for (std::size_t i = 0; i < count; ++i) {
            const std::uint8_t index = m_indices[first + i];
            if (format == KZiIMG_FORMAT_INDEX) {
                *to++ = static_cast<std::byte>(index);
                continue;
            }
            const PixelFormat its = colorFormat(format);
            kzWritePixel(its, m_palette[index], to);
            to += its.bytes();
        }
    }

    std::int32_t m_width, m_height;
    std::vector<PixelColor> m_palette{PixelColor{}};
    std::vector<std::uint8_t> m_indices;  // each is below the palette's size
};

KzResult CIndexImage::img_GetLine(std::int32_t y, std::uint32_t format, std::uint32_t size, void* line) {
    constexpr const char* place = "Image.GetLine";
    const std::size_t bytes = format == KZiIMG_FORMAT_INDEX ? 1 : colorFormat(format).bytes();
    const std::size_t needed = bytes * static_cast<std::size_t>(m_width);
    if (size < needed)
        return kzBecause(KZe_INVALIDARG, place,
                         [&] { return fmt::format("a line takes {} bytes, not {}", needed, size); });
    read(place, placeOf(place, 0, y), static_cast<std::size_t>(m_width), format, line);
    return KZe_OK;
}

KzResult CIndexImage::indeximage_PaletteLookup(const KzFVector3* color, std::uint32_t* index, double* distance) {
    const KzFVector3& wanted = kzNotNull(color);
    if (!std::all_of(std::begin(wanted.v), std::end(wanted.v), [](float each) { return std::isfinite(each); }))
        return kzBecause(KZe_INVALIDARG, "IndexImage.PaletteLookup", [] { return "the colour is not finite"; });
    double least = std::numeric_limits<double>::infinity();
    for (std::size_t i = 0; i < m_palette.size(); ++i) {
        double sum = 0;
        for (std::size_t c = 0; c < 3; ++c) sum += std::pow(double{m_palette[i][c]} - double{wanted.v[c]}, 2);
        if (std::sqrt(sum) >= least) continue;
        least = std::sqrt(sum);
        *index = static_cast<std::uint32_t>(i);
    }
    *distance = least;
    return KZe_OK;
}

// Colours that pixels have stay in the palette.
KzResult CIndexImage::indeximagewrite_SetPaletteSize(std::uint32_t count) {
    constexpr const char* place = "IndexImageWrite.SetPaletteSize";
    if (count < 1 || count > largestPalette)
        return kzBecause(KZe_INVALIDARG, place,
                         [&] { return fmt::format("a palette has 1 to {} colours, not {}", largestPalette, count); });
    if (const unsigned last = *std::max_element(m_indices.begin(), m_indices.end()); last >= count)
        return kzBecause(KZe_INVALIDARG, place, [&] {
            return fmt::format("there are pixels with the index {}, so the palette has at least {} colours", last,
                               last + 1);
        });
    m_palette.resize(count, PixelColor{0, 0, 0, 1});
    return KZe_OK;
}

KzResult CIndexImage::indeximagewrite_SetPaletteColor(std::uint32_t index, const KzFVector4* rgba) {
    constexpr const char* place = "IndexImageWrite.SetPaletteColor";
    const KzFVector4& color = kzNotNull(rgba);
    PixelColor& entry = colorAt(place, index);
    for (const float component : color.v)
        if (!(component >= 0 && component <= 1))
            return kzBecause(KZe_INVALIDARG, place,
                             [&] { return fmt::format("each component is from 0 to 1, not {}", component); });
    std::copy_n(color.v, 4, entry.begin());
    return KZe_OK;
}

KzResult CIndexImage::indeximagewrite_Quantize(IKzUnknown* source, std::uint32_t count, std::int32_t dither) {
    constexpr const char* place = "IndexImageWrite.Quantize";
    if (count < 1 || count > largestPalette)
        return kzBecause(KZe_INVALIDARG, place,
                         [&] { return fmt::format("a palette has 1 to {} colours, not {}", largestPalette, count); });
    const auto pixels = kzCopyImage(source, KZiIMG_FORMAT_RGBAFP);
    QuantizedPixels chosen = kzQuantize(*pixels, count, dither != 0);
    m_width = pixels->width();
    m_height = pixels->height();
    m_palette = std::move(chosen.palette);
    m_indices = std::move(chosen.indices);
    return KZe_OK;
}

}  // namespace

IKzUnknown* kzMakeIndexImage(std::int32_t width, std::int32_t height) {
    return kzMakeObject<CIndexImage>(width, height);
}

IKzUnknown* kzCopyIndexImage(IKzUnknown* source) {
    std::int32_t width = 0, height = 0;
    const CKzUser_Image asImage(source);
    if (!asImage) throw kzNoImage("Image.Duplicate", source);
    if (const KzResult code = asImage->Size(&width, &height); kzFailed(code)) throw code;
    const auto copy = CHostRef<CIndexImage>::make(width, height);
    if (const auto own = CHostRef<CIndexImage>::of(source)) copy->copyFrom(*own);
    else if (const KzResult code = copy->indeximagewrite_Quantize(source, largestPalette, 0); kzFailed(code))
        throw code;
    IKzUnknown* given = nullptr;
    copy.give(&given);
    return given;
}

}  // namespace kzhost
