#include "app/demo/demo_cover.h"

#include "app/demo/demo_random.h"

#include <QPainter>
#include <QPainterPath>

#include <array>
#include <cmath>
#include <numbers>

namespace merlode {

namespace {

constexpr int kSize = 600;

/// The four colours of a cover, from the ground to the brightest accent.
using Palette = std::array<QColor, 4>;

/// Hues a golden angle apart: no two of the covers look alike.
Palette paletteOf(int number) {
    const double hue = std::fmod(0.58 + number * 0.381966, 1.0);
    const auto turned = [hue](double by) { return static_cast<float>(std::fmod(hue + by, 1.0)); };
    return {QColor::fromHsvF(turned(0), 0.75f, 0.32f), QColor::fromHsvF(turned(0.06), 0.6f, 0.68f),
            QColor::fromHsvF(turned(0.45), 0.55f, 0.9f), QColor::fromHsvF(turned(0.12), 0.18f, 0.98f)};
}

void paintSunAndHills(QPainter& painter, const Palette& colors, DemoRandom& random) {
    const QPointF sun(random.between(160, 440), random.between(150, 260));
    painter.setBrush(colors[3]);
    painter.drawEllipse(sun, 85, 85);
    for (int hill = 0; hill < 4; ++hill) {
        const double top = 300 + hill * 70;
        const double phase = random.between(0, 6);
        QPainterPath path(QPointF(0, kSize));
        for (int x = 0; x <= kSize; x += 10)
            path.lineTo(x, top + 40 * std::sin(phase + x * 0.011 * (1 + hill * 0.2)));
        path.lineTo(kSize, kSize);
        painter.setBrush(hill % 2 ? colors[0].lighter(100 + 15 * hill) : colors[2].darker(120 + 20 * hill));
        painter.drawPath(path);
    }
}

void paintRings(QPainter& painter, const Palette& colors, DemoRandom& random) {
    const QPointF center(random.between(200, 400), random.between(200, 400));
    for (int ring = 9; ring > 0; --ring) {
        painter.setBrush(colors[static_cast<std::size_t>(1 + ring % 3)]);
        painter.drawEllipse(center, ring * 32, ring * 32);
        painter.setBrush(colors[0]);
        painter.drawEllipse(center, ring * 32 - 9, ring * 32 - 9);
    }
}

void paintTriangles(QPainter& painter, const Palette& colors, DemoRandom& random) {
    constexpr int kCell = 100;
    for (int x = 0; x < kSize; x += kCell) {
        for (int y = 0; y < kSize; y += kCell) {
            const QRect cell(x, y, kCell, kCell);
            QPolygon corners({cell.topLeft(), {x + kCell, y}, {x + kCell, y + kCell}, {x, y + kCell}});
            corners.remove(random.below(4));
            auto color = colors[1 + static_cast<std::size_t>(random.below(3))];
            color.setAlphaF(static_cast<float>(random.between(0.45, 1)));
            painter.setBrush(color);
            painter.drawPolygon(corners);
        }
    }
}

void paintWaves(QPainter& painter, const Palette& colors, DemoRandom& random) {
    const double phase = random.between(0, 6);
    for (int wave = 0; wave < 14; ++wave) {
        QPainterPath path(QPointF(0, 0));
        for (int x = 0; x <= kSize; x += 8) {
            const QPointF point(x, 60 + wave * 38 + 26 * std::sin(phase + x * 0.014 + wave * 0.55));
            x == 0 ? path.moveTo(point) : path.lineTo(point);
        }
        painter.setBrush(Qt::NoBrush);
        painter.setPen(QPen(colors[static_cast<std::size_t>(1 + wave % 3)], 6 + wave));
        painter.drawPath(path);
    }
}

void paintRays(QPainter& painter, const Palette& colors, DemoRandom& random) {
    const int rays = 10 + 2 * random.below(5);
    const QPointF center(kSize / 2.0, random.between(380, 480));
    for (int ray = 0; ray < rays; ++ray) {
        painter.setBrush(colors[static_cast<std::size_t>(ray % 2 ? 1 : 2)]);
        painter.drawPie(QRectF(center.x() - kSize, center.y() - kSize, 2 * kSize, 2 * kSize),
                        ray * 5760 / rays, 5760 / rays / 2);
    }
    painter.setBrush(colors[3]);
    painter.drawEllipse(center, 110, 110);
    painter.setBrush(colors[0]);
    painter.drawEllipse(center + QPointF(40, -25), 90, 90);
}

void paintDots(QPainter& painter, const Palette& colors, DemoRandom& random) {
    const QPointF focus(random.between(100, 500), random.between(100, 500));
    for (int x = 30; x < kSize; x += 45) {
        for (int y = 30; y < kSize; y += 45) {
            const auto distance = std::hypot(x - focus.x(), y - focus.y());
            const double radius = 5 + 17 * std::abs(std::cos(distance / 120));
            painter.setBrush(colors[static_cast<std::size_t>(1 + static_cast<int>(distance / 150) % 3)]);
            painter.drawEllipse(QPointF(x, y), radius, radius);
        }
    }
}

} // namespace

QImage paintDemoCover(int number) {
    constexpr std::array kMotifs{paintSunAndHills, paintRings, paintTriangles,
                                 paintWaves,       paintRays,  paintDots};
    const auto colors = paletteOf(number);
    DemoRandom random(static_cast<std::uint32_t>(number) * 7919 + 17);
    QImage image(kSize, kSize, QImage::Format_RGB32);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    QLinearGradient ground(0, 0, random.between(0, kSize), kSize);
    ground.setColorAt(0, colors[0]);
    ground.setColorAt(1, colors[1]);
    painter.fillRect(image.rect(), ground);
    kMotifs[static_cast<std::size_t>(number) % kMotifs.size()](painter, colors, random);
    return image;
}

} // namespace merlode
