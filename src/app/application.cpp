#include "app/application.h"

#include "app/app_delegate.h"
#include "app/app_links.h"
#include "app/art_file.h"
#include "app/control_service.h"
#include "app/demo.h"
#include "app/doctor.h"
#include "app/item_services.h"
#include "app/library_files.h"
#include "app/link_commands.h"
#include "app/local_library.h"
#include "app/modules.h"
#include "app/mpris_service.h"
#include "app/music_folders.h"
#include "app/role_assignment.h"
#include "app/search_rows.h"
#include "app/service_switches.h"
#include "app/socket_hosts.h"
#include "app/spotify_sign_in.h"
#include "app/status.h"
#include "app/status_publisher.h"
#include "base/control_interface.h"
#include "base/notification_names.h"
#include "base/qt_run_loop.h"
#include "base/runtime_folder.h"
#include "base/session.h"
#include "model/remote_link.h"
#include "model/service_hosts.h"
#include "model/signing_http_client.h"
#include "platform/activation_token.h"
#include "platform/linux/epoll_network.h"
#include "platform/linux/freedesktop_notification_center.h"
#include "platform/linux/log_alerts.h"
#include "platform/linux/mpris_names.h"
#include "platform/linux/player_roles.h"
#include "platform/linux/plist_user_defaults.h"
#include "platform/linux/portal_settings.h"
#include "platform/linux/sleep_monitor.h"
#include "platform/linux/status_notifier_item.h"
#include "platform/null_media_library.h"
#include "players/player_controller.h"
#include "remote/remote_action_controller.h"
#include "ui/links.h"

#include <QCoreApplication>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDir>
#include <QLocale>
#include <QLoggingCategory>
#include <QStandardPaths>

namespace merlode {

namespace {

Q_LOGGING_CATEGORY(log, "merlode.app", QtWarningMsg)

const QString kLibraryQueue = QStringLiteral("co.vantry.Merlode.LibraryState");

// Seconds from the launch to the first look at the music folder.
constexpr double kScanDelay = 2.0;

const QString kDoctorQueue = QStringLiteral("co.vantry.Merlode.Doctor");
const QString kNotificationQueue = QStringLiteral("co.vantry.Merlode.Notifications");

void libraryAction(const QString& action) {
    auto& library = Session::current().port<MediaLibrary>();
    if (action == QStringLiteral("rescan"))
        library.startScan();
    else if (action == QStringLiteral("cancel"))
        library.cancelScan();
}

QString stateText(MediaLibrary::State state) {
    switch (state) {
    case MediaLibrary::State::Idle:
        return QStringLiteral("not scanned yet");
    case MediaLibrary::State::Scanning:
        return QStringLiteral("scanning");
    case MediaLibrary::State::Finished:
        return QStringLiteral("up to date");
    case MediaLibrary::State::Cancelled:
        return QStringLiteral("cancelled");
    case MediaLibrary::State::Unreachable:
        break;
    }
    return QStringLiteral("unreachable");
}

QVariantMap libraryState(Session& session, const MusicFolders& folders, LibrarySongs::Place songs) {
    const auto progress = session.port<MediaLibrary>().progress();
    const auto place = session.port<MediaLibrary>().place();
    return {{QStringLiteral("state"), stateText(progress.state)},
            {QStringLiteral("folder"),
             place == folders.root() ? folders.folders().join(QStringLiteral(", ")) : place},
            {QStringLiteral("songs"), songs},
            {QStringLiteral("filesSeen"), progress.filesSeen},
            {QStringLiteral("filesTotal"), progress.filesTotal}};
}

void spotifyAction(SpotifySignIn& signIn, const QStringList& words,
                   std::function<void(const std::variant<QString, ControlError>&)> done) {
    const auto answer = [done = std::move(done)](const SpotifySignIn::Outcome& outcome) {
        if (outcome.done)
            done(outcome.message);
        else
            done(ControlError{QString::fromLatin1(control::kErrorInvalidArgument), outcome.message});
    };
    if (words[0] == u"login")
        signIn.login(words[1], words[2], answer);
    else if (words[0] == u"logout")
        signIn.logout(answer);
    else
        answer({true, signIn.state().message});
}

class Controllers final : public ControllersLink {
  public:
    explicit Controllers(std::function<void()> findPlayers) : findPlayers_(std::move(findPlayers)) {}
    void findPlayers() override { findPlayers_(); }
    void makeRemoteActionController() override { RemoteActionController::sharedController(); }

