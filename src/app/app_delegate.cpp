#include "app/app_delegate.h"

#include "base/notification_names.h"
#include "base/property_list.h"
#include "base/session.h"
#include "model/text.h"
#include "platform/alerts.h"
#include "platform/user_defaults.h"
#include "players/player_controller.h"

#include <QFile>
#include <QLoggingCategory>
#include <QSysInfo>

namespace merlode {

namespace {

Q_LOGGING_CATEGORY(log, "merlode.app", QtWarningMsg)

constexpr int kRandomIDLength = 16;
const QString kPlayingNotification = QStringLiteral("Playing Notification");
const QString kFavoriteNotification = QStringLiteral("Favorite Notification");

// The name that people gave the machine, where they gave one; else its name on the network.
QString localizedHostName() {
    QFile file(QStringLiteral("/etc/machine-info"));
    if (file.open(QIODevice::ReadOnly)) {
        for (const auto& line : file.read(64 * 1024).split('\n')) {
            constexpr QByteArrayView key = "PRETTY_HOSTNAME=";
            if (!line.startsWith(key))
                continue;
            QString name = QString::fromUtf8(line.mid(key.size())).remove(u'"').trimmed();
            if (!name.isEmpty())
                return name;
        }
    }
    QString name = QSysInfo::machineHostName();
    return name.isEmpty() ? QStringLiteral("My Mac") : name;
}

} // namespace

AppDelegate::AppDelegate(Session& session, QString resourceFolder)
    : session_(session),
      resourceFolder_(std::move(resourceFolder)),
      controllers_(session.port<ControllersLink>()),
      windows_(session.port<WindowsLink>()),
      hosts_(session.port<HostsLink>()),
      store_(session.port<StoreLink>()) {}

AppDelegate::~AppDelegate() {
    session_.port<UserNotificationCenter>().setDelegate(nullptr);
}

void AppDelegate::registerUserDefaults() {
    QFile file(resourceFolder_ + QStringLiteral("/Defaults.plist"));
    if (!file.open(QIODevice::ReadOnly)) {
        qCWarning(log) << "no default settings:" << file.fileName() << file.errorString();
        return;
    }
    const auto parsed = property_list::parse(file.readAll());
    if (!parsed || parsed->typeId() != QMetaType::QVariantMap) {
        qCWarning(log) << "the default settings are damaged:" << file.fileName();
        return;
    }
    QVariantMap values = parsed->toMap();
    values.insert(defaults::kHostName.text(), localizedHostName());
    values.insert(defaults::kRandomID.text(), randomStringWithLength(kRandomIDLength));
    session_.port<UserDefaults>().registerDefaults(values);
}

void AppDelegate::applicationDidFinishLaunching() {
    registerUserDefaults();
    if (!session_.port<UserDefaults>().boolFor(defaults::kShowDockIcon))
        windows_.useAccessoryPolicy();
    session_.port<UserNotificationCenter>().setDelegate(this);
    makeSharedControllers();
    windows_.setupStatusItem();
    windows_.loadWindowControllers();
    hosts_.discoverHosts([this, weak = std::weak_ptr(alive_)] {
        if (weak.lock())
            discoveryEnded();
    });
    controllers_.preparePandoraForLogIn();
    registerForNotifications();
}

void AppDelegate::makeSharedControllers() {
    windows_.makeBackgroundSchemeController();
    controllers_.makeHotkeyManager();
    controllers_.findPlayers();
    PlayerController::sharedController();
    controllers_.makeRemoteActionController();
    controllers_.makeLastFMController();
}

void AppDelegate::discoveryEnded() {
    const auto& userDefaults = session_.port<UserDefaults>();
    const auto controlMac = userDefaults.optionalBoolFor(defaults::kControlMac);
    const auto wantServer = userDefaults.optionalBoolFor(defaults::kWantServer);
    if (!controlMac || !wantServer)
        return;
    if (*controlMac || *wantServer)
        return hosts_.startServer();
    if (!userDefaults.optionalBoolFor(defaults::kAutoConnect).value_or(false))
        return;
    // Music that plays here goes on.
    const auto& player = PlayerController::sharedController().activePlayer();
    if (player && player->isPlaying())
        return;
    if (const auto name = userDefaults.valueFor(defaults::kLastHostName))
        hosts_.connectToHostName(*name);
}

void AppDelegate::registerForNotifications() {
    using namespace notifications;
    enum class Of { Any, Panel, Settings, LastFM };
    struct Entry {
        NotificationName name;
        Of object = Of::Any;
    };
    constexpr Entry entries[] = {
        {kWindowDidResignKey, Of::Panel},   {kOpenPanelWindow, Of::Any},
        {kDisplaySearchTracks, Of::Panel},  {kDisplaySearchAlbums, Of::Panel},
        {kDisplaySearchPandora, Of::Panel}, {kShowWindowView, Of::Panel},
        {kShowFavoritesView, Of::Panel},    {kSettingsButtonSelected, Of::Settings},
        {kWindowWillClose, Of::LastFM},     {kOpenLastFMWindow, Of::Any},
        {kSelectSearchField, Of::Any},      {kGlobalHotKeySelected, Of::Any},
    };
    auto& center = session_.notificationCenter();
    const auto toWindows = [this](const Notification& notification) {
        windows_.windowNotification(notification);
    };
    for (const auto& entry : entries) {
        const void* window = entry.object == Of::Panel      ? windows_.panelWindow()
                             : entry.object == Of::Settings ? windows_.settingsWindow()
                                                            : windows_.lastFMWindow();
        if (entry.object == Of::Any)
            observations_.push_back(center.addObserver(entry.name, toWindows));
        else if (window)
            observations_.push_back(center.addObserver(entry.name, toWindows, window));
    }
    auto& workspace = session_.workspaceCenter();
    observations_.push_back(workspace.addObserver(kWorkspaceWillSleep, [this](const auto&) { didSleep(); }));
    observations_.push_back(workspace.addObserver(kWorkspaceDidWake, [this](const auto&) { didWake(); }));
    observations_.push_back(center.addObserver(kShowPandoraSettingsLogIn, toWindows));
}

void AppDelegate::applicationDidBecomeActive() {
    session_.notificationCenter().post(notifications::kApplicationDidBecomeActive);
    didWake();
}

bool AppDelegate::applicationShouldHandleReopen() {
    if (windows_.mainWindow())
        windows_.bringMainWindowForward();
    else
        windows_.showPanel();
    return true;
}

// Sleep and wake.

void AppDelegate::didSleep() {
    sleeping_ = true;
    if (const auto host = hosts_.clientHostName()) {
        sleepingWithHost_ = host;
        hosts_.disconnectFromHost();
    }
}

void AppDelegate::didWake() {
    sleeping_ = false;
    checkHostConnection();
}

void AppDelegate::checkHostConnection() {
    const auto host = std::exchange(sleepingWithHost_, std::nullopt);
    if (!host)
        return;
    hosts_.discoverHosts([this, weak = std::weak_ptr(alive_), host = *host] {
        if (weak.lock())
            hosts_.connectToHostName(host);
    });
}

// Termination.

AppDelegate::TerminateReply AppDelegate::applicationShouldTerminate() {
    if (!store_.hasManagedObjectContext())
        return TerminateReply::Now;
    if (!store_.commitEditing()) {
        qCWarning(log) << "AppDelegate unable to commit editing to terminate";
        return TerminateReply::Cancel;
    }
    if (!store_.hasChanges())
        return TerminateReply::Now;
    const auto error = store_.save();
    if (!error)
        return TerminateReply::Now;
    if (store_.presentError(*error))
        return TerminateReply::Cancel;
    const int answer = session_.port<Alerts>().runModal(
        {QStringLiteral("Could not save changes while quitting. Quit anyway?"),
         QStringLiteral("Quitting now will lose any changes you have made since the last successful save"),
         {QStringLiteral("Quit anyway"), QStringLiteral("Cancel")}});
    // The two buttons act against their words. That is how this alert has always answered, and it stays.
    return answer == kAlertFirstButtonReturn ? TerminateReply::Cancel : TerminateReply::Now;
}

void AppDelegate::applicationWillTerminate() {
    PlayerController::sharedController().killAllTimers();
    windows_.removeStatusItem();
    hosts_.disconnectFromHost();
    hosts_.stopServer();
    session_.port<UserDefaults>().synchronize();
}

void AppDelegate::saveAction() {
    if (!store_.hasManagedObjectContext())
        return;
    if (!store_.commitEditing())
        qCWarning(log) << "AppDelegate unable to commit editing before saving";
    if (!store_.hasChanges())
        return;
    if (const auto error = store_.save())
        store_.presentError(*error);
}

// The bar and the desktop's notifications.

void AppDelegate::updateStatusItemText(const QString& text) {
    windows_.updateStatusItemText(text);
}

void AppDelegate::processUserNotification(const UserNotification& notification) {
    if (sleeping_)
        return;
    const QString type = notification.userInfo.value(QStringLiteral("type")).toString();
    if (type == kPlayingNotification &&
        !session_.port<UserDefaults>().boolFor(defaults::kPlayingNotifications))
        return;
    auto& center = session_.port<UserNotificationCenter>();
    center.setDelegate(this);
    center.deliver(notification);
}

bool AppDelegate::shouldPresentNotification(const UserNotification& notification) {
    if (sleeping_)
        return false;
    const QString type = notification.userInfo.value(QStringLiteral("type")).toString();
    const auto& userDefaults = session_.port<UserDefaults>();
    if (type == kPlayingNotification)
        return userDefaults.boolFor(defaults::kPlayingNotifications);
    if (type == kFavoriteNotification)
        return userDefaults.boolFor(defaults::kFavoriteNotifications);
    return false;
}

void AppDelegate::didActivateNotification(const UserNotification&) {
    if (!windows_.panelOrMainWindowIsKey())
        windows_.showPanel();
}

} // namespace merlode
