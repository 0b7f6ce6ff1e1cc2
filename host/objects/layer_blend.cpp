// Blending the layers of an image into one. All work is done in single floats whose colours are not multiplied by alpha.
#include "host/objects/layer_blend.h"

#include "host/core/object.h"
#include "host/core/reasons.h"
#include "host/core/refusal.h"
#include "host/objects/image_edits.h"

#include "kz/image.h"
#include "kz/image_layer.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <utility>

namespace kzhost {

namespace {

using LayerCanvas = CHostRef<CImage>;

float* canvasPixel(const LayerCanvas& canvas, std::int32_t x, std::int32_t y) {
    return reinterpret_cast<float*>(canvas->at(x, y));
}

// An opacity that is no number hides the layer.
double opacityOf(const PictureLayer& layer) { return layer.opacity > 0 ? std::min(layer.opacity, 1.0) : 0; }

// What is beyond the mask is hidden.
double maskAt(const PictureLayer& layer, std::int32_t x, std::int32_t y) {
    if (!layer.mask) return 1;
    const std::int64_t column = x - layer.x, line = y - layer.y;
    if (column < 0 || line < 0 || column >= layer.mask->width() || line >= layer.mask->height()) return 0;
    const PixelColor grey = kzReadPixel(
        layer.mask->format(), layer.mask->at(static_cast<std::int32_t>(column), static_cast<std::int32_t>(line)));
    return grey[0] > 0 ? std::min<double>(grey[0], 1) : 0;
}

// Only where both are opaque do the colours meet; elsewhere each shows as it is.
void blendPixel(float* below, const float* above, double cover, std::int32_t blend) {
    const double alpha = cover * above[3], under = below[3], sum = alpha + under * (1 - alpha);
    if (!(alpha > 0)) return;
    for (std::size_t c = 0; c < 3; ++c) {
        const double mixed = kzBlendComponent(blend, below[c], above[c]);
        const double color = alpha * (1 - under) * above[c] + alpha * under * mixed + (1 - alpha) * under * below[c];
        below[c] = static_cast<float>(color / sum);
    }
    below[3] = static_cast<float>(sum);
}

// Between what was there and what is there now, as colours weigh by their alpha.
void fadePixel(float* now, const float* before, double weight) {
    const double alpha = before[3] + (now[3] - before[3]) * weight;
    for (std::size_t c = 0; c < 3 && alpha > 0; ++c)
        now[c] = static_cast<float>((before[c] * before[3] * (1 - weight) + now[c] * now[3] * weight) / alpha);
    now[3] = static_cast<float>(alpha);
}

class CLayerBlender {
public:
    CLayerBlender(const std::vector<PictureLayer>& layers, std::int32_t width, std::int32_t height)
        : m_layers(layers), m_width(width), m_height(height) {
        for (std::size_t i = 0; i < layers.size(); ++i) demandDepth(i);
    }
    // What lies in that group, from the lowest layer on. Where only alpha counts, a group that passes through is like any
    // other: were it blended in both ways, groups within groups would take twice the time of the one around them.
    void blendInto(const LayerCanvas& canvas, std::int32_t group, bool isCover = false) const {
        LayerCanvas base;  // what the layers that are clipped lie on
        for (std::size_t i = 0; i < m_layers.size(); ++i) {
            const PictureLayer& layer = m_layers[i];
            if (layer.parent != group) continue;
            const bool isClipped = (layer.flags & KZfIMGLAYER_CLIPPED) != 0;
            const bool isHidden = (layer.flags & KZfIMGLAYER_HIDDEN) != 0;
            const bool needsBase = !isClipped && isClippedAbove(i);
            const bool fades = passesThrough(layer) && !isClipped && !isCover;
            LayerCanvas own;
            if (!isHidden && (needsBase || !fades)) own = alone(i, isCover || fades);
            if (!isHidden && fades) fadeIn(canvas, i);
            else if (!isHidden) lay(canvas, own, isClipped ? &base : nullptr, layer);
            if (!isClipped) base = needsBase ? std::move(own) : LayerCanvas();
        }
    }

private:
    static bool passesThrough(const PictureLayer& layer) {
        constexpr std::uint32_t both = KZfIMGLAYER_GROUP | KZfIMGLAYER_PASSTHROUGH;
        return (layer.flags & both) == both;
    }
    void demandDepth(std::size_t index) const {
        std::uint32_t depth = 0;
        for (auto parent = m_layers[index].parent; parent >= 0; ++depth) {
            const auto at = static_cast<std::size_t>(parent);
            if (at >= m_layers.size() || (m_layers[at].flags & KZfIMGLAYER_GROUP) == 0 || depth == kzDeepestGroup)
                throw kzBecause(KZe_INVALIDARG, "LayeredImage.Composite", [&] {
                    return fmt::format("layer {} lies in layer {}, which is {}", index, parent,
                                       depth == kzDeepestGroup ? "one of groups that hold each other" : "no group");
                });
            parent = m_layers[at].parent;
        }
    }
    bool isClippedAbove(std::size_t index) const {
        for (std::size_t i = index + 1; i < m_layers.size(); ++i)
            if (m_layers[i].parent == m_layers[index].parent) return (m_layers[i].flags & KZfIMGLAYER_CLIPPED) != 0;
        return false;
    }
    LayerCanvas empty() const { return LayerCanvas::make(m_width, m_height, KZiIMG_FORMAT_RGBAFP); }
    // The layer by itself, with its mask and opacity in the alpha.
    LayerCanvas alone(std::size_t index, bool isCover) const {
        const PictureLayer& layer = m_layers[index];
        LayerCanvas canvas = empty();
        if ((layer.flags & KZfIMGLAYER_GROUP) != 0) blendInto(canvas, static_cast<std::int32_t>(index), isCover);
        else if (layer.image) place(canvas, layer);
        const double opacity = opacityOf(layer);
        for (std::int32_t y = 0; y < m_height; ++y)
            for (std::int32_t x = 0; x < m_width; ++x)
                canvasPixel(canvas, x, y)[3] *= static_cast<float>(opacity * maskAt(layer, x, y));
        return canvas;
    }
    void place(const LayerCanvas& canvas, const PictureLayer& layer) const {
        const auto within = [](std::int64_t number, std::int32_t size) {
            return static_cast<std::int32_t>(std::clamp<std::int64_t>(number, 0, size));
        };
        const std::int32_t right = within(layer.x + layer.image->width(), m_width);
        const std::int32_t bottom = within(layer.y + layer.image->height(), m_height);
        for (std::int32_t y = within(layer.y, m_height); y < bottom; ++y)
            for (std::int32_t x = within(layer.x, m_width); x < right; ++x) {
                PixelColor color =
                    kzReadPixel(layer.image->format(), layer.image->at(static_cast<std::int32_t>(x - layer.x),
                                                                       static_cast<std::int32_t>(y - layer.y)));
                color[3] = color[3] > 0 ? std::min(color[3], 1.0F) : 0;
                if ((layer.flags & KZfIMGLAYER_PREMULTIPLIED) != 0 && color[3] > 0)
                    for (std::size_t c = 0; c < 3; ++c) color[c] /= color[3];
                std::copy(color.begin(), color.end(), canvasPixel(canvas, x, y));
            }
    }
    void lay(const LayerCanvas& canvas, const LayerCanvas& own, const LayerCanvas* base,
             const PictureLayer& layer) const {
        if (base != nullptr && !*base) return;  // nothing opaque is below it
        for (std::int32_t y = 0; y < m_height; ++y)
            for (std::int32_t x = 0; x < m_width; ++x)
                blendPixel(canvasPixel(canvas, x, y), canvasPixel(own, x, y),
                           base != nullptr ? canvasPixel(*base, x, y)[3] : 1, layer.blend);
    }
    // The layers of the group blend with what is below it, and opacity and mask say how much of that is seen.
    void fadeIn(const LayerCanvas& canvas, std::size_t index) const {
        const PictureLayer& layer = m_layers[index];
        const auto before = kzCopyImage(canvas.raw(), 0);
        blendInto(canvas, static_cast<std::int32_t>(index));
        for (std::int32_t y = 0; y < m_height; ++y)
            for (std::int32_t x = 0; x < m_width; ++x)
                fadePixel(canvasPixel(canvas, x, y), canvasPixel(before, x, y), opacityOf(layer) * maskAt(layer, x, y));
    }

