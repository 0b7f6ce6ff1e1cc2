// Where the loaders of modules put what they read of an image file.
#include "host/objects/image_target.h"

#include "host/core/reasons.h"
#include "host/objects/image.h"
#include "host/objects/layer_blend.h"
#include "host/state/text.h"

#include "kz/color_mapping.h"
#include "kz/result.h"

#include <strings.h>

#include <fmt/format.h>

#include <algorithm>
#include <span>
#include <string_view>

namespace kzhost {

namespace {

// What the files of other programs can hold.
constexpr std::size_t mostTexts = 1000, longestKey = 79, longestText = 30000;

// As the head of an ICC profile says (ISO 15076-1, 7.2): its size, and the signature of such files. Writers of pictures treat
// anything else differently: some refuse it, some leave it out, and some write it.
bool isProfile(std::span<const std::uint8_t> bytes) {
    constexpr std::size_t headSize = 128, signatureAt = 36;
    constexpr std::string_view signature = "acsp";
    if (bytes.size() < headSize || !std::ranges::equal(bytes.subspan(signatureAt, signature.size()), signature))
        return false;
    const std::size_t size =
        std::size_t{bytes[0]} << 24U | std::size_t{bytes[1]} << 16U | std::size_t{bytes[2]} << 8U | bytes[3];
    return size == bytes.size();
}

}  // namespace

KzResult CImageTarget::imageloadertarget_SetImage(IKzUnknown* image) {
    return m_image.set(image) ? KZe_OK : kzNoImage("ImageLoaderTarget.SetImage", image);
}

KzResult CImageTarget::imageloadertarget_SetLayeredImage(IKzUnknown* image) {
    m_image.set(kzFlatLayers("ImageLoaderTarget.SetLayeredImage", image).raw());
    return KZe_OK;
}

KzResult CImageTarget::imageloadertarget_SetProfile(std::intptr_t length, std::uint8_t* profile) {
    if (length < 0 || (profile == nullptr && length != 0))
        return kzBecause(KZe_INVALIDARG, "ImageLoaderTarget.SetProfile", [] {
            return "the profile needs its bytes as they stand in the file, and how many there are";
        });
    const std::span bytes(profile, static_cast<std::size_t>(length));
    if (!bytes.empty() && !isProfile(bytes))
        return kzBecause(KZe_INVALIDARG, "ImageLoaderTarget.SetProfile", [&] {
            return fmt::format(
                "these {} bytes are no ICC profile, which begins with its size in four bytes and has \"acsp\" at "
                "byte 36",
                length);
        });
    m_texts.profile.assign(bytes.begin(), bytes.end());
    return KZe_OK;
}

KzResult CImageTarget::imageloadertarget_SetSpace(const char* space) {
    if (kzString(space).empty())
        return kzBecause(KZe_INVALIDARG, "ImageLoaderTarget.SetSpace",
                         [] { return std::string("the space is empty; pass its name, such as ") + KZs_CSPACE_SRGB; });
    if (kzTextOf(space).size() > longestKey || kzTextOf(space).find_first_of(" \t\r\n") != std::string_view::npos)
        return kzBecause(KZe_INVALIDARG, "ImageLoaderTarget.SetSpace",
                         [&] { return fmt::format("a space's name is one word of at most {} bytes", longestKey); });
    // What the kind of file decides is not said by this file.
    if (strcasecmp(space, KZs_CSPACE_AUTO) == 0) m_texts.texts.erase(KZsIMGKEY_COLORSPACE);
    else m_texts.texts.insert_or_assign(KZsIMGKEY_COLORSPACE, space);
    return KZe_OK;
}

KzResult CImageTarget::imageloadertarget_SetMetadata(const char* key, const char* value) {
    if (kzString(key).empty())
        return kzBecause(KZe_INVALIDARG, "ImageLoaderTarget.SetMetadata",
                         [] { return "the key is empty; pass what the text is, such as \"comment\""; });
    const std::string text = kzString(value);
    if (m_texts.texts.size() >= mostTexts || kzTextOf(key).size() > longestKey || text.size() > longestText)
        return kzBecause(KZe_OUTOFBOUNDS, "ImageLoaderTarget.SetMetadata", [&] {
            return fmt::format(
                "a text of {} bytes, of {} with a key of {}, does not fit; at most {} texts of {} bytes with "
                "keys of {} bytes do",
                text.size(), m_texts.texts.size() + 1, kzTextOf(key).size(), mostTexts, longestText, longestKey);
        });
    m_texts.texts.insert_or_assign(key, text);
    return KZe_OK;
}

}  // namespace kzhost
