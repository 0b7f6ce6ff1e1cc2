// Settings of image processing, as objects that are changed, read and listened to.
#include "host/objects/image_processing.h"

#include "host/core/object.h"
#include "host/core/reasons.h"
#include "host/core/refusal.h"
#include "host/objects/arguments.h"
#include "host/objects/image_files.h"
#include "host/objects/item.h"
#include "host/state/function_ref.h"
#include "host/state/text.h"

#include "kz/channel.h"
#include "kz/dialog.h"
#include "kz/image_processing.h"
#include "kz/item.h"
#include "kz/render_item.h"
#include "kz/scene.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace kzhost {

namespace {

constexpr double noLimit = std::numeric_limits<double>::max();

std::uint32_t lookChanges(const ImageLooks& a, const ImageLooks& b) {
    std::uint32_t changes = 0;
    const auto note = [&](bool isSame, std::uint32_t flag) { changes |= isSame ? 0 : flag; };
    note(a.exposure == b.exposure && a.gamma == b.gamma && a.blackLevel == b.blackLevel && a.whiteLevel == b.whiteLevel,
         KZfIMPROC_CHANGE_LEVELS);
    note(a.contrast == b.contrast && a.saturation == b.saturation && a.hue == b.hue && a.tint == b.tint &&
             a.tintAmount == b.tintAmount && a.channels == b.channels,
         KZfIMPROC_CHANGE_COLOR);
    note(a.tone == b.tone && a.toneAmount == b.toneAmount, KZfIMPROC_CHANGE_TONE);
    note(a.bloomThreshold == b.bloomThreshold && a.bloomRadius == b.bloomRadius && a.bloomAmount == b.bloomAmount &&
             a.vignette == b.vignette,
         KZfIMPROC_CHANGE_EFFECTS);
    note(a.space == b.space, KZfIMPROC_CHANGE_SPACE);
    note(a.region == b.region, KZfIMPROC_CHANGE_REGION);
    return changes;
}

// What settings and their readers share. Listeners are called without the lock, on the thread that made the change.
class CLookState {
public:
    CLookState(std::shared_ptr<CImageFiles> files, ImageLooks looks)
        : files(std::move(files)), m_looks(std::move(looks)) {}

    ImageLooks looks() const {
        const std::lock_guard guard(m_lock);
        return m_looks;
    }
    // Shared, as a reference is taken and given up without the lock.
    using Listener = std::shared_ptr<CKzUser_ImageProcessingListener>;
    std::vector<Listener> listeners() const {
        const std::lock_guard guard(m_lock);
        return m_listeners;
    }
    // The flags of what has changed.
    std::uint32_t change(CFunctionRef<void(ImageLooks&)> edit) {
        const std::lock_guard guard(m_lock);
        ImageLooks changed = m_looks;
        edit(changed);
        const std::uint32_t changes = lookChanges(m_looks, changed);
        m_looks = std::move(changed);
        return changes;
    }
    void add(IKzUnknown* listener) {
        auto added = std::make_shared<CKzUser_ImageProcessingListener>(listener);
        const std::lock_guard guard(m_lock);
        m_listeners.push_back(std::move(added));
    }
    // By either of two pointers to one listener, whose interface may be asked for more than once.
    bool remove(IKzUnknown* listener) {
        const CKzUser_ImageProcessingListener asked(listener);
        Listener released;  // after the lock, as its end may call back
        const std::lock_guard guard(m_lock);
        const auto at = std::find_if(m_listeners.begin(), m_listeners.end(), [&](const Listener& each) {
            return each->raw() == asked.raw() || each->raw() == listener;
        });
        if (at == m_listeners.end()) return false;
        released = std::move(*at);
        m_listeners.erase(at);
        return true;
    }