  private:
    std::function<void()> findPlayers_;
};

// For sockets and other files of this run; empty where no folder can be trusted.
QString privateRuntimeFolder(const ApplicationOptions& options) {
    const QString runtime = runtimeFolder();
    if (options.demo || runtime.isEmpty())
        return options.demoFolder;
    return runtime + QStringLiteral("/merlode");
}

// Where bars look for the item's picture by its name.
QString iconFolder() {
    return QDir::cleanPath(QCoreApplication::applicationDirPath() + QStringLiteral("/../share/icons"));
}

} // namespace

QString resourceFolder() {
    return QCoreApplication::applicationDirPath() + QStringLiteral("/../share/merlode");
}

QString configFolder() {
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
           QStringLiteral("/co.vantry.Merlode");
}

// Destroyed from the last to the first, so that the session outlives all that observes it.
struct Application::Parts {
    QDBusConnection bus = QDBusConnection::sessionBus();
    std::shared_ptr<void> demoServices;
    Session session{std::make_unique<QtRunLoop>(), makeThreadPoolExecutor()};
    SessionScope scope{&session};
    PlayerRoles* roles = nullptr;
    ItemServices* items = nullptr;
    LocalLibrary* library = nullptr;
    DivertedAlerts* alerts = nullptr;
    std::unique_ptr<MusicFolders> folders;
    std::unique_ptr<RoleAssignment> assignment;
    std::unique_ptr<AppDelegate> delegate;
    std::unique_ptr<SleepMonitor> sleepMonitor;
    std::unique_ptr<ArtFile> artFile;
    std::unique_ptr<StatusPublisher> publisher;
    std::unique_ptr<SearchRows> searchRows;
    std::unique_ptr<SpotifySignIn> spotify;
    std::unique_ptr<LinkCommands> link;
    std::unique_ptr<ControlService> control;
    std::unique_ptr<MprisService> mpris;
    std::unique_ptr<Demo> demo;
    Observation launches;
    Observation connections;
};

Application::Application(ApplicationOptions options)
    : options_(std::move(options)), parts_(std::make_unique<Parts>()) {}

Application::~Application() = default;

bool Application::becomeTheInstance() {
    const QString service = QString::fromLatin1(control::kService);
    const auto reply =
        parts_->bus.interface()->registerService(service, QDBusConnectionInterface::DontQueueService);
    if (reply.value() == QDBusConnectionInterface::ServiceRegistered)
        return true;
    auto call = QDBusMessage::createMethodCall(service, QString::fromLatin1(control::kPath),
                                               QString::fromLatin1(control::kInterface),
                                               QStringLiteral("ReopenWithToken"));
    call.setArguments({qEnvironmentVariable(kActivationTokenVariable)});
    parts_->bus.call(call, QDBus::Block, 2000);
    return false;
}

void Application::launch() {
    installPorts();
    installLinks();
    if (options_.serve)
        parts_->session.port<UserDefaults>().set(defaults::kWantServer, true);
    parts_->delegate = std::make_unique<AppDelegate>(parts_->session, options_.resourceFolder);
    parts_->session.installReference<ApplicationDelegate>(*parts_->delegate);
    parts_->delegate->applicationDidFinishLaunching();
    parts_->items->setController(PlayerController::sharedController());
    serveBus();
    keepSomebodyInCharge();
    startLibrary();
    if (options_.demo)
        parts_->demo = std::make_unique<Demo>(parts_->session, options_.demoFolder,
                                              [this] { parts_->assignment->launchPrivateMpd(); });
}

void Application::findPlayers() {
    if (options_.demo)
        configureDemo(parts_->session.port<UserDefaults>(), options_.demoFolder,
                      modules::startDemoServices(parts_->demoServices));
    ServiceHosts::sharedController(); // reads the settings, which other threads may not
    parts_->spotify->restore();
    const QString data = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
    const QString runtime = privateRuntimeFolder(options_);
    parts_->folders = std::make_unique<MusicFolders>(parts_->session.port<UserDefaults>(),
                                                     data + QStringLiteral("/merlode/music"));
    parts_->folders->join();
    parts_->assignment = std::make_unique<RoleAssignment>(
        parts_->session, *parts_->roles, parts_->bus,
        RoleAssignment::Options{options_.demo, data + QStringLiteral("/merlode/mpd"),
                                runtime.isEmpty() ? runtime : runtime + QStringLiteral("/mpd"),
                                [this] { return parts_->folders->root(); },
                                [this](const LibraryQuery& query) {
                                    auto& library = parts_->session.port<MediaLibrary>();
                                    return filesOf(query, *parts_->items->iTunesSongs(), library);
                                }});
    parts_->assignment->assignAll();
    parts_->roles->settle();
}

void Application::installPorts() {
    auto& session = parts_->session;
    auto alerts = options_.headless ? nullptr : modules::makeAlerts(session.runLoop());
    auto diverted =
        std::make_unique<DivertedAlerts>(alerts ? std::move(alerts) : std::make_unique<LogAlerts>());
    parts_->alerts = diverted.get();
    session.install<Alerts>(std::move(diverted));
    const auto report = [](const QString& message) { qCWarning(log).noquote() << message; };
    session.install<UserDefaults>(std::make_unique<PlistUserDefaults>(
        configFolder() + QStringLiteral("/Preferences.plist"), session.runLoop(), report));
    auto http = std::make_unique<SigningHttpClient>(session, std::make_unique<LazyHttpClient>(session));
    parts_->spotify = std::make_unique<SpotifySignIn>(session, *http);
    session.install<HttpClient>(std::move(http));
    session.install<SecretStore>(std::make_unique<LazySecretStore>(session.runLoop()));
    session.install<StreamNetwork>(std::make_unique<EpollNetwork>());
    session.install<UserNotificationCenter>(std::make_unique<FreedesktopNotificationCenter>(
        parts_->bus, session.runLoop(), session.queue(kNotificationQueue)));
    session.install<ServiceDiscovery>(std::make_unique<LazyServiceDiscovery>(session.runLoop()));
    parts_->roles = &session.install<PlayerRoles>(std::make_unique<PlayerRoles>(session));
    session.installReference<Workspace>(*parts_->roles);
    session.installReference<ScriptedPlayers>(*parts_->roles);
}

void Application::installLinks() {
    auto& session = parts_->session;
    session.installReference<RemoteLink>(SocketController::sharedController());
    session.install<SearchLink>(std::make_unique<PlayerSearch>());
    auto items = std::make_unique<ItemServices>(session, QLocale::system().name());
    parts_->items = items.get();
    session.install<ItemLink>(std::move(items));
    session.install<PlayReports>(std::make_unique<NullPlayReports>());
    session.install<PandoraLink>(std::make_unique<NullPandoraLink>());
    session.install<ControllersLink>(std::make_unique<Controllers>([this] { findPlayers(); }));
    session.install<HotkeysLink>(std::make_unique<HotkeysLink>());
    session.install<FavoritesLink>(std::make_unique<FavoritesLink>());
    session.install<WindowsLink>(makeWindows());
    session.install<HostsLink>(std::make_unique<SocketHosts>(session));
    session.install<StoreLink>(std::make_unique<StoreLink>());
}

std::unique_ptr<WindowsLink> Application::makeWindows() {
    auto& session = parts_->session;
    if (options_.headless)
        return std::make_unique<WindowsLink>();
    session.install<DesktopSettings>(std::make_unique<PortalSettings>(parts_->bus, session));
    WindowOptions options;
    options.windowOnly = options_.window;
    options.makeStatusItem = [this](StatusItem::Events events) {
        return std::make_unique<StatusNotifierItem>(
            parts_->bus, parts_->session.runLoop(),
            StatusNotifierItem::Identity{QStringLiteral("merlode"), QStringLiteral("Merlode"), iconFolder()},
            std::move(events));
    };
    if (!options_.demo)
        options.useMusicFolder = [this](const QString& folder) {
            const auto error = useMusicFolders({folder});
            return error ? error->message : QString();
        };
    options.didBecomeActive = [this] {
        if (parts_->delegate)
            parts_->delegate->applicationDidBecomeActive();
    };
    options.quit = [this] { parts_->session.runLoop().asyncAfter(0, [this] { terminate(); }); };
    auto windows = modules::makeWindows(session, options);
    return windows ? std::move(windows) : std::make_unique<WindowsLink>();
}

void Application::serveBus() {
    auto& parts = *parts_;
    auto& controller = PlayerController::sharedController();
    const auto reopen = [&parts] { parts.delegate->applicationShouldHandleReopen(); };
    const auto quit = [this] { terminate(); };
    parts.sleepMonitor = std::make_unique<SleepMonitor>(QDBusConnection::systemBus(), parts.session);
    parts.artFile = std::make_unique<ArtFile>(parts.session, privateRuntimeFolder(options_),
                                              [&parts] { parts.publisher->schedule(); });
    parts.publisher = std::make_unique<StatusPublisher>(parts.session, [&parts, &controller] {
        auto status = currentStatus(controller, *parts.roles, parts.artFile->path());
        status.insert(QString::fromLatin1(control::status::kRole),
                      linkRole(SocketController::sharedController()));
        return status;
    });
    ControlActions actions;
    addPlayerActions(actions);
    addMusicActions(actions);
    addLinkActions(actions);
    actions.reopen = reopen;
    actions.quit = quit;
    parts.control = std::make_unique<ControlService>(parts.session, *parts.publisher, std::move(actions));
    if (!parts.control->registerOn(parts.bus))
        qCWarning(log) << "the control interface cannot be offered:" << parts.bus.lastError().message();
    parts.mpris =
        std::make_unique<MprisService>(parts.session, *parts.publisher, *parts.artFile, reopen, quit);
    if (!parts.mpris->registerOn(parts.bus))
        qCWarning(log) << "media keys will not work: the MPRIS name is taken";
}

void Application::addPlayerActions(ControlActions& actions) {
    auto& parts = *parts_;
    actions.players = [&parts] {
        return playersStatus(PlayerController::sharedController(), *parts.roles,
                             parts.assignment->otherPlayers());
    };
    actions.usePlayer = [this, &parts](const QString& role, const QString& program) {
        auto error = parts.assignment->use(role, program);
        if (!error)
            rolesChanged();
        return error;
    };
    actions.doctor = [this, &parts](std::function<void(QList<QVariantMap>)> done) {
        const DoctorFacts facts{configFolder(), options_.resourceFolder, parts.folders->folders(),
                                linkRole(SocketController::sharedController())};
        parts.session.queue(kDoctorQueue)
            .async([&loop = parts.session.runLoop(), facts, done = std::move(done)] {
                loop.async([done, checks = doctorAnswer(runDoctor(facts))] { done(checks); });
            });
    };
    actions.wantArt = [&parts](std::function<void()> done) {
        parts.artFile->want();
        parts.artFile->whenSettled(std::move(done));
    };
}

void Application::addMusicActions(ControlActions& actions) {
    auto& parts = *parts_;
    parts.searchRows = std::make_unique<SearchRows>(parts.session, *parts.alerts);
    actions.search = [&parts](const QString& term, auto done) {
        parts.searchRows->search(term, std::move(done));
    };
    actions.spotify = [&parts](const QStringList& words, auto done) {
        spotifyAction(*parts.spotify, words, std::move(done));
    };
    actions.playRow = [&parts](uint row, const QString& service) {
        return parts.searchRows->play(row, service);
    };
    actions.libraryState = [&parts](const QString& action,
                                    const std::function<void(const QVariantMap&)>& done) {
        libraryAction(action);
        parts.session.queue(kLibraryQueue).async([&parts, done] {
            const auto songs = parts.items->iTunesSongs()->size();
            parts.session.runLoop().async(
                [&parts, songs, done] { done(libraryState(parts.session, *parts.folders, songs)); });
        });
    };
    actions.services = [&parts] { return enabledServices(parts.session.port<UserDefaults>()); };
    actions.enableService = enableService;
    actions.useMusicFolders = [this](const QStringList& folders) { return useMusicFolders(folders); };
}

void Application::addLinkActions(ControlActions& actions) {
    auto& parts = *parts_;
    parts.link = std::make_unique<LinkCommands>(parts.session, *parts.alerts);
    actions.hosts = [&parts](auto done) { parts.link->hosts(std::move(done)); };
    actions.connectToHost = [&parts](const QString& name, const auto& done) {
        parts.link->connectTo(name, done);
    };
    actions.disconnectFromHost = [&parts](const auto& done) { parts.link->disconnect(done); };
    actions.serve = [&parts](bool on, const auto& done) { parts.link->serve(on, done); };
    actions.rename = [&parts](const QString& name, const auto& done) { parts.link->rename(name, done); };
}

std::optional<ControlError> Application::useMusicFolders(const QStringList& folders) {
    if (options_.demo)
        return ControlError{QString::fromLatin1(control::kErrorInvalidArgument),
                            QStringLiteral("The demo plays its own library only.")};
    auto error = parts_->folders->use(folders);
    if (error)
        return error;
    parts_->assignment->musicFolderChanged();
    rolesChanged();
    parts_->library->startScan();
    return std::nullopt;
}

// Somebody who puts a player into a role wants to see it, if it plays and nothing else does.
void Application::rolesChanged() {
    parts_->library->follow(parts_->assignment->userMpd());
    parts_->roles->settle();
    auto& controller = PlayerController::sharedController();
    controller.checkProcessID();
    keepSomebodyInCharge();
    if (controller.activePlayer() && !controller.activePlayer()->isPlaying())
        controller.setupMusicPlayers();
}

// A private mpd is started without being asked, and a player that comes up idle gets the role when nobody has
// it: the first "play" should have somebody to go to.
void Application::keepSomebodyInCharge() {
    auto& parts = *parts_;
    if (!options_.demo)
        parts.assignment->launchPrivateMpd();
    const auto adopt = [] {
        auto& controller = PlayerController::sharedController();
        if (!controller.activePlayer())
            controller.setupMusicPlayers();
    };
    adopt();
    parts.launches = parts.session.workspaceCenter().addObserver(
        notifications::kWorkspaceDidLaunchApplication, [&parts, adopt](const auto&) {
            parts.library->playerCameUp();
            adopt();
        });
    // Whoever leaves a host is back with the players of this machine.
    parts.connections = parts.session.notificationCenter().addObserver(
        notifications::kServerConnectionChanged, [&parts, adopt](const auto&) {
            parts.session.runLoop().async([adopt] {
                const auto& link = SocketController::sharedController();
                if (!link.connectedToHost() && !link.connecting())
                    adopt();
            });
        });
}

// Behind all that somebody waits for: the library's readers take some milliseconds to load, and a scan reads
// many files.
void Application::startLibrary() {
    auto& session = parts_->session;
    const auto make = [this, &session](const std::optional<MpdAddress>& mpd) {
        auto made = mpd ? modules::makeMpdMediaLibrary(session, *mpd)
                        : modules::makeMediaLibrary(session, [this] { return parts_->folders->root(); });
        return made ? std::move(made) : std::make_unique<NullMediaLibrary>();
    };
    auto library = std::make_unique<LocalLibrary>(session, make, parts_->assignment->userMpd());
    parts_->library = library.get();
    session.install<MediaLibrary>(std::move(library));
    session.runLoop().asyncAfter(kScanDelay, [this] { parts_->library->startScan(); });
}

void Application::terminate() {
    if (!parts_->delegate ||
        parts_->delegate->applicationShouldTerminate() == AppDelegate::TerminateReply::Cancel)
        return;
    parts_->delegate->applicationWillTerminate();
    QCoreApplication::quit();
}

} // namespace merlode
