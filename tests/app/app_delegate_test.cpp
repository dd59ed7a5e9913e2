#include "app/app_delegate.h"
#include "support/player_fixture.h"

#include <QFile>
#include <QTemporaryDir>

namespace merlode {
namespace {

/// Everything around the delegate: writes down what it is asked, in order, and answers as a test says.
class Surroundings final : public ControllersLink,
                           public WindowsLink,
                           public HostsLink,
                           public StoreLink,
                           public UserNotificationCenter {
  public:
    QStringList log;
    std::function<void()> whenPlayersAreFound = [] {};
    std::function<void()> discoveryEnded; ///< ends the discovery that was started last
    std::optional<QString> host;
    bool isKey = false;
    bool hasMainWindow = false;
    bool hasContext = false;
    bool commits = true;
    bool changed = false;
    std::optional<QString> saveError;
    bool wayOutTaken = false;
    const char windows[4] = {}; ///< whose addresses are the panel, the main, settings and Last.fm windows

    void findPlayers() override {
        note("find players");
        whenPlayersAreFound();
    }
    void makeBackgroundSchemeController() override { note("background scheme"); }
    void makeHotkeyManager() override { note("hotkeys"); }
    void makeRemoteActionController() override { note("remote actions"); }
    void makeLastFMController() override { note("Last.fm"); }
    void preparePandoraForLogIn() override { note("Pandora"); }

    void useAccessoryPolicy() override { note("accessory"); }
    void setupStatusItem() override { note("status item"); }
    void removeStatusItem() override { note("remove status item"); }
    void loadWindowControllers() override { note("windows"); }
    const void* panelWindow() const override { return &windows[0]; }
    const void* mainWindow() const override { return hasMainWindow ? &windows[1] : nullptr; }
    const void* settingsWindow() const override { return &windows[2]; }
    const void* lastFMWindow() const override { return &windows[3]; }
    bool panelOrMainWindowIsKey() const override { return isKey; }
    void showPanel() override { note("panel"); }
    void bringMainWindowForward() override { note("main window"); }
    void windowNotification(const Notification& notification) override { note(notification.name.text); }

    void discoverHosts(std::function<void()> done) override {
        note("discover");
        discoveryEnded = std::move(done);
    }
    void startServer() override { note("start server"); }
    void stopServer() override { note("stop server"); }
    void connectToHostName(const QString& name) override { log << QStringLiteral("connect ") + name; }
    void disconnectFromHost() override { note("disconnect"); }
    std::optional<QString> clientHostName() const override { return host; }

    bool hasManagedObjectContext() const override { return hasContext; }
    bool commitEditing() override { return commits; }
    bool hasChanges() const override { return changed; }
    std::optional<QString> save() override {
        note("save");
        return saveError;
    }
    bool presentError(const QString& error) override {
        log << QStringLiteral("present ") + error;
        return wayOutTaken;
    }

    void setDelegate(UserNotificationCenterDelegate* delegate) override {
        note(delegate ? "notifications' delegate" : "no delegate");
    }
    void deliver(const UserNotification&) override { note("deliver"); }

  private:
    void note(std::string_view text) { log << QString::fromUtf8(text.data(), qsizetype(text.size())); }
};

class AppDelegateTest : public PlayerFixture {
  protected:
    AppDelegateTest() {
        auto& session = test.session;
        session.installReference<ControllersLink>(around);
        session.installReference<WindowsLink>(around);
        session.installReference<HostsLink>(around);
        session.installReference<StoreLink>(around);
        session.installReference<UserNotificationCenter>(around);
    }

    void make(const QString& resources = QStringLiteral(MERLODE_SOURCE_DIR "/resources")) {
        delegate.reset();
        delegate = std::make_unique<AppDelegate>(test.session, resources);
    }
    /// Launches and forgets what was asked for so far.
    void launch() {
        make();
        delegate->applicationDidFinishLaunching();
        around.log.clear();
    }
    /// What has been asked since the last look.
    std::string takeLog() { return std::exchange(around.log, {}).join(u',').toStdString(); }
    void set(DefaultsKey<bool> key, std::optional<bool> value) {
        userDefaults.setValue(key.text(), value ? QVariant(*value) : QVariant());
    }
    void sleep() { test.session.workspaceCenter().post(notifications::kWorkspaceWillSleep); }
    void wake() { test.session.workspaceCenter().post(notifications::kWorkspaceDidWake); }

