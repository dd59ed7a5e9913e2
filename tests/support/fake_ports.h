#pragma once

#include "model/album.h"
#include "model/pandora_item.h"
#include "model/remote_link.h"
#include "model/track.h"
#include "platform/alerts.h"
#include "platform/media_library.h"
#include "platform/user_defaults.h"
#include "players/links.h"

#include <QStringList>

#include <map>
#include <vector>

namespace merlode {

/// User defaults in memory.
class MemoryUserDefaults final : public UserDefaults {
  public:
    void registerDefaults(const QVariantMap& values) override { registered_.insert(values); }
    void setValue(const QString& key, const QVariant& value) override {
        if (value.isValid())
            values_.insert(key, value);
        else
            values_.remove(key);
    }
    QVariant value(const QString& key) const override { return values_.value(key, registered_.value(key)); }
    bool synchronize() override { return true; }

  private:
    QVariantMap values_;
    QVariantMap registered_;
};

/// A library of the items that a test puts in; each is covered by one picture.
class FakeMediaLibrary final : public MediaLibrary {
  public:
    std::vector<MediaItem> items;
    const Image picture{QImage(2, 2, QImage::Format_RGB32)};
    std::vector<quint64> read; ///< whose art was asked for
    bool final = true;
    Progress state;
    void readItems(const Visit& visit) override { std::ignore = std::ranges::all_of(items, visit); }
    bool isFinal() override { return final; }
    Image artwork(quint64 id) override { return read.push_back(id), picture; }
    std::optional<QByteArray> location(quint64 id) override { return "/music/" + QByteArray::number(id); }
    void startScan() override { state.state = State::Scanning; }
    void cancelScan() override { state.state = State::Cancelled; }
    Progress progress() const override { return state; }
    QString place() const override { return u"/music"_qs; }
};

/// Writes alerts down and answers as a test says.
class FakeAlerts final : public Alerts {
  public:
    std::vector<Alert> shown;
    int answer = kAlertFirstButtonReturn;
    Alerts* inFront = nullptr; ///< gets them instead, if set

    int runModal(const Alert& alert) override {
        if (inFront)
            return inFront->runModal(alert);
        shown.push_back(alert);
        return answer;
    }
};

/// The messages to the clients and to the host.
class RecordingRemoteLink final : public RemoteLink {
  public:
    struct Sent {
        RemoteAction action;
        std::optional<ClientId> client;
        bool operator==(const Sent&) const = default;
    };
    std::vector<Sent> log;                          ///< to the clients, in order
    std::map<RemoteAction, QVariantMap> last;       ///< payload of the last message of each action
    QList<QStringList> alerts;                      ///< title, text and address of those shown to clients
    QList<std::pair<QString, QVariantMap>> answers; ///< to one client's question: its address, what was said
    std::map<QString, ClientId> clients;            ///< by address
    bool isConnecting = false;
    int connectedToSelf = 0;
    using Carrier = std::function<void(RemoteAction, const QVariantMap&)>;
    Carrier toHost = [](auto, const auto&) {};
    Carrier toClients = toHost;

