// Filters of images: the host's own ones and those of modules. All of them work on single floats.
#include "host/objects/image_filters.h"

#include "host/core/log_store.h"
#include "host/core/message_tables.h"
#include "host/core/module_table.h"
#include "host/core/object.h"
#include "host/core/reasons.h"
#include "host/core/refusal.h"
#include "host/objects/image_looks.h"
#include "host/objects/pixel_blur.h"
#include "host/state/function_ref.h"

#include "kz/image.h"
#include "kz/image_filter.h"
#include "kz/log.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

namespace kzhost {

namespace {

float* filterPixel(CImage& image, std::int32_t x, std::int32_t y) {
    return reinterpret_cast<float*>(
        image.at(std::clamp(x, 0, image.width() - 1), std::clamp(y, 0, image.height() - 1)));
}

// Each new pixel from the image as it was.
void rebuild(CImage& image, CFunctionRef<void(CImage& before, std::int32_t x, std::int32_t y, float* rgba)> make) {
    const auto before = CHostRef<CImage>::make(image.width(), image.height(), image.format().code);
    std::copy_n(filterPixel(image, 0, 0),
                4 * static_cast<std::size_t>(image.width()) * static_cast<std::size_t>(image.height()),
                filterPixel(*before, 0, 0));
    for (std::int32_t y = 0; y < image.height(); ++y)
        for (std::int32_t x = 0; x < image.width(); ++x) make(*before, x, y, filterPixel(image, x, y));
}

// The radius holds two standard deviations.
void ownBlur(CImage& image, const FilterSettings& settings) { kzBlurPixels(image, settings.radius / 2); }

void ownSharpen(CImage& image, const FilterSettings& settings) {
    const auto before = CHostRef<CImage>::make(image.width(), image.height(), image.format().code);
    const std::size_t count = 4 * static_cast<std::size_t>(image.width()) * static_cast<std::size_t>(image.height());
    float* const pixels = filterPixel(image, 0, 0);
    std::copy_n(pixels, count, filterPixel(*before, 0, 0));
    ownBlur(image, settings);
    for (std::size_t i = 0; i < count; ++i) pixels[i] = 2 * filterPixel(*before, 0, 0)[i] - pixels[i];
}

void ownBloom(CImage& image, const FilterSettings& settings) {
    ImageLooks looks;
    looks.bloomThreshold = settings.threshold;
    looks.bloomRadius = settings.radius / 2 / image.width();
    looks.bloomAmount = 1;
    kzApplyLooks(looks, image);
}

void ownVignette(CImage& image, const FilterSettings& /*settings*/) {
    ImageLooks looks;
    looks.vignette = 1;
    kzApplyLooks(looks, image);
}

// The median of a pixel and its neighbours, for each component.
void ownDenoise(CImage& image, const FilterSettings& /*settings*/) {
    rebuild(image, [](CImage& before, std::int32_t x, std::int32_t y, float* rgba) {
        for (std::size_t c = 0; c < 4; ++c) {
            std::array<float, 9> near{};
            for (std::int32_t i = 0; i < 9; ++i)
                near[static_cast<std::size_t>(i)] = filterPixel(before, x + i % 3 - 1, y + i / 3 - 1)[c];
            std::nth_element(near.begin(), near.begin() + 4, near.end());
            rgba[c] = near[4];
        }
    });
}

// Brightness is the height in pixels; green points up.
void ownNormals(CImage& image, const FilterSettings& /*settings*/) {
    rebuild(image, [](CImage& before, std::int32_t x, std::int32_t y, float* rgba) {
        const auto height = [&](std::int32_t dx, std::int32_t dy) {
            return kzLuminance(filterPixel(before, x + dx, y + dy));
        };
        const double across = (height(-1, 0) - height(1, 0)) / 2, up = (height(0, 1) - height(0, -1)) / 2;
        const double length = std::sqrt(across * across + up * up + 1);
        rgba[0] = static_cast<float>(0.5 + across / length / 2);
        rgba[1] = static_cast<float>(0.5 + up / length / 2);
        rgba[2] = static_cast<float>(0.5 + 1 / length / 2);
    });
}

struct OwnFilter {
    const char* name;
    void (*apply)(CImage& image, const FilterSettings& settings);
};
constexpr OwnFilter ownFilters[] = {
    {KZs_IMGFILTER_BLUR, ownBlur},         {KZs_IMGFILTER_SHARPEN, ownSharpen}, {KZs_IMGFILTER_BLOOM, ownBloom},
    {KZs_IMGFILTER_VIGNETTE, ownVignette}, {KZs_IMGFILTER_DENOISE, ownDenoise}, {KZs_IMGFILTER_NORMALMAP, ownNormals},
};

bool hasFilterTag(const KzTags& tags, const char* name) {
    return std::any_of(tags.begin(), tags.end(), [&](const auto& tag) { return tag.first == name; });
}

// Lines are filtered on the calling thread: it may hold the lock of the filter's interpreter, for which others would wait.
KzResult runServed(const KzServer& server, CImage& image, IKzUnknown* settings, std::string& what) {
    CKzLoc_Unknown object;
    const CKzUser_ImageFilter filter(CModuleTable::spawn(server, object).raw());
    if (!filter) return KZe_NOINTERFACE;
    const KzTags tags = CModuleTable::tagsOf(server);
    const auto source = CHostRef<CImage>::make(image.width(), image.height(), image.format().code);
    const std::size_t lineFloats = 4 * static_cast<std::size_t>(image.width());
    std::copy_n(filterPixel(image, 0, 0), lineFloats * static_cast<std::size_t>(image.height()),
                filterPixel(*source, 0, 0));
    what = "Begin";
    if (const KzResult code = filter.Begin(source.raw(), settings); kzRefuses(code)) return code;
    struct Ending {
        const CKzUser_ImageFilter& filter;
        ~Ending() { filter.End(); }
    } const ending{filter};
    std::int32_t columns = 0, rows = 0;
    what = "Margin";
    if (!hasFilterTag(tags, KZsTAG_IMGFILTER_POINTWISE))
        if (const KzResult code = filter.Margin(&columns, &rows); kzRefuses(code)) return code;
    if (columns < 0 || rows < 0) return KZe_INVALIDARG;
    std::vector<float> line(lineFloats);  // its own, so that a filter which keeps the line cannot write into the image
    for (std::int32_t y = 0; y < image.height(); ++y) {
        what = fmt::format("FilterLine of line {}", y);
        float* const pixels = filterPixel(image, 0, y);
        std::copy_n(pixels, lineFloats, line.begin());
        const KzResult code = filter.FilterLine(y, static_cast<std::uint32_t>(image.width()), line.data());
        if (kzFailed(code)) return code;
        for (std::size_t i = 0; i < lineFloats; ++i)
            if (i % 4 != 3 || hasFilterTag(tags, KZsTAG_IMGFILTER_ALPHA)) pixels[i] = line[i];
    }
    return KZe_OK;
}

}  // namespace

std::vector<std::string> kzFilterNames(const CModuleTable& modules) {
    std::vector<std::string> names;
    for (const OwnFilter& own : ownFilters) names.emplace_back(own.name);
    for (const KzServer& server : modules.servers(KZa_IMAGEFILTER)) names.push_back(server.name);
    return names;
}

CHostRef<CImage> kzFilterImage(const CModuleTable& modules, CLogStore& log, IKzUnknown* source,
                               const std::string& filter, const FilterSettings& settings) {
    const auto* const own = std::find_if(std::begin(ownFilters), std::end(ownFilters),
                                         [&](const OwnFilter& each) { return filter == each.name; });
    const auto server = own == std::end(ownFilters) ? modules.find(KZa_IMAGEFILTER, filter) : std::nullopt;
    if (own == std::end(ownFilters) && !server)
        throw kzBecause(KZe_NOTFOUND, "ImageFilter",
                        [&] { return kzThereIsNo("image filter", filter, kzFilterNames(modules)); });
    const auto before = kzCopyImage(source, KZiIMG_FORMAT_RGBAFP), after = kzCopyImage(before.raw(), 0);
    if (server) {
        std::string what;
        if (const KzResult code = runServed(*server, *after, settings.attributes, what); kzFailed(code)) {
            log.write(KZsLOG_IMAGES, code,
                      fmt::format("the image filter \"{}\" is left out, since its {} failed: {}", filter, what,
                                  CMessageTables::codeText(code)));
            return kzCopyImage(source, 0);
        }
    } else {
        own->apply(*after, settings);
    }
    for (std::int32_t y = 0; y < after->height(); ++y)
        for (std::int32_t x = 0; x < after->width(); ++x)
            for (std::size_t c = 0; c < 4; ++c) {
                float& value = filterPixel(*after, x, y)[c];
                const float original = filterPixel(*before, x, y)[c];
                value = original + (value - original) * static_cast<float>(settings.amount);
                if (settings.isClamped) value = value > 0 ? std::min(value, 1.0F) : 0;
            }
    const std::uint32_t format = CKzUser_Image(source).Format();
    return kzCopyImage(after.raw(), PixelFormat::of(format) ? format : 0);
}

}  // namespace kzhost
