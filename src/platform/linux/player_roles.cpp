#include "platform/linux/player_roles.h"

#include "base/notification_names.h"

namespace merlode {

namespace {

struct RoleEntry {
    QLatin1StringView application;
    QLatin1StringView bundleIdentifier;
    std::optional<NotificationName> announcement;
};

// The third player has never announced anything: what it does is found by polling.
const RoleEntry& entry(PlayerRole role) {
    static const std::array<RoleEntry, kPlayerRoles.size()> entries{
        RoleEntry{QLatin1StringView("iTunes"), QLatin1StringView("com.apple.iTunes"),
                  notifications::kITunesPlayerInfo},
        RoleEntry{QLatin1StringView("Spotify"), QLatin1StringView("com.spotify.client"),
                  notifications::kSpotifyPlaybackStateChanged},
        RoleEntry{QLatin1StringView("Rdio"), QLatin1StringView("com.rdio.desktop"), std::nullopt},
    };
    return entries.at(static_cast<std::size_t>(role));
}

QVariantMap announcementInfo(ScriptedPlayer* player) {
    QVariantMap info;
    const auto track = player ? player->currentTrack() : std::nullopt;
    if (!track)
        return info;
    // A stream tells a title and little else; for whoever listens the rest is empty then, not unknown.
    if (!track->name)
        return info;
    info.insert(QStringLiteral("Name"), *track->name);
    info.insert(QStringLiteral("Artist"), track->artist.value_or(QString()));
    info.insert(QStringLiteral("Album"), track->album.value_or(QString()));
    return info;
}

} // namespace

QString applicationName(PlayerRole role) {
    return entry(role).application;
}

struct PlayerRoles::Seat {
    Seat(RunLoop& loop, std::function<void()> announce)
        : burst(loop, kAnnouncementBurst, std::move(announce)) {}

    BurstFolder burst;
    std::unique_ptr<PlayerProgram> program; // last: its events reach the burst
};

PlayerRoles::PlayerRoles(Session& session) : session_(session) {
    for (const auto role : kPlayerRoles)
        seats_.at(static_cast<std::size_t>(role)) =
            std::make_unique<Seat>(session_.runLoop(), [this, role] { announce(role); });
}

PlayerRoles::~PlayerRoles() = default;

void PlayerRoles::assign(PlayerRole role, std::unique_ptr<PlayerProgram> program) {
    auto& place = seat(role);
    place.program = std::move(program);
    if (!place.program)
        return;
    place.program->start({
        .changed = [&place] { place.burst.sign(); },
        .launched = [this, role] { tellLaunched(role); },
        .quit = [&place] { place.burst.sign(); },
    });
}

void PlayerRoles::settle() {
    const double end = session_.runLoop().uptime() + kPlayerCallTimeout;
    for (const auto role : kPlayerRoles) {
        if (auto* program = this->program(role))
            program->settle(std::max(0.0, end - session_.runLoop().uptime()));
    }
    // A stream that plays already is known by an announcement only, once somebody listens.
    firstSign_ = session_.runLoop().after(0, [this] { seat(PlayerRole::Local).burst.sign(); });
}

PlayerProgram* PlayerRoles::program(PlayerRole role) const {
    return seat(role).program.get();
}

PlayerRoles::Seat& PlayerRoles::seat(PlayerRole role) const {
    return *seats_.at(static_cast<std::size_t>(role));
}

PlayerProgram* PlayerRoles::programOfApplication(const QString& name) const {
    for (const auto role : kPlayerRoles) {
        if (entry(role).application == name)
            return program(role);
    }
    return nullptr;
}

PlayerProgram* PlayerRoles::programOfBundle(const QString& bundleIdentifier) const {
    for (const auto role : kPlayerRoles) {
        if (entry(role).bundleIdentifier == bundleIdentifier)
            return program(role);
    }
    return nullptr;
}

void PlayerRoles::announce(PlayerRole role) {
    const auto& name = entry(role).announcement;
    const auto* found = program(role);
    if (!name || !found)
        return;
    const auto player = seat(role).program->player();
    session_.distributedCenter().post(*name, nullptr, announcementInfo(player.get()));
}

void PlayerRoles::tellLaunched(PlayerRole role) {
    session_.workspaceCenter().post(notifications::kWorkspaceDidLaunchApplication, nullptr,
                                    {{QStringLiteral("NSApplicationName"), applicationName(role)}});
    seat(role).burst.sign(); // it may have come up playing
}

std::optional<QString> PlayerRoles::fullPathForApplication(const QString& name) {
    auto* program = programOfApplication(name);
    return program ? program->installedPath() : std::nullopt;
}

std::vector<RunningApplication>
PlayerRoles::runningApplicationsWithBundleIdentifier(const QString& bundleIdentifier) {
    auto* program = programOfBundle(bundleIdentifier);
    const auto process = program ? program->processIdentifier() : std::nullopt;
    if (!process)
        return {};
    return {RunningApplication{*process}};
}

bool PlayerRoles::launchApplication(const QString& name) {
    auto* program = programOfApplication(name);
    return program && program->launch();
}

std::shared_ptr<ScriptedPlayer> PlayerRoles::player(const QString& bundleIdentifier,
                                                    std::int32_t processIdentifier) {
    auto* program = programOfBundle(bundleIdentifier);
    if (!program || program->processIdentifier() != processIdentifier)
        return nullptr;
    return program->player();
}

} // namespace merlode
