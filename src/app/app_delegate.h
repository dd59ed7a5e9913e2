#pragma once

#include "app/app_links.h"
#include "base/notification_center.h"
#include "platform/user_notification_center.h"
#include "players/links.h"

#include <QString>

#include <memory>
#include <optional>
#include <vector>

namespace merlode {

class Session;

/// Brings the program up in its fixed order, stands between it and the desktop's notifications, sees it
/// through sleep and wake, and shuts it down. Main thread.
class AppDelegate final : public ApplicationDelegate, public UserNotificationCenterDelegate {
  public:
    enum class TerminateReply { Now, Cancel };

    /// The session must have its ports and the links of `app_links.h` installed, and be current in every
    /// call. `resourceFolder` is where "Defaults.plist" lies.
    AppDelegate(Session& session, QString resourceFolder);
    ~AppDelegate() override;

    /// Runs the launch. Once.
    void applicationDidFinishLaunching();
    void applicationDidBecomeActive();
    /// A second start of the program, or a click on its launcher: brings the main window forward or, without
    /// one, shows the panel.
    bool applicationShouldHandleReopen();
    /// Saves the favourites; asks the user when that fails.
    TerminateReply applicationShouldTerminate();
    void applicationWillTerminate();
    /// Saves the favourites, if there are changes.
    void saveAction();

    void updateStatusItemText(const QString& text) override;
    void processUserNotification(const UserNotification& notification) override;
    bool shouldPresentNotification(const UserNotification& notification) override;
    void didActivateNotification(const UserNotification& notification) override;

    /// Goes back to the host that the machine was connected to when it went to sleep.
    void checkHostConnection();

    bool sleeping() const { return sleeping_; }
    const std::optional<QString>& sleepingWithHost() const { return sleepingWithHost_; }

  private:
    void registerUserDefaults();
    void registerForNotifications();
    void makeSharedControllers();
    void discoveryEnded();
    void didSleep();
    void didWake();

    Session& session_;
    QString resourceFolder_;
    ControllersLink& controllers_;
    WindowsLink& windows_;
    HostsLink& hosts_;
    StoreLink& store_;
    bool sleeping_ = false;
    std::optional<QString> sleepingWithHost_;
    std::vector<Observation> observations_;
    std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
};

} // namespace merlode
