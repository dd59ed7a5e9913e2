#include "app/status.h"

#include "base/control_interface.h"
#include "base/session.h"
#include "model/track.h"
#include "platform/linux/player_roles.h"
#include "platform/user_defaults.h"
#include "players/local_players.h"
#include "players/player_controller.h"

namespace merlode {

namespace {

using control::status::kState;

QString text(const char* key) {
    return QString::fromLatin1(key);
}

std::optional<PlayerRole> roleOf(MusicPlayerType type) {
    switch (type) {
    case MusicPlayerType::iTunes:
        return PlayerRole::Local;
    case MusicPlayerType::Spotify:
        return PlayerRole::Spotify;
    case MusicPlayerType::Rdio:
        return PlayerRole::Rdio;
    default:
        return std::nullopt;
    }
}

void addTrack(QVariantMap& status, const Track& track) {
    const auto add = [&status](const char* key, const QString& value) {
        if (!value.isEmpty())
            status.insert(text(key), value);
    };
    add(control::status::kTitle, track.name());
    add(control::status::kArtist, track.artistName());
    add(control::status::kAlbum, track.albumName());
}

QString stateOfProgram(PlayerProgram& program) {
    const auto player = program.player();
    if (player && player->playerState() == kPlayerStatePlaying)
        return QStringLiteral("playing");
    if (program.processIdentifier())
        return QStringLiteral("running");
    return program.installedPath() ? QStringLiteral("installed") : QStringLiteral("not installed");
}

// The word by which people choose a role.
QString roleWord(PlayerRole role) {
    return role == PlayerRole::Local ? QStringLiteral("local") : applicationName(role).toLower();
}

DefaultsKey<bool> enabledKey(PlayerRole role) {
    switch (role) {
    case PlayerRole::Spotify:
        return defaults::kEnableSpotify;
    case PlayerRole::Rdio:
        return defaults::kEnableRdio;
    case PlayerRole::Local:
        break;
    }
    return defaults::kEnableITunes;
}

} // namespace

bool showsTrackBeforeAdvertisement(const PlayerController& controller) {
    const auto& player = controller.activePlayer();
    return player && player->type == MusicPlayerType::Spotify &&
           static_cast<SpotifyPlayer&>(*player).playsAdvertisement();
}

QVariantMap currentStatus(const PlayerController& controller, const PlayerRoles& roles,
                          const QString& artFile) {
    const auto& player = controller.activePlayer();
    if (!player)
        return {{text(kState), QStringLiteral("none")}};
    const bool playing = controller.currentPlayState() == kPlayStatePlaying;
    QVariantMap status{{text(kState), playing ? QStringLiteral("playing") : QStringLiteral("paused")},
                       {text(control::status::kPlayer), rawValue(player->type)}};
    const auto role = roleOf(player->type);
    if (auto* program = role ? roles.program(*role) : nullptr)
        status.insert(text(control::status::kProgram), program->description());
    if (controller.currentTrack())
        addTrack(status, *controller.currentTrack());
    const bool advertisement = showsTrackBeforeAdvertisement(controller);
    const auto duration = advertisement ? std::nullopt : player->trackDuration();
    const auto position = advertisement ? std::nullopt : player->playerPosition();
    if (position)
        status.insert(text(control::status::kPosition), *position);
    if (duration)
        status.insert(text(control::status::kDuration), *duration);
    if (player->capabilities().canSetVolume) {
        status.insert(text(control::status::kVolume), player->getSoundVolume());
        status.insert(text(control::status::kMuted), controller.muted);
    }
    if (!artFile.isEmpty())
        status.insert(text(control::status::kArtFile), artFile);
    return status;
}

QList<QVariantMap> playersStatus(const PlayerController& controller, const PlayerRoles& roles,
                                 const QStringList& otherPlayers) {
    const auto& userDefaults = Session::current().port<UserDefaults>();
    const auto active = controller.activePlayer() ? roleOf(controller.activePlayer()->type) : std::nullopt;
    QList<QVariantMap> list;
    for (const auto role : kPlayerRoles) {
        auto* program = roles.program(role);
        list.append(QVariantMap{
            {QStringLiteral("role"), roleWord(role)},
            {QStringLiteral("program"), program ? program->description() : QString()},
            {QStringLiteral("installed"), program && program->installedPath().has_value()},
            {QStringLiteral("running"), program && program->processIdentifier().has_value()},
            {QStringLiteral("active"), active == role},
            {QStringLiteral("enabled"), userDefaults.boolFor(enabledKey(role))},
            {QStringLiteral("state"), program ? stateOfProgram(*program) : QStringLiteral("none")}});
    }
    for (const auto& name : otherPlayers)
        list.append(QVariantMap{{QStringLiteral("role"), QString()},
                                {QStringLiteral("program"), name},
                                {QStringLiteral("installed"), true},
                                {QStringLiteral("running"), true},
                                {QStringLiteral("active"), false},
                                {QStringLiteral("enabled"), true},
                                {QStringLiteral("state"), QStringLiteral("running")}});
    return list;
}

} // namespace merlode
