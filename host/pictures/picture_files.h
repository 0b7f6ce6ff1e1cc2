// Picture files as the host sees them. What reads and writes them is a library of its own, which needs OpenImageIO and
// is loaded with the first picture: loading OpenImageIO costs more than starting the host. Nothing here may need it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace kzhost {

struct PictureShape {
    std::int32_t width = 0;
    std::int32_t height = 0;
    std::uint32_t components = 0;  // 1 grey, 3 with colour, 4 with alpha
    std::uint32_t kind = 0;        // of a component: 1 and 2 integers of so many bytes, 3 half floats, 4 single floats
};

// What a file says beside its pixels: texts, resolution, colour space and profile. Only the library looks inside.
class PictureFacts;
using PictureFactsPtr = std::shared_ptr<const PictureFacts>;

// The same, as loaders of modules say it: by the keys of metadata, and the bytes of a colour profile.
struct PictureTexts {
    std::map<std::string, std::string, std::less<>> texts;
    std::vector<unsigned char> profile;

    bool empty() const noexcept { return texts.empty() && profile.empty(); }
};

// Tells the user what a file cannot hold, as a sentence.
using PictureNote = std::function<void(const std::string& text)>;

// Files are known by the library's name for their format, colour spaces by the names that it knows. Functions throw
// std::runtime_error, whose text says what was wrong with the file.
class IPictureFiles {
public:
    // Called with the shape before any pixel is read; returns room for all of them, or null to skip them.
    using MakeRoom = std::function<std::byte*(const PictureShape& shape)>;

    virtual ~IPictureFiles() = default;
    virtual PictureFactsPtr load(const char* format, const std::string& path, const MakeRoom& makeRoom,
                                 const PictureNote& note) = 0;
    virtual void save(const char* format, const std::string& path, const PictureShape& shape, const std::byte* pixels,
                      const PictureFacts* facts, const PictureNote& note) = 0;
    // One of the facts; false when the file says nothing of the kind. "colorspace" is the colour space.
    virtual bool fact(const PictureFacts& facts, std::string_view key, std::string& value) = 0;
    // Those facts, which may be null, with what a loader says.
    virtual PictureFactsPtr with(const PictureFacts* facts, const PictureTexts& said) = 0;
    // The same facts of a picture in another colour space. The facts may be null.
    virtual PictureFactsPtr inSpace(const PictureFacts* facts, const std::string& space) = 0;

    virtual std::vector<std::string> spaces() = 0;
    // Maps pixels of single floats in place; alpha stays as it is.
    virtual void map(std::int32_t width, std::int32_t height, std::uint32_t components, float* pixels,
                     const std::string& source, const std::string& target) = 0;
};

// The one function that the library exports.
inline constexpr const char* kzPictureFilesEntry = "kzPictureFiles";
using PictureFilesEntry = IPictureFiles*();

}  // namespace kzhost
