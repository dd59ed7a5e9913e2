#pragma once

#include "app/demo/demo_catalogue.h"

#include <cstdint>
#include <vector>

namespace merlode {

inline constexpr int kDemoSampleRate = 22050;

/// A short piece of music, mono, 20 to 40 s: chords, a bass and a tune over them, drawn by the seed in the
/// manner of the style. It begins and ends in silence and peaks at about 70 % of full scale. Any thread.
std::vector<std::int16_t> makeDemoMusic(DemoStyle style, std::uint32_t seed);

} // namespace merlode
