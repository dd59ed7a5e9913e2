#pragma once

#include <QString>

namespace merlode {

class UserDefaults;

/// Where the web services are reached: each a scheme, a host and where needed a port, without a slash at the
/// end. Settings, so that a mirror can stand in for a service. Read once when the program starts and then
/// installed in the session as it is: any thread.
struct ServiceHosts {
    QString spotifyAPI = QStringLiteral("https://api.spotify.com");
    QString iTunesSearch = QStringLiteral("https://itunes.apple.com");
    QString iTunesStore = QStringLiteral("https://itunes.apple.com");
    QString lastFMAPI = QStringLiteral("https://ws.audioscrobbler.com");
    QString lastFMWeb = QStringLiteral("https://www.last.fm");
    QString rdio = QStringLiteral("https://services.rdio.com");
    QString pandora = QStringLiteral("http://www.pandora.com");

    /// The hosts of the settings. One that is not set or is no such address keeps its default; the latter is
    /// told in the log. Main thread.
    static ServiceHosts fromDefaults(const UserDefaults& userDefaults);
};

} // namespace merlode
