#include "players/scripted_apps.h"

#include "base/session.h"
#include "platform/workspace.h"
#include "players/player_type.h"

#include <cmath>
#include <limits>

namespace merlode {

namespace {

std::optional<double> durationOf(const std::optional<ScriptedTrack>& track) {
    return track ? track->duration : std::nullopt;
}

std::optional<int> milliseconds(std::optional<double> seconds) {
    if (!seconds || !(std::abs(*seconds) < std::numeric_limits<int>::max() / 1000.0))
        return std::nullopt;
    return static_cast<int>(std::lround(*seconds * 1000));
}

} // namespace

ScriptedApp::ScriptedApp(std::string_view bundleIdentifier) {
    auto& session = Session::current();
    const auto identifier =
        QString::fromLatin1(bundleIdentifier.data(), static_cast<qsizetype>(bundleIdentifier.size()));
    const auto running = session.port<Workspace>().runningApplicationsWithBundleIdentifier(identifier);
    if (running.empty())
        return;
    processID = running.front().processIdentifier;
    application_ = session.port<ScriptedPlayers>().player(identifier, *processID);
}

std::uint32_t ScriptedApp::playerState() const {
    return application_ ? application_->playerState() : 0;
}

std::optional<ScriptedTrack> ScriptedApp::currentTrack() const {
    return application_ ? application_->currentTrack() : std::nullopt;
}

void ScriptedApp::playpause() const {
    if (application_)
        application_->playpause();
}

void ScriptedApp::previousTrack() const {
    if (application_)
        application_->previousTrack();
}

void ScriptedApp::nextTrack() const {
    if (application_)
        application_->nextTrack();
}

void ScriptedApp::pause() const {
    if (application_)
        application_->pause();
}

std::optional<int> ScriptedApp::soundVolume() const {
    return application_ ? application_->soundVolume() : std::nullopt;
}

void ScriptedApp::setSoundVolume(int volume) const {
    if (application_)
        application_->setSoundVolume(volume);
}

std::optional<Image> ScriptedApp::albumArt() const {
    return application_ ? application_->albumArt() : std::nullopt;
}

PlayerCapabilities ScriptedApp::capabilities() const {
    return application_ ? application_->capabilities() : PlayerCapabilities{};
}

iTunesApp::iTunesApp() : ScriptedApp(MusicPlayerBundleID::iTunes) {}

std::optional<double> iTunesApp::playerPosition() const {
    return application() ? application()->playerPosition() : std::nullopt;
}

std::optional<double> iTunesApp::trackDuration() const {
    return durationOf(currentTrack());
}

void iTunesApp::setPlayerPosition(double seconds) const {
    if (application())
        application()->setPlayerPosition(seconds);
}

std::optional<int> iTunesApp::rating() const {
    return application() ? application()->rating() : std::nullopt;
}

void iTunesApp::setRating(int rating) const {
    if (application())
        application()->setRating(rating);
}

bool iTunesApp::createPlaylistForTrack(const QString& trackName, const QString& albumName,
                                       const QString& artistName) const {
    return application() && application()->playFromLibrary({trackName, albumName, artistName}, kPlaylistName);
}

bool iTunesApp::createPlaylistForAlbum(const QString& albumName, const QString& artistName) const {
    return application() && application()->playFromLibrary({QString(), albumName, artistName}, kPlaylistName);
}

SpotifyApp::SpotifyApp() : ScriptedApp(MusicPlayerBundleID::Spotify) {}

void SpotifyApp::play() const {
    if (application())
        application()->play();
}

std::optional<int> SpotifyApp::playerPosition() const {
    return milliseconds(application() ? application()->playerPosition() : std::nullopt);
}

std::optional<int> SpotifyApp::trackDuration() const {
    return milliseconds(durationOf(currentTrack()));
}

void SpotifyApp::setPlayerPosition(double seconds) const {
    if (application())
        application()->setPlayerPosition(seconds);
}

std::optional<QString> SpotifyApp::spotifyUrl() const {
    const auto track = currentTrack();
    return track ? track->id : std::nullopt;
}

void SpotifyApp::playURI(const QString& uri) const {
    if (application())
        application()->playKey(uri);
}

void SpotifyApp::setRepeating(bool repeating) const {
    if (application())
        application()->setRepeating(repeating);
}

void SpotifyApp::setShuffling(bool shuffling) const {
    if (application())
        application()->setShuffling(shuffling);
}

RdioApp::RdioApp() : ScriptedApp(MusicPlayerBundleID::Rdio) {}

std::optional<double> RdioApp::playerPosition() const {
    return application() ? application()->playerPosition() : std::nullopt;
}

std::optional<double> RdioApp::trackDuration() const {
    return durationOf(currentTrack());
}

void RdioApp::setPlayerPosition(int seconds) const {
    if (application())
        application()->setPlayerPosition(seconds);
}

std::optional<QString> RdioApp::rdioURL() const {
    const auto track = currentTrack();
    return track ? track->url : std::nullopt;
}

std::optional<QString> RdioApp::key() const {
    const auto track = currentTrack();
    return track ? track->id : std::nullopt;
}

void RdioApp::playKey(const QString& key) const {
    if (application())
        application()->playKey(key);
}

} // namespace merlode
