// Mappings of colours. What a mapping is like is found out by trying it, as the spaces may come from a file.
#include "host/objects/color_mapping.h"

#include "host/core/reasons.h"
#include "host/objects/arguments.h"
#include "host/objects/image_files.h"
#include "host/state/text.h"

#include "kz/color_mapping.h"

#include <strings.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <mutex>
#include <utility>
#include <vector>

namespace kzhost {

namespace {

using Rgb = std::array<float, 3>;

bool isNear(float a, float b) { return std::abs(a - b) <= 1e-5F * std::max({1.0F, std::abs(a), std::abs(b)}); }
bool isNear(const Rgb& a, const Rgb& b) {
    return std::equal(a.begin(), a.end(), b.begin(), [](float x, float y) { return isNear(x, y); });
}

class CColorMapping final : public CHosted<"colour mapping", CColorMapping, CKzIfc_ColorMapping> {
public:
    CColorMapping(std::shared_ptr<CImageFiles> images, std::string source, std::string target)
        : m_images(std::move(images)), m_source(std::move(source)), m_target(std::move(target)) {
        tryOut();
    }

    std::uint32_t cmap_Flags() override { return m_flags; }
    KzResult cmap_Source(const char** space) override { return give(m_source, space); }
    KzResult cmap_Target(const char** space) override { return give(m_target, space); }
    KzResult cmap_MapColor(const KzFVector3* color, KzFVector3* mapped) override {
        return mapOne(color, mapped, m_source, m_target);
    }
    KzResult cmap_MapInverse(const KzFVector3* color, KzFVector3* mapped) override {
        return mapOne(color, mapped, m_target, m_source);
    }
    KzResult cmap_MapFloats(std::uint32_t count, std::uint32_t components, std::uint32_t stride,
                            float* pixels) override {
        return mapStrided(count, components, stride, pixels, 1.0F);
    }
    KzResult cmap_MapBytes(std::uint32_t count, std::uint32_t components, std::uint32_t stride,
                           std::uint8_t* pixels) override {
        return mapStrided(count, components, stride, pixels, 255.0F);
    }
    // A mapping is either a matrix alone, or it has none and all of it is in the table.
    KzResult cmap_LinearPart(KzMatrix3* matrix) override {
        for (std::size_t row = 0; row < 3; ++row)
            for (std::size_t column = 0; column < 3; ++column)
                matrix->m[row][column] = isLinear() ? m_basis[row][column] : (row == column ? 1.0 : 0.0);
        return KZe_OK;
    }
    KzResult cmap_TableCube(std::uint32_t edge, float** samples) override {
        if (edge < 2 || edge > 129 || samples == nullptr) return KZe_INVALIDARG;
        std::vector<Rgb> cube;
        const auto place = [&](std::uint32_t index) {
            return static_cast<float>(index) / static_cast<float>(edge - 1);
        };
        for (std::uint32_t blue = 0; blue < edge; ++blue)
            for (std::uint32_t green = 0; green < edge; ++green)
                for (std::uint32_t red = 0; red < edge; ++red) cube.push_back({place(red), place(green), place(blue)});
        if (!isLinear()) map(cube, m_source, m_target);
        const std::lock_guard guard(m_lock);
        m_cube = std::move(cube);
        *samples = m_cube.front().data();
        return KZe_OK;
    }

private:
    bool isLinear() const { return (m_flags & KZfCMAP_LINEAR) != 0; }
    static KzResult give(const std::string& text, const char** out) {
        *out = kzLend(text);
        return KZe_OK;
    }

