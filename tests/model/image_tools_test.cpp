#include "model/artwork.h"
#include "model/image_tools.h"

#include <gtest/gtest.h>

namespace merlode {
namespace {

Image filled(int width, int height, QColor color) {
    QImage pixels(width, height, QImage::Format_ARGB32);
    pixels.fill(color);
    return Image(pixels);
}

TEST(FillingCropTest, CutsTheLongerSideEvenly) {
    const std::vector<std::tuple<QSize, QSize, QRect>> rows = {
        {{300, 200}, {100, 100}, {50, 0, 200, 200}},
        {{200, 300}, {100, 100}, {0, 50, 200, 200}},
        {{201, 200}, {100, 100}, {0, 0, 200, 200}}, // an odd rest falls off at the far end
        {{100, 100}, {160, 90}, {0, 22, 100, 56}},
        {{176, 176}, {176, 176}, {0, 0, 176, 176}},
        {{49, 49}, {1, 49}, {24, 0, 1, 49}},
        {{10000, 1}, {1, 2}, {4999, 0, 1, 1}}, // never narrower than a pixel
        {{0, 10}, {5, 5}, {}},
        {{10, 10}, {5, 0}, {}},
    };
    for (const auto& [source, target, expected] : rows)
        EXPECT_EQ(fillingCrop(source, target), expected)
            << source.width() << "x" << source.height() << " to " << target.width() << "x" << target.height();
}

TEST(ResizeTest, ShowsTheMiddleAndNothingOfTheEdges) {
    QImage pixels(400, 200, QImage::Format_ARGB32);
    pixels.fill(Qt::red);
    for (int y = 0; y < 200; ++y) {
        for (int x = 100; x < 300; ++x)
            pixels.setPixelColor(x, y, Qt::blue);
    }
    const QImage small = resize(Image(pixels), {50, 50}).pixels();
    EXPECT_EQ(small.size(), QSize(50, 50));
    for (const QPoint point : {QPoint(0, 0), QPoint(49, 0), QPoint(0, 49), QPoint(25, 25)})
        EXPECT_EQ(small.pixelColor(point), QColor(Qt::blue));
}

TEST(ResizeTest, AveragesFineDetailInsteadOfPickingPixels) {
    QImage stripes(160, 160, QImage::Format_RGB32);
    for (int y = 0; y < 160; ++y) {
        for (int x = 0; x < 160; ++x)
            stripes.setPixelColor(x, y, x % 8 == 0 ? Qt::black : Qt::white);
    }
    const QImage small = resize(Image(stripes), {20, 20}).pixels();
    EXPECT_NEAR(small.pixelColor(10, 10).red(), 255 * 7 / 8, 3);
}

TEST(ResizeTest, NothingComesOfNothing) {
    EXPECT_FALSE(resize(Image(), {10, 10}));
    EXPECT_FALSE(resize(filled(10, 10, Qt::red), {0, 10}));
    EXPECT_FALSE(cropToSquare(Image()));
}

TEST(CropToSquareTest, KeepsThePixelsOfTheMiddle) {
    QImage pixels(5, 2, QImage::Format_RGB32);
    pixels.fill(Qt::black);
    pixels.setPixelColor(1, 0, Qt::green);
    pixels.setPixelColor(2, 1, Qt::blue);
    const QImage square = cropToSquare(Image(pixels)).pixels();
    EXPECT_EQ(square.size(), QSize(2, 2));
    EXPECT_EQ(square.pixelColor(0, 0), QColor(Qt::green));
    EXPECT_EQ(square.pixelColor(1, 1), QColor(Qt::blue));
}

TEST(AveragePixelDataTest, AveragesThePartInside) {
    QImage pixels(4, 2, QImage::Format_ARGB32);
    pixels.fill(QColor(200, 0, 100));
    pixels.setPixelColor(3, 0, QColor(0, 40, 100));
    pixels.setPixelColor(3, 1, QColor(0, 40, 100));
    using Bytes = std::array<uchar, 4>;
    EXPECT_EQ(averagePixelData(Image(pixels), {0, 0, 2, 2}), (Bytes{200, 0, 100, 255}));
    EXPECT_EQ(averagePixelData(Image(pixels), {2, 0, 2, 2}), (Bytes{100, 20, 100, 255}));
    EXPECT_EQ(averagePixelData(Image(pixels), {3, -5, 90, 90}), (Bytes{0, 40, 100, 255}));
    EXPECT_EQ(averagePixelData(Image(pixels), {4, 0, 2, 2}), Bytes{});
    EXPECT_EQ(averagePixelData(Image(), {0, 0, 2, 2}), Bytes{});
}

TEST(ArtworkTest, ThePlaceholderIsAlwaysTheSameSquarePicture) {
    const Image& placeholder = sSharedAlbumArtworkImage();
    EXPECT_EQ(placeholder, sSharedAlbumArtworkImage());
    EXPECT_EQ(placeholder.pixels().size(), QSize(528, 528));
}

} // namespace
} // namespace merlode
