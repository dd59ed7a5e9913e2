// Messages as somebody would send them who means no good.

#include "players/local_players.h"
#include "remote/remote_items.h"
#include "remote/remoteitunes_key_fetcher.h"
#include "support/wired_machines.h"

#include <QJsonDocument>

namespace merlode {
namespace {

using namespace notifications;
using enum RemoteAction;

enum class Role { Host, PandoraHost, Client };
using enum Role;

struct Row {
    Role role;
    RemoteAction action;
    const char* payload; ///< in which everything is needed, except that "trackDictionary" may be missing once
};
// SONG and ALBUM stand for what names one, FROM for where a message comes from.
constexpr Row kRows[] = {
    {Client, trackChanged, R"({"trackDictionary":{"trackName":"T","albumName":"A","artistName":"B"},
         "source":"iTunes","iTunesAvailable":true,"SpotifyAvailable":true,"RdioAvailable":true,"PandoraAvailable":true})"},
    {Client, albumArtChanged, R"({"useDefault":true})"},
    {Client, playBackStateChanged, R"({"state":0})"},
    {Host, setVolume, R"({"volume":12})"},
    {Client, playerPosition, R"({"trackDuration":77,"playerPosition":7})"},
    {Client, remoteSourceChanged,
     R"({"iTunesAvailable":true,"SpotifyAvailable":true,"RdioAvailable":true,"PandoraAvailable":true})"},
    {Client, processSearchResults, R"({"tracks":[{SONG,"iTunesPlayKey":"K","discNumber":1}],"albums":[],
         "searchTerm":"song","AvailableSources":1})"},
    {Client, showAlert, R"({"title":"T","message":"M"})"},
    {Client, notifyAddedToFavorites, R"({"userName":"Kitchen"})"},
    {Client, processRemoteiTunesSearchAlbum,
     R"({"albumDictionary":{ALBUM,"iTunesPlayKey":"K","tracks":[]}})"},
    {Client, processRemoteiTunesSearchTrack, R"({"trackDictionary":{SONG,"iTunesPlayKey":"K"}})"},
    {Client, pandoraStationsChanged, R"({"stations":[{"id":"m","name":"Radio"}]})"},
    {Client, pandoraThumbsUpdated, R"({"thumb":2})"},
    {Client, itunesRatingUpdated, R"({"rating":60})"},
    {Client, pandoraStationNameUpdated, R"({"pandoraStationName":"Radio"})"},
    {Host, requestBroadcast, R"({FROM})"},
    {Host, playPause, "{}"},
    {Host, previousTrack, "{}"},
    {Host, nextTrack, "{}"},
    {Host, playTrack, R"({FROM,"source":"Rdio","trackDictionary":{SONG,"rdioPlayKey":"t1"}})"},
    {Host, playAlbum, R"({FROM,"source":"Rdio","albumDictionary":{ALBUM,"rdioPlayKey":"a1"}})"},
    {Host, findAndPlayTrack, R"({"trackDictionary":{SONG,"iTunesPlayKey":"K"}})"},
    {Host, findAndPlayAlbum, R"({"albumDictionary":{ALBUM,"iTunesPlayKey":"K"}})"},
    {PandoraHost, playPandoraItem, R"({FROM,"source":"Pandora","pandoraDictionary":{"id":"m","name":"R"}})"},
    {PandoraHost, playPandoraStation,
     R"({FROM,"source":"Pandora","pandoraDictionary":{"id":"","name":"R"}})"},
    {PandoraHost, remoteThumbsPandora, R"({"thumb":2})"},
    {Host, remoteiTunesRating, R"({"rating":60})"},
    {Host, remoteSearch, R"({FROM,"searchTerm":"song"})"},
    {Host, remoteSearchiTunesForAlbum, R"({FROM,"albumDictionary":{ALBUM}})"},
    {Host, remoteSearchiTunesForTrack, R"({FROM,"trackDictionary":{SONG}})"},
    {Host, reportAddedToFavorites, R"({"userName":"Kitchen"})"},
};
static_assert(std::size(kRows) == kRemoteActionCount);

