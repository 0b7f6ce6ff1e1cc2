// The image service: makes images, copies and compares them, reads and writes their files.
#include "host/services/image_service.h"

#include "host/core/object.h"
#include "host/core/reasons.h"
#include "host/core/service_base.h"
#include "host/objects/arguments.h"
#include "host/objects/image_edits.h"
#include "host/objects/image_files.h"
#include "host/objects/index_image.h"
#include "host/objects/layered_image.h"
#include "host/state/path_aliases.h"
#include "host/state/text.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <string>
#include <string_view>
#include <utility>

namespace kzhost {

namespace {

// Refuses a number that is no constant of a family whose values are contiguous.
void requireOneOf(const char* place, const char* what, std::int32_t value, std::int32_t first, std::int32_t last,
                  const char* family) {
    if (value < first || value > last)
        throw kzBecause(KZe_INVALIDARG, place, [&] {
            return fmt::format("the {} is one of {}_..., {} to {}, not {}", what, family, first, last, value);
        });
}

void requireSides(const char* place, std::int32_t width, std::int32_t height) {
    if (width < 1 || height < 1)
        throw kzBecause(KZe_INVALIDARG, place,
                        [&] { return fmt::format("the sides are at least 1 pixel long, not {} x {}", width, height); });
}

// The last digits before the extension; empty if the name has no frame number.
std::string_view frameDigits(std::string_view path) {
    const std::size_t name = path.rfind('/') == std::string_view::npos ? 0 : path.rfind('/') + 1;
    std::size_t end = std::min(path.rfind('.'), path.size());
    if (end < name) end = path.size();
    std::size_t start = end;
    while (start > name && path[start - 1] >= '0' && path[start - 1] <= '9') --start;
    return path.substr(start, end - start);
}

class CImageService final : public CHosted<"image service", CImageService, CKzIfc_ImageService>, CServiceBase {
public:
    CImageService(std::shared_ptr<ServiceContext> context, std::shared_ptr<CPathAliases> files,
                  std::shared_ptr<CImageFiles> images)
        : CServiceBase(std::move(context)), m_files(std::move(files)), m_images(std::move(images)) {}

