#pragma once

#include <QString>

#include <array>

namespace merlode {

class UserDefaults;

/// The web services that the program asks, by the hosts that they answer on.
enum class WebService {
    SpotifyAPI,
    SpotifyAccounts,
    iTunesSearch,
    iTunesStore,
    LastFMAPI,
    LastFMWeb,
    Rdio,
    Pandora
};

/// Where the web services are: the public hosts, unless a setting names another, for people who run mirrors
/// and for the demo, which asks nobody. Read once.
class ServiceHosts {
  public:
    /// The one of the session. Called first on the main thread, at launch, since it reads the settings; from
    /// then on from any thread.
    static ServiceHosts& sharedController();

    /// Reads the settings of the session. One that is no base address leaves a line in the log and counts as
    /// not set.
    ServiceHosts();

    /// The base address, "https://api.example" or "http://127.0.0.1:8123": a path is appended to it as it is.
    const QString& address(WebService service) const { return addresses_[static_cast<std::size_t>(service)]; }

    /// Stores one base address for all services. Takes effect with the next object of this class.
    static void setAll(UserDefaults& userDefaults, const QString& address);

  private:
    std::array<QString, 8> addresses_;
};

} // namespace merlode
