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
    void run(const QString& term) {
        searchLibrary(
            LibrarySongs(songs), term, [this] { return steps-- <= 0; }, tracks, albums);
    }
    QStringList trackNames() const {
        QStringList names;
        for (const auto& track : tracks.items())
            names << track->name();
        return names;
    }
    QStringList albumNames() const {
        QStringList names;
        for (const auto& album : albums.items())
            names << album->name() + u" by "_qs + album->artistName();
        return names;
    }

    FakeHttp http;
    ItemLink link;
    MemoryUserDefaults settings;
    TestSession test;
    std::vector<LibrarySong> songs;
    FakeMediaLibrary library;
    int steps = 1000;
    FoldedList<Track> tracks;
    FoldedList<Album> albums;
};

TEST_F(LibraryStepTest, SongsAreFoundInAnyCaseAlbumsByTheirArtistsInTheVeryCase) {
    add(u"One"_qs, u"Queen"_qs, u"Jazz"_qs).discNumber = 2;
    add(u"Dancing QUEEN"_qs, u"Abba"_qs, u"Arrival"_qs).totalTime = 231'844;
    add(u"ONE"_qs, u"queen"_qs, u"jazz"_qs); // the song that is there already
    add(u"Two"_qs, u"Nobody"_qs, u"The queen"_qs);
    run(u"queen"_qs);
    EXPECT_EQ(trackNames(), (QStringList{u"One"_qs, u"Dancing QUEEN"_qs}));
    EXPECT_EQ(albumNames(), (QStringList{u"jazz by queen"_qs, u"The queen by Nobody"_qs}));
    const auto& first = *tracks.items()[0];
    EXPECT_EQ(first.id() + first.iTunesPlayKey().value_or(QString()), u"00000000000000010000000000000001"_qs);
    EXPECT_EQ(first.discNumber(), 2U);
    EXPECT_EQ(tracks.items()[1]->discNumber(), 1U) << "where none is known";
    EXPECT_EQ(tracks.items()[1]->duration(), 231'844) << "in the library's own unit";
    EXPECT_EQ(albums.items()[0]->id(), u"iTunes"_qs);
    test.loop.runUntilIdle();
    EXPECT_FALSE(http.requests().empty()) << "other services are asked for the keys";
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
    run(u"hits"_qs);
    ASSERT_EQ(albumNames(), (QStringList{u"Hits by STAR"_qs, u"Hits by Stranger"_qs,
                                         u"Mix, hits by Various Artists"_qs, u"mix, HITS by Other"_qs}));
    std::vector<QStringList> lists;
    for (const auto& album : albums.items()) {
        for (QStringList& names = lists.emplace_back(); const auto& track : album->tracks())
            names << track->name();
    }
    EXPECT_EQ(lists, (std::vector<QStringList>{
                         {u"a"_qs, u"c"_qs}, {u"x"_qs}, {u"b"_qs, u"b"_qs, u"d"_qs}, {u"b"_qs, u"d"_qs}}));
}

TEST_F(LibraryStepTest, TheListsAreLimitedAndArtIsReadForWhatIsShownAlone) {
    for (int number = 0; number < 30; ++number) {
        add(u"song"_qs, u"A"_qs, u"%1"_qs.arg(number / 2)).hasArtwork = number % 3 == 0;
        add(u"song %1"_qs.arg(number), u"A"_qs, u"more %1"_qs.arg(number)).hasArtwork = true;
    }
    run(u"SONG"_qs);
    EXPECT_EQ(tracks.size(), 19U) << "of 25 songs six were there already";
    EXPECT_TRUE(albums.items().empty());
    run(u"A"_qs);
    EXPECT_EQ(albums.size(), 20U);
    EXPECT_EQ(library.read.size(), 16) << "four begin with a song without";
    EXPECT_EQ(albums.items()[3]->image(), sSharedAlbumArtworkImage());
    EXPECT_EQ(albums.items()[0]->image().pixels().width(), 176);
}

TEST_F(LibraryStepTest, ACancelledStepEndsBeforeItsNextItem) {
    for (int number = 0; number < 3; ++number)
        add(u"A%1"_qs.arg(number), u"A"_qs, u"A%1"_qs.arg(number)).hasArtwork = true;
    const std::vector<std::array<std::size_t, 3>> reached{{0, 0, 0}, {1, 0, 0}, {2, 0, 0}, {3, 0, 0},
                                                          {3, 0, 0}, {3, 1, 0}, {3, 2, 0}, {3, 3, 0},
                                                          {3, 3, 0}, {3, 3, 1}};
    for (int allowed = 0; allowed < int(reached.size()); ++allowed) {
        tracks = {};
        albums = {};
        steps = allowed;
        run(u"A"_qs);
        const std::size_t filled = std::size_t(std::ranges::count_if(
            albums.items(), [](const auto& album) { return !album->tracks().empty(); }));
        EXPECT_EQ((std::array{tracks.size(), albums.size(), filled}), reached[std::size_t(allowed)])
            << allowed;
    }
}

TEST_F(LibraryStepTest, ALaterServiceAddsItsKeyToWhatIsThere) {
    const auto track = [](const QString& name, auto make) {
        return make({.id = name, .name = name, .albumName = u"B"_qs, .artistName = u"A"_qs},
                    u"key"_qs + name);
    };
    tracks.fold(track(u"song"_qs, Track::iTunesTrack));
    tracks.fold(track(u"other"_qs, Track::SpotifyTrack));
    tracks.fold(track(u"SONG"_qs, Track::SpotifyTrack));
    tracks.fold(track(u"Song"_qs, Track::SpotifyTrack));
    EXPECT_EQ(trackNames(), (QStringList{u"song"_qs, u"other"_qs}));
    const auto& first = *tracks.items()[0];
    EXPECT_EQ(first.iTunesPlayKey(), u"keysong"_qs);
    EXPECT_EQ(first.spotifyPlayKey(), u"keySong"_qs) << "the last key counts";
    EXPECT_TRUE(first.isTrackType(ItemSourceType::iTunes) && first.isTrackType(ItemSourceType::Spotify));
}

} // namespace
} // namespace merlode
