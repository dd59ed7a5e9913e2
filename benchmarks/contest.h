#pragma once

#include <functional>
#include <string>
#include <vector>

namespace benchmark {
class State;
}

namespace merlode::bench {

/// A piece of our own work against other ways to do the same, taken in turns: all meet the same drift of the
/// machine.
class Contest {
  public:
    Contest(benchmark::State& state, std::function<void()> ours)
        : state_(state), ours_{{}, {}, std::move(ours), {}} {}

    /// Another way, and what our median divided by its median should be.
    void against(const std::string& name, const std::string& goal, std::function<void()> work);

    /// Runs all once in every iteration of the benchmark and notes one figure for each other way.
    void run(const std::string& figure);

  private:
    struct Way {
        std::string name;
        std::string goal;
        std::function<void()> work;
        std::vector<double> samples;
    };

    static double take(Way& way);

    benchmark::State& state_;
    Way ours_;
    std::vector<Way> others_;
};

} // namespace merlode::bench
