#include "platform/linux/mpris_player.h"

#include "platform/linux/mpris_metadata.h"
#include "platform/linux/mpris_names.h"
#include "platform/linux/mpris_playlist.h"

#include <QDBusObjectPath>
#include <QDBusVariant>
#include <QUrl>

#include <cmath>

namespace merlode {

namespace {

Q_LOGGING_CATEGORY(lcPlayer, "merlode.platform", QtWarningMsg)

constexpr double kMicroseconds = 1e6;
constexpr double kPauseSeconds = 0.1;
constexpr double kLateStateSeconds = 0.7;

bool isReply(const QDBusMessage& answer) {
    return answer.type() == QDBusMessage::ReplyMessage && !answer.arguments().isEmpty();
}

// Nonsense in place of the properties must not pass for a player that has lost them all.
bool isFullReading(const QDBusMessage& answer) {
    return isReply(answer) && answer.signature() == u"a{sv}";
}

bool hasControls(const QString& text) {
    return std::ranges::any_of(text, [](QChar c) { return c.category() == QChar::Other_Control; });
}

QString addressOf(const QString& path) {
    return QString::fromLatin1(QUrl::fromLocalFile(path).toEncoded(QUrl::FullyEncoded));
}

} // namespace

MprisPlayer::MprisPlayer(const QDBusConnection& connection, const QString& owner, RunLoop& runLoop,
                         MprisPlayerOptions options, Events events)
    : connection_(connection),
      owner_(owner),
      runLoop_(runLoop),
      options_(std::move(options)),
      events_(std::move(events)),
      calls_(connection, owner, runLoop,
             {.hung = [this] { events_.changed(); },
              .revived =
                  [this] {
                      events_.changed();
                      refresh();
                  }}),
      art_(runLoop, options_.http, options_.artQueue, options_.embeddedPicture) {}

void MprisPlayer::begin() {
    subscribe();
    refresh();
    askDesktopEntry();
}

void MprisPlayer::subscribe() {
    // Players also announce their root and track list interfaces there: the bus sorts those out.
    connection_.connect(owner_, mpris::kObjectPath, mpris::kPropertiesInterface, u"PropertiesChanged"_qs,
                        {mpris::kPlayerInterface}, {}, this, SLOT(propertiesChanged(QDBusMessage)));
    connection_.connect(owner_, mpris::kObjectPath, mpris::kPlayerInterface, u"Seeked"_qs, this,
                        SLOT(seeked(QDBusMessage)));
}

void MprisPlayer::settle(double seconds) {
    if (answered_)
        return;
    const auto answer =
        calls_.sendAndWait(mpris::kPropertiesInterface, u"GetAll"_qs, {mpris::kPlayerInterface}, seconds);
    if (!answer || !isFullReading(*answer))
        return;
    answered_ = true;
    if (mirror_.replace(mpris::mapFrom(answer->arguments().constFirst()), runLoop_.uptime()).art)
        art_.want(mirror_.artSource());
}

void MprisPlayer::retire() {
    calls_.close();
    positionWanted_.invalidate();
    refreshWanted_.invalidate();
    opening_.invalidate();
    lateState_.invalidate();
    art_.want({});
}

std::uint32_t MprisPlayer::playerState() {
    return calls_.usable() ? mirror_.state() : 0;
}

std::optional<ScriptedTrack> MprisPlayer::currentTrack() {
    return calls_.usable() ? mirror_.track() : std::nullopt;
}

void MprisPlayer::play() {
    command(u"Play"_qs);
}

void MprisPlayer::playpause() {
    command(u"PlayPause"_qs);
}

// A live stream often cannot be paused, and has to fall silent all the same when another player takes over.
void MprisPlayer::pause() {
    command(mirror_.capabilities().canPause ? u"Pause"_qs : u"Stop"_qs);
}

void MprisPlayer::nextTrack() {
    command(u"Next"_qs);
}

void MprisPlayer::previousTrack() {
    command(u"Previous"_qs);
}

std::optional<int> MprisPlayer::soundVolume() {
    refreshIfStale();
    return calls_.usable() ? mirror_.volume() : std::nullopt;
}

void MprisPlayer::setSoundVolume(int volume) {
    if (!calls_.usable() || !mirror_.volume())
        return;
    const int clean = std::clamp(volume, 0, 100);
    mirror_.assumeVolume(clean);
    setProperty(u"Volume"_qs, clean / 100.0);
}

std::optional<double> MprisPlayer::playerPosition() {
    refreshIfStale();
    return calls_.usable() ? mirror_.position(runLoop_.uptime()) : std::nullopt;
}

void MprisPlayer::setPlayerPosition(double seconds) {
    if (!std::isfinite(seconds))
        return;
    double target = std::clamp(seconds, 0.0, mpris::kLongestSeconds);
    const auto track = mirror_.track();
    if (track && track->duration)
        target = std::min(target, *track->duration);
    const auto current = mirror_.position(runLoop_.uptime());
    const auto inMicroseconds = [](double value) {
        return QVariant::fromValue(std::llround(value * kMicroseconds));
    };
    if (!mirror_.trackPath().isEmpty())
        command(u"SetPosition"_qs,
                {QVariant::fromValue(QDBusObjectPath(mirror_.trackPath())), inMicroseconds(target)});
    else if (current)
        command(u"Seek"_qs, {inMicroseconds(target - *current)});
    if (current)
        mirror_.positionAnnounced(target, runLoop_.uptime());
}

std::optional<Image> MprisPlayer::albumArt() {
    return calls_.usable() ? art_.image() : std::nullopt;
}

void MprisPlayer::setRepeating(bool repeating) {
    setProperty(u"LoopStatus"_qs, repeating ? u"Playlist"_qs : u"None"_qs);
}

void MprisPlayer::setShuffling(bool shuffling) {
    setProperty(u"Shuffle"_qs, shuffling);
}

std::optional<int> MprisPlayer::rating() {
    return calls_.usable() ? mirror_.rating() : std::nullopt;
}

// MPRIS has no way to write a rating.
void MprisPlayer::setRating(int) {}

void MprisPlayer::playKey(const QString& key) {
    if (!key.isEmpty() && !hasControls(key))
        open(key.startsWith(u'/') ? addressOf(key) : key);
}

bool MprisPlayer::playFromLibrary(const LibraryQuery& query, const QString& playlistName) {
    if (!calls_.usable() || !options_.filesFor)
        return false;
    const auto playlist = writePlaylist(options_.playlistFolder, playlistName, options_.filesFor(query));
    if (!playlist)
        return false;
    if (mirror_.repeats())
        setRepeating(false);
    open(addressOf(*playlist));
    return true;
}

PlayerCapabilities MprisPlayer::capabilities() {
    return calls_.usable() ? mirror_.capabilities() : PlayerCapabilities();
}

void MprisPlayer::command(const QString& method, const QVariantList& arguments) {
    // Whatever the user wants now overrules the wish to have an opened address play.
    forgetOpening();
    calls_.send(mpris::kPlayerInterface, method, arguments, [method](const QDBusMessage& answer) {
        if (answer.type() == QDBusMessage::ErrorMessage)
            qCInfo(lcPlayer) << "player refused" << method << answer.errorName();
    });
}

void MprisPlayer::setProperty(const QString& name, const QVariant& value) {
    calls_.send(mpris::kPropertiesInterface, u"Set"_qs,
                {mpris::kPlayerInterface, name, QVariant::fromValue(QDBusVariant(value))});
}

void MprisPlayer::open(const QString& uri) {
    forgetOpening();
    calls_.send(mpris::kPlayerInterface, u"OpenUri"_qs, {uri},
                [this, wish = wish_](const QDBusMessage& answer) {
                    if (wish == wish_)
                        opened(answer);
                });
}

void MprisPlayer::forgetOpening() {
    ++wish_;
    opening_.invalidate();
    playWhenRead_ = false;
}

// Some players load what they open and stay paused, and some begin to play without announcing it.
void MprisPlayer::opened(const QDBusMessage& answer) {
    if (answer.type() == QDBusMessage::ErrorMessage) {
        qCInfo(lcPlayer) << "player could not open:" << answer.errorName();
        return;
    }
    refresh();
    opening_ = runLoop_.after(kOpeningSeconds, [this] { ensurePlaying(); });
}

void MprisPlayer::ensurePlaying() {
    if (mirror_.state() == kPlayerStatePlaying)
        return;
    playWhenRead_ = true;
    refresh();
}

// mpv keeps saying that it is stopped, though it plays, until it sees its pause flag change, and it overlooks
// a change that is taken back at once. A player that is stopped indeed takes no notice of Pause.
void MprisPlayer::insistOnPlaying() {
    if (mirror_.state() != kPlayerStateStopped)
        return play();
    command(u"Pause"_qs);
    opening_ = runLoop_.after(kPauseSeconds, [this] { play(); });
}

void MprisPlayer::refreshIfStale() {
    if (calls_.usable() && runLoop_.uptime() - refreshedAt_ > kStaleSeconds)
        afterNews(refreshWanted_, &MprisPlayer::refresh);
}

void MprisPlayer::refresh() {
    if (refreshing_) {
        refreshAgain_ = true;
        return;
    }
    refreshing_ = calls_.send(mpris::kPropertiesInterface, u"GetAll"_qs, {mpris::kPlayerInterface},
                              [this](const QDBusMessage& answer) { refreshed(answer); });
    if (refreshing_)
        refreshedAt_ = runLoop_.uptime();
}

void MprisPlayer::refreshed(const QDBusMessage& answer) {
    refreshing_ = false;
    // A player that is still busy starting counts as up with its first sign of life, which is asked for
    // again.
    if (calls_.usable() && !std::exchange(answered_, true))
        events_.answered();
    if (isFullReading(answer))
        takeIn(mirror_.replace(mpris::mapFrom(answer.arguments().constFirst()), runLoop_.uptime()));
    if (std::exchange(refreshAgain_, false))
        return refresh();
    if (std::exchange(playWhenRead_, false) && mirror_.state() != kPlayerStatePlaying)
        insistOnPlaying();
}

void MprisPlayer::askPosition() {
    if (askingPosition_) {
        askPositionAgain_ = true;
        return;
    }
    askingPosition_ =
        calls_.send(mpris::kPropertiesInterface, u"Get"_qs, {mpris::kPlayerInterface, u"Position"_qs},
                    [this](const QDBusMessage& answer) {
                        askingPosition_ = false;
                        // An error is an answer too: some players have no position while they are stopped.
                        const auto seconds = isReply(answer)
                                                 ? mpris::secondsFrom(answer.arguments().constFirst())
                                                 : std::nullopt;
                        if (mirror_.positionRead(seconds, runLoop_.uptime()))
                            events_.changed();
                        if (std::exchange(askPositionAgain_, false))
                            askPosition();
                    });
}

void MprisPlayer::takeIn(const MprisChange& change) {
    if (change.art)
        art_.want(mirror_.artSource());
    if (change.matters())
        events_.changed();
    if (!change.moved)
        return;
    // A player that was idle starts its first track without a word, and some time after it told the track.
    if (change.track && mirror_.state() != kPlayerStatePlaying)
        lateState_ = runLoop_.after(kLateStateSeconds, [this] { refresh(); });
    // Players forget to announce what comes with a new state: capabilities, or the state that a new track
    // brings.
    if (change.state || (change.track && mirror_.state() != kPlayerStatePlaying))
        afterNews(refreshWanted_, &MprisPlayer::refresh);
    else
        afterNews(positionWanted_, &MprisPlayer::askPosition);
}

// News are passed on, and shown, by work that is queued when they come and by what that queues in turn. Two
// turns on the queue put a question that nobody waits for behind both: to ask the bus first would delay what
// is seen.
void MprisPlayer::afterNews(Timer& slot, void (MprisPlayer::*question)()) {
    if (slot)
        return;
    slot = runLoop_.after(0, [this, &slot, question] {
        slot = runLoop_.after(0, [this, &slot, question] {
            slot.invalidate();
            (this->*question)();
        });
    });
}

void MprisPlayer::propertiesChanged(const QDBusMessage& signal) {
    if (calls_.closed())
        return;
    calls_.heard();
    const auto arguments = signal.arguments();
    if (arguments.size() < 2 || arguments.at(0).toString() != mpris::kPlayerInterface)
        return;
    takeIn(mirror_.update(mpris::mapFrom(arguments.at(1)), runLoop_.uptime()));
    if (arguments.size() > 2 && !arguments.at(2).toStringList().isEmpty())
        refresh();
}

void MprisPlayer::seeked(const QDBusMessage& signal) {
    if (calls_.closed())
        return;
    calls_.heard();
    const auto seconds =
        signal.arguments().isEmpty() ? std::nullopt : mpris::secondsFrom(signal.arguments().constFirst());
    if (!seconds)
        askPosition();
    else if (mirror_.positionAnnounced(seconds, runLoop_.uptime()))
        events_.changed();
}

void MprisPlayer::askDesktopEntry() {
    calls_.send(mpris::kPropertiesInterface, u"Get"_qs, {mpris::kRootInterface, u"DesktopEntry"_qs},
                [this](const QDBusMessage& answer) {
                    if (isReply(answer))
                        desktopEntry_ = mpris::textFrom(answer.arguments().constFirst()).value_or(QString());
                });
}

} // namespace merlode