    const std::shared_ptr<CImageFiles> files;

private:
    mutable std::mutex m_lock;
    ImageLooks m_looks;
    std::vector<Listener> m_listeners;
};

double demandRange(const char* place, const char* what, double value, double least, double most) {
    if (value >= least && value <= most) return value;
    throw kzBecause(KZe_INVALIDARG, place, [&] {
        if (most == noLimit && least == -noLimit) return fmt::format("the {} is a finite number, not {}", what, value);
        if (most == noLimit) return fmt::format("the {} is {} or more, not {}", what, least, value);
        return fmt::format("the {} is from {} to {}, not {}", what, least, most, value);
    });
}

class CProcessingReader final
    : public CHosted<"image processing reader", CProcessingReader, CKzIfc_ImageProcessingRead> {
public:
    explicit CProcessingReader(std::shared_ptr<CLookState> state) : m_state(std::move(state)) {}

    double imageprocessingread_Exposure() override { return looks().exposure; }
    double imageprocessingread_Gamma() override { return looks().gamma; }
    double imageprocessingread_BlackLevel() override { return looks().blackLevel; }
    double imageprocessingread_WhiteLevel() override { return looks().whiteLevel; }
    double imageprocessingread_Contrast() override { return looks().contrast; }
    double imageprocessingread_Saturation() override { return looks().saturation; }
    double imageprocessingread_Hue() override { return looks().hue; }
    double imageprocessingread_Vignette() override { return looks().vignette; }
    KzResult imageprocessingread_Tint(KzFVector3* color, double* amount) override {
        const ImageLooks its = looks();
        for (std::size_t c = 0; c < 3; ++c) kzNotNull(color).v[c] = static_cast<float>(its.tint[c]);
        kzNotNull(amount) = its.tintAmount;
        return KZe_OK;
    }
    KzResult imageprocessingread_Tone(std::int32_t* method, double* amount) override {
        const ImageLooks its = looks();
        kzNotNull(method) = its.tone;
        kzNotNull(amount) = its.toneAmount;
        return KZe_OK;
    }
    KzResult imageprocessingread_Bloom(double* threshold, double* radius, double* amount) override {
        const ImageLooks its = looks();
        kzNotNull(threshold) = its.bloomThreshold;
        kzNotNull(radius) = its.bloomRadius;
        kzNotNull(amount) = its.bloomAmount;
        return KZe_OK;
    }
    KzResult imageprocessingread_Colorspace(const char** space) override {
        const ImageLooks its = looks();
        kzNotNull(space) = its.space ? kzLend(*its.space) : nullptr;
        return KZe_OK;
    }
    std::int32_t imageprocessingread_Channels() override { return looks().channels; }
    bool imageprocessingread_IsIdentity() override { return looks().changeNothing(); }
    bool imageprocessingread_NeedsWhole() override { return looks().needWhole(); }
    KzResult imageprocessingread_Process(IKzUnknown* source, std::uint32_t format, IKzUnknown* monitor,
                                         IKzUnknown** processed) override;
    KzResult imageprocessingread_ProcessColor(const KzFVector3* rgb, KzFVector3* processed) override;
    KzResult imageprocessingread_ProcessLine(std::int32_t y, std::uint32_t count, float* rgba) override;

    const std::shared_ptr<CLookState>& state() const { return m_state; }

private:
    ImageLooks looks() const { return m_state->looks(); }
    // Colours that say nothing of their space are linear, as those of a render.
    void mapSpace(const ImageLooks& looks, std::uint32_t count, float* rgba, const std::string& from) const {
        if (looks.space) m_state->files->mapPixels(static_cast<std::int32_t>(count), 4, rgba, from, *looks.space);
    }

    std::shared_ptr<CLookState> m_state;
};

KzResult CProcessingReader::imageprocessingread_Process(IKzUnknown* source, std::uint32_t format, IKzUnknown* monitor,
                                                        IKzUnknown** processed) {
    kzNotNull(processed);
    const ImageLooks its = looks();
    const auto before = kzCopyImage(source, KZiIMG_FORMAT_RGBAFP);
    const CKzUser_Monitor progress(monitor);
    if (progress) kzDemandGiven(progress.Initialize(static_cast<std::uint32_t>(before->height())));
    const auto after = kzCopyImage(before.raw(), 0);
    kzApplyLooks(its, *after);
    for (std::int32_t y = 0; y < after->height(); ++y) {
        auto* line = reinterpret_cast<float*>(after->at(0, y));
        mapSpace(its, static_cast<std::uint32_t>(after->width()), line, "linear");
        for (std::int32_t x = 0; x < after->width(); ++x, line += 4)
            if (its.isInside(x, y)) its.show(line);
            else std::copy_n(reinterpret_cast<float*>(before->at(x, y)), 4, line);
        if (progress) kzDemandGiven(progress.Increment(1));
    }
    const std::uint32_t own = CKzUser_Image(source).Format();
    const auto result = kzCopyImage(after.raw(), format != 0 ? format : PixelFormat::of(own) ? own : 0);
    for (const auto& listener : m_state->listeners()) listener->ImageProcessed(result.raw());
    return result.give(processed);
}

KzResult CProcessingReader::imageprocessingread_ProcessColor(const KzFVector3* rgb, KzFVector3* processed) {
    const KzFVector3& given = kzNotNull(rgb);
    const ImageLooks its = looks();
    if (its.tone == KZiIMPROC_TONE_PHOTO && its.toneAmount > 0)
        return kzBecause(KZe_NOTAVAILABLE, "ImageProcessingRead.ProcessColor",
                         [] { return "the tone depends on the brightness of the whole image"; });
    float rgba[] = {given.v[0], given.v[1], given.v[2], 1};
    its.apply(rgba);
    mapSpace(its, 1, rgba, "linear");
    its.show(rgba);
    std::copy_n(rgba, 3, kzNotNull(processed).v);
    return KZe_OK;
}

KzResult CProcessingReader::imageprocessingread_ProcessLine(std::int32_t y, std::uint32_t count, float* rgba) {
    constexpr const char* place = "ImageProcessingRead.ProcessLine";
    constexpr std::uint32_t longest = 1U << 16U;
    const ImageLooks its = looks();
    if (its.needWhole())
        return kzBecause(KZe_NOTAVAILABLE, place, [] { return "bloom, vignette or tone need the whole image"; });
    if ((rgba == nullptr && count > 0) || count > longest || y < 0)
        return kzBecause(KZe_INVALIDARG, place, [&] {
            return rgba == nullptr ? "there are no pixels"
                                   : fmt::format("line {} with {} pixels is in no image, whose sides have up to {}", y,
                                                 count, longest);
        });
    for (std::uint32_t x = 0; x < count; ++x, rgba += 4) {
        if (!its.isInside(static_cast<std::int32_t>(x), y)) continue;
        its.apply(rgba);
        mapSpace(its, 1, rgba, "linear");
        its.show(rgba);
    }
    return KZe_OK;
}

class CProcessing final : public CHosted<"image processing", CProcessing, CKzIfc_ImageProcessing> {
public:
    explicit CProcessing(std::shared_ptr<CLookState> state) : m_state(std::move(state)) {}

