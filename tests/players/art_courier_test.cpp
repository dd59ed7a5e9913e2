#include "players/art_courier.h"
#include "support/test_session.h"

#include <gtest/gtest.h>

namespace merlode {
namespace {

class ArtCourierTest : public testing::Test {
  protected:
    QImage carried(const QImage& pixels) {
        QImage came;
        courier.encode(Image(pixels), [&](const QByteArray& tiff) {
            bytes = tiff;
            courier.decode(tiff, [&](const auto& art) { came = art ? art->pixels() : QImage(); });
        });
        test.loop.runUntilIdle();
        return came;
    }

    TestSession test;
    ArtCourier courier{test.session};
    QByteArray bytes;
};

TEST_F(ArtCourierTest, ArtComesBackAsTheSamePixels) {
    using enum QImage::Format;
    for (const QSize size : {QSize(1, 1), QSize(17, 5), QSize(64, 63)}) {
        QImage wide(size, Format_RGBA64); // every pixel another value, and hardly one of them opaque
        for (int place = 0; place < size.width() * size.height(); ++place)
            wide.setPixelColor(place % size.width(), place / size.width(),
                               QColor::fromRgba64(quint16(place * 7919), quint16(place * 977),
                                                  quint16(place * 499), quint16(65535 - place * 41)));
        for (const auto format : {Format_RGB32, Format_ARGB32, Format_ARGB32_Premultiplied, Format_RGB888,
                                  Format_RGBA8888, Format_RGBA64, Format_RGBA64_Premultiplied, Format_RGBX64,
                                  Format_Grayscale8, Format_Grayscale16, Format_Indexed8, Format_Mono}) {
            const QImage sent = wide.convertToFormat(format);
            EXPECT_EQ(carried(sent).convertToFormat(Format_RGBA64), sent.convertToFormat(Format_RGBA64))
                << format;
        }
    }
    EXPECT_GT(carried(QImage(4000, 3000, Format_RGB32)).width(), 3500);
    EXPECT_LE(bytes.size(), Image::kMostBytes) << "reduced, since no client would take more";
}

TEST_F(ArtCourierTest, OneEncodingServesAll) {
    const Image art(QImage(4, 4, QImage::Format_RGB32));
    QList<QByteArray> served;
    for (const int wait : {0, 1, 2}) {
        courier.encode(art, [&](const QByteArray& tiff) { served << tiff; });
        test.loop.advance(wait);
    }
    ASSERT_EQ(served.size(), 3);
    EXPECT_EQ(served[0].constData(), served[2].constData()) << "the very same bytes";
}

} // namespace
} // namespace merlode
