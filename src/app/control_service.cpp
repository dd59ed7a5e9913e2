#include "app/control_service.h"

#include "base/control_interface.h"
#include "platform/activation_token.h"
#include "platform/user_defaults.h"
#include "players/player_controller.h"

#include <QDBusMessage>
#include <QDBusMetaType>
#include <QJsonDocument>
#include <QJsonObject>
#include <QPointer>

#include <cmath>

namespace merlode {

namespace {

QByteArray jsonLine(const QVariantMap& status) {
    return QJsonDocument(QJsonObject::fromVariantMap(status)).toJson(QJsonDocument::Compact);
}

ControlError noPlayer() {
    return {QString::fromLatin1(control::kErrorNoPlayer),
            QStringLiteral("No player is active. Start one, or see \"merlodectl players\".")};
}

ControlError notSupported(const QString& what) {
    return {QString::fromLatin1(control::kErrorNotSupported),
            QStringLiteral("The active player cannot %1 at the moment.").arg(what)};
}

ControlError invalidArgument(const QString& message) {
    return {QString::fromLatin1(control::kErrorInvalidArgument), message};
}

std::optional<ControlError> seekTo(PlayerController& controller, double seconds) {
    const auto& player = controller.activePlayer();
    if (!player->capabilities().canSeek)
        return notSupported(QStringLiteral("go to another position"));
    const double last = player->trackDuration().value_or(std::numeric_limits<int>::max() / 2);
    controller.setPlayerPosition(static_cast<int>(std::clamp(seconds, 0.0, last)));
    return std::nullopt;
}

} // namespace

ControlService::ControlService(Session& session, StatusPublisher& publisher, ControlActions actions)
    : session_(session), publisher_(publisher), actions_(std::move(actions)) {
    publisher_.addListener([this](const QVariantMap& status) { followers_.send(jsonLine(status)); });
}

bool ControlService::registerOn(QDBusConnection bus) {
    qDBusRegisterMetaType<QVariantMap>();
    qDBusRegisterMetaType<QList<QVariantMap>>();
    return bus.registerObject(QString::fromLatin1(control::kPath), this, QDBusConnection::ExportAllSlots);
}

void ControlService::answer(std::function<QVariant()> work) {
    setDelayedReply(true);
    session_.runLoop().async(
        [self = QPointer(this), call = message(), bus = connection(), work = std::move(work)] {
            if (!self)
                return;
            const QVariant value = work();
            if (value.metaType() == QMetaType::fromType<ControlError>()) {
                const auto error = value.value<ControlError>();
                bus.send(call.createErrorReply(error.name, error.message));
            } else {
                bus.send(value.isValid() ? call.createReply(value) : call.createReply());
            }
        });
}

void ControlService::answerLater(std::function<void(const AnswerLater&)> work) {
    setDelayedReply(true);
    session_.runLoop().async(
        [self = QPointer(this), call = message(), bus = connection(), work = std::move(work)] {
            if (!self)
                return;
            work([call, bus](const std::variant<QString, ControlError>& outcome) {
                if (const auto* error = std::get_if<ControlError>(&outcome))
                    bus.send(call.createErrorReply(error->name, error->message));
                else
                    bus.send(call.createReply(std::get<QString>(outcome)));
            });
        });
}

void ControlService::describeLater(std::function<void(const std::function<void(const QVariantMap&)>&)> work) {
    setDelayedReply(true);
    session_.runLoop().async(
        [self = QPointer(this), call = message(), bus = connection(), work = std::move(work)] {
            if (self)
                work([call, bus](const QVariantMap& values) { bus.send(call.createReply(values)); });
        });
}

void ControlService::command(std::function<Outcome(PlayerController&)> work) {
    answer([work = std::move(work)]() -> QVariant {
        auto& controller = PlayerController::sharedController();
        // A player may have come up since without playing: it is the one that is meant.
        if (!controller.activePlayer())
            controller.setupMusicPlayers();
        const Outcome outcome = controller.activePlayer() ? work(controller) : noPlayer();
        return outcome ? QVariant::fromValue(*outcome) : QVariant();
    });
}

QVariantMap ControlService::Status() {
    setDelayedReply(true);
    session_.runLoop().async([self = QPointer(this), call = message(), bus = connection()] {
        if (!self)
            return;
        self->actions_.wantArt([self, call, bus] {
            if (self)
                bus.send(call.createReply(self->publisher_.status()));
        });
    });
    return {};
}

QDBusUnixFileDescriptor ControlService::Follow() {
    answer([this]() -> QVariant {
        actions_.wantArt([] {}); // a change like any other
        const auto readingEnd = followers_.add(jsonLine(publisher_.publishStatus()));
        if (!readingEnd.isValid())
            return QVariant::fromValue(
                ControlError{QString::fromLatin1(control::kErrorNotSupported),
                             QStringLiteral("Too many programs follow the status already.")});
        return QVariant::fromValue(readingEnd);
    });
    return {};
}

void ControlService::PlayPause() {
    command([](PlayerController& controller) -> Outcome {
        controller.playPause();
        return {};
    });
}

void ControlService::Play() {
    command([](PlayerController& controller) -> Outcome {
        if (!controller.activePlayer()->isPlaying())
            controller.playPause();
        return {};
    });
}

void ControlService::Pause() {
    command([](PlayerController& controller) -> Outcome {
        if (controller.activePlayer()->isPlaying())
            controller.playPause();
        return {};
    });
}

void ControlService::Next() {
    command([](PlayerController& controller) -> Outcome {
        controller.nextTrack();
        return {};
    });
}

void ControlService::Previous() {
    command([](PlayerController& controller) -> Outcome {
        controller.previousTrack();
        return {};
    });
}

void ControlService::Seek(double seconds) {
    command([seconds](PlayerController& controller) -> Outcome {
        if (!(seconds >= 0))
            return invalidArgument(QStringLiteral("A position is a number of seconds from 0 on."));
        return seekTo(controller, seconds);
    });
}

void ControlService::SeekBy(double seconds) {
    command([seconds](PlayerController& controller) -> Outcome {
        const auto position = controller.activePlayer()->playerPosition();
        if (!position)
            return notSupported(QStringLiteral("tell its position"));
        if (std::isnan(seconds))
            return invalidArgument(QStringLiteral("A step is a number of seconds."));
        return seekTo(controller, *position + seconds);
    });
}

void ControlService::SetVolume(int volume) {
    command([volume](PlayerController& controller) -> Outcome {
        if (volume < 0 || volume > 100)
            return invalidArgument(QStringLiteral("A volume is a number from 0 to 100."));
        if (!controller.activePlayer()->capabilities().canSetVolume)
            return notSupported(QStringLiteral("change its volume"));
        controller.setVolume(volume);
        return {};
    });
}

void ControlService::ChangeVolume(int difference) {
    command([difference](PlayerController& controller) -> Outcome {
        if (!controller.activePlayer()->capabilities().canSetVolume)
            return notSupported(QStringLiteral("change its volume"));
        // The player's own knob may have been turned since the last look.
        const int volume = controller.activePlayer()->getSoundVolume();
        controller.setVolume(volume + std::clamp(difference, -100, 100));
        return {};
    });
}

void ControlService::ToggleMute() {
    command([](PlayerController& controller) -> Outcome {
        if (!controller.activePlayer()->capabilities().canSetVolume)
            return notSupported(QStringLiteral("change its volume"));
        controller.checkActivePlayerVolume();
        controller.toggleMuteHotkey();
        return {};
    });
}

QList<QVariantMap> ControlService::Players() {
    answer([this] { return QVariant::fromValue(actions_.players()); });
    return {};
}

void ControlService::UsePlayer(const QString& role, const QString& program) {
    answer([this, role, program]() -> QVariant {
        const auto error = actions_.usePlayer(role, program);
        return error ? QVariant::fromValue(*error) : QVariant();
    });
}

QList<QVariantMap> ControlService::Doctor() {
    setDelayedReply(true);
    actions_.doctor([call = message(), bus = connection()](const QList<QVariantMap>& checks) {
        bus.send(call.createReply(QVariant::fromValue(checks)));
    });
    return {};
}

QString ControlService::Search(const QString& term) {
    answerLater([this, term](const AnswerLater& done) { actions_.search(term, done); });
    return {};
}

QString ControlService::Spotify(const QString& action, const QString& clientID, const QString& secret) {
    answerLater([this, words = QStringList{action, clientID, secret}](const AnswerLater& done) {
        actions_.spotify(words, done);
    });
    return {};
}

QVariantMap ControlService::Library(const QString& action) {
    describeLater([this, action](const auto& done) { actions_.libraryState(action, done); });
    return {};
}

QVariantMap ControlService::Hosts() {
    describeLater([this](const auto& done) { actions_.hosts(done); });
    return {};
}

QString ControlService::Connect(const QString& host) {
    answerLater([this, host](const AnswerLater& done) { actions_.connectToHost(host, done); });
    return {};
}

QString ControlService::Disconnect() {
    answerLater([this](const AnswerLater& done) { actions_.disconnectFromHost(done); });
    return {};
}

QString ControlService::Serve(bool on) {
    answerLater([this, on](const AnswerLater& done) { actions_.serve(on, done); });
    return {};
}

QString ControlService::Rename(const QString& name) {
    answerLater([this, name](const AnswerLater& done) { actions_.rename(name, done); });
    return {};
}

QVariantMap ControlService::Services() {
    answer([this] { return QVariant::fromValue(actions_.services()); });
    return {};
}

void ControlService::EnableService(const QString& service, bool enabled) {
    answer([this, service, enabled]() -> QVariant {
        const auto error = actions_.enableService(service, enabled);
        return error ? QVariant::fromValue(*error) : QVariant();
    });
}

void ControlService::UseMusicFolders(const QStringList& folders) {
    answer([this, folders]() -> QVariant {
        const auto error = actions_.useMusicFolders(folders);
        return error ? QVariant::fromValue(*error) : QVariant();
    });
}

QString ControlService::PlayRow(uint row, const QString& service) {
    answer([this, row, service] {
        const auto outcome = actions_.playRow(row, service);
        return std::visit([](const auto& result) { return QVariant::fromValue(result); }, outcome);
    });
    return {};
}

void ControlService::Reopen() {
    answer([this]() -> QVariant {
        actions_.reopen();
        return {};
    });
}

void ControlService::ReopenWithToken(const QString& token) {
    answer([this, token]() -> QVariant {
        keepActivationToken(token);
        actions_.reopen();
        return {};
    });
}

void ControlService::Quit() {
    answer([this]() -> QVariant {
        // After the answer has gone out.
        session_.runLoop().asyncAfter(0, actions_.quit);
        return {};
    });
}

} // namespace merlode
