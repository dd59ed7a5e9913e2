// Messages as somebody would send them who means no good.

#include "players/local_players.h"
#include "remote/remote_items.h"
#include "remote/remoteitunes_key_fetcher.h"
#include "support/remote_machine.h"

#include <QJsonDocument>

namespace merlode {
namespace {

using namespace notifications;
using enum RemoteAction;

// Whom a message is meant for, its action, and a payload of which everything is needed. SONG and ALBUM stand
// for what names one, FROM for where a message comes from, FLAGS for the services of a server.
constexpr const char* kMessages = R"(
client trackChanged {FLAGS,"source":"iTunes","trackDictionary":{"trackName":"T","albumName":"A","artistName":"B"}}
client albumArtChanged {"useDefault":true}
client playBackStateChanged {"state":0}
host setVolume {"volume":12}
client playerPosition {"trackDuration":77,"playerPosition":7}
client remoteSourceChanged {FLAGS}
client processSearchResults {"tracks":[],"albums":[],"searchTerm":"song","AvailableSources":1}
client showAlert {"title":"T","message":"M"}
client notifyAddedToFavorites {"userName":"Kitchen"}
client processRemoteiTunesSearchAlbum {"albumDictionary":{ALBUM,"iTunesPlayKey":"K","tracks":[]}}
client processRemoteiTunesSearchTrack {"trackDictionary":{SONG,"iTunesPlayKey":"K"}}
client pandoraStationsChanged {"stations":[{"id":"m","name":"Radio"}]}
client pandoraThumbsUpdated {"thumb":2}
client itunesRatingUpdated {"rating":60}
client pandoraStationNameUpdated {"pandoraStationName":"Radio"}
host requestBroadcast {FROM}
host playPause {}
host previousTrack {}
host nextTrack {}
host playTrack {FROM,"source":"Rdio","trackDictionary":{SONG,"rdioPlayKey":"t1"}}
host playAlbum {FROM,"source":"Rdio","albumDictionary":{ALBUM,"rdioPlayKey":"a1"}}
host findAndPlayTrack {"trackDictionary":{SONG,"iTunesPlayKey":"K"}}
host findAndPlayAlbum {"albumDictionary":{ALBUM,"iTunesPlayKey":"K"}}
pandora playPandoraItem {FROM,"source":"Pandora","pandoraDictionary":{"id":"m","name":"R"}}
pandora playPandoraStation {FROM,"source":"Pandora","pandoraDictionary":{"id":"","name":"R"}}
pandora remoteThumbsPandora {"thumb":2}
host remoteiTunesRating {"rating":60}
host remoteSearch {FROM,"searchTerm":"song"}
host remoteSearchiTunesForAlbum {FROM,"albumDictionary":{ALBUM}}
host remoteSearchiTunesForTrack {FROM,"trackDictionary":{SONG}}
host reportAddedToFavorites {"userName":"Kitchen"})";

QVariantMap read(QByteArray json) {
    json.replace("SONG", R"("id":"1","trackName":"Song","albumName":"Album","artistName":"A","duration":200,
                            "explicit":false,"number":3)");
    json.replace("ALBUM", R"("id":"1","albumName":"Album","artistName":"A")");
    json.replace(
        "FLAGS",
        R"("iTunesAvailable":true,"SpotifyAvailable":true,"RdioAvailable":true,"PandoraAvailable":true)");
    return QJsonDocument::fromJson(json.replace("FROM", R"("ClientAddress":"10.0.0.7")")).toVariant().toMap();
}

/// The payload with one entry missing or of a wrong type: each way, for each entry of it and of its maps.
void eachSpoilt(const QVariantMap& payload, const std::function<void(const QVariantMap&)>& visit) {
    const QVariantList others{
        u"7"_qs, 7LL, true, 1e300, qQNaN(), QByteArray("7"), QVariant(QVariantList()), QVariantMap()};
    for (auto entry = payload.begin(); entry != payload.end(); ++entry) {
        auto spoilt = payload;
        const auto visitWith = [&](const QVariant& value) {
            spoilt[entry.key()] = value;
            visit(spoilt);
        };
        for (const auto& other : others) {
            if (other.typeId() != entry->typeId())
                visitWith(other);
        }
        if (entry->typeId() == QMetaType::QVariantMap)
            eachSpoilt(entry->toMap(), visitWith);
        spoilt.remove(entry.key());
        if (entry.key() != u"trackDictionary" || !payload.contains(u"RdioAvailable"_qs))
            visit(spoilt); // a server on which nothing plays tells of no track
    }
}

class RemoteMessageTest : public testing::Test, public RemoteMachine {
  protected:
    RemoteMessageTest() {
        songs = {{1, u"Song"_qs, u"A"_qs, u"Album"_qs}};
        for (const auto name : {kAvailableSourcesChanged, kTrackPositionUpdated, kNewTrackInfoAvailable,
                                kNewAlbumArtAvailable, kNewPlayStateAvailable, kPandoraThumbsUpdated,
                                kNewPandoraStationAvailable, kITunesRatingUpdated, kSearchControllerFinished})
            posted.push_back(count(name));
    }