    Surroundings around;
    std::unique_ptr<AppDelegate> delegate;
};

TEST_F(AppDelegateTest, LaunchBringsThePartsUpInTheirOrder) {
    around.whenPlayersAreFound = [this] { desktop.start(iTunes).playing(QStringLiteral("Kite")); };
    const auto adoption = test.session.notificationCenter().addObserver(
        notifications::kNewPandoraStationAvailable,
        [this](const auto&) { around.log << QStringLiteral("player"); });
    make();
    delegate->applicationDidFinishLaunching();
    EXPECT_EQ(takeLog(), "accessory,notifications' delegate,background scheme,hotkeys,find players,player,"
                         "remote actions,Last.fm,status item,windows,discover,Pandora");
    userDefaults.set(defaults::kShowDockIcon, true);
    make();
    delegate->applicationDidFinishLaunching();
    EXPECT_EQ(takeLog().find("accessory"), std::string::npos);
}

TEST_F(AppDelegateTest, LaunchRegistersTheDefaultsBehindTheUsers) {
    const DefaultsKey<bool> enableKeys[] = {defaults::kEnableITunes, defaults::kEnableSpotify,
                                            defaults::kEnableRdio, defaults::kEnablePandora};
    for (const auto key : enableKeys)
        userDefaults.remove(key);
    QTemporaryDir folder;
    QFile damaged(folder.filePath(QStringLiteral("Defaults.plist")));
    ASSERT_TRUE(damaged.open(QIODevice::WriteOnly));
    damaged.write("<plist version=\"1.0\"><array/></plist>");
    damaged.close();
    const auto launchFrom = [this](const QString& resources) {
        make(resources);
        delegate->applicationDidFinishLaunching();
    };
    for (const QString& resources : {folder.path(), folder.path() + u"/nowhere"_qs}) {
        launchFrom(resources);
        for (const auto key : enableKeys)
            EXPECT_FALSE(userDefaults.boolFor(key));
        EXPECT_FALSE(userDefaults.valueFor(defaults::kHostName));
    }
    launch();
    for (const auto key : enableKeys)
        EXPECT_TRUE(userDefaults.boolFor(key));
    EXPECT_FALSE(userDefaults.valueFor(defaults::kHostName).value_or(QString()).isEmpty());
    const auto first = userDefaults.valueFor(defaults::kRandomID);
    ASSERT_TRUE(first);
    EXPECT_EQ(first->size(), 16);
    launch();
    EXPECT_NE(userDefaults.valueFor(defaults::kRandomID), first) << "drawn anew unless stored";
    userDefaults.set(defaults::kRandomID, *first);
    launch();
    EXPECT_EQ(userDefaults.valueFor(defaults::kRandomID), first);
}

TEST_F(AppDelegateTest, TheEndOfDiscoveryServesConnectsOrDoesNothing) {
    constexpr auto yes = std::optional(true);
    constexpr auto no = std::optional(false);
    constexpr std::optional<bool> absent;
    struct Row {
        std::optional<bool> controlMac, wantServer, autoConnect;
        bool playsHere;
        const char* lastHost;
        const char* asked;
    };
    const Row rows[] = {
        {absent, yes, yes, false, "Attic", ""},
        {yes, absent, yes, false, "Attic", ""},
        {yes, no, yes, false, "Attic", "start server"},
        {no, yes, yes, false, "Attic", "start server"},
        {no, yes, absent, true, "", "start server"},
        {no, no, absent, false, "Attic", ""},
        {no, no, no, false, "Attic", ""},
        {no, no, yes, true, "Attic", ""},
        {no, no, yes, false, "", ""},
        {no, no, yes, false, "Attic", "connect Attic"},
    };
    auto& player = desktop.start(iTunes);
    make(u"/nowhere"_qs); // the defaults leave no key absent
    delegate->applicationDidFinishLaunching();
    takeLog();
    ASSERT_TRUE(activeType());
    for (const auto& row : rows) {
        set(defaults::kControlMac, row.controlMac);
        set(defaults::kWantServer, row.wantServer);
        set(defaults::kAutoConnect, row.autoConnect);
        const QString host = QString::fromUtf8(row.lastHost);
        userDefaults.setValue(defaults::kLastHostName.text(), host.isEmpty() ? QVariant() : QVariant(host));
        player.state = row.playsHere ? kPlayerStatePlaying : kPlayerStatePaused;
        around.discoveryEnded();
        EXPECT_EQ(takeLog(), row.asked) << &row - rows;
    }
    delegate.reset();
    takeLog();
    around.discoveryEnded();
    EXPECT_EQ(takeLog(), "") << "the program has ended meanwhile";
}

TEST_F(AppDelegateTest, ASleepingMachineLeavesItsHostAndReturns) {
    launch();
    sleep();
    EXPECT_TRUE(delegate->sleeping());
    wake();
    EXPECT_FALSE(delegate->sleeping());
    EXPECT_EQ(takeLog(), "") << "there was no host to leave";

    around.host = u"Attic"_qs;
    sleep();
    EXPECT_EQ(takeLog(), "disconnect");
    EXPECT_EQ(delegate->sleepingWithHost(), u"Attic"_qs);
    around.host.reset();
    const auto activations = count(notifications::kApplicationDidBecomeActive);
    wake();
    delegate->applicationDidBecomeActive();
    EXPECT_EQ(takeLog(), "discover") << "the activation finds nothing left to do";
    EXPECT_EQ(*activations, 1);
    around.discoveryEnded();
    EXPECT_EQ(takeLog(), "connect Attic");

    around.host = u"Cellar"_qs;
    sleep();
    takeLog();
    delegate->applicationDidBecomeActive();
    EXPECT_EQ(takeLog(), "discover") << "an activation wakes as well";
    EXPECT_FALSE(delegate->sleeping());
}

TEST_F(AppDelegateTest, NotificationsPassByTheirTypeAndNeverInSleep) {
    constexpr auto yes = std::optional(true);
    constexpr auto no = std::optional(false);
    constexpr std::optional<bool> absent;
    struct Row {
        const char* type;
        std::optional<bool> playing, favorite;
        bool sleeping, delivered, presented;
    };
    const Row rows[] = {
        {"Playing Notification", yes, no, false, true, true},
        {"Playing Notification", no, yes, false, false, false},
        {"Playing Notification", absent, yes, false, false, false},
        {"Favorite Notification", no, yes, false, true, true},
        {"Favorite Notification", yes, no, false, true, false},
        {"Favorite Notification", yes, absent, false, true, false},
        {"", yes, yes, false, true, false},
        {"Playing Notification", yes, yes, true, false, false},
        {"Favorite Notification", yes, yes, true, false, false},
    };
    launch();
    for (const auto& row : rows) {
        userDefaults = MemoryUserDefaults();
        set(defaults::kPlayingNotifications, row.playing);
        set(defaults::kFavoriteNotifications, row.favorite);
        row.sleeping ? sleep() : wake();
        UserNotification notification;
        notification.userInfo.insert(u"type"_qs, QString::fromUtf8(row.type));
        delegate->processUserNotification(notification);
        EXPECT_EQ(takeLog(), row.delivered ? "notifications' delegate,deliver" : "") << &row - rows;
        EXPECT_EQ(delegate->shouldPresentNotification(notification), row.presented) << &row - rows;
    }
    delegate->didActivateNotification({});
    EXPECT_EQ(takeLog(), "panel");
    around.isKey = true;
    delegate->didActivateNotification({});
    EXPECT_EQ(takeLog(), "") << "somebody is at the window already";
}

TEST_F(AppDelegateTest, QuittingSavesAndAsksWhenThatFails) {
    using enum AppDelegate::TerminateReply;
    struct Row {
        bool context, commits, changed, saves, wayOut;
        int button;
        AppDelegate::TerminateReply reply;
        const char* log;
        std::size_t alerts;
    };
    const int first = kAlertFirstButtonReturn;
    const Row rows[] = {
        {false, false, true, false, false, first, Now, "", 0},
        {true, false, true, true, false, first, Cancel, "", 0},
        {true, true, false, false, false, first, Now, "", 0},
        {true, true, true, true, false, first, Now, "save", 0},
        {true, true, true, false, true, first, Cancel, "save,present disk full", 0},
        {true, true, true, false, false, first, Cancel, "save,present disk full", 1},
        {true, true, true, false, false, first + 1, Now, "save,present disk full", 1},
    };
    launch();
    for (const auto& row : rows) {
        around.hasContext = row.context;
        around.commits = row.commits;
        around.changed = row.changed;
        around.saveError = row.saves ? std::nullopt : std::optional(u"disk full"_qs);
        around.wayOutTaken = row.wayOut;
        alerts.answer = row.button;
        alerts.shown.clear();
        EXPECT_EQ(delegate->applicationShouldTerminate(), row.reply) << &row - rows;
        EXPECT_EQ(takeLog(), row.log) << &row - rows;
        EXPECT_EQ(alerts.shown.size(), row.alerts) << &row - rows;
    }
    const auto& alert = alerts.shown.at(0);
    EXPECT_EQ(alert.messageText, u"Could not save changes while quitting. Quit anyway?"_qs);
    EXPECT_EQ(alert.informativeText,
              u"Quitting now will lose any changes you have made since the last successful save"_qs);
    EXPECT_EQ(alert.buttons, (QStringList{u"Quit anyway"_qs, u"Cancel"_qs}));

    around.commits = false;
    delegate->saveAction();
    EXPECT_EQ(takeLog(), "save,present disk full") << "an edit that cannot be ended stops no saving";
    EXPECT_EQ(alerts.shown.size(), 1U);
}

TEST_F(AppDelegateTest, TheEndStopsTheTimersAndLeavesTheNetwork) {
    auto& player = desktop.start(iTunes);
    player.playing(u"Kite"_qs);
    launch();
    const auto volumes = count(notifications::kNewVolumeInfoAvailable);
    test.loop.advance(5);
    player.volume = 60;
    *volumes = 0;
    test.loop.advance(5);
    ASSERT_EQ(*volumes, 1);
    delegate->applicationWillTerminate();
    EXPECT_EQ(takeLog(), "remove status item,disconnect,stop server");
    player.volume = 70;
    test.loop.advance(5);
    EXPECT_EQ(*volumes, 1);
}

TEST_F(AppDelegateTest, ReopeningShowsTheMainWindowOrThePanel) {
    launch();
    EXPECT_TRUE(delegate->applicationShouldHandleReopen());
    EXPECT_EQ(takeLog(), "panel");
    around.hasMainWindow = true;
    EXPECT_TRUE(delegate->applicationShouldHandleReopen());
    EXPECT_EQ(takeLog(), "main window");
}

} // namespace
} // namespace merlode
