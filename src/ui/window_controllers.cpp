#include "ui/window_controllers.h"

#include "appearance/background_scheme_controller.h"
#include "base/notification_names.h"
#include "base/session.h"
#include "platform/user_defaults.h"
#include "players/player_controller.h"
#include "remote/socket_controller.h"
#include "ui/status_menu.h"

#include <QDir>
#include <QStringList>

#include <cmath>

namespace merlode {

namespace {

const QString kNoBarText = QStringLiteral("No tray was found, so Merlode is a window here. If you close it, "
                                          "start Merlode again to bring it back.");

// Points from the edge of the screen for a panel that has no item to point at.
constexpr int kMargin = 8;

} // namespace

WindowControllers::WindowControllers(Session& session, std::unique_ptr<Face> face, WindowOptions options)
    : session_(session), face_(std::move(face)), options_(std::move(options)) {}

WindowControllers::~WindowControllers() {
    removeStatusItem();
}

void WindowControllers::makeBackgroundSchemeController() {
    BackgroundSchemeController::sharedController();
}

void WindowControllers::loadWindowControllers() {
    panelController_ = std::make_unique<PanelViewController>(session_);
    main_ = face_->makeMainWindow();
    panelController_->setHasMainWindow(main_ != nullptr);
    if (options_.useMusicFolder)
        panelController_->setChooseMusicFolder([this] { chooseMusicFolder(); });
    panelController_->setClose([this] { closePanelWindow(); });
    panelController_->setMenu([this] { return menu(false); });
    panel_ = face_->makePanelWindow(*panelController_);
    panelController_->setWindow(panel_.get());
    panelController_->fitWindow(false);
    panelController_->registerForNotifications();
    settings_ = face_->makeSettingsWindow();
    lastFM_ = face_->makeLastFMWindow();
    screen_ = face_->mainScreen();
    if (options_.windowOnly)
        becomeWindow();
    updateItemLater();
}

void WindowControllers::chooseMusicFolder() {
    face_->chooseFolder(QStringLiteral("Choose Your Music Folder"), QDir::homePath(),
                        [this, life = std::weak_ptr(life_)](const QString& folder) {
                            if (life.expired())
                                return;
                            panelController_->showMessage(options_.useMusicFolder(folder));
                            showPanel();
                        });
}

// The item in the bar.

void WindowControllers::setupStatusItem() {
    statusView_ = std::make_unique<StatusItemView>(
        session_, face_->statusImageSize(),
        [this](const QString& text) { return face_->widthOfString(text, statusView_->kTextFieldFontSize); },
        [this] { updateItemLater(); });
    statusView_->setItemState(StatusItemViewState::On);
    statusView_->setDelegate(this);
    for (const auto name : {notifications::kNewTrackInfoAvailable, notifications::kNewPlayStateAvailable,
                            notifications::kNewVolumeInfoAvailable})
        observations_.push_back(
            session_.notificationCenter().addObserver(name, [this](const auto&) { updateItemLater(); }));
    if (options_.windowOnly)
        return;
    graceTimer_ = session_.runLoop().after(kBarGrace, [this] { noBarShowsTheItem(); });
    item_ = options_.makeStatusItem(itemEvents());
}

StatusItem::Events WindowControllers::itemEvents() {
    return {[this](const auto& where) { clickedAt(where); },
            [] { PlayerController::sharedController().playPause(); },
            [this](int notches) { turnVolume(notches); },
            [this] {
                statusView_->mouseEntered();
                updateItem();
            },
            [this](bool shown) { barWasFound(shown); }};
}

void WindowControllers::removeStatusItem() {
    graceTimer_.invalidate();
    observations_.clear();
    item_.reset();
    fallbackItem_.reset();
}

void WindowControllers::barWasFound(bool shown) {
    if (!shown) { // a bar that is being restarted comes back
        if (!graceTimer_)
            graceTimer_ = session_.runLoop().after(kBarGrace, [this] { noBarShowsTheItem(); });
        return;
    }
    graceTimer_.invalidate();
    fallbackItem_.reset();
    standalone_ = false;
    if (panel_ && !panel_->isVisible())
        panel_->setStandalone(false);
}

void WindowControllers::noBarShowsTheItem() {
    graceTimer_.invalidate();
    if (item_ && item_->isShown().value_or(false))
        return;
    if (!fallbackItem_)
        fallbackItem_ = face_->makeFallbackItem(itemEvents());
    if (fallbackItem_)
        return updateItem();
    auto& userDefaults = session_.port<UserDefaults>();
    if (!userDefaults.boolFor(defaults::kToldOfMissingBar)) {
        userDefaults.set(defaults::kToldOfMissingBar, true);
        panelController_->showMessage(kNoBarText);
    }
    becomeWindow();
}

void WindowControllers::becomeWindow() {
    standalone_ = true;
    panel_->setStandalone(true);
    QRect frame = panel_->frame();
    frame.moveCenter(face_->mainScreen().visibleFrame.center());
    panel_->setFrame(frame, false);
    panelController_->setPlace({frame}, face_->mainScreen());
    showPanel();
}

void WindowControllers::updateStatusItemText(const QString& text) {
    if (statusView_)
        statusView_->setScrollingString(text);
}

// Many things change together when a track does; the bar is told once.
void WindowControllers::updateItemLater() {
    if (std::exchange(updatePending_, true))
        return;
    session_.runLoop().async([this, life = std::weak_ptr(life_)] {
        if (life.expired())
            return;
        updatePending_ = false;
        updateItem();
    });
}

void WindowControllers::updateItem() {
    if (!panelController_ || !statusView_)
        return;
    auto& controls = panelController_->controls();
    QStringList details{controls.artistName(), controls.albumName()};
    details.removeAll(QString());
    const QString name = controls.trackName();
    const auto icon = face_->statusIcon(statusView_->itemState(), statusView_->textColor());
    forEachItem([&](StatusItem& item) {
        item.setIcon(icon);
        item.setText(statusView_->visibleText(), statusView_->guideText());
        // A tip that comes up anew would cover the panel, which tells the same.
        if (statusView_->itemState() == StatusItemViewState::On)
            item.setToolTip(name.isEmpty() ? QStringLiteral("Merlode") : name,
                            details.join(QStringLiteral(" – ")));
        item.setMenu(menu(true));
    });
}

std::vector<MenuEntry> WindowControllers::menu(bool inBar) {
    StatusMenuActions actions;
    if (inBar)
        actions.openPanel = [this] { showPanel(); };
    if (main_)
        actions.openWindow = [this] { openMainWindow(); };
    if (settings_)
        actions.openSettings = [this] { openSettingsWindow(); };
    actions.quit = options_.quit;
    return statusMenu(session_, panelController_->controls(), actions);
}

void WindowControllers::forEachItem(const std::function<void(StatusItem&)>& work) {
    for (auto* item : {item_.get(), fallbackItem_.get()}) {
        if (item)
            work(*item);
    }
}

void WindowControllers::turnVolume(int notches) {
    auto& player = PlayerController::sharedController();
    if (!panelController_->controls().canSetVolume())
        return;
    const int most = 100 / kVolumeWheelStep;
    player.setVolume(player.currentVolume + std::clamp(notches, -most, most) * kVolumeWheelStep);
}

void WindowControllers::clickedAt(const std::optional<QPoint>& where) {
    if (where) {
        const auto place = face_->placeOf(*where);
        const QSize size = face_->statusImageSize().toSize();
        itemFrame_ = QRect(place.point - QPoint(size.width() / 2, size.height() / 2), size);
        screen_ = place.screen;
    }
    statusView_->mouseUp();
}

// A click outside closes the panel, and where that click was on the item the bar tells of it as well.
void WindowControllers::statusItemSelected() {
    orderOut(main_.get());
    orderOut(settings_.get());
    if (panel_->isKey())
        closePanelWindow();
    else if (session_.runLoop().uptime() - resignedAt_ > kSameClick)
        showPanel();
    resignedAt_ = -1;
}

// Placing.

PanelPlace WindowControllers::placeOfPanel() const {
    const double width = face_->statusImageSize().width();
    const QSize size = panel_->frame().size();
    if (itemFrame_)
        return merlode::placePanel(*itemFrame_, width, size, screen_);
    // Nobody has told where the item is; most bars have theirs at the right.
    PanelPlace place;
    const auto& room = screen_.visibleFrame;
    place.frame = QRect(QPoint(room.right() + 1 - size.width() - kMargin, room.top() + kMargin), size);
    place.arrow = -1;
    return place;
}

void WindowControllers::placePanel() {
    if (standalone_)
        return;
    if (!itemFrame_)
        screen_ = face_->mainScreen();
    const auto place = placeOfPanel();
    panelController_->setPlace(place, screen_);
    session_.notificationCenter().post(
        notifications::kUpdateTriangleConstraint, nullptr,
        {{QStringLiteral("offset"), place.offset}, {QStringLiteral("arrow"), place.arrow}});
    panel_->setFrame(place.frame, false);
}

void WindowControllers::statusItemFrameUpdated() {
    if (!panel_ || !itemFrame_ || standalone_)
        return;
    const auto place = placeOfPanel();
    session_.notificationCenter().post(
        notifications::kUpdateTriangleConstraint, nullptr,
        {{QStringLiteral("offset"), place.offset}, {QStringLiteral("arrow"), place.arrow}});
    QRect frame = panel_->frame();
    frame.moveLeft(place.frame.x());
    if (frame != panel_->frame())
        panel_->setFrame(frame, false);
}

// The windows.

void WindowControllers::orderOut(Window* window) {
    if (window && window->isVisible())
        window->orderOut();
}

void WindowControllers::bringForward(Window& window) {
    const auto screen = face_->mainScreen();
    if (QRect frame = window.frame(); !screen.frame.contains(frame.center())) {
        frame.moveCenter(screen.visibleFrame.center());
        window.setFrame(frame, false);
    }
    window.makeKeyAndOrderFront();
    options_.didBecomeActive();
}

void WindowControllers::showPanel() {
    openPanel();
    placePanel();
    lastActiveWindow_ = panel_.get();
    panel_->makeKeyAndOrderFront();
    options_.didBecomeActive();
}

void WindowControllers::openPanel() {
    statusView_->setItemState(StatusItemViewState::Off);
    for (auto* window : {settings_.get(), main_.get(), lastFM_.get()})
        orderOut(window);
}

void WindowControllers::closePanelWindow() {
    statusView_->setItemState(StatusItemViewState::On);
    orderOut(panel_.get());
    if (!standalone_)
        panel_->setStandalone(false);
}

void WindowControllers::openMainWindow() {
    if (!main_)
        return;
    statusView_->setItemState(StatusItemViewState::On);
    lastActiveWindow_ = main_.get();
    bringForward(*main_);
}

void WindowControllers::bringMainWindowForward() {
    if (main_)
        main_->makeKeyAndOrderFront();
}

void WindowControllers::closeMainWindow() {
    orderOut(main_.get());
}

void WindowControllers::openSettingsWindow() {
    if (!settings_)
        return;
    SocketController::sharedController().discoverHosts();
    statusView_->setItemState(StatusItemViewState::On);
    bringForward(*settings_);
}

void WindowControllers::closeSettingsWindow() {
    orderOut(settings_.get());
}

void WindowControllers::openLastFMWindow() {
    if (lastFM_)
        bringForward(*lastFM_);
}

void WindowControllers::closeLastFMWindow() {
    orderOut(lastFM_.get());
}

void WindowControllers::closeAllWindows() {
    for (auto* window : {lastFM_.get(), main_.get(), settings_.get()})
        orderOut(window);
    closePanelWindow();
}

bool WindowControllers::panelOrMainWindowIsKey() const {
    return panel_->isKey() || (main_ && main_->isKey());
}

void WindowControllers::panelWindowResigned() {
    if (standalone_ || statusView_->itemState() == StatusItemViewState::On)
        return; // it stays, or has been closed from here
    resignedAt_ = session_.runLoop().uptime();
    closePanelWindow();
}

void WindowControllers::prepareMainWindow() {
    if (!main_)
        return;
    closePanelWindow();
    closeSettingsWindow();
    closeLastFMWindow();
    openMainWindow();
}

void WindowControllers::globalOpenHotKeySelected() {
    if (panel_->isKey())
        return closePanelWindow();
    for (auto* window : {main_.get(), settings_.get()}) {
        if (window && window->isKey())
            return orderOut(window);
    }
    showPanel();
}

void WindowControllers::selectSearchField() {
    if (panel_->isKey())
        session_.notificationCenter().post(notifications::kSelectPanelSearchField);
}

void WindowControllers::windowNotification(const Notification& notification) {
    using namespace notifications;
    const auto& name = notification.name;
    if (name == kWindowDidResignKey)
        panelWindowResigned();
    else if (name == kOpenPanelWindow)
        openPanel();
    else if (name == kSettingsButtonSelected) {
        closePanelWindow();
        closeMainWindow();
        openSettingsWindow();
    } else if (name == kOpenLastFMWindow)
        openLastFMWindow();
    else if (name == kSelectSearchField)
        selectSearchField();
    else if (name == kGlobalHotKeySelected)
        globalOpenHotKeySelected();
    else if (name == kShowPandoraSettingsLogIn)
        openSettingsWindow();
    else if (name != kWindowWillClose)
        prepareMainWindow();
}

} // namespace merlode
