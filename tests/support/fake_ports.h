#pragma once

#include "model/remote_link.h"
#include "model/track.h"
#include "platform/alerts.h"
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

/// Writes alerts down and answers as a test says.
class FakeAlerts final : public Alerts {
  public:
    std::vector<Alert> shown;
    int answer = kAlertFirstButtonReturn;

    int runModal(const Alert& alert) override {
        shown.push_back(alert);
        return answer;
    }
};

/// The last message of each action to the clients.
class RecordingRemoteLink final : public RemoteLink {
  public:
    std::map<RemoteAction, QVariantMap> last; ///< their payloads
    bool isConnecting = false;
    int connectedToSelf = 0;

    using RemoteLink::broadcastMessage;
    bool connecting() const override { return isConnecting; }
    bool hasClients() const override { return true; }
    void connectToSelf() override { ++connectedToSelf; }
    void broadcastMessage(RemoteAction action, const QVariantMap& payload, std::optional<ClientId>) override {
        last[action] = payload;
    }
};

/// What the controller asked of the parts above it, in order, as short texts.
class RecordingLinks final : public SearchLink, public PlayReports, public ApplicationDelegate {
  public:
    QStringList log;
    QString statusText;

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
    void processUserNotification(const UserNotification&) override {}
};

/// A Pandora page whose login a test makes ready.
class FakePandora final : public PandoraLink {
  public:
    bool ready = false;
    int made = 0;

    bool isLogInReady() const override { return ready; }
    std::shared_ptr<MusicPlayer> makePlayer() override {
        ++made;
        return std::make_shared<MusicPlayer>(MusicPlayerType::Pandora);
    }
};

} // namespace merlode
