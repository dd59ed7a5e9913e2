#pragma once

#include "model/remote_action.h"

#include <QVariantMap>

#include <optional>

namespace merlode {

class Album;
class Track;

/// What player control needs of the link to other machines: to tell clients of changes, to ask things of the
/// host, and to take the machine back when its own player starts while it is somebody's client. Main thread.
class RemoteLink {
  public:
    /// Names one connected client for as long as it stays connected; it says nothing about the client.
    using ClientId = quint64;

    virtual ~RemoteLink() = default;

    /// Whether a connection to a host is being set up.
    virtual bool connecting() const = 0;

    /// Whether anybody would hear a broadcast: for senders whose message is costly to make.
    virtual bool hasClients() const = 0;

    /// Leaves the host, if there is one, and plays for this machine alone again.
    virtual void connectToSelf() = 0;

    /// Sends the action to the host whose client this machine is. Nothing happens, and nobody is told, when
    /// there is none or the connection has gone.
    virtual void sendMessageToHost(RemoteAction action, const QVariantMap& payload) = 0;

    /// The client that connected from this address, the first one where several did. Nothing when none did.
    virtual std::optional<ClientId> getClientSocketFromAddress(const QString& address) const = 0;

    /// Sends the client with this address what it searched for. Nothing happens when it has gone.
    virtual void broadcastRemoteSearch(const QVariantMap& results, const QString& address) = 0;

    /// Sends the client with this address the album, or the track, with the play key that it asked for.
    /// Nothing happens when it has gone.
    virtual void broadcastRemoteiTunesAlbumKey(const Album& album, const QString& address) = 0;
    virtual void broadcastRemoteiTunesTrackKey(const Track& track, const QString& address) = 0;

    /// Has the client with this address show an alert. Nothing happens when it has gone.
    virtual void broadcastAlertToClient(const QString& title, const QString& message,
                                        const QString& address) = 0;

    /// Sends the action to one client, or to all where none is named. Nothing happens without clients, or
    /// when the named one has gone.
    virtual void broadcastMessage(RemoteAction action, const QVariantMap& payload,
                                  std::optional<ClientId> singleClient) = 0;

    /// Sends the action to all clients.
    void broadcastMessage(RemoteAction action, const QVariantMap& payload) {
        broadcastMessage(action, payload, std::nullopt);
    }
};

} // namespace merlode
