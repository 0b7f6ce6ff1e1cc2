// Images through their interfaces: pixels of every format, lines, and files.
#include "tests/host/host_fixture.h"

#include "kz/image.h"
#include "kz/result.h"

#include <cstring>
#include <vector>

namespace {

constexpr std::uint32_t keptFormats[] = {KZiIMG_FORMAT_GREY,   KZiIMG_FORMAT_GREY16, KZiIMG_FORMAT_GREYFP,
                                         KZiIMG_FORMAT_RGB24,  KZiIMG_FORMAT_RGB48,  KZiIMG_FORMAT_RGBFP,
                                         KZiIMG_FORMAT_RGBA32, KZiIMG_FORMAT_RGBA64, KZiIMG_FORMAT_RGBAFP};

// Somebody else's image, which knows single pixels only and lies about its size when asked to.
class CDiagonal final : public CKzImpl_Image {
public:
    explicit CDiagonal(std::int32_t side) : m_side(side) {}
    static CHostPolymorph<CDiagonal>& polymorph() {
        static auto& made = kzHostClass<CDiagonal, CKzIfc_Image<CDiagonal>>("diagonal", KZu_IMAGE);
        return made;
    }
    KzResult img_Size(std::int32_t* width, std::int32_t* height) override {
        *width = *height = m_side;
        return KZe_OK;
    }
    KzResult img_GetPixel(std::int32_t x, std::int32_t y, std::uint32_t format, void* pixel) override {
        if (format != static_cast<std::uint32_t>(KZiIMG_FORMAT_RGBA32)) return KZe_NOTSUPPORTED;
        const std::uint32_t color = x == y ? 0xFF0000FFU : 0xFF000000U;
        std::memcpy(pixel, &color, sizeof color);
        return KZe_OK;
    }

private:
    std::int32_t m_side;
};

class ImageTest : public HostTest {
protected:
    ServiceOf<CKzUser_ImageService> service() { return ServiceOf<CKzUser_ImageService>(host().application()); }
    CKzUser_Image newImage(std::int32_t width, std::int32_t height, std::uint32_t format) {
        CKzLoc_Unknown made;
        EXPECT_EQ(service()->Create(width, height, format, 0, made.out()), KZe_OK) << format;
        return CKzUser_Image(made.raw());
    }
};

TEST_F(ImageTest, EveryFormatKeepsWhatItCanHold) {
    for (const std::uint32_t format : keptFormats) {
        const CKzUser_Image image = newImage(3, 2, format);
        const CKzUser_ImageWrite write(image.raw());
        ASSERT_TRUE(write) << format;
        EXPECT_EQ(image.Format(), format);
        EXPECT_EQ(service()->PixelBytes(format), (format >> 8U) * (format & 0xFFU));
        float in[4] = {1, 0.2F, 0, 0.6F}, out[4] = {};
        ASSERT_EQ(write.SetPixel(2, 1, KZiIMG_FORMAT_RGBAFP, in), KZe_OK);
        ASSERT_EQ(image.GetPixel(2, 1, KZiIMG_FORMAT_RGBAFP, out), KZe_OK);
        const std::uint32_t components = format >> 8U;
        const float grey = 0.2126F + 0.7152F * 0.2F;
        const float expected[4] = {components == 1 ? grey : 1, components == 1 ? grey : 0.2F,
                                   components == 1 ? grey : 0, components == 4 ? 0.6F : 1};
        for (int i = 0; i < 4; ++i) EXPECT_NEAR(out[i], expected[i], (format & 0xFFU) == 1 ? 0.002 : 1e-5) << format;
        ASSERT_EQ(image.GetPixel(1, 1, KZiIMG_FORMAT_RGBFP, out), KZe_OK);
        EXPECT_EQ(out[0] + out[1] + out[2], 0) << "the pixel beside it is untouched";
    }
}

TEST_F(ImageTest, BytesSurviveEveryWayThere) {
    for (const std::uint32_t format : keptFormats) {
        std::vector<std::uint8_t> in(256 * 4), out(256 * 4);
        for (std::size_t i = 0; i < in.size(); ++i) in[i] = static_cast<std::uint8_t>(i % 4 == 3 ? 255 : i / 4);
        const CKzUser_Image image = newImage(256, 1, format);
        ASSERT_EQ(CKzUser_ImageWrite(image.raw()).SetLine(0, KZiIMG_FORMAT_RGBA32, in.data()), KZe_OK);
        ASSERT_EQ(image.GetLine(0, KZiIMG_FORMAT_RGBA32, out.data()), KZe_OK);
        EXPECT_EQ(in, out) << format;
    }
}

TEST_F(ImageTest, WhatIsOutsideOrNotKeptIsRefused) {
    const CKzUser_Image image = newImage(3, 2, KZiIMG_FORMAT_RGB24);
    const CKzUser_ImageWrite write(image.raw());
    std::uint8_t pixel[16] = {};
    const std::pair<int, int> outside[] = {{-1, 0}, {0, -1}, {3, 0}, {0, 2}, {INT32_MAX, 0}, {0, INT32_MIN}};
    for (const auto& [x, y] : outside) {
        EXPECT_EQ(image.GetPixel(x, y, KZiIMG_FORMAT_RGB24, pixel), KZe_OUTOFBOUNDS);
        EXPECT_EQ(write.SetPixel(x, y, KZiIMG_FORMAT_RGB24, pixel), KZe_OUTOFBOUNDS);
    }
    EXPECT_EQ(image.GetLine(2, KZiIMG_FORMAT_RGB24, pixel), KZe_OUTOFBOUNDS);
    EXPECT_EQ(image.GetPixel(0, 0, KZiIMG_FORMAT_RGB24, nullptr), KZe_INVALIDARG);
    EXPECT_EQ(write.SetLine(0, KZiIMG_FORMAT_RGB24, nullptr), KZe_INVALIDARG);
    EXPECT_EQ(write.Fill(nullptr, 1), KZe_INVALIDARG);
    EXPECT_EQ(write.SetAspect(0), KZe_INVALIDARG);
    for (const int format : {KZiIMG_FORMAT_RGBHALF, KZiIMG_FORMAT_BITMAP, KZiIMG_FORMAT_INDEX, KZiIMG_FORMAT_NONE, -1})
        EXPECT_EQ(image.GetPixel(0, 0, static_cast<std::uint32_t>(format), pixel), KZe_NOTSUPPORTED) << format;
    const std::tuple<int, int, int, KzResult> sizes[] = {{0, 1, KZiIMG_FORMAT_GREY, KZe_INVALIDARG},
                                                         {1, -1, KZiIMG_FORMAT_GREY, KZe_INVALIDARG},
                                                         {1 << 20, 1, KZiIMG_FORMAT_GREY, KZe_INVALIDARG},
                                                         {65536, 65536, KZiIMG_FORMAT_RGBAFP, KZe_OUTOFMEMORY},
                                                         {1, 1, KZiIMG_FORMAT_INDEX, KZe_NOTSUPPORTED}};
    for (const auto& [width, height, format, code] : sizes) {
        CKzLoc_Unknown none;
        EXPECT_EQ(service()->Create(width, height, static_cast<std::uint32_t>(format), 0, none.out()), code);
        EXPECT_EQ(write.SetSize(width, height, static_cast<std::uint32_t>(format)), code);
    }
    std::int32_t width = 0, height = 0;
    EXPECT_EQ(image.Size(&width, &height), KZe_OK);
    EXPECT_EQ(width * height, 6) << "a refused size changes nothing";
}

TEST_F(ImageTest, FilesHoldTheImage) {
    const TemporaryFolder folder;
    const std::string path = folder.path("a.png");
    for (const std::uint32_t format : {KZiIMG_FORMAT_GREY, KZiIMG_FORMAT_RGB24, KZiIMG_FORMAT_RGBA32}) {
        const CKzUser_Image image = newImage(5, 4, format);
        for (std::int32_t y = 0; y < 4; ++y) {
            std::uint8_t line[20];
            for (int i = 0; i < 20; ++i) line[i] = static_cast<std::uint8_t>(i * 12 + y);
            ASSERT_EQ(CKzUser_ImageWrite(image.raw()).SetLine(y, format, line), KZe_OK);
        }
        ASSERT_EQ(service()->Save(image.raw(), path.c_str(), nullptr, nullptr), KZe_OK);
        CKzLoc_Unknown loaded;
        ASSERT_EQ(service()->Load(path.c_str(), nullptr, loaded.out()), KZe_OK);
        double greatest = 1, fraction = 1;
        ASSERT_EQ(service()->Compare(image.raw(), loaded.raw(), 0, &greatest, &fraction), KZe_OK);
        EXPECT_EQ(greatest, 0) << format;
        EXPECT_EQ(CKzUser_Image(loaded.raw()).Format(), format);
    }
    CKzLoc_Unknown none;
    const CKzUser_Image image = newImage(1, 1, KZiIMG_FORMAT_GREY);
    EXPECT_EQ(service()->Load(folder.path("missing.png").c_str(), nullptr, none.out()), KZe_NOTFOUND);
    EXPECT_EQ(service()->Load(folder.write("bad.png", "no image").c_str(), nullptr, none.out()), KZe_NOTSUPPORTED);
    EXPECT_EQ(service()->Save(image.raw(), folder.path("no/such/folder.png").c_str(), nullptr, nullptr), KZe_NOACCESS);
    EXPECT_EQ(service()->Save(image.raw(), folder.path("a.tga").c_str(), nullptr, nullptr), KZe_NOTSUPPORTED);
    EXPECT_EQ(service()->Save(nullptr, path.c_str(), "PNG", nullptr), KZe_INVALIDARG);
    EXPECT_EQ(service()->Save(image.raw(), nullptr, "PNG", nullptr), KZe_INVALIDARG);
}

TEST_F(ImageTest, AnybodysImageCanBeSavedFlippedAndCropped) {
    CKzLoc_Unknown diagonal, huge, made;
    diagonal.take(CDiagonal::polymorph().wrap(std::make_unique<CDiagonal>(4)));
    huge.take(CDiagonal::polymorph().wrap(std::make_unique<CDiagonal>(INT32_MAX)));
    const TemporaryFolder folder;
    const std::string path = folder.path("d.png");
    EXPECT_EQ(service()->Save(huge.raw(), path.c_str(), "PNG", nullptr), KZe_INVALIDARG);
    ASSERT_EQ(service()->Save(diagonal.raw(), path.c_str(), "PNG", nullptr), KZe_OK);
    ASSERT_EQ(service()->Load(path.c_str(), nullptr, made.out()), KZe_OK);
    CKzLoc_Unknown flipped, part;
    ASSERT_EQ(service()->Flip(made.raw(), KZiIMG_FLIP_HORIZONTAL, flipped.out()), KZe_OK);
    ASSERT_EQ(service()->Crop(flipped.raw(), 2, 1, 2, 1, part.out()), KZe_OK);
    std::uint8_t line[8] = {};
    ASSERT_EQ(CKzUser_Image(part.raw()).GetLine(0, KZiIMG_FORMAT_RGBA32, line), KZe_OK);
    EXPECT_EQ(line[0], 255) << "the diagonal runs the other way now";
    EXPECT_EQ(line[4], 0);
    EXPECT_EQ(service()->Crop(flipped.raw(), 3, 1, 2, 1, part.out()), KZe_OUTOFBOUNDS);
    EXPECT_EQ(service()->Crop(flipped.raw(), -1, 0, INT32_MAX, 1, part.out()), KZe_OUTOFBOUNDS);
}

}  // namespace
