#include "search/library_step.h"
#include "support/fake_ports.h"
#include "support/test_session.h"

#include <gtest/gtest.h>

namespace merlode {
namespace {

class LibraryStepTest : public testing::Test {
  protected:
    LibraryStepTest() { test.session.installReference<MediaLibrary>(library); }

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
        QString text;
        for (const auto& track : of)
            text += track->name() + u' ';
        return text.trimmed();
    }

    FakeMediaLibrary library;
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
    EXPECT_EQ(first.id() + *first.iTunesPlayKey(), u"00000000000000010000000000000001"_qs);
    EXPECT_TRUE(first.discNumber() == 2 && second.discNumber() == 1 && second.duration() == 231'844);
    EXPECT_EQ(run(QString()).size(), 2) << "nothing contains an empty term";
}

TEST_F(LibraryStepTest, AnAlbumHoldsAllItsSongsInTheirOrder) {
    add(u"c"_qs, u"Guest"_qs, u"Hits"_qs).albumArtist = u"STAR"_qs;
    songs.back().trackNumber = 3;
    add(u"a"_qs, u"Star"_qs, u"HITS"_qs).trackNumber = 1;
    add(u"x"_qs, u"Stranger"_qs, u"Hits"_qs);
    add(u"b"_qs, u"One"_qs, u"Mix hits"_qs).isCompilation = true;
    add(u"b"_qs, u"Two"_qs, u"Mix hits"_qs).isCompilation = true;
    add(u"d"_qs, u"Two"_qs, u"mix HITS"_qs); // not marked, but of the same title
    EXPECT_EQ(run(u"hits"_qs).join(u", "),
              u"Hits/STAR: a c, Hits/Stranger: x, Mix hits/Various Artists: b b d, mix HITS/Two: b d"_qs);
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
    EXPECT_EQ(albums.items()[0]->image().pixels().width(), 176);
}

TEST_F(LibraryStepTest, ACancelledStepEndsBeforeItsNextItem) {
    add(u"A"_qs, u"A"_qs, u"A"_qs);
    add(u"AA"_qs, u"A"_qs, u"AA"_qs);
    const auto reached = u"0|1|2|2|2A/A: |2A/A: AA/A: |2A/A: AA/A: |2A/A: AAA/A: "_qs.split(u'|');
    for (int steps = 0; steps < reached.size(); ++steps) {
        const QString found = run(u"A"_qs, steps).join(QString());
        EXPECT_EQ(QString::number(tracks.takeItems().size()) + found, reached[steps]) << steps;
        albums.takeItems();
    }
}

} // namespace
} // namespace merlode
