#include "model/image_tools.h"

#include <gtest/gtest.h>

namespace merlode {
namespace {

TEST(FillingCropTest, CutsTheLongerSideEvenly) {
    const std::vector<std::tuple<QSize, QSize, QRect>> rows = {
        {{300, 200}, {100, 100}, {50, 0, 200, 200}},
        {{201, 200}, {100, 100}, {0, 0, 200, 200}}, // an odd rest falls off at the far end
        {{100, 100}, {160, 90}, {0, 22, 100, 56}},
        {{10000, 1}, {1, 2}, {4999, 0, 1, 1}}, // never narrower than a pixel
        {{0, 10}, {5, 5}, {}},
    };
    for (const auto& [source, target, expected] : rows)
        EXPECT_EQ(fillingCrop(source, target), expected) << source.width() << "x" << source.height();
}

TEST(AveragePixelDataTest, AveragesThePartInside) {
    QImage pixels(4, 2, QImage::Format_ARGB32);
    pixels.fill(QColor(200, 0, 100));
    pixels.setPixelColor(3, 0, QColor(0, 40, 100));
    pixels.setPixelColor(3, 1, QColor(0, 40, 100));
    using Bytes = std::array<uchar, 4>;
    EXPECT_EQ(averagePixelData(Image(pixels), {2, 0, 2, 2}), (Bytes{100, 20, 100, 255}));
    EXPECT_EQ(averagePixelData(Image(pixels), {3, -5, 90, 90}), (Bytes{0, 40, 100, 255}));
    EXPECT_EQ(averagePixelData(Image(pixels), {4, 0, 2, 2}), Bytes{});
}

} // namespace
} // namespace merlode
