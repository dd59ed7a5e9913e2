#include "base/property_list.h"
#include "model/album.h"
#include "model/artist.h"
#include "model/track.h"
#include "support/test_session.h"

#include <gtest/gtest.h>

namespace merlode {
namespace {

Track::Details song(const QString& name, const QString& artist, const QString& album) {
    return {.id = u"7"_qs,
            .name = name,
            .albumName = album,
            .artistName = artist,
            .duration = 1500,
            .isExplicit = true,
            .trackNumber = 3};
}

struct Names {
    QString name;
    QString artist;
    QString album;
};

TEST(TrackTest, IsEqualByItsNamesWhateverTheCase) {
    const Names plain{u"Song"_qs, u"Ärtist"_qs, u"Album"_qs};
    const std::vector<std::pair<Names, bool>> rows = {
        {{u"SONG"_qs, u"äRTIST"_qs, u"album"_qs}, true},
        {{u"Song "_qs, u"Ärtist"_qs, u"Album"_qs}, false},
        {{u"Song"_qs, u"Artist"_qs, u"Album"_qs}, false},
        {{u"Song"_qs, u"Ärtist"_qs, u"Album (Deluxe)"_qs}, false},
        {{u"Song"_qs, u"Album"_qs, u"Ärtist"_qs}, false},
    };
    const auto track = Track::UnknownTrack(song(plain.name, plain.artist, plain.album));
    for (const auto& [names, equal] : rows) {
        const auto other = Track::iTunesTrack(song(names.name, names.artist, names.album), u"K"_qs);
        EXPECT_EQ(*track == *other, equal) << names.name.toStdString();
        EXPECT_TRUE(!equal || track->identity().hash() == other->identity().hash());
    }
}

TEST(TrackTest, NamesThatRunIntoEachOtherStayApart) {
    const std::vector<Names> lookalikes = {
        {u"ab"_qs, u"c"_qs, u""_qs},
        {u"a"_qs, u"bc"_qs, u""_qs},
        {u""_qs, u"abc"_qs, u""_qs},
        {u"a"_qs, u"b"_qs, u"c"_qs},
        {u"a1:b"_qs, u""_qs, u"c"_qs},
        {u"a"_qs, u"b0:"_qs, u"c"_qs},
        {QString(QChar::Null), u""_qs, u""_qs},
        {u""_qs, QString(QChar::Null), u""_qs},
    };
    for (std::size_t i = 0; i < lookalikes.size(); ++i) {
        for (std::size_t j = 0; j < lookalikes.size(); ++j) {
            const auto& [a, b, c] = lookalikes[i];
            const auto& [x, y, z] = lookalikes[j];
            EXPECT_EQ(ItemIdentity({a, b, c}) == ItemIdentity({x, y, z}), i == j) << i << " and " << j;
        }
    }
}

TEST(TrackTest, EachFactoryStoresItsServiceKeyAndDuration) {
    const auto details = song(u"n"_qs, u"a"_qs, u"b"_qs);
    const auto library = Track::iTunesTrack(details, u"K"_qs);
    EXPECT_TRUE(library->isTrackType(ItemSourceType::iTunes));
    EXPECT_EQ(library->iTunesPlayKey(), u"K"_qs);
    EXPECT_EQ(library->duration(), 1500);
    const auto spotify = Track::SpotifyTrack(details, u"K"_qs);
    EXPECT_EQ(spotify->sourceType(), ItemSourceType::Spotify);
    EXPECT_EQ(spotify->spotifyPlayKey(), u"K"_qs);
    EXPECT_FALSE(spotify->iTunesPlayKey() || spotify->rdioPlayKey());
    const auto rdio = Track::RdioTrack(details, u"K"_qs);
    EXPECT_EQ(rdio->sourceType(), ItemSourceType::Rdio);
    EXPECT_EQ(rdio->rdioPlayKey(), u"K"_qs);
    EXPECT_EQ(Track::UnknownTrack(details)->sourceType(), ItemSourceType::None);
}

TEST(TrackTest, SpotifyMillisecondsRoundToWholeSeconds) {
    const std::vector<std::pair<qint64, qint64>> rows = {{0, 0},    {499, 0},       {1499, 1},  {1500, 2},
                                                         {2500, 3}, {247'180, 247}, {-1500, -2}};
    for (const auto& [milliseconds, seconds] : rows) {
        auto details = song(u"n"_qs, u"a"_qs, u"b"_qs);
        details.duration = milliseconds;
        EXPECT_EQ(Track::SpotifyTrack(details, u""_qs)->duration(), seconds) << milliseconds;
    }
    auto details = song(u"n"_qs, u"a"_qs, u"b"_qs);
    details.duration = std::numeric_limits<qint64>::max(); // a reply can hold any number
    EXPECT_GT(Track::SpotifyTrack(details, u""_qs)->duration(), 0);
}

TEST(TrackTest, DictionaryHasKeysOnlyWhereTheTrackHas) {
    const auto track = Track::UnknownTrack(song(u"n"_qs, u"a"_qs, u"b"_qs));
    QVariantMap expected{{u"id"_qs, u"7"_qs},         {u"trackName"_qs, u"n"_qs}, {u"albumName"_qs, u"b"_qs},
                         {u"artistName"_qs, u"a"_qs}, {u"duration"_qs, 1500},     {u"explicit"_qs, true},
                         {u"number"_qs, 3},           {u"discNumber"_qs, 1}};
    EXPECT_EQ(track->trackToDictionary(), expected);

    track->setSpotifyPlayKey(u"spotify:track:1"_qs);
    track->setDiscNumber(std::numeric_limits<quint64>::max());
    expected.insert(u"spotifyPlayKey"_qs, u"spotify:track:1"_qs);
    expected.insert(u"discNumber"_qs, std::numeric_limits<qint64>::max());
    EXPECT_EQ(track->trackToDictionary(), expected);
    EXPECT_EQ(property_list::parse(property_list::serialize(track->trackToDictionary())), QVariant(expected));
}

TEST(TrackTest, CopyTakesKeysAndPlaceButNotWhoWatches) {
    struct Delegate final : MusicItemDelegate {
        void musicItemUpdated(const std::shared_ptr<MusicItem>&) override {}
    };
    const TestSession test;
    const auto delegate = std::make_shared<Delegate>();
    const auto album = Album::make(ItemSourceType::None, u"1"_qs, u"b"_qs, u"a"_qs, std::nullopt, false);
    const auto track = Track::SpotifyTrack(song(u"n"_qs, u"a"_qs, u"b"_qs), u"S"_qs);
    track->setiTunesPlayKey(u"I"_qs);
    track->setRdioPlayKey(u"R"_qs);
    track->setAlbum(album);
    track->setPreferredSource(MusicItemSourceType::Rdio);
    track->setDiscNumber(2);
    track->setDiscCount(4);
    track->setNumber(13);
    track->setDelegate(delegate);

    const auto copy = Track::copyTrack(*track);
    EXPECT_EQ(copy->trackToDictionary(), track->trackToDictionary());
    EXPECT_EQ(copy->sourceType(), ItemSourceType::Spotify);
    EXPECT_EQ(copy->duration(), 2); // and not divided again
    EXPECT_EQ(copy->discCount(), 4U);
    EXPECT_EQ(copy->album(), album);
    EXPECT_EQ(copy->preferredSource(), MusicItemSourceType::Rdio);
    EXPECT_FALSE(copy->delegate());
}

TEST(DescriptionTest, NamesTheParts) {
    const TestSession test;
    EXPECT_EQ(Track::UnknownTrack(song(u"n"_qs, u"a"_qs, u"b"_qs))->description(),
              u"Track: \n Name: n \n Album: b \n Artist: a \n Track Number: 3"_qs);
    EXPECT_EQ(Album::make(ItemSourceType::None, u"1"_qs, u"b"_qs, u"a"_qs, {}, false)->description(),
              u"Album: \n Name: b \n Artist: a"_qs);
    EXPECT_EQ(Artist::make(u"1"_qs, u"a"_qs, {}, ItemSourceType::None)->description(),
              u"Artist: \n Name: a"_qs);
}

} // namespace
} // namespace merlode
