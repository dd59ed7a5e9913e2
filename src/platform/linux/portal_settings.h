#pragma once

#include "platform/desktop_settings.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusServiceWatcher>
#include <QDBusVariant>
#include <QObject>

#include <functional>

namespace merlode {

class Session;

/// The desktop's settings through its portal, org.freedesktop.portal.Settings. A desktop without one has told
/// nothing. Asks at once and whenever a portal comes up, waits for nothing, and hears of changes. Main
/// thread.
class PortalSettings final : public QObject, public DesktopSettings {
    Q_OBJECT
  public:
    /// Changes are posted in this session, which must outlive the object.
    PortalSettings(QDBusConnection bus, Session& session);

    ColorScheme colorScheme() const override { return colorScheme_; }
    bool reducedMotion() const override { return motionIsReduced_ || animationsAreOff_; }

  private Q_SLOTS:
    void settingChanged(const QString& group, const QString& key, const QDBusVariant& value);

  private:
    void ask();
    void readAll(const QDBusMessage& reply);
    void changing(const std::function<void()>& change);
    void take(const QString& group, const QString& key, const QVariant& value);

    QDBusConnection bus_;
    Session& session_;
    QDBusServiceWatcher portal_;
    ColorScheme colorScheme_ = ColorScheme::NoPreference;
    bool motionIsReduced_ = false;
    bool animationsAreOff_ = false;
};

} // namespace merlode
