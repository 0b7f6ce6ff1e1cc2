// The image processing service: makes settings, and keeps them in files. A preset is a text with a setting in each line.
#include "host/services/image_processing_service.h"

#include "host/core/object.h"
#include "host/core/reasons.h"
#include "host/core/refusal.h"
#include "host/core/service_base.h"
#include "host/objects/arguments.h"
#include "host/objects/image_processing.h"
#include "host/objects/safe_save.h"
#include "host/state/path_aliases.h"

#include "kz/image.h"
#include "kz/image_processing.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

namespace kzhost {

namespace {

struct PresetNumber {
    const char* name;
    double ImageLooks::*member;
};
constexpr PresetNumber presetNumbers[] = {
    {"exposure", &ImageLooks::exposure},
    {"gamma", &ImageLooks::gamma},
    {"blackLevel", &ImageLooks::blackLevel},
    {"whiteLevel", &ImageLooks::whiteLevel},
    {"contrast", &ImageLooks::contrast},
    {"saturation", &ImageLooks::saturation},
    {"hue", &ImageLooks::hue},
    {"tintAmount", &ImageLooks::tintAmount},
    {"toneAmount", &ImageLooks::toneAmount},
    {"bloomThreshold", &ImageLooks::bloomThreshold},
    {"bloomRadius", &ImageLooks::bloomRadius},
    {"bloomAmount", &ImageLooks::bloomAmount},
    {"vignette", &ImageLooks::vignette},
};
constexpr const char* tintNames[] = {"tint.R", "tint.G", "tint.B"};
constexpr const char* regionNames[] = {"region.left", "region.top", "region.right", "region.bottom"};

// All settings of numbers by their names in a preset.
template <class Looks, class Each> void eachSetting(Looks& looks, const Each& each) {
    for (const PresetNumber& number : presetNumbers) each(number.name, looks.*number.member);
    for (std::size_t i = 0; i < looks.tint.size(); ++i) each(tintNames[i], looks.tint[i]);
    each("tone", looks.tone);
    each("channels", looks.channels);
    for (std::size_t i = 0; i < looks.region.size(); ++i) each(regionNames[i], looks.region[i]);
}

// The settings take what they are given only in their ranges, and so does a preset: each goes through its own operation.
void applyPreset(IKzUnknown* target, const ImageLooks& looks) {
    const CKzUser_ImageProcessing settings(target);
    kzDemand(settings.SetExposure(looks.exposure));
    kzDemand(settings.SetGamma(looks.gamma));
    // The one first that does not meet the other end, which is still 0 or 1.
    if (looks.whiteLevel > 0) kzDemand(settings.SetWhiteLevel(looks.whiteLevel));
    kzDemand(settings.SetBlackLevel(looks.blackLevel));
    kzDemand(settings.SetWhiteLevel(looks.whiteLevel));
    kzDemand(settings.SetContrast(looks.contrast));
    kzDemand(settings.SetSaturation(looks.saturation));
    kzDemand(settings.SetHue(looks.hue));
    const KzFVector3 tint{
        {static_cast<float>(looks.tint[0]), static_cast<float>(looks.tint[1]), static_cast<float>(looks.tint[2])}};
    kzDemand(settings.SetTint(&tint, looks.tintAmount));
    kzDemand(settings.SetTone(looks.tone, looks.toneAmount));
    kzDemand(settings.SetBloom(looks.bloomThreshold, looks.bloomRadius, looks.bloomAmount));
    kzDemand(settings.SetVignette(looks.vignette));
    kzDemand(settings.SetColorspace(looks.space ? looks.space->c_str() : nullptr));
    kzDemand(settings.SetChannels(looks.channels));
    kzDemand(settings.SetRegion(looks.region[0], looks.region[1], looks.region[2], looks.region[3]));
}

ImageLooks readPreset(const std::string& path) {
    std::ifstream stream(path);
    ImageLooks looks;
    std::string line;
    for (int number = 1; std::getline(stream, line); ++number) {
        const std::string name = line.substr(0, line.find(' '));
        const std::string value = name.size() < line.size() ? line.substr(name.size() + 1) : std::string();
        bool isRead = name == "colorspace";
        if (isRead) looks.space = value;
        eachSetting(looks, [&](const char* each, auto& target) {
            if (name != each) return;
            const auto end = std::from_chars(value.data(), value.data() + value.size(), target);
            isRead = end.ec == std::errc() && end.ptr == value.data() + value.size();
        });
        if (!isRead)
            throw kzBecause(KZe_INVALIDARG, "ImageProcessing.LoadPreset", [&] {
                return fmt::format("{}, line {}: \"{}\" is no setting and a value", path, number, line);
            });
    }
    return looks;
}

class CImageProcessingService final
    : public CHosted<"image processing service", CImageProcessingService, CKzIfc_ImageProcessingService>,
      CServiceBase {
public:
    CImageProcessingService(std::shared_ptr<ServiceContext> context, std::shared_ptr<CPathAliases> files,
                            std::shared_ptr<CImageFiles> images)
        : CServiceBase(std::move(context)), m_files(std::move(files)), m_images(std::move(images)) {}

    KzResult imageprocessingservice_Create(IKzUnknown** settings) override {
        enter("ImageProcessing.Create");
        kzNotNull(settings) = kzMakeProcessing(m_images, {});
        return KZe_OK;
    }
    KzResult imageprocessingservice_Read(IKzUnknown* settings, IKzUnknown** reader) override {
        enter("ImageProcessing.Read");
        kzNotNull(reader) = kzMakeProcessingReader(settings);
        return KZe_OK;
    }
    KzResult imageprocessingservice_Duplicate(IKzUnknown* source, IKzUnknown** settings) override {
        enter("ImageProcessing.Duplicate");
        kzNotNull(settings) = kzMakeProcessing(m_images, kzLooksOf("ImageProcessing.Duplicate", source));
        return KZe_OK;
    }
    KzResult imageprocessingservice_SavePreset(IKzUnknown* settings, const char* path) override;
    KzResult imageprocessingservice_LoadPreset(const char* path, IKzUnknown* settings) override;
    KzResult imageprocessingservice_DefaultForOutput(IKzUnknown* output, IKzUnknown** settings) override {
        enter("ImageProcessing.DefaultForOutput");
        const ImageLooks looks = kzLooksOfOutput("ImageProcessing.DefaultForOutput", output);
        kzNotNull(settings) = kzMakeProcessing(m_images, looks);
        return KZe_OK;
    }
    double imageprocessingservice_MeasureExposure(IKzUnknown* image, double percentile) override;

private:
    std::shared_ptr<CPathAliases> m_files;
    std::shared_ptr<CImageFiles> m_images;
};

KzResult CImageProcessingService::imageprocessingservice_SavePreset(IKzUnknown* settings, const char* path) {
    enter("ImageProcessing.SavePreset");
    const ImageLooks looks = kzLooksOf("ImageProcessing.SavePreset", settings);
    CSafeSave file(m_files->place(&kzNotNull(path)));
    {
        std::ofstream stream(file.path());
        eachSetting(looks, [&](const char* name, const auto& value) { stream << fmt::format("{} {}\n", name, value); });
        if (looks.space) stream << "colorspace " << *looks.space << '\n';
        if (!stream.flush()) return KZe_NOACCESS;
    }
    return file.commit();
}

// Tried on settings of its own first, so that a faulty preset changes nothing, and listeners hear of all at once.
KzResult CImageProcessingService::imageprocessingservice_LoadPreset(const char* path, IKzUnknown* settings) {
    enter("ImageProcessing.LoadPreset");
    const std::string place = m_files->place(&kzNotNull(path));
    kzLooksOf("ImageProcessing.LoadPreset", &kzNotNull(settings));
    std::error_code error;
    if (!std::filesystem::is_regular_file(place, error)) return KZe_NOTFOUND;
    CKzLoc_Unknown trial;
    *trial.out() = kzMakeProcessing(m_images, {});
    applyPreset(trial.raw(), readPreset(place));
    kzSetLooks("ImageProcessing.LoadPreset", settings, kzLooksOf("ImageProcessing.LoadPreset", trial.raw()));
    return KZe_OK;
}

// The brightness of the pixel below which that fraction lies becomes 1.
double CImageProcessingService::imageprocessingservice_MeasureExposure(IKzUnknown* image, double percentile) {
    constexpr const char* place = "ImageProcessing.MeasureExposure";
    enter(place);
    if (!(percentile >= 0 && percentile <= 1))
        throw kzBecause(KZe_INVALIDARG, place,
                        [&] { return fmt::format("the fraction of the pixels is from 0 to 1, not {}", percentile); });
    const auto pixels = kzCopyImage(image, KZiIMG_FORMAT_RGBAFP);
    std::vector<double> brightness(static_cast<std::size_t>(pixels->width()) *
                                   static_cast<std::size_t>(pixels->height()));
    const auto* rgba = reinterpret_cast<const float*>(pixels->at(0, 0));
    for (std::size_t i = 0; i < brightness.size(); ++i) {
        const double its = kzLuminance(rgba + 4 * i);
        brightness[i] = std::isfinite(its) ? its : 0;
    }
    const auto count = static_cast<double>(brightness.size());
    const auto at = static_cast<std::ptrdiff_t>(std::clamp(std::ceil(percentile * count) - 1, 0.0, count - 1));
    std::nth_element(brightness.begin(), brightness.begin() + at, brightness.end());
    const double white = brightness[static_cast<std::size_t>(at)];
    if (!(white > 0))
        throw kzBecause(KZe_FAILED, place, [] { return "those pixels are black, which no exposure brings to white"; });
    return -std::log2(white);
}

}  // namespace

decltype(kzMakeImageProcessingService) kzMakeImageProcessingService = kzMakeService<CImageProcessingService>;

}  // namespace kzhost
