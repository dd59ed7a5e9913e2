#pragma once

#include "base/notification_center.h"

/// Every notification of the program. Unless a comment says otherwise the object is null and there is no user
/// information: an observer reads the shared controller that posted. All are posted on the main thread. The
/// texts are part of the program's interface and are kept as they stand, odd spellings included.
namespace merlode::notifications {

// The default centre.
inline constexpr NotificationName kAvailableSourcesChanged{"AvailableSourcesChanged"};
inline constexpr NotificationName kBackgroundSchemeUpdated{"BackgroundSchemeUpdated"};
inline constexpr NotificationName kDisplaySearchTracks{"Display Search Tracks"};
inline constexpr NotificationName kDisplaySearchAlbums{"Display Search Albums"};
inline constexpr NotificationName kDisplaySearchPandora{"Display Search Pandora"};
inline constexpr NotificationName kFavoritesUpdate{"FavoritesUpdate"};
inline constexpr NotificationName kGlobalHotKeySelected{"GlobalHotKeySelected"};
/// User information "type": "application" or "system".
inline constexpr NotificationName kHotkeyManagerHotkeyTaken{"HotkeyManagerHotkeyTaken"};
inline constexpr NotificationName kHotkeyManagerStartedRecording{"HotkeyManagerStartedRecording"};
inline constexpr NotificationName kHotkeyManagerStoppedRecording{"HotkeyManagerStoppedRecording"};
inline constexpr NotificationName kLastFMConnectionChanged{"LastFMConnectionChanged"};
/// Read `MediaLibrary::readItems`, in the background.
inline constexpr NotificationName kMediaLibraryChanged{"MediaLibraryChanged"};
/// Read `MediaLibrary::progress`.
inline constexpr NotificationName kMediaLibraryProgress{"MediaLibraryProgress"};
/// Read `PlayerController::currentAlbumArt`.
inline constexpr NotificationName kNewAlbumArtAvailable{"NewAlbumArtAvailable"};
/// Read `PlayerController::pandoraStationName`.
inline constexpr NotificationName kNewPandoraStationAvailable{"NewPandoraStationAvailable"};
/// Read `PlayerController::currentPlayState`.
inline constexpr NotificationName kNewPlayStateAvailable{"NewPlayStateAvailable"};
/// Read `PlayerController::currentTrack`.
inline constexpr NotificationName kNewTrackInfoAvailable{"NewTrackInfoAvailable"};
/// User information "Volume": integer, 0 to 100.
inline constexpr NotificationName kNewVolumeInfoAvailable{"NewVolumeInfoAvailable"};
inline constexpr NotificationName kOpenLastFMWindow{"OpenLastFMWindow"};
inline constexpr NotificationName kOpenPanelWindow{"OpenPanelWindow"};
inline constexpr NotificationName kPandoraLoginStateChanged{"PandoraLoginStateChanged"};
inline constexpr NotificationName kPandoraSavedStationsUpdated{"PandoraSavedStationsUpdated"};
/// User information "thumbType": integer.
inline constexpr NotificationName kPandoraThumbsUpdated{"PandoraThumbsUpdated"};
inline constexpr NotificationName kRemoteClientHostNameUpdated{"RemoteClientHostNameUpdated"};
inline constexpr NotificationName kSearchControllerClearResults{"SearchControllerClearResults"};
inline constexpr NotificationName kSearchControllerFinished{"SearchControllerFinished"};
inline constexpr NotificationName kSearchControllerSearchAction{"SearchControllerSearchAction"};
inline constexpr NotificationName kSelectPanelSearchField{"SelectPanelSearchField"};
inline constexpr NotificationName kSelectSearchField{"SelectSearchField"};
inline constexpr NotificationName kServerConnectionChanged{"ServerConnectionChanged"};
/// The object is the settings window.
inline constexpr NotificationName kSettingsButtonSelected{"SettingsButtonSelected"};
inline constexpr NotificationName kShowFavoritesView{"Show Favorites View"};
/// User information "album".
inline constexpr NotificationName kShowTrackListView{"Show Track List View"};
inline constexpr NotificationName kShowWindowView{"Show Window View"};
inline constexpr NotificationName kShowPandoraSettingsLogIn{"ShowPandoraSettingsLogIn"};
/// A debug command; spelled so.
inline constexpr NotificationName kShowPandowWindow{"ShowPandowWindow"};
inline constexpr NotificationName kSocketClientConnectionStateChanged{"SocketClientConnectionStateChanged"};
inline constexpr NotificationName kSocketHostListDidChange{"SocketHostListDidChange"};
inline constexpr NotificationName kSocketServerStateChanged{"SocketServerStateChanged"};
/// Read `PlayerController::currentPlayerPosition` or `currentPlayerPositionString`.
inline constexpr NotificationName kTrackPositionUpdated{"TrackPositionUpdated"};
/// User information "offset": a float.
inline constexpr NotificationName kUpdateTriangleConstraint{"Update Triangle Constraint"};
inline constexpr NotificationName kUpdateStatusItemFrame{"UpdateStatusItemFrame"};
inline constexpr NotificationName kUpdatedDiscoveryCurrentRelatedArtists{
    "UpdatedDiscoveryCurrentRelatedArtists"};
inline constexpr NotificationName kUpdatedDiscoveryFavoriteRelatedArtists{
    "UpdatedDiscoveryFavoriteRelatedArtists"};
inline constexpr NotificationName kUpdatedNewReleaseAlbums{"UpdatedNewReleaseAlbums"};
inline constexpr NotificationName kUpdatedTopAlbums{"UpdatedTopAlbums"};
/// User information "rating": integer.
inline constexpr NotificationName kITunesRatingUpdated{"iTunesRatingUpdated"};

// Posted by the desktop's side on the default centre; the object is the window, where one is meant.
inline constexpr NotificationName kApplicationDidBecomeActive{"NSApplicationDidBecomeActiveNotification"};
inline constexpr NotificationName kWindowDidResignKey{"NSWindowDidResignKeyNotification"};
inline constexpr NotificationName kWindowDidBecomeKey{"NSWindowDidBecomeKeyNotification"};
inline constexpr NotificationName kWindowWillClose{"NSWindowWillCloseNotification"};
inline constexpr NotificationName kPopUpButtonWillPopUp{"NSPopUpButtonWillPopUpNotification"};

// The workspace centre.
/// User information "NSApplicationName": "iTunes", "Spotify" or "Rdio".
inline constexpr NotificationName kWorkspaceDidLaunchApplication{
    "NSWorkspaceDidLaunchApplicationNotification"};
inline constexpr NotificationName kWorkspaceWillSleep{"NSWorkspaceWillSleepNotification"};
inline constexpr NotificationName kWorkspaceDidWake{"NSWorkspaceDidWakeNotification"};

// The distributed centre: announcements from other programs. The players' carry what they told of the track
// as "Name", "Artist" and "Album", all three or, where there is no title, none.
inline constexpr NotificationName kITunesPlayerInfo{"com.apple.iTunes.playerInfo"};
inline constexpr NotificationName kSpotifyPlaybackStateChanged{"com.spotify.client.PlaybackStateChanged"};
inline constexpr NotificationName kInterfaceThemeChanged{"AppleInterfaceThemeChangedNotification"};

} // namespace merlode::notifications
