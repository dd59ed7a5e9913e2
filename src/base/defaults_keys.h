#pragma once

#include <QString>
#include <QVariantMap>

#include <string_view>

namespace merlode {

/// The name of a user default together with the type that is stored under it.
template<class T>
struct DefaultsKey {
    std::string_view name;

    QString text() const { return QString::fromLatin1(name.data(), static_cast<qsizetype>(name.size())); }
};

/// Every user default of the program. The first values come from the resource "Defaults.plist". An absent
/// boolean reads as false, any other absent value as nothing.
namespace defaults {

inline constexpr DefaultsKey<bool> kShowDockIcon{"Show Dock Icon"};
inline constexpr DefaultsKey<bool> kStartupLaunch{"Startup Launch"};
inline constexpr DefaultsKey<bool> kAutoConnect{"Auto Connect"};
inline constexpr DefaultsKey<bool> kControlMac{"Control Mac"};
inline constexpr DefaultsKey<bool> kWantServer{"Want Server"};
inline constexpr DefaultsKey<QString> kLastHostName{"Last Host Name"};
inline constexpr DefaultsKey<QString> kHostName{"Host Name"};
/// 16 characters, drawn anew at each start unless stored.
inline constexpr DefaultsKey<QString> kRandomID{"Random ID"};
inline constexpr DefaultsKey<bool> kDataCollection{"Data Collection"};
inline constexpr DefaultsKey<bool> kEnableITunes{"Enable iTunes"};
inline constexpr DefaultsKey<bool> kEnableSpotify{"Enable Spotify"};
inline constexpr DefaultsKey<bool> kEnableRdio{"Enable Rdio"};
inline constexpr DefaultsKey<bool> kEnablePandora{"Enable Pandora"};
inline constexpr DefaultsKey<bool> kPlayingNotifications{"Playing Notifications"};
inline constexpr DefaultsKey<bool> kFavoriteNotifications{"Favorite Notifications"};
inline constexpr DefaultsKey<bool> kArtistSongMenuBar{"Artist/Song Menu Bar"};
/// Set once the user has been told why the panel is a window.
inline constexpr DefaultsKey<bool> kToldOfMissingBar{"Told Of Missing Bar"};
inline constexpr DefaultsKey<bool> kShowRemoteActivity{"Show Remote Activity"};
/// Read at start only; the settings write `kEnableHotkeys`. The two differ for historical reasons.
inline constexpr DefaultsKey<bool> kHotkeysEnabled{"Hotkeys Enabled"};
inline constexpr DefaultsKey<bool> kEnableHotkeys{"Enable Hotkeys"};
inline constexpr DefaultsKey<QVariantMap> kHotkeys{"Hotkeys"};
inline constexpr DefaultsKey<QString> kLastPlayedArtistName{"Last Played Artist Name"};
inline constexpr DefaultsKey<bool> kLastFMScrobbleEnabled{"LastFMScrobbleEnabled"};
inline constexpr DefaultsKey<QString> kLastFMSessionKey{"LastFMSessionKey"};
inline constexpr DefaultsKey<QString> kLastFMUserName{"LastFMUserName"};
/// The password is in the keychain.
inline constexpr DefaultsKey<QString> kPandoraUserName{"Pandora User Name"};

/// The id that the user has registered with Spotify; the secret is in the keychain.
inline constexpr DefaultsKey<QString> kSpotifyClientID{"Spotify Client ID"};

// Which program stands behind each role on this desktop.

/// "auto", "mpd", "desktop" or "private": see `PlayerRoles`.
inline constexpr DefaultsKey<QString> kLocalPlayerKind{"Local Player Kind"};
/// MPRIS name, without its prefix, of the desktop player in the local role: "strawberry".
inline constexpr DefaultsKey<QString> kLocalPlayerName{"Local Player Name"};
/// MPRIS name, without its prefix, of the Spotify client; "spotify" unless the user runs another one.
inline constexpr DefaultsKey<QString> kSpotifyPlayerName{"Spotify Player Name"};
/// MPRIS name, without its prefix, of the third desktop player; empty for none.
inline constexpr DefaultsKey<QString> kRdioPlayerName{"Rdio Player Name"};
/// The folders in which the user's music lies, as texts; the desktop's music folder where there is none.
inline constexpr DefaultsKey<QVariantList> kMusicFolders{"Music Folders"};

// Where the web services are: base addresses, "https://api.spotify.com". See `ServiceHosts`.

inline constexpr DefaultsKey<QString> kSpotifyAPIAddress{"Spotify API Address"};
/// Where tokens for the one above are had.
inline constexpr DefaultsKey<QString> kSpotifyAccountsAddress{"Spotify Accounts Address"};
inline constexpr DefaultsKey<QString> kITunesSearchAddress{"iTunes Search Address"};
/// The store's lists of new and of popular albums.
inline constexpr DefaultsKey<QString> kITunesStoreAddress{"iTunes Store Address"};
inline constexpr DefaultsKey<QString> kLastFMAPIAddress{"LastFM API Address"};
/// Where the user allows the program to use the account.
inline constexpr DefaultsKey<QString> kLastFMWebAddress{"LastFM Web Address"};
inline constexpr DefaultsKey<QString> kRdioAddress{"Rdio Address"};
inline constexpr DefaultsKey<QString> kPandoraAddress{"Pandora Address"};

} // namespace defaults
} // namespace merlode
