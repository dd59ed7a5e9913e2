#pragma once

#include <QDBusConnection>
#include <QDBusError>
#include <QDBusMessage>
#include <QDBusVirtualObject>

namespace merlode {

/// The desktop's portal for settings, which answers and signals what a test says.
struct PortalDouble final : QDBusVirtualObject {
    inline static const QString kName = u"org.freedesktop.portal.Desktop"_qs;
    inline static const QString kPath = u"/org/freedesktop/portal/desktop"_qs;

    /// `everything` is the answer to ReadAll; nothing for an error.
    PortalDouble(const QDBusConnection& bus, const QVariantList& everything)
        : connection(bus), answer(everything) {
        connection.registerVirtualObject(kPath, this);
        connection.registerService(kName);
    }
    ~PortalDouble() override {
        connection.unregisterService(kName);
        connection.unregisterObject(kPath);
    }
    QString introspect(const QString&) const override { return {}; }
    bool handleMessage(const QDBusMessage& call, const QDBusConnection&) override {
        ++questions;
        return connection.send(answer.isEmpty() ? call.createErrorReply(QDBusError::NotSupported, u"no"_qs)
                                                : call.createReply(answer));
    }
    void announce(const QVariantList& change) {
        auto signal =
            QDBusMessage::createSignal(kPath, u"org.freedesktop.portal.Settings"_qs, u"SettingChanged"_qs);
        signal.setArguments(change);
        connection.send(signal);
    }

    QDBusConnection connection;
    QVariantList answer;
    int questions = 0;
};

} // namespace merlode
