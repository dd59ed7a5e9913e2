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
    void play() override { commands << QStringLiteral("play"); }
    void playpause() override { commands << QStringLiteral("playpause"); }
    void pause() override { commands << QStringLiteral("pause"); }
    void nextTrack() override { commands << QStringLiteral("next"); }
    void previousTrack() override { commands << QStringLiteral("previous"); }
    std::optional<int> soundVolume() override { return volume; }
    void setSoundVolume(int newVolume) override {
        commands << QStringLiteral("volume %1").arg(newVolume);
        volume = newVolume;
    }
    std::optional<double> playerPosition() override { return position; }
    void setPlayerPosition(double seconds) override { commands << QStringLiteral("seek %1").arg(seconds); }
    std::optional<Image> albumArt() override { return art; }
    void setRepeating(bool on) override { commands << QStringLiteral("repeat %1").arg(int(on)); }
    void setShuffling(bool on) override { commands << QStringLiteral("shuffle %1").arg(int(on)); }
    std::optional<int> rating() override { return stars; }
    void setRating(int rating) override { stars = rating; }
    void playKey(const QString& key) override { commands << QStringLiteral("key ") + key; }
    bool playFromLibrary(const LibraryQuery& query, const QString& playlistName) override {
        commands << QStringList{playlistName, query.name, query.album, query.artist}.join(u'|');
        return inLibrary;
    }
    PlayerCapabilities capabilities() override {
        return {.canPlay = true, .canPause = true, .canSeek = true, .canSetVolume = volume.has_value()};
    }

    /// Lets it play a track with these names.
    void playing(const QString& name, const QString& artist = QStringLiteral("Artist"),
                 const QString& album = QStringLiteral("Album")) {
        state = kPlayerStatePlaying;
        track = ScriptedTrack{QStringLiteral("id of ") + name, {}, name, album, artist, 200.9, {}};
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
    std::map<QString, Application> applications{
        {QStringLiteral("iTunes"), {}}, {QStringLiteral("Spotify"), {}}, {QStringLiteral("Rdio"), {}}};
    QStringList launched;

    /// Starts an application and gives its player.
    FakeScriptedPlayer& start(const QString& name) {
        applications[name].process = ++lastProcess_;
        return *applications[name].player;
    }
    void quit(const QString& name) { applications[name].process = 0; }

    std::optional<QString> fullPathForApplication(const QString& name) override {
        return applications[name].installed ? std::optional(QStringLiteral("/usr/bin/") + name)
                                            : std::nullopt;
    }
    std::vector<RunningApplication>
    runningApplicationsWithBundleIdentifier(const QString& identifier) override {
        const auto& application = find(identifier);
        if (application.process == 0)
            return {};
        return {RunningApplication{application.process}};
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
        const bool iTunes = identifier == u"com.apple.iTunes";
        const bool spotify = identifier == u"com.spotify.client";
        return applications[iTunes    ? QStringLiteral("iTunes")
                            : spotify ? QStringLiteral("Spotify")
                                      : QStringLiteral("Rdio")];
    }

    std::int32_t lastProcess_ = 100;
};

} // namespace merlode
