// An image in memory, as an object.
#pragma once

#include "host/objects/arguments.h"
#include "host/objects/pixels.h"
#include "host/pictures/picture_files.h"

#include <cstddef>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace kzhost {

// What is known of an image beside its pixels: from the file that it was read of, and from the loader that read it.
struct ImageFacts {
    PictureFactsPtr file;
    PictureTexts said;
};

class CImage final : public CHosted<"image", CImage, CKzIfc_Image, CKzIfc_ImageWrite> {
public:
    // Throws INVALIDARG for a size that is not positive or too large, NOTSUPPORTED for a format that cannot be stored.
    CImage(std::int32_t width, std::int32_t height, std::uint32_t format) { resize(width, height, format); }

    KzResult img_Size(std::int32_t* width, std::int32_t* height) override;
    std::uint32_t img_Format() override { return m_format.code; }
    KzResult img_GetPixel(std::int32_t x, std::int32_t y, std::uint32_t format, void* pixel) override;
    KzResult img_GetLine(std::int32_t y, std::uint32_t format, std::uint32_t size, void* line) override;

    KzResult imgw_SetSize(std::int32_t width, std::int32_t height, std::uint32_t format) override;
    KzResult imgw_SetPixel(std::int32_t x, std::int32_t y, std::uint32_t format, void* pixel) override;
    KzResult imgw_SetLine(std::int32_t y, std::uint32_t format, std::uint32_t size, void* line) override;
    KzResult imgw_SetAspect(double aspect) override;
    KzResult imgw_Fill(const KzFVector3* color, double alpha) override;

    std::int32_t width() const { return m_width; }
    std::int32_t height() const { return m_height; }
    const PixelFormat& format() const { return m_format; }
    // The bytes of a line in any format; throws NOTSUPPORTED for an unknown one.
    std::uint32_t lineBytes(std::uint32_t format) const;
    // Null without a file, and after a change of the size.
    const std::shared_ptr<const ImageFacts>& facts() const { return m_facts; }
    void setFacts(std::shared_ptr<const ImageFacts> facts) { m_facts = std::move(facts); }
    // The address of a pixel; throws OUTOFBOUNDS.
    std::byte* at(std::int32_t x, std::int32_t y);

private:
    void resize(std::int32_t width, std::int32_t height, std::uint32_t format);

    std::int32_t m_width = 0;
    std::int32_t m_height = 0;
    PixelFormat m_format;
    double m_aspect = 1;
    std::shared_ptr<const ImageFacts> m_facts;
    std::vector<std::byte> m_bytes;
};

// INVALIDARG, and the reason in the log, for an argument that is null or no image.
KzResult kzNoImage(const char* place, IKzUnknown* argument);

// A copy of any image in that format; 0 keeps its own. The image may be a module's, so its answers are checked. The
// metadata of the host's own images is copied, too.
CHostRef<CImage> kzCopyImage(IKzUnknown* source, std::uint32_t format);

}  // namespace kzhost