    const std::vector<PictureLayer>& m_layers;
    std::int32_t m_width, m_height;
};

PictureLayer readLayer(const CKzUser_LayeredImage& layered, std::uint32_t index) {
    PictureLayer layer;
    layer.flags = layered.LayerFlags(index);
    CKzLoc_Unknown image, mask;
    const KzResult code = layered.LayerByIndex(index, image.out());
    if (code == KZe_NOTFOUND) layer.flags |= KZfIMGLAYER_GROUP;
    else kzDemand(code);
    if ((layer.flags & KZfIMGLAYER_GROUP) == 0) layer.image = kzCopyImage(image.raw(), KZiIMG_FORMAT_RGBAFP);
    std::int32_t x = 0, y = 0;
    kzDemandGiven(layered.LayerOffset(index, &x, &y));
    layer.x = x, layer.y = y;
    if (const KzResult its = layered.LayerMask(index, mask.out()); its != KZe_NOTFOUND) kzDemandGiven(its);
    if (mask.raw() != nullptr) layer.mask = kzCopyImage(mask.raw(), KZiIMG_FORMAT_GREYFP);
    layer.opacity = layered.LayerOpacity(index);
    layer.blend = layered.LayerBlend(index);
    layer.parent = layered.LayerParent(index);
    return layer;
}

}  // namespace

CHostRef<CImage> kzBlendLayers(const std::vector<PictureLayer>& layers, std::int32_t width, std::int32_t height,
                               std::uint32_t format) {
    const auto canvas = LayerCanvas::make(width, height, KZiIMG_FORMAT_RGBAFP);
    CLayerBlender(layers, width, height).blendInto(canvas, -1);
    return kzCopyImage(canvas.raw(), format);
}

CHostRef<CImage> kzFlatLayers(const char* place, IKzUnknown* object) {
    const CKzUser_LayeredImage layered(object);
    if (!layered) throw kzBecause(KZe_INVALIDARG, place, [] { return "the object has no layers"; });
    CKzLoc_Unknown composed;
    const KzResult code = layered.Composite(composed.out());
    if (kzSucceeded(code)) return kzCopyImage(composed.raw(), 0);
    kzDemandGiven(code);
    std::uint32_t count = 0;
    kzDemand(layered.LayerCount(&count));
    if (count > kzMostLayers)
        throw kzBecause(KZe_INVALIDARG, place,
                        [&] { return fmt::format("an image has at most {} layers, not {}", kzMostLayers, count); });
    std::vector<PictureLayer> layers;
    std::int64_t width = 1, height = 1;
    for (std::uint32_t i = 0; i < count; ++i) {
        const PictureLayer& layer = layers.emplace_back(readLayer(layered, i));
        if (!layer.image) continue;
        width = std::max(width, layer.x + layer.image->width());
        height = std::max(height, layer.y + layer.image->height());
    }
    constexpr std::int64_t largest = 1 << 16;
    if (width > largest || height > largest)
        throw kzBecause(KZe_INVALIDARG, place, [&] {
            return fmt::format("the layers reach to pixel ({}, {}), beyond {}", width, height, largest);
        });
    return kzBlendLayers(layers, static_cast<std::int32_t>(width), static_cast<std::int32_t>(height),
                         KZiIMG_FORMAT_RGBAFP);
}

}  // namespace kzhost
