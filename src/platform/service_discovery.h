#pragma once

#include "platform/socket_address.h"

#include <QString>

#include <functional>
#include <memory>
#include <vector>

namespace merlode {

/// Services that machines announce to each other on the local network, in the domain "local".
///
/// Main thread. No callback comes from within a call; all come through the run loop's queue, and none after
/// its `Activity` has been destroyed. A callback may destroy its own activity. Absent callbacks are left out.
class ServiceDiscovery {
  public:
    /// What a name takes at most, in UTF-8. The bound is the network's.
    static constexpr int kMostNameBytes = 63;

    /// What `didNotPublish` says when another service has the name.
    static QString nameIsTaken() { return QStringLiteral("the name is taken"); }

    /// Something that goes on until it is stopped. Destroying it ends it as `stop` does, without a callback.
    class Activity {
      public:
        virtual ~Activity() = default;
        /// Ends it. Later calls do nothing.
        virtual void stop() = 0;
    };

    /// A service to announce.
    struct Service {
        QString type; ///< "_Name._tcp.", the dot at its end included
        QString name; ///< for people; unique on the network among its type
        quint16 port = 0;
    };

    struct PublishCallbacks {
        std::function<void()> didPublish;
        std::function<void()> didStop; ///< exactly once after `stop`, whatever came before
        /// The name is empty, too long or taken, or nothing can be announced here; with why, for people. A
        /// clash of names can also be found later, when two networks are joined.
        std::function<void(const QString& reason)> didNotPublish;
    };

    struct BrowseCallbacks {
        std::function<void()> willSearch;
        /// A service, once for each name. `moreComing` is false for the last of those that are known at the
        /// moment: the first such call comes when everybody has had time to answer.
        std::function<void(const QString& name, bool moreComing)> didFind;
        std::function<void()> didStop;                           ///< once after `stop`
        std::function<void(const QString& reason)> didNotSearch; ///< instead of everything else
    };

    struct ResolveCallbacks {
        /// Once. The addresses are in the order in which they should be tried, and can be none.
        std::function<void(const std::vector<SocketAddress>& addresses, quint16 port)> didResolve;
        /// Once, when no answer has come in time, or nothing can be asked here.
        std::function<void(const QString& reason)> didNotResolve;
    };

    virtual ~ServiceDiscovery() = default;

    /// Announces the service on all interfaces for as long as the activity lasts.
    virtual std::unique_ptr<Activity> publish(const Service& service, PublishCallbacks callbacks) = 0;

    /// Looks for services of the type, those of this machine included. Without any only `willSearch` is
    /// called until one comes up.
    virtual std::unique_ptr<Activity> browse(const QString& type, BrowseCallbacks callbacks) = 0;

    /// Asks for the addresses of a service, for `seconds` at most.
    virtual std::unique_ptr<Activity> resolve(const QString& type, const QString& name, double seconds,
                                              ResolveCallbacks callbacks) = 0;

    /// Why services can neither be announced nor found here, in words for people; empty where they can be or
    /// where nobody has tried yet.
    virtual QString unavailableReason() const = 0;
};

} // namespace merlode
