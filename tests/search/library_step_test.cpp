#include "model/artwork.h"
#include "model/item_link.h"
#include "search/library_step.h"
#include "support/fake_http.h"
#include "support/fake_ports.h"
#include "support/test_session.h"

#include <gtest/gtest.h>

namespace merlode {
namespace {

class LibraryStepTest : public testing::Test {
  protected:
    LibraryStepTest() {
        test.session.installReference<HttpClient>(http);
        test.session.installReference<ItemLink>(link);
        test.session.installReference<MediaLibrary>(library);
        test.session.installReference<UserDefaults>(settings);
    }

    LibrarySong& add(const QString& title, const QString& artist, const QString& album) {
        return songs.emplace_back(LibrarySong{songs.size() + 1, title, artist, album});
    }
    /// Allows so many items to be made. The albums that are found, each with its artist and tracks.
    QStringList run(const QString& term, int steps = 1000) {
        const auto isCancelled = [&steps] { return steps-- <= 0; };
        searchLibrary(LibrarySongs(songs), term, isCancelled, tracks, albums);
        QStringList texts;
        for (const auto& album : albums.items())
            texts << u"%1/%2: %3"_qs.arg(album->name(), album->artistName(), names(album->tracks()));
        return texts;
    }
    static QString names(const std::vector<std::shared_ptr<Track>>& of) {
        QStringList list;
        for (const auto& track : of)
            list << track->name();
        return list.join(u' ');
    }

    FakeHttp http;
    ItemLink link;
    FakeMediaLibrary library;
    MemoryUserDefaults settings;
    TestSession test;
    std::vector<LibrarySong> songs;
    FoldedList<Track> tracks;
    FoldedList<Album> albums;
};

TEST_F(LibraryStepTest, SongsAreFoundInAnyCaseAlbumsByTheirArtistsInTheVeryCase) {
    add(u"One"_qs, u"Queen"_qs, u"Jazz"_qs).discNumber = 2;
    add(u"QUEEN"_qs, u"Abba"_qs, u"Arrival"_qs).totalTime = 231'844;
    add(u"ONE"_qs, u"queen"_qs, u"jazz"_qs); // the song that is there already
    add(u"Two"_qs, u"Nobody"_qs, u"The queen"_qs);
    EXPECT_EQ(run(u"queen"_qs), (QStringList{u"jazz/queen: One ONE"_qs, u"The queen/Nobody: Two"_qs}));
    ASSERT_EQ(names(tracks.items()), u"One QUEEN"_qs);
    const auto &first = *tracks.items()[0], &second = *tracks.items()[1];
    EXPECT_EQ(first.id() + first.iTunesPlayKey().value_or(QString()), u"00000000000000010000000000000001"_qs);
    EXPECT_EQ((std::array{first.discNumber(), second.discNumber()}), (std::array<quint64, 2>{2, 1}));
    EXPECT_EQ(second.duration(), 231'844) << "in the library's own unit";
    test.loop.runUntilIdle();
    EXPECT_EQ(http.requests().size(), 7U) << "each item is looked for at the other service";
    run(QString());
    EXPECT_EQ(tracks.size() + albums.size(), 4U) << "nothing contains an empty term";
}

TEST_F(LibraryStepTest, AnAlbumHoldsAllItsSongsInTheirOrder) {
    add(u"c"_qs, u"Guest"_qs, u"Hits"_qs).albumArtist = u"STAR"_qs;
    songs.back().trackNumber = 3;
    add(u"a"_qs, u"Star"_qs, u"HITS"_qs).trackNumber = 1;
    add(u"x"_qs, u"Stranger"_qs, u"Hits"_qs);
    for (const auto& artist : {u"One"_qs, u"Other"_qs})
        add(u"b"_qs, artist, u"Mix, hits"_qs).isCompilation = true;
    add(u"d"_qs, u"Other"_qs, u"mix, HITS"_qs); // not marked, but of the same title
    EXPECT_EQ(run(u"hits"_qs),
              (QStringList{u"Hits/STAR: a c"_qs, u"Hits/Stranger: x"_qs,
                           u"Mix, hits/Various Artists: b b d"_qs, u"mix, HITS/Other: b d"_qs}));
}

TEST_F(LibraryStepTest, TheListsAreLimitedAndArtIsReadForWhatIsShownAlone) {
    for (int number = 0; number < 30; ++number) {
        add(u"song"_qs, u"A"_qs, u"%1"_qs.arg(number / 2)).hasArtwork = number % 3 == 0;
        add(u"song %1"_qs.arg(number), u"A"_qs, u"more %1"_qs.arg(number)).hasArtwork = true;
    }
    EXPECT_TRUE(run(u"SONG"_qs).isEmpty());
    EXPECT_EQ(tracks.size(), 19U) << "of 25 songs six were there already";
    EXPECT_EQ(run(u"A"_qs).size(), 20);
    EXPECT_EQ(library.read.size(), 16U) << "four begin with a song without";
    EXPECT_EQ(albums.items()[3]->image(), sSharedAlbumArtworkImage());
    EXPECT_EQ(albums.items()[0]->image().pixels().width(), 176);
}

TEST_F(LibraryStepTest, ACancelledStepEndsBeforeItsNextItem) {
    for (const auto& name : {u"A"_qs, u"AA"_qs})
        add(name, u"A"_qs, name);
    const QStringList reached{u"0"_qs,
                              u"1"_qs,
                              u"2"_qs,
                              u"2"_qs,
                              u"2A/A: "_qs,
                              u"2A/A: AA/A: "_qs,
                              u"2A/A: AA/A: "_qs,
                              u"2A/A: AAA/A: "_qs};
    for (int steps = 0; steps < reached.size(); ++steps) {
        tracks = {};
        albums = {};
        const QString found = run(u"A"_qs, steps).join(QString());
        EXPECT_EQ(QString::number(tracks.size()) + found, reached[steps]) << steps;
    }
}

TEST_F(LibraryStepTest, ALaterServiceAddsItsKeyToWhatIsThere) {
    const auto fold = [this](const QString& name, auto make) {
        tracks.fold(
            make({.id = name, .name = name, .albumName = u"B"_qs, .artistName = u"A"_qs}, u"key"_qs + name));
    };
    fold(u"song"_qs, Track::iTunesTrack);
    for (const auto& name : {u"other"_qs, u"SONG"_qs, u"Song"_qs})
        fold(name, Track::SpotifyTrack);
    ASSERT_EQ(names(tracks.items()), u"song other"_qs);
    EXPECT_EQ(tracks.items()[0]->iTunesPlayKey(), u"keysong"_qs);
    EXPECT_EQ(tracks.items()[0]->spotifyPlayKey(), u"keySong"_qs) << "the last key counts";
    EXPECT_TRUE(tracks.items()[0]->isTrackType(ItemSourceType::Spotify));
}

} // namespace
} // namespace merlode
