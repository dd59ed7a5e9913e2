#pragma once

#include "platform/linux/deferred_calls.h"
#include "platform/linux/found_services.h"
#include "platform/linux/service_names.h"
#include "platform/service_discovery.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QObject>

#include <functional>

namespace merlode {

/// What the activities below have in common: an object that the daemon keeps for them, under a path of its
/// own, until they let go of it or leave the bus. Main thread.
class AvahiDaemonActivity : public QObject, public ServiceDiscovery::Activity {
    Q_OBJECT
  public:
    using Failure = std::function<void(const QString& reason)>;

    ~AvahiDaemonActivity() override { free(); }

  protected:
    /// `interface` is that of the daemon's object; `failure` hears of whatever goes wrong, once or more.
    AvahiDaemonActivity(RunLoop& loop, QDBusConnection bus, const char* interface, Failure failure);

    /// Calls a method of the daemon and hands over its answer, or the failure.
    void askServer(const char* method, const QVariantList& arguments,
                   std::function<void(const QDBusMessage&)> done);
    /// The same for the object, once there is one. `done` may be empty.
    void askObject(const char* method, const QVariantList& arguments,
                   std::function<void(const QDBusMessage&)> done);
    /// Has a slot called with each signal of this name from the object.
    void listen(const char* signal, const char* slot);
    void setObject(const QDBusMessage& answer);
    void fail(const QString& reason);
    void free();

    DeferredCalls calls_;

  private:
    void ask(const QDBusMessage& call, std::function<void(const QDBusMessage&)> done);

    QDBusConnection bus_;
    QString interface_;
    QString path_;
    Failure failure_;
};

/// A service that the daemon announces.
class AvahiDaemonPublication final : public AvahiDaemonActivity {
    Q_OBJECT
  public:
    AvahiDaemonPublication(RunLoop& loop, const QDBusConnection& bus, ServiceDiscovery::Service service,
                           ServiceDiscovery::PublishCallbacks callbacks);
    void stop() override;

  private:
    Q_SLOT void stateChanged(int state, const QString& error); // called by D-Bus
    void begin();
    void announce();

    ServiceDiscovery::Service service_;
    ServiceDiscovery::PublishCallbacks callbacks_;
    bool published_ = false;
    bool stopped_ = false;
};

/// A browser in the daemon.
class AvahiDaemonBrowsing final : public AvahiDaemonActivity {
    Q_OBJECT
  public:
    AvahiDaemonBrowsing(RunLoop& loop, const QDBusConnection& bus, const QString& type,
                        ServiceDiscovery::BrowseCallbacks callbacks);
    void stop() override;

  private:
    // Called by D-Bus.
    Q_SLOT void itemNew(int interface, int protocol, const QString& name, const QString& type,
                        const QString& domain, uint flags);
    Q_SLOT void itemRemove(int interface, int protocol, const QString& name, const QString& type,
                           const QString& domain, uint flags);
    Q_SLOT void allForNow();
    Q_SLOT void failure(const QString& error);

    ServiceDiscovery::BrowseCallbacks callbacks_;
    FoundServices found_;
    bool stopped_ = false;
};

/// A question to the daemon, for both address families.
class AvahiDaemonResolution final : public AvahiDaemonActivity {
    Q_OBJECT
  public:
    AvahiDaemonResolution(RunLoop& loop, const QDBusConnection& bus, const QString& type, const QString& name,
                          double seconds, ServiceDiscovery::ResolveCallbacks callbacks);
    void stop() override;

  private:
    void answered(const QDBusMessage& answer);
    void resolved();

    ServiceDiscovery::ResolveCallbacks callbacks_;
    ResolvedAddresses answers_;
    quint16 port_ = 0;
    bool over_ = false;
    Timer limit_;
    Timer settle_;
};

} // namespace merlode
