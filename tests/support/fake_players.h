#pragma once

#include "platform/scripted_player.h"
#include "platform/workspace.h"

#include <QStringList>

#include <map>
#include <memory>

namespace merlode {

/// A player whose every answer a test sets, and which writes down the commands it gets.
class FakeScriptedPlayer final : public ScriptedPlayer {
  public:
    std::uint32_t state = kPlayerStateStopped;
    std::optional<ScriptedTrack> track;
    std::optional<int> volume = 50;
    std::optional<double> position;
    std::optional<Image> art;
    std::optional<int> stars;
    bool inLibrary = true;
    QStringList commands;

    std::uint32_t playerState() override { return state; }
    std::optional<ScriptedTrack> currentTrack() override { return track; }
    void play() override { commands << u"play"_qs; }
    void playpause() override { commands << u"playpause"_qs; }
    void pause() override { commands << u"pause"_qs; }
    void nextTrack() override { commands << u"next"_qs; }
    void previousTrack() override { commands << u"previous"_qs; }
    std::optional<int> soundVolume() override { return volume; }
    void setSoundVolume(int newVolume) override { volume = newVolume; }
    std::optional<double> playerPosition() override { return position; }
    void setPlayerPosition(double seconds) override { commands << u"seek %1"_qs.arg(seconds); }
    std::optional<Image> albumArt() override { return art; }
    void setRepeating(bool) override {}
    void setShuffling(bool) override {}
    std::optional<int> rating() override { return stars; }
    void setRating(int rating) override { stars = rating; }
    void playKey(const QString& key) override { commands << u"key "_qs + key; }
    bool playFromLibrary(const LibraryQuery& query, const QString& playlistName) override {
        commands << QStringList{playlistName, query.name, query.album, query.artist}.join(u'|');
        return inLibrary;
    }
    PlayerCapabilities capabilities() override {
        return {.canPlay = true,
                .canPause = true,
                .canGoNext = true,
                .canGoPrevious = true,
                .canSeek = true,
                .canSetVolume = volume.has_value()};
    }

    /// Lets it play a track with these names.
    void playing(const QString& name, const QString& artist = u"Artist"_qs,
                 const QString& album = u"Album"_qs) {
        state = kPlayerStatePlaying;
        track = ScriptedTrack{u"id of "_qs + name, {}, name, album, artist, 200.9, {}};
        position = 10;
    }
};

/// A desktop with the three applications, each of which a test installs, starts and quits.
class FakeDesktop final : public Workspace, public ScriptedPlayers {
  public:
    struct Application {
        bool installed = true;
        std::int32_t process = 0; ///< 0 while it does not run
        std::shared_ptr<FakeScriptedPlayer> player = std::make_shared<FakeScriptedPlayer>();
    };

    /// By name: "iTunes", "Spotify", "Rdio".
    QStringList launched;
    std::map<QString, Application> applications{{u"iTunes"_qs, {}}, {u"Spotify"_qs, {}}, {u"Rdio"_qs, {}}};

    /// Starts an application and gives its player.
    FakeScriptedPlayer& start(const QString& name) {
        applications[name].process = ++lastProcess_;
        return *applications[name].player;
    }
    void quit(const QString& name) { applications[name].process = 0; }

    std::optional<QString> fullPathForApplication(const QString& name) override {
        return applications[name].installed ? std::optional(u"/usr/bin/"_qs + name) : std::nullopt;
    }
    std::vector<RunningApplication>
    runningApplicationsWithBundleIdentifier(const QString& identifier) override {
        const auto& application = find(identifier);
        return std::vector<RunningApplication>(application.process ? 1 : 0, {application.process});
    }
    bool launchApplication(const QString& name) override {
        launched << name;
        return true;
    }
    std::shared_ptr<ScriptedPlayer> player(const QString& identifier, std::int32_t process) override {
        const auto& application = find(identifier);
        return application.process == process ? application.player : nullptr;
    }

  private:
    const Application& find(const QString& identifier) {
        for (auto& [name, application] : applications) {
            if (identifier.contains(name, Qt::CaseInsensitive))
                return application;
        }
        return applications[identifier];
    }

    std::int32_t lastProcess_ = 100;
};

} // namespace merlode
