#include "contest.h"

#include "figures.h"

#include <ctime>

#include <benchmark/benchmark.h>

namespace merlode::bench {

void Contest::against(const std::string& name, const std::string& goal, std::function<void()> work) {
    others_.push_back({name, goal, std::move(work), {}});
}

namespace {

// Of all our threads, in seconds: whatever else the machine does meanwhile does not count.
double processorTime() {
    timespec time{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

} // namespace

double Contest::take(Way& way) {
    const double start = processorTime();
    way.work();
    way.samples.push_back(processorTime() - start);
    return way.samples.back();
}

void Contest::run(const std::string& figure) {
    for (auto _ : state_) {
        state_.SetIterationTime(take(ours_));
        for (auto& other : others_)
            take(other);
    }
    const double ours = quantile(ours_.samples, 0.5) * 1e3;
    state_.counters["median_ms"] = ours;
    for (const auto& other : others_) {
        const double reference = quantile(other.samples, 0.5) * 1e3;
        state_.counters["ratio_" + other.name] = ours / reference;
        note({figure, "ms", ours, reference, other.name, other.goal});
    }
}

} // namespace merlode::bench
