// Bringing the largest art that services hand out to the size in which it is shown.

#include "contest.h"
#include "model/image_tools.h"

#include <benchmark/benchmark.h>

namespace merlode::bench {

namespace {

constexpr QSize kSource(3000, 3000);
constexpr QSize kShown(176, 176);

Image art() {
    QImage pixels(kSource, QImage::Format_RGB32);
    for (int y = 0; y < pixels.height(); ++y) {
        for (int x = 0; x < pixels.width(); ++x)
            pixels.setPixel(x, y, qRgb(x, y, x * y));
    }
    return Image(pixels);
}

void scaling(benchmark::State& state) {
    const Image source = art();
    Contest contest(state, [&] { benchmark::DoNotOptimize(resize(source, kShown)); });
    contest.against("QImage::scaled", "at most 1.1", [&] {
        benchmark::DoNotOptimize(
            source.pixels().scaled(kShown, Qt::IgnoreAspectRatio, Qt::SmoothTransformation));
    });
    contest.run("art of 3000x3000 to 176 points");
}

BENCHMARK(scaling)->Name("Values/ScaleArt")->UseManualTime()->Iterations(30)->Unit(benchmark::kMillisecond);

} // namespace

} // namespace merlode::bench
