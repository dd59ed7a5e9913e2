#include "platform/linux/mpris_program.h"

#include "platform/linux/desktop_entries.h"
#include "platform/linux/mpris_names.h"

#include <QDBusMessage>
#include <QFile>
#include <QProcess>
#include <QStandardPaths>

namespace merlode {

namespace {

Q_LOGGING_CATEGORY(lcProgram, "merlode.platform", QtWarningMsg)

// An application that is started through its bus name has, by the desktop entry standard, an object of that
// name.
bool activate(const QDBusConnection& connection, const QString& id) {
    const QString path = u'/' + QString(id).replace(u'.', u'/').replace(u'-', u'_');
    auto call = QDBusMessage::createMethodCall(id, path, u"org.freedesktop.Application"_qs, u"Activate"_qs);
    call.setArguments({QVariantMap()});
    return connection.send(call);
}

} // namespace

MprisProgram::MprisProgram(const QDBusConnection& connection, RunLoop& runLoop, MprisProgramOptions options)
    : connection_(connection), runLoop_(runLoop), options_(std::move(options)) {}

MprisProgram::~MprisProgram() {
    if (player_)
        player_->retire();
}

void MprisProgram::start(PlayerProgramEvents events) {
    events_ = std::make_shared<PlayerProgramEvents>(std::move(events));
    if (!mpris::isPlayerSuffix(options_.busSuffix) || !connection_.isConnected())
        return;
    watcher_.setConnection(connection_);
    watcher_.setWatchMode(QDBusServiceWatcher::WatchForOwnerChange);
    watcher_.addWatchedService(mpris::kNamePrefix + options_.busSuffix + u'*');
    connect(&watcher_, &QDBusServiceWatcher::serviceOwnerChanged, this, &MprisProgram::ownerChanged);
    connection_.connect({}, u"/org/freedesktop/DBus/Local"_qs, u"org.freedesktop.DBus.Local"_qs,
                        u"Disconnected"_qs, this, SLOT(busGone()));
    readNames();
}

void MprisProgram::readNames() {
    for (const auto& name : mpris::namesOf(connection_, options_.busSuffix)) {
        if (const auto owner = mpris::askBus(connection_, u"GetNameOwner"_qs, {name}))
            owners_[name] = owner->toString();
    }
    if (!owners_.empty())
        adopt(owners_.begin()->second, false);
}

void MprisProgram::settle(double seconds) {
    if (player_)
        player_->settle(seconds);
}

void MprisProgram::tell(Event event) {
    runLoop_.async([weak = std::weak_ptr(events_), event] {
        const auto events = weak.lock();
        if (events && (*events).*event)
            ((*events).*event)();
    });
}

void MprisProgram::ownerChanged(const QString& name, const QString&, const QString& newOwner) {
    const QString ours = mpris::kNamePrefix + options_.busSuffix;
    if (name != ours && !name.startsWith(ours + u'.'))
        return;
    if (newOwner.isEmpty())
        owners_.erase(name);
    else
        owners_[name] = newOwner;
    reconsider();
}

void MprisProgram::busGone() {
    owners_.clear();
    reconsider();
}

void MprisProgram::reconsider() {
    if (player_ && !ownsName(owner_))
        dismiss();
    if (!player_ && !owners_.empty())
        adopt(owners_.begin()->second, true);
}

bool MprisProgram::ownsName(const QString& owner) const {
    return std::ranges::any_of(owners_, [&](const auto& entry) { return entry.second == owner; });
}

void MprisProgram::adopt(const QString& owner, bool justLaunched) {
    const auto process = mpris::askBus(connection_, u"GetConnectionUnixProcessID"_qs, {owner});
    if (!process)
        return; // gone between two looks; the bus will say so
    owner_ = owner;
    process_ = static_cast<std::int32_t>(process->toUInt());
    const auto answered = [this, justLaunched] {
        if (justLaunched)
            tell(&PlayerProgramEvents::launched);
    };
    player_ = std::make_shared<MprisPlayer>(
        connection_, owner, runLoop_, options_.player,
        MprisPlayer::Events{.changed = [this] { tell(&PlayerProgramEvents::changed); },
                            .answered = answered});
    player_->begin();
    qCInfo(lcProgram) << description() << "runs as process" << *process_;
}

void MprisProgram::dismiss() {
    if (!player_->desktopEntry().isEmpty())
        lastDesktopEntry_ = player_->desktopEntry();
    player_->retire();
    player_.reset();
    process_.reset();
    installed_.reset();
    owner_.clear();
    qCInfo(lcProgram) << description() << "is gone";
    tell(&PlayerProgramEvents::quit);
}

QStringList MprisProgram::desktopIds() const {
    QStringList ids = options_.desktopIds;
    for (QString told : {player_ ? player_->desktopEntry() : QString(), lastDesktopEntry_}) {
        if (told.endsWith(u".desktop"))
            told.chop(static_cast<int>(qstrlen(".desktop")));
        if (!told.isEmpty())
            ids += told;
    }
    return ids;
}

std::optional<QString> MprisProgram::installedPath() {
    if (!process_)
        return mpris::isPlayerSuffix(options_.busSuffix) ? findInstalled() : std::nullopt;
    // It may yet tell the name of its desktop entry.
    if (const auto ids = desktopIds(); !installed_ || ids != installedIds_) {
        installed_ = findInstalled();
        installedIds_ = ids;
    }
    return installed_;
}

std::optional<QString> MprisProgram::findInstalled() const {
    if (const auto entry = findDesktopEntry(desktopIds()))
        return entry->path;
    if (process_) {
        const QString running = QFile::symLinkTarget(u"/proc/%1/exe"_qs.arg(*process_));
        // A player in another user's or sandbox's process keeps its executable to itself, yet it is there.
        return running.isEmpty() ? owners_.begin()->first : running;
    }
    const QString executable = QStandardPaths::findExecutable(options_.busSuffix);
    return executable.isEmpty() ? std::nullopt : std::optional(executable);
}

std::optional<std::int32_t> MprisProgram::processIdentifier() {
    return process_;
}

std::shared_ptr<ScriptedPlayer> MprisProgram::player() {
    return player_;
}

bool MprisProgram::launch() {
    if (!mpris::isPlayerSuffix(options_.busSuffix))
        return false;
    if (const auto entry = findDesktopEntry(desktopIds())) {
        if (launchDesktopEntry(*entry))
            return true;
        if (entry->dBusActivatable && activate(connection_, entry->id))
            return true;
    }
    const QString executable = QStandardPaths::findExecutable(options_.busSuffix);
    return !executable.isEmpty() && QProcess::startDetached(executable, {});
}

QString MprisProgram::description() {
    return u"%1 (%2%1)"_qs.arg(options_.busSuffix, mpris::kNamePrefix);
}

} // namespace merlode
