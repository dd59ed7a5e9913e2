#include "platform/linux/mpd_art.h"
#include "platform/linux/mpd_snapshot.h"

#include <set>

#include <gtest/gtest.h>

namespace merlode {
namespace {

std::vector<MpdPair> pairs(const QByteArray& text) {
    std::vector<MpdPair> found;
    for (const QByteArray& line : text.split('\n')) {
        if (const auto colon = line.indexOf(": "); colon > 0)
            found.push_back({line.left(colon), line.mid(colon + 2)});
    }
    return found;
}

const QByteArray kPlaying = "volume: 70\nplaylistlength: 2\nstate: play\nelapsed: 10.5\nduration: 200\n"
                            "file: a/b c.flac\nTitle: One\nAlbum: First\nArtist: Ann\nArtist: Bob\n"
                            "Track: 3/12\nTime: 199\nduration: 199.5\n";

MpdSnapshot snapshot(const QByteArray& text, double takenAt = 0) {
    return parseSnapshot(pairs(text), takenAt);
}

TEST(MpdSnapshot, TellsTheWholeTrack) {
    const auto track = snapshot(kPlaying).track(QStringLiteral("/m"));
    const ScriptedTrack expected{.id = QStringLiteral("a/b c.flac"),
                                 .url = QStringLiteral("file:///m/a/b%20c.flac"),
                                 .name = QStringLiteral("One"),
                                 .album = QStringLiteral("First"),
                                 .artist = QStringLiteral("Ann, Bob"),
                                 .duration = 200,
                                 .number = 3};
    EXPECT_EQ(track, expected);
}

TEST(MpdSnapshot, OfAStreamLeavesOutWhatTheStreamDoesNotTell) {
    const auto found =
        snapshot("state: play\nplaylistlength: 1\nelapsed: 7\nfile: http://radio/x\nName: Radio\n");
    ScriptedTrack expected;
    expected.id = expected.url = QStringLiteral("http://radio/x");
    EXPECT_EQ(found.track({}), expected);
    EXPECT_EQ(found.position(3), 10) << "it has no end to be bounded by";
    EXPECT_FALSE(found.capabilities().canSeek);
    EXPECT_FALSE(found.song->isInLibrary());
}

struct BrokenCase {
    const char* name;
    QByteArray line;
};

class MpdBrokenValue : public testing::TestWithParam<BrokenCase> {};

TEST_P(MpdBrokenValue, CountsAsAbsent) {
    const auto found = snapshot(GetParam().line + "\nfile: http://x\n" + GetParam().line);
    const auto track = found.track({});
    EXPECT_FALSE(found.volume || found.duration || found.elapsed > 0 || found.queueLength > 0 || found.state);
    EXPECT_FALSE(track->name || track->album || track->artist || track->duration || track->number);
}

INSTANTIATE_TEST_SUITE_P(
    , MpdBrokenValue,
    testing::Values(BrokenCase{"noMixer", "volume: -1"}, BrokenCase{"tooLoud", "volume: 101"},
                    BrokenCase{"wordVolume", "volume: loud"}, BrokenCase{"unknownState", "state: rewinding"},
                    BrokenCase{"negativeLength", "playlistlength: -3"},
                    BrokenCase{"hugeLength", "playlistlength: 99999999999"},
                    BrokenCase{"infiniteDuration", "duration: inf"},
                    BrokenCase{"nanDuration", "duration: nan"}, BrokenCase{"zeroDuration", "duration: 0"},
                    BrokenCase{"negativeElapsed", "elapsed: -4"},
                    BrokenCase{"endlessElapsed", "elapsed: 1e300"}, BrokenCase{"zeroTrack", "Track: 0"},
                    BrokenCase{"negativeTrack", "Track: -1/3"}, BrokenCase{"hugeTrack", "Track: 4294967297"},
                    BrokenCase{"slashTrack", "Track: /"}, BrokenCase{"blankTitle", "Title:  \t "},
                    BrokenCase{"controlTitle", "Title: \x01\x02"},
                    BrokenCase{"endlessTitle", "Title: " + QByteArray(kLongestPlayerText + 1, 'a')},
                    BrokenCase{"endlessArtists",
                               "Artist: " + QByteArray(3000, 'a') + "\nArtist: " + QByteArray(3000, 'b')}),
    [](const auto& each) { return std::string(each.param.name); });

TEST(MpdTexts, LoseControlCharactersAndSurviveBrokenUtf8) {
    EXPECT_EQ(cleanPlayerText("a\x1b[31mb\r"), QString::fromUtf8("a [31mb"));
    EXPECT_TRUE(cleanPlayerText("\xff\xfe\xc3").has_value());
}

struct ChangeCase {
    const char* name;
    QByteArray from;
    QByteArray to;
    double later;
    bool expected;
};

class MpdChange : public testing::TestWithParam<ChangeCase> {};

TEST_P(MpdChange, IsAnnouncedWhereSomebodyWouldCare) {
    QByteArray text = kPlaying;
    text.replace(GetParam().from, GetParam().to);
    EXPECT_EQ(isAnnounceable(snapshot(kPlaying, 100), snapshot(text, 100 + GetParam().later)),
              GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    , MpdChange,
    testing::Values(ChangeCase{"playedOn", "elapsed: 10.5", "elapsed: 13.4", 3, false},
                    ChangeCase{"stoodStill", "elapsed: 10.5", "elapsed: 10.5", 3, true},
                    ChangeCase{"jumped", "elapsed: 10.5", "elapsed: 40", 0, true},
                    ChangeCase{"jumpedBack", "elapsed: 10.5", "elapsed: 1", 0, true},
                    ChangeCase{"paused", "state: play", "state: pause", 0, true},
                    ChangeCase{"louder", "volume: 70", "volume: 90", 0, false},
                    ChangeCase{"mixerGone", "volume: 70", "volume: -1", 0, true},
                    ChangeCase{"retitled", "Title: One", "Title: Uno", 0, true},
                    ChangeCase{"sameSongElsewhere", "file: a/b c.flac", "file: z.flac", 0, true},
                    ChangeCase{"queueGrew", "playlistlength: 2", "playlistlength: 9", 0, false},
                    ChangeCase{"otherTags", "Artist: Bob\n", "Artist: Bob\nGenre: Jazz\n", 0, false}),
    [](const auto& each) { return std::string(each.param.name); });

TEST(MpdSnapshot, PositionStopsAtTheEndAndWhilePaused) {
    QByteArray paused = kPlaying;
    paused.replace("state: play", "state: pause");
    EXPECT_EQ(snapshot(kPlaying, 5).position(15), 20.5);
    EXPECT_EQ(snapshot(kPlaying, 5).position(5000), 200);
    EXPECT_EQ(snapshot(kPlaying, 5).position(1), 10.5) << "a clock read before the anchor";
    EXPECT_EQ(snapshot(paused, 5).position(15), 10.5);
    EXPECT_FALSE(snapshot("state: stop\nvolume: 3").position(15));
}

const QByteArray kLibrary =
    "file: x/2.flac\nTitle: B\nAlbum: L\nArtist: Ann\nAlbumArtist: Various\nTrack: 10\n"
    "file: x/1.flac\nTitle: A\nAlbum: L\nArtist: Bob\nAlbumArtist: Various\nTrack: 2/10\n"
    "file: x/3.flac\nTitle: A\nAlbum: L\nArtist: Ann\nArtist: Bob\nTrack: 1\nDisc: 2/2\n"
    "file: y.flac\nTitle: A\nAlbum: l\nArtist: Ann\n"
    "file: z.flac\nTitle: A\nArtist: Ann\n";

struct QueryCase {
    const char* name;
    const char* title;
    const char* album;
    const char* artist;
    const char* expected;
};

class MpdQuery : public testing::TestWithParam<QueryCase> {};

TEST_P(MpdQuery, FindsExactMatchesInTheOrderOfTheAlbum) {
    const auto& p = GetParam();
    const LibraryQuery query{.name = QString::fromUtf8(p.title),
                             .album = QString::fromUtf8(p.album),
                             .artist = QString::fromUtf8(p.artist)};
    QByteArrayList found;
    for (const auto& song : matchingSongs(parseSongs(pairs(kLibrary)), query))
        found << song.uri;
    EXPECT_EQ(found.join(' ').toStdString(), p.expected);
}

INSTANTIATE_TEST_SUITE_P(, MpdQuery,
                         testing::Values(QueryCase{"album", "", "L", "Various", "x/1.flac x/2.flac"},
                                         QueryCase{"albumByArtist", "", "L", "Ann", "x/2.flac x/3.flac"},
                                         QueryCase{"track", "A", "L", "Bob", "x/1.flac x/3.flac"},
                                         QueryCase{"trackByAllArtists", "A", "L", "Ann, Bob", "x/3.flac"},
                                         QueryCase{"trackByAlbumArtist", "A", "L", "Various", ""},
                                         QueryCase{"otherCase", "a", "L", "Bob", ""},
                                         QueryCase{"noAlbum", "A", "", "Ann", "z.flac"}),
                         [](const auto& each) { return std::string(each.param.name); });

struct KeyCase {
    const char* name;
    const char* key;
    const char* expected; // null: refused
    bool isSocket = true;
};

class MpdKey : public testing::TestWithParam<KeyCase> {};

TEST_P(MpdKey, BecomesWhatTheServerTakes) {
    const auto found =
        playableUri(QString::fromUtf8(GetParam().key), QStringLiteral("/m"), GetParam().isSocket);
    ASSERT_EQ(found.has_value(), GetParam().expected != nullptr);
    if (found) {
        EXPECT_EQ(*found, GetParam().expected);
    }
}

INSTANTIATE_TEST_SUITE_P(
    , MpdKey,
    testing::Values(
        KeyCase{"libraryUri", "a/b.flac", "a/b.flac"},
        KeyCase{"insideLibrary", "file:///m/a%20b.flac", "a b.flac", false},
        KeyCase{"besideLibrary", "file:///music/a.flac", "file:///music/a.flac"},
        KeyCase{"outsideOverNetwork", "file:///music/a.flac", nullptr, false},
        KeyCase{"web", "https://radio/x", "https://radio/x"}, KeyCase{"otherScheme", "smb://host/x", nullptr},
        KeyCase{"otherHost", "file://host/x", nullptr}, KeyCase{"newCommand", "a.flac\nclear", nullptr},
        KeyCase{"encodedNewCommand", "file:///m/a%0Aclear", nullptr}, KeyCase{"empty", "", nullptr}),
    [](const auto& each) { return std::string(each.param.name); });

TEST(MpdRating, KeepsItsStarsAndIgnoresOthersNonsense) {
    for (int rating = 0; rating <= 100; rating += 20)
        EXPECT_EQ(parseRatingSticker("rating=" + ratingStickerValue(rating)), rating);
    EXPECT_EQ(ratingStickerValue(1000), "10");
    for (const char* value : {"rating=11", "rating=-1", "rating=", "rating=five", "stars=3", ""})
        EXPECT_FALSE(parseRatingSticker(value)) << value;
}

TEST(MpdArtKey, JoinsOnlySongsOfOneAlbumInOneFolder) {
    const auto songs = parseSongs(pairs("file: x/1\nAlbum: L\nfile: x/2\nAlbum: L\nfile: y/1\nAlbum: L\n"
                                        "file: x/3\nAlbum: M\nfile: x/4\nfile: x/5\n"));
    std::set<QByteArray> keys;
    for (const auto& song : songs)
        keys.insert(albumArtKey(song));
    EXPECT_EQ(albumArtKey(songs[0]), albumArtKey(songs[1]));
    EXPECT_EQ(keys.size(), 5U) << "songs without an album never share";
}

} // namespace
} // namespace merlode
