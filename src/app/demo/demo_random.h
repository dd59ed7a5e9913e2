#pragma once

#include <cstdint>
#include <random>

namespace merlode {

/// Draws that are the same on every machine for the same seed; the distributions of the standard library are
/// not.
class DemoRandom {
  public:
    explicit DemoRandom(std::uint32_t seed) : engine_(seed) {}

    /// 0 to bound - 1.
    int below(int bound) { return static_cast<int>(engine_() % static_cast<std::uint32_t>(bound)); }
    /// 0 to 1.
    double unit() { return static_cast<double>(engine_()) / 4294967295.0; }
    double between(double low, double high) { return low + (high - low) * unit(); }

  private:
    std::mt19937 engine_;
};

} // namespace merlode
