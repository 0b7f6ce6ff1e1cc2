// Where the loaders of modules put what they read of an image file.
#pragma once

#include "host/core/object.h"
#include "host/pictures/picture_files.h"

#include "kz/image.h"
#include "kz/image_codec.h"

#include <cstdint>

namespace kzhost {

class CImageTarget final : public CHosted<"image loader target", CImageTarget, CKzIfc_ImageLoaderTarget> {
public:
    explicit CImageTarget(std::uint32_t wanted) : m_wanted(wanted) {}

    std::uint32_t imageloadertarget_Wanted() override { return m_wanted; }
    KzResult imageloadertarget_SetImage(IKzUnknown* image) override;
    // Blended at once, as nobody but the loader knows how long the layers last.
    KzResult imageloadertarget_SetLayeredImage(IKzUnknown* image) override;
    KzResult imageloadertarget_SetProfile(std::intptr_t length, std::uint8_t* profile) override;
    KzResult imageloadertarget_SetSpace(const char* space) override;
    KzResult imageloadertarget_SetMetadata(const char* key, const char* value) override;
    std::int32_t imageloadertarget_Frame() override { return 0; }

    const CKzUser_Image& image() const { return m_image; }
    const PictureTexts& texts() const { return m_texts; }

private:
    const std::uint32_t m_wanted;
    CKzUser_Image m_image;
    PictureTexts m_texts;
};

}  // namespace kzhost
