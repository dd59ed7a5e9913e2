#include "platform/linux/avahi_daemon_activities.h"

#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>

namespace merlode {

namespace {

// Numbers of the daemon's interface.
constexpr int kAnyInterface = -1;
constexpr int kAnyProtocol = -1;
constexpr int kInet = 0;
constexpr int kInet6 = 1;
constexpr int kEstablished = 2;
constexpr int kCollision = 3;
constexpr int kFailure = 4;

// Seconds that an answer of the one address family waits for that of the other.
constexpr double kOtherFamilyTime = 0.2;

const QString kService = QStringLiteral("org.freedesktop.Avahi");
const QString kLocal = QStringLiteral("local");

} // namespace

AvahiDaemonActivity::AvahiDaemonActivity(RunLoop& loop, QDBusConnection bus, const char* interface,
                                         Failure failure)
    : calls_(loop),
      bus_(std::move(bus)),
      interface_(QStringLiteral("org.freedesktop.Avahi.") + QLatin1String(interface)),
      failure_(std::move(failure)) {}

void AvahiDaemonActivity::fail(const QString& reason) {
    if (failure_)
        calls_.call([tell = failure_, reason] { tell(reason); });
}

void AvahiDaemonActivity::ask(const QDBusMessage& call, std::function<void(const QDBusMessage&)> done) {
    const auto* watcher = new QDBusPendingCallWatcher(bus_.asyncCall(call), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this,
            [this, done = std::move(done)](QDBusPendingCallWatcher* finished) {
                finished->deleteLater();
                const auto answer = finished->reply();
                if (answer.type() == QDBusMessage::ErrorMessage)
                    return fail(answer.errorName().endsWith(QStringLiteral("CollisionError"))
                                    ? ServiceDiscovery::nameIsTaken()
                                    : answer.errorMessage());
                if (done)
                    done(answer);
            });
}

void AvahiDaemonActivity::askServer(const char* method, const QVariantList& arguments,
                                    std::function<void(const QDBusMessage&)> done) {
    auto call = QDBusMessage::createMethodCall(kService, QStringLiteral("/"),
                                               QStringLiteral("org.freedesktop.Avahi.Server2"),
                                               QLatin1String(method));
    call.setArguments(arguments);
    ask(call, std::move(done));
}

void AvahiDaemonActivity::askObject(const char* method, const QVariantList& arguments,
                                    std::function<void(const QDBusMessage&)> done) {
    auto call = QDBusMessage::createMethodCall(kService, path_, interface_, QLatin1String(method));
    call.setArguments(arguments);
    ask(call, std::move(done));
}

void AvahiDaemonActivity::listen(const char* signal, const char* slot) {
    bus_.connect(kService, path_, interface_, QLatin1String(signal), this, slot);
}

void AvahiDaemonActivity::setObject(const QDBusMessage& answer) {
    path_ = answer.arguments().value(0).value<QDBusObjectPath>().path();
}

void AvahiDaemonActivity::free() {
    if (const auto path = std::exchange(path_, {}); !path.isEmpty())
        bus_.call(QDBusMessage::createMethodCall(kService, path, interface_, QStringLiteral("Free")),
                  QDBus::NoBlock);
}

// Announcing.

AvahiDaemonPublication::AvahiDaemonPublication(RunLoop& loop, const QDBusConnection& bus,
                                               ServiceDiscovery::Service service,
                                               ServiceDiscovery::PublishCallbacks callbacks)
    : AvahiDaemonActivity(loop, bus, "EntryGroup", callbacks.didNotPublish),
      service_(std::move(service)),
      callbacks_(std::move(callbacks)) {
    const auto wrong = whyNotAName(service_.name);
    if (wrong.isEmpty())
        begin();
    else
        fail(wrong);
}

void AvahiDaemonPublication::begin() {
    askServer("EntryGroupNew", {}, [this](const QDBusMessage& answer) {
        setObject(answer);
        if (stopped_)
            return free();
        announce();
    });
}

void AvahiDaemonPublication::announce() {
    listen("StateChanged", SLOT(stateChanged(int, QString)));
    askObject("AddService",
              {kAnyInterface, kAnyProtocol, 0U, service_.name,
               QString::fromUtf8(plainServiceType(service_.type)), kLocal, QString(),
               QVariant::fromValue(service_.port), QVariant::fromValue(QByteArrayList())},
              [this](const QDBusMessage&) { askObject("Commit", {}, nullptr); });
}

void AvahiDaemonPublication::stateChanged(int state, const QString& error) {
    if (state == kEstablished && !std::exchange(published_, true))
        calls_.call(callbacks_.didPublish);
    else if (state == kCollision)
        fail(ServiceDiscovery::nameIsTaken());
    else if (state == kFailure)
        fail(error);
}

void AvahiDaemonPublication::stop() {
    if (std::exchange(stopped_, true))
        return;
    free();
    calls_.forget();
    calls_.call(callbacks_.didStop);
}

// Browsing.

AvahiDaemonBrowsing::AvahiDaemonBrowsing(RunLoop& loop, const QDBusConnection& bus, const QString& type,
                                         ServiceDiscovery::BrowseCallbacks callbacks)
    : AvahiDaemonActivity(loop, bus, "ServiceBrowser", callbacks.didNotSearch),
      callbacks_(std::move(callbacks)) {
    // Prepared first and started when its signals can be heard: what it knows already it tells at once.
    askServer("ServiceBrowserPrepare",
              {kAnyInterface, kAnyProtocol, QString::fromUtf8(plainServiceType(type)), kLocal, 0U},
              [this](const QDBusMessage& answer) {
                  setObject(answer);
                  if (stopped_)
                      return free();
                  listen("ItemNew", SLOT(itemNew(int, int, QString, QString, QString, uint)));
                  listen("ItemRemove", SLOT(itemRemove(int, int, QString, QString, QString, uint)));
                  listen("AllForNow", SLOT(allForNow()));
                  listen("Failure", SLOT(failure(QString)));
                  askObject("Start", {}, nullptr);
                  calls_.call(callbacks_.willSearch);
              });
}

void AvahiDaemonBrowsing::itemNew(int, int, const QString& name, const QString&, const QString&, uint) {
    found_.add(name);
    calls_.call([this] { tellFound(calls_, found_, callbacks_.didFind); });
}

void AvahiDaemonBrowsing::itemRemove(int, int, const QString& name, const QString&, const QString&, uint) {
    found_.remove(name);
}

void AvahiDaemonBrowsing::allForNow() {
    found_.settled();
    calls_.call([this] { tellFound(calls_, found_, callbacks_.didFind); });
}

void AvahiDaemonBrowsing::failure(const QString& error) {
    fail(error);
}

void AvahiDaemonBrowsing::stop() {
    if (std::exchange(stopped_, true))
        return;
    free();
    calls_.forget();
    calls_.call(callbacks_.didStop);
}

// Resolving.

AvahiDaemonResolution::AvahiDaemonResolution(RunLoop& loop, const QDBusConnection& bus, const QString& type,
                                             const QString& name, double seconds,
                                             ServiceDiscovery::ResolveCallbacks callbacks)
    : AvahiDaemonActivity(loop, bus, "", nullptr), callbacks_(std::move(callbacks)) {
    limit_ = loop.after(seconds, [this] {
        if (settle_ || std::exchange(over_, true) || !callbacks_.didNotResolve)
            return;
        calls_.call([tell = callbacks_.didNotResolve] { tell(QStringLiteral("nobody answered")); });
    });
    for (const int family : {kInet, kInet6})
        askServer("ResolveService",
                  {kAnyInterface, kAnyProtocol, name, QString::fromUtf8(plainServiceType(type)), kLocal,
                   family, 0U},
                  [this](const QDBusMessage& answer) { answered(answer); });
}

void AvahiDaemonResolution::answered(const QDBusMessage& answer) {
    const auto words = answer.arguments();
    const QString address = words.value(7).toString();
    if (over_ || address.isEmpty())
        return;
    port_ = static_cast<quint16>(words.value(8).toUInt());
    answers_.add(address, words.value(0).toUInt());
    if (words.value(6).toInt() == kInet)
        settle_ = calls_.loop().after(0, [this] { resolved(); });
    else if (!settle_)
        settle_ = calls_.loop().after(kOtherFamilyTime, [this] { resolved(); });
}

void AvahiDaemonResolution::resolved() {
    if (std::exchange(over_, true) || !callbacks_.didResolve)
        return;
    calls_.call([tell = callbacks_.didResolve, addresses = answers_.inOrder(port_), port = port_] {
        tell(addresses, port);
    });
}

void AvahiDaemonResolution::stop() {
    over_ = true;
    limit_.invalidate();
    settle_.invalidate();
    calls_.forget();
}

} // namespace merlode