    using RemoteLink::broadcastMessage;
    bool connecting() const override { return isConnecting; }
    bool hasClients() const override { return true; }
    void connectToSelf() override { ++connectedToSelf; }
    void sendMessageToHost(RemoteAction action, const QVariantMap& payload) override {
        last[action] = payload;
        toHost(action, payload);
    }
    std::optional<ClientId> getClientSocketFromAddress(const QString& address) const override {
        const auto found = clients.find(address);
        return found == clients.end() ? std::nullopt : std::optional(found->second);
    }
    void broadcastRemoteSearch(const QVariantMap& results, const QString& address) override {
        answers << std::pair{address, results};
        toClients(RemoteAction::processSearchResults, results);
    }
    void broadcastRemoteiTunesAlbumKey(const Album& album, const QString& address) override {
        answers << std::pair{address, album.albumToDictionary(true)};
        toClients(RemoteAction::processRemoteiTunesSearchAlbum,
                  {{u"albumDictionary"_qs, answers.last().second}});
    }
    void broadcastRemoteiTunesTrackKey(const Track& track, const QString& address) override {
        answers << std::pair{address, track.trackToDictionary()};
        toClients(RemoteAction::processRemoteiTunesSearchTrack,
                  {{u"trackDictionary"_qs, answers.last().second}});
    }
    void broadcastAlertToClient(const QString& title, const QString& message,
                                const QString& address) override {
        alerts << QStringList{title, message, address};
        toClients(RemoteAction::showAlert, {{u"title"_qs, title}, {u"message"_qs, message}});
    }
    void broadcastMessage(RemoteAction action, const QVariantMap& payload,
                          std::optional<ClientId> client) override {
        log.push_back({action, client});
        last[action] = payload;
        toClients(action, payload);
    }
};

/// What the controller asked of the parts above it, in order, as short texts.
class RecordingLinks final : public SearchLink, public PlayReports, public ApplicationDelegate {
  public:
    QStringList log;
    QString statusText;
    std::vector<UserNotification> notified;

    void refreshRelatedArtists() override {}
    void findSpotifyAlbumArt(const QString&) override {}
    void findiTunesAlbumArt(const std::shared_ptr<Track>& track) override {
        log << u"iTunes art "_qs + track->name();
    }
    void reportStartedTrack(const Track& track, int position) override {
        log << u"started %1 at %2"_qs.arg(track.name()).arg(position);
    }
    void reportTrackPlay(const Track& track, const QString& source,
                         const std::optional<QString>& client) override {
        log << u"play %1 on %2 for %3"_qs.arg(track.name(), source, client.value_or(u"-"_qs));
    }
    void reportAlbumPlay(const Album&, const QString&, const std::optional<QString>&) override {}
    void updateStatusItemText(const QString& text) override { statusText = text; }
    void processUserNotification(const UserNotification& notification) override {
        notified.push_back(notification);
    }
};

/// Pandora as a test has it play.
class FakePandoraPlayer final : public PandoraPlayer {
  public:
    std::uint32_t state = kPlayStateNotPlaying;
    int volume = 50;
    int thumb = 0;
    std::optional<QString> station;
    std::shared_ptr<Track> track;

    std::shared_ptr<Track> getCurrentTrack() override { return track; }
    std::uint32_t getPlayState() override { return state; }
    bool isPlaying() override { return state == kPlayStatePlaying; }
    int getSoundVolume() override { return volume; }
    QStringList played;
    void playItem(const PandoraItem& item) override { played << u"item "_qs + item.name; }
    void playStation(const PandoraItem& item) override { played << u"station "_qs + item.name; }
    void thumbsUp() override { thumb = 2; }
    void thumbsDown() override { thumb = 1; }
    int thumbType() override { return thumb; }
    std::optional<QString> getStationName() override { return station; }
};

/// A Pandora page whose login a test makes ready.
class FakePandora final : public PandoraLink {
  public:
    bool ready = false;
    int made = 0;
    std::shared_ptr<FakePandoraPlayer> player = std::make_shared<FakePandoraPlayer>();

    bool isLogInReady() const override { return ready; }
    std::vector<PandoraItem> stations;
    RemoteLink* link = nullptr; ///< by which the stations are sent

    std::shared_ptr<PandoraPlayer> makePlayer() override {
        ++made;
        return player;
    }
    void broadcastPandoraStations(std::optional<RemoteLink::ClientId> client) override {
        QVariantList list;
        for (const auto& station : stations)
            list << station.itemToDictionary();
        if (link && !list.isEmpty())
            link->broadcastMessage(RemoteAction::pandoraStationsChanged, {{u"stations"_qs, list}}, client);
    }
    void updateRemoteStations(const std::vector<PandoraItem>& items) override { stations = items; }
};

} // namespace merlode
