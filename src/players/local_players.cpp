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

int orZero(std::optional<double> seconds) { return wholeSeconds(seconds).value_or(0); }

} // namespace

std::shared_ptr<Track> MusicPlayer::getCurrentTrack() {
    return Track::UnknownTrack(QString(), QString(), QString(), QString(), 0, false, 0);
}

std::shared_ptr<Track> iTunesPlayer::getCurrentTrack() {
    const auto track = app.currentTrack();
    if (!track)
        return nullptr;
    if (!track->id || !track->name || !track->album || !track->artist)
        return currentTrack_;
    return Track::iTunesTrack(*track->id, *track->id, *track->name, *track->album, *track->artist,
                              orZero(track->duration), false, 0);
}

std::optional<int> iTunesPlayer::playerPosition() { return wholeSeconds(app.playerPosition()); }

std::optional<int> iTunesPlayer::trackDuration() { return wholeSeconds(app.trackDuration()); }

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
    auto track = std::make_shared<Track>(ItemSourceType::AppleMusic, QString(), name.toString(),
                                         album.toString(), artist.toString(), 0, false, 0);
    if (!currentTrack_ || !(*currentTrack_ == *track))
        currentTrack_ = std::move(track);
}

std::shared_ptr<Track> SpotifyPlayer::getCurrentTrack() {
    const auto track = app.currentTrack();
    if (!track || !track->id || !track->name || !track->album || !track->artist)
        return nullptr;
    return Track::SpotifyTrack(*track->id, *track->id, *track->name, *track->album, *track->artist,
                               app.trackDuration().value_or(0), false, 0);
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

bool SpotifyPlayer::playsAdvertisement() const {
    const auto url = spotifyUrl();
    return url && url->startsWith(u"spotify:ad");
}

std::shared_ptr<Track> RdioPlayer::getCurrentTrack() {
    const auto track = app.currentTrack();
    if (!track || !track->id || !track->name || !track->album || !track->artist)
        return nullptr;
    return Track::RdioTrack(*track->id, *track->id, *track->name, *track->album, *track->artist,
                            orZero(track->duration), false, 0);
}

std::optional<int> RdioPlayer::playerPosition() { return wholeSeconds(app.playerPosition()); }

std::optional<int> RdioPlayer::trackDuration() { return wholeSeconds(app.trackDuration()); }

void RdioPlayer::playTrack(const Track& track) {
    if (const auto key = track.rdioPlayKey())
        app.playKey(*key);
}

void RdioPlayer::playAlbum(const Album& album) {
    if (const auto key = album.rdioPlayKey())
        app.playKey(*key);
}

} // namespace merlode
