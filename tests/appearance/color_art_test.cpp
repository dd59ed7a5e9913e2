#include "appearance/color_art.h"

#include <gtest/gtest.h>

namespace merlode {
namespace {

constexpr QRgb kWhite = 0xffffffff, kBlack = 0xff000000, kRed = 0xffc80000, kBlue = 0xff0000c8;

QRgb pixelOf(const Color& color) {
    return color.toQColor().rgba();
}

/// A square picture of one colour, with a left edge of runs of colours.
struct Cover {
    QRgb field;
    std::vector<std::pair<QRgb, int>> edge{};

    Image image(int side) const {
        QImage pixels(side, side, QImage::Format_ARGB32);
        pixels.fill(field);
        int y = 0;
        for (const auto& [color, count] : edge) {
            for (int end = y + count; y < end; ++y)
                pixels.setPixel(0, y, color);
        }
        return Image(pixels);
    }
};

SLColorArt artOf(const Cover& cover, int side = 120) {
    return {cover.image(side), QSize(side, side)};
}

TEST(ColorArt, TheBackgroundIsTheFrequentColourOfTheLeftEdge) {
    struct Case {
        const char* name;
        Cover cover;
        int side;
        std::optional<QRgb> background;
    };
    std::vector<std::pair<QRgb, int>> noise, pairs;
    for (int y = 0; y < 100; ++y) {
        noise.emplace_back(qRgb(y, 2 * y, 100), 1);
        pairs.emplace_back(qRgb(y, 2 * y, 100), 2);
    }
    const Case cases[] = {
        {"only the first column counts", {kRed, {{kWhite, 120}}}, 120, kWhite},
        {"white gives way", {kBlue, {{kWhite, 90}, {kRed, 30}}}, 120, kRed},
        {"but not to three tenths", {kBlue, {{kWhite, 93}, {kRed, 27}}}, 120, kWhite},
        {"nor beyond them", {kBlue, {{kWhite, 60}, {kBlack, 35}, {kRed, 25}}}, 120, kRed},
        {"a real colour gives way to none", {kBlue, {{kRed, 61}, {kBlue, 59}}}, 120, kRed},
        {"noise on an edge of 100", {kRed, noise}, 100, std::nullopt},
        {"and of 99", {kRed, {noise.begin(), noise.begin() + 99}}, 99, qRgb(0, 0, 100)},
        {"twice is often enough", {kRed, {pairs.begin(), pairs.end() - 1}}, 199, qRgb(0, 0, 100)},
    };
    for (const auto& [name, cover, side, background] : cases) {
        const auto found = artOf(cover, side).backgroundColor();
        EXPECT_EQ(found ? std::optional(pixelOf(*found)) : std::nullopt, background) << name;
    }
    EXPECT_FALSE(SLColorArt(Image(), {320, 320}).backgroundColor());
}

TEST(ColorArt, TextColoursStandOutAndFallBackToBlackOrWhite) {
    const auto texts = [](const SLColorArt& art) {
        return std::vector{pixelOf(art.primaryColor()), pixelOf(art.secondaryColor()),
                           pixelOf(art.detailColor())};
    };
    EXPECT_EQ(texts(artOf({kBlack})), (std::vector{kWhite, kWhite, kWhite}));
    EXPECT_EQ(texts(artOf({kWhite})), (std::vector{kBlack, kBlack, kBlack}));

    QImage picture = Cover{kWhite}.image(120).pixels();
    const auto area = [&](int x, int width, QRgb color) {
        for (int column = x; column < x + width; ++column) {
            for (int y = 0; y < 120; ++y)
                picture.setPixel(column, y, color);
        }
    };
    area(10, 40, kRed);
    area(50, 30, qRgb(190, 10, 10)); // too near to the red
    area(80, 20, qRgb(255, 255, 0)); // no darker than the background
    area(100, 10, kBlue);
    area(110, 5, qRgb(0, 90, 0));
    EXPECT_EQ(texts({Image(picture), {120, 120}}), (std::vector{kRed, kBlue, qRgb(0, 90, 0)}));

    picture.fill(0xffffffff);
    area(10, 20, qRgb(20, 20, 20));
    area(30, 10, qRgb(110, 110, 110));
    EXPECT_EQ(texts({Image(picture), {120, 120}})[0], qRgb(20, 17, 17)) << "with a little colour";
    area(40, 5, kBlue);
    area(45, 5, kRed);
    EXPECT_EQ(texts({Image(picture), {120, 120}}), (std::vector{kBlue, kRed, qRgb(20, 17, 17)}))
        << "what no pixel has comes last, and of equals the one further left first";
}

TEST(ColorArt, TheSquareComesFromTheTopLeft) {
    QImage tall(100, 300, QImage::Format_RGB32), wide(300, 100, QImage::Format_RGB32);
    for (auto* picture : {&tall, &wide}) {
        picture->fill(kBlue);
        for (int x = 0; x < 100; ++x) {
            for (int y = 0; y < 100; ++y)
                picture->setPixel(x, y, kRed);
        }
        const SLColorArt art(Image(*picture), {50, 50});
        EXPECT_EQ(art.scaledImage().size(), QSize(50, 50));
        EXPECT_EQ(art.scaledImage().pixel(49, 49), kRed);
    }
}

TEST(Colors, SaturationContrastAndReading) {
    const auto raised = pc_colorWithMinimumSaturation({0.8, 0.76, 0.78}, 0.15);
    EXPECT_NEAR(raised.red, 0.8, 1e-12);
    EXPECT_NEAR(raised.green, 0.68, 1e-12);
    EXPECT_NEAR(raised.blue, 0.74, 1e-12) << "between the others as before: the hue stays";
    EXPECT_EQ(pc_colorWithMinimumSaturation({}, 0.15), Color{});
    EXPECT_TRUE(pc_isDistinct({0.5, 0.5, 0.5, 1}, {0.5, 0.2, 0.5, 1}));
    EXPECT_FALSE(pc_isDistinct({0.5, 0.5, 0.5}, {0.5, 0.25, 0.5})) << "not by more than a quarter";
    EXPECT_FALSE(pc_isDistinct({0, 0, 0}, {1, 1, 1}));
    EXPECT_FALSE(pc_isContrastingColor({0.54, 0.54, 0.54}, {0.325, 0.325, 0.325}));
    EXPECT_TRUE(pc_isContrastingColor({0.56, 0.56, 0.56}, {0.325, 0.325, 0.325}));
    EXPECT_NEAR(readingContrast({}, {1, 1, 1}), 21, 1e-9);
    for (int step = 0; step < 1000; ++step) {
        const auto part = [step](int divisor) { return (step / divisor % 10) / 9.0; };
        const Color background{part(1), part(10), part(100)}, color{part(10), part(100), part(1)};
        const auto text = readableOn(background, color);
        EXPECT_GE(readingContrast(text, background), kTextContrast) << step;
        if (readingContrast(color, background) >= kTextContrast) {
            EXPECT_EQ(text, color) << step;
        }
    }
}

} // namespace
} // namespace merlode
