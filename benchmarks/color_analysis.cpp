// What the palette of a cover costs, beside a bare count of its pixels.

#include "appearance/color_art.h"
#include "figures.h"
#include "support.h"

#include <cmath>
#include <random>

#include <benchmark/benchmark.h>

namespace merlode::bench {

namespace {

constexpr int kSide = 320;
constexpr int kRounds = 100;

struct Cover {
    const char* name;
    double noise; ///< how far pixels stray
    int steps;    ///< of each component
};

// From a drawing to a photograph.
constexpr Cover kCovers[] = {{"flat", 0, 4}, {"soft", 4, 256}, {"photograph", 40, 256}};

QImage paint(const Cover& cover) {
    QImage pixels(kSide, kSide, QImage::Format_ARGB32);
    std::mt19937 engine(1);
    std::normal_distribution<double> stray(0, 1);
    const auto component = [&](double value) {
        const int coarse = 256 / cover.steps;
        return std::clamp(int(value + cover.noise * stray(engine)) / coarse * coarse, 0, 255);
    };
    for (int y = 0; y < kSide; ++y) {
        for (int x = 0; x < kSide; ++x)
            pixels.setPixel(x, y,
                            qRgb(component(128 + 100 * std::sin(x / 60.0)), component(y * 0.75),
                                 component(200 - 100 * std::cos((x + y) / 90.0))));
    }
    return pixels;
}

// Large enough that it never grows.
std::size_t countBare(const QImage& pixels) {
    static std::vector<std::pair<QRgb, quint32>> table(1U << 18);
    std::ranges::fill(table, std::pair<QRgb, quint32>{});
    std::size_t colors = 0;
    const auto* pixel = reinterpret_cast<const QRgb*>(pixels.constBits());
    for (int left = kSide * kSide; left > 0; --left, ++pixel) {
        std::size_t at = (*pixel * 2654435769U) >> 14;
        while (table[at].second != 0 && table[at].first != *pixel)
            at = (at + 1) % table.size();
        colors += table[at].second == 0;
        table[at] = {*pixel, table[at].second + 1};
    }
    return colors;
}

void analysis(benchmark::State& state) {
    for (auto _ : state) {
        for (const auto& cover : kCovers) {
            const Image image(paint(cover));
            std::vector<double> ours, reference;
            for (int round = 0; round < kRounds; ++round) {
                auto start = Clock::now();
                const SLColorArt art(image, {kSide, kSide});
                benchmark::DoNotOptimize(art.detailColor());
                ours.push_back(secondsSince(start) * 1e3);
                start = Clock::now();
                benchmark::DoNotOptimize(countBare(image.pixels()));
                reference.push_back(secondsSince(start) * 1e3);
            }
            note({std::string("palette of a cover, ") + cover.name, "ms", quantile(ours, 0.5),
                  quantile(reference, 0.5), "bare count", "ratio 2"});
        }
    }
}

BENCHMARK(analysis)->Name("Colors/Analysis")->Iterations(1)->Unit(benchmark::kMillisecond);

} // namespace

} // namespace merlode::bench
