#include "app/mpris_service.h"

#include "app/status.h"
#include "model/track.h"
#include "players/player_controller.h"

#include <QDBusMessage>
#include <QPointer>
#include <QUrl>

#include <cmath>

namespace merlode {

namespace {

const QString kMprisPath = QStringLiteral("/org/mpris/MediaPlayer2");
const QString kMprisName = QStringLiteral("org.mpris.MediaPlayer2.merlode");
const QString kPlayerInterface = QStringLiteral("org.mpris.MediaPlayer2.Player");
constexpr qlonglong kMicroseconds = 1'000'000;
constexpr double kSeekJump = 2.0; // seconds off that count as a seek

PlayerController& controller() {
    return PlayerController::sharedController();
}

PlayerCapabilities capabilities() {
    const auto& player = controller().activePlayer();
    return player ? player->capabilities() : PlayerCapabilities{};
}

// Object paths allow few characters; the track's identity has any.
QDBusObjectPath trackPath(const Track* track) {
    if (!track)
        return QDBusObjectPath(QStringLiteral("/org/mpris/MediaPlayer2/TrackList/NoTrack"));
    const auto digest = QString::number(qHash(track->id() + u'\n' + track->identity().text()), 16);
    return QDBusObjectPath(QStringLiteral("/co/vantry/Merlode/track/") + digest);
}

} // namespace

MprisRootAdaptor::MprisRootAdaptor(MprisService& service)
    : QDBusAbstractAdaptor(&service), service_(service) {}

void MprisRootAdaptor::Raise() {
    service_.reopen();
}

void MprisRootAdaptor::Quit() {
    service_.quit();
}

MprisPlayerAdaptor::MprisPlayerAdaptor(MprisService& service)
    : QDBusAbstractAdaptor(&service), service_(service) {}

QString MprisPlayerAdaptor::playbackStatus() const {
    const SessionScope scope(&service_.session());
    if (controller().currentPlayState() == kPlayStatePlaying)
        return QStringLiteral("Playing");
    return controller().currentTrack() ? QStringLiteral("Paused") : QStringLiteral("Stopped");
}

QVariantMap MprisPlayerAdaptor::metadata() const {
    const SessionScope scope(&service_.session());
    const auto& track = controller().currentTrack();
    QVariantMap data{{QStringLiteral("mpris:trackid"), QVariant::fromValue(trackPath(track.get()))}};
    if (!track)
        return data;
    data.insert(QStringLiteral("xesam:title"), track->name());
    data.insert(QStringLiteral("xesam:artist"), QStringList{track->artistName()});
    data.insert(QStringLiteral("xesam:album"), track->albumName());
    const auto& player = controller().activePlayer();
    const bool tellsDuration = player && !showsTrackBeforeAdvertisement(controller());
    if (const auto duration = tellsDuration ? player->trackDuration() : std::nullopt)
        data.insert(QStringLiteral("mpris:length"), *duration * kMicroseconds);
    if (const QString path = service_.artFile().path(); !path.isEmpty())
        data.insert(QStringLiteral("mpris:artUrl"), QUrl::fromLocalFile(path).toString(QUrl::FullyEncoded));
    return data;
}

QVariantMap MprisPlayerAdaptor::askedMetadata() const {
    service_.command([&artFile = service_.artFile()] { artFile.want(); });
    return metadata();
}

double MprisPlayerAdaptor::volume() const {
    const SessionScope scope(&service_.session());
    const auto& player = controller().activePlayer();
    return player && player->capabilities().canSetVolume ? player->getSoundVolume() / 100.0 : 1.0;
}

void MprisPlayerAdaptor::setVolume(double volume) {
    if (std::isnan(volume))
        return;
    const int percent = static_cast<int>(std::lround(std::clamp(volume, 0.0, 1.0) * 100));
    service_.command([percent] { controller().setVolume(percent); });
}

qlonglong MprisPlayerAdaptor::position() const {
    const SessionScope scope(&service_.session());
    const auto& player = controller().activePlayer();
    return player ? player->playerPosition().value_or(0) * kMicroseconds : 0;
}

bool MprisPlayerAdaptor::canGoNext() const {
    const SessionScope scope(&service_.session());
    return capabilities().canGoNext;
}

bool MprisPlayerAdaptor::canGoPrevious() const {
    const SessionScope scope(&service_.session());
    return capabilities().canGoPrevious;
}

bool MprisPlayerAdaptor::canPlay() const {
    const SessionScope scope(&service_.session());
    return capabilities().canPlay;
}

bool MprisPlayerAdaptor::canPause() const {
    const SessionScope scope(&service_.session());
    return capabilities().canPause;
}

bool MprisPlayerAdaptor::canSeek() const {
    const SessionScope scope(&service_.session());
    return capabilities().canSeek;
}

void MprisPlayerAdaptor::PlayPause() {
    service_.command([] { controller().playPause(); });
}

void MprisPlayerAdaptor::Play() {
    service_.command([] {
        const auto& player = controller().activePlayer();
        if (player && !player->isPlaying())
            controller().playPause();
    });
}

void MprisPlayerAdaptor::Pause() {
    service_.command([] {
        const auto& player = controller().activePlayer();
        if (player && player->isPlaying())
            controller().playPause();
    });
}

void MprisPlayerAdaptor::Stop() {
    Pause();
}

void MprisPlayerAdaptor::Next() {
    service_.command([] { controller().nextTrack(); });
}

void MprisPlayerAdaptor::Previous() {
    service_.command([] { controller().previousTrack(); });
}

void MprisPlayerAdaptor::Seek(qlonglong offset) {
    service_.command([offset] {
        const auto& player = controller().activePlayer();
        const auto position = player ? player->playerPosition() : std::nullopt;
        if (!position || !player->capabilities().canSeek)
            return;
        const double target = *position + static_cast<double>(offset) / kMicroseconds;
        const auto duration = player->trackDuration();
        if (duration && target > *duration)
            return controller().nextTrack(); // the interface's rule for a seek past the end
        controller().setPlayerPosition(static_cast<int>(std::max(0.0, target)));
    });
}

void MprisPlayerAdaptor::SetPosition(const QDBusObjectPath& trackId, qlonglong position) {
    service_.command([trackId, position] {
        const auto& player = controller().activePlayer();
        if (!player || trackId != trackPath(controller().currentTrack().get()))
            return; // meant for a track that has ended
        const qlonglong seconds = position / kMicroseconds;
        if (player->capabilities().canSeek && seconds >= 0 && seconds <= player->trackDuration().value_or(0))
            controller().setPlayerPosition(static_cast<int>(seconds));
    });
}

MprisService::MprisService(Session& session, StatusPublisher& publisher, ArtFile& artFile,
                           std::function<void()> reopen, std::function<void()> quit)
    : session_(session),
      artFile_(artFile),
      reopen_(std::move(reopen)),
      quit_(std::move(quit)),
      root_(*this),
      player_(*this) {
    publisher.addBatchListener([this] { publish(); });
}

bool MprisService::registerOn(QDBusConnection bus) {
    bus_ = bus;
    published_ = properties();
    return bus.registerObject(kMprisPath, this, QDBusConnection::ExportAdaptors) &&
           bus.registerService(kMprisName);
}

void MprisService::command(std::function<void()> work) {
    session_.runLoop().async([self = QPointer(this), work = std::move(work)] {
        if (self)
            work();
    });
}

QVariantMap MprisService::properties() const {
    QVariantMap map{{QStringLiteral("Metadata"), player_.metadata()}};
    for (const char* name :
         {"PlaybackStatus", "Volume", "CanGoNext", "CanGoPrevious", "CanPlay", "CanPause", "CanSeek"})
        map.insert(QString::fromLatin1(name), player_.property(name));
    return map;
}

void MprisService::publish() {
    if (!bus_)
        return;
    const QVariantMap now = properties();
    QVariantMap changed;
    for (auto item = now.begin(); item != now.end(); ++item) {
        if (published_.value(item.key()) != item.value())
            changed.insert(item.key(), item.value());
    }
    published_ = now;
    if (!changed.isEmpty()) {
        auto signal =
            QDBusMessage::createSignal(kMprisPath, QStringLiteral("org.freedesktop.DBus.Properties"),
                                       QStringLiteral("PropertiesChanged"));
        signal << kPlayerInterface << changed << QStringList{};
        bus_->send(signal);
    }
    const qlonglong position = player_.position();
    const double time = session_.runLoop().uptime();
    const double ran = player_.playbackStatus() == u"Playing" ? time - expectedAt_ : 0;
    const bool jumped =
        std::abs(static_cast<double>(position - expectedPosition_) / kMicroseconds - ran) > kSeekJump;
    if (jumped && !changed.contains(QStringLiteral("Metadata")))
        Q_EMIT player_.Seeked(position);
    expectedPosition_ = position;
    expectedAt_ = time;
}

} // namespace merlode