QVariantMap read(QByteArray json) {
    json.replace("SONG", R"("id":"1","trackName":"Song","albumName":"Album","artistName":"A","duration":200,
                            "explicit":false,"number":3)");
    json.replace("ALBUM", R"("id":"1","albumName":"Album","artistName":"A")");
    return QJsonDocument::fromJson(json.replace("FROM", R"("ClientAddress":"10.0.0.7")")).toVariant().toMap();
}

/// The payload with one entry missing or of a wrong type: each way, for each entry of it and of its maps.
void eachSpoilt(const QVariantMap& payload, const std::function<void(const QVariantMap&)>& visit) {
    for (auto entry = payload.begin(); entry != payload.end(); ++entry) {
        auto spoilt = payload;
        spoilt.remove(entry.key());
        if (entry.key() != u"trackDictionary" || !payload.contains(u"RdioAvailable"_qs))
            visit(spoilt);
        for (const QVariant& other :
             {QVariant(u"7"_qs), QVariant(7LL), QVariant(true), QVariant(1e300), QVariant(qQNaN()),
              QVariant(QByteArray("7")), QVariant(QVariantList()), QVariant(QVariantMap{})}) {
            spoilt[entry.key()] = other;
            if (other.typeId() != entry->typeId())
                visit(spoilt);
        }
        if (entry->typeId() == QMetaType::QVariantMap)
            eachSpoilt(entry->toMap(), [&](const QVariantMap& inner) {
                spoilt[entry.key()] = inner;
                visit(spoilt);
            });
    }
}

class RemoteMessageTest : public testing::Test, public RemoteMachine {
  protected:
    RemoteMessageTest() {
        items.songs = {{1, u"Song"_qs, u"A"_qs, u"Album"_qs}};
        remote.clients[u"10.0.0.7"_qs] = 1;
        for (const auto name : {kAvailableSourcesChanged, kTrackPositionUpdated, kNewTrackInfoAvailable,
                                kNewAlbumArtAvailable, kNewPlayStateAvailable, kPandoraThumbsUpdated,
                                kNewPandoraStationAvailable, kITunesRatingUpdated, kSearchControllerFinished})
            posted.push_back(count(name));
    }

    void become(Role role) {
        pandora.ready = role == PandoraHost;
        desktop.start(rdio);
        desktop.start(iTunes).playing(u"x"_qs);
        controller().setRemotePlayer(nullptr);
        controller().setActivePlayer(controller().itunesPlayer());
        if (role == PandoraHost)
            controller().switchToPlayer(pandora.player);
        if (role == Client) {
            becomeClient();
            search().searchForTerm(u"song"_qs);
            RemoteiTunesKeyFetcher::sharedFetcher().searchForTrack(track);
            RemoteiTunesKeyFetcher::sharedFetcher().searchForAlbum(album);
        }
        test.loop.advance(3);
    }

    /// All that a message can bring about.
    QString effects() {
        QStringList all = pandora.player->played;
        for (const auto& [name, application] : desktop.applications)
            all << application.player->commands << QString::number(*application.player->volume)
                << QString::number(application.player->stars.value_or(-1));
        for (const auto& counter : posted)
            all << QString::number(*counter);
        for (const auto number :
             {remote.log.size(), std::size_t(remote.answers.size()), alerts.shown.size(),
              links.notified.size(), pandora.stations.size(), std::size_t(pandora.player->thumb)})
            all << QString::number(number);
        return all.join(u' ') + track->iTunesPlayKey().value_or(u"-"_qs) +
               album->iTunesPlayKey().value_or(u"-"_qs);
    }
    QString after(RemoteAction action, const QVariantMap& payload) {
        RemoteActionController::sharedController().takeAction(rawValue(action), payload);
        test.loop.runUntilIdle();
        return effects();
    }

    std::vector<std::shared_ptr<int>> posted;
    const std::shared_ptr<Track> track =
        Track::UnknownTrack({.name = u"Song"_qs, .albumName = u"Album"_qs, .artistName = u"A"_qs});
    const std::shared_ptr<Album> album = Album::UnknownAlbum({.name = u"Album"_qs, .artistName = u"A"_qs});
};

