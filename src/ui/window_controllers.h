#pragma once

#include "platform/status_item.h"
#include "ui/face.h"
#include "ui/panel_view_controller.h"
#include "ui/status_item_view.h"
#include "ui/windows_link.h"

#include <functional>
#include <memory>
#include <vector>

namespace merlode {

/// The owner of the windows and of the item in the bar: switches between panel and windows, places the panel,
/// and keeps a way in where no bar shows the item. Main thread.
class WindowControllers final : public WindowsLink, private StatusItemViewDelegate {
  public:
    static constexpr double kBarGrace = 3.0;   ///< seconds in which a desktop that starts brings up its bar
    static constexpr double kSameClick = 0.25; ///< seconds between the two ends of one click on the item
    static constexpr int kVolumeWheelStep = 5; ///< of a volume of 100, for one notch, as mixers have it

    WindowControllers(Session& session, std::unique_ptr<Face> face, WindowOptions options);
    ~WindowControllers() override;

    void makeBackgroundSchemeController() override;
    void setupStatusItem() override;
    void removeStatusItem() override;
    void updateStatusItemText(const QString& text) override;
    void loadWindowControllers() override;
    const void* panelWindow() const override { return panel_.get(); }
    const void* mainWindow() const override { return main_.get(); }
    const void* settingsWindow() const override { return settings_.get(); }
    const void* lastFMWindow() const override { return lastFM_.get(); }
    bool panelOrMainWindowIsKey() const override;
    void showPanel() override;
    void bringMainWindowForward() override;
    void windowNotification(const Notification& notification) override;

    // Each window; nothing happens for one that the program does not have.

    /// The state that goes with an open panel. Neither places nor raises it.
    void openPanel();
    void closePanelWindow();
    void openMainWindow();
    void closeMainWindow();
    void openSettingsWindow();
    void closeSettingsWindow();
    void openLastFMWindow();
    void closeLastFMWindow();
    void closeAllWindows();

    /// The window to bring back when the program is activated.
    Window* lastActiveWindow() const { return lastActiveWindow_; }

  private:
    void statusItemSelected() override;
    void statusItemFrameUpdated() override;
    void panelWindowResigned();
    void prepareMainWindow();
    void globalOpenHotKeySelected();
    void selectSearchField();
    void orderOut(Window* window);
    void bringForward(Window& window);

    void chooseMusicFolder();
    StatusItem::Events itemEvents();
    void clickedAt(const std::optional<QPoint>& where);
    void barWasFound(bool shown);
    void noBarShowsTheItem();
    void becomeWindow();
    PanelPlace placeOfPanel() const;
    void placePanel();

    std::vector<MenuEntry> menu(bool inBar);
    void turnVolume(int notches);
    void updateItemLater();
    void updateItem();
    void forEachItem(const std::function<void(StatusItem&)>& work);

    Session& session_;
    std::unique_ptr<Face> face_;
    WindowOptions options_;
    std::unique_ptr<PanelViewController> panelController_;
    std::unique_ptr<PanelWindowPart> panel_;
    std::unique_ptr<Window> main_;
    std::unique_ptr<Window> settings_;
    std::unique_ptr<Window> lastFM_;
    std::unique_ptr<StatusItemView> statusView_;
    std::unique_ptr<StatusItem> item_;
    std::unique_ptr<StatusItem> fallbackItem_;
    Window* lastActiveWindow_ = nullptr;

    std::optional<QRect> itemFrame_; ///< where the item was when it was clicked last
    Screen screen_;                  ///< on which that was
    bool standalone_ = false;        ///< there is no item to drop down from
    bool updatePending_ = false;
    double resignedAt_ = -1;
    Timer graceTimer_;
    std::vector<Observation> observations_;
    std::shared_ptr<char> life_ = std::make_shared<char>(); ///< deferred work holds it weakly
};

} // namespace merlode
