// What the library's step of a search costs with all that it makes, against a bare search through the lowered
// titles; and what a song costs to keep.

#include "base/qt_run_loop.h"
#include "base/session.h"
#include "figures.h"
#include "search/library_step.h"
#include "support.h"

#include <array>
#include <cstring>
#include <random>

#include <benchmark/benchmark.h>
#include <malloc.h>

namespace merlode::bench {

namespace {

/// Drops what the items found would ask the web for.
class NoExecutor final : public Executor {
  public:
    void execute(std::function<void()>) override {}
};

struct Term {
    const char* name;
    QString text;
};

const std::array<Term, 6> kTerms{{{"rare", u"quixotic zebra"_qs},
                                  {"common", u"love"_qs},
                                  {"one letter", u"e"_qs},
                                  {"CJK", u"東京の夜"_qs},
                                  {"accented", u"ÉTERNITÉ"_qs},
                                  {"absent", u"no such words"_qs}}};

/// A library in which few words are in most titles, as in real ones: ten songs an album, five albums an
/// artist.
class Generator {
  public:
    LibrarySong song(int number) {
        const int album = number / 10;
        LibrarySong song{static_cast<quint64>(number) + 1,
                         words(1 + number % 4),
                         u"Artist %1 "_qs.arg(album / 5) + word(album / 5),
                         u"Album %1 "_qs.arg(album) + word(album % 997),
                         {}};
        song.totalTime = 200'000;
        song.trackNumber = static_cast<quint16>(1 + number % 10);
        constexpr std::array<std::size_t, 3> seldom{0, 3, 4}; // of the terms
        if (number % 9973 == 5000)
            song.title = kTerms[seldom[static_cast<std::size_t>(number) / 9973 % 3]].text.toLower();
        return song;
    }

  private:
    QString words(int count) {
        QStringList list;
        std::exponential_distribution<double> rank(0.01);
        for (; count > 0; --count)
            list << word(static_cast<int>(rank(engine_)));
        return list.join(u' ');
    }
    static QString word(int rank) {
        static const QStringList syllables{u"lo"_qs, u"ve"_qs, u"Ni"_qs, u"ght"_qs, u"ra"_qs,
                                           u"mé"_qs, u"Su"_qs, u"n"_qs,  u"da"_qs,  u"愛"_qs};
        QString text;
        for (int rest = rank + 10; rest > 0; rest /= 10)
            text += syllables[rest % 10];
        return text;
    }

    std::mt19937 engine_{1};
};

std::size_t bytesInUse() {
    const auto all = ::mallinfo2();
    return all.uordblks + all.hblkhd;
}

std::shared_ptr<const LibrarySongs> makeLibrary(int count, double& bytesPerSong) {
    const std::size_t before = bytesInUse();
    Generator generator;
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
