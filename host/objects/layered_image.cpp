// Images of several layers, as objects. A layer is a copy, so that nobody else changes it while layers are blended.
#include "host/objects/layered_image.h"

#include "host/core/object.h"
#include "host/core/reasons.h"
#include "host/objects/layer_blend.h"
#include "host/state/text.h"

#include "kz/image.h"
#include "kz/image_layer.h"

#include <fmt/format.h>

#include <string>
#include <utility>
#include <vector>

namespace kzhost {

namespace {

constexpr std::uint32_t allLayerFlags = KZfIMGLAYER_HIDDEN | KZfIMGLAYER_LOCKED | KZfIMGLAYER_GROUP |
                                        KZfIMGLAYER_PASSTHROUGH | KZfIMGLAYER_CLIPPED | KZfIMGLAYER_PREMULTIPLIED;

KzResult refuseLayer(const char* place, std::string why) {
    return kzBecause(KZe_INVALIDARG, place, [&] { return why; });
}

class CLayeredImage final
    : public CHosted<"layered image", CLayeredImage, CKzIfc_LayeredImage, CKzIfc_LayeredImageWrite, CKzIfc_Image> {
public:
    CLayeredImage(std::int32_t width, std::int32_t height, std::uint32_t format)
        : m_blank(CHostRef<CImage>::make(width, height, format)) {}

    KzResult limg_LayerCount(std::uint32_t* count) override {
        *count = static_cast<std::uint32_t>(m_layers.size());
        return KZe_OK;
    }
    KzResult limg_LayerByIndex(std::uint32_t index, IKzUnknown** image) override {
        const PictureLayer& layer = at("LayeredImage.LayerByIndex", index).picture;
        return layer.image ? layer.image.give(image) : KZe_NOTFOUND;
    }
    KzResult limg_LayerName(std::uint32_t index, const char** name) override {
        *name = kzLend(at("LayeredImage.LayerName", index).name);
        return KZe_OK;
    }
    KzResult limg_LayerOffset(std::uint32_t index, std::int32_t* x, std::int32_t* y) override {
        const PictureLayer& layer = at("LayeredImage.LayerOffset", index).picture;
        *x = static_cast<std::int32_t>(layer.x), *y = static_cast<std::int32_t>(layer.y);
        return KZe_OK;
    }
    double limg_LayerOpacity(std::uint32_t index) override {
        return at("LayeredImage.LayerOpacity", index).picture.opacity;
    }
    std::int32_t limg_LayerBlend(std::uint32_t index) override {
        return at("LayeredImage.LayerBlend", index).picture.blend;
    }
    std::uint32_t limg_LayerFlags(std::uint32_t index) override {
        return at("LayeredImage.LayerFlags", index).picture.flags;
    }
    std::int32_t limg_LayerParent(std::uint32_t index) override {
        return index < m_layers.size() ? m_layers[index].picture.parent : -1;
    }
    KzResult limg_LayerMask(std::uint32_t index, IKzUnknown** mask) override {
        const PictureLayer& layer = at("LayeredImage.LayerMask", index).picture;
        return layer.mask ? layer.mask.give(mask) : KZe_NOTFOUND;
    }
    KzResult limg_Composite(IKzUnknown** image) override {
        return part(0, 0, m_blank->width(), m_blank->height()).give(image);
    }

    KzResult limgw_AddLayer(IKzUnknown* image, const char* name, std::int32_t parent, std::uint32_t* index) override;
    KzResult limgw_SetLayerOffset(std::uint32_t index, std::int32_t x, std::int32_t y) override {
        PictureLayer& layer = at("LayeredImageWrite.SetLayerOffset", index).picture;
        layer.x = x, layer.y = y;
        return KZe_OK;
    }
    KzResult limgw_SetLayerBlend(std::uint32_t index, std::int32_t blend, double opacity) override;
    KzResult limgw_SetLayerFlags(std::uint32_t index, std::uint32_t flags) override;
    KzResult limgw_SetLayerMask(std::uint32_t index, IKzUnknown* mask) override;

    KzResult img_Size(std::int32_t* width, std::int32_t* height) override { return m_blank->img_Size(width, height); }
    std::uint32_t img_Format() override { return m_blank->img_Format(); }
    KzResult img_GetPixel(std::int32_t x, std::int32_t y, std::uint32_t format, void* pixel) override {
        m_blank->at(x, y);  // or throws
        return part(x, y, 1, 1)->img_GetPixel(0, 0, format, pixel);
    }
    KzResult img_GetLine(std::int32_t y, std::uint32_t format, std::uint32_t size, void* line) override {
        m_blank->at(0, y);
        return part(0, y, m_blank->width(), 1)->img_GetLine(0, format, size, line);
    }

private:
    struct Layer {
        PictureLayer picture;
        std::string name;
    };
    Layer& at(const char* place, std::uint32_t index) {
        if (index >= m_layers.size())
            throw kzBecause(KZe_OUTOFBOUNDS, place,
                            [&] { return fmt::format("there is no layer {} among {}", index, m_layers.size()); });
        return m_layers[index];
    }
    // Only that part is blended, so that reading line by line costs no more than reading all.
    CHostRef<CImage> part(std::int32_t x, std::int32_t y, std::int32_t width, std::int32_t height) const {
        std::vector<PictureLayer> pictures;
        for (const Layer& layer : m_layers) {
            PictureLayer& picture = pictures.emplace_back(layer.picture);
            picture.x -= x, picture.y -= y;
        }
        return kzBlendLayers(pictures, width, height, m_blank->format().code);
    }

    CHostRef<CImage> m_blank;  // the size and format
    std::vector<Layer> m_layers;
};

KzResult CLayeredImage::limgw_AddLayer(IKzUnknown* image, const char* name, std::int32_t parent, std::uint32_t* index) {
    constexpr const char* place = "LayeredImageWrite.AddLayer";
    Layer layer;
    layer.name = kzString(name);
    layer.picture.parent = parent;
    if (image != nullptr) layer.picture.image = kzCopyImage(image, 0);
    else layer.picture.flags = KZfIMGLAYER_GROUP;
    // From here on nobody is called, so the layers stay those that are looked at.
    if (m_layers.size() >= kzMostLayers)
        return refuseLayer(place, fmt::format("an image has at most {} layers", kzMostLayers));
    if (parent < -1 || (parent >= 0 && static_cast<std::size_t>(parent) >= m_layers.size()))
        return refuseLayer(place, fmt::format("there is no group {} among {} layers", parent, m_layers.size()));
    std::uint32_t depth = 0;
    for (std::int32_t group = parent; group >= 0; ++depth) {
        const PictureLayer& its = m_layers[static_cast<std::size_t>(group)].picture;
        if (its.image) return refuseLayer(place, fmt::format("layer {} is no group", parent));
        group = its.parent;
    }
    if (depth > kzDeepestGroup)
        return refuseLayer(place, fmt::format("at most {} groups are inside each other", kzDeepestGroup));
    *index = static_cast<std::uint32_t>(m_layers.size());
    m_layers.push_back(std::move(layer));
    return KZe_OK;
}

KzResult CLayeredImage::limgw_SetLayerBlend(std::uint32_t index, std::int32_t blend, double opacity) {
    constexpr const char* place = "LayeredImageWrite.SetLayerBlend";
    PictureLayer& layer = at(place, index).picture;
    if (blend < KZiIMG_BLEND_NORMAL || blend > KZiIMG_BLEND_BURN)
        return refuseLayer(place, fmt::format("the blend is one of iIMG_BLEND_..., 0 to {}, not {}",
                                              static_cast<int>(KZiIMG_BLEND_BURN), blend));
    if (!(opacity >= 0 && opacity <= 1))
        return refuseLayer(place, fmt::format("the opacity is from 0 to 1, not {}", opacity));
    layer.blend = blend;
    layer.opacity = opacity;
    return KZe_OK;
}

// What is a group stays one, since only a layer without pixels can be one.
KzResult CLayeredImage::limgw_SetLayerFlags(std::uint32_t index, std::uint32_t flags) {
    constexpr const char* place = "LayeredImageWrite.SetLayerFlags";
    PictureLayer& layer = at(place, index).picture;
    if ((flags & ~allLayerFlags) != 0)
        return refuseLayer(place, fmt::format("{:#x} has flags that are no fIMGLAYER_...", flags));
    if (((flags & KZfIMGLAYER_GROUP) != 0) == static_cast<bool>(layer.image))
        return refuseLayer(place, layer.image ? "a layer with pixels is no group" : "a group stays a group");
    layer.flags = flags;
    return KZe_OK;
}

KzResult CLayeredImage::limgw_SetLayerMask(std::uint32_t index, IKzUnknown* mask) {
    constexpr const char* place = "LayeredImageWrite.SetLayerMask";
    at(place, index);
    CHostRef<CImage> copy;
    if (mask != nullptr) copy = kzCopyImage(mask, KZiIMG_FORMAT_GREYFP);
    PictureLayer& layer = at(place, index).picture;  // reading a module's image may have changed the layers
    const CHostRef<CImage>& pixels = layer.image ? layer.image : m_blank;
    if (copy && (copy->width() != pixels->width() || copy->height() != pixels->height()))
        return refuseLayer(place, fmt::format("the mask is {} x {} pixels, and the layer {} x {}", copy->width(),
                                              copy->height(), pixels->width(), pixels->height()));
    layer.mask = std::move(copy);
    return KZe_OK;
}

}  // namespace

IKzUnknown* kzMakeLayeredImage(std::int32_t width, std::int32_t height, std::uint32_t format) {
    return kzMakeObject<CLayeredImage>(width, height, format);
}

}  // namespace kzhost
