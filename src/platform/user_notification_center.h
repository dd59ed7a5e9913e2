#pragma once

#include "base/image.h"

#include <QString>
#include <QVariantMap>

namespace merlode {

/// What the desktop shows in its notification area.
struct UserNotification {
    QString title;
    QString informativeText;
    Image contentImage;   ///< may be empty
    QVariantMap userInfo; ///< "type": "Playing Notification" or "Favorite Notification"
};

/// Decides about notifications and hears of clicks. Main thread.
class UserNotificationCenterDelegate {
  public:
    virtual ~UserNotificationCenterDelegate() = default;
    virtual bool shouldPresentNotification(const UserNotification& notification) = 0;
    virtual void didActivateNotification(const UserNotification& notification) = 0;
};

/// The desktop's notifications. Main thread.
class UserNotificationCenter {
  public:
    virtual ~UserNotificationCenter() = default;

    /// The delegate must outlive the centre or be taken back with null.
    virtual void setDelegate(UserNotificationCenterDelegate* delegate) = 0;

    /// Shows the notification if the delegate agrees. A desktop without notifications shows nothing.
    virtual void deliver(const UserNotification& notification) = 0;
};

} // namespace merlode
