#pragma once

#include <QString>

#include <optional>

namespace merlode {

/// What one instance can ask of another, or tell it. The raw value of each, under which it travels, is its
/// name.
enum class RemoteAction {
    trackChanged,
    albumArtChanged,
    playBackStateChanged,
    setVolume,
    playPause,
    previousTrack,
    nextTrack,
    playTrack,
    playAlbum,
    remoteSearch,
    processSearchResults,
    showAlert,
    requestBroadcast,
    notifyAddedToFavorites,
    reportAddedToFavorites,
    findAndPlayTrack,
    findAndPlayAlbum,
    playerPosition,
    remoteSourceChanged,
    remoteSearchiTunesForAlbum,
    remoteSearchiTunesForTrack,
    processRemoteiTunesSearchAlbum,
    processRemoteiTunesSearchTrack,
    playPandoraItem,
    playPandoraStation,
    pandoraStationsChanged,
    remoteThumbsPandora,
    remoteiTunesRating,
    pandoraThumbsUpdated,
    itunesRatingUpdated,
    pandoraStationNameUpdated,
};

inline constexpr int kRemoteActionCount = 31;

/// The text under which the action travels.
QString rawValue(RemoteAction action);

/// The action of this text, which is compared exactly. Nothing for any other text: a peer may send what it
/// likes.
std::optional<RemoteAction> remoteActionFromRawValue(QStringView rawValue);

} // namespace merlode
