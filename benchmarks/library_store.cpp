// What it takes to have the library at hand: out of the cache at a start, after a look at files that have not
// changed, and from nothing.

#include "base/qt_run_loop.h"
#include "base/session.h"
#include "figures.h"
#include "generated_library.h"
#include "platform/linux/music_folder_library.h"
#include "platform/linux/sqlite_database.h"
#include "platform/linux/taglib_tags.h"
#include "support.h"
#include "support/music_files.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <ftw.h>
#include <malloc.h>
#include <unistd.h>

namespace merlode::bench {

namespace {

constexpr int kCachedSongs = 100'000;
constexpr int kUnchangedFiles = 10'000;
constexpr int kNewFiles = 2'000;
constexpr int kRounds = 7;

const QByteArray kFolder = "/music";

void fillCache(LibraryCache& cache) {
    LibraryGenerator generator;
    std::vector<CachedFile> files;
    for (int number = 0; number < kCachedSongs; ++number) {
        auto song = generator.song(number);
        files.push_back({{kFolder + "/Artist/Album " + QByteArray::number(number / 10) + "/Song number " +
                              QByteArray::number(number) + ".flac",
                          {1000, 1, false}},
                         song});
    }
    cache.store(files);
    cache.setComplete(kFolder);
}

std::shared_ptr<const LibrarySongs> readCache(const QByteArray& file) {
    LibraryCache cache(file);
    LibrarySongs::Builder builder;
    cache.readItems(kFolder, [&](const MediaItem& item) { return builder.add(item), true; });
    return builder.build();
}

// The same texts and numbers, and nothing made of them.
int readBare(const QByteArray& file) {
    const auto database = sqlite::Database::open(file, sqlite::Database::Mode::ReadOnly);
    auto rows = database->prepare("SELECT * FROM file ORDER BY path");
    int count = 0;
    while (rows.step())
        count += static_cast<int>(rows.bytes(7).size() + rows.bytes(6).size()) > 0;
    return count;
}

double proportionalKilobytes() {
    QFile file(u"/proc/self/smaps_rollup"_qs);
    std::ignore = file.open(QIODevice::ReadOnly);
    for (const auto& line : file.readAll().split('\n')) {
        if (line.startsWith("Pss:"))
            return line.mid(4).trimmed().split(' ').first().toDouble();
    }
    return 0;
}

void warmStart(benchmark::State& state) {
    const QTemporaryDir folder;
    const auto file = folder.filePath(u"library.sqlite"_qs).toUtf8();
    for (auto _ : state) {
        {
            LibraryCache cache(file);
            fillCache(cache);
        }
        benchmark::DoNotOptimize(readBare(file)); // both find the file in the system's memory
        std::vector<double> ours, bare;
        for (int round = 0; round < kRounds; ++round) {
            auto start = Clock::now();
            const auto songs = readCache(file);
            ours.push_back(secondsSince(start) * 1e3);
            start = Clock::now();
            benchmark::DoNotOptimize(readBare(file));
            bare.push_back(secondsSince(start) * 1e3);
        }
        note({"100,000 songs out of the cache, searchable", "ms", quantile(ours, 0.5), quantile(bare, 0.5),
              "bare SQLite", "below 300 ms"});
        ::malloc_trim(0);
        const double before = proportionalKilobytes();
        const auto songs = readCache(file);
        ::malloc_trim(0);
        note({"100,000 songs in memory, PSS", "MB", (proportionalKilobytes() - before) / 1024, 72,
              "MPD's 72 MB", "below 25 MB"});
    }
}

/// A folder of music of the benchmark's own, and its library.
class Folder {
  public:
    Folder()
        : library_(session_, {folder_.filePath(u"library.sqlite"_qs).toUtf8(), [this] { return path(); }},
                   makeThreadPoolExecutor()) {}

    QString path() const { return folder_.filePath(u"Music"_qs); }

    /// Seconds that one scan takes.
    double scan() {
        const auto start = Clock::now();
        library_.startScan();
        while (library_.progress().state == MediaLibrary::State::Scanning)
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        return secondsSince(start);
    }

  private:
    QTemporaryDir folder_;
    Session session_{std::make_unique<QtRunLoop>(), makeThreadPoolExecutor()};
    SessionScope scope_{&session_};
    MusicFolderLibrary library_;
};

void unchangedFiles(benchmark::State& state) {
    Folder folder;
    const auto first = folder.path() + u"/0/first.flac"_qs;
    testing_support::writeMusicFile({first, u"Song"_qs, u"Album"_qs, {u"Artist"_qs}});
    for (int number = 1; number < kUnchangedFiles; ++number) {
        const auto place = u"%1/%2"_qs.arg(folder.path()).arg(number / 20);
        if (number % 20 == 0)
            QDir().mkpath(place);
        std::ignore = ::link(QFile::encodeName(first).constData(),
                             QFile::encodeName(u"%1/Song %2.flac"_qs.arg(place).arg(number)).constData());
    }
    for (auto _ : state) {
        folder.scan();
        std::vector<double> ours, bare;
        for (int round = 0; round < kRounds; ++round) {
            ours.push_back(folder.scan() * 1e3);
            const auto start = Clock::now();
            ::nftw(
                QFile::encodeName(folder.path()).constData(),
                [](const char*, const struct stat*, int, FTW*) { return 0; }, 32, 0);
            bare.push_back(secondsSince(start) * 1e3);
        }
        note({"10,000 unchanged files looked through", "ms", quantile(ours, 0.5), quantile(bare, 0.5),
              "bare nftw", ""});
    }
}

void newFiles(benchmark::State& state) {
    Folder folder;
    QList<QByteArray> files;
    for (int number = 0; number < kNewFiles; ++number) {
        const auto path = u"%1/Album %2/Song %3.flac"_qs.arg(folder.path()).arg(number / 12).arg(number);
        testing_support::writeMusicFile({path, u"Song %1"_qs.arg(number), u"Album"_qs, {u"Artist"_qs}});
        files << QFile::encodeName(path);
    }
    for (auto _ : state) {
        std::vector<double> ours, bare;
        const auto start = Clock::now();
        for (const auto& file : files)
            benchmark::DoNotOptimize(readMusicTags(file));
        const double reference = secondsSince(start) * 1e3;
        note({"2,000 new files read", "ms", folder.scan() * 1e3, reference, "tags one by one", ""});
    }
}

BENCHMARK(warmStart)->Name("LibraryStore/WarmStart")->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK(unchangedFiles)->Name("LibraryStore/UnchangedFiles")->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK(newFiles)->Name("LibraryStore/NewFiles")->Iterations(1)->Unit(benchmark::kMillisecond);

} // namespace

} // namespace merlode::bench
