#pragma once

#include "base/notification_center.h"
#include "platform/status_item.h"

#include <QString>

#include <functional>
#include <memory>

namespace merlode {

/// What the windows need of the program around them.
struct WindowOptions {
    /// The panel as a window, with no item in the bar.
    bool windowOnly = false;
    /// The item of the kind that desktops have now. It may turn out that no bar shows it.
    std::function<std::unique_ptr<StatusItem>(StatusItem::Events)> makeStatusItem;
    /// Looks for music in this folder from now on; why that cannot be done, or nothing.
    std::function<QString(const QString& folder)> useMusicFolder;
    /// One of the windows has come to the front.
    std::function<void()> didBecomeActive = [] {};
    std::function<void()> quit;
};

/// The item in the bar, the panel and the windows, as the launch and the shutdown ask for them. The base
/// class does what a program without windows would do. Window identities are only compared with the objects
/// of notifications; null stands for a window that is not there. Main thread.
class WindowsLink {
  public:
    virtual ~WindowsLink() = default;
    /// Brings up the colours of the cover, which the windows wear.
    virtual void makeBackgroundSchemeController() {}
    /// Keeps the program out of task bars.
    virtual void useAccessoryPolicy() {}
    virtual void setupStatusItem() {}
    virtual void removeStatusItem() {}
    virtual void updateStatusItemText(const QString&) {}
    virtual void loadWindowControllers() {}
    virtual const void* panelWindow() const { return nullptr; }
    virtual const void* mainWindow() const { return nullptr; }
    virtual const void* settingsWindow() const { return nullptr; }
    virtual const void* lastFMWindow() const { return nullptr; }
    /// Whether the panel or the main window has the keyboard.
    virtual bool panelOrMainWindowIsKey() const { return false; }
    virtual void showPanel() {}
    virtual void bringMainWindowForward() {}
    /// One of the window notifications that the launch observes has come.
    virtual void windowNotification(const Notification&) {}
};

} // namespace merlode
