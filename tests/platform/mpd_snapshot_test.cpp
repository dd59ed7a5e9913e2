#include "platform/linux/mpd_art.h"
#include "platform/linux/mpd_snapshot.h"

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

TEST(MpdSnapshot, TellsTheTrack) {
    const auto track = snapshot(kPlaying).track(u"/m"_qs);
    EXPECT_EQ(track->url, u"file:///m/a/b%20c.flac"_qs);
    EXPECT_EQ(track->artist, u"Ann, Bob"_qs);
    EXPECT_EQ(track->duration, 200) << "what plays knows it better than the tags";
}

TEST(MpdSnapshot, OfAStreamLeavesOutWhatTheStreamDoesNotTell) {
    const auto found =
        snapshot("state: play\nplaylistlength: 1\nelapsed: 7\nfile: http://radio/x\nName: Radio\n");
    ScriptedTrack expected;
    expected.id = expected.url = u"http://radio/x"_qs;
    EXPECT_EQ(found.track({}), expected);
    EXPECT_EQ(found.position(3), 10) << "it has no end to be bounded by";
    EXPECT_FALSE(found.capabilities().canSeek);
    EXPECT_FALSE(found.song->isInLibrary());
}

TEST(MpdSnapshot, BrokenValuesCountAsAbsent) {
    auto lines = QByteArray("volume: -1|volume: 101|volume: loud|state: rewinding|playlistlength: -3|"
                            "playlistlength: 99999999999|duration: inf|duration: nan|duration: 0|elapsed: -4|"
                            "elapsed: 1e300|Track: 0|Track: 4294967297|Track: /|Title:  \t |Title: \x01\x02")
                     .split('|');
    lines << "Title: " + QByteArray(kLongestPlayerText + 1, 'a');
    lines << "Artist: " + QByteArray(3000, 'a') + "\nArtist: " + QByteArray(3000, 'b');
    for (const QByteArray& line : lines) {
        const auto found = snapshot(line + "\nfile: http://x\n" + line);
        ScriptedTrack onlyItsAddress;
        onlyItsAddress.id = onlyItsAddress.url = u"http://x"_qs;
        EXPECT_EQ(found.track({}), onlyItsAddress) << line.data();
        EXPECT_FALSE(found.volume || found.state || found.elapsed > 0 || found.queueLength > 0)
            << line.data();
    }
    EXPECT_EQ(cleanPlayerText("a\x1b[31mb\r"), QString::fromUtf8("a [31mb"));
    EXPECT_TRUE(cleanPlayerText("\xff\xfe\xc3").has_value());
}

TEST(MpdSnapshot, ChangesAreAnnouncedWhereSomebodyWouldCare) {
    const struct {
        QByteArray from;
        QByteArray to;
        double later;
        bool expected;
    } cases[] = {{"elapsed: 10.5", "elapsed: 13.4", 3, false}, // played on
                 {"elapsed: 10.5", "elapsed: 10.5", 3, true},  // stood still
                 {"elapsed: 10.5", "elapsed: 1", 0, true},     {"state: play", "state: pause", 0, true},
                 {"volume: 70", "volume: 90", 0, false},       {"volume: 70", "volume: -1", 0, true},
                 {"file: a/b c.flac", "file: z.flac", 0, true}};
    for (const auto& [from, to, later, expected] : cases) {
        QByteArray text = kPlaying;
        text.replace(from, to);
        EXPECT_EQ(isAnnounceable(snapshot(kPlaying, 100), snapshot(text, 100 + later)), expected)
            << to.constData();
    }
}

TEST(MpdSnapshot, PositionStopsAtTheEndAndWhilePaused) {
    EXPECT_EQ(snapshot(kPlaying, 5).position(15), 20.5);
    EXPECT_EQ(snapshot(kPlaying, 5).position(5000), 200);
    EXPECT_EQ(snapshot(kPlaying, 5).position(1), 10.5) << "a clock read before the anchor";
    EXPECT_EQ(snapshot("state: pause\nelapsed: 10.5\nfile: x", 5).position(15), 10.5);
}

TEST(MpdLibrary, FindsExactMatchesInTheOrderOfTheAlbum) {
    const auto library = parseSongs(
        pairs("file: x/2.flac\nTitle: B\nAlbum: L\nArtist: Ann\nAlbumArtist: Various\nTrack: 10\n"
              "file: x/1.flac\nTitle: A\nAlbum: L\nArtist: Bob\nAlbumArtist: Various\nTrack: 2/10\n"
              "file: x/3.flac\nTitle: A\nAlbum: L\nArtist: Ann\nArtist: Bob\nTrack: 1\nDisc: 2/2\n"
              "file: z.flac\nTitle: A\nArtist: Ann\n"));
    const struct {
        LibraryQuery query;
        const char* expected;
    } cases[] = {{{u""_qs, u"L"_qs, u"Various"_qs}, "x/1.flac x/2.flac"},
                 {{u""_qs, u"L"_qs, u"Ann"_qs}, "x/2.flac x/3.flac"},
                 {{u"A"_qs, u"L"_qs, u"Bob"_qs}, "x/1.flac x/3.flac"},
                 {{u"A"_qs, u"L"_qs, u"Ann, Bob"_qs}, "x/3.flac"},
                 {{u"a"_qs, u"L"_qs, u"Bob"_qs}, ""},
                 {{u"A"_qs, u""_qs, u"Ann"_qs}, "z.flac"}};
    for (const auto& [query, expected] : cases) {
        QByteArrayList found;
        for (const auto& song : matchingSongs(library, query))
            found << song.uri;
        EXPECT_EQ(found.join(' ').toStdString(), expected);
    }
}

TEST(MpdLibrary, AKeyBecomesWhatTheServerTakes) {
    const struct {
        const char* key;
        std::optional<QByteArray> expected;
        bool isSocket = true;
    } cases[] = {{"a/b.flac", "a/b.flac"},
                 {"file:///m/a%20b.flac", "a b.flac", false},
                 {"file:///music/a.flac", "file:///music/a.flac"},
                 {"file:///music/a.flac", {}, false},
                 {"https://radio/x", "https://radio/x"},
                 {"file://host/x", {}},
                 {"a.flac\nclear", {}},
                 {"file:///m/a%0Aclear", {}},
                 {"", {}}};
    for (const auto& [key, expected, isSocket] : cases)
        EXPECT_EQ(playableUri(QString::fromUtf8(key), u"/m"_qs, isSocket), expected) << key;
}

TEST(MpdRating, IgnoresWhatOthersWroteWrongly) {
    EXPECT_EQ(ratingStickerValue(1000), "10");
    for (const char* value : {"rating=11", "rating=-1", "rating=five", "stars=3", ""})
        EXPECT_FALSE(parseRatingSticker(value)) << value;
}

TEST(MpdArtKey, JoinsOnlySongsOfOneAlbumInOneFolder) {
    const auto songs = parseSongs(pairs("file: x/1\nAlbum: L\nfile: x/2\nAlbum: L\nfile: y/1\nAlbum: L\n"
                                        "file: x/3\nAlbum: M\nfile: x/4\nfile: x/5\n"));
    EXPECT_EQ(albumArtKey(songs[0]), albumArtKey(songs[1]));
    for (const auto& [one, other] : {std::pair{0, 2}, {0, 3}, {4, 5}})
        EXPECT_NE(albumArtKey(songs[one]), albumArtKey(songs[other])) << one;
}

} // namespace
} // namespace merlode
