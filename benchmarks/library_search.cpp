// What the library's step of a search costs with all that it makes, against a bare search through the lowered
// titles; and what a song costs to keep.

#include "base/qt_run_loop.h"
#include "base/session.h"
#include "figures.h"
#include "generated_library.h"
#include "search/library_step.h"
#include "support.h"

#include <cstring>

#include <benchmark/benchmark.h>
#include <malloc.h>

namespace merlode::bench {

namespace {

/// Drops what the items found would ask the web for.
class NoExecutor final : public Executor {
  public:
    void execute(std::function<void()>) override {}
};

std::size_t bytesInUse() {
    const auto all = ::mallinfo2();
    return all.uordblks + all.hblkhd;
}

std::shared_ptr<const LibrarySongs> makeLibrary(int count, double& bytesPerSong) {
    const std::size_t before = bytesInUse();
    LibraryGenerator generator;
    LibrarySongs::Builder builder;
    for (int number = 0; number < count; ++number)
        builder.add(generator.song(number));
    auto songs = builder.build();
    bytesPerSong = static_cast<double>(bytesInUse() - before) / count;
    return songs;
}

/// As many hits as the step looks for, by the bare search.
std::size_t bareSearch(std::string_view text, std::string_view piece) {
    std::size_t hits = 0;
    while (hits < kMaxiTunesSongResults) {
        const void* hit = ::memmem(text.data(), text.size(), piece.data(), piece.size());
        if (!hit)
            break;
        text.remove_prefix(static_cast<std::size_t>(static_cast<const char*>(hit) - text.data()) + 1);
        ++hits;
    }
    return hits;
}

void measure(const LibrarySongs& songs, const Term& term, const std::string& size, const std::string& goal) {
    constexpr int rounds = 200;
    const SearchTerm lowered(term.text);
    std::vector<double> ours, reference;
    for (int round = 0; round < rounds; ++round) {
        FoldedList<Track> tracks;
        FoldedList<Album> albums;
        const auto start = Clock::now();
        searchLibrary(
            songs, term.text, [] { return false; }, tracks, albums);
        ours.push_back(secondsSince(start) * 1e3);
        const auto bare = Clock::now();
        benchmark::DoNotOptimize(bareSearch(songs.foldedTitles(), lowered.folded()));
        reference.push_back(secondsSince(bare) * 1e3);
    }
    note({"search of " + size + " songs, " + term.name + ", median", "ms", quantile(ours, 0.5),
          quantile(reference, 0.5), "memmem", ""});
    note({"search of " + size + " songs, " + term.name + ", p95", "ms", quantile(ours, 0.95),
          quantile(reference, 0.95), "memmem", goal});
}

void search(benchmark::State& state) {
    const int count = static_cast<int>(state.range(0));
    const std::string size = count >= 1'000'000 ? "1,000,000" : "100,000";
    Session session(std::make_unique<QtRunLoop>(), std::make_unique<NoExecutor>());
    const SessionScope scope(&session);
    double bytesPerSong = 0;
    for (auto _ : state) {
        const auto songs = makeLibrary(count, bytesPerSong);
        for (const auto& term : kTerms)
            measure(*songs, term, size, count >= 1'000'000 ? "below 50 ms" : "below 5 ms");
    }
    state.counters["bytes_per_song"] = bytesPerSong;
    note({"memory of a song among " + size, "bytes", bytesPerSong, 250, "25 MB by 100,000", "below"});
}

BENCHMARK(search)
    ->Name("Library/Search")
    ->Arg(100'000)
    ->Arg(1'000'000)
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond);

} // namespace

} // namespace merlode::bench
