#include "players/art_courier.h"
#include "support/test_session.h"

#include <gtest/gtest.h>

namespace merlode {
namespace {

// Every pixel another value, translucent ones among them.
QImage pattern(QSize size, QImage::Format format) {
    QImage wide(size, QImage::Format_RGBA64);
    for (int y = 0; y < size.height(); ++y) {
        for (int x = 0; x < size.width(); ++x)
            wide.setPixelColor(x, y,
                               QColor::fromRgba64(quint16(x * 7919), quint16(y * 104729),
                                                  quint16((x + y) * 1299), quint16(65535 - x * 997)));
    }
    return wide.convertToFormat(format);
}

class ArtCourierTest : public testing::Test {
  protected:
    std::optional<Image> carried(const QImage& pixels) {
        std::optional<Image> art;
        courier.encode(Image(pixels), [&](const QByteArray& tiff) {
            bytes = tiff;
            courier.decode(tiff, [&](const auto& decoded) { art = decoded; });
        });
        test.loop.runUntilIdle();
        return art;
    }

    TestSession test;
    ArtCourier courier{test.session};
    QByteArray bytes;
};

TEST_F(ArtCourierTest, ArtComesBackAsTheSamePixels) {
    using enum QImage::Format;
    for (const auto format : {Format_RGB32, Format_ARGB32, Format_ARGB32_Premultiplied, Format_RGB888,
                              Format_RGBA8888, Format_RGBA64, Format_RGBX64, Format_RGBA64_Premultiplied,
                              Format_Grayscale8, Format_Grayscale16, Format_Indexed8, Format_Mono}) {
        for (const QSize size : {QSize(1, 1), QSize(17, 5), QSize(64, 63)}) {
            const QImage sent = pattern(size, format);
            const auto art = carried(sent);
            ASSERT_TRUE(art && art->pixels().size() == size) << format;
            int different = 0;
            for (int place = 0; place < size.width() * size.height(); ++place) {
                const QPoint at(place % size.width(), place / size.width());
                different += sent.pixelColor(at).rgba64() != art->pixels().pixelColor(at).rgba64();
            }
            EXPECT_EQ(different, 0) << format << ' ' << size.width();
        }
    }
}

TEST_F(ArtCourierTest, ArtThatNoClientWouldTakeIsReduced) {
    const auto art = carried(QImage(4000, 3000, QImage::Format_RGB32));
    ASSERT_TRUE(art);
    EXPECT_LT(art->pixels().width(), 4000);
    EXPECT_GT(art->pixels().width(), 3500);
    EXPECT_LE(bytes.size(), Image::kMostBytes);
}

TEST_F(ArtCourierTest, OneEncodingServesAllAndOnlyTheLastPictureIsDecoded) {
    const Image art(QImage(4, 4, QImage::Format_RGB32));
    std::vector<const char*> served;
    const auto serve = [&](const QByteArray& tiff) { served.push_back(tiff.constData()); };
    courier.encode(art, serve);
    courier.encode(art, serve);
    EXPECT_TRUE(served.empty());
    test.loop.runUntilIdle();
    courier.encode(art, serve);
    ASSERT_EQ(served.size(), 3U);
    EXPECT_EQ(served[0], served[2]) << "the very same bytes";
    courier.encode(Image(QImage(2, 2, QImage::Format_RGB32)), [&](const QByteArray& tiff) { bytes = tiff; });
    test.loop.runUntilIdle();
    QList<int> widths;
    const auto look = [&](const auto& decoded) { widths << (decoded ? decoded->pixels().width() : 0); };
    courier.decode(bytes, look);
    courier.decode("no picture", look);
    test.loop.runUntilIdle();
    courier.decode(bytes, look);
    courier.forgetDecoding();
    courier.decode(bytes, look);
    test.loop.runUntilIdle();
    EXPECT_EQ(widths, (QList{0, 2}));
}

} // namespace
} // namespace merlode
