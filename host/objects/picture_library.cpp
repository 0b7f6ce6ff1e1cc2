// The formats of picture files that the host itself reads and writes, and the library that does the work.
#include "host/objects/picture_library.h"

#include "host/core/reason_guard.h"
#include "host/core/reasons.h"
#include "host/objects/program_part.h"
#include "host/pictures/picture_files.h"

#include <dlfcn.h>
#include <strings.h>

#include <algorithm>
#include <array>
#include <bit>
#include <filesystem>
#include <fstream>
#include <mutex>

namespace kzhost {

namespace {

using namespace std::string_view_literals;

constexpr std::string_view pngNames[] = {".png"}, jpegNames[] = {".jpg", ".jpeg"}, tiffNames[] = {".tif", ".tiff"},
                           exrNames[] = {".exr"}, hdrNames[] = {".hdr"};
constexpr std::string_view pngMarks[] = {"\x89PNG\r\n\x1a\n"}, jpegMarks[] = {"\xff\xd8\xff"},
                           tiffMarks[] = {"II*\0"sv, "MM\0*"sv, "II+\0"sv, "MM\0+"sv},
                           exrMarks[] = {"\x76\x2f\x31\x01"}, hdrMarks[] = {"#?RADIANCE", "#?RGBE"};

constexpr std::uint32_t setOf(std::initializer_list<std::uint32_t> numbers) {
    std::uint32_t set = 0;
    for (const std::uint32_t number : numbers) set |= 1U << number;
    return set;
}

constexpr PictureFormat formats[] = {
    {"PNG", "png", pngNames, pngMarks, setOf({1, 3, 4}), setOf({1, 2})},
    {"JPEG", "jpeg", jpegNames, jpegMarks, setOf({1, 3}), setOf({1})},
    {"TIFF", "tiff", tiffNames, tiffMarks, setOf({1, 3, 4}), setOf({1, 2, 4})},
    {"EXR", "openexr", exrNames, exrMarks, setOf({1, 3, 4}), setOf({3, 4})},
    {"HDR", "hdr", hdrNames, hdrMarks, setOf({3}), setOf({4})},
};

template <class Test> const PictureFormat* find(Test test) {
    const auto* const format = std::find_if(std::begin(formats), std::end(formats), test);
    return format != std::end(formats) ? format : nullptr;
}

bool holds(std::uint32_t set, std::uint32_t number) { return (set >> number & 1U) != 0; }

// The next larger number loses nothing; if there is none, the largest loses the least.
std::uint32_t nearest(std::uint32_t set, std::uint32_t number) {
    for (; number <= 4; ++number)
        if (holds(set, number)) return number;
    return static_cast<std::uint32_t>(std::bit_width(set)) - 1;
}

// Bytes are exact as half floats, integers of 16 bits only as single ones, and half floats nearest to those in 16 bits.
std::uint32_t kindFor(std::uint32_t kinds, std::uint32_t kind) {
    if (holds(kinds, kind)) return kind;
    return kind == 2 && holds(kinds, 4) ? 4 : nearest(kinds, kind);
}

constexpr ProgramPart theLibrary{"kzPictures.so", "kzpython2-pictures", "libopenimageio-dev"};

}  // namespace

const PictureFormat* kzPictureFormatOf(const std::string& path) {
    std::array<char, 16> start{};
    std::ifstream stream(path, std::ios::binary);
    stream.read(start.data(), start.size());
    const std::string_view begin(start.data(), static_cast<std::size_t>(stream.gcount()));
    return find([&](const PictureFormat& format) {
        return std::any_of(format.marks.begin(), format.marks.end(),
                           [&](std::string_view mark) { return begin.starts_with(mark); });
    });
}

const PictureFormat* kzPictureFormatFor(const std::string& saver, const std::string& path) {
    if (!saver.empty())
        return find([&](const PictureFormat& format) { return strcasecmp(saver.c_str(), format.name) == 0; });
    const std::string extension = std::filesystem::path(path).extension().string();
    return find([&](const PictureFormat& format) {
        return std::any_of(format.extensions.begin(), format.extensions.end(), [&](std::string_view each) {
            return strcasecmp(extension.c_str(), std::string(each).c_str()) == 0;
        });
    });
}

PixelFormat kzPixelsFor(const PictureFormat& format, const PixelFormat& image) {
    std::uint32_t components = nearest(format.components, image.components), kind = kindFor(format.kinds, image.kind());
    if (components == 1 && kind == 3) kind = 4;  // there is no pixel format with grey half floats
    return *PixelFormat::of(components << 8U | kind);
}

// A failure is not remembered, so the missing library can be installed while the program runs.
IPictureFiles& kzPictures(const CPathAliases& files) {
    static std::mutex lock;
    static IPictureFiles* pictures = nullptr;
    const CReasonGuard guard(lock);
    if (pictures != nullptr) return *pictures;
    const std::string path = kzProgramPart(files, theLibrary, "Image");
    void* const library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    const char* const why = library == nullptr ? dlerror() : nullptr;
    auto* const entry =
        library != nullptr ? reinterpret_cast<PictureFilesEntry*>(dlsym(library, kzPictureFilesEntry)) : nullptr;
    if (entry == nullptr)
        throw kzBecause(KZe_NOTAVAILABLE, "Image", [&] {
            return "pictures need OpenImageIO, which cannot be loaded: install libopenimageio2.4 or, where the program "
                   "is built, libopenimageio-dev (" +
                   std::string(why != nullptr ? why : "no entry point") + ")";
        });
    pictures = entry();
    return *pictures;
}

}  // namespace kzhost