TEST_F(RemoteMessageTest, AMessageThatIsNotWholeDoesNothingAndAWholeOneWhatItSays) {
    for (const auto& row : kRows) {
        become(row.role);
        const QString name = rawValue(row.action);
        const QString before = effects();
        const auto payload = read(row.payload);
        eachSpoilt(payload, [&](const QVariantMap& spoilt) {
            EXPECT_EQ(after(row.action, spoilt), before)
                << qPrintable(name) << QJsonDocument::fromVariant(spoilt).toJson().constData();
        });
        auto& actions = RemoteActionController::sharedController();
        actions.takeAction(name.toUpper(), payload);
        actions.handleRemoteMessage({{u"action"_qs, name}, {u"payload"_qs, QVariantList()}});
        EXPECT_EQ(effects(), before);
        EXPECT_NE(after(row.action, payload), before) << qPrintable(name);
    }
}

TEST_F(RemoteMessageTest, NumbersBeyondTheirRangeAreBroughtIntoItOrDoNothing) {
    become(PandoraHost);
    after(setVolume, {{u"volume"_qs, -5}});
    EXPECT_EQ(controller().currentVolume, 0);
    const QString before = effects();
    after(setVolume, {{u"volume"_qs, 1LL << 40}});
    for (const int number : {-1, 0, 3, 101}) {
        after(remoteThumbsPandora, {{u"thumb"_qs, number}});
        after(number ? pandoraThumbsUpdated : nextTrack, {{u"thumb"_qs, number}});
        after(number % 3 ? itunesRatingUpdated : nextTrack, {{u"rating"_qs, number}});
    }
    EXPECT_EQ(effects(), before);
    const auto songs = read(R"({"tracks":[{SONG,"iTunesPlayKey":"K","discNumber":-9},7,{SONG,"discNumber":1},
        {SONG,"iTunesPlayKey":"K","discNumber":4611686018427387904}]})");
    const auto taken = remoteitems::libraryTracks(songs[u"tracks"_qs].toList());
    ASSERT_EQ(taken.size(), 1U) << "what is no song is left out";
    EXPECT_EQ(taken[0]->discNumber(), 1U);
    EXPECT_EQ(remoteitems::pandoraItems(QVariantList(5000, read(R"({"id":"","name":"R"})"))).size(),
              remoteitems::kMostItems);
}

TEST_F(RemoteMessageTest, NothingThatLooksLikeAnAddressOrAPathGetsToAPlayerOrIsOpened) {
    become(Host);
    const QString before = effects();
    for (const QString& key :
         {u"/etc/passwd"_qs, u"file:///etc/passwd"_qs, u"https://example.org/x"_qs, u"%s%n"_qs,
          u"spotify:track:../../x"_qs, u"spotify:track:1\n"_qs, u"../t1"_qs, u"t1/../x"_qs, QString()}) {
        for (const QString& service : {spotify, rdio}) {
            auto request = read(R"({FROM,"trackDictionary":{SONG},"albumDictionary":{ALBUM}})");
            request[u"source"_qs] = service;
            for (const QString& item : {u"trackDictionary"_qs, u"albumDictionary"_qs}) {
                auto dictionary = request[item].toMap();
                dictionary[service.toLower() + u"PlayKey"_qs] = key;
                request[item] = dictionary;
            }
            for (const auto action : {playTrack, playAlbum, findAndPlayTrack, findAndPlayAlbum})
                EXPECT_EQ(after(action, request), before) << qPrintable(key);
        }
    }
    auto dictionary = read("{ALBUM}");
    for (const QString& url : {u"file:///etc/passwd"_qs, u"/x"_qs, u"ftp://h/x"_qs, u"http:///x"_qs,
                               u"data:,x"_qs, u"https://h/x"_qs}) {
        dictionary[u"imageURL"_qs] = url;
        EXPECT_EQ(remoteitems::albumWithItsKeys(dictionary)->imageURL().has_value(),
                  url == u"https://h/x"_qs);
    }
    test.loop.runUntilIdle();
    EXPECT_TRUE(http.requests().empty()) << "nothing is fetched before somebody looks at it";
}

} // namespace
} // namespace merlode
