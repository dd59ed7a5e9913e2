#include "app/demo.h"

#include "app/demo/demo_catalogue.h"
#include "app/modules.h"
#include "model/album.h"
#include "model/service_hosts.h"
#include "platform/media_library.h"
#include "platform/user_defaults.h"
#include "players/player_controller.h"

#include <QDir>
#include <QLoggingCategory>
#include <QTemporaryDir>

namespace merlode {

namespace {

Q_LOGGING_CATEGORY(log, "merlode.app", QtWarningMsg)

constexpr double kRetrySeconds = 0.1;
constexpr int kMostAttempts = 300;

// Port 9 takes what it is sent and never answers, and is closed everywhere.
const QString kNobodysAddress = QStringLiteral("http://127.0.0.1:9");

QString musicFolderOf(const QString& home) {
    return home + QStringLiteral("/Music");
}

} // namespace

std::optional<QString> makeDemoHome() {
    QTemporaryDir home(QDir::tempPath() + QStringLiteral("/merlode-demo-XXXXXX"));
    home.setAutoRemove(false);
    if (!home.isValid() || !QDir().mkpath(musicFolderOf(home.path())))
        return std::nullopt;
    const QByteArray path = home.path().toLocal8Bit();
    qputenv("HOME", path);
    qputenv("XDG_CONFIG_HOME", path + "/.config");
    qputenv("XDG_DATA_HOME", path + "/.local/share");
    qputenv("XDG_CACHE_HOME", path + "/.cache");
    qputenv("XDG_STATE_HOME", path + "/.local/state");
    for (const char* variable : {"MPD_HOST", "MPD_PORT"})
        qunsetenv(variable);
    return home.path();
}

void configureDemo(UserDefaults& userDefaults, const QString& demoFolder, const QString& servicesAddress) {
    userDefaults.set(defaults::kLocalPlayerKind, QStringLiteral("private"));
    userDefaults.set(defaults::kMusicFolders, QVariantList{musicFolderOf(demoFolder)});
    ServiceHosts::setAll(userDefaults, servicesAddress.isEmpty() ? kNobodysAddress : servicesAddress);
}

Demo::Demo(Session& session, const QString& demoFolder, std::function<void()> launchPlayer)
    : session_(session), folder_(musicFolderOf(demoFolder)), launchPlayer_(std::move(launchPlayer)) {
    makeMusic();
}

Demo::~Demo() {
    *stop_ = true;
}

void Demo::makeMusic() {
    const auto firstIsThere = [this, weak = std::weak_ptr(alive_)] {
        if (weak.lock())
            firstAlbumIsThere();
    };
    session_.queue(QStringLiteral("co.vantry.Merlode.Demo"))
        .async([&loop = session_.runLoop(), folder = folder_, stop = stop_, firstIsThere] {
            const bool first = modules::makeDemoAlbum(folder, 0);
            loop.async(firstIsThere);
            if (!first || !modules::makeDemoLibrary(folder, *stop))
                qCWarning(log) << "the demo's music could not be written to" << folder;
            loop.async([] { Session::current().port<MediaLibrary>().startScan(); });
        });
}

void Demo::firstAlbumIsThere() {
    launchPlayer_();
    retry_ = session_.runLoop().every(kRetrySeconds, [this] { tryToPlay(); });
}

void Demo::tryToPlay() {
    auto& controller = PlayerController::sharedController();
    const bool plays = controller.activePlayer() && controller.activePlayer()->isPlaying();
    if (plays || ++attempts_ > kMostAttempts)
        return retry_.invalidate();
    const auto& album = demoCatalogue().front();
    controller.playAlbum(*Album::make(ItemSourceType::iTunes, {}, album.title, album.artist, {}, false), {});
}

} // namespace merlode
