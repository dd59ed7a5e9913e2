#pragma once

#include "base/notification_center.h"
#include "base/session.h"
#include "ui/windows_link.h"

#include <QString>

#include <functional>
#include <optional>

/// What `AppDelegate` asks of the parts that it brings up and shuts down. The base classes do what a program
/// without that part would do. All on the main thread.
namespace merlode {

/// Shared controllers that the launch makes in its fixed order; each call makes one, if it is there.
class ControllersLink {
  public:
    virtual ~ControllersLink() = default;
    /// Finds the programs behind the players' roles, just before the first look at them.
    virtual void findPlayers() {}
    virtual void makeHotkeyManager() {}
    virtual void makeRemoteActionController() {}
    virtual void makeLastFMController() {}
    /// Gets the Pandora page ready to sign in.
    virtual void preparePandoraForLogIn() {}
};

/// The link to other machines on the network.
class HostsLink {
  public:
    virtual ~HostsLink() = default;
    /// Looks for hosts in the background; `done` is called on the main queue when the look has ended.
    virtual void discoverHosts(std::function<void()> done) = 0;
    virtual void startServer() = 0;
    virtual void stopServer() = 0;
    virtual void connectToHostName(const QString& name) = 0;
    virtual void disconnectFromHost() = 0;
    /// The host that this instance is a client of.
    virtual std::optional<QString> clientHostName() const = 0;
};

/// The store of favourites.
class StoreLink {
  public:
    virtual ~StoreLink() = default;
    virtual bool hasManagedObjectContext() const { return false; }
    /// Ends edits that are under way; false when one cannot be ended.
    virtual bool commitEditing() { return true; }
    virtual bool hasChanges() const { return false; }
    /// Writes the changes; an error's text when that failed.
    virtual std::optional<QString> save() { return std::nullopt; }
    /// Shows an error; true when the user was offered a way out and took it.
    virtual bool presentError(const QString&) { return false; }
};

} // namespace merlode
