#include "players/local_players.h"

#include "base/session.h"
#include "model/album.h"
#include "model/track.h"
#include "platform/alerts.h"

#include <cmath>

namespace merlode {

namespace {

std::optional<int> wholeSeconds(std::optional<double> seconds) {
    if (!seconds)
        return std::nullopt;
    return static_cast<int>(*seconds);
}

// The track with all that a player must tell of it, or nothing where one of the texts is missing.
std::optional<Track::Details> completeDetails(const ScriptedTrack& track, qint64 duration) {
    if (!track.id || !track.name || !track.album || !track.artist)
        return std::nullopt;
    return Track::Details{*track.id, *track.name, *track.album, *track.artist, duration, false, 0};
}

} // namespace

std::shared_ptr<Track> MusicPlayer::getCurrentTrack() {
    return Track::UnknownTrack({});
}

std::shared_ptr<Track> iTunesPlayer::getCurrentTrack() {
    const auto track = app.currentTrack();
    if (!track)
        return nullptr;
    const auto details = completeDetails(*track, wholeSeconds(track->duration).value_or(0));
    return details ? Track::iTunesTrack(*details, details->id) : currentTrack_;
}

std::optional<int> iTunesPlayer::playerPosition() {
    return wholeSeconds(app.playerPosition());
}

std::optional<int> iTunesPlayer::trackDuration() {
    return wholeSeconds(app.trackDuration());
}

void iTunesPlayer::playTrack(const Track& track) {
    if (app.createPlaylistForTrack(track.name(), track.albumName(), track.artistName()))
        return;
    Session::current().port<Alerts>().runModal(
        {QStringLiteral("Track not found"),
         QStringLiteral("The selected track doesn't appear to be in your local iTunes library."),
         {QStringLiteral("OK")}});
}

void iTunesPlayer::playAlbum(const Album& album) {
    app.createPlaylistForAlbum(album.name(), album.artistName());
}

void iTunesPlayer::trackChanged(const Notification& notification) {
    const auto& info = notification.userInfo;
    const QVariant name = info.value(QStringLiteral("Name"));
    const QVariant artist = info.value(QStringLiteral("Artist"));
    const QVariant album = info.value(QStringLiteral("Album"));
    for (const auto* text : {&name, &artist, &album}) {
        if (text->typeId() != QMetaType::QString)
            return;
    }
    auto track = Track::make(ItemSourceType::AppleMusic,
                             {QString(), name.toString(), album.toString(), artist.toString(), 0, false, 0});
    if (!currentTrack_ || !(*currentTrack_ == *track))
        currentTrack_ = std::move(track);
}

std::shared_ptr<Track> SpotifyPlayer::getCurrentTrack() {
    const auto track = app.currentTrack();
    const auto details = track ? completeDetails(*track, app.trackDuration().value_or(0)) : std::nullopt;
    return details ? Track::SpotifyTrack(*details, details->id) : nullptr;
}

std::optional<int> SpotifyPlayer::playerPosition() {
    const auto milliseconds = app.playerPosition();
    if (!milliseconds)
        return std::nullopt;
    return static_cast<int>(std::roundf(static_cast<float>(*milliseconds / 1000.0)));
}

std::optional<int> SpotifyPlayer::trackDuration() {
    const auto milliseconds = app.trackDuration();
    if (!milliseconds)
        return std::nullopt;
    return *milliseconds / 1000;
}

void SpotifyPlayer::playTrack(const Track& track) {
    if (const auto key = track.spotifyPlayKey())
        app.playURI(*key);
}

void SpotifyPlayer::playAlbum(const Album& album) {
    if (const auto key = album.spotifyPlayKey())
        app.playURI(*key);
}

std::optional<Image> SpotifyPlayer::getAlbumArt() {
    return playsAdvertisement() ? std::nullopt : app.albumArt();
}

bool SpotifyPlayer::playsAdvertisement() const {
    const auto url = spotifyUrl();
    return url && url->startsWith(u"spotify:ad");
}

std::shared_ptr<Track> RdioPlayer::getCurrentTrack() {
    const auto track = app.currentTrack();
    const auto details =
        track ? completeDetails(*track, wholeSeconds(track->duration).value_or(0)) : std::nullopt;
    return details ? Track::RdioTrack(*details, details->id) : nullptr;
}

std::optional<int> RdioPlayer::playerPosition() {
    return wholeSeconds(app.playerPosition());
}

std::optional<int> RdioPlayer::trackDuration() {
    return wholeSeconds(app.trackDuration());
}

void RdioPlayer::playTrack(const Track& track) {
    if (const auto key = track.rdioPlayKey())
        app.playKey(*key);
}

void RdioPlayer::playAlbum(const Album& album) {
    if (const auto key = album.rdioPlayKey())
        app.playKey(*key);
}

} // namespace merlode
