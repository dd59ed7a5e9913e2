// Folding the lists that several services bring into one without repeats.

#include "contest.h"
#include "model/track.h"

#include <unordered_map>

#include <benchmark/benchmark.h>

namespace merlode::bench {

namespace {

constexpr int kTracks = 10'000;
constexpr int kFolds = 1000;

// Every third is one that was there before, written in another case.
std::vector<std::shared_ptr<Track>> tracks() {
    std::vector<std::shared_ptr<Track>> list;
    for (int number = 0; number < kTracks; ++number) {
        const bool repeats = number % 3 == 2;
        const int song = repeats ? number / 2 : number;
        Track::Details details{.name = u"Song of Ice and Fire, Part %1"_qs.arg(song),
                               .albumName = u"The Album %1"_qs.arg(song % 100),
                               .artistName = u"Björk %1"_qs.arg(song % 10)};
        if (repeats)
            details.name = details.name.toUpper();
        list.push_back(Track::UnknownTrack(details));
    }
    return list;
}

template<class Key, class KeyOf>
std::size_t fold(const std::vector<std::shared_ptr<Track>>& list, KeyOf keyOf) {
    std::unordered_map<Key, std::shared_ptr<Track>> folded;
    folded.reserve(list.size());
    for (std::size_t index = 0; index < list.size(); ++index)
        folded.try_emplace(keyOf(index), list[index]);
    return folded.size();
}

void folding(benchmark::State& state) {
    const auto list = tracks();
    std::vector<QString> keys;
    for (const auto& track : list)
        keys.push_back((track->name() + u'\n' + track->artistName() + u'\n' + track->albumName()).toLower());
    const auto byIdentity = [&] {
        return fold<ItemIdentity>(
            list, [&](std::size_t index) -> const auto& { return list[index]->identity(); });
    };
    const auto byKey = [&] {
        return fold<QString>(
            list, [&](std::size_t index) -> const auto& { return keys[index]; });
    };
    if (byIdentity() != byKey())
        return state.SkipWithError("the ways disagree");
    Contest contest(state, [&] { benchmark::DoNotOptimize(byIdentity()); });
    contest.against("prebuilt text keys", "at most 1.2", [&] { benchmark::DoNotOptimize(byKey()); });
    contest.run("10,000 tracks into one list");
}

BENCHMARK(folding)
    ->Name("Values/FoldTracks")
    ->UseManualTime()
    ->Iterations(kFolds)
    ->Unit(benchmark::kMillisecond);

} // namespace

} // namespace merlode::bench