    KzResult imageservice_Create(std::int32_t width, std::int32_t height, std::uint32_t format, std::uint32_t /*flags*/,
                                 IKzUnknown** image) override {
        enter("Image.Create");
        kzNotNull(image);
        if (format == KZiIMG_FORMAT_INDEX) *image = kzMakeIndexImage(width, height);
        else return CHostRef<CImage>::make(width, height, format).give(image);
        return KZe_OK;
    }
    KzResult imageservice_CreateLayered(std::int32_t width, std::int32_t height, std::uint32_t format,
                                        IKzUnknown** image) override {
        enter("Image.CreateLayered");
        kzNotNull(image);
        *image = kzMakeLayeredImage(width, height, format);
        return KZe_OK;
    }
    KzResult imageservice_Duplicate(IKzUnknown* source, std::uint32_t format, IKzUnknown** image) override {
        enter("Image.Duplicate");
        kzNotNull(image);
        const bool isIndexed = format == 0 && CKzUser_Image(source).Format() == KZiIMG_FORMAT_INDEX;
        if (!isIndexed && format != KZiIMG_FORMAT_INDEX) return kzCopyImage(source, format).give(image);
        *image = kzCopyIndexImage(source);
        return KZe_OK;
    }
    KzResult imageservice_Load(const char* path, IKzUnknown* monitor, IKzUnknown** image) override {
        enter("Image.Load");
        return m_images->load(m_files->place(path), monitor).give(image);
    }
    KzResult imageservice_Save(IKzUnknown* image, const char* path, const char* saver, IKzUnknown* monitor) override {
        enter("Image.Save");
        return m_images->save(image, m_files->place(path), kzString(saver), monitor);
    }
    KzResult imageservice_Metadata(const char* path, const char* key, char* value, std::uint32_t length) override {
        enter("Image.Metadata");
        return kzFillText(m_images->fact(m_files->place(path), kzString(key)), value, length);
    }
    bool imageservice_IsSequence(const char* path) override {
        enter("Image.IsSequence");
        return !frameDigits(kzString(path)).empty();
    }
    KzResult imageservice_LoadFrame(const char* path, std::int32_t frame, IKzUnknown* monitor,
                                    IKzUnknown** image) override;
    KzResult imageservice_Crop(IKzUnknown* source, std::int32_t x, std::int32_t y, std::int32_t width,
                               std::int32_t height, IKzUnknown** image) override;
    KzResult imageservice_Flip(IKzUnknown* source, std::int32_t axis, IKzUnknown** image) override;
    KzResult imageservice_Scale(IKzUnknown* source, std::int32_t width, std::int32_t height, std::int32_t filter,
                                IKzUnknown** image) override {
        enter("Image.Scale");
        requireSides("Image.Scale", width, height);
        requireOneOf("Image.Scale", "filter", filter, KZiIMG_FILTER_NEAREST, KZiIMG_FILTER_SINC, "iIMG_FILTER");
        return kzScaleImage(source, width, height, filter).give(image);
    }
    KzResult imageservice_Compose(IKzUnknown* target, IKzUnknown* source, std::int32_t x, std::int32_t y,
                                  std::int32_t blend, double opacity) override {
        enter("Image.Compose");
        requireOneOf("Image.Compose", "blend", blend, KZiIMG_BLEND_NORMAL, KZiIMG_BLEND_BURN, "iIMG_BLEND");
        if (!(opacity >= 0 && opacity <= 1))
            return kzBecause(KZe_INVALIDARG, "Image.Compose",
                             [&] { return fmt::format("the opacity is from 0 to 1, not {}", opacity); });
        return kzComposeImages(target, source, x, y, blend, opacity);
    }
    KzResult imageservice_Compare(IKzUnknown* first, IKzUnknown* second, double tolerance, double* greatest,
                                  double* fraction) override;
    std::uint32_t imageservice_PixelBytes(std::uint32_t format) override {
        enter("Image.PixelBytes");
        const auto pixelFormat = PixelFormat::of(format);
        if (format == KZiIMG_FORMAT_INDEX) return 1;
        return pixelFormat ? static_cast<std::uint32_t>(pixelFormat->bytes()) : 0;
    }

private:
    std::shared_ptr<CPathAliases> m_files;
    std::shared_ptr<CImageFiles> m_images;
};

// The file of that frame has its number, with at least as many digits, in place of the last one in the name.
KzResult CImageService::imageservice_LoadFrame(const char* path, std::int32_t frame, IKzUnknown* monitor,
                                               IKzUnknown** image) {
    enter("Image.LoadFrame");
    std::string place = m_files->place(path);
    const std::string_view digits = frameDigits(place);
    if (frame < 0 || (digits.empty() && frame != 0))
        return kzBecause(KZe_OUTOFBOUNDS, "Image.LoadFrame", [&] {
            return digits.empty() ? fmt::format("\"{}\" has no number, so its only frame is 0, not {}", place, frame)
                                  : fmt::format("frames are counted from 0, not {}", frame);
        });
    if (!digits.empty()) {
        const auto start = static_cast<std::size_t>(digits.data() - place.data());
        place.replace(start, digits.size(), fmt::format("{:0{}}", frame, digits.size()));
    }
    std::error_code error;
    if (!digits.empty() && !std::filesystem::exists(place, error))
        return kzBecause(KZe_OUTOFBOUNDS, "Image.LoadFrame", [&] { return "there is no file \"" + place + "\""; });
    return m_images->load(place, monitor).give(image);
}

KzResult CImageService::imageservice_Crop(IKzUnknown* source, std::int32_t x, std::int32_t y, std::int32_t width,
                                          std::int32_t height, IKzUnknown** image) {
    enter("Image.Crop");
    const auto whole = kzCopyImage(source, 0);
    requireSides("Image.Crop", width, height);
    const bool fits = x >= 0 && y >= 0 && width <= whole->width() - x && height <= whole->height() - y;
    if (!fits)
        return kzBecause(KZe_OUTOFBOUNDS, "Image.Crop", [&] {
            return fmt::format("{} x {} pixels at ({}, {}) are not all inside an image of {} x {}", width, height, x, y,
                               whole->width(), whole->height());
        });
    const auto part = CHostRef<CImage>::make(width, height, whole->format().code);
    for (std::int32_t line = 0; line < height; ++line)
        kzConvertPixels(whole->format(), whole->at(x, y + line), part->format(), part->at(0, line),
                        static_cast<std::size_t>(width));
    part->setFacts(whole->facts());
    return part.give(image);
}

KzResult CImageService::imageservice_Flip(IKzUnknown* source, std::int32_t axis, IKzUnknown** image) {
    enter("Image.Flip");
    requireOneOf("Image.Flip", "axis", axis, KZiIMG_FLIP_HORIZONTAL, KZiIMG_FLIP_BOTH, "iIMG_FLIP");
    const auto whole = kzCopyImage(source, 0);
    const auto mirror = CHostRef<CImage>::make(whole->width(), whole->height(), whole->format().code);
    for (std::int32_t y = 0; y < whole->height(); ++y)
        for (std::int32_t x = 0; x < whole->width(); ++x) {
            const std::int32_t toX = axis != KZiIMG_FLIP_VERTICAL ? whole->width() - 1 - x : x;
            const std::int32_t toY = axis != KZiIMG_FLIP_HORIZONTAL ? whole->height() - 1 - y : y;
            kzConvertPixels(whole->format(), whole->at(x, y), mirror->format(), mirror->at(toX, toY), 1);
        }
    mirror->setFacts(whole->facts());
    return mirror.give(image);
}

KzResult CImageService::imageservice_Compare(IKzUnknown* first, IKzUnknown* second, double tolerance, double* greatest,
                                             double* fraction) {
    enter("Image.Compare");
    const auto left = kzCopyImage(first, KZiIMG_FORMAT_RGBAFP), right = kzCopyImage(second, KZiIMG_FORMAT_RGBAFP);
    if (left->width() != right->width() || left->height() != right->height())
        return kzBecause(KZe_INVALIDARG, "Image.Compare", [&] {
            return fmt::format("the images have the same size, not {} x {} and {} x {}", left->width(), left->height(),
                               right->width(), right->height());
        });
    double most = 0;
    std::size_t above = 0;
    const auto count = static_cast<std::size_t>(left->width()) * static_cast<std::size_t>(left->height());
    for (std::size_t i = 0; i < count; ++i) {
        const PixelColor a = kzReadPixel(left->format(), left->at(0, 0) + i * left->format().bytes());
        const PixelColor b = kzReadPixel(right->format(), right->at(0, 0) + i * right->format().bytes());
        double difference = 0;
        for (std::size_t c = 0; c < a.size(); ++c) difference = std::max<double>(difference, std::abs(a[c] - b[c]));
        most = std::max(most, difference);
        if (difference > tolerance) ++above;
    }
    *greatest = most;
    *fraction = static_cast<double>(above) / static_cast<double>(count);
    return KZe_OK;
}

}  // namespace

decltype(kzMakeImageService) kzMakeImageService = kzMakeService<CImageService>;

}  // namespace kzhost