    KzResult imageprocessing_Reset() override {
        return edit([](ImageLooks& looks) { looks = {}; });
    }
    KzResult imageprocessing_CopyFrom(IKzUnknown* source) override {
        return take(kzLooksOf("ImageProcessing.CopyFrom", source));
    }
    KzResult imageprocessing_SetFromItem(IKzUnknown* output) override {
        return take(kzLooksOfOutput("ImageProcessing.SetFromItem", output));
    }
    KzResult imageprocessing_SetExposure(double stops) override {
        return set("ImageProcessing.SetExposure", "exposure", &ImageLooks::exposure, stops, -100, 100);
    }
    KzResult imageprocessing_SetGamma(double gamma) override {
        constexpr double least = 1e-3;  // darker, nothing would be left
        return set("ImageProcessing.SetGamma", "gamma", &ImageLooks::gamma, gamma, least, noLimit);
    }
    KzResult imageprocessing_SetBlackLevel(double level) override {
        return setLevel("ImageProcessing.SetBlackLevel", "black level", &ImageLooks::blackLevel, level);
    }
    KzResult imageprocessing_SetWhiteLevel(double level) override {
        return setLevel("ImageProcessing.SetWhiteLevel", "white level", &ImageLooks::whiteLevel, level);
    }
    KzResult imageprocessing_SetContrast(double contrast) override {
        return set("ImageProcessing.SetContrast", "contrast", &ImageLooks::contrast, contrast, -1, 1);
    }
    KzResult imageprocessing_SetSaturation(double saturation) override {
        return set("ImageProcessing.SetSaturation", "saturation", &ImageLooks::saturation, saturation, 0, noLimit);
    }
    KzResult imageprocessing_SetHue(double radians) override {
        return set("ImageProcessing.SetHue", "hue", &ImageLooks::hue, radians, -noLimit, noLimit);
    }
    KzResult imageprocessing_SetTint(const KzFVector3* color, double amount) override {
        constexpr const char* place = "ImageProcessing.SetTint";
        const KzFVector3& given = kzNotNull(color);
        std::array<double, 3> tint{};
        for (std::size_t c = 0; c < 3; ++c) tint[c] = demandRange(place, "colour", given.v[c], -noLimit, noLimit);
        demandRange(place, "amount", amount, 0, 1);
        return edit([&](ImageLooks& looks) { looks.tint = tint, looks.tintAmount = amount; });
    }
    KzResult imageprocessing_SetTone(std::int32_t method, double amount) override {
        constexpr const char* place = "ImageProcessing.SetTone";
        demandRange(place, "method", method, KZiIMPROC_TONE_NONE, KZiIMPROC_TONE_FALSECOLOR);
        demandRange(place, "amount", amount, 0, 1);
        return edit([&](ImageLooks& looks) { looks.tone = method, looks.toneAmount = amount; });
    }
    KzResult imageprocessing_SetBloom(double threshold, double radius, double amount) override {
        constexpr const char* place = "ImageProcessing.SetBloom";
        demandRange(place, "threshold", threshold, -noLimit, noLimit);
        demandRange(place, "radius", radius, 0, 1);
        demandRange(place, "amount", amount, 0, noLimit);
        return edit([&](ImageLooks& looks) {
            looks.bloomThreshold = threshold, looks.bloomRadius = radius, looks.bloomAmount = amount;
        });
    }
    KzResult imageprocessing_SetVignette(double amount) override {
        return set("ImageProcessing.SetVignette", "vignette", &ImageLooks::vignette, amount, 0, 1);
    }
    KzResult imageprocessing_SetColorspace(const char* space) override;
    KzResult imageprocessing_SetChannels(std::int32_t channels) override {
        demandRange("ImageProcessing.SetChannels", "kind of channels", channels, KZiIMPROC_CHANNELS_ALL,
                    KZiIMPROC_CHANNELS_LUMA);
        return edit([&](ImageLooks& looks) { looks.channels = channels; });
    }
    KzResult imageprocessing_SetRegion(std::int32_t left, std::int32_t top, std::int32_t right,
                                       std::int32_t bottom) override {
        const bool isWhole = left == 0 && top == 0 && right == 0 && bottom == 0;
        if (!isWhole && (left < 0 || top < 0 || right <= left || bottom <= top))
            return kzBecause(KZe_INVALIDARG, "ImageProcessing.SetRegion", [&] {
                return fmt::format("no pixels are from ({}, {}) to ({}, {})", left, top, right, bottom);
            });
        return edit([&](ImageLooks& looks) { looks.region = {left, top, right, bottom}; });
    }
    KzResult imageprocessing_AddListener(IKzUnknown* listener) override {
        if (!CKzUser_ImageProcessingListener(listener))
            return kzBecause(KZe_INVALIDARG, "ImageProcessing.AddListener",
                             [] { return "the object is no listener of image processing"; });
        m_state->add(listener);
        return KZe_OK;
    }
    KzResult imageprocessing_RemoveListener(IKzUnknown* listener) override {
        if (m_state->remove(&kzNotNull(listener))) return KZe_OK;
        return kzBecause(KZe_NOTFOUND, "ImageProcessing.RemoveListener", [] { return "the listener was not added"; });
    }

