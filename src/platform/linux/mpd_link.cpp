#include "platform/linux/mpd_link.h"

#include "base/session.h"
#include "platform/scripted_player.h"

#include <QLoggingCategory>

namespace merlode {

namespace {

Q_LOGGING_CATEGORY(log, "merlode.platform", QtWarningMsg)

} // namespace

MpdLink::MpdLink(MpdAddress address, Session& session, Events events)
    : loop_(session.runLoop()),
      events_(std::move(events)),
      connection_(std::move(address)),
      queue_(QStringLiteral("mpd"), session.executor(), &session) {}

MpdLink::~MpdLink() {
    connection_.interrupt();
}

void MpdLink::run(Work work) {
    if (hung_)
        return;
    queue_.async([this, work = std::move(work)] { runOnQueue(work); });
}

void MpdLink::runOnQueue(const Work& work) {
    if (dropping_)
        return;
    Finish finish;
    MpdOutcome outcome = MpdOutcome::Done;
    if (connection_.ensureOpen(kPlayerCallTimeout)) {
        finish = work(connection_);
        // A connection that broke under the work is made anew for the next.
        outcome = connection_.lastOutcome() == MpdOutcome::TimedOut ? MpdOutcome::TimedOut : MpdOutcome::Done;
    } else {
        outcome = MpdOutcome::TimedOut;
    }
    if (outcome == MpdOutcome::TimedOut)
        dropping_ = true;
    loop_.async([this, outcome, finish = std::move(finish), life = std::weak_ptr(life_)] {
        if (life.expired())
            return;
        conclude(outcome);
        if (finish && !life.expired())
            finish();
    });
}

void MpdLink::conclude(MpdOutcome outcome) {
    const bool hung = outcome == MpdOutcome::TimedOut;
    if (hung)
        pause_ = loop_.after(kHungPlayerPause, [this] { probe(); });
    if (hung == std::exchange(hung_, hung))
        return;
    qCInfo(log) << "mpd at" << connection_.address().text() << (hung ? "does not answer" : "answers again");
    hung ? events_.hung() : events_.back();
}

void MpdLink::awaken() {
    if (!hung_)
        return;
    pause_.invalidate();
    dropping_ = false;
    conclude(MpdOutcome::Done);
}

// Goes past `run`, which drops while hung; the outcome decides whether that ends.
void MpdLink::probe() {
    dropping_ = false;
    queue_.async([this] {
        runOnQueue([](MpdConnection& connection) {
            connection.run({"ping", {}}, kPlayerCallTimeout);
            return Finish();
        });
    });
}

} // namespace merlode
