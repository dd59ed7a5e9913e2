#include "base/property_list.h"
#include "model/track.h"

#include <gtest/gtest.h>

namespace merlode {
namespace {

const Track::Details kSong{.id = u"7"_qs,
                           .name = u"n"_qs,
                           .albumName = u"b"_qs,
                           .artistName = u"a"_qs,
                           .duration = 1500,
                           .isExplicit = true,
                           .trackNumber = 3};

TEST(TrackTest, EqualityIgnoresCaseAndNamesThatRunIntoEachOtherStayApart) {
    EXPECT_EQ(ItemIdentity({u"Song"_qs, u"Ärtist"_qs}), ItemIdentity({u"SONG"_qs, u"äRTIST"_qs}));
    const std::vector<ItemIdentity> apart = {
        ItemIdentity({u"ab"_qs, u"c"_qs}),
        ItemIdentity({u"a"_qs, u"bc"_qs}),
        ItemIdentity({u"bc"_qs, u"a"_qs}),
        ItemIdentity({u"a1:b"_qs, u""_qs}),
        ItemIdentity({u"a"_qs, u"b0:"_qs}),
        ItemIdentity({QString(QChar::Null), u""_qs}),
        ItemIdentity({u""_qs, QString(QChar::Null)}),
    };
    for (std::size_t i = 0; i < apart.size(); ++i) {
        for (std::size_t j = 0; j < i; ++j)
            EXPECT_FALSE(apart[i] == apart[j]) << i << " and " << j;
    }
}

TEST(TrackTest, SpotifyMillisecondsRoundToWholeSeconds) {
    auto details = kSong;
    for (const auto& [milliseconds, seconds] :
         std::vector<std::pair<qint64, qint64>>{{499, 0}, {1499, 1}, {2500, 3}, {-1500, -2}}) {
        details.duration = milliseconds;
        EXPECT_EQ(Track::SpotifyTrack(details, u""_qs)->duration(), seconds) << milliseconds;
    }
    details.duration = std::numeric_limits<qint64>::max(); // a reply can hold any number
    EXPECT_GT(Track::SpotifyTrack(details, u""_qs)->duration(), 0);
}

TEST(TrackTest, DictionaryAndCopyHaveWhatTheTrackHas) {
    const auto track = Track::SpotifyTrack(kSong, u"S"_qs);
    track->setDiscNumber(std::numeric_limits<quint64>::max());
    const QVariantMap expected{{u"id"_qs, u"7"_qs},
                               {u"trackName"_qs, u"n"_qs},
                               {u"albumName"_qs, u"b"_qs},
                               {u"artistName"_qs, u"a"_qs},
                               {u"duration"_qs, 2},
                               {u"explicit"_qs, true},
                               {u"number"_qs, 3},
                               {u"discNumber"_qs, std::numeric_limits<qint64>::max()},
                               {u"spotifyPlayKey"_qs, u"S"_qs}};
    const auto copy = Track::copyTrack(*track); // whose duration is not divided again
    for (const auto& one : {track, copy})
        EXPECT_EQ(property_list::parse(property_list::serialize(one->trackToDictionary())),
                  QVariant(expected));
}

} // namespace
} // namespace merlode