    void become(const QByteArray& role) {
        pandora.ready = role == "pandora";
        desktop.start(rdio);
        desktop.start(iTunes).playing(u"x"_qs);
        controller().setRemotePlayer(nullptr);
        controller().setActivePlayer(controller().itunesPlayer());
        if (role == "pandora")
            controller().switchToPlayer(pandora.player);
        if (role == "client") {
            becomeClient();
            SearchController::sharedController().searchForTerm(u"song"_qs);
            RemoteiTunesKeyFetcher::sharedFetcher().searchForTrack(askedTrack);
            RemoteiTunesKeyFetcher::sharedFetcher().searchForAlbum(askedAlbum);
        }
        test.loop.advance(3);
    }

    /// All that a message can bring about.
    QString effects() {
        QString all;
        QDebug text(&all);
        for (const auto& [name, application] : desktop.applications)
            text << application.player->commands << *application.player->volume
                 << application.player->stars.value_or(-1);
        for (const auto& counter : posted)
            text << *counter;
        text << remote.log.size() << remote.answers.size() << alerts.shown.size() << links.notified.size()
             << pandora.stations.size() << pandora.player->thumb << pandora.player->played
             << askedTrack->iTunesPlayKey().has_value() << askedAlbum->iTunesPlayKey().has_value();
        return all;
    }
    QString after(RemoteAction action, const QVariantMap& payload) {
        RemoteActionController::sharedController().takeAction(rawValue(action), payload);
        test.loop.runUntilIdle();
        return effects();
    }

    std::vector<std::shared_ptr<int>> posted;
    const std::shared_ptr<Track> askedTrack = Track::UnknownTrack({{}, u"Song"_qs, u"Album"_qs, u"A"_qs});
    const std::shared_ptr<Album> askedAlbum = Album::UnknownAlbum({{}, {}, u"Album"_qs, u"A"_qs});
};

TEST_F(RemoteMessageTest, AMessageThatIsNotWholeDoesNothingAndAWholeOneWhatItSays) {
    QSet<QByteArray> actions;
    for (const auto& line : QByteArray(kMessages).mid(1).split('\n')) {
        const auto words = line.split(' ');
        actions << words[1];
        const auto action = *remoteActionFromRawValue(QString::fromLatin1(words[1]));
        const auto payload = read(words[2]);
        become(words[0]);
        const QString before = effects();
        eachSpoilt(payload, [&](const QVariantMap& spoilt) {
            EXPECT_EQ(after(action, spoilt), before) << line.constData();
        });
        auto& controller = RemoteActionController::sharedController();
        controller.takeAction(rawValue(action).toUpper(), payload);
        controller.handleRemoteMessage({{u"action"_qs, rawValue(action)}, {u"payload"_qs, QVariantList()}});
        EXPECT_EQ(effects(), before);
        EXPECT_NE(after(action, payload), before) << line.constData();
    }
    EXPECT_EQ(actions.size(), kRemoteActionCount);
}

TEST_F(RemoteMessageTest, NumbersBeyondTheirRangeAreBroughtIntoItOrDoNothing) {
    become("pandora");
    after(setVolume, {{u"volume"_qs, -5}});
    EXPECT_EQ(controller().currentVolume, 0);
    const QString before = effects();
    after(setVolume, {{u"volume"_qs, 1LL << 40}});
    for (const int number : {-1, 3, 101}) {
        after(remoteThumbsPandora, {{u"thumb"_qs, number}});
        after(pandoraThumbsUpdated, {{u"thumb"_qs, number}});
        after(itunesRatingUpdated, {{u"rating"_qs, number * 101}});
    }
    EXPECT_EQ(effects(), before);
}

TEST_F(RemoteMessageTest, NothingThatLooksLikeAnAddressOrAPathGetsToAPlayerOrIsOpened) {
    become("host");
    const QString before = effects();
    for (const QString& key :
         {u"/etc/passwd"_qs, u"file:///x"_qs, u"https://h/x"_qs, u"spotify:track:../x"_qs,
          u"spotify:track:1\n"_qs, u"../t1"_qs, u"t1/../x"_qs, u"%n"_qs, QString()}) {
        auto item = read("{SONG}"); // an album as well
        item.insert({{u"spotifyPlayKey"_qs, key}, {u"rdioPlayKey"_qs, key}});
        for (const QString& service : {spotify, rdio}) {
            auto request = read("{FROM}");
            request.insert(
                {{u"source"_qs, service}, {u"trackDictionary"_qs, item}, {u"albumDictionary"_qs, item}});
            for (const auto action : {playTrack, playAlbum, findAndPlayTrack, findAndPlayAlbum})
                EXPECT_EQ(after(action, request), before) << qPrintable(key);
        }
    }
    auto album = read("{ALBUM}");
    for (const QString& url : {u"file:///x"_qs, u"/x"_qs, u"ftp://h"_qs, u"http:///"_qs, u"https://h/x"_qs}) {
        album[u"imageURL"_qs] = url;
        EXPECT_EQ(remoteitems::albumWithItsKeys(album)->imageURL().has_value(), url == u"https://h/x"_qs);
    }
    test.loop.runUntilIdle();
    EXPECT_TRUE(http.requests().empty()) << "nothing is fetched before somebody looks at it";
}

} // namespace
} // namespace merlode