    KzResult take(const ImageLooks& looks) {
        return edit([&](ImageLooks& its) { its = looks; });
    }
    const std::shared_ptr<CLookState>& state() const { return m_state; }

private:
    KzResult edit(CFunctionRef<void(ImageLooks&)> change);
    KzResult set(const char* place, const char* what, double ImageLooks::*member, double value, double least,
                 double most) {
        demandRange(place, what, value, least, most);
        return edit([&](ImageLooks& looks) { looks.*member = value; });
    }
    KzResult setLevel(const char* place, const char* what, double ImageLooks::*member, double value) {
        demandRange(place, what, value, -noLimit, noLimit);
        return edit([&](ImageLooks& looks) {
            looks.*member = value;
            if (!(looks.whiteLevel > looks.blackLevel))
                throw kzBecause(KZe_INVALIDARG, place, [&] {
                    return fmt::format("the white level {} is not above the black level {}", looks.whiteLevel,
                                       looks.blackLevel);
                });
        });
    }

    std::shared_ptr<CLookState> m_state;
};

// A listener that changes the settings in turn is told of that, too, but not for ever.
KzResult CProcessing::edit(CFunctionRef<void(ImageLooks&)> change) {
    thread_local int depth = 0;
    constexpr int deepest = 16;
    const std::shared_ptr<CLookState> state = m_state;  // a listener may release this object
    const std::uint32_t changes = state->change(change);
    if (changes == 0) return KZe_OK;
    if (depth == deepest)
        return kzBecause(KZe_OK, "ImageProcessing",
                         [] { return "listeners change the settings again and again, and are not told any more"; });
    struct Depth {
        Depth() { ++depth; }
        ~Depth() { --depth; }
    } const inside;
    const auto reader = CHostRef<CProcessingReader>::make(state);
    for (const auto& listener : state->listeners()) listener->SettingsChanged(reader.raw(), changes);
    return KZe_OK;
}

KzResult CProcessing::imageprocessing_SetColorspace(const char* space) {
    std::optional<std::string> wanted;
    if (space != nullptr) {
        wanted = kzString(space);
        const auto names = m_state->files->spaces();
        if (std::find(names.begin(), names.end(), *wanted) == names.end())
            return kzBecause(KZe_INVALIDARG, "ImageProcessing.SetColorspace",
                             [&] { return kzThereIsNo("colour space", *wanted, names); });
    }
    return edit([&](ImageLooks& looks) { looks.space = wanted; });
}

CHostRef<CProcessing> demandSettings(const char* place, IKzUnknown* object) {
    auto settings = CHostRef<CProcessing>::of(object);
    if (settings) return settings;
    throw kzBecause(KZe_INVALIDARG, place, [] { return "the object has no settings of image processing"; });
}

}  // namespace