    void map(std::vector<Rgb>& colors, const std::string& from, const std::string& to) const {
        m_images->mapPixels(static_cast<std::int32_t>(colors.size()), 3, colors.front().data(), from, to);
    }
    KzResult mapOne(const KzFVector3* color, KzFVector3* mapped, const std::string& from, const std::string& to) const {
        std::vector<Rgb> one{{kzNotNull(color).v[0], color->v[1], color->v[2]}};
        map(one, from, to);
        std::ranges::copy(one.front(), mapped->v);
        return KZe_OK;
    }
    template <class Component>
    KzResult mapStrided(std::uint32_t count, std::uint32_t components, std::uint32_t stride, Component* pixels,
                        float scale) const {
        if ((components != 3 && components != 4) || stride < components || (count > 0 && pixels == nullptr))
            return KZe_INVALIDARG;
        if (count == 0) return KZe_OK;
        std::vector<Rgb> colors(count);
        for (std::size_t i = 0; i < count; ++i)
            for (std::size_t c = 0; c < 3; ++c) colors[i][c] = static_cast<float>(pixels[i * stride + c]) / scale;
        map(colors, m_source, m_target);
        for (std::size_t i = 0; i < count; ++i)
            for (std::size_t c = 0; c < 3; ++c) {
                const float value = colors[i][c] * scale;
                if constexpr (std::is_same_v<Component, float>) pixels[i * stride + c] = value;
                else pixels[i * stride + c] = static_cast<Component>(std::lround(std::clamp(value, 0.0F, scale)));
            }
        return KZe_OK;
    }

    // Maps black, each component by itself, and a few mixtures.
    void tryOut() {
        m_flags = KZfCMAP_INVERTIBLE;
        const std::vector<Rgb> tried{{0, 0, 0},          {1, 0, 0},          {0, 1, 0},          {0, 0, 1},
                                     {0.2F, 0.5F, 0.7F}, {0.9F, 0.1F, 0.4F}, {0.2F, 0.1F, 0.4F}, {0.2F, 0.1F, 0.7F}};
        auto mapped = tried;
        map(mapped, m_source, m_target);
        std::copy_n(mapped.begin() + 1, 3, m_basis.begin());
        bool isSame = true, isMatrix = isNear(mapped[0], {0, 0, 0});
        for (std::size_t i = 0; i < tried.size(); ++i) {
            isSame = isSame && isNear(tried[i], mapped[i]);
            Rgb sum{};
            for (std::size_t part = 0; part < 3; ++part)
                for (std::size_t c = 0; c < 3; ++c) sum[c] += tried[i][part] * m_basis[part][c];
            isMatrix = isMatrix && isNear(sum, mapped[i]);
        }
        // The last two have two of their components in common with those before them.
        const bool isApart = isNear(mapped[6][0], mapped[4][0]) && isNear(mapped[6][1], mapped[5][1]) &&
                             isNear(mapped[6][2], mapped[5][2]) && isNear(mapped[7][2], mapped[4][2]);
        if (isSame) m_flags |= KZfCMAP_IDENTITY;
        if (isMatrix) m_flags |= KZfCMAP_LINEAR;
        if (isApart) m_flags |= KZfCMAP_CHANNELWISE;
    }

    const std::shared_ptr<CImageFiles> m_images;
    const std::string m_source, m_target;
    std::uint32_t m_flags = 0;
    std::array<Rgb, 3> m_basis{};
    std::mutex m_lock;
    std::vector<Rgb> m_cube;  // as it was last asked for
};

}  // namespace

IKzUnknown* kzMakeColorMapping(std::shared_ptr<CImageFiles> images, const std::string& source,
                               const std::string& target) {
    const auto names = images->spaces();
    const auto nameOf = [&](const std::string& wanted) {
        for (const std::string& each : names)
            if (strcasecmp(each.c_str(), wanted.c_str()) == 0) return each;
        throw kzBecause(KZe_NOTFOUND, "ColorMapping.Mapping",
                        [&] { return kzThereIsNo("colour space", wanted, names); });
    };
    const std::string from = nameOf(source), to = nameOf(target);
    return kzMakeObject<CColorMapping>(std::move(images), from, to);
}

}  // namespace kzhost
