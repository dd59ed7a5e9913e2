#include "app/doctor.h"

#include "base/runtime_folder.h"
#include "platform/linux/mpd_address.h"
#include "platform/linux/mpris_names.h"
#include "platform/linux/multicast_probe.h"
#include "platform/linux/private_mpd.h"
#include "platform/linux/sound_output.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDir>
#include <QFileInfo>
#include <QImageReader>
#include <QProcessEnvironment>
#include <QTemporaryFile>

namespace merlode {

namespace {

using State = Check::State;

constexpr double kMpdLookSeconds = 0.5;
constexpr int kServiceLookMilliseconds = 500;

Check checkSessionBus(const QDBusConnection& bus) {
    const QString name = QStringLiteral("session bus");
    if (bus.isConnected())
        return {name, State::Ok, QStringLiteral("connected"), {}};
    return {name, State::Missing, bus.lastError().message(),
            QStringLiteral(
                "log in to a desktop session, or install \"dbus\": merlode then starts a bus of its own")};
}

Check checkFolder(const QString& name, const QString& path, const QString& mend) {
    QDir().mkpath(path);
    QTemporaryFile probe(path + QStringLiteral("/.probe-XXXXXX"));
    if (!path.isEmpty() && probe.open())
        return {name, State::Ok, path, {}};
    return {name, State::Warning, QStringLiteral("%1 cannot be written").arg(path.isEmpty() ? name : path),
            mend};
}

Check checkResources(const QString& folder) {
    const QString name = QStringLiteral("default settings");
    const QString file = folder + QStringLiteral("/Defaults.plist");
    if (QFileInfo(file).isReadable())
        return {name, State::Ok, file, {}};
    return {name, State::Missing, QStringLiteral("%1 cannot be read").arg(file),
            QStringLiteral("install merlode anew; without this file every service counts as switched off")};
}

Check checkMpdProgram() {
    const QString name = QStringLiteral("mpd");
    if (const auto path = PrivateMpd::executable())
        return {name, State::Ok, *path, {}};
    return {name, State::Warning, QStringLiteral("not installed"),
            QStringLiteral("install \"mpd\" to have music files played without another player")};
}

Check checkUserMpd(Executor& executor) {
    const QString name = QStringLiteral("your own mpd");
    const auto addresses = userMpdAddresses(QProcessEnvironment::systemEnvironment());
    if (const auto running = findRunningMpd(addresses, kMpdLookSeconds, executor))
        return {name, State::Ok, QStringLiteral("answers at ") + running->text(), {}};
    if (qEnvironmentVariableIsEmpty("MPD_HOST"))
        return {name,
                State::Ok,
                QStringLiteral("none runs; merlode starts a private one where it is needed"),
                {}};
    return {name, State::Warning, QStringLiteral("MPD_HOST is set, but nothing answers there"),
            QStringLiteral("start that mpd, or correct MPD_HOST")};
}

Check checkPlayers(const QDBusConnection& bus) {
    const QString name = QStringLiteral("desktop players");
    const QStringList players = bus.isConnected() ? mprisPlayerNames(bus) : QStringList();
    if (players.isEmpty())
        return {name, State::Ok, QStringLiteral("none runs at the moment"), {}};
    return {name, State::Ok, players.join(QStringLiteral(", ")), {}};
}

Check checkSound() {
    const QString name = QStringLiteral("sound output");
    const auto mpd = PrivateMpd::executable();
    if (!mpd)
        return {name, State::Ok, QStringLiteral("left to the players"), {}};
    switch (chooseSoundOutput(probeSoundMachine(*mpd, QProcessEnvironment::systemEnvironment()))) {
    case SoundOutput::Pulse:
        return {name, State::Ok, QStringLiteral("PulseAudio"), {}};
    case SoundOutput::PipeWire:
        return {name, State::Ok, QStringLiteral("PipeWire"), {}};
    case SoundOutput::Alsa:
        return {name, State::Ok, QStringLiteral("ALSA"), {}};
    case SoundOutput::None:
        break;
    }
    return {name, State::Warning, QStringLiteral("none: a private mpd plays without a sound"),
            QStringLiteral("connect a sound device, or start PipeWire or PulseAudio")};
}

Check checkMusicFolders(const QStringList& folders) {
    const QString name = QStringLiteral("music folder");
    for (const auto& folder : folders) {
        if (!QFileInfo(folder).isDir() || !QFileInfo(folder).isReadable())
            return {name, State::Warning, QStringLiteral("%1 is not there").arg(folder),
                    QStringLiteral("create it, or write \"merlodectl library use FOLDER...\"")};
    }
    return {name, State::Ok, folders.join(QStringLiteral(", ")), {}};
}

bool activatable(const QDBusConnection& bus, const QString& service) {
    auto* daemon = bus.interface();
    return daemon->isServiceRegistered(service).value() ||
           daemon->activatableServiceNames().value().contains(service);
}

// The service that runs, by its own words; nothing where it does not answer.
std::optional<QString> notificationServer(const QDBusConnection& bus, const QString& service) {
    auto call = QDBusMessage::createMethodCall(service, QStringLiteral("/org/freedesktop/Notifications"),
                                               service, QStringLiteral("GetServerInformation"));
    const auto answer = bus.call(call, QDBus::Block, kServiceLookMilliseconds);
    if (answer.type() != QDBusMessage::ReplyMessage)
        return std::nullopt;
    const auto words = answer.arguments();
    return words.value(0).toString() + u' ' + words.value(2).toString();
}

Check checkNotifications(const QDBusConnection& bus) {
    const QString name = QStringLiteral("desktop notifications");
    const QString service = QStringLiteral("org.freedesktop.Notifications");
    if (!bus.isConnected() || !activatable(bus, service))
        return {name, State::Warning, QStringLiteral("no service"),
                QStringLiteral("on a desktop, install a notification service such as \"dunst\"")};
    if (!bus.interface()->isServiceRegistered(service).value())
        return {name, State::Ok, QStringLiteral("one is installed that does not run yet"), {}};
    if (const auto server = notificationServer(bus, service))
        return {name, State::Ok, *server, {}};
    return {name, State::Warning, QStringLiteral("the service does not answer"),
            QStringLiteral("start your notification service again")};
}

Check checkBar(const QDBusConnection& bus) {
    const QString name = QStringLiteral("item in the bar");
    const QString watcher = QStringLiteral("org.kde.StatusNotifierWatcher");
    if (bus.isConnected() && bus.interface()->isServiceRegistered(watcher).value())
        return {name, State::Ok, QStringLiteral("a bar for such items runs"), {}};
    return {name, State::Warning, QStringLiteral("no bar that tells of itself on the session bus"),
            QStringLiteral("add a tray or \"status notifier\" to your desktop's bar; without one merlode "
                           "uses an older kind of tray or opens as a window")};
}

Check checkSleep() {
    const QString name = QStringLiteral("sleep and wake");
    const auto bus = QDBusConnection::systemBus();
    if (bus.isConnected() && activatable(bus, QStringLiteral("org.freedesktop.login1")))
        return {name, State::Ok, QStringLiteral("announced by logind"), {}};
    return {name, State::Warning, QStringLiteral("logind is not there: sleep goes unnoticed"),
            QStringLiteral("install \"systemd\" or \"elogind\"; harmless on a machine that never sleeps")};
}

Check checkOtherMachines(const QString& link) {
    const QString name = QStringLiteral("other machines");
    const QString state = link.isEmpty() ? QString() : link + QStringLiteral("; ");
    if (!hasMulticastNetwork())
        return {
            name, State::Warning, state + QStringLiteral("no network is up"),
            QStringLiteral("connect this machine to a network; harmless where it plays for itself alone")};
    if (const auto problem = multicastProblem(); problem.isEmpty())
        return {name, State::Ok, state + QStringLiteral("found by multicast DNS"), {}};
    else if (const auto bus = QDBusConnection::systemBus();
             bus.isConnected() && activatable(bus, QStringLiteral("org.freedesktop.Avahi")))
        return {name, State::Ok, state + QStringLiteral("found by avahi-daemon"), {}};
    else
        return {name, State::Warning, state + QStringLiteral("they cannot be found: %1").arg(problem),
                QStringLiteral("install \"avahi-daemon\", or connect by address: "
                               "merlodectl connect ADDRESS:PORT")};
}

Check checkPictureFormats() {
    const QString name = QStringLiteral("picture formats");
    const auto formats = QImageReader::supportedImageFormats();
    if (formats.contains("jpeg") && formats.contains("png") && formats.contains("tiff"))
        return {name, State::Ok, QStringLiteral("JPEG, PNG and TIFF"), {}};
    return {name, State::Warning, QStringLiteral("TIFF or JPEG is missing"),
            QStringLiteral("install \"qt6-image-formats-plugins\"")};
}

QString stateText(State state) {
    switch (state) {
    case State::Ok:
        return QStringLiteral("ok");
    case State::Warning:
        return QStringLiteral("warning");
    case State::Missing:
        break;
    }
    return QStringLiteral("missing");
}

} // namespace

QList<Check> runDoctor(const DoctorFacts& facts) {
    const auto bus = QDBusConnection::sessionBus();
    const auto executor = makeThreadPoolExecutor();
    return {
        checkSessionBus(bus),
        checkResources(facts.resourceFolder),
        checkFolder(QStringLiteral("settings folder"), facts.configFolder,
                    QStringLiteral("make it writable; until then settings last until merlode quits")),
        checkFolder(QStringLiteral("runtime folder"), runtimeFolder(),
                    QStringLiteral("make XDG_RUNTIME_DIR, or /tmp, writable")),
        checkMpdProgram(),
        checkUserMpd(*executor),
        checkMusicFolders(facts.musicFolders),
        checkSound(),
        checkPlayers(bus),
        checkNotifications(bus),
        checkBar(bus),
        checkSleep(),
        checkOtherMachines(facts.link),
        checkPictureFormats(),
    };
}

QList<QVariantMap> doctorAnswer(const QList<Check>& checks) {
    QList<QVariantMap> answer;
    for (const auto& check : checks)
        answer.append(QVariantMap{{QStringLiteral("name"), check.name},
                                  {QStringLiteral("state"), stateText(check.state)},
                                  {QStringLiteral("found"), check.found},
                                  {QStringLiteral("mend"), check.mend}});
    return answer;
}

} // namespace merlode
