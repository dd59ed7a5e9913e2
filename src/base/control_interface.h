#pragma once

// The table is one line a row.
// clang-format off
/// The names under which a running Merlode can be controlled over the session bus, shared by the program, which
/// offers them, and `merlodectl`, which calls them.
///
/// | method | takes | gives |
/// |---|---|---|
/// | Status | | a{sv}: the keys below; waits a moment for the file of new art |
/// | Follow | | h: the reading end of a pipe; one JSON object a line, the status at once and after each change |
/// | PlayPause, Play, Pause, Next, Previous | | |
/// | Seek | d: seconds from the start of the track | |
/// | SeekBy | d: seconds from here, negative backwards | |
/// | SetVolume | i: 0 to 100 | |
/// | ChangeVolume | i: added to the volume, which stays within 0 to 100 | |
/// | ToggleMute | | |
/// | Players | | aa{sv}: "role" ("local", "spotify", "rdio"), "program", "installed", "running", "active", "enabled", "state" of each role; then the MPRIS players in no role, with an empty "role" |
/// | UsePlayer | s: role ("local", "spotify", "rdio"), s: program ("auto", "mpd", "private", an MPRIS name, or "none") | |
/// | Doctor | | aa{sv}: "name", "state" ("ok", "warning", "missing"), "found", "mend" |
/// | Search | s: what to look for | s: JSON, see below; answers when all services have |
/// | PlayRow | u: a row of the last search, s: "library", "spotify", "rdio", "pandora", or empty for the one that suits best | s: a message for people, empty when it plays already |
/// | Library | s: "rescan", "cancel", or empty | a{sv}: "state" ("not scanned yet", "scanning", "up to date", "cancelled", "unreachable"), "folder", "songs", "filesSeen", "filesTotal" |
/// | Services | | a{sv}: "library", "spotify", "rdio", "pandora", each with whether it is switched on |
/// | EnableService | s: one of these, b: whether it is searched and offered to other machines | |
/// | UseMusicFolders | as: absolute paths, none for the desktop's own | |
/// | Spotify | s: "login", "logout" or empty, s: client id, s: secret, both for "login" only | s: a message for people about the sign-in to Spotify's catalogue |
/// | Hosts | | a{sv}: "role" as in a status, "name" (of this machine), "hosts" (as: names of the servers on the network), "connected" (name of the own server, if any), "problem" (why none can be found, if so); answers when others have had time to |
/// | Connect | s: the name of a host, or HOST:PORT | s: a message for people; answers when connected |
/// | Disconnect | | s: a message for people, may be empty |
/// | Serve | b: whether other machines may control this one | s: a message for people, may be empty |
/// | Rename | s: a name for this machine, 63 bytes at most | s: a message for people, may be empty |
/// | Reopen | | brings the window or panel forward |
/// | ReopenWithToken | s: the desktop's permission to come forward, as in XDG_ACTIVATION_TOKEN, may be empty | the same |
/// | Quit | | ends the program |
///
/// The JSON of a search: "term"; "rows", each with "row" (its number, kept until the next search), "kind" ("track",
/// "album", "station"), "title", "artist", "album" and "services"; "services", what became of each that was asked:
/// "service", "seconds" and, where it gave nothing, "failure".
///
/// A method that cannot be carried out answers with one of the errors below and a message for people.
// clang-format on
namespace merlode::control {

inline constexpr char kService[] = "co.vantry.Merlode";
inline constexpr char kPath[] = "/co/vantry/Merlode";
inline constexpr char kInterface[] = "co.vantry.Merlode1";

/// No player is active: nothing could take the command.
inline constexpr char kErrorNoPlayer[] = "co.vantry.Merlode1.Error.NoPlayer";
/// The active player cannot do this (a stream that cannot be sought, a player without a volume).
inline constexpr char kErrorNotSupported[] = "co.vantry.Merlode1.Error.NotSupported";
/// An argument is out of range or names nothing.
inline constexpr char kErrorInvalidArgument[] = "co.vantry.Merlode1.Error.InvalidArgument";
/// It was tried and did not come about: a host that does not answer, a name that is taken.
inline constexpr char kErrorFailed[] = "co.vantry.Merlode1.Error.Failed";

/// The keys of a status, in the order in which people read them. Absent where there is nothing to tell.
namespace status {
inline constexpr char kState[] = "state"; ///< text: "playing", "paused" (not playing) or "none" (no player)
/// text: "server" (others can control this machine), "client of NAME" (all goes to that machine) or "local"
inline constexpr char kRole[] = "role";
inline constexpr char kPlayer[] = "player";     ///< text: role of the active player: "iTunes", "Spotify", ...
inline constexpr char kProgram[] = "program";   ///< text: the program behind that role
inline constexpr char kTitle[] = "title";       ///< text
inline constexpr char kArtist[] = "artist";     ///< text
inline constexpr char kAlbum[] = "album";       ///< text
inline constexpr char kPosition[] = "position"; ///< integer, seconds
inline constexpr char kDuration[] = "duration"; ///< integer, seconds
inline constexpr char kVolume[] = "volume";     ///< integer, 0 to 100
inline constexpr char kMuted[] = "muted";       ///< boolean
/// text: the path of a JPEG or PNG file with the art, for this user's eyes only. Other art has another name;
/// the file is gone with the art and with the program. The first to ask has it made: until it is written, and
/// where there is no art, the key is absent.
inline constexpr char kArtFile[] = "artFile";
} // namespace status

/// Where a program that had to start its own session bus leaves the bus's address, below the runtime folder.
inline constexpr char kBusAddressFile[] = "merlode/bus-address";

} // namespace merlode::control
