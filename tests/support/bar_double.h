#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QDBusVirtualObject>
#include <QMap>
#include <QStringList>

namespace merlode {

/// A desktop's bar that does what a test says: the watcher that items register at, and a host of them, in
/// one.
class BarDouble final : public QDBusVirtualObject {
    Q_OBJECT
  public:
    inline static const QString kName = u"org.kde.StatusNotifierWatcher"_qs;
    inline static const QString kPath = u"/StatusNotifierWatcher"_qs;

    explicit BarDouble(const QDBusConnection& bus) : connection(bus) {
        for (const auto& interface : {u"org.kde.StatusNotifierItem"_qs, u"com.canonical.dbusmenu"_qs})
            connection.connect({}, {}, interface, {}, this, SLOT(hear(QDBusMessage)));
        connection.registerVirtualObject(kPath, this);
        connection.registerService(kName);
    }
    /// Gives up the name, as a bar that ends.
    ~BarDouble() override {
        connection.unregisterService(kName);
        connection.unregisterObject(kPath);
    }

    QString introspect(const QString&) const override { return {}; }
    bool handleMessage(const QDBusMessage& call, const QDBusConnection&) override {
        if (call.member() == u"Get")
            return connection.send(call.createReply(QVariant::fromValue(QDBusVariant(hosting))));
        items << call.arguments().constFirst().toString();
        return connection.send(call.createReply());
    }
    /// A host joins the watcher, or the last one leaves it.
    void setHosting(bool now) {
        hosting = now;
        connection.send(QDBusMessage::createSignal(
            kPath, kName, now ? u"StatusNotifierHostRegistered"_qs : u"StatusNotifierHostUnregistered"_qs));
    }

    QDBusConnection connection;
    bool hosting = true;
    QStringList items;                ///< by the names that they registered with
    QStringList heard;                ///< the signals of items and menus
    QMap<QString, QVariantList> said; ///< by a signal's name, what the last one said

  private Q_SLOTS:
    void hear(const QDBusMessage& signal) {
        heard << signal.member();
        said[signal.member()] = signal.arguments();
    }
};

} // namespace merlode
