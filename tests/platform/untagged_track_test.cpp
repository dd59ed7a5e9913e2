#include "platform/linux/untagged_track.h"

#include <gtest/gtest.h>

namespace merlode {
namespace {

TEST(UntaggedTrackTest, AFileIsNamedByItsPathAndAStreamIsLeftAlone) {
    struct Case {
        QString location;
        std::optional<QString> title;
        std::optional<QString> expected;
        bool isFile;
    };
    const Case cases[] = {
        {QStringLiteral("file:///music/a%20b/01%20Été.live.flac"), {}, QStringLiteral("01 Été.live"), true},
        {QStringLiteral("file:///music/raw blank 100%25.ogg"), {}, QStringLiteral("raw blank 100%"), true},
        {QStringLiteral("Folder/曲.mp3"), {}, QStringLiteral("曲"), true},
        {QStringLiteral("/music/x.mp3"), QString(), QStringLiteral("x"), true},
        {QStringLiteral("file:///music/x.mp3"), QStringLiteral("Title"), QStringLiteral("Title"), true},
        {QStringLiteral("http://radio.example/live"), {}, {}, false},
        {QStringLiteral("https://open.spotify.com/track/1"), QStringLiteral("Song"), QStringLiteral("Song"),
         false},
        {QString(), {}, {}, false},
    };
    for (const auto& [location, title, expected, isFile] : cases) {
        ScriptedTrack track;
        track.name = title;
        completeFileTrack(track, location);
        EXPECT_EQ(track.name, expected) << qPrintable(location);
        EXPECT_EQ(track.artist.has_value(), isFile) << qPrintable(location);
        EXPECT_EQ(track.album.has_value(), isFile) << qPrintable(location);
    }
}

} // namespace
} // namespace merlode
