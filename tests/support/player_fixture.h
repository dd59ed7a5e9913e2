#pragma once

#include "base/notification_names.h"
#include "players/player_controller.h"
#include "players/remote_player.h"
#include "support/fake_players.h"
#include "support/fake_ports.h"
#include "support/test_session.h"

#include <functional>

#include <gtest/gtest.h>

namespace merlode {

/// A session with a desktop of fake players around a real `PlayerController`, which is made on first use, so
/// that a test can set the desktop up before.
class PlayerMachine {
  public:
    PlayerMachine() : PlayerMachine([this](Session&) -> RemoteLink& { return remote; }) {}
    /// With a link that is itself a part of the session.
    explicit PlayerMachine(const std::function<RemoteLink&(Session&)>& link) {
        auto& session = test.session;
        session.installReference<Workspace>(desktop);
        session.installReference<ScriptedPlayers>(desktop);
        session.installReference<UserDefaults>(userDefaults);
        session.installReference<Alerts>(alerts);
        session.installReference<RemoteLink>(link(session));
        session.installReference<SearchLink>(links);
        session.installReference<PlayReports>(links);
        session.installReference<ApplicationDelegate>(links);
        session.installReference<PandoraLink>(pandora);
        for (const auto key : {defaults::kEnableITunes, defaults::kEnableSpotify, defaults::kEnablePandora})
            userDefaults.set(key, true);
    }

    PlayerController& controller() { return PlayerController::sharedController(); }

    std::optional<MusicPlayerType> activeType() {
        const auto& player = controller().activePlayer();
        return player ? std::optional(player->type) : std::nullopt;
    }

    /// Puts the player of another machine in charge.
    RemotePlayer& becomeClient() {
        controller().setRemotePlayer(std::make_shared<RemotePlayer>());
        controller().setActivePlayer(controller().remotePlayer());
        test.loop.runUntilIdle();
        return *controller().remotePlayer();
    }

    /// A player's announcement, telling the names of its track.
    void announce(NotificationName name, const QVariantMap& info = {}) {
        test.session.distributedCenter().post(name, nullptr, info);
    }

    /// Counts the posts of a notification from now on.
    std::shared_ptr<int> count(NotificationName name) {
        auto counter = std::make_shared<int>(0);
        observations_.push_back(
            test.session.notificationCenter().addObserver(name, [counter](const auto&) { ++*counter; }));
        return counter;
    }

    FakeDesktop desktop;
    MemoryUserDefaults userDefaults;
    FakeAlerts alerts;
    RecordingRemoteLink remote;
    RecordingLinks links;
    FakePandora pandora;
    TestSession test; // last: its controllers use what stands above

    const QString iTunes = u"iTunes"_qs;
    const QString spotify = u"Spotify"_qs;
    const QString rdio = u"Rdio"_qs;

  private:
    std::vector<Observation> observations_;
};

class PlayerFixture : public testing::Test, protected PlayerMachine {};

} // namespace merlode
