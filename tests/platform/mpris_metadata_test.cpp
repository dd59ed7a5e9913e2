#include "platform/linux/mpris_metadata.h"

#include <QDBusObjectPath>
#include <QDBusVariant>

#include <cmath>
#include <limits>

#include <gtest/gtest.h>

namespace merlode::mpris {
namespace {

QVariant path(const QString& text) {
    return QVariant::fromValue(QDBusObjectPath(text));
}

QVariant wrapped(const QVariant& value) {
    return QVariant::fromValue(QDBusVariant(value));
}

ScriptedTrack trackWith(const QString& key, const QVariant& value) {
    return trackFrom({{u"xesam:discNumber"_qs, 1}, {key, value}}).value_or(ScriptedTrack());
}

TEST(MprisMetadata, IdentityIsTheSameInWhicheverFormThePlayerNamesTheTrack) {
    const struct {
        const char* trackId;
        const char* url;
        const char* identity; // null where there is none
    } cases[] = {
        {"/com/spotify/track/4uLU6hMC", "https://open.spotify.com/track/4uLU6hMC", "spotify:track:4uLU6hMC"},
        {"spotify:track:4uLU6hMC", "", "spotify:track:4uLU6hMC"},
        {"", "https://open.spotify.com/intl-de/track/4uLU6hMC?si=12#x", "spotify:track:4uLU6hMC"},
        {"/com/spotify/ad/9zX", "https://open.spotify.com/ad/9zX", "spotify:ad:9zX"},
        {"spotify:ad:9zX", "https://open.spotify.com/track/4uLU6hMC", "spotify:ad:9zX"},
        {"/com/spotify/track/4uLU6hMC", "https://open.spotify.com/ad/9zX", "spotify:ad:9zX"},
        {"spotify:local:Artist::ad:30", "", "spotify:local:Artist::ad:30"},
        {"/org/player/ad/12", "file:///music/ad/a.flac", "file:///music/ad/a.flac"},
        {"/org/player/tracks/12", "file:///a.flac", "file:///a.flac"},
        {"/org/player/tracks/12", "", "/org/player/tracks/12"},
        {"/x", "https://open.spotify.com/track/../etc", "https://open.spotify.com/track/../etc"},
        {"/org/mpris/MediaPlayer2/TrackList/NoTrack", "", nullptr},
        {"", "", nullptr},
    };
    for (const auto& c : cases) {
        const auto expected = c.identity ? std::optional(QString::fromUtf8(c.identity)) : std::nullopt;
        EXPECT_EQ(identityOf(QString::fromUtf8(c.trackId), QString::fromUtf8(c.url)), expected) << c.trackId;
    }
}

TEST(MprisMetadata, LengthsOfEveryTypeAreReadAndNonsenseIsAbsent) {
    const struct {
        QVariant length;
        std::optional<double> seconds;
    } cases[] = {
        {qint64(2'500'000), 2.5},
        {2.5e6, 2.5},
        {u"2500000"_qs, 2.5},
        {wrapped(wrapped(qint64(2'500'000))), 2.5},
        {u"two minutes"_qs, std::nullopt},
        {qint64(0), std::nullopt},
        {std::numeric_limits<quint64>::max(), std::nullopt},
        {std::numeric_limits<double>::infinity(), std::nullopt},
        {std::nan(""), std::nullopt},
        {QVariant(), std::nullopt},
    };
    for (const auto& c : cases)
        EXPECT_EQ(trackWith(u"mpris:length"_qs, c.length).duration, c.seconds) << c.length.typeName();
}

TEST(MprisMetadata, ArtistsComeAsListsOrAsOneText) {
    const QString longText(kLongestPlayerText + 1, u'x');
    const struct {
        QVariant artist;
        std::optional<QString> text;
    } cases[] = {
        {QStringList{u"A"_qs, u"B"_qs}, u"A, B"_qs}, {QVariantList{u"A"_qs, wrapped(u"B"_qs)}, u"A, B"_qs},
        {wrapped(QStringList{u"A"_qs}), u"A"_qs},    {QStringList(), u""_qs},
        {QVariantList{u"A"_qs, 7}, std::nullopt},    {QStringList{longText}, std::nullopt},
    };
    for (const auto& c : cases)
        EXPECT_EQ(trackWith(u"xesam:artist"_qs, c.artist).artist, c.text) << c.artist.typeName();
}

TEST(MprisMetadata, TextsAndAddressesAreCleanedAndEmptyIsNotAbsent) {
    const auto title = [](const QVariant& value) { return trackWith(u"xesam:title"_qs, value).name; };
    EXPECT_EQ(title(u"Line\nbreak\x1b[0m"_qs), u"Line break [0m"_qs);
    EXPECT_EQ(title(u""_qs), u""_qs);
    EXPECT_EQ(title(QString(kLongestPlayerText + 1, u'x')), std::nullopt);
    EXPECT_EQ(title(42), std::nullopt);
    const auto track = trackWith(u"xesam:url"_qs, u"file:///my music/a%25.flac"_qs);
    EXPECT_EQ(track.url, u"file:///my%20music/a%25.flac"_qs);
    EXPECT_EQ(track.id, track.url);
    EXPECT_EQ(track.name, u"a%"_qs) << "the file names an untagged track";
    EXPECT_EQ(trackWith(u"xesam:url"_qs, u"file:///a\nb"_qs), ScriptedTrack());
    const auto noTrack = path(u"/org/mpris/MediaPlayer2/TrackList/NoTrack"_qs);
    EXPECT_EQ(trackFrom({{u"mpris:trackid"_qs, noTrack}, {u"xesam:title"_qs, u"old"_qs}}), std::nullopt);
    EXPECT_EQ(trackWith(u"mpris:trackid"_qs, u"spotify:ad:1"_qs).album, u""_qs) << "it tells what it likes";
}

TEST(MprisMetadata, OnlyARealObjectPathIsSentBack) {
    const auto pathOf = [](const QVariant& id) { return trackPathFrom({{u"mpris:trackid"_qs, id}}); };
    EXPECT_EQ(pathOf(path(u"/org/x/1"_qs)), u"/org/x/1"_qs);
    EXPECT_EQ(pathOf(u"/org/x/1"_qs), u"/org/x/1"_qs);
    for (const auto& bad : {u"spotify:track:1"_qs, u"/"_qs, u"/a//b"_qs, u"/a/"_qs, u"/a-b"_qs, QString()})
        EXPECT_EQ(pathOf(bad), std::nullopt) << bad.toStdString();
}

} // namespace
} // namespace merlode::mpris
