#pragma once

#include "model/remote_link.h"
#include "model/track.h"
#include "platform/alerts.h"
#include "platform/user_defaults.h"
#include "players/links.h"

#include <QStringList>

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

/// Writes alerts down and answers with a button of the test's choice.
class FakeAlerts final : public Alerts {
  public:
    std::vector<Alert> shown;
    int answer = kAlertFirstButtonReturn;
    std::function<void()> whileShown; ///< runs with the alert up, as a nested event loop would

    int runModal(const Alert& alert) override {
        shown.push_back(alert);
        if (whileShown)
            whileShown();
        return answer;
    }
};

/// Every message to the clients, in order.
class RecordingRemoteLink final : public RemoteLink {
  public:
    struct Message {
        RemoteAction action;
        QVariantMap payload;
    };
    std::vector<Message> messages;
    bool isConnecting = false;
    int connectedToSelf = 0;

    using RemoteLink::broadcastMessage;
    bool connecting() const override { return isConnecting; }
    bool hasClients() const override { return true; }
    void connectToSelf() override { ++connectedToSelf; }
    void broadcastMessage(RemoteAction action, const QVariantMap& payload, std::optional<ClientId>) override {
        messages.push_back({action, payload});
    }

    /// The payload of the last message of this action; empty when there was none.
    QVariantMap last(RemoteAction action) const {
        for (auto message = messages.rbegin(); message != messages.rend(); ++message) {
            if (message->action == action)
                return message->payload;
        }
        return {};
    }
};

/// What the controller asked of the parts above it, in order, as short texts.
class RecordingLinks final : public SearchLink, public PlayReports, public ApplicationDelegate {
  public:
    QStringList log;
    QString statusText;
    std::vector<UserNotification> notifications;

    void refreshRelatedArtists() override { log << QStringLiteral("related"); }
    void findSpotifyAlbumArt(const QString& url) override { log << QStringLiteral("spotify art ") + url; }
    void findiTunesAlbumArt(const std::shared_ptr<Track>& track) override {
        log << QStringLiteral("iTunes art ") + track->name();
    }
    void reportStartedTrack(const Track& track, int position) override {
        log << QStringLiteral("started %1 at %2").arg(track.name()).arg(position);
    }
    void reportTrackPlay(const Track& track, const QString& source,
                         const std::optional<QString>& client) override {
        log << QStringLiteral("play %1 on %2 for %3").arg(track.name(), source, client.value_or(u"-"_qs));
    }
    void reportAlbumPlay(const Album&, const QString& source, const std::optional<QString>&) override {
        log << QStringLiteral("album on ") + source;
    }
    void updateStatusItemText(const QString& text) override { statusText = text; }
    void processUserNotification(const UserNotification& notification) override {
        notifications.push_back(notification);
    }
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
