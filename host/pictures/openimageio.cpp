// Picture files through OpenImageIO. Values are never changed: no colour space is converted and nothing is multiplied by
// alpha, whatever a format's custom is.
#include "host/pictures/picture_files.h"

#include <OpenImageIO/color.h>
#include <OpenImageIO/imagebuf.h>
#include <OpenImageIO/imagebufalgo.h>
#include <OpenImageIO/imageio.h>
#include <OpenImageIO/strutil.h>

#include <algorithm>
#include <cstring>
#include <stdexcept>
#include <vector>

namespace kzhost {

class PictureFacts {
public:
    explicit PictureFacts(OIIO::ImageSpec given) : spec(std::move(given)) {}
    OIIO::ImageSpec spec;
};

namespace {

using OIIO::ImageSpec;
using OIIO::TypeDesc;
using OIIO::Strutil::iequals;

constexpr const char* spaceAttribute = "oiio:ColorSpace";
constexpr const char* textAttribute = "ImageDescription";
// How a description names the space in formats that have no other place for it.
constexpr std::string_view spaceMark = "colorspace=";

template <class File> [[noreturn]] void fail(const File& file) { throw std::runtime_error(file->geterror()); }

TypeDesc typeOf(std::uint32_t kind) {
    constexpr TypeDesc::BASETYPE types[] = {TypeDesc::UINT8, TypeDesc::UINT16, TypeDesc::HALF, TypeDesc::FLOAT};
    return {types[kind - 1]};
}

std::uint32_t kindOf(const TypeDesc& type) {
    for (const std::uint32_t kind : {1U, 2U, 3U})
        if (type.basetype == typeOf(kind).basetype) return kind;
    return 4;
}

// What a picture has is kept, in the nearest of the host's shapes. There is no shape for grey with half floats.
PictureShape shapeOf(const ImageSpec& spec) {
    PictureShape shape{spec.width, spec.height, spec.nchannels > 1 ? 3U : 1U, kindOf(spec.format)};
    if (spec.nchannels == 2 ? spec.alpha_channel == 1 : spec.nchannels > 3) shape.components = 4;
    if (shape.components == 1 && shape.kind == 3) shape.kind = 4;
    return shape;
}

void noteLosses(const ImageSpec& spec, const PictureNote& note) {
    if (spec.nchannels > 4)
        note("it has " + std::to_string(spec.nchannels) + " channels, of which the first four were read");
    if (spec.format.size() >= 4 && spec.format.basetype != TypeDesc::FLOAT)
        note(std::string("its components are of the type ") + spec.format.c_str() + " and were read as single floats");
}

// Grey with alpha becomes colour with alpha; of two channels without alpha the third colour stays black.
void spread(const std::byte* pairs, std::byte* pixels, std::size_t count, std::uint32_t components, std::size_t size) {
    for (std::size_t i = 0; i < count; ++i) {
        const std::byte* pair = pairs + i * 2 * size;
        std::byte* pixel = pixels + i * components * size;
        std::memcpy(pixel, pair, size);
        std::memcpy(pixel + size, components == 4 ? pair : pair + size, size);
        if (components != 4) continue;
        std::memcpy(pixel + 2 * size, pair, size);
        std::memcpy(pixel + 3 * size, pair + size, size);
    }
}

bool isOwnSpace(std::string_view format, const std::string& space) {
    const bool isLinear = iequals(space, "linear"), isDisplay = iequals(space, "sRGB");
    if (format == "openexr" || format == "hdr") return isLinear;
    return isDisplay || (format == "png" && isLinear);
}

// A description that names the colour space is believed before what the format implies.
void findSpace(ImageSpec& spec) {
    const std::string text = spec.get_string_attribute(textAttribute);
    std::string space = spec.get_string_attribute(spaceAttribute);
    if (const std::size_t at = text.rfind(spaceMark); at != std::string::npos) {
        space = text.substr(at + spaceMark.size());
        space.erase(std::min(space.find_first_of(" \t\r\n"), space.size()));
    }
    if (iequals(space, "linear")) space = "linear";  // some formats' readers write it with a capital letter
    if (!space.empty()) spec.attribute(spaceAttribute, space);
}

void writeSpace(ImageSpec& spec, std::string_view format, const PictureNote& note) {
    std::string text = spec.get_string_attribute(textAttribute);
    if (const std::size_t at = text.rfind(spaceMark); at != std::string::npos)
        text.erase(at, text.find_first_of(" \t\r\n", at) - at);
    while (!text.empty() && text.back() == '\n') text.pop_back();
    const std::string space = spec.get_string_attribute(spaceAttribute);
    if (!space.empty() && !isOwnSpace(format, space)) {
        if (format == "hdr")
            note("such files cannot say that their colours are " + space + " and will be read as linear");
        text += (text.empty() ? "" : "\n") + std::string(spaceMark) + space;
    }
    spec.erase_attribute(textAttribute);
    if (!text.empty()) spec.attribute(textAttribute, text);
}

// Half floats that were read as single ones go back to a file that can hold them if nothing is lost by it.
bool areHalves(const PictureShape& shape, const std::byte* pixels) {
    const int count = shape.width * static_cast<int>(shape.components);
    const std::size_t lineBytes = static_cast<std::size_t>(count) * sizeof(float);
    std::vector<std::uint16_t> halves(static_cast<std::size_t>(count));
    std::vector<std::byte> back(lineBytes);
    for (std::int32_t y = 0; y < shape.height; ++y) {
        const std::byte* line = pixels + static_cast<std::size_t>(y) * lineBytes;
        OIIO::convert_pixel_values(TypeDesc::FLOAT, line, TypeDesc::HALF, halves.data(), count);
        OIIO::convert_pixel_values(TypeDesc::HALF, halves.data(), TypeDesc::FLOAT, back.data(), count);
        if (std::memcmp(back.data(), line, lineBytes) != 0) return false;
    }
    return true;
}

ImageSpec specFor(std::string_view format, const PictureShape& shape, const PictureFacts* facts) {
    ImageSpec spec(shape.width, shape.height, static_cast<int>(shape.components), typeOf(shape.kind));
    if (facts != nullptr) {
        spec.extra_attribs = facts->spec.extra_attribs;
        const bool isWhole = facts->spec.width == shape.width && facts->spec.height == shape.height;
        if (format == "openexr" && isWhole) {
            spec.x = facts->spec.x, spec.y = facts->spec.y;
            spec.full_x = facts->spec.full_x, spec.full_y = facts->spec.full_y;
            spec.full_width = facts->spec.full_width, spec.full_height = facts->spec.full_height;
        }
    }
    // The format's own compression, which loses nothing; what was said of the old file's layout holds no longer.
    for (const char* name : {"compression", "tiff:.*", "planarconfig", "oiio:BitsPerSample", "oiio:subimage.*"})
        spec.erase_attribute(name);
    const bool isPremultiplied = facts != nullptr && facts->spec.get_int_attribute("oiio:UnassociatedAlpha") == 0;
    spec.attribute("oiio:UnassociatedAlpha", format == "png" || !isPremultiplied ? 1 : 0);
    return spec;
}

class COpenImageIo final : public IPictureFiles {
public:
    // A job of a farm has one core, and threads of the library would have to be ended before the process.
    COpenImageIo() {
        OIIO::attribute("threads", 1);
        OIIO::attribute("exr_threads", -1);
    }
    PictureFactsPtr load(const char* format, const std::string& path, const MakeRoom& makeRoom,
                         const PictureNote& note) override;
    void save(const char* format, const std::string& path, const PictureShape& shape, const std::byte* pixels,
              const PictureFacts* facts, const PictureNote& note) override;
    bool fact(const PictureFacts& facts, std::string_view key, std::string& value) override;
    PictureFactsPtr with(const PictureFacts* facts, const PictureTexts& said) override;
    PictureFactsPtr inSpace(const PictureFacts* facts, const std::string& space) override;
    std::vector<std::string> spaces() override { return OIIO::ColorConfig().getColorSpaceNames(); }
    void map(std::int32_t width, std::int32_t height, std::uint32_t components, float* pixels,
             const std::string& source, const std::string& target) override;
};

void readPixels(OIIO::ImageInput& file, const ImageSpec& spec, const PictureShape& shape, std::byte* pixels) {
    const TypeDesc type = typeOf(shape.kind);
    const auto count = static_cast<std::size_t>(shape.width) * static_cast<std::size_t>(shape.height);
    std::vector<std::byte> pairs(spec.nchannels == 2 ? count * 2 * type.size() : 0);
    if (!file.read_image(0, 0, 0, std::min(spec.nchannels, 4), type, pairs.empty() ? pixels : pairs.data()))
        fail(&file);
    if (!pairs.empty()) spread(pairs.data(), pixels, count, shape.components, type.size());
}

PictureFactsPtr COpenImageIo::load(const char* format, const std::string& path, const MakeRoom& makeRoom,
                                   const PictureNote& note) {
    const auto file = OIIO::ImageInput::create(format);
    if (!file) throw std::runtime_error(OIIO::geterror());
    ImageSpec wanted, spec;
    wanted.attribute("oiio:UnassociatedAlpha", 1);
    if (!file->open(path, spec, wanted)) fail(file);
    if (spec.deep || spec.depth > 1 || spec.nchannels < 1)
        throw std::runtime_error("only flat pictures can be read, and this one is deep or solid");
    const PictureShape shape = shapeOf(spec);
    if (std::byte* const pixels = makeRoom(shape)) {
        readPixels(*file, spec, shape, pixels);
        noteLosses(spec, note);
    }
    findSpace(spec);
    return std::make_shared<PictureFacts>(std::move(spec));
}

// What would tell the library how to write a file.
bool isSetting(const std::string& key) {
    constexpr const char* settings[] = {"ICCProfile", "Orientation", "ResolutionUnit", "compression", "planarconfig"};
    return key.find(':') != std::string::npos ||
           std::ranges::any_of(settings, [&](const char* each) { return iequals(key, each); });
}

// The keys of texts and where the library keeps them. It keeps others by their keys.
constexpr std::pair<std::string_view, const char*> textNames[] = {
    {"artist", "Artist"}, {"comment", textAttribute}, {"copyright", "Copyright"},
    {"camera", "Model"},  {"software", "Software"},   {"colorspace", spaceAttribute}};

std::string attributeFor(std::string_view key) {
    const auto* const known = std::ranges::find(textNames, key, [](const auto& row) { return row.first; });
    return known != std::end(textNames) ? known->second : std::string(key);
}

std::string_view keyOf(std::string_view attribute) {
    const auto* const known = std::ranges::find(textNames, attribute, [](const auto& row) { return row.second; });
    return known != std::end(textNames) ? known->first : attribute;
}

// The format's reader tells what the file has of the texts that were given to the writer.
void noteLostTexts(const char* format, const std::string& path, const ImageSpec& given, const PictureNote& note) {
    const auto isText = [](const OIIO::ParamValue& each) {
        return each.type() == TypeDesc::STRING && each.name().find(':') == OIIO::ustring::npos &&
               !each.get_string().empty();
    };
    if (std::ranges::none_of(given.extra_attribs, isText)) return;
    const auto file = OIIO::ImageInput::create(format);
    ImageSpec written;
    if (!file || !file->open(path, written)) return;
    std::string names;
    for (const OIIO::ParamValue& each : given.extra_attribs)
        if (isText(each) && written.find_attribute(each.name()) == nullptr)
            names += (names.empty() ? "\"" : ", \"") + std::string(keyOf(each.name().string())) + "\"";
    if (!names.empty()) note("such files have no place for " + names + ": left out");
}

// A JPEG file keeps its texts together in a place of 64 KB, and the library ends the process when they do not fit.
void dropLongTexts(ImageSpec& spec, const PictureNote& note) {
    constexpr std::size_t room = 48000;
    std::size_t taken = 0;
    const auto isTooMuch = [&](const OIIO::ParamValue& each) {
        if (each.type() != TypeDesc::STRING) return false;
        const std::size_t size = each.name().size() + each.get_string().size() + 64;
        if (taken + size <= room) {
            taken += size;
            return false;
        }
        note("such files have no room for the text \"" + each.name().string() + "\", which is left out");
        return true;
    };
    auto& all = spec.extra_attribs;
    all.erase(std::remove_if(all.begin(), all.end(), isTooMuch), all.end());
}

void COpenImageIo::save(const char* format, const std::string& path, const PictureShape& shape, const std::byte* pixels,
                        const PictureFacts* facts, const PictureNote& note) {
    const auto file = OIIO::ImageOutput::create(format);
    if (!file) throw std::runtime_error(OIIO::geterror());
    ImageSpec spec = specFor(format, shape, facts);
    const TypeDesc given = spec.format;
    if (facts != nullptr && facts->spec.format == TypeDesc::HALF && shape.kind == 4 && areHalves(shape, pixels))
        spec.format = TypeDesc::HALF;
    writeSpace(spec, format, note);
    if (std::string_view(format) == "jpeg") dropLongTexts(spec, note);
    if (!file->open(path, spec) || !file->write_image(given, pixels) || !file->close()) fail(file);
    noteLostTexts(format, path, spec, note);
}

bool COpenImageIo::fact(const PictureFacts& facts, std::string_view key, std::string& value) {
    const auto* const found = facts.spec.find_attribute(attributeFor(key));
    if (found == nullptr) return false;
    value = found->get_string();
    return true;
}

ImageSpec specOf(const PictureFacts* facts) {
    ImageSpec spec = facts != nullptr ? facts->spec : ImageSpec();
    if (facts == nullptr) spec.attribute("oiio:UnassociatedAlpha", 1);
    return spec;
}

PictureFactsPtr COpenImageIo::with(const PictureFacts* facts, const PictureTexts& said) {
    ImageSpec spec = specOf(facts);
    for (const auto& [key, text] : said.texts)
        if (!isSetting(key)) spec.attribute(attributeFor(key), text);
    if (!said.profile.empty())
        spec.attribute("ICCProfile", TypeDesc(TypeDesc::UINT8, static_cast<int>(said.profile.size())),
                       said.profile.data());
    return std::make_shared<PictureFacts>(std::move(spec));
}

// What else spoke of the old space goes.
PictureFactsPtr COpenImageIo::inSpace(const PictureFacts* facts, const std::string& space) {
    ImageSpec spec = specOf(facts);
    for (const char* name : {"ICCProfile.*", "Exif:ColorSpace", "oiio:Gamma", "chromaticities"})
        spec.erase_attribute(name);
    spec.attribute(spaceAttribute, space);
    return std::make_shared<PictureFacts>(std::move(spec));
}

void COpenImageIo::map(std::int32_t width, std::int32_t height, std::uint32_t components, float* pixels,
                       const std::string& source, const std::string& target) {
    const ImageSpec spec(width, height, static_cast<int>(components), TypeDesc::FLOAT);
    OIIO::ImageBuf buffer(spec, pixels);
    if (!OIIO::ImageBufAlgo::colorconvert(buffer, buffer, source, target, false))
        throw std::runtime_error(buffer.geterror());
}

}  // namespace

}  // namespace kzhost

extern "C" __attribute__((visibility("default"))) kzhost::IPictureFiles* kzPictureFiles() {
    static auto* const files = new kzhost::COpenImageIo;
    return files;
}
