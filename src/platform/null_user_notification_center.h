#pragma once

#include "platform/user_notification_center.h"

namespace merlode {

/// A desktop without notifications.
class NullUserNotificationCenter final : public UserNotificationCenter {
  public:
    void setDelegate(UserNotificationCenterDelegate*) override {}
    void deliver(const UserNotification&) override {}
};

} // namespace merlode