IKzUnknown* kzMakeProcessing(const std::shared_ptr<CImageFiles>& files, const ImageLooks& looks) {
    return kzMakeObject<CProcessing>(std::make_shared<CLookState>(files, looks));
}

IKzUnknown* kzMakeProcessingReader(IKzUnknown* settings) {
    return kzMakeObject<CProcessingReader>(demandSettings("ImageProcessing.Read", settings)->state());
}

ImageLooks kzLooksOf(const char* place, IKzUnknown* object) {
    if (const auto reader = CHostRef<CProcessingReader>::of(object)) return reader->state()->looks();
    return demandSettings(place, object)->state()->looks();
}

void kzSetLooks(const char* place, IKzUnknown* settings, const ImageLooks& looks) {
    demandSettings(place, settings)->take(looks);
}

ImageLooks kzLooksOfOutput(const char* place, IKzUnknown* output) {
    const auto item = CHostRef<CItem>::of(output);
    if (!item || !item->item_TestType(kzFindItemType(KZsITYPE_RENDEROUTPUT)->number))
        throw kzBecause(KZe_INVALIDARG, place, [] { return "the object is no render output"; });
    CKzLoc_Unknown scene, channels;
    kzDemand(item->item_Scene(scene.out()));
    kzDemand(CKzUser_Scene(scene.raw()).Channels(nullptr, 0, channels.out()));
    const CKzUser_ChannelRead read(channels.raw());
    const auto number = [&](const char* name) {
        double value = 0;
        kzDemand(read.DoubleByName(output, name, &value));
        return value;
    };
    const auto integer = [&](const char* name) {
        std::int32_t value = 0;
        kzDemand(read.IntegerByName(output, name, &value));
        return value;
    };
    ImageLooks looks;
    looks.exposure = std::clamp(number(KZsICHAN_RENDEROUTPUT_EXPOSURE), -100.0, 100.0);
    looks.gamma = std::max(number(KZsICHAN_RENDEROUTPUT_GAMMA), 1e-3);
    looks.blackLevel = number(KZsICHAN_RENDEROUTPUT_BLACK);
    looks.whiteLevel = number(KZsICHAN_RENDEROUTPUT_WHITE);
    if (!(looks.whiteLevel > looks.blackLevel))
        throw kzBecause(KZe_INVALIDARG, place, [] { return "the output's white level is not above its black level"; });
    looks.saturation = number(KZsICHAN_RENDEROUTPUT_SATURATION);
    looks.tone = integer(KZsICHAN_RENDEROUTPUT_TONEMAP);
    looks.toneAmount = looks.tone != KZiIMPROC_TONE_NONE ? 1 : 0;
    looks.bloomThreshold = number(KZsICHAN_RENDEROUTPUT_BLOOMTHRESH);
    looks.bloomRadius = number(KZsICHAN_RENDEROUTPUT_BLOOMRADIUS);
    looks.bloomAmount = integer(KZsICHAN_RENDEROUTPUT_BLOOM) != 0 ? 1 : 0;
    const std::string space =
        kzAnswer([&](const char** text) { return read.StringByName(output, KZsICHAN_RENDEROUTPUT_COLORSPACE, text); });
    if (!space.empty()) looks.space = space;
    return looks;
}

}  // namespace kzhost
