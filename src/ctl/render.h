#pragma once

#include <QByteArray>
#include <QJsonArray>
#include <QJsonObject>
#include <QString>

#include <optional>

/// What merlodectl prints, as text for people. Everything that came from a player is made safe for a
/// terminal.
namespace merlode::ctl {

/// The status on a few aligned lines; what is absent is left out.
QString statusText(const QJsonObject& status);

/// The status on one line, for "--follow": "playing: Artist - Title".
QString statusLine(const QJsonObject& status);

/// True when the status tells that no player could take a command.
bool hasNoPlayer(const QJsonObject& status);

/// The table of the roles and, below them, of the players in no role. A star marks the active one.
QString playersText(const QJsonArray& players);

/// What a search has found, with at most `limit` rows of each kind.
QJsonObject limited(const QJsonObject& found, std::optional<int> limit);

/// The rows of a search as a table, and below it which services gave nothing, and why.
QString searchText(const QJsonObject& found);

/// The hosts that were found, one a line; a star marks the one that is connected.
QString hostsText(const QJsonObject& hosts);

/// A line for each service: its name, and whether it is on.
QString servicesText(const QJsonObject& services);

/// The state of the music library on one line.
QString libraryText(const QJsonObject& library);

/// A line for each check, with how to mend what is not as it should be below it.
QString doctorText(const QJsonArray& checks);

/// The check that stands first in what is printed while the program is not running.
QJsonObject notRunningCheck();

bool anyMissing(const QJsonArray& checks);

/// One line of JSON with its newline.
QByteArray jsonLine(const QJsonObject& object);
QByteArray jsonLine(const QJsonArray& array);

} // namespace merlode::ctl
