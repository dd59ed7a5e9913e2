#include "platform/linux/mpd_program.h"

#include "base/session.h"
#include "platform/linux/mpd_library.h"

#include <QFile>
#include <QFileInfo>

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace merlode {

namespace {

// An mpd that made itself a daemon is known to the kernel by its parent, which is dead: its number may be
// anybody's by now.
bool isMpd(std::int32_t process) {
    QFile name(QStringLiteral("/proc/%1/comm").arg(process));
    return process > 0 && name.open(QIODevice::ReadOnly) && name.readAll().trimmed() == "mpd";
}

} // namespace

// One try to connect. Filled on the queue, read on the main thread once it is `done`.
struct MpdProgram::Attempt {
    Attempt(const MpdAddress& address, bool lookThroughMusic)
        : connection(std::make_shared<MpdConnection>(address)), lookThrough(lookThroughMusic) {}

    std::shared_ptr<MpdConnection> connection;
    const bool lookThrough;              // have the server look for what has changed in its music folder
    std::optional<MpdSnapshot> snapshot; // nothing: not running
    QString musicFolder;
    std::int32_t process = 0;

    std::mutex mutex;
    std::condition_variable ended;
    bool done = false;

    void carryOut(const RunLoop& clock) {
        if (connection->open(kPlayerCallTimeout)) {
            if (lookThrough)
                connection->run({"update", {}}, kPlayerCallTimeout);
            snapshot = readSnapshot(*connection, clock);
            if (snapshot && snapshot->song)
                snapshot->rating = readRating(*connection, *snapshot->song);
            musicFolder = readMusicFolder(*connection);
            process = isMpd(connection->peerProcess()) ? connection->peerProcess() : 0;
            if (connection->descriptor() < 0)
                snapshot.reset();
        }
        const std::lock_guard lock(mutex);
        done = true;
        ended.notify_all();
    }

    bool wait(double seconds) {
        std::unique_lock lock(mutex);
        return ended.wait_for(lock, std::chrono::duration<double>(seconds), [this] { return done; });
    }
};

MpdProgram::MpdProgram(MpdAddress address, Session& session)
    : session_(session),
      address_(std::move(address)),
      queue_(QStringLiteral("mpd connection"), session.executor(), &session) {}

MpdProgram::MpdProgram(PrivateMpdOptions options, Session& session)
    : session_(session),
      private_(std::make_unique<PrivateMpd>(std::move(options), session)),
      address_(private_->address()),
      queue_(QStringLiteral("mpd connection"), session.executor(), &session) {}

MpdProgram::~MpdProgram() {
    if (attempt_)
        attempt_->connection->interrupt();
    if (player_)
        player_->leave(); // others may hold it longer
}

void MpdProgram::start(PlayerProgramEvents events) {
    events_ = std::move(events);
    connect();
}

void MpdProgram::connect() {
    retry_.invalidate();
    // An mpd notices what changes while it runs, and of what changed before only what it is told to look for.
    const auto attempt = attempt_ = std::make_shared<Attempt>(address_, private_ && !hasLookedThrough_);
    queue_.async([this, attempt, life = std::weak_ptr(life_)] {
        RunLoop& loop = session_.runLoop();
        attempt->carryOut(loop);
        loop.async([this, attempt, life] {
            if (!life.expired())
                conclude(attempt, false);
        });
    });
}

void MpdProgram::settle(double seconds) {
    if (const auto attempt = attempt_; attempt && attempt->wait(seconds))
        conclude(attempt, true);
}

void MpdProgram::conclude(const std::shared_ptr<Attempt>& attempt, bool settling) {
    if (attempt != attempt_) // concluded by `settle`
        return;
    attempt_.reset();
    const bool first = std::exchange(first_, false);
    hasLookedThrough_ = hasLookedThrough_ || attempt->snapshot;
    if (!attempt->snapshot || isInFirstScan(*attempt->snapshot))
        return retryLater();
    adopt(*attempt);
    if (first && !settling)
        events_.changed();
    else if (!first)
        events_.launched();
}

bool MpdProgram::isInFirstScan(const MpdSnapshot& snapshot) {
    if (!private_ || !snapshot.scanning)
        return false;
    const double now = session_.runLoop().uptime();
    if (!scanAwaitedUntil_)
        scanAwaitedUntil_ = now + kFirstScan;
    return now < *scanAwaitedUntil_;
}

void MpdProgram::retryLater() {
    double delay = kRetryInterval;
    if (private_) {
        if (!private_->isStarted())
            return; // nobody else starts it
        if (session_.runLoop().uptime() < startingUntil_)
            delay = kStartingRetryInterval;
    }
    retry_ = session_.runLoop().after(delay, [this] { connect(); });
}

void MpdProgram::adopt(Attempt& attempt) {
    ++runs_;
    process_ = attempt.process > 0 ? attempt.process : -runs_;
    player_ = std::make_shared<MpdPlayer>(address_, session_, *attempt.snapshot, attempt.musicFolder,
                                          [this] { events_.changed(); });
    idle_ = std::make_unique<MpdIdle>(
        attempt.connection, session_.runLoop(), QByteArrayList{"player", "mixer", "playlist", "sticker"},
        MpdIdle::Events{.changed = [this] { player_->noteServerEvent(); }, .closed = [this] { lose(); }});
}

void MpdProgram::lose() {
    player_->leave();
    player_.reset();
    idle_.reset();
    hasLookedThrough_ = false;
    scanAwaitedUntil_.reset();
    retryLater();
    events_.quit();
}

std::optional<QString> MpdProgram::installedPath() {
    if (private_)
        return PrivateMpd::executable();
    const bool file = address_.isSocket() && !address_.socketPath.startsWith(u'@');
    if (file && !QFileInfo::exists(address_.socketPath))
        return std::nullopt;
    return address_.text();
}

std::optional<std::int32_t> MpdProgram::processIdentifier() {
    return player_ ? std::optional(process_) : std::nullopt;
}

std::shared_ptr<ScriptedPlayer> MpdProgram::player() {
    return player_;
}

bool MpdProgram::launch() {
    if (!private_ || !private_->start())
        return false;
    startingUntil_ = session_.runLoop().uptime() + kUsualStart;
    scanAwaitedUntil_.reset();
    if (!player_ && !attempt_)
        connect();
    return true;
}

QString MpdProgram::description() {
    if (private_)
        return QStringLiteral("private mpd (music folder %1)").arg(private_->options().musicFolder);
    return QStringLiteral("mpd at ") + address_.text();
}

} // namespace merlode
