#pragma once

#include "platform/scripted_player.h"

#include <QString>
#include <QVariant>

#include <optional>

/// Readers of what MPRIS players send. Pure functions: whatever a value's type, they give it or nothing. Any
/// thread.
namespace merlode::mpris {

/// A value freed of the D-Bus variants wrapped around it.
QVariant bareValue(const QVariant& value);

/// Any of D-Bus's number types, or digits sent as text. Nothing for what is not finite.
std::optional<double> numberFrom(const QVariant& value);

/// A string or an object path, of any length.
std::optional<QString> textFrom(const QVariant& value);

std::optional<bool> boolFrom(const QVariant& value);

/// A dictionary with text keys and variant values; an empty one for anything else.
QVariantMap mapFrom(const QVariant& value);

/// The track behind a player's "Metadata"; nothing where the player says that it has none, or says nothing.
std::optional<ScriptedTrack> trackFrom(const QVariantMap& metadata);

/// The identity of a track by its "mpris:trackid" and "xesam:url": for Spotify, in whichever of its forms it
/// comes, "spotify:track:...", "spotify:episode:..." or "spotify:ad:..."; else the address, which survives a
/// restart of the player; else the track id.
std::optional<QString> identityOf(const QString& trackId, const QString& url);

/// "mpris:trackid" where it can be sent back as an object path.
std::optional<QString> trackPathFrom(const QVariantMap& metadata);

/// "mpris:artUrl", however long: some players send the picture itself in it.
std::optional<QString> artUrlFrom(const QVariantMap& metadata);

/// "xesam:userRating", 0 to 1, as 0 to 100.
std::optional<int> ratingFrom(const QVariantMap& metadata);

/// A number of microseconds as seconds; nothing beyond `kLongestSeconds` or below 0.
std::optional<double> secondsFrom(const QVariant& microseconds);

/// Streams announce the largest integer, broken players worse: no track is longer than a month.
inline constexpr double kLongestSeconds = 31.0 * 24 * 3600;

} // namespace merlode::mpris
